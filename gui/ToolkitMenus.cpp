#include "gui/ToolkitMenus.h"

#include <utility>

#include "gui/WindowPort.h"
#include "platform/UiThread.h"

namespace keldra {

namespace {

class CToolkitMenu final : public CPopupMenu {
public:
    ~CToolkitMenu() override
    {
        {
            const CUiLock lock;
            const bool isShown = std::exchange(shown_->client, nullptr) != nullptr;
            if (isShown)
                Dismiss();
        }
        shown_->calls.Finish();
    }

    void Show(std::span<const PopupMenuItem> items, std::uintptr_t owner,
              CPopupMenuClient& client) override
    {
        const CUiLock lock;
        if (shown_->client != nullptr)
            Dismiss();
        shown_->client = &client;
        shown_->owner = owner;
        CWindowPort* port = CWindowPort::FindOpen(owner);
        const bool isShown =
            port != nullptr &&
            port->ShowPopupMenu(items, [shown = shown_](int id) { shown->Answer(id); });
        if (!isShown)
            shown_->Answer(CPopupMenuClient::kNothing);
    }

private:
    /// What outlives the menu while the window still has its picture.
    struct Shown {
        void Answer(int id)
        {
            CPopupMenuClient* const told = std::exchange(client, nullptr);
            if (told != nullptr)
                calls.Post([told, id] { told->OnMenuChoice(id); });
        }

        CPopupMenuClient* client = nullptr; ///< waits for an answer
        NativeHandle owner = 0;
        CHostCalls calls; ///< the client may be the host's binding
    };

    void Dismiss()
    {
        if (CWindowPort* port = CWindowPort::FindOpen(shown_->owner))
            port->DismissPopupMenu();
    }

    std::shared_ptr<Shown> shown_ = std::make_shared<Shown>();
};

} // namespace

std::unique_ptr<CPopupMenu> CToolkitMenus::CreateMenu()
{
    return std::make_unique<CToolkitMenu>();
}

} // namespace keldra
