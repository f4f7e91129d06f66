#include "effects/Delay.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "tests/effects/Listening.h"

namespace keldra {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Sides {
    std::vector<float> left, right;
};

/// A burst that a narrow band of low-frequency filters leaves alone: 20 ms of 500 Hz, soft edges.
std::vector<float> Burst(double rate)
{
    std::vector<float> burst = Tone(500.0, rate, static_cast<int>(0.02 * rate));
    for (std::size_t i = 0; i < burst.size(); ++i)
        burst[i] *=
            static_cast<float>(1.0 - std::cos(2.0 * std::numbers::pi * static_cast<double>(i) /
                                              static_cast<double>(burst.size())));
    return burst;
}

/// Sends a sound through a delay, silence behind it. @return the echoes alone, as long as asked for
Sides EchoesOf(CDelay& delay, std::span<const float> sound, double rate, double seconds)
{
    Sides sides;
    sides.left.resize(static_cast<std::size_t>(seconds * rate));
    std::copy_n(sound.begin(), std::min(sound.size(), sides.left.size()), sides.left.begin());
    sides.right = sides.left;
    const std::size_t length = sides.left.size();
    for (std::size_t i = 0; i < length; i += 64)
        delay.Process(&sides.left[i], &sides.right[i],
                      static_cast<int>(std::min<std::size_t>(64, length - i)));
    for (std::size_t i = 0; i < std::min(sound.size(), length); ++i) {
        sides.left[i] -= sound[i];
        sides.right[i] -= sound[i];
    }
    return sides;
}

float PeakOf(const Sides& sides)
{
    float peak = 0.0f;
    for (const auto& side : {sides.left, sides.right})
        for (const float sample : side)
            peak = std::max(peak, std::fabs(sample));
    return peak;
}

void Quiet(CDelay& delay, double rate, double seconds)
{
    EchoesOf(delay, {}, rate, seconds);
}

/// Switched on, wet at its full gain, no wobble, nothing cut from 500 Hz.
void Prepare(CDelay& delay, double rate, double tempo)
{
    delay.SetSampleRate(rate);
    delay.SetTempo(tempo);
    delay.SetLowCut(0.0f);
    delay.SetHighCut(1.0f);
    delay.SetWet(1.0f);
    delay.SetModDepth(0.0f);
    delay.SetFeedback(0.0f);
    delay.SetEnabled(true);
}

/// Echoes after the wet gain has settled.
Sides EchoesOfBurst(CDelay& delay, double rate, double seconds)
{
    Quiet(delay, rate, 0.2);
    return EchoesOf(delay, Burst(rate), rate, seconds);
}

Echo Find(const std::vector<float>& sound, double rate, double fromSeconds, double toSeconds)
{
    return FindEcho(sound, Burst(rate), static_cast<int>(fromSeconds * rate),
                    static_cast<int>(toSeconds * rate));
}

} // namespace

TEST(Delay, PutsEchoesOnSixteenthsAtEveryTempoAndRate)
{
    struct Case {
        double rate, tempo;
        float value;
        double seconds;
    };
    constexpr Case kCases[] = {
        {48000.0, 120.0, 0.0f, 0.125},         // one sixteenth
        {48000.0, 120.0, 0.1428f, 0.125},      // just below 1/7
        {44100.0, 120.0, 1.0f / 7.0f, 0.25},   // two
        {44100.0, 120.0, 0.2857f, 0.25},       // just below 2/7
        {96000.0, 120.0, 3.0f / 7.0f, 0.5},    // four
        {48000.0, 120.0, 1.0f, 1.0},           // eight
        {8000.0, 95.0, 5.0f / 7.0f, 0.947368}, // six
        {48000.0, 300.0, 0.0f, 0.05},          // fast
        {48000.0, 60.0, 1.0f, 1.98},           // 2 s are asked for
        {192000.0, 20.0, 0.5f, 1.98},          // 3 s
        {48000.0, 120.0, -1.0f, 0.125},        // out of range
        {48000.0, 120.0, 2.0f, 1.0},
        {48000.0, 120.0, std::numeric_limits<float>::quiet_NaN(), 0.125},
    };
    for (const auto& [rate, tempo, value, seconds] : kCases) {
        CDelay delay;
        Prepare(delay, rate, tempo);
        delay.SetTimeLeft(value);
        delay.SetTimeRight(0.0f);
        delay.Reset(); // at the new time at once
        const Sides echoes = EchoesOfBurst(delay, rate, seconds + 0.1);
        const Echo echo = Find(echoes.left, rate, seconds - 0.04, seconds + 0.04);
        // The line is up to two samples longer than the note, and the filters delay by a little.
        EXPECT_NEAR(echo.delay / rate, seconds, 1e-4 + 2.0 / rate)
            << rate << " Hz, " << tempo << ", " << value;
        EXPECT_GT(echo.gain, 0.95) << rate << " Hz, " << tempo << ", " << value;
    }
}

TEST(Delay, RepeatsAtTheGainsOfWetAndFeedback)
{
    constexpr double kRate = 48000.0;
    struct Case {
        float wet, feedback;
        double wetGain, feedbackGain;
    };
    constexpr Case kCases[] = {
        {1.0f, 0.5f, 1.0, 0.42}, {0.5f, 0.5f, 0.25, 0.42}, {0.5f, 0.0f, 0.25, 0.0},
        {0.0f, 0.5f, 0.0, 0.42}, {1.0f, 0.9f, 1.0, 0.756},
    };
    for (const auto& [wet, feedback, wetGain, feedbackGain] : kCases) {
        CDelay delay;
        Prepare(delay, kRate, 120.0);
        delay.SetTimeLeft(0.0f);
        delay.SetTimeRight(0.0f);
        delay.SetHighCut(0.4f); // little above its cut, where the stages' gain is close to 1
        delay.SetWet(wet);
        delay.SetFeedback(feedback);
        delay.Reset();
        const Sides echoes = EchoesOfBurst(delay, kRate, 0.5);
        for (const auto& side : {echoes.left, echoes.right}) {
            const double first = Find(side, kRate, 0.10, 0.15).gain;
            const double second = Find(side, kRate, 0.23, 0.28).gain;
            const double third = Find(side, kRate, 0.35, 0.42).gain;
            if (wetGain == 0.0) {
                EXPECT_LT(std::fabs(first) + std::fabs(second), 1e-6);
                continue;
            }
            // Each pass of the loop has the gain of the stages, which the first echo shows.
            const double pass = first / wetGain;
            EXPECT_NEAR(pass, 0.9, 0.1);
            EXPECT_NEAR(second / first, feedbackGain * pass, 0.03) << feedback;
            EXPECT_NEAR(third / first, feedbackGain * pass * feedbackGain * pass, 0.03) << feedback;
        }
    }
}

TEST(Delay, StartsTheRightLapNearerToItsEndButKeepsBothEchoesALapOld)
{
    constexpr double kRate = 48000.0;
    CDelay delay;
    Prepare(delay, kRate, 120.0);
    delay.SetTimeLeft(1.0f);
    delay.SetTimeRight(1.0f);
    delay.Reset();
    // A sound that is there with the very first sample is all that a lap's beginning shows.
    const Sides start = EchoesOf(delay, std::vector<float>(48000, 0.5f), kRate, 1.0);
    const auto firstHeard = [](const std::vector<float>& echo) {
        return std::find_if(echo.begin(), echo.end(),
                            [](float sample) { return std::fabs(sample) > 1e-4f; }) -
               echo.begin();
    };
    EXPECT_GE(firstHeard(start.left), 47990);
    EXPECT_NEAR(static_cast<double>(firstHeard(start.right)), 0.3 * kRate, 20.0);

    delay.Reset();
    const Sides later = EchoesOfBurst(delay, kRate, 1.1);
    EXPECT_NEAR(Find(later.left, kRate, 0.1, 1.05).delay / kRate, 1.0, 2e-4);
    EXPECT_NEAR(Find(later.right, kRate, 0.1, 1.05).delay / kRate, 1.0, 2e-4);
}

TEST(Delay, GoesOnWithTheLastTempoWhileTheHostIsOutOfItsMind)
{
    constexpr double kRate = 48000.0;
    CDelay delay;
    Prepare(delay, kRate, 120.0);
    delay.SetTimeLeft(0.0f);
    for (const double tempo : {0.0, -0.0, -120.0, kNaN, kInfinity, -kInfinity}) {
        delay.SetTempo(tempo);
        const Sides echoes = EchoesOfBurst(delay, kRate, 0.2);
        EXPECT_NEAR(Find(echoes.left, kRate, 0.03, 0.18).delay / kRate, 0.125, 2e-4) << tempo;
    }
    delay.SetTempo(240.0);
    EchoesOfBurst(delay, kRate, 0.5); // glides
    const Sides echoes = EchoesOfBurst(delay, kRate, 0.2);
    EXPECT_NEAR(Find(echoes.left, kRate, 0.03, 0.18).delay / kRate, 0.0625, 2e-4);
}

TEST(Delay, IsCutByARealChangeOfItsSwitchOnly)
{
    constexpr double kRate = 48000.0;
    struct Case {
        const char* what;
        std::vector<bool> switched;
        bool echoes;
    };
    const Case kCases[] = {
        {"nothing", {}, true},
        {"on again and again", {true, true}, true},
        {"off and on", {false, true}, false},
        {"off", {false}, false},
    };
    for (const auto& [what, switched, echoes] : kCases) {
        CDelay delay;
        Prepare(delay, kRate, 120.0);
        delay.SetTimeLeft(0.0f);
        EchoesOfBurst(delay, kRate, 0.05);
        for (const bool on : switched)
            delay.SetEnabled(on);
        Sides rest;
        rest.left.assign(9600, 0.0f);
        const Echo echo = Find(EchoesOf(delay, rest.left, kRate, 0.2).left, kRate, 0.02, 0.15);
        EXPECT_EQ(std::isfinite(echo.gain) && echo.gain > 0.5, echoes) << what;
    }
}

TEST(Delay, DiesAwayAtFullFeedbackWhateverTheCutsAndRate)
{
    for (const double rate : {8000.0, 22050.0, 44100.0, 96000.0, 384000.0}) {
        for (const float lowCut : {0.0f, 0.3f, 0.55f, 0.8f}) {
            for (const float highCut : {0.0f, 0.4f, 0.7f, 0.9f, 1.0f}) {
                if (rate > 100000.0 && lowCut > 0.0f)
                    continue; // takes long, and the lowest cut is the hardest
                CDelay delay;
                Prepare(delay, rate, 4000.0); // laps of 3.75 ms, so that many go by
                delay.SetTimeLeft(0.0f);
                delay.SetTimeRight(0.0f);
                delay.SetLowCut(lowCut);
                delay.SetHighCut(highCut);
                delay.SetFeedback(1.0f);
                CNoise noise;
                std::vector<float> sound(static_cast<std::size_t>(0.1 * rate));
                for (float& sample : sound)
                    sample = noise.Next() + 0.3f; // with some of the lowest frequency
                EchoesOf(delay, sound, rate, 0.1);
                // 0.99 a lap: -180 dB after 2060 of them. What is dropped at the end is inaudible.
                float last = 0.0f;
                for (int step = 0; step < 2000 && !delay.IsSilent(); ++step)
                    last = PeakOf(EchoesOf(delay, {}, rate, 0.005));
                EXPECT_TRUE(delay.IsSilent()) << rate << " Hz, " << lowCut << ", " << highCut;
                EXPECT_LT(last, 3e-6f) << rate << " Hz, " << lowCut << ", " << highCut;
                EXPECT_EQ(PeakOf(EchoesOf(delay, {}, rate, 0.1)), 0.0f);
            }
        }
    }
}

TEST(Delay, HoldsTheLoopsGainBelowOneOnlyWhereItWouldBeMore)
{
    constexpr double kRate = 48000.0;
    struct Case {
        const char* what;
        float feedback, lowCut, highCut;
        double loudestHz, loopGain;
    };
    // Unheld, the stages' gain would be up to 4/3 each.
    constexpr Case kCases[] = {
        {"high cut at a quarter of the rate", 1.0f, 0.0f, 0.8946f, 400.0, 0.99},
        {"the same, less feedback", 0.85f, 0.0f, 0.8946f, 400.0, 0.952},
        {"both open", 1.0f, 0.0f, 1.0f, 400.0, 0.99},
        {"cuts crossed: soft by itself", 1.0f, 0.7f, 0.2f, 800.0, 0.073},
        {"a wide band", 1.0f, 0.5f, 0.8f, 1577.0, 0.99},
        {"a narrower one", 1.0f, 0.6f, 0.6f, 1411.0, 0.703},
    };
    for (const auto& [what, feedback, lowCut, highCut, hz, loopGain] : kCases) {
        CDelay delay;
        Prepare(delay, kRate, 120.0);
        delay.SetTimeLeft(3.0f / 7.0f);
        delay.SetLowCut(lowCut);
        delay.SetHighCut(highCut);
        delay.SetFeedback(feedback);
        delay.Reset();
        Quiet(delay, kRate, 0.2);
        // A tone fills a lap; what comes back of it after one lap and after two.
        const auto lap = static_cast<std::size_t>(0.5 * kRate);
        std::vector<float> tone = Tone(hz, kRate, static_cast<int>(lap));
        const Sides echoes = EchoesOf(delay, tone, kRate, 1.5);
        const auto within = [&, toneHz = hz](std::size_t from) {
            return AmplitudeAt(std::span(echoes.left).subspan(from + lap / 4, lap / 2), toneHz,
                               kRate);
        };
        EXPECT_NEAR(within(2 * lap) / within(lap), loopGain, 0.01) << what;
    }
}

} // namespace keldra
