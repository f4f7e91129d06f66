#pragma once

#include "platform/PopupMenu.h"

namespace keldra {

/// Shows the platform's pop-up menus in the editors' own windows, with the toolkit's menu: there is
/// no such thing on X11. A menu appears in the window that owns it; where that isn't open, or is
/// busy with another menu or a drag, the answer is that nothing was chosen. The module makes one
/// and keeps it.
class CToolkitMenus final : public CPopupMenuProvider {
public:
    [[nodiscard]] std::unique_ptr<CPopupMenu> CreateMenu() override;
};

} // namespace keldra
