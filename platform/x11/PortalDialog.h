#pragma once

#include <memory>

#include "platform/FileDialog.h"

namespace keldra {

/// A file dialog shown by the desktop's portal over the session bus. Unavailable when there is no
/// such bus or its portal doesn't answer within two seconds.
[[nodiscard]] std::unique_ptr<CFileDialog> OpenPortalDialog(const FileDialogRequest& request);

/// The file that a URI names, in its own bytes; empty when it isn't a file of this machine.
[[nodiscard]] std::string PathOfFileUri(std::string_view uri);

} // namespace keldra
