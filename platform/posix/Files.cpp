#include "platform/Files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
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

/// What a path leads to in the end, links followed. The path itself when nothing is there yet.
std::string LinkTarget(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real != nullptr ? std::string(real.get()) : path;
}

/// A new, empty file in the folder under a hidden name that nobody else uses.
CFileDescriptor CreateBeside(const std::string& folder, std::string& path)
{
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::array<char, 80> name;
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        std::snprintf(name.data(), name.size(), ".keldra-%ld-%u-%llx.part",
                      static_cast<long>(::getpid()), counter.fetch_add(1),
                      static_cast<unsigned long long>(now));
        path = JoinPath(folder, name.data());
        // Not mkostemp: the new file should have the permissions that the user's mask gives.
        CFileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (file.IsOpen() || errno != EEXIST)
            return file;
    }
    return {};
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

bool WriteWholeFile(std::string_view path, std::span<const std::byte> content)
{
    if (path.empty() || HoldsNul(path))
        return false;
    const std::string target = LinkTarget(std::string(path));
    struct stat old {};
    const bool replaces = ::stat(target.c_str(), &old) == 0;
    // A rename would also replace what its owner has made read-only.
    if (replaces && (!S_ISREG(old.st_mode) || ::access(target.c_str(), W_OK) != 0))
        return false;

    const std::string folder(FolderOf(target));
    std::string part;
    CFileDescriptor file = CreateBeside(folder.empty() ? "." : folder, part);
    if (!file.IsOpen())
        return false;
    bool whole = WriteAll(file.Get(), content);
    // Disks of other systems, and those behind a network, keep no permissions and say so in many
    // ways: no reason to leave the user's work unsaved.
    if (whole && replaces)
        ::fchmod(file.Get(), old.st_mode & 07777);
    whole = whole && ::fsync(file.Get()) == 0;
    whole = file.Close() && whole;
    whole = whole && ::rename(part.c_str(), target.c_str()) == 0;
    if (!whole) {
        ::unlink(part.c_str());
        return false;
    }
    FlushFolder(folder.empty() ? "." : folder);
    return true;
}

} // namespace keldra
