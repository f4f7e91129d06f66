#include "presets/PresetList.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>

#include "presets/LibraryFolder.h"
#include "tests/presets/PresetRig.h"

namespace keldra::test {
namespace {

using Names = std::vector<std::string>;

TEST(LibraryFolder, FollowsTheSettingsInTheirOrder)
{
    const CTemporaryFolder folder;
    const std::string product = "[Software\\Tallowen\\Keldra]\nrootFolder = ";
    const std::string shared = "[Software\\Tallowen\\Shared\\Paths]\nShared Data = ";
    struct Case {
        const char* what;
        std::string user, machine;
        EHostKind host;
        std::string module, library;
    };
    const Case kCases[] = {
        {"nothing set", "", "", EHostKind::Vst, "/module/", "/module/Banks"},
        {"module unknown", "", "", EHostKind::Vst, "",
         "/Library/Application Support/Tallowen/Banks"},
        {"the user's root folder", product + "/user", product + "/machine", EHostKind::Vst,
         "/module/", "/user/Banks"},
        {"the machine's", "", product + "/machine/", EHostKind::Vst, "/module/", "/machine/Banks"},
        {"the native host keeps to the module", product + "/user", "", EHostKind::Native,
         "/module/", "/module/Banks"},
        {"shared data before any root folder", product + "/user\n" + shared + "/shared", "",
         EHostKind::Vst, "/module/", "/shared/Keldra"},
        {"shared data of the machine isn't asked", "", shared + "/shared", EHostKind::Native,
         "/module/", "/module/Banks"},
    };
    for (const Case& row : kCases) {
        const CSettingsStore settings({folder.Write("user", row.user)},
                                      {folder.Write("machine", row.machine)});
        EXPECT_EQ(FindLibraryFolder(settings, FindRootFolder(settings, row.host, row.module)),
                  row.library)
            << row.what;
    }
}

TEST(PresetList, ListsInNaturalOrderAndSelectsWhatIsThere)
{
    const CPresetRig rig;
    CPresetList& presets = rig.Presets();
    EXPECT_EQ(presets.GetLists().banks, (Names{"Basses", "leads", "Xtra"}));
    struct Step {
        const char* what;
        bool (CPresetList::*select)(int);
        int index;
        bool moved;
        const char *selected, *current;
    };
    constexpr auto kBank = &CPresetList::SelectBank;
    constexpr auto kProgram = &CPresetList::SelectProgram;
    constexpr Step kSteps[] = {
        {"no bank yet", kProgram, 0, false, "-/-", "<user>/<noname> "},
        {"beyond the banks", kBank, 3, false, "-/-", "<user>/<noname> "},
        {"first bank", kBank, 0, true, "Basses/Bass 9", "Basses/Bass 9 Bass 9.keldra"},
        {"same program", kProgram, 0, false, "Basses/Bass 9", "Basses/Bass 9 Bass 9.keldra"},
        {"last program", kProgram, 2, true, "Basses/Deep.old", "Basses/Deep.old Deep.old.fxp"},
        {"beyond", kProgram, 3, false, "Basses/Deep.old", "Basses/Deep.old Deep.old.fxp"},
        {"same bank", kBank, 0, false, "Basses/Bass 9", "Basses/Bass 9 Bass 9.keldra"},
        {"empty bank", kBank, 2, true, "Xtra/-", "Xtra/Bass 9 Bass 9.keldra"},
        {"nothing in it", kProgram, 0, false, "Xtra/-", "Xtra/Bass 9 Bass 9.keldra"},
        {"another bank", kBank, 1, true, "leads/Bright", "leads/Bright Bright.keldra"},
    };
    for (const Step& step : kSteps) {
        EXPECT_EQ((presets.*step.select)(step.index), step.moved) << step.what;
        EXPECT_EQ(rig.Selected(), step.selected) << step.what;
        EXPECT_EQ(rig.Current(), step.current) << step.what;
    }
    presets.SelectBank(0);
    EXPECT_EQ(presets.GetLists().programs, (Names{"Bass 9", "Bass 10", "Deep.old"}));
    presets.ScanBanks();
    EXPECT_EQ(rig.Selected(), "-/-");
    EXPECT_EQ(rig.Current(), "Basses/Bass 9 Bass 9.keldra") << "the names stay";
}

TEST(PresetList, FollowsAFileByItsNames)
{
    const CPresetRig rig;
    CPresetList& presets = rig.Presets();
    struct Case {
        const char* what;
        std::string path;
        const char *selected, *current;
    };
    const std::string library = rig.Presets().LibraryFolder();
    const Case kCases[] = {
        {"of the library, dots in the name", library + "/Basses/Deep.old.fxp", "Basses/Deep.old",
         "Basses/Deep.old Deep.old.fxp"},
        {"from outside, a bank of that name, a program of that name", "/other/leads/Soft.fxp",
         "leads/Soft", "leads/Soft Soft.fxp"},
        {"from outside, a bank of that name only", "/other/leads/New.fxp", "leads/Bright",
         "leads/New New.fxp"},
        {"a doubled separator", library + "//leads//Soft.keldra", "leads/Soft",
         "leads/Soft Soft.keldra"},
        {"other case is another name", "/other/Leads/Soft.fxp", "-/-", "Leads/Soft Soft.fxp"},
        {"from elsewhere", "/tmp/x.fxp", "-/-", "tmp/x x.fxp"},
        {"without a folder", "x.fxp", "-/-", "<user>/x x.fxp"},
        {"empty", "", "-/-", "<user>/<noname> "},
    };
    for (const Case& row : kCases) {
        presets.SetCurrentFile(row.path);
        EXPECT_EQ(rig.Selected(), row.selected) << row.what;
        EXPECT_EQ(rig.Current(), row.current) << row.what;
    }
}

// By what is shown alone, neither the second "Vol" nor the second "Bright" would stay selected, and
// "next" would lead to the same again.
TEST(PresetList, TellsFoldersAndProgramsOfOneShownNameApart)
{
    const CPresetRig rig;
    CPresetList& presets = rig.Presets();
    for (const char* path :
         {"Vol. 1/One.fxp", "Vol. 2/One.fxp", "Vol. 2/Two.fxp", "leads/Bright.fxp"})
        rig.folder.Write("Library/" + std::string(path), FxpFile(Block(0.3f)));
    presets.ScanBanks();
    ASSERT_EQ(presets.GetLists().banks, (Names{"Basses", "leads", "Vol", "Vol", "Xtra"}));
    for (const int bank : {3, 2, 3, 1}) {
        presets.SelectBank(bank);
        int program = 0;
        do {
            EXPECT_TRUE(presets.LoadProgram(presets.CurrentPath()));
            EXPECT_EQ(presets.GetLists().bank, bank);
            EXPECT_EQ(presets.GetLists().program, program);
        } while (presets.NextProgram() && ++program < 4);
        EXPECT_EQ(program + 1, std::ssize(presets.GetLists().programs));
    }
    EXPECT_EQ(rig.Selected(), "leads/Soft");
    EXPECT_TRUE(presets.PreviousProgram());
}

TEST(PresetList, SeesWhatChangedOnTheDisk)
{
    const CPresetRig rig;
    CPresetList& presets = rig.Presets();
    presets.SelectBank(1);
    rig.folder.Write("Library/leads/Ahead.keldra", Block(0.4f));
    rig.folder.Write("Library/Arps/Up.keldra", Block(0.41f));
    EXPECT_EQ(presets.GetLists().programs, (Names{"Bright", "Soft"})) << "not by itself";
    presets.SelectBank(1);
    EXPECT_EQ(presets.GetLists().programs, (Names{"Ahead", "Bright", "Soft"}));
    presets.ScanBanks();
    EXPECT_EQ(presets.GetLists().banks, (Names{"Arps", "Basses", "leads", "Xtra"}));

    // In place: the folder's own time stays, and the size too.
    presets.SelectBank(2);
    rig.folder.Write("Library/leads/Soft.keldra", Block(0.42f));
    presets.ScanBanks();
    presets.SelectBank(2);
    const CProcessingOperation operation(*rig.renderer);
    EXPECT_TRUE(presets.SelectProgramFromMemory(2));
    EXPECT_EQ(rig.renderer->Values(0, 80), std::set<float>{0.42f});
}

// One that MIDI couldn't reach isn't in memory; it has to get there when those before it are gone,
// though neither its time nor its size has changed.
TEST(PresetList, ReadsWhatComesWithinReachOfMidi)
{
    namespace fs = std::filesystem;
    const CPresetRig rig;
    CPresetList& presets = rig.Presets();
    const auto path = [](int number) {
        return "Library/Many/" + std::to_string(number) + ".keldra";
    };
    constexpr int kFirst = 100; // as many digits for all
    for (int number = kFirst; number < kFirst + 132; ++number)
        fs::last_write_time(
            rig.folder.Write(path(number), Block(static_cast<float>(number) / 256.0f)),
            fs::file_time_type::clock::now() - std::chrono::hours(1));
    presets.ScanBanks();
    for (int number = kFirst; number < kFirst + 4; ++number)
        fs::remove(rig.folder.Path(path(number)));
    presets.ScanBanks();
    ASSERT_TRUE(presets.SelectBank(2));
    const CProcessingOperation operation(*rig.renderer);
    for (const int index : {123, 124, 127}) {
        EXPECT_TRUE(presets.SelectProgramFromMemory(index));
        EXPECT_EQ(rig.renderer->Values(0, 80),
                  std::set<float>{static_cast<float>(kFirst + 4 + index) / 256.0f});
    }
}

TEST(PresetList, IsEmptyWhereThereIsNoLibrary)
{
    const CPresetRig rig;
    for (const std::string& folder :
         {std::string("/nowhere at all"), std::string(), rig.folder.Path("Library/loose.keldra"),
          "/" + std::string(5000, 'x')}) {
        CScriptedFileDialogs dialogs;
        CPresetRenderer renderer(folder, dialogs);
        CPresetList& presets = renderer.presets;
        presets.ScanBanks();
        EXPECT_FALSE(presets.SelectBank(0));
        EXPECT_FALSE(presets.NextProgram());
        EXPECT_EQ(presets.CurrentPath(), "");
        EXPECT_FALSE(presets.LoadProgram(presets.CurrentPath()));
    }
}

TEST(PresetList, InstancesShareTheProgramsInMemory)
{
    const CPresetRig rig;
    const std::size_t one = rig.Presets().SharedMemoryBytes();
    EXPECT_GT(one, 0u);
    CScriptedFileDialogs dialogs;
    CPresetRenderer second(rig.Presets().LibraryFolder(), dialogs);
    CPresetList& presets = second.presets;
    presets.ScanBanks();
    EXPECT_LE(presets.SharedMemoryBytes(), one + 64);

    // A program as musicians make them: a third of the values differ from a new one's.
    std::array<float, kParameterCount> values;
    for (int i = 0; i < kParameterCount; ++i)
        values[static_cast<std::size_t>(i)] = i % 3 == 0 && i < 81 ? 0.123f
                                              : i < 81             ? TableDefault(i)
                                                                   : -1.0f;
    std::array<std::byte, kStateSize> block;
    WriteStateBlock(values, "x", block);
    for (int i = 0; i < 300; ++i)
        rig.folder.Write("Library/Many/Some Program " + std::to_string(i) + ".keldra",
                         {reinterpret_cast<const char*>(block.data()), block.size()});
    presets.ScanBanks();
    EXPECT_LT(presets.SharedMemoryBytes() - one, 300 * 200u)
        << "200 banks of 128 would take more than a few megabytes";
    std::filesystem::remove_all(rig.folder.Path("Library/Many"));
    presets.ScanBanks();
    EXPECT_LE(presets.SharedMemoryBytes(), one + 64) << "what is gone is forgotten";
}

} // namespace
} // namespace keldra::test
