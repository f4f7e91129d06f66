#include "platform/Folders.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/ModulePath.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {
namespace {

std::vector<std::string> Listed(const std::string& path)
{
    std::vector<FolderEntry> entries;
    EXPECT_TRUE(ListFolder(path, entries)) << path;
    std::vector<std::string> names;
    for (const FolderEntry& entry : entries)
        names.push_back(entry.name + (entry.isFolder ? "/" : ""));
    return names;
}

TEST(Folders, ListInTheSameNaturalOrderOnEveryMachine)
{
    const std::vector<std::string> kOrder = {
        "",
        "2nd",
        "10th",
        "Bass",
        "bass",
        "Bass 2",
        "bass 02",
        "BASS 10",
        "Bass 10a",
        "Bass 99999999999999999999",
        "Bass 100000000000000000000",
        "bass a",
        "bass-line",
        "Lead",
        "Zebra",
        "\xC3\x84"
        "ther",
        "\xC3\xA4"
        "thers",
        "\xD0\x91"
        "as",
        "\xD0\xB1"
        "at",
    };
    for (std::size_t i = 0; i < kOrder.size(); ++i)
        for (std::size_t k = 0; k < kOrder.size(); ++k)
            EXPECT_EQ(NaturallyBefore(kOrder[i], kOrder[k]), i < k)
                << '"' << kOrder[i] << "\" and \"" << kOrder[k] << '"';
}

// An order that isn't strict makes std::sort read out of bounds, so no bytes may lead to one.
TEST(Folders, OrderStaysStrictForNamesOfAnyBytes)
{
    std::mt19937 random(7);
    constexpr std::string_view kBytes = "aAbB0019 \xC3\x84\xA4\xE0\xFF";
    std::vector<std::string> names(120);
    for (std::string& name : names)
        for (std::size_t length = random() % 6; length > 0; --length)
            name += kBytes[random() % kBytes.size()];
    for (const std::string& a : names)
        for (const std::string& b : names) {
            ASSERT_FALSE(NaturallyBefore(a, b) && NaturallyBefore(b, a));
            ASSERT_TRUE(a == b || NaturallyBefore(a, b) || NaturallyBefore(b, a));
            for (const std::string& c : names)
                ASSERT_FALSE(NaturallyBefore(a, b) && NaturallyBefore(b, c) &&
                             !NaturallyBefore(a, c))
                    << a << " < " << b << " < " << c;
        }
}

TEST(Folders, LeaveOutWhatCouldHarmOrHasNoName)
{
    const CTemporaryFolder folder;
    for (const char* name : {"Pad 10.fxp", "Pad 9.fxp", "Pad.fxp", "Pad.bak", "Pad-2.fxp"})
        folder.Write(name, "x");
    folder.Write("bank/inner", "x");
    folder.Write(".hidden", "x");
    folder.Write("not \xFF utf", "x");
    folder.Write("overlong \xC0\xAF", "x");
    std::filesystem::create_symlink("round", folder.Path("round"));
    std::filesystem::create_symlink("nowhere at all", folder.Path("dangling"));
    std::filesystem::create_symlink(".", folder.Path("itself"));
    std::filesystem::create_symlink("Pad 9.fxp", folder.Path("linked.fxp"));
    ASSERT_EQ(::mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    constexpr auto kThen = static_cast<time_t>(13569465600); // seconds
    const timespec inThe25thCentury[] = {{kThen, 0}, {kThen, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.Path("Pad 9.fxp").c_str(), inThe25thCentury, 0), 0);
    EXPECT_EQ(Listed(folder.Path()),
              (std::vector<std::string>{"bank/", "itself/", "linked.fxp", "Pad.bak", "Pad.fxp",
                                        "Pad 9.fxp", "Pad 10.fxp", "Pad-2.fxp"}));

    std::vector<FolderEntry> entries{{"left over", false, {}}};
    for (const std::string& path :
         {folder.Path("none"), folder.Path("Pad 9.fxp"), folder.Path("round"), std::string(),
          folder.Path(std::string(5000, 'x')), folder.Path("bank") + std::string("\0", 1)}) {
        EXPECT_FALSE(ListFolder(path, entries)) << path.substr(0, 100);
        EXPECT_TRUE(entries.empty());
        EXPECT_FALSE(FolderExists(path)) << path.substr(0, 100);
    }
    if (::geteuid() != 0) { // root may look anywhere
        ASSERT_EQ(::chmod(folder.Path("bank").c_str(), 0), 0);
        EXPECT_FALSE(ListFolder(folder.Path("bank"), entries));
        ASSERT_EQ(::chmod(folder.Path("bank").c_str(), 0700), 0);
    }
}

TEST(ModulePath, IsTheFolderThatHoldsThisProgram)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    EXPECT_EQ(ModuleFolder(), program + "/");
}

} // namespace
} // namespace keldra::test
