#include "platform/headless/ScriptedPopupMenus.h"

#include <algorithm>
#include <utility>

namespace keldra {

class CScriptedPopupMenus::CMenu final : public CPopupMenu {
public:
    explicit CMenu(CScriptedPopupMenus& menus) : menus_(menus) { ++menus_.menuCount_; }

    ~CMenu() override
    {
        --menus_.menuCount_;
        if (menus_.open_ != this)
            return;
        menus_.client_ = nullptr;
        menus_.Close(CPopupMenuClient::kNothing);
    }

    void Show(std::span<const PopupMenuItem> items, std::uintptr_t owner,
              CPopupMenuClient& client) override
    {
        menus_.Close(CPopupMenuClient::kNothing);
        menus_.items_.assign(items.begin(), items.end());
        menus_.owner_ = owner;
        menus_.open_ = this;
        menus_.client_ = &client;
    }

private:
    CScriptedPopupMenus& menus_;
};

std::unique_ptr<CPopupMenu> CScriptedPopupMenus::CreateMenu()
{
    return std::make_unique<CMenu>(*this);
}

bool CScriptedPopupMenus::Choose(int id)
{
    const auto item = std::ranges::find(items_, id, &PopupMenuItem::id);
    const bool canBe = item != items_.end() && !item->disabled && !item->separator;
    if (!IsOpen() || (id != CPopupMenuClient::kNothing && !canBe))
        return false;
    Close(id);
    return true;
}

void CScriptedPopupMenus::Close(int answer)
{
    items_.clear();
    owner_ = 0;
    open_ = nullptr;
    if (CPopupMenuClient* const client = std::exchange(client_, nullptr))
        client->OnMenuChoice(answer); // which may show the next
}

} // namespace keldra
