#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <utility>

#include "tests/frame/TestRenderer.h"

// What other threads change while one thread processes.

namespace keldra::test {

namespace {

CTestDefinition definition; // under ThreadSanitizer this file is the whole program

/// Follows parameters; each program that is loaded here has one value everywhere, so that a part of
/// a program shows as a mixture.
class CFollower final : public CPluginRenderer {
public:
    CFollower()
    {
        output_.Allocate(2, 64);
        ResetProgram();
    }

    void ApplyParameter(int index, float value) override
    {
        ++applications;
        if (inMidOfApplying != nullptr)
            std::thread(std::exchange(inMidOfApplying, nullptr)).join();
        if (index < kParameterCount)
            applied[static_cast<std::size_t>(index)] = value;
    }
    void ApplyKeyboardNote(int key, float velocity) override
    {
        keyboard[static_cast<std::size_t>(key)] = velocity;
    }
    /// Asked for while a program is being stored, in the order of the indices.
    float GetParameterDefault(int index) const override
    {
        if (index == kMidOfProgram && inMidOfStoring != nullptr)
            std::thread(std::exchange(inMidOfStoring, nullptr)).join();
        return 0.0f;
    }
    void ProgramChange(int program) override
    {
        ProgramValues chosen;
        chosen.count = kParameterCount;
        chosen.values.fill(static_cast<float>(program));
        ChangeProgram(chosen);
    }
    void Render() override
    {
        ++renders;
        for (int index = kEgAttack; index <= kEgRelease; ++index)
            if (applied[static_cast<std::size_t>(index)] != applied[kEgAttack])
                mixedProgram = true;
    }
    void KeyboardNote(int key, float velocity)
    {
        RequestChange({EngineChange::EKind::KeyboardNote, key, velocity});
    }
    void Process(int frames = 64)
    {
        float left[64], right[64];
        float* outputs[] = {left, right};
        ProcessBlock({nullptr, outputs, frames}, EMode::Replacing);
    }
    [[nodiscard]] bool FollowsEverything() const
    {
        for (int index = 0; index < kParameterCount; ++index)
            if (applied[static_cast<std::size_t>(index)] != GetParameter(index))
                return false;
        return true;
    }
    void Load(float everywhere)
    {
        ProgramValues program;
        program.count = kParameterCount;
        program.values.fill(everywhere);
        program.values[kFilterCutoff] = GetParameter(kFilterCutoff);
        ChangeProgram(program);
    }

    using CPluginRenderer::CopyValues;

    static constexpr int kMidOfProgram = 50;
    mutable std::function<void()> inMidOfStoring; ///< another thread's, once
    std::function<void()> inMidOfApplying;        ///< likewise
    std::array<float, kParameterCount> applied{};
    std::array<float, 128> keyboard{};
    bool mixedProgram = false;
    int renders = 0;
    int applications = 0;
};

} // namespace

TEST(EngineThread, FollowsTheStoredValuesWhenMoreIsChangedThanTheQueueHolds)
{
    CFollower renderer;
    renderer.SwitchProcessing(true);
    for (int i = 0; i < 3 * CEngineChanges::kCapacity; ++i)
        renderer.SetParameter(i % kParameterCount, static_cast<float>(i));
    renderer.KeyboardNote(60, 0.5f);
    renderer.KeyboardNote(61, 0.0f);
    for (int i = 0; i < 2 * CEngineChanges::kCapacity; ++i)
        renderer.Load(static_cast<float>(i % 7));
    renderer.Process();
    EXPECT_TRUE(renderer.FollowsEverything());
    EXPECT_EQ(renderer.keyboard[60], 0.5f);
    renderer.SetParameter(5, 42.0f);
    renderer.Process();
    EXPECT_EQ(renderer.applied[5], 42.0f) << "and the queue serves again";
}

TEST(EngineThread, AppliesOfManyProgramsBetweenTwoBlocksTheLastOnly)
{
    CFollower renderer;
    renderer.SwitchProcessing(true);
    renderer.SetParameter(kLastControllerLink, 9.0f);
    for (int i = 0; i < 1000; ++i)
        renderer.Load(static_cast<float>(i));
    renderer.SetParameter(5, 42.0f);
    renderer.applications = 0;
    renderer.Process();
    EXPECT_TRUE(renderer.FollowsEverything());
    EXPECT_EQ(renderer.applied[5], 42.0f);
    EXPECT_LT(renderer.applications, 1000) << "the block would be late";
}

TEST(EngineThread, MixesNothingIntoAProgramThatIsBeingStored)
{
    CFollower renderer;
    renderer.SwitchProcessing(true);
    const auto load = [&](float first, auto meanwhile) {
        renderer.inMidOfStoring = meanwhile;
        ProgramValues program; // breaks off after the first values
        program.count = 20;
        program.values.fill(first);
        renderer.ChangeProgram(program);
    };
    // Set by another thread just after its default was stored, and queued before the program.
    load(0.25f, [&] { renderer.SetParameter(30, 0.9f); });
    renderer.Process();
    EXPECT_EQ(renderer.GetParameter(30), 0.9f);
    EXPECT_TRUE(renderer.FollowsEverything());

    // A block in the middle: what it has to apply isn't taken from the half that is stored.
    renderer.SetParameter(10, 0.3f);
    load(0.5f, [&] {
        renderer.Process();
        EXPECT_EQ(renderer.applied[10], 0.3f);
    });
    renderer.Process();
    EXPECT_TRUE(renderer.FollowsEverything());

    // One that is stored whole while a block applies what came before comes with the next block.
    renderer.SetParameter(10, 0.3f);
    renderer.inMidOfApplying = [&] { load(0.6f, nullptr); };
    renderer.Process();
    EXPECT_EQ(renderer.applied[10], 0.3f);
    renderer.Process();
    EXPECT_EQ(renderer.applied[10], 0.6f);
    EXPECT_TRUE(renderer.FollowsEverything());

    // A MIDI program change that is queued in the middle is the later one, whole.
    load(0.7f, [&] { EXPECT_TRUE(renderer.PostMidi({0xC0, 9, 0, 0})); });
    renderer.Process();
    for (const int index : {10, 40, 60})
        EXPECT_EQ(renderer.GetParameter(index), 9.0f);
    EXPECT_TRUE(renderer.FollowsEverything());

    // A state saved in the middle waits for the rest.
    std::array<float, kParameterCount> saved{};
    std::thread saver;
    load(0.75f, [&] {
        saver = std::thread([&] { renderer.CopyValues(saved); });
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    });
    saver.join();
    EXPECT_EQ(saved[10], 0.75f);
    EXPECT_EQ(saved[60], 0.0f);
    EXPECT_EQ(saved[30], 0.0f);
}

TEST(EngineThread, AppliesWholeProgramsAndWhatWasStoredLastWhileOthersHammer)
{
    CFollower renderer;
    renderer.SwitchProcessing(true);
    std::atomic<bool> stop{false};
    const auto hammer = [&](float step) {
        for (int i = 1; !stop; ++i) {
            renderer.SetParameter(kFilterCutoff, step * static_cast<float>(i));
            renderer.KeyboardNote(i % 128, 0.5f);
            renderer.Load(step * static_cast<float>(i));
            if (i % 64 == 0)
                renderer.ChangeSampleRate(44100.0 + i);
            std::this_thread::yield();
        }
    };
    std::thread one(hammer, 1.0f);
    std::thread two(hammer, -1.0f);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (std::chrono::steady_clock::now() < end)
        renderer.Process();
    stop = true;
    one.join();
    two.join();
    renderer.Process();
    EXPECT_FALSE(renderer.mixedProgram);
    EXPECT_TRUE(renderer.FollowsEverything());
    EXPECT_GT(renderer.renders, 10);
}

TEST(EngineThread, HasAWholeNameWhileManyRename)
{
    CSharedName name;
    name.Set("first", CSharedName::EWriter::Other);
    std::atomic<bool> stop{false};
    std::vector<std::thread> writers; // more than processors: some are stopped in mid-write
    for (int i = 0; i < 8; ++i)
        writers.emplace_back([&] {
            while (!stop)
                name.Set("other", CSharedName::EWriter::Other);
        });
    writers.emplace_back([&] {
        while (!stop)
            name.Set("owner", CSharedName::EWriter::EngineOwner);
    });
    std::array<char, 64> text;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    while (std::chrono::steady_clock::now() < end && !HasFailure()) {
        name.Get(text);
        const std::string_view seen = text.data();
        EXPECT_TRUE(seen == "first" || seen == "other" || seen == "owner") << seen;
    }
    stop = true;
    for (std::thread& writer : writers)
        writer.join();
}

TEST(EngineThread, RendersSilenceInsteadOfWaitingWhileAnotherThreadHasTheEngine)
{
    CTestRenderer renderer;
    renderer.SwitchProcessing(true);
    {
        const CEngineThief thief(renderer);
        renderer.Queue(40, 0x90, 60, 100);
        EXPECT_EQ(renderer.Process(64), std::vector<float>(64, 0.0f));
        EXPECT_TRUE(renderer.log.empty());
    }
    EXPECT_EQ(renderer.Process(64), std::vector<float>(64, 1.0f));
    EXPECT_EQ(renderer.log, (std::vector<std::string>{"on 60", "render 64"}))
        << "what was due in the silent block comes at the start of the next";
}

} // namespace keldra::test
