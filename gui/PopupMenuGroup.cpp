#include "gui/PopupMenuGroup.h"

#include <utility>
#include <vector>

#include "gui/ControlMenu.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

/// Tells its listener instead of the editor what was chosen, and goes when it closes.
class CGroupMenu final : public CControlMenu {
public:
    CGroupMenu(std::span<const PopupMenuItem> items, std::function<void(int)> chosen)
        : chosen_(std::move(chosen))
    {
        for (const PopupMenuItem& item : items) {
            ids_.push_back(item.id);
            if (item.separator) {
                AddSeparator();
                continue;
            }
            AddItem(item.text);
            SetItemDimmed(GetItemCount() - 1, item.disabled);
            SetItemMarked(GetItemCount() - 1, item.checked);
        }
    }
    ~CGroupMenu() override { Tell(CPopupMenuClient::kNothing); }

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
            Tell(ids_[static_cast<std::size_t>(index)]);
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
    void Tell(int id)
    {
        if (const auto chosen = std::exchange(chosen_, nullptr))
            chosen(id);
    }

    std::vector<int> ids_;
    std::function<void(int)> chosen_;
};

} // namespace

bool CPopupMenuGroup::Open(CWindowPort& port, std::span<const PopupMenuItem> items,
                           std::function<void(int)> chosen)
{
    auto menu = std::make_unique<CGroupMenu>(items, std::move(chosen));
    const PixelPoint at = port.GetMousePosition();
    menu->SetRect({at.x, at.y, 1, 1});
    auto group = std::make_unique<CPopupMenuGroup>();
    CPopupMenuGroup& added = *group;
    CGroupMenu& control = group->Add(std::move(menu));
    port.AddGroup(std::move(group));
    if (control.OpenPopup())
        return true;
    control.Forget();
    port.RemoveGroup(&added);
    return false;
}

} // namespace keldra
