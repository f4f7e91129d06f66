#pragma once

#include <cstdint>
#include <memory>

#include "hosts/native/DornoHost.h"
#include "platform/PopupMenu.h"

namespace keldra::native {

/// The host's own menu for a parameter: its items are asked for, shown, and the choice is told back
/// when the user has made it. UI thread; destroyed on any.
class CParameterMenu final : private CPopupMenuClient {
public:
    explicit CParameterMenu(CDornoHost& host);

    /// @param owner  the editor's window. A host without items for the parameter shows nothing
    void Show(std::int32_t parameter, std::uintptr_t owner);

private:
    void OnMenuChoice(int id) override;

    CDornoHost& host_;
    std::int32_t parameter_ = 0; ///< whose menu is shown
    std::unique_ptr<CPopupMenu> menu_;
};

} // namespace keldra::native
