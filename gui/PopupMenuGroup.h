#pragma once

#include <functional>
#include <span>

#include "gui/ControlGroup.h"
#include "platform/PopupMenu.h"

namespace keldra {

/// A menu that belongs to no control on the panel, such as the host's for a parameter: a group of
/// its own that is there while the menu is open.
class CPopupMenuGroup : public CControlGroup {
public:
    /// Opens it at the pointer. @param chosen  as for CWindowPort::ShowPopupMenu; told after the
    /// menu is closed. A choice of a disabled item is none
    static bool Open(CWindowPort& port, std::span<const PopupMenuItem> items,
                     std::function<void(int)> chosen);
};

} // namespace keldra
