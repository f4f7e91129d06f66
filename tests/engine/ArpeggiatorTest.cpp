#include "engine/Arpeggiator.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <numeric>
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
        return std::accumulate(sounding.begin(), sounding.end(), 0);
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
        Notes keys, notes;
    };
    const Case kCases[] = {
        {CArpeggiator::kUp, 1, {64, 60, 67}, {60, 64, 67, 60}},
        {CArpeggiator::kUp, 2, {64, 60, 67}, {60, 64, 67, 72, 76, 79, 60, 64}},
        {CArpeggiator::kDown, 2, {64, 60, 67}, {79, 76, 72, 67, 64, 60, 79, 76}},
        {CArpeggiator::kUpDown,
         2,
         {64, 60, 67},
         {60, 64, 67, 72, 76, 79, 76, 72, 67, 64, 60, 64, 67}},
        {CArpeggiator::kUp, 1, {60}, {60, 60, 60}},
        {CArpeggiator::kDown, 1, {60}, {60, 60, 60}},
        {CArpeggiator::kUpDown, 1, {60}, {60, 60, 60, 60, 60}},
        {CArpeggiator::kRandom, 1, {60}, {60, 60, 60}},
        {CArpeggiator::kUp, 4, {110}, {110, 122, 127, 127}}, // beyond the highest key: that one
    };
    for (const auto& [mode, range, keys, notes] : kCases) {
        CArpeggio arpeggio;
        arpeggio.arp.SetMode(mode);
        arpeggio.arp.SetRange(range);
        arpeggio.Hold(keys);
        EXPECT_EQ(arpeggio.Steps(static_cast<int>(notes.size())), notes) << mode;
        EXPECT_EQ(arpeggio.SoundingCount(), 1) << "one note ends where the next begins";
    }
    CArpeggio all; // four octaves of 128 keys don't fit the pattern
    all.arp.SetRange(4);
    Notes keys(128);
    std::iota(keys.begin(), keys.end(), 0);
    all.Hold(keys);
    EXPECT_EQ(all.Steps(600).size(), 600u);
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
    for (const int key : {60, 62, 64, 65, 67, 69, 71, 72})
        EXPECT_GT(std::ranges::count(first, key), 0) << key;
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
