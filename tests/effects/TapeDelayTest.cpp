#include "effects/TapeDelay.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "tests/effects/Listening.h"
#include "tests/reference/ScalarEffects.h"

namespace keldra {

namespace {

constexpr double kRate = 48000.0;

/// A block through a line, in stretches or sample by sample.
void Send(CTapeDelay& line, std::span<const float> input, std::span<float> output, bool inStretches)
{
    for (std::size_t i = 0; i < input.size();) {
        if (!inStretches) {
            output[i] = line.Process(input[i]);
            ++i;
            continue;
        }
        const int n = std::min(line.StretchLimit(), static_cast<int>(input.size() - i));
        line.Play(&output[i], n);
        line.Filter(&output[i], n);
        line.Record(&input[i], &output[i], n);
        i += static_cast<std::size_t>(n);
    }
}

} // namespace

TEST(TapeDelay, PlaysToTheBitWhatTwoBuffersWouldHoweverTimeAndDepthJump)
{
    struct Case {
        const char* what;
        int length;
        double startHead, modHz;
        bool filtered, inStretches;
        int samples;
    };
    constexpr Case kCases[] = {
        {"shorter than allowed", 3, 0.0, 5.0, false, true, 20000},
        {"shortest", 5, 0.778, 5.0, true, true, 20000},
        {"a first lap without a sample", 7, 0.95, 5.0, false, true, 20000},
        {"a handful", 17, 0.467, 3000.0, false, true, 20000},
        {"shorter than a stretch", 50, 0.7, 20000.0, true, true, 50000},
        {"sample by sample", 176, 0.467, 5.0, true, false, 50000},
        {"a chorus", 960, 0.778, 5.0, false, true, 200000},
        {"an echo", 96000, 0.7, 1.0, true, true, 600000},
    };
    for (const auto& [what, length, startHead, modHz, filtered, inStretches, samples] : kCases) {
        CTapeDelay line(length, startHead);
        ScalarTapeDelay plain(length, startHead);
        if (filtered) {
            line.EnableLowPass();
            line.EnableHighPass();
            line.SetLowPass(5000.0f, kRate);
            line.SetHighPass(100.0f, kRate);
            plain.lowPass.enabled = plain.highPass.enabled = true;
            plain.lowPass.Set(5000.0f, 1.0f, kRate);
            plain.highPass.Set(100.0f, 1.0f, kRate);
        }
        line.SetFeedback(0.7f);
        plain.SetFeedback(0.7f);
        line.SetModRate(modHz, kRate);
        plain.lfoIncrement = modHz / kRate;

        CNoise noise;
        int differences = 0;
        for (int done = 0; done < samples;) {
            const float time = noise.Between(0.0f, 1.0f);
            const float depth = noise.Between(0.0f, 1.0f);
            if (noise.Below(3) == 0) { // often, but long enough for a lap now and then
                line.SetTime(time * time);
                plain.SetTime(static_cast<double>(time * time));
                line.SetDepth(depth);
                plain.depth = depth;
            }
            std::vector<float> input(static_cast<std::size_t>(1 + noise.Below(400)));
            for (float& sample : input)
                sample = noise.Next();
            std::vector<float> output(input.size());
            Send(line, input, output, inStretches);
            for (std::size_t i = 0; i < input.size(); ++i)
                differences += plain.Process(input[i]) != output[i];
            done += static_cast<int>(input.size());
        }
        EXPECT_EQ(differences, 0) << what;
    }
}

TEST(TapeDelay, BendsThePitchForALapWhenTheTimeChanges)
{
    struct Case {
        const char* what;
        double before, behind, pitch;
    };
    constexpr Case kCases[] = {
        {"half the time: an octave up", 0.5, 0.25, 2000.0},
        {"twice the time: an octave down", 0.25, 0.5, 500.0},
        {"the same", 0.5, 0.5, 1000.0},
    };
    for (const auto& [what, before, behind, pitch] : kCases) {
        CTapeDelay line(static_cast<int>(kRate), 0.0);
        line.SetTime(before);
        line.Reset();
        const std::vector<float> tone = Tone(1000.0, kRate, 4 * static_cast<int>(kRate));
        std::vector<float> echo(tone.size());
        const std::span<const float> heard(echo);
        const std::size_t change = 2 * static_cast<std::size_t>(kRate);
        Send(line, std::span(tone).first(change), std::span(echo).first(change), true);
        line.SetTime(behind);
        Send(line, std::span(tone).subspan(change), std::span(echo).subspan(change), true);

        const auto lap = static_cast<std::size_t>(behind * kRate);
        EXPECT_NEAR(PitchOf(heard.subspan(change - 10000, 10000), kRate), 1000.0, 0.5) << what;
        EXPECT_NEAR(PitchOf(heard.subspan(change + 2000, lap - 4000), kRate), pitch, 1.0) << what;
        EXPECT_NEAR(PitchOf(heard.subspan(change + lap + 3000, 20000), kRate), 1000.0, 0.5) << what;
        // a glide, not a jump: not much of the way after a twentieth of the glide's 200 samples
        float widest = 0.0f;
        for (std::size_t i = change; i < change + 50; ++i)
            widest = std::max(widest, std::fabs(echo[i] - echo[i - 1]));
        EXPECT_LT(widest, 0.1f) << what;
    }
}

TEST(TapeDelay, ApproachesTheWetGainByOnePerCentASample)
{
    CTapeDelay line(1000, 0.0);
    line.SetTime(0.1);
    line.SetWet(0.8f);
    line.Reset();
    for (int i = 0; i < 3000; ++i)
        static_cast<void>(line.Process(1.0f));
    EXPECT_NEAR(line.Process(1.0f), 0.8f, 1e-4f);
    line.SetWet(0.2f);
    for (int i = 0; i < 69; ++i) // 0.99^69 = 0.5
        static_cast<void>(line.Process(1.0f));
    EXPECT_NEAR(line.Process(1.0f), 0.5f, 3e-3f);
    for (int i = 0; i < 1500; ++i)
        static_cast<void>(line.Process(1.0f));
    EXPECT_NEAR(line.Process(1.0f), 0.2f, 1e-4f);
}

TEST(TapeDelay, WobblesUpwardsOnlyByItsDepthAtItsRate)
{
    // Long enough a lap to be laid and read at quite different speeds.
    CTapeDelay line(static_cast<int>(kRate), 0.0);
    line.SetTime(0.25);
    line.SetDepth(0.05f);
    line.SetModRate(2.0, kRate); // half a cycle a lap: laid at rest, read at the crest
    line.Reset();
    const std::vector<float> tone = Tone(1000.0, kRate, 6 * static_cast<int>(kRate));
    std::vector<float> echo(tone.size());
    Send(line, tone, echo, true);
    double lowest = 1e9;
    double highest = 0.0;
    for (std::size_t at = 48000; at + 1200 < echo.size(); at += 600) {
        const double pitch = PitchOf(std::span(echo).subspan(at, 1200), kRate);
        lowest = std::min(lowest, pitch);
        highest = std::max(highest, pitch);
    }
    EXPECT_NEAR(highest, 1050.0, 3.0);
    EXPECT_NEAR(lowest, 1000.0 / 1.05, 3.0);
}

} // namespace keldra
