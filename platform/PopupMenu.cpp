#include "platform/PopupMenu.h"

#include <atomic>
#include <utility>

namespace keldra {

namespace {

std::atomic<CPopupMenuProvider*> registered{nullptr};

class CNoMenu final : public CPopupMenu {
public:
    void Show(std::span<const PopupMenuItem>, std::uintptr_t, CPopupMenuClient& client) override
    {
        client.OnMenuChoice(CPopupMenuClient::kNothing);
    }
};

} // namespace

std::unique_ptr<CPopupMenu> CPopupMenu::Create()
{
    CPopupMenuProvider* const provider = registered.load();
    std::unique_ptr<CPopupMenu> menu = provider != nullptr ? provider->CreateMenu() : nullptr;
    return menu != nullptr ? std::move(menu) : std::make_unique<CNoMenu>();
}

CPopupMenuProvider::CPopupMenuProvider()
{
    registered.store(this);
}

CPopupMenuProvider::~CPopupMenuProvider()
{
    registered.store(nullptr);
}

} // namespace keldra
