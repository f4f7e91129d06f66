#include "editor/PanelTable.h"

namespace keldra {

std::string MenuItemText(const PanelControl& menu, int item)
{
    if (menu.role == EPanelRole::ProgramMenu)
        return std::string(kProgramMenuItems[static_cast<std::size_t>(item)]);
    return ChoiceText(kEngineSettings[menu.parameter - kSpare74], item);
}

} // namespace keldra
