#include "engine/TranceGate.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace keldra::test {

namespace {

constexpr double kRate = 48000.0;
constexpr double kTempo = 120.0;
constexpr char kSteps[] = "x-x-xxx-x-x-xxx-";

/// Steps on where the text has an x.
CTranceGate MakeGate(const char* steps, double sixteenths)
{
    CTranceGate gate;
    gate.SetMix(1.0f);
    gate.SetStepLength(sixteenths);
    for (int i = 0; i < CTranceGate::kSteps; ++i)
        gate.SetStep(i, steps[i] == 'x' ? 0.0f : 1.0f);
    gate.ResetGate();
    return gate;
}

/// The gain that the gate applies, frame by frame.
std::vector<float> Gains(CTranceGate& gate, int frames, double tempo = kTempo)
{
    std::vector<float> left(static_cast<std::size_t>(frames), 1.0f);
    std::vector<float> right = left;
    gate.ProcessGate(left.data(), right.data(), frames, kRate, tempo);
    EXPECT_EQ(left, right);
    return left;
}

} // namespace

TEST(TranceGate, OpensAndClosesWithTheStepsOfABar)
{
    CTranceGate gate = MakeGate(kSteps, 1.0);
    const auto gains = Gains(gate, 96000);
    for (int step = 0; step < 16; ++step) {
        // A sixteenth at 120 beats per minute is 6000 frames; near its end the level has settled.
        const float gain = gains[static_cast<std::size_t>(step) * 6000 + 5900];
        EXPECT_NEAR(gain, kSteps[step] == 'x' ? 1.0f : 0.0f, 1e-3f) << step;
    }
    EXPECT_EQ(gate.StepIndex(), 15);
    Gains(gate, 100);
    EXPECT_EQ(gate.StepIndex(), 0);
}

TEST(TranceGate, FollowsTheStepsAtTheSpeedOfSmoothByTheMix)
{
    struct Case {
        float smooth, mix;
        double factor;
    };
    for (const auto& [smooth, mix, factor] :
         {Case{0.0f, 1.0f, 0.0101}, Case{1.0f, 1.0f, 0.0001}, Case{0.0f, 0.25f, 0.0101},
          Case{0.0f, 0.0009f, 0.0}}) { // below a thousandth it leaves the signal alone
        CTranceGate gate = MakeGate("x---------------", 16.0);
        gate.SetSmooth(smooth);
        gate.SetMix(mix);
        gate.SyncToPosition(4.0); // into an off step, level still open
        const double open = factor > 0.0 ? static_cast<double>(mix) : 0.0;
        EXPECT_NEAR(Gains(gate, 100)[99], 1.0 - open * (1.0 - std::pow(1.0 - factor, 100.0)), 1e-4)
            << smooth << ", " << mix;
    }
}

TEST(TranceGate, TakesItsPlaceFromTheSong)
{
    struct Case {
        double quarters, sixteenths;
        int step;
        double phase;
    };
    for (const auto& [quarters, sixteenths, step, phase] :
         {Case{2.5, 1.0, 10, 0.0}, Case{0.0, 0.5, 0, 0.0}, Case{4.125, 1.0, 0, 0.5},
          Case{-0.25, 1.0, 15, 0.0}, Case{-0.375, 1.0, 15, -0.5},
          Case{4.0e12 + 2.5, 1.0, 10, 0.0}}) {
        CTranceGate gate = MakeGate(kSteps, sixteenths);
        gate.SyncToPosition(quarters);
        for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL})
            gate.SyncToPosition(bad);
        EXPECT_EQ(gate.StepIndex(), step) << quarters;
        EXPECT_NEAR(gate.Phase(), phase, 1e-9) << quarters;
    }
}

TEST(TranceGate, StaysInStepAtAnyTempo)
{
    CTranceGate gate = MakeGate(kSteps, 0.5);
    Gains(gate, 1000, 0.0);
    EXPECT_EQ(gate.StepIndex(), 0);
    for (const float gain : Gains(gate, 48000, 100000.0))
        ASSERT_TRUE(gain >= 0.0f && gain <= 1.0f);
    gate.ResetGate();
    Gains(gate, 3000 * 3 + 100);
    EXPECT_EQ(gate.StepIndex(), 3) << "and keeps time again when the tempo is sane";
}

} // namespace keldra::test
