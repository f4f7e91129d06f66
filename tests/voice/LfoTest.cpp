#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <vector>

#include "voice/VoiceLfo.h"
#include "voice/VoiceRandom.h"

namespace keldra {

namespace {

constexpr double kRate = 48000.0;
constexpr double kTempo = 120.0;
constexpr int kBlock = 48; // a millisecond

std::vector<float> ValuesOf(CVoiceLfo& lfo, double seconds, double tempo = kTempo)
{
    std::vector<float> values;
    for (int i = 0; i < std::lround(seconds * kRate / kBlock); ++i)
        values.push_back(lfo.Process(kRate, tempo, kBlock));
    return values;
}

/// How often the values rise through the middle of their range.
int RisesThroughTheMiddle(const std::vector<float>& values)
{
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    const float middle = (*low + *high) / 2.0f;
    int rises = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        rises += values[i - 1] < middle && values[i] >= middle;
    return rises;
}

} // namespace

TEST(Lfo, HasTheShapesAndRangesOfItsName)
{
    struct Case {
        const char* what;
        int shape;
        float low, high;
        std::vector<float> quarters; ///< after 1/4, 1/2, 3/4 of a cycle and a bit
    };
    const Case kCases[] = {
        {"ramp", CVoiceLfo::kSaw, 0.0f, 1.0f, {0.25f, 0.5f, 0.75f}},
        {"square", CVoiceLfo::kPulse, 0.0f, 1.0f, {1.0f, 0.0f, 0.0f}},
        {"triangle", CVoiceLfo::kTriangle, 0.0f, 1.0f, {0.5f, 1.0f, 0.5f}},
        {"sine", CVoiceLfo::kSine, -1.0f, 1.0f, {1.0f, 0.0f, -1.0f}},
        {"beyond", 99, 0.0f, 0.0f, {0.0f, 0.0f, 0.0f}},
        {"below", -3, 0.0f, 1.0f, {0.25f, 0.5f, 0.75f}},
    };
    for (const auto& [what, shape, low, high, quarters] : kCases) {
        CVoiceLfo lfo;
        lfo.SetRate(1.0);
        lfo.SetShape(shape);
        const std::vector<float> values = ValuesOf(lfo, 1.0);
        EXPECT_NEAR(*std::min_element(values.begin(), values.end()), low, 0.002f) << what;
        EXPECT_NEAR(*std::max_element(values.begin(), values.end()), high, 0.002f) << what;
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(values[250 * (i + 1)], quarters[i], 0.01f) << what << ", quarter " << i + 1;
    }
}

TEST(Lfo, RunsAtItsRateOrInTimeWithTheHost)
{
    struct Case {
        const char* what;
        double hz, sixteenths, tempo;
        int cyclesInTenSeconds;
    };
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr Case kCases[] = {
        {"free", 3.0, -1.0, kTempo, 30},           {"slow", 0.3, 0.0, kTempo, 3},
        {"never backwards", -5.0, 0.0, kTempo, 0}, {"a beat", 7.0, 4.0, kTempo, 20},
        {"four bars", 7.0, 64.0, 240.0, 3},        {"no tempo", 7.0, 4.0, kNan, 0},
    };
    for (const auto& [what, hz, sixteenths, tempo, cycles] : kCases) {
        CVoiceLfo lfo;
        lfo.SetRate(hz);
        lfo.SetSync(sixteenths);
        lfo.SetShape(CVoiceLfo::kSine);
        EXPECT_NEAR(RisesThroughTheMiddle(ValuesOf(lfo, 10.0, tempo)), cycles, cycles > 0 ? 1 : 0)
            << what;
        lfo.SetSync(0.0);
        lfo.SetRate(10.0);
        EXPECT_NEAR(RisesThroughTheMiddle(ValuesOf(lfo, 1.0)), 10, 1) << what; // no trace of it
    }
}

TEST(Lfo, HoldsARandomNumberForEachCycle)
{
    LfoSequence().Seed(2222);
    CVoiceLfo lfo;
    lfo.SetShape(CVoiceLfo::kRandom);
    lfo.SetRate(20.0);
    const std::vector<float> values = ValuesOf(lfo, 10.0);
    int changes = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        changes += values[i] != values[i - 1];
    EXPECT_NEAR(changes, 200, 1);
    const std::set<float> different(values.begin(), values.end());
    EXPECT_NEAR(static_cast<double>(different.size()), 200.0, 2.0);
    EXPECT_GE(*different.begin(), 0.0f);
    EXPECT_LT(*different.begin(), 0.05f);
    EXPECT_GT(*different.rbegin(), 0.95f);
    EXPECT_LE(*different.rbegin(), 1.0f);
}

TEST(Lfo, FollowsTheSettingsOfAnotherAndKeepsItsPlace)
{
    CVoiceLfo settings;
    settings.SetShape(CVoiceLfo::kSaw);
    settings.SetRate(1.0);
    settings.SetRetrigger(true);
    CVoiceLfo lfo;
    lfo.SetShape(CVoiceLfo::kSaw);
    lfo.SetRate(1.0);
    const float before = ValuesOf(lfo, 0.4).back();
    ValuesOf(settings, 0.9);
    settings.SetRate(2.0);
    lfo.FollowSettingsOf(settings);
    EXPECT_FALSE(lfo.Retriggers());
    EXPECT_NEAR(ValuesOf(lfo, 0.1).back(), before + 0.2f, 0.001f);
    lfo.ResetPhase();
    EXPECT_NEAR(ValuesOf(lfo, 0.1).back(), 0.2f, 0.001f);
}

} // namespace keldra
