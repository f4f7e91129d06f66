#include "effects/Chorus.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "tests/effects/Listening.h"

namespace keldra {

namespace {

constexpr double kRate = 44100.0;

struct Sides {
    std::vector<float> left, right;
};

Sides Through(CChorus& chorus, const std::vector<float>& mono)
{
    Sides sides{mono, mono};
    for (std::size_t i = 0; i < mono.size(); i += 64)
        chorus.Process(&sides.left[i], &sides.right[i],
                       static_cast<int>(std::min<std::size_t>(64, mono.size() - i)));
    return sides;
}

void Prepare(CChorus& chorus, double rate, float depth)
{
    chorus.SetSampleRate(rate);
    chorus.SetWet(1.0f);
    chorus.SetDepth(depth);
    chorus.SetRate(0.5f);
    chorus.SetEnabled(true);
    Through(chorus, std::vector<float>(static_cast<std::size_t>(0.1 * rate))); // wet settles
}

/// Centre of what comes back of a click within a range of samples, between two of them maybe.
double CentreOf(const std::vector<float>& sound, int from, int to)
{
    double weight = 0.0;
    double sum = 0.0;
    for (int i = from; i < to; ++i) {
        const auto level = static_cast<double>(std::fabs(sound[static_cast<std::size_t>(i)]));
        weight += level;
        sum += level * i;
    }
    return sum / weight;
}

} // namespace

TEST(Chorus, AddsThreeStillDelaysAtDepthZero)
{
    struct Case {
        double rate, left, both, right; ///< delays in samples
    };
    // Half of 970, 753 and 881 samples at 44.1 kHz, and so on, and one from reading to writing.
    constexpr Case kCases[] = {
        {44100.0, 487.0, 378.5, 442.5},
        {48000.0, 529.5, 411.5, 481.5},
        {96000.0, 1057.5, 821.5, 961.5},
        {8000.0, 89.5, 70.0, 81.5},
    };
    for (const auto& [rate, left, both, right] : kCases) {
        CChorus chorus;
        Prepare(chorus, rate, 0.0f);
        for (int at = 0; at < 4; ++at) { // the same at any time
            std::vector<float> click(static_cast<std::size_t>(0.0813 * rate));
            click[0] = 0.5f; // of both sides: the lines get 1
            const Sides sides = Through(chorus, click);
            const auto between = [](double a, double b) { return static_cast<int>((a + b) / 2); };
            EXPECT_NEAR(CentreOf(sides.left, 20, between(both, left)), both, 0.01) << rate;
            EXPECT_NEAR(CentreOf(sides.right, 20, between(both, right)), both, 0.01) << rate;
            EXPECT_NEAR(CentreOf(sides.left, between(both, left), between(left, 2 * left)), left,
                        0.01)
                << rate;
            EXPECT_NEAR(CentreOf(sides.right, between(both, right), between(right, 2 * right)),
                        right, 0.01)
                << rate;
            EXPECT_EQ(sides.left[0], 0.5f) << "dry sound goes through";
        }
    }
}

TEST(Chorus, CombsAtDepthZero)
{
    CChorus chorus;
    Prepare(chorus, kRate, 0.0f);
    // The side difference is line 1 less line 3, of twice the input: 2 x 2 sin(pi f (487 - 442.5)).
    for (const double hz : {495.5, 991.0, 1486.5}) {
        const Sides sides = Through(chorus, Tone(hz, kRate, 20000));
        std::vector<float> difference(10000);
        for (std::size_t i = 0; i < difference.size(); ++i)
            difference[i] = sides.left[i + 10000] - sides.right[i + 10000];
        const bool isNotch = hz == 991.0; // a whole wave between the two
        EXPECT_NEAR(AmplitudeAt(difference, hz, kRate), isNotch ? 0.0 : 2.0, 0.01) << hz;
    }
}

TEST(Chorus, SwingsEachLineBetweenItsDelayAndHalfOfItAtItsOwnRate)
{
    // Clicks every 20 ms. On the difference of both sides the dry sound and the middle line cancel:
    // what is left is line 1 upwards and line 3 downwards.
    constexpr int kEvery = 882;
    constexpr int kClicks = 500;
    CChorus chorus;
    Prepare(chorus, kRate, 1.0f);
    std::vector<float> clicks(kEvery * kClicks);
    for (std::size_t i = 0; i < clicks.size(); i += kEvery)
        clicks[i] = 0.5f;
    const Sides sides = Through(chorus, clicks);

    std::vector<float> delays[2];
    for (std::size_t click = 0; click < clicks.size(); click += kEvery) {
        std::vector<float> up(kEvery);
        std::vector<float> down(kEvery);
        for (std::size_t i = 1; i < kEvery; ++i) {
            const float difference = sides.left[click + i] - sides.right[click + i];
            up[i] = std::max(difference, 0.0f);
            down[i] = std::max(-difference, 0.0f);
        }
        delays[0].push_back(static_cast<float>(CentreOf(up, 100, kEvery)));
        delays[1].push_back(static_cast<float>(CentreOf(down, 100, kEvery)));
    }
    const double longest[] = {487.0, 442.5};
    const double swingHz[] = {2.6 * 0.896, 2.6 * 0.689}; // "Chorus Rate" 0.5 is 2.6 Hz
    for (std::size_t line = 0; line < 2; ++line) {
        const auto [low, high] = std::minmax_element(delays[line].begin(), delays[line].end());
        // A lap is laid and read while the speed changes: it comes near both ends, not beyond.
        EXPECT_NEAR(*high, longest[line], 6.0);
        EXPECT_NEAR(*low, longest[line] / 2.0, 6.0);
        for (float& delay : delays[line])
            delay -= static_cast<float>(0.75 * longest[line]);
        EXPECT_NEAR(PitchOf(delays[line], kRate / kEvery), swingHz[line], 0.02);
    }
}

TEST(Chorus, BendsThePitchMoreWithDepthWhichGoesByTheCube)
{
    double widest[3] = {};
    const float depths[] = {0.0f, 0.3f, 0.6f};
    for (std::size_t i = 0; i < 3; ++i) {
        CChorus chorus;
        Prepare(chorus, kRate, depths[i]);
        const Sides sides = Through(chorus, Tone(3000.0, kRate, 2 * 44100));
        std::vector<float> difference(sides.left.size()); // line 1 less line 3
        for (std::size_t k = 0; k < difference.size(); ++k)
            difference[k] = sides.left[k] - sides.right[k];
        // The level of the unbent pitch against all there is.
        double energy = 0.0;
        for (const float sample : difference)
            energy += static_cast<double>(sample) * static_cast<double>(sample);
        const double tone = AmplitudeAt(difference, 3000.0, kRate);
        widest[i] = 1.0 - tone * tone * 0.5 / (energy / static_cast<double>(difference.size()));
    }
    EXPECT_LT(widest[0], 0.05);
    EXPECT_GT(widest[1], 4.0 * widest[0]);
    EXPECT_GT(widest[2], 0.5);
}

TEST(Chorus, KeepsItsTapesWhileSwitchedOff)
{
    CChorus chorus;
    Prepare(chorus, kRate, 0.0f);
    std::vector<float> click(64);
    click[0] = 0.5f;
    Through(chorus, click);
    chorus.SetEnabled(false);
    std::vector<float> sound(2000, 0.25f);
    const Sides untouched = Through(chorus, sound);
    EXPECT_EQ(untouched.left, sound);
    EXPECT_TRUE(chorus.IsSilent());
    chorus.SetEnabled(true);
    EXPECT_FALSE(chorus.IsSilent());
    const Sides rest = Through(chorus, std::vector<float>(1000));
    EXPECT_NEAR(CentreOf(rest.left, 400, 500), 487.0 - 64.0, 0.01);
}

TEST(Chorus, AddsNothingOnceWetIsZero)
{
    CChorus chorus;
    Prepare(chorus, kRate, 0.5f);
    const std::vector<float> tone = Tone(400.0, kRate, 4410);
    Through(chorus, tone);
    chorus.SetWet(0.0f);
    EXPECT_NE(Through(chorus, tone).left, tone) << "faded, not cut";
    EXPECT_EQ(Through(chorus, tone).left, tone);
}

} // namespace keldra
