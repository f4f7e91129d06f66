#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "tests/engine/SynthRig.h"
#include "tests/frame/TestRenderer.h"

// The whole synthesizer with two threads that do everything a host and an editor may do at any
// time, and a third that renders.

namespace keldra::test {

namespace {

CTestDefinition definition; // under ThreadSanitizer this file is the whole program

} // namespace

TEST(SynthThread, PlaysOnWhileOthersSetGetSaveLoadAndAsk)
{
    CSynthRig rig;
    KeldraSynth& synth = rig.synth;
    synth.SwitchProcessing(true);
    std::atomic<bool> stop{false};

    const auto hammer = [&](int seed) {
        std::array<std::byte, kStateSize> state;
        std::array<char, 64> text;
        for (int i = seed; !stop; ++i) {
            const int index = i % 160;
            synth.SetParameter(index, static_cast<float>(i % 11) / 10.0f);
            EXPECT_TRUE(std::isfinite(synth.GetParameter(index)));
            synth.GetParameterDisplay(index, text);
            synth.GetParameterName(index, text);
            synth.KeyboardNote(36 + i % 48, static_cast<float>(i % 3) / 2.0f);
            if (i % 16 == 0) {
                EXPECT_EQ(synth.GetChunk(state.data()), static_cast<int>(kStateSize));
                EXPECT_TRUE(synth.SetChunk(state.data(), static_cast<int>(kStateSize)));
            }
            if (i % 32 == 0) {
                synth.SetProgramName(seed == 0 ? "one" : "two");
                synth.GetProgramName(text);
                synth.ClearAllLinks();
                synth.SelectParameter(index);
                synth.Feedback().TakeChangedParameters([](int) {});
                EXPECT_LT(synth.GetLink(index % 74), 128);
            }
            if (i % 256 == 0)
                synth.ChangeSampleRate(seed == 0 ? 44100.0 : 48000.0);
            if (i % 512 == 0)
                synth.SwitchProcessing(true);
        }
    };
    std::thread one(hammer, 0);
    std::thread two(hammer, 1);

    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
    bool finite = true;
    for (int block = 0; std::chrono::steady_clock::now() < end; ++block) {
        rig.Press(40 + block % 40, 90);
        rig.Midi(0xB0, 74, block % 128);
        rig.Midi(0xE0, 0, block % 128);
        const Stereo out = rig.Render(256, 256);
        for (const float x : out.left)
            finite = finite && std::isfinite(x);
        rig.Release(40 + block % 40);
    }
    stop = true;
    one.join();
    two.join();
    EXPECT_TRUE(finite);

    // Nothing hangs, nothing is half done: a program loaded now is what plays.
    synth.ResetProgram();
    rig.Settle();
    rig.Midi(0xB0, 123, 0);
    rig.Render(48000);
    rig.Press(57);
    double sum = 0.0;
    for (const float x : rig.Render(9600).left)
        sum += static_cast<double>(x) * static_cast<double>(x);
    EXPECT_GT(sum, 1.0);
}

TEST(SynthThread, InstancesShareTheRandomNumbersWithoutSharingAnyNumber)
{
    SeedAsLoaded();
    std::vector<std::uint32_t> drawn[2];
    std::vector<std::thread> threads;
    for (auto& numbers : drawn)
        threads.emplace_back([&numbers] {
            for (int i = 0; i < 20000; ++i)
                numbers.push_back(EngineSequence().Draw());
        });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<std::uint32_t> all = drawn[0];
    all.insert(all.end(), drawn[1].begin(), drawn[1].end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());

    std::uint32_t state = 2222;
    for (int i = 0; i < 40000; ++i)
        state = NextRandom(state);
    EXPECT_EQ(EngineSequence().Draw(), NextRandom(state)) << "together they took 40000 of them";
}

} // namespace keldra::test
