#include "effects/EffectsUnit.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <span>
#include <vector>

#include "reference/ScalarEffects.h"
#include "tests/Dice.h"
#include "tests/Listening.h"

namespace keldra {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

void Apply(EffectsUnit& unit, const ScalarEffectSettings& settings)
{
    unit.Delay().SetEnabled(settings.delayOn);
    unit.Delay().SetTimeLeft(settings.timeLeft);
    unit.Delay().SetTimeRight(settings.timeRight);
    unit.Delay().SetFeedback(settings.feedback);
    unit.Delay().SetModDepth(settings.modDepth);
    unit.Delay().SetLowCut(settings.lowCut);
    unit.Delay().SetHighCut(settings.highCut);
    unit.Delay().SetWet(settings.delayWet);
    unit.Chorus().SetEnabled(settings.chorusOn);
    unit.Chorus().SetRate(settings.chorusRate);
    unit.Chorus().SetDepth(settings.chorusDepth);
    unit.Chorus().SetWet(settings.chorusWet);
}

constexpr ScalarEffectSettings kEverything{true, true, 0.0f, 0.3f, 0.8f, 0.5f,
                                           0.1f, 0.9f, 0.7f, 0.5f, 0.5f, 0.6f};
/// The echoes alone, at their full gain.
constexpr ScalarEffectSettings kEchoes{.delayOn = true, .delayWet = 1.0f};

struct Block {
    std::vector<float> left, right;
    explicit Block(int frames) : left(static_cast<std::size_t>(frames)), right(left) {}
    void Fill(CDice& dice, float amplitude, float offset = 0.0f)
    {
        for (auto* channel : {&left, &right})
            for (float& sample : *channel)
                sample = amplitude * dice.Between(-1.0f, 1.0f) + offset;
    }
    template <typename Unit>
    void Through(Unit& unit)
    {
        unit.Process(left.data(), right.data(), static_cast<int>(left.size()));
    }
    [[nodiscard]] float Peak() const { return std::max(keldra::Peak(left), keldra::Peak(right)); }
    [[nodiscard]] float Difference(const Block& other) const
    {
        Block difference = *this;
        for (std::size_t i = 0; i < left.size(); ++i) {
            difference.left[i] -= other.left[i];
            difference.right[i] -= other.right[i];
        }
        return difference.Peak();
    }
};

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

// Whatever is set and comes in, the real ones limit it; the plain reading is given the limited.
TEST(EffectsUnit, SoundsToTheBitLikeThePlainReading)
{
    struct Case {
        std::vector<double> rates;
        float highestFeedback, tolerance;
    };
    // From a feedback of about 0.66 on the loop's gain may have to be held, and below 25 kHz the
    // shelf's frequency: other roundings.
    const Case kCases[] = {
        {{32000.0, 44100.0, 48000.0, 192000.0}, 0.65f, 0.0f},
        {{44100.0}, 1.0f, 3e-3f},
        {{8000.0}, 0.65f, 3e-3f},
    };
    constexpr float kNonsense[] = {kNaN, -kNaN, kInfinity, -kInfinity, 3e38f, -1e20f};
    for (const auto& [rates, highestFeedback, tolerance] : kCases) {
        CDice dice;
        EffectsUnit unit;
        unit.SetSampleRate(rates[0]);
        ScalarEffects plain(rates[0]);
        ScalarEffectSettings limited;
        double tempo = 120.0;
        const auto setting = [&](float& inLimits) {
            const float any = dice.OneIn(8)   ? dice.Of(kNonsense)
                              : dice.OneIn(8) ? dice.Between(-3.0f, 3.0f)
                                              : dice.Between(0.0f, 1.0f);
            inLimits = std::fmin(std::fmax(any, 0.0f), 1.0f);
            return any;
        };
        float widest = 0.0f;
        for (int change = 0; change < 240; ++change) {
            if (change % 60 == 0) {
                const double rate = rates[static_cast<std::size_t>(change) / 60 % rates.size()];
                for (const double hz : {rate, 0.0, -1.0, 1e300, static_cast<double>(kNaN)})
                    unit.SetSampleRate(hz);
                plain = ScalarEffects(rate);
                plain.Follow(limited, tempo);
                plain.Reset();
            } else if (dice.OneIn(20)) {
                unit.Reset();
                plain.Reset();
            }
            ScalarEffectSettings s;
            s.delayOn = limited.delayOn = !dice.OneIn(5);
            s.chorusOn = limited.chorusOn = !dice.OneIn(5);
            s.timeLeft = setting(limited.timeLeft);
            s.timeRight = setting(limited.timeRight);
            s.feedback = limited.feedback = dice.Between(0.0f, highestFeedback);
            s.modDepth = setting(limited.modDepth);
            s.lowCut = setting(limited.lowCut);
            s.highCut = setting(limited.highCut);
            s.delayWet = setting(limited.delayWet);
            s.chorusRate = setting(limited.chorusRate);
            s.chorusDepth = setting(limited.chorusDepth);
            s.chorusWet = setting(limited.chorusWet);
            Apply(unit, s);
            tempo = static_cast<double>(dice.OneIn(2) ? dice.Between(5.0f, 100.0f)
                                                      : dice.Between(100.0f, 3000.0f));
            for (const double bpm : {0.0, tempo, -120.0, static_cast<double>(kNaN), HUGE_VAL})
                unit.SetTempo(bpm);
            plain.Follow(limited, tempo);
            for (int blocks = dice.UpTo(79); blocks >= 0; --blocks) {
                Block block(1 + dice.UpTo(99));
                block.Fill(dice, 0.5f);
                Block same = block;
                if (dice.OneIn(20)) {
                    block.left[0] = block.right.back() = dice.Of(kNonsense);
                    same.left[0] = same.right.back() = 0.0f;
                }
                block.Through(unit);
                same.Through(plain);
                ASSERT_TRUE(std::isfinite(block.left.back())) << rates[0];
                widest = std::max(widest, block.Difference(same));
            }
        }
        EXPECT_LE(widest, tolerance) << rates[0];
    }
}

TEST(EffectsUnit, PutsEchoesOnSixteenthsUpToTwoSeconds)
{
    struct Case {
        float value;
        double tempo, seconds;
    };
    constexpr Case kCases[] = {
        {0.0f, 120.0, 0.125},       // one
        {1.0f / 7.0f, 120.0, 0.25}, // two
        {0.2857f, 120.0, 0.25},     // just below 2/7
        {1.0f, 120.0, 1.0},         // eight
        {0.0f, 300.0, 0.05},        // fast
        {1.0f, 60.0, 1.98},         // 2 s are asked for
        {0.0f, 0.0, 1.98},
    };
    constexpr double kRate = 48000.0;
    for (const auto& [value, tempo, seconds] : kCases) {
        EffectsUnit unit;
        unit.SetSampleRate(kRate);
        ScalarEffectSettings settings = kEchoes;
        settings.timeLeft = value;
        unit.SetTempo(tempo);
        Apply(unit, settings);
        unit.Reset(); // at the new time at once
        Block(10000).Through(unit);
        Block block(100000);
        block.left[0] = 1.0f;
        block.Through(unit);
        const auto louder = [](float a, float b) { return std::fabs(a) < std::fabs(b); };
        const auto echo = std::max_element(block.left.begin() + 1000, block.left.end(), louder);
        // The line is up to two samples longer than the note, and the filters delay by a little.
        EXPECT_NEAR(static_cast<double>(echo - block.left.begin()) / kRate, seconds, 1.5e-4)
            << tempo << ", " << value;
    }
}

TEST(EffectsUnit, FallsSilentInsteadOfMurmuringAndGoesOnAsIfNothingHadHappened)
{
    struct Case {
        float lowCut, dropped, roundings;
    };
    // The lower the cut, the more a stage makes of roundings: of what it drops at the end, and
    // later, when the samples lie at other places of the tape.
    constexpr Case kCases[] = {{0.0f, 2e-6f, 2e-3f}, {0.5f, 1e-7f, 3e-5f}};
    for (const auto& [lowCut, dropped, roundings] : kCases) {
        EffectsUnit unit;
        unit.SetSampleRate(48000.0);
        ScalarEffects plain(48000.0);
        ScalarEffectSettings settings = kEverything;
        settings.lowCut = lowCut;
        Apply(unit, settings);
        unit.SetTempo(480.0);
        plain.Follow(settings, 480.0);
        CDice dice;
        for (int pass = 0; pass < 3; ++pass) {
            if (pass == 2) {
                unit.Reset();
                plain.Reset();
            }
            float widest = 0.0f;
            for (int i = 0; i < 15000; ++i) { // a second of noise, 19 of silence
                Block block(64);
                if (i < 800 && (pass == 0 || i >= 3)) // else on an erased tape, after silence
                    block.Fill(dice, 0.5f);
                if (i == 14999) { // the tape is on its way to another speed when the noise comes
                    settings.timeLeft = 0.2f;
                    Apply(unit, settings);
                    plain.Follow(settings, 480.0);
                }
                Block same = block;
                block.Through(unit);
                same.Through(plain);
                widest = std::max(widest, block.Difference(same));
                ASSERT_FALSE(i >= 3 && i < 1000 && unit.IsSilent());
            }
            EXPECT_TRUE(unit.IsSilent());
            EXPECT_LT(widest, pass == 0 ? dropped : roundings) << lowCut << ", " << pass;
        }
    }
}

TEST(EffectsUnit, DoesNotThumpWhenACutGoesDownAtOnce)
{
    struct Row {
        float ScalarEffectSettings::*cut;
        double sawHz;
    };
    for (const auto& [cut, sawHz] :
         {Row{&ScalarEffectSettings::lowCut, 110.0}, Row{&ScalarEffectSettings::highCut, 9000.0}})
        for (const double rate : {44100.0, 48000.0, 96000.0}) {
            EffectsUnit unit;
            unit.SetSampleRate(rate);
            ScalarEffectSettings settings = kEchoes;
            settings.feedback = 0.5f;
            const auto peakOfASecond = [&, cut = cut, sawHz = sawHz](float value) {
                settings.*cut = value;
                Apply(unit, settings);
                Block saw(static_cast<int>(rate));
                for (std::size_t i = 0; i < saw.left.size(); ++i)
                    saw.left[i] = saw.right[i] =
                        static_cast<float>(std::fmod(static_cast<double>(i) * sawHz / rate, 1.0)) -
                        0.5f;
                saw.Through(unit);
                return saw.Peak();
            };
            peakOfASecond(1.0f);
            EXPECT_LT(peakOfASecond(0.0f), 3.0f)
                << sawHz << " Hz at " << rate << ", echoes of half";
        }
}

TEST(EffectsUnit, DiesAwayAtFullFeedbackWhateverTheCutsAndRate)
{
    for (const double rate : {8000.0, 44100.0, 384000.0})
        for (const float lowCut : {0.0f, 0.4f, 0.8f})
            for (const float highCut : {0.0f, 0.7f, 1.0f}) {
                if (rate > 100000.0 && lowCut > 0.0f)
                    continue; // takes long, and the lowest cut is the hardest
                EffectsUnit unit;
                unit.SetSampleRate(rate);
                ScalarEffectSettings settings = kEchoes;
                settings.timeLeft = settings.timeRight = 0.0f;
                settings.feedback = 1.0f;
                settings.lowCut = lowCut;
                settings.highCut = highCut;
                Apply(unit, settings);
                unit.SetTempo(4000.0); // laps of 3.75 ms, so that many go by
                CDice dice;
                Block loud(static_cast<int>(0.1 * rate));
                loud.Fill(dice, 1.0f, 0.3f); // with some of the lowest frequency
                loud.Through(unit.Delay());
                // 0.99 a lap: -180 dB after 2060 of them. What is dropped at the end is inaudible.
                float last = 0.0f;
                for (int step = 0; step < 2000 && !unit.Delay().IsSilent(); ++step) {
                    Block quiet(static_cast<int>(0.005 * rate));
                    quiet.Through(unit.Delay());
                    last = quiet.Peak();
                }
                EXPECT_TRUE(unit.Delay().IsSilent())
                    << rate << " Hz, " << lowCut << ", " << highCut;
                EXPECT_LT(last, 3e-6f) << rate << " Hz, " << lowCut << ", " << highCut;
            }
}

TEST(TapeDelay, PlaysToTheBitWhatTwoBuffersWouldHoweverTimeAndDepthJump)
{
    struct Case {
        const char* what;
        int length;
        double startHead, modHz;
        bool filtered;
        int samples;
    };
    constexpr Case kCases[] = {
        {"shorter than allowed", 3, 0.0, 5.0, false, 20000},
        {"a chorus at the lowest rate", 17, 0.467, 3000.0, false, 20000},
        {"shorter than a stretch", 50, 0.7, 20000.0, true, 50000},
        {"a chorus", 960, 0.778, 5.0, false, 200000},
        {"an echo", 96000, 0.7, 1.0, true, 600000},
    };
    for (const auto& [what, length, startHead, modHz, filtered, samples] : kCases) {
        CTapeDelay line(length, startHead);
        ScalarTapeDelay plain(length, startHead);
        if (filtered) {
            line.EnableLowPass();
            line.EnableHighPass();
            line.SetLowPass(5000.0f, 48000.0);
            line.SetHighPass(100.0f, 48000.0);
            plain.lowPass.enabled = plain.highPass.enabled = true;
            plain.lowPass.Set(5000.0f, 1.0f, 48000.0);
            plain.highPass.Set(100.0f, 1.0f, 48000.0);
        }
        line.SetFeedback(0.7f);
        plain.SetFeedback(0.7f);
        line.SetModRate(modHz, 48000.0);
        plain.lfoIncrement = modHz / 48000.0;

        CDice dice;
        int differences = 0;
        for (int done = 0; done < samples;) {
            const float time = dice.Between(0.0f, 1.0f);
            const float depth = dice.Between(0.0f, 1.0f);
            if (dice.OneIn(3)) { // often, but long enough for a lap now and then
                line.SetTime(time * time);
                plain.SetTime(static_cast<double>(time * time));
                line.SetDepth(depth);
                plain.depth = depth;
            }
            std::vector<float> input(static_cast<std::size_t>(1 + dice.UpTo(399)));
            for (float& sample : input)
                sample = dice.Between(-1.0f, 1.0f);
            std::vector<float> output(input.size());
            Send(line, input, output, !dice.OneIn(4));
            for (std::size_t i = 0; i < input.size(); ++i)
                differences += plain.Process(input[i]) != output[i];
            done += static_cast<int>(input.size());
        }
        EXPECT_EQ(differences, 0) << what;
    }
}

} // namespace keldra
