#include "platform/Files.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/Folders.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {
namespace {

// The calls that leave a mark on the disk, as the linker has WriteWholeFile make them: one of them
// is the last that its process lives to make, or finds the disk full.

enum class EFault { None, Killed, DiskFull, KeepsNoPermissions, TakesNoNewFile, GivesNoName };

struct Fault {
    EFault kind = EFault::None;
    int stepsBefore = 0;
    std::string folder = {}; ///< that takes no new file
};
Fault fault;

/// @return whether this call is to fail, with errno set
bool Strikes()
{
    if ((fault.kind != EFault::Killed && fault.kind != EFault::DiskFull) || fault.stepsBefore-- > 0)
        return false;
    if (fault.kind == EFault::Killed)
        ::raise(SIGKILL);
    fault.kind = EFault::None; // what comes next would succeed, if it were tried
    errno = ENOSPC;
    return true;
}

/// @return whether it was written; false when the writer was killed
bool WriteWith(const Fault& wanted, const std::string& path, std::span<const std::byte> content)
{
    if (wanted.kind == EFault::DiskFull) {
        fault = wanted;
        const bool written = WriteWholeFile(path, content);
        fault = {};
        return written;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        fault = wanted;
        ::_exit(WriteWholeFile(path, content) ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) || status == 0);
    return status == 0;
}

} // namespace
} // namespace keldra::test

extern "C" {

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    if (keldra::test::fault.kind == keldra::test::EFault::TakesNoNewFile &&
        (flags & O_CREAT) != 0 && std::string(path).starts_with(keldra::test::fault.folder)) {
        errno = EACCES;
        return -1;
    }
    return keldra::test::Strikes() ? -1 : __real_open(path, flags, mode);
}

ssize_t __real_write(int file, const void* data, std::size_t size);
ssize_t __wrap_write(int file, const void* data, std::size_t size);
ssize_t __wrap_write(int file, const void* data, std::size_t size)
{
    constexpr std::size_t kPiece = 40000; // less than was asked for is no error
    return keldra::test::Strikes() ? -1 : __real_write(file, data, std::min(size, kPiece));
}

int __real_close(int file);
int __wrap_close(int file);
int __wrap_close(int file)
{
    const bool strikes = keldra::test::Strikes();
    return __real_close(file) == 0 && !strikes ? 0 : -1; // closed it is in any case
}

int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode)
{
    errno = ENOSYS;
    return keldra::test::fault.kind == keldra::test::EFault::KeepsNoPermissions
               ? -1
               : __real_fchmod(file, mode);
}

int __real_fsync(int file);
int __wrap_fsync(int file);
int __wrap_fsync(int file)
{
    return keldra::test::Strikes() ? -1 : __real_fsync(file);
}

int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to)
{
    if (keldra::test::fault.kind == keldra::test::EFault::GivesNoName) {
        errno = EPERM;
        return -1;
    }
    return keldra::test::Strikes() ? -1 : __real_rename(from, to);
}

} // extern "C"

namespace keldra::test {
namespace {

std::span<const std::byte> Bytes(const std::string& text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

TEST(Files, ReadRegularFilesUpToTheLimitAndNothingElse)
{
    const CTemporaryFolder folder;
    folder.Write("ten", "0123456789");
    folder.Write("empty", "");
    ASSERT_EQ(::mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("round", folder.Path("round"));
    const std::string longPath = folder.Path(std::string(3000, 'x')) + "/y";
    struct Case {
        const char* what;
        std::string path;
        std::size_t limit;
        EFileRead result;
        std::string content;
    };
    const Case kCases[] = {
        {"exactly the limit", folder.Path("ten"), 10, EFileRead::Ok, "0123456789"},
        {"one byte beyond it", folder.Path("ten"), 9, EFileRead::TooLarge, "before"},
        {"empty", folder.Path("empty"), 10, EFileRead::Ok, ""},
        {"link to itself", folder.Path("round"), 10, EFileRead::Unreadable, "before"},
        {"pipe without a writer", folder.Path("pipe"), 10, EFileRead::Unreadable, "before"},
        {"device without an end", "/dev/zero", 10, EFileRead::Unreadable, "before"},
        {"folder", folder.Path(), 10, EFileRead::Unreadable, "before"},
        {"missing", folder.Path("none"), 10, EFileRead::Unreadable, "before"},
        {"path longer than the system takes", longPath, 10, EFileRead::Unreadable, "before"},
        {"path with a NUL", folder.Path("ten") + std::string("\0x", 2), 10, EFileRead::Unreadable,
         "before"},
    };
    for (const Case& row : kCases) {
        std::vector<std::byte> content(6);
        std::memcpy(content.data(), "before", 6);
        EXPECT_EQ(ReadWholeFile(row.path, row.limit, content), row.result) << row.what;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(content.data()), content.size()),
                  row.content)
            << row.what;
    }
}

TEST(Files, AreAllOldOrAllNewAtWhicheverStepTheWriterIsKilledOrTheDiskIsFull)
{
    const std::string content(100000, 'n');
    for (const std::string& old : {std::string(), std::string(70000, 'o')})
        for (const EFault kind : {EFault::Killed, EFault::DiskFull}) {
            int failures = 0;
            constexpr int kMoreThanAll = 16;
            for (int step = 0; step < kMoreThanAll; ++step) {
                SCOPED_TRACE(testing::Message()
                             << (kind == EFault::Killed ? "killed" : "full") << " after " << step
                             << ", old size " << old.size());
                const CTemporaryFolder folder;
                const std::string path = folder.Path("program");
                if (!old.empty())
                    folder.Write("program", old);
                const bool written = WriteWith({kind, step}, path, Bytes(content));
                const std::string found = Slurp(path);
                failures += written ? 0 : 1;
                if (written || kind == EFault::DiskFull) {
                    EXPECT_TRUE(found == (written ? content : old)) << written;
                    EXPECT_EQ(NamesIn(folder.Path()).size(), found.empty() ? 0u : 1u);
                } else {
                    EXPECT_TRUE(found == old || found == content);
                }
            }
            EXPECT_GE(failures, 7); // open, three pieces, flush, close, rename
            EXPECT_LT(failures, kMoreThanAll);
        }
}

TEST(Files, WriteThroughLinksAndKeepPermissionsButReplaceNothingProtected)
{
    const CTemporaryFolder folder;
    const std::string real = folder.Write("store/real", "old");
    std::filesystem::create_symlink(real, folder.Path("link"));
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    EXPECT_TRUE(WriteWholeFile(folder.Path("link"), Bytes("new")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("link")));
    EXPECT_EQ(Slurp(real), "new");
    struct stat status {};
    ASSERT_EQ(::stat(real.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0640u);
    fault.kind = EFault::KeepsNoPermissions; // a stick from another system, a network's disk
    EXPECT_TRUE(WriteWholeFile(real, Bytes("newer")));
    fault = {};
    EXPECT_EQ(Slurp(real), "newer");

    std::filesystem::create_symlink("store/made", folder.Path("dangling"));
    EXPECT_TRUE(WriteWholeFile(folder.Path("dangling"), Bytes("made")));
    EXPECT_EQ(Slurp(folder.Path("store/made")), "made");
    std::filesystem::create_symlink("round", folder.Path("round"));
    EXPECT_FALSE(WriteWholeFile(folder.Path("round"), Bytes("x")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("round")));

    // Somebody else's folder, or a sticky one: what is in it may be writable all the same.
    for (const auto& [kind, size] :
         {std::pair{EFault::TakesNoNewFile, 100000}, std::pair{EFault::GivesNoName, 5}}) {
        const std::string content(static_cast<std::size_t>(size), 'c');
        fault = {kind, 0, folder.Path("store")};
        EXPECT_TRUE(WriteWholeFile(real, Bytes(content))) << size;
        EXPECT_FALSE(WriteWholeFile(folder.Path("store/new"), Bytes("x"))) << size;
        fault = {};
        EXPECT_TRUE(Slurp(real) == content) << size;
        EXPECT_EQ(NamesIn(folder.Path("store")).size(), 2u) << size;
    }

    const std::string inParts = folder.Path(std::string(255, 'n'));
    EXPECT_TRUE(WriteWholeFile(inParts, Bytes("longest name")))
        << "no room for a longer one beside";
    EXPECT_FALSE(WriteWholeFile(folder.Path("missing/file"), Bytes("x")));
    EXPECT_FALSE(WriteWholeFile(folder.Path("store"), Bytes("x"))) << "a folder";
    EXPECT_FALSE(WriteWholeFile("", Bytes("x")));
    int pipe[2] = {};
    ASSERT_EQ(::pipe(pipe), 0);
    std::error_code why;
    EXPECT_FALSE(CWholeFile().Begin("/proc/self/fd/" + std::to_string(pipe[1]), why));
    EXPECT_EQ(why, std::errc::invalid_argument) << why.message();
    ::close(pipe[0]);
    ::close(pipe[1]);
    if (::geteuid() != 0) { // root may write anything
        ASSERT_EQ(::chmod(real.c_str(), 0440), 0);
        EXPECT_FALSE(WriteWholeFile(real, Bytes("x")));
        EXPECT_EQ(Slurp(real), "ccccc");
    }
}

} // namespace
} // namespace keldra::test
