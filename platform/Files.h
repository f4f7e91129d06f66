#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
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

/// Writes a file whole or not at all: whatever happens on the way (disk full, process killed, power
/// lost), the path holds either all of the new content or exactly what was there before. Written
/// beside, flushed to the disk, then renamed over. An existing file keeps its permissions, and a
/// link keeps pointing to it. Waits for the disk.
/// @return false when it isn't there: no folder, not allowed, read-only, not a regular file, no
/// room
[[nodiscard]] bool WriteWholeFile(std::string_view path, std::span<const std::byte> content);

} // namespace keldra
