#pragma once

#include <memory>
#include <string>

namespace keldra::render {

/// A file that appears whole or not at all. It is written beside its place under a name of its own,
/// and renamed at the end; whoever listens to the old file meanwhile hears all of it. One at a
/// time.
class COutputFile {
public:
    /// @param path   a new or a regular file; a link is followed
    /// @param error  receives one line, with the path, when the answer is null
    [[nodiscard]] static std::unique_ptr<COutputFile> Create(const std::string& path,
                                                             std::string& error);
    ~COutputFile(); ///< removes what was not committed
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    /// Open for reading and writing. Whoever takes it closes it.
    [[nodiscard]] int TakeDescriptor();
    /// Puts the file in its place. The descriptor must be closed.
    [[nodiscard]] bool Commit(std::string& error);

private:
    COutputFile() = default;

    std::string path_;      ///< where it will be
    std::string temporary_; ///< where it is; empty when there is nothing to remove
    int descriptor_ = -1;
};

/// From now on a signal that ends the program first removes the unfinished file: interrupts as well
/// as a crash, which may be a module's.
void RemoveUnfinishedFileOnSignals();

/// An open file in the same folder that has no name, so that it goes with its descriptor.
/// @return -1 when there can't be one
[[nodiscard]] int OpenScratchFile(const std::string& besidePath);

} // namespace keldra::render
