#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace keldra {

struct PopupMenuItem {
    int id = 0; ///< above 0: what the answer says when it is chosen
    std::string text;
    bool disabled = false; ///< shown, but can't be chosen
    bool checked = false;
    bool separator = false; ///< a line; the rest doesn't count
};

/// Who wants to know what was chosen.
class CPopupMenuClient {
public:
    static constexpr int kNothing = 0;

    /// Once for every Show, on the UI thread, with nothing held. @param id  the item's, or kNothing
    /// when the menu went away without a choice
    virtual void OnMenuChoice(int id) = 0;

protected:
    ~CPopupMenuClient() = default; // nobody owns a client through this interface
};

/// A menu that pops up where the pointer is. Nothing waits for the user: the answer comes when the
/// user has given it. UI thread, but for the destructor: any.
class CPopupMenu {
public:
    /// Where nobody provides menus, one that answers kNothing to every Show.
    [[nodiscard]] static std::unique_ptr<CPopupMenu> Create();

    CPopupMenu() = default;
    CPopupMenu(const CPopupMenu&) = delete;
    CPopupMenu& operator=(const CPopupMenu&) = delete;
    /// Takes the menu away. The client isn't called any more: a call under way on another thread
    /// has returned.
    virtual ~CPopupMenu() = default;

    /// Shows these items instead of what it may be showing, which is answered with kNothing first.
    /// @param owner   the system's name of the window that it belongs to and goes with; 0: none
    /// @param client  must outlive the menu
    virtual void Show(std::span<const PopupMenuItem> items, std::uintptr_t owner,
                      CPopupMenuClient& client) = 0;
};

/// Whoever can show menus: it provides them while it lives. One at a time in a module; made before
/// the menus are, and gone after them.
class CPopupMenuProvider {
public:
    CPopupMenuProvider();
    CPopupMenuProvider(const CPopupMenuProvider&) = delete;
    CPopupMenuProvider& operator=(const CPopupMenuProvider&) = delete;

    [[nodiscard]] virtual std::unique_ptr<CPopupMenu> CreateMenu() = 0;

protected:
    ~CPopupMenuProvider();
};

} // namespace keldra
