#include <atomic>
#include <chrono>
#include <dirent.h>
#include <dlfcn.h>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <span>
#include <thread>

#include "tests/Dice.h"
#include "tests/presets/PresetRig.h"

namespace {
std::function<void()> g_whileListing; ///< a slow disk: done by whoever lists a folder
} // namespace

extern "C" DIR* opendir(const char* path)
{
    static const auto real = reinterpret_cast<DIR* (*)(const char*)>(dlsym(RTLD_NEXT, "opendir"));
    if (g_whileListing)
        g_whileListing();
    return real(path);
}

namespace keldra::test {
namespace {

/// 2 banks of 8 programs; every value of a program is its number, and the name says it too.
class CNumberedRig : public CPresetRig {
public:
    CNumberedRig()
    {
        for (int i = 0; i < 16; ++i)
            WriteProgram(i);
        std::filesystem::remove_all(folder.Path("Library/Basses"));
        std::filesystem::remove_all(folder.Path("Library/leads"));
        std::filesystem::remove_all(folder.Path("Library/Xtra"));
        Presets().ScanBanks();
        Presets().SelectBank(0);
    }
    std::string WriteProgram(int i) const
    {
        return folder.Write("Library/Bank " + std::to_string(i / 8) + "/" + std::to_string(i) +
                                ".keldra",
                            Block(static_cast<float>(i)));
    }

    /// One block with a MIDI message in its middle.
    void Midi(int status, int data1, int data2) const
    {
        renderer->Queue(16, status, data1, data2);
        renderer->Process(32);
    }
};

/// Of the current file: values, name and selection.
void ExpectOneWholeProgram(const CNumberedRig& rig, const char* when)
{
    rig.renderer->Process(16); // whatever is still on its way
    const std::string name = rig.renderer->Name();
    const std::string file = Slurp(rig.Presets().CurrentPath());
    const float value = ReadStateBlock(std::as_bytes(std::span(file))).values[0];
    EXPECT_EQ(rig.renderer->Values(), std::set<float>{value}) << when << ", named " << name;
    EXPECT_EQ(std::set<float>(rig.renderer->applied.begin(), rig.renderer->applied.end()),
              std::set<float>{value})
        << when << ": what the engine follows, named " << name;
    const CPresetList::Lists lists = rig.Presets().GetLists();
    EXPECT_EQ(rig.Presets().GetCurrent().programName, name) << when;
    ASSERT_GE(lists.program, 0) << when;
    EXPECT_EQ(lists.programs.at(static_cast<std::size_t>(lists.program)), name) << when;
}

TEST(PresetMidi, SelectsBankAndProgramAtItsOwnFrame)
{
    const CNumberedRig rig;
    struct Step {
        const char* what;
        int status, data1, data2;
        const char *selected, *name;
    };
    constexpr Step kSteps[] = {
        {"program of the bank", 0xC0, 3, 0, "Bank 0/3", "3"},
        {"beyond the bank", 0xC0, 8, 0, "Bank 0/3", "3"},
        {"bank: its first program", 0xB0, 32, 1, "Bank 1/8", "8"},
        {"program of that bank", 0xC0, 7, 0, "Bank 1/15", "15"},
        {"the bank that is selected already", 0xB0, 32, 1, "Bank 1/15", "15"},
        {"no such bank", 0xB0, 32, 127, "Bank 1/15", "15"},
    };
    for (const Step& step : kSteps) {
        rig.renderer->automated.clear();
        rig.renderer->log.clear();
        const std::string before = rig.renderer->Name();
        rig.Midi(step.status, step.data1, step.data2);
        EXPECT_EQ(rig.renderer->log, (std::vector<std::string>{"render 16", "render 16"}));
        EXPECT_EQ(rig.Selected(), step.selected) << step.what;
        EXPECT_EQ(rig.renderer->Name(), step.name) << step.what;
        EXPECT_EQ(rig.renderer->automated.size(), before == step.name ? 0u : 74u) << step.what;
        ExpectOneWholeProgram(rig, step.what);
    }

    // The program that is selected already isn't loaded again: its edits stay.
    rig.renderer->SetParameter(kGain, 0.123f);
    rig.Midi(0xC0, 7, 0);
    EXPECT_EQ(rig.renderer->GetParameter(kGain), 0.123f);
}

TEST(PresetMidi, BrokenProgramsAreAnsweredAsFromTheirFiles)
{
    const CNumberedRig rig;
    rig.folder.Write("Library/Bank 0/0.keldra", "xxxx" + Block(1.0f).substr(4));
    rig.folder.Write("Library/Bank 0/1.keldra", "short");
    std::filesystem::create_directories(rig.folder.Path("Library/Empty"));
    rig.Presets().ScanBanks();
    rig.Presets().SelectBank(0);
    rig.Midi(0xC0, 2, 0);
    rig.Midi(0xC0, 1, 0);
    EXPECT_EQ(rig.renderer->Name(), "2") << "nothing to load: the sound stays";
    EXPECT_EQ(rig.Selected(), "Bank 0/1");
    rig.Midi(0xC0, 0, 0);
    EXPECT_EQ(rig.renderer->Name(), "<noname>");
    EXPECT_EQ(rig.renderer->GetParameter(kPolyphony), 15.0f) << "rejected: a new program";
    rig.Midi(0xC0, 3, 0);
    rig.Midi(0xB0, 32, 2);
    EXPECT_EQ(rig.Selected(), "Empty/-");
    EXPECT_EQ(rig.Current(), "Empty/3 3.keldra");
    EXPECT_EQ(rig.renderer->Name(), "3") << "an empty bank: the sound stays";
}

// The processing thread is told of programs by MIDI while the UI thread clicks, loads, saves and
// rescans. No block is ever rendered with a part of a program, and once all is quiet, values, name
// and selection are those of one program.
TEST(PresetThread, MidiAndEditorChooseAtTheSameTime)
{
    const CNumberedRig rig;
    std::atomic<bool> stop{false};
    std::atomic<int> mixtures{0};
    std::thread processing([&] {
        CDice dice;
        while (!stop) {
            if (dice.OneIn(4))
                rig.Midi(0xB0, 32, dice.UpTo(1));
            else
                rig.Midi(0xC0, dice.UpTo(7), 0);
            // What the engine follows, between two operations of its own thread.
            const auto& applied = rig.renderer->applied;
            if (std::set<float>(applied.begin(), applied.end()).size() != 1)
                ++mixtures;
        }
    });
    CPresetList& presets = rig.Presets();
    std::thread host([&] {
        for (; !stop; std::this_thread::yield())
            presets.PreviousProgram();
    });
    for (int round = 0; round < 70; ++round) {
        presets.SelectBank(round % 2);
        presets.LoadProgram(presets.CurrentPath());
        presets.NextProgram();
        presets.LoadProgram(presets.CurrentPath());
        const std::string listed = rig.folder.Path("Library/Bank 1/12.keldra");
        std::filesystem::remove(listed);
        EXPECT_FALSE(presets.LoadProgram(listed)) << "gone meanwhile";
        rig.WriteProgram(12);
        EXPECT_TRUE(presets.LoadProgram(listed));
        rig.WriteProgram(round % 16); // so that banks come and go
        presets.ScanBanks();
        EXPECT_EQ(presets.GetLists().banks.size(), 2u);
        EXPECT_LE(presets.GetCurrent().programName.size(), 2u);
    }
    stop = true;
    processing.join();
    host.join();
    EXPECT_EQ(mixtures, 0);
    presets.SelectBank(0);
    presets.LoadProgram(presets.CurrentPath());
    ExpectOneWholeProgram(rig, "at the end");
}

// The same race ended at once, many times: whoever was later, one of them is whole.
TEST(PresetThread, WhoeverChoosesLaterIsWhole)
{
    const CNumberedRig rig;
    const std::string path = rig.folder.Path("Library/Bank 0/0.keldra");
    for (int round = 0; round < 300 && !::testing::Test::HasFailure(); ++round) {
        const bool saves = round % 4 == 0;
        rig.Presets().LoadProgram(rig.folder.Path("Library/Bank 0/7.keldra"));
        std::thread processing([&] { rig.Midi(0xC0, 1 + round % 6, 0); });
        if (saves)
            rig.Presets().SaveProgram(path);
        else
            rig.Presets().LoadProgram(path);
        processing.join();
        ExpectOneWholeProgram(rig, saves ? "saved in a race" : "loaded in a race");
    }
}

TEST(PresetThread, ListsAreThereWhileAnotherThreadWaitsForTheDisk)
{
    const CNumberedRig rig;
    CPresetList& presets = rig.Presets();
    const std::function<void()> looks[] = {
        [&] { presets.ScanBanks(); },
        [&] { presets.SelectBank(1); },
        [&] { presets.SetCurrentFile("/elsewhere/x.fxp"); },
    };
    std::vector<std::future<CPresetList::Lists>> asked; // end when nobody waits any more
    g_whileListing = [&] {
        asked.push_back(std::async(std::launch::async, [&] { return presets.GetLists(); }));
        EXPECT_EQ(asked.back().wait_for(std::chrono::seconds(2)), std::future_status::ready);
    };
    for (const auto& look : looks) {
        const std::size_t before = asked.size();
        look();
        EXPECT_GT(asked.size(), before);
    }
    g_whileListing = nullptr;
}

// Instances come and go and share the programs in memory.
TEST(PresetThread, InstancesShareALibraryFromSeveralThreads)
{
    const CNumberedRig rig;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 40; ++round) {
                CScriptedFileDialogs dialogs;
                CPresetRenderer renderer(rig.Presets().LibraryFolder(), dialogs);
                renderer.presets.ScanBanks();
                renderer.presets.SelectBank(1);
                EXPECT_TRUE(renderer.presets.LoadProgram(renderer.presets.CurrentPath()));
                renderer.Queue(0, 0xC0, 5, 0);
                renderer.Process(16);
                EXPECT_EQ(renderer.Name(), "13");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace keldra::test
