#include "platform/Folders.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace keldra {

namespace {

FileStamp StampOf(const struct stat& status)
{
    // Unsigned: disks keep dates beyond 2262, and whoever has such a file, damaged or made where
    // the clock was wrong, needs no date but a number that differs.
    const auto seconds = static_cast<std::uint64_t>(status.st_mtim.tv_sec);
    const auto nanoseconds = static_cast<std::uint64_t>(status.st_mtim.tv_nsec);
    return {static_cast<std::int64_t>(seconds * 1'000'000'000 + nanoseconds),
            static_cast<std::uint64_t>(status.st_size), static_cast<std::uint64_t>(status.st_ino)};
}

bool ListedBefore(const FolderEntry& a, const FolderEntry& b)
{
    // By whole names "Bass 2.fxp" would come before "Bass.fxp", as a blank does before a dot.
    const auto sortName = [](const FolderEntry& entry) {
        return entry.isFolder ? std::string_view(entry.name) : WithoutExtension(entry.name);
    };
    return sortName(a) != sortName(b) ? NaturallyBefore(sortName(a), sortName(b))
                                      : NaturallyBefore(a.name, b.name);
}

} // namespace

bool ListFolder(std::string_view path, std::vector<FolderEntry>& entries)
{
    entries.clear();
    if (path.empty() || path.find('\0') != std::string_view::npos)
        return false;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(std::string(path).c_str()),
                                                     &::closedir);
    if (folder == nullptr)
        return false;
    while (entries.size() < kMaxFolderEntries) {
        const dirent* entry = ::readdir(folder.get());
        if (entry == nullptr)
            break;
        const std::string_view name = entry->d_name;
        struct stat status {};
        if (name.starts_with('.') || !IsUtf8(name) ||
            ::fstatat(::dirfd(folder.get()), entry->d_name, &status, 0) != 0)
            continue;
        if (S_ISDIR(status.st_mode) || S_ISREG(status.st_mode))
            entries.push_back({std::string(name), S_ISDIR(status.st_mode), StampOf(status)});
    }
    std::sort(entries.begin(), entries.end(), ListedBefore);
    return true;
}

bool FolderExists(std::string_view path)
{
    struct stat status {};
    return path.find('\0') == std::string_view::npos &&
           ::stat(std::string(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string HomeFolder()
{
    const char* const home = std::getenv("HOME");
    return home != nullptr && *home == kPathSeparator ? home : "/";
}

} // namespace keldra
