#include "editor/PanelTable.h"

#include "frame/Text.h"

namespace keldra {

std::string MenuItemText(const PanelControl& menu, int item)
{
    const auto place = static_cast<std::size_t>(item);
    if (menu.role == EPanelRole::ProgramMenu)
        return std::string(kProgramMenuItems[place]);
    const EngineSettingRow& setting =
        kEngineSettings[static_cast<std::size_t>(menu.parameter - kSpare74)];
    if (!setting.labels.empty())
        return std::string(setting.labels[place]);
    const int number =
        setting.choices.empty() ? item + 1 : static_cast<int>(setting.choices[place]);
    return std::to_string(number);
}

} // namespace keldra
