#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace keldra {

/// Tells two states of a file apart: what was read when the stamp was the same is still true.
struct FileStamp {
    std::int64_t modifiedNs = 0; ///< nanoseconds since 1970
    std::uint64_t size = 0;      ///< bytes
    std::uint64_t identity = 0;  ///< another file of the same name has another number
    bool operator==(const FileStamp&) const = default;
};

enum class EFileRead {
    Ok,
    Unreadable, ///< missing, forbidden, not a regular file, or the disk failed
    TooLarge,
};

/// Reads a regular file whole, byte for byte. Waits for the disk, but for nothing else: pipes and
/// devices are answered as Unreadable without opening them up.
/// @param limit    bytes; a larger file isn't read at all
/// @param content  untouched unless the answer is Ok
/// @param path     absolute; any bytes without a NUL
[[nodiscard]] EFileRead ReadWholeFile(std::string_view path, std::size_t limit,
                                      std::vector<std::byte>& content);

[[nodiscard]] bool FileExists(std::string_view path); ///< of any kind, links followed

/// A file written whole or not at all: whatever happens on the way (disk full, process killed,
/// power lost), its path holds either all of the new content or exactly what was there before, and
/// whoever has the old file open keeps all of it. Written beside, flushed to the disk, then renamed
/// over. An existing file keeps its permissions; a link keeps pointing to its file, which is made
/// if it isn't there. In one case it isn't all or nothing: a file that may be written to, in a
/// folder that takes no new file or gives this one's name to none, is written over in its place at
/// the end. One thread at a time; waits for the disk.
class CWholeFile {
public:
    CWholeFile() = default;
    ~CWholeFile() { Discard(); } ///< removes what was not committed
    CWholeFile(const CWholeFile&) = delete;
    CWholeFile& operator=(const CWholeFile&) = delete;

    /// Opens an empty file for the content. Once an object.
    /// @param path   where the content is to be; absolute
    /// @param error  why the answer is false; invalid_argument: there is no regular file
    [[nodiscard]] bool Begin(std::string_view path, std::error_code& error);
    /// Of the content, open for reading and writing until Commit; closed by this object.
    [[nodiscard]] int Descriptor() const { return descriptor_; }
    /// Of the content until Commit, for whoever ends the process; empty when nothing would be left.
    [[nodiscard]] const std::string& TemporaryPath() const { return temporary_; }
    /// Puts the content in its place. Once, with no other descriptor of it open.
    [[nodiscard]] bool Commit(std::error_code& error);

private:
    [[nodiscard]] bool MoveIntoPlace();
    void Discard();

    std::string target_;              ///< path, links followed
    std::optional<unsigned> oldMode_; ///< permissions of the file that is there
    std::string temporary_;
    int descriptor_ = -1;
};

/// The same for content that is at hand.
/// @return false when it isn't there: no folder, not allowed, read-only, not a regular file, no
/// room
[[nodiscard]] bool WriteWholeFile(std::string_view path, std::span<const std::byte> content);

/// An empty file without a name, so that it goes with its descriptor: in the folder of a path, or
/// among the system's temporary files where that folder takes none.
/// @return open for reading and writing, -1 when there can't be one; the caller closes it
[[nodiscard]] int OpenScratchFile(std::string_view besidePath);

} // namespace keldra
