#pragma once

#include <chrono>
#include <memory>

#include "platform/FileDialog.h"

namespace keldra {

/// A dialog that ends unanswered sooner than this wasn't on the screen: nobody cancels one as fast.
inline constexpr std::chrono::milliseconds kSoonestCancel{250};

/// A file dialog shown by a program of the desktop. Unavailable when it isn't installed or ends
/// without having shown anything.
[[nodiscard]] std::unique_ptr<CFileDialog> OpenKdialog(const FileDialogRequest& request);
[[nodiscard]] std::unique_ptr<CFileDialog> OpenZenity(const FileDialogRequest& request);

} // namespace keldra
