#include "platform/Files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/Folders.h"
#include "platform/posix/FileDescriptor.h"

namespace keldra {

namespace {

bool HoldsNul(std::string_view path)
{
    return path.find('\0') != std::string_view::npos;
}

bool ReadAll(int descriptor, std::span<std::byte> to, std::size_t& count)
{
    count = 0;
    while (count < to.size()) {
        const ssize_t got = ::read(descriptor, to.data() + count, to.size() - count);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            break;
        count += static_cast<std::size_t>(got);
    }
    return true;
}

bool WriteAll(int descriptor, std::span<const std::byte> content)
{
    while (!content.empty()) {
        const ssize_t put = ::write(descriptor, content.data(), content.size());
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        content = content.subspan(static_cast<std::size_t>(put));
    }
    return true;
}

/// What a path leads to in the end, links followed, whether something is there or not.
std::string LinkTarget(std::string_view path)
{
    std::error_code failure;
    std::filesystem::path target = std::filesystem::canonical(path, failure);
    if (!failure)
        return target;
    target = path;
    constexpr int kMostLinks = 40; // as many as the system follows
    for (int i = 0; i < kMostLinks; ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(target, failure);
        if (failure)
            break;
        target = target.parent_path() / next;
    }
    return target;
}

std::string FolderToOpen(std::string_view path)
{
    const std::string_view folder = FolderOf(path);
    return std::string(folder.empty() ? "." : folder);
}

/// A new, empty file in the folder under a hidden name that nobody else uses.
/// @return closed, with errno, when there can't be one
CFileDescriptor OpenNew(const std::string& folder, mode_t mode, std::string& path)
{
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::array<char, 80> name;
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        std::snprintf(name.data(), name.size(), ".keldra-%ld-%u-%llx.part",
                      static_cast<long>(::getpid()), counter.fetch_add(1),
                      static_cast<unsigned long long>(now));
        path = JoinPath(folder, name.data());
        CFileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (file.IsOpen() || errno != EEXIST)
            return file;
    }
    return {};
}

/// Whether a folder refused a new file or another file for a name of its: not its user's, sticky,
/// read-only, or something is mounted on the file itself.
bool IsFoldersRefusal(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == EBUSY;
}

/// Writes all of a file over another one.
bool CopyOver(int from, const std::string& path)
{
    CFileDescriptor to(
        ::open(path.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!to.IsOpen() || ::lseek(from, 0, SEEK_SET) != 0)
        return false;
    std::vector<std::byte> bytes(std::size_t{1} << 16);
    for (std::size_t count = bytes.size(); count == bytes.size();)
        if (!ReadAll(from, bytes, count) || !WriteAll(to.Get(), std::span(bytes).first(count)))
            return false;
    return ::fsync(to.Get()) == 0 && to.Close();
}

void FlushFolder(const std::string& folder)
{
    // Some file systems can't: the rename is as safe there as it can be made.
    const CFileDescriptor descriptor(
        ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    if (descriptor.IsOpen())
        ::fsync(descriptor.Get());
}

} // namespace

EFileRead ReadWholeFile(std::string_view path, std::size_t limit, std::vector<std::byte>& content)
{
    if (HoldsNul(path))
        return EFileRead::Unreadable;
    // O_NONBLOCK: opening a pipe would wait for its writer.
    const CFileDescriptor file(
        ::open(std::string(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return EFileRead::Unreadable;
    if (status.st_size < 0 || static_cast<std::uintmax_t>(status.st_size) > limit)
        return EFileRead::TooLarge;
    // As long as it was: a file that grows meanwhile must not pass the limit, and asking for its
    // end would be one call more for each of a library's thousands of programs.
    std::vector<std::byte> bytes(static_cast<std::size_t>(status.st_size));
    std::size_t count = 0;
    if (!ReadAll(file.Get(), bytes, count))
        return EFileRead::Unreadable;
    bytes.resize(count);
    content = std::move(bytes);
    return EFileRead::Ok;
}

bool FileExists(std::string_view path)
{
    struct stat status {};
    return !HoldsNul(path) && ::stat(std::string(path).c_str(), &status) == 0;
}

bool CWholeFile::Begin(std::string_view path, std::error_code& error)
{
    const auto fails = [&error](int why) {
        error.assign(why, std::generic_category());
        return false;
    };
    if (path.empty() || HoldsNul(path))
        return fails(ENOENT);
    target_ = LinkTarget(path);
    struct stat old {};
    // By its own path: the links of /proc lead to pipes that have no other one.
    if (::stat(std::string(path).c_str(), &old) == 0) {
        if (!S_ISREG(old.st_mode))
            return fails(EINVAL);
        // A rename would also replace what its owner has made read-only.
        if (::access(target_.c_str(), W_OK) != 0)
            return fails(errno);
        oldMode_ = old.st_mode & 07777u;
    } else if (errno != ENOENT) { // links that lead round, which are not to be replaced
        return fails(errno);
    }
    // Not mkostemp: the new file should have the permissions that the user's mask gives.
    descriptor_ = OpenNew(FolderToOpen(target_), 0666, temporary_).Release();
    if (descriptor_ >= 0)
        return true;
    const int why = errno;
    temporary_.clear();
    if (oldMode_ && IsFoldersRefusal(why))
        descriptor_ = OpenScratchFile(target_);
    return descriptor_ >= 0 || fails(why);
}

bool CWholeFile::Commit(std::error_code& error)
{
    const bool isThere = MoveIntoPlace();
    if (!isThere)
        error.assign(errno, std::generic_category());
    Discard();
    return isThere;
}

bool CWholeFile::MoveIntoPlace()
{
    CFileDescriptor file(std::exchange(descriptor_, -1));
    if (temporary_.empty())
        return CopyOver(file.Get(), target_);
    // Disks of other systems, and those behind a network, keep no permissions and say so in many
    // ways: no reason to leave the user's work unsaved.
    if (oldMode_)
        ::fchmod(file.Get(), *oldMode_);
    if (::fsync(file.Get()) != 0 || !file.Close())
        return false;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
        if (!oldMode_ || !IsFoldersRefusal(errno))
            return false;
        const CFileDescriptor written(::open(temporary_.c_str(), O_RDONLY | O_CLOEXEC));
        return written.IsOpen() && CopyOver(written.Get(), target_);
    }
    temporary_.clear();
    FlushFolder(FolderToOpen(target_));
    return true;
}

void CWholeFile::Discard()
{
    const CFileDescriptor closed(std::exchange(descriptor_, -1));
    if (!temporary_.empty())
        ::unlink(std::exchange(temporary_, {}).c_str());
}

bool WriteWholeFile(std::string_view path, std::span<const std::byte> content)
{
    CWholeFile file;
    std::error_code ignored;
    return file.Begin(path, ignored) && WriteAll(file.Descriptor(), content) &&
           file.Commit(ignored);
}

int OpenScratchFile(std::string_view besidePath)
{
    std::error_code ignored;
    std::string path;
    CFileDescriptor file = OpenNew(FolderToOpen(besidePath), 0600, path);
    if (!file.IsOpen())
        file = OpenNew(std::filesystem::temp_directory_path(ignored), 0600, path);
    if (file.IsOpen())
        ::unlink(path.c_str());
    return file.Release();
}

} // namespace keldra
