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
    ~CPopupMenu() override { Tell(-1); }

    using CControlMenu::OpenPopup;
    void Forget() { chosen_ = nullptr; } ///< tells nothing
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
            Tell(index);
        return false;
    }

protected:
    void OnPopupClosed() override
    {
        GetGroup()->SetHidden(true);
        GetWindowPort()->RemoveGroupLater(GetGroup());
    }

private:
    /// The first time only.
    void Tell(int index)
    {
        if (const auto chosen = std::exchange(chosen_, nullptr))
            chosen(index);
    }

    std::function<void(int)> chosen_;
};

} // namespace

bool CPopupMenuGroup::Open(CWindowPort& port, const std::vector<PopupItem>& items,
                           std::function<void(int)> chosen)
{
    auto menu = std::make_unique<CPopupMenu>(std::move(chosen));
    for (const PopupItem& item : items) {
        if (item.separator) {
            menu->AddSeparator();
            continue;
        }
        menu->AddItem(item.text);
        menu->SetItemDimmed(menu->GetItemCount() - 1, !item.enabled);
        menu->SetItemMarked(menu->GetItemCount() - 1, item.checked);
    }
    const PixelPoint at = port.GetMousePosition();
    menu->SetRect({at.x, at.y, 1, 1});
    auto group = std::make_unique<CPopupMenuGroup>();
    CPopupMenuGroup& added = *group;
    CPopupMenu& control = group->Add(std::move(menu));
    port.AddGroup(std::move(group));
    if (control.OpenPopup())
        return true;
    control.Forget();
    port.RemoveGroup(&added);
    return false;
}

} // namespace keldra
