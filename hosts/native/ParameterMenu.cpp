#include "hosts/native/ParameterMenu.h"

#include <array>
#include <vector>

#include "frame/Text.h"

namespace keldra::native {

namespace {

constexpr int kFirstId = 1024;
constexpr int kMostItems = 1024; ///< a host that never ends its menu must not fill the memory

std::vector<PopupMenuItem> ItemsOf(CDornoHost& host, std::int32_t parameter)
{
    std::vector<PopupMenuItem> items;
    for (int number = 0; number < kMostItems; ++number) {
        const HostMenuItem* const item = host.MenuItem(parameter, number);
        if (item == nullptr)
            break;
        std::array<char, kHostTextSize> text; // at once: hosts answer with one record for all items
        CopyHostText(item->text, text);
        items.push_back({kFirstId + number, text.data(), (item->flags & kMenuItemDisabled) != 0,
                         (item->flags & kMenuItemChecked) != 0, TextIn(text) == "-"});
    }
    return items;
}

} // namespace

CParameterMenu::CParameterMenu(CDornoHost& host) : host_(host), menu_(CPopupMenu::Create()) {}

void CParameterMenu::Show(std::int32_t parameter, std::uintptr_t owner)
{
    const std::vector<PopupMenuItem> items = ItemsOf(host_, parameter);
    if (items.empty())
        return;
    parameter_ = parameter;
    menu_->Show(items, owner, *this);
}

void CParameterMenu::OnMenuChoice(int id)
{
    if (id >= kFirstId)
        host_.Ask(kMenuItemChosen, parameter_, id - kFirstId);
}

} // namespace keldra::native
