#include "gui/PopupMenuGroup.h"

#include <utility>

#include "gui/ControlMenu.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

/// Tells its listener instead of the editor what was chosen, and goes when it closes.
class CPopupMenu : public CControlMenu {
public:
    explicit CPopupMenu(std::function<void(int)> chosen) : chosen_(std::move(chosen)) {}

    using CControlMenu::OpenPopup;
    void Draw() override
    {
        if (IsPopupOpen())
            CControlMenu::Draw();
    }
    bool NotifyPressed() override { return true; }
    void NotifyReleased() override {}
    bool NotifyChanged(float value) override
    {
        const auto index = static_cast<int>(value);
        if (!GetItem(index)->dimmed)
            chosen_(index);
        return false;
    }

protected:
    void OnPopupClosed() override
    {
        GetGroup()->SetHidden(true);
        GetWindowPort()->RemoveGroupLater(GetGroup());
    }

private:
    std::function<void(int)> chosen_;
};

} // namespace

void CPopupMenuGroup::Open(CWindowPort& port, const std::vector<PopupItem>& items,
                           std::function<void(int)> chosen)
{
    auto menu = std::make_unique<CPopupMenu>(std::move(chosen));
    for (const PopupItem& item : items) {
        menu->AddItem(item.text);
        menu->SetItemDimmed(menu->GetItemCount() - 1, !item.enabled);
        menu->SetItemMarked(menu->GetItemCount() - 1, item.checked);
    }
    const PixelPoint at = port.GetMousePosition();
    menu->SetRect({at.x, at.y, 1, 1});
    auto group = std::make_unique<CPopupMenuGroup>();
    CPopupMenuGroup& added = *group;
    CPopupMenu& control = group->Add(std::move(menu));
    if (port.AddGroup(std::move(group)) && !control.OpenPopup())
        port.RemoveGroupLater(&added);
}

} // namespace keldra
