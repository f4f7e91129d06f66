#include "platform/SettingsStore.h"

#include <gtest/gtest.h>

#include "tests/platform/Environment.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {
namespace {

constexpr std::string_view kKey = "SOFTWARE\\Tallowen\\Keldra";

TEST(SettingsStore, UnderstandsWhatPeopleWriteAndPassesOverTheRest)
{
    const std::string key = "[Software\\Tallowen\\Keldra]\n";
    const std::string longest(1023, 'x');
    struct Case {
        const char* what;
        std::string text;
        std::string value = "nothing";
    };
    const Case kCases[] = {
        {"plain", key + "rootFolder = /srv/my sounds/\n", "/srv/my sounds/"},
        {"no newline at the end", "[software/tallowen/keldra]\nROOTFOLDER=/a", "/a"},
        {"Windows line ends and a byte order mark",
         "\xEF\xBB\xBF[Software\\Tallowen\\Keldra\\]\r\nrootFolder = /a\r\n", "/a"},
        {"comments and rubbish around it",
         "# no\n; no\nrubbish\n" + key + "= x\n\nrootFolder = /a = b\n", "/a = b"},
        {"first one counts", key + "rootFolder=/a\nrootFolder=/b\n", "/a"},
        {"key given twice", key + "x=1\n[Other]\ny=2\n" + key + "rootFolder=/a\n", "/a"},
        {"without a key", "rootFolder = /a\n"},
        {"another key", "[Software\\Tallowen\\Kel]\nrootFolder = /a\n"},
        {"broken key line", "[Software\\Tallowen\\Keldra\nrootFolder = /a\n"},
        {"empty value", key + "rootFolder =  \n"},
        {"longest value", key + "rootFolder=" + longest, longest},
        {"longer", key + "rootFolder=" + longest + "x"},
        {"NUL in the line", key + std::string("rootFolder=/a\0b\n", 16)},
        {"file beyond 64 KiB", key + "rootFolder=/a\n" + std::string(65536, '#')},
    };
    const CTemporaryFolder folder;
    for (const Case& row : kCases) {
        const CSettingsStore store({folder.Write("settings", row.text)}, {});
        EXPECT_EQ(store.Read(ESettingsHive::CurrentUser, kKey, "rootFolder").value_or("nothing"),
                  row.value)
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
    CEnvironment environment;
    const std::string text = "[Software\\Tallowen\\Keldra]\nx = ";
    folder.Write("home/.config/tallowen/settings", text + "home");
    folder.Write("config/tallowen/settings", text + "config");
    folder.Write("machine/tallowen/settings", text + "machine");
    environment.Set("HOME", folder.Path("home"));
    environment.Set("XDG_CONFIG_DIRS", "relative:" + folder.Path("machine"));
    for (const auto& [config, expected] : {std::pair<std::string, const char*>{"", "home"},
                                           {"relative", "home"},
                                           {folder.Path("config"), "config"}}) {
        environment.Set("XDG_CONFIG_HOME", config);
        EXPECT_EQ(CSettingsStore().Read(ESettingsHive::CurrentUser, kKey, "x"), expected) << config;
        EXPECT_EQ(CSettingsStore().Read(ESettingsHive::LocalMachine, kKey, "x"), "machine");
    }
}

} // namespace
} // namespace keldra::test
