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

} // namespace keldra
