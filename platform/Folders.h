#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace keldra {

inline constexpr char kPathSeparator = '/';

/// A listing stops at this many entries: whoever points us at a folder of millions gets some.
inline constexpr std::size_t kMaxFolderEntries = 20000;

struct FolderEntry {
    std::string name; ///< UTF-8, without the folder
    bool isFolder = false;
    FileStamp stamp;
};

/// What a folder holds: files and folders, links followed, sorted with NaturallyBefore, files by
/// their names without extension, so that every machine shows the same list. Left out: hidden
/// entries (a dot first), names that aren't UTF-8, links that lead nowhere or round, pipes, sockets
/// and devices. Waits for the disk.
/// @param path     absolute
/// @param entries  replaced; empty when the answer is false
/// @return false when the folder can't be listed
[[nodiscard]] bool ListFolder(std::string_view path, std::vector<FolderEntry>& entries);

[[nodiscard]] bool FolderExists(std::string_view path);

/// This user's own folder; the root of all folders when the system doesn't say.
[[nodiscard]] std::string HomeFolder();

/// Order of names as people expect it: capitals and small letters alike (Latin, Greek and
/// Cyrillic), runs of digits by their number ("Pad 9" before "Pad 10"). Names that only differ in
/// these come in the order of their bytes, so that the order is total and nowhere depends on a
/// locale.
[[nodiscard]] bool NaturallyBefore(std::string_view a, std::string_view b);

/// No overlong forms, no surrogates, nothing beyond U+10FFFF.
[[nodiscard]] bool IsUtf8(std::string_view text);

// Paths. Texts only: the disk isn't asked.

/// Folder and name with one separator between them; an empty folder gives the name alone.
[[nodiscard]] std::string JoinPath(std::string_view folder, std::string_view name);
/// What follows the last separator: "b.c" of "/a/b.c".
[[nodiscard]] std::string_view FileNameOf(std::string_view path);
/// What stands before the last separator: "/a" of "/a/b.c", "/" of "/b", empty for "b".
[[nodiscard]] std::string_view FolderOf(std::string_view path);
/// A file name without its last dot and what follows: "Bright.old" of "Bright.old.fxp".
[[nodiscard]] std::string_view WithoutExtension(std::string_view fileName);
/// What follows the last dot of a file name; empty without one.
[[nodiscard]] std::string_view ExtensionOf(std::string_view fileName);

} // namespace keldra
