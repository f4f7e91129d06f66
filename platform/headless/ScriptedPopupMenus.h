#pragma once

#include <memory>
#include <vector>

#include "platform/PopupMenu.h"

namespace keldra {

/// Menus without a screen: writes down what is shown and plays the user. One thread.
class CScriptedPopupMenus final : public CPopupMenuProvider {
public:
    [[nodiscard]] std::unique_ptr<CPopupMenu> CreateMenu() override;

    /// What the open menu shows; empty when none is open.
    [[nodiscard]] const std::vector<PopupMenuItem>& Items() const { return items_; }
    [[nodiscard]] std::uintptr_t Owner() const { return owner_; }
    [[nodiscard]] bool IsOpen() const { return client_ != nullptr; }
    [[nodiscard]] int MenuCount() const { return menuCount_; } ///< made and not destroyed

    /// The user picks an item, or with CPopupMenuClient::kNothing presses outside the menu. An item
    /// that can't be chosen leaves it open. @return whether it went away
    bool Choose(int id);

private:
    class CMenu;

    void Close(int answer);

    std::vector<PopupMenuItem> items_;
    std::uintptr_t owner_ = 0;
    const CMenu* open_ = nullptr;
    CPopupMenuClient* client_ = nullptr; ///< null: no menu is open
    int menuCount_ = 0;
};

} // namespace keldra
