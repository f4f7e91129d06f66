#pragma once

#include <cstdint>
#include <memory>

#include "platform/FileDialog.h"

namespace keldra {

/// What the preset list asks of an editor. Control threads, one at a time.
class CPresetListClient {
public:
    virtual void ShowAboutBox() = 0;
    virtual void ShowPresetBrowser() = 0;

    /// The system's handle of the window that dialogs belong to, 0 for none.
    [[nodiscard]] virtual std::uintptr_t DialogOwner() const = 0;

    /// The toolkit's own file chooser, for desktops without any. Null when it can't be shown now.
    [[nodiscard]] virtual std::unique_ptr<CFileDialog>
    OpenOwnFileDialog(const FileDialogRequest& request) = 0;

protected:
    ~CPresetListClient() = default;
};

} // namespace keldra
