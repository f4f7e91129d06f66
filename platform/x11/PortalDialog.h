#pragma once

#include <memory>

#include "platform/FileDialog.h"

namespace keldra {

/// A file dialog shown by the desktop's portal over the session bus. Unavailable when there is no
/// such bus or its portal doesn't answer within two seconds.
[[nodiscard]] std::unique_ptr<CFileDialog> OpenPortalDialog(const FileDialogRequest& request);

} // namespace keldra
