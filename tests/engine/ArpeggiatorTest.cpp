#include "engine/Arpeggiator.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/EngineRandom.h"

namespace keldra::test {

namespace {

constexpr double kRate = 44100.0;

/// Holds keys, turns the clock, writes down what is played.
class CArpeggio final : public CArpeggiator::CPlayer {
public:
    void PlayNote(int key, float velocity) override
    {
        if (velocity > 0.0f)
            notes.push_back(key);
        sounding[static_cast<std::size_t>(key)] += velocity > 0.0f ? 1 : -1;
    }
    void Hold(std::vector<int> keys)
    {
        velocities = {};
        for (const int key : keys)
            velocities[static_cast<std::size_t>(key)] = 0.5f;
        arp.KeysChanged(velocities);
    }
    /// Plays so many steps of a sixteenth at 120 beats per minute.
    std::vector<int> Steps(int count)
    {
        notes.clear();
        for (int i = 0; i < 1000000 && static_cast<int>(notes.size()) < count; ++i)
            arp.AdvanceClock(kRate, 120.0, 64);
        return notes;
    }
    [[nodiscard]] int SoundingCount() const
    {
        int count = 0;
        for (const int on : sounding)
            count += on;
        return count;
    }

    CArpeggiator arp{*this};
    std::array<float, 128> velocities{};
    std::array<int, 128> sounding{};
    std::vector<int> notes;
};

using Notes = std::vector<int>;

} // namespace

TEST(Arpeggiator, WalksThePatternInEachMode)
{
    struct Case {
        int mode, range;
        Notes notes;
    };
    const Case kCases[] = {
        {CArpeggiator::kUp, 2, {60, 64, 67, 72, 76, 79, 60, 64}},
        {CArpeggiator::kDown, 2, {79, 76, 72, 67, 64, 60, 79, 76}},
        {CArpeggiator::kUpDown, 2, {60, 64, 67, 72, 76, 79, 76, 72, 67, 64, 60, 64, 67}},
        {CArpeggiator::kUp, 1, {60, 64, 67, 60}},
    };
    for (const auto& [mode, range, notes] : kCases) {
        CArpeggio arpeggio;
        arpeggio.arp.SetMode(mode);
        arpeggio.arp.SetRange(range);
        arpeggio.Hold({64, 60, 67});
        EXPECT_EQ(arpeggio.Steps(static_cast<int>(notes.size())), notes) << mode;
        EXPECT_EQ(arpeggio.SoundingCount(), 1) << "one note ends where the next begins";
    }
}

TEST(Arpeggiator, RepeatsASingleKeyInEveryMode)
{
    for (int mode = CArpeggiator::kUp; mode <= CArpeggiator::kRandom; ++mode) {
        CArpeggio arpeggio;
        arpeggio.arp.SetMode(mode);
        arpeggio.Hold({60});
        EXPECT_EQ(arpeggio.Steps(5), Notes(5, 60)) << mode;
    }
}

TEST(Arpeggiator, DrawsRandomStepsFromTheEnginesSequence)
{
    CArpeggio arpeggio;
    arpeggio.arp.SetMode(CArpeggiator::kRandom);
    arpeggio.Hold({60, 62, 64, 65, 67, 69, 71, 72});
    EngineSequence().Seed(2222);
    const Notes first = arpeggio.Steps(64);
    EngineSequence().Seed(2222);
    EXPECT_EQ(arpeggio.Steps(64), first);
    std::array<int, 128> counts{};
    for (const int note : first)
        ++counts[static_cast<std::size_t>(note)];
    EXPECT_GT(counts[60] * counts[62] * counts[64] * counts[65], 0);
    EXPECT_GT(counts[67] * counts[69] * counts[71] * counts[72], 0);
}

TEST(Arpeggiator, GoesOnWhenKeysChangeAndStopsWithTheLast)
{
    CArpeggio arpeggio;
    arpeggio.arp.SetMode(CArpeggiator::kDown);
    arpeggio.Hold({60, 64, 67, 71});
    EXPECT_EQ(arpeggio.Steps(1), Notes{71});
    arpeggio.Hold({60, 64});
    EXPECT_EQ(arpeggio.Steps(2), (Notes{64, 60})) << "beyond the shorter pattern: its last step";
    arpeggio.Hold({60, 64, 67});
    EXPECT_EQ(arpeggio.Steps(2), (Notes{67, 64})) << "a running one isn't started anew";
    arpeggio.Hold({});
    EXPECT_TRUE(arpeggio.arp.IsStopped());
    EXPECT_EQ(arpeggio.SoundingCount(), 0) << "the last note is let go at once";
    arpeggio.Hold({50});
    EXPECT_EQ(arpeggio.Steps(1), Notes{50});
}

TEST(Arpeggiator, PlaysWhatLiesAboveTheHighestKeyAsThatKey)
{
    CArpeggio arpeggio;
    arpeggio.arp.SetRange(4);
    arpeggio.Hold({110});
    EXPECT_EQ(arpeggio.Steps(4), (Notes{110, 122, 127, 127}));
    std::vector<int> all;
    for (int key = 0; key < 128; ++key)
        all.push_back(key);
    arpeggio.Hold(all); // four octaves of 128 keys don't fit the pattern
    EXPECT_EQ(arpeggio.Steps(300).size(), 300u);
}

TEST(Arpeggiator, KeepsTheTempo)
{
    struct Case {
        double tempo, sixteenths, framesPerStep;
    };
    for (const auto& [tempo, sixteenths, framesPerStep] :
         {Case{120.0, 1.0, 5512.5}, Case{120.0, 0.5, 2756.25}, Case{60.0, 16.0, 176400.0},
          Case{240.0, 3.0, 8268.75}}) {
        CArpeggio arpeggio;
        arpeggio.arp.SetStepLength(sixteenths);
        arpeggio.Hold({60});
        double frames = 0.0;
        while (arpeggio.notes.size() < 101) {
            arpeggio.arp.AdvanceClock(kRate, tempo, 64);
            frames += 64.0;
        }
        // Steps begin with calls of 64 frames, and the last call is counted whole: two calls at
        // most.
        EXPECT_NEAR(frames / 100.0, framesPerStep, 1.28 + 1e-6) << tempo;
    }
    CArpeggio held;
    held.Hold({60, 64});
    for (int i = 0; i < 10000; ++i)
        held.arp.AdvanceClock(kRate, 0.0, 64);
    EXPECT_EQ(held.notes, Notes{60}) << "tempo 0 holds the step";
    for (int i = 0; i < 1000; ++i)
        held.arp.AdvanceClock(8000.0, 100000.0, 64); // many steps a call: one of them is played
    EXPECT_EQ(held.notes.size(), 1000u) << "the held step ends with the first call";
}

} // namespace keldra::test
