#include "platform/Files.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/Folders.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {
namespace {

std::span<const std::byte> Bytes(const std::string& text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

std::size_t EntryCount(const std::string& folder)
{
    const auto all = std::filesystem::directory_iterator(folder);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

TEST(Files, ReadRegularFilesUpToTheLimitAndNothingElse)
{
    const CTemporaryFolder folder;
    folder.Write("ten", "0123456789");
    folder.Write("empty", "");
    ASSERT_EQ(::mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("round", folder.Path("round"));
    std::filesystem::create_symlink("ten", folder.Path("link"));
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
        {"link", folder.Path("link"), 10, EFileRead::Ok, "0123456789"},
        {"link to itself", folder.Path("round"), 10, EFileRead::Unreadable, "before"},
        {"pipe without a writer", folder.Path("pipe"), 10, EFileRead::Unreadable, "before"},
        {"device without an end", "/dev/zero", 10, EFileRead::Unreadable, "before"},
        {"folder", folder.Path(), 10, EFileRead::Unreadable, "before"},
        {"missing", folder.Path("none"), 10, EFileRead::Unreadable, "before"},
        {"no path", "", 10, EFileRead::Unreadable, "before"},
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

TEST(Files, KeepTheOldFileAndLeaveNothingBehindWhenTheDiskIsFull)
{
    const CTemporaryFolder folder;
    const std::string path = folder.Write("program", "old");
    const std::string large(100000, 'n');
    // The limit on file sizes stands in for a full disk: writing stops short in the middle.
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit limit{50000, 50000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::signal(SIGXFSZ, SIG_IGN);
        ::_exit(WriteWholeFile(path, Bytes(large)) ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "claimed to have written it";
    EXPECT_EQ(Slurp(path), "old");
    EXPECT_EQ(EntryCount(folder.Path()), 1u);
    EXPECT_TRUE(WriteWholeFile(path, Bytes(large)));
    EXPECT_EQ(Slurp(path), large);
}

TEST(Files, AreAllOldOrAllNewWheneverTheWriterIsKilled)
{
    const CTemporaryFolder folder;
    const std::string path = folder.Write("program", std::string(300000, '0'));
    for (int round = 0; round < 25; ++round) {
        const pid_t child = ::fork();
        if (child == 0)
            for (char letter = 'a';; letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1)) {
                const std::string content(300000, letter);
                if (!WriteWholeFile(path, Bytes(content)))
                    ::_exit(1);
            }
        ::usleep(static_cast<useconds_t>(500 + 731 * round));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        const std::string content = Slurp(path);
        ASSERT_EQ(content.size(), 300000u);
        ASSERT_EQ(std::count(content.begin(), content.end(), content[0]), 300000);
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

    const std::string inParts = folder.Path(std::string(255, 'n'));
    EXPECT_TRUE(WriteWholeFile(inParts, Bytes("longest name")))
        << "no room for a longer one beside";
    EXPECT_FALSE(WriteWholeFile(folder.Path("missing/file"), Bytes("x")));
    EXPECT_FALSE(WriteWholeFile(folder.Path("store"), Bytes("x"))) << "a folder";
    EXPECT_FALSE(WriteWholeFile("", Bytes("x")));
    if (::geteuid() != 0) { // root may write anything
        ASSERT_EQ(::chmod(real.c_str(), 0440), 0);
        EXPECT_FALSE(WriteWholeFile(real, Bytes("x")));
        EXPECT_EQ(Slurp(real), "new");
    }
}

} // namespace
} // namespace keldra::test
