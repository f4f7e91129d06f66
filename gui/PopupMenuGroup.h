#pragma once

#include <functional>
#include <vector>

#include "gui/ControlGroup.h"

namespace keldra {

struct PopupItem;

/// A menu that belongs to no control on the panel, such as the host's for a parameter: a group of
/// its own that is there while the menu is open.
class CPopupMenuGroup : public CControlGroup {
public:
    /// Opens it at the pointer. @param chosen  as for CWindowPort::ShowPopupMenu; told after the
    /// menu is closed. A choice of an item that isn't enabled is none
    static bool Open(CWindowPort& port, const std::vector<PopupItem>& items,
                     std::function<void(int)> chosen);
};

} // namespace keldra
