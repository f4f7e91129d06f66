#include "platform/SettingsStore.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <random>

#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {
namespace {

constexpr std::string_view kKey = "SOFTWARE\\Tallowen\\Keldra";

TEST(SettingsStore, UnderstandsWhatPeopleWriteAndPassesOverTheRest)
{
    struct Case {
        const char* what;
        std::string text;
        const char* value; ///< null: nothing is found
    };
    const Case kCases[] = {
        {"plain", "[Software\\Tallowen\\Keldra]\nrootFolder = /srv/my sounds/\n",
         "/srv/my sounds/"},
        {"no newline at the end", "[software/tallowen/keldra]\nROOTFOLDER=/a", "/a"},
        {"Windows line ends and a byte order mark",
         "\xEF\xBB\xBF[Software\\Tallowen\\Keldra\\]\r\nrootFolder = /a\r\n", "/a"},
        {"comments and rubbish around it",
         "# no\n; no\nrubbish\n[Software\\Tallowen\\Keldra]\n= x\n\nrootFolder = /a = b\n",
         "/a = b"},
        {"first one counts", "[Software\\Tallowen\\Keldra]\nrootFolder=/a\nrootFolder=/b\n", "/a"},
        {"key given twice",
         "[Software\\Tallowen\\Keldra]\nx=1\n[Other]\ny=2\n[Software\\Tallowen\\Keldra]\n"
         "rootFolder=/a\n",
         "/a"},
        {"without a key", "rootFolder = /a\n", nullptr},
        {"another key", "[Software\\Tallowen\\Kel]\nrootFolder = /a\n", nullptr},
        {"broken key line", "[Software\\Tallowen\\Keldra\nrootFolder = /a\n", nullptr},
        {"empty value", "[Software\\Tallowen\\Keldra]\nrootFolder =  \n", nullptr},
        {"longest value", "[Software\\Tallowen\\Keldra]\nrootFolder=" + std::string(1023, 'x'),
         nullptr},
        {"longer", "[Software\\Tallowen\\Keldra]\nrootFolder=" + std::string(1024, 'x'), nullptr},
        {"NUL in the line", std::string("[Software\\Tallowen\\Keldra]\nrootFolder=/a\0b\n", 42),
         nullptr},
        {"file beyond 64 KiB",
         "[Software\\Tallowen\\Keldra]\nrootFolder=/a\n" + std::string(65536, '#'), nullptr},
    };
    const CTemporaryFolder folder;
    for (const Case& row : kCases) {
        const CSettingsStore store({folder.Write("settings", row.text)}, {});
        const auto value = store.Read(ESettingsHive::CurrentUser, kKey, "rootFolder");
        if (std::string_view(row.what) == "longest value")
            EXPECT_EQ(value.value_or("").size(), 1023u);
        else
            EXPECT_EQ(value.value_or("nothing"), row.value != nullptr ? row.value : "nothing")
                << row.what;
    }
}

TEST(SettingsStore, AsksTheHiveItIsToldAndTheNearestFileFirst)
{
    const CTemporaryFolder folder;
    const auto file = [&](const char* name, const std::string& value) {
        return folder.Write(name, "[Software\\Tallowen\\Keldra]\n" + value + "\n");
    };
    const CSettingsStore store(
        {file("user", "a = user")},
        {folder.Path("missing"), file("near", "b = near"), file("far", "a = far\nb = far")});
    const auto read = [&](ESettingsHive hive, const char* name) {
        return store.Read(hive, kKey, name).value_or("nothing");
    };
    EXPECT_EQ(read(ESettingsHive::CurrentUser, "a"), "user");
    EXPECT_EQ(read(ESettingsHive::CurrentUser, "b"), "nothing");
    EXPECT_EQ(read(ESettingsHive::LocalMachine, "a"), "far");
    EXPECT_EQ(read(ESettingsHive::LocalMachine, "b"), "near");
}

TEST(SettingsStore, FindsItsFilesByTheEnvironment)
{
    const CTemporaryFolder folder;
    constexpr const char* kVariables[] = {"XDG_CONFIG_HOME", "HOME", "XDG_CONFIG_DIRS"};
    std::vector<std::optional<std::string>> before;
    for (const char* name : kVariables) {
        const char* value = std::getenv(name);
        before.push_back(value != nullptr ? std::optional<std::string>(value) : std::nullopt);
    }
    const std::string text = "[Software\\Tallowen\\Keldra]\nx = ";
    folder.Write("home/.config/tallowen/settings", text + "home");
    folder.Write("config/tallowen/settings", text + "config");
    folder.Write("machine/tallowen/settings", text + "machine");
    ::setenv("HOME", folder.Path("home").c_str(), 1);
    ::setenv("XDG_CONFIG_DIRS", ("relative:" + folder.Path("machine")).c_str(), 1);
    for (const auto& [config, expected] : {std::pair<std::string, const char*>{"", "home"},
                                           {"relative", "home"},
                                           {folder.Path("config"), "config"}}) {
        ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
        EXPECT_EQ(CSettingsStore().Read(ESettingsHive::CurrentUser, kKey, "x"), expected) << config;
        EXPECT_EQ(CSettingsStore().Read(ESettingsHive::LocalMachine, kKey, "x"), "machine");
    }
    for (std::size_t i = 0; i < before.size(); ++i)
        if (before[i])
            ::setenv(kVariables[i], before[i]->c_str(), 1);
        else
            ::unsetenv(kVariables[i]);
}

} // namespace
} // namespace keldra::test
