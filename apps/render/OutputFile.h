#pragma once

#include <memory>
#include <string>

#include "platform/Files.h"

namespace keldra::render {

/// A file of the program's, whole or not at all also when a signal ends the program. One at a time.
class COutputFile {
public:
    /// @param path   a new or a regular file; a link is followed
    /// @param error  receives one line, with the path, when the answer is null
    [[nodiscard]] static std::unique_ptr<COutputFile> Create(const std::string& path,
                                                             std::string& error);
    ~COutputFile(); ///< removes what was not committed
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    /// For reading and writing. Whoever asks closes it, before Commit. @return -1 when there is
    /// none
    [[nodiscard]] int OpenDescriptor() const;
    /// Puts the file in its place.
    [[nodiscard]] bool Commit(std::string& error);

private:
    explicit COutputFile(const std::string& path) : path_(path) {}

    std::string path_; ///< as it was given, for messages
    CWholeFile file_;
};

/// From now on a signal that ends the program first removes the unfinished file: interrupts as well
/// as a crash, which may be a module's.
void RemoveUnfinishedFileOnSignals();

} // namespace keldra::render
