#include "effects/EffectsUnit.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "tests/effects/Listening.h"
#include "tests/reference/ScalarEffects.h"

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

struct Block {
    std::vector<float> left, right;
    explicit Block(int frames) : left(static_cast<std::size_t>(frames)), right(left) {}
    void Fill(CNoise& noise, float amplitude)
    {
        for (float& sample : left)
            sample = amplitude * noise.Next();
        for (float& sample : right)
            sample = amplitude * noise.Next();
    }
    template <typename Unit>
    void Through(Unit& unit)
    {
        unit.Process(left.data(), right.data(), static_cast<int>(left.size()));
    }
    [[nodiscard]] bool IsFinite() const
    {
        const auto finite = [](float sample) { return std::isfinite(sample); };
        return std::all_of(left.begin(), left.end(), finite) &&
               std::all_of(right.begin(), right.end(), finite);
    }
    [[nodiscard]] float Difference(const Block& other) const
    {
        float widest = 0.0f;
        for (std::size_t i = 0; i < left.size(); ++i)
            widest = std::max(
                {widest, std::fabs(left[i] - other.left[i]), std::fabs(right[i] - other.right[i])});
        return widest;
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

TEST(EffectsUnit, LiftsHighsByTenDecibelsAndLeavesLowsAlone)
{
    struct Case {
        double rate, hz, gainDb, tolerance;
    };
    constexpr Case kCases[] = {
        {48000.0, 100.0, 0.0, 0.01},
        {44100.0, 1000.0, 0.0, 0.05},
        {96000.0, 12000.0, 5.0, 0.02},
        {192000.0, 12000.0, 5.0, 0.02},
        {48000.0, 12000.0, 5.0, 0.05},
        {44100.0, 21000.0, 10.0, 0.1},
        {96000.0, 40000.0, 10.0, 0.4},
        // Where 12 kHz is too near half the rate or beyond, the middle comes down.
        {22050.0, 10528.0, 5.0, 0.05},
        {8000.0, 3820.0, 5.0, 0.05},

    };
    for (const auto& [rate, hz, gainDb, tolerance] : kCases) {
        EffectsUnit unit;
        unit.SetSampleRate(rate);
        Block block(8192);
        block.left = Tone(hz, rate, 8192);
        block.right = block.left;
        const double before = AmplitudeAt(std::span(block.left).last(4096), hz, rate);
        block.Through(unit);
        EXPECT_NEAR(
            20.0 * std::log10(AmplitudeAt(std::span(block.left).last(4096), hz, rate) / before),
            gainDb, tolerance)
            << hz << " Hz at " << rate;
        EXPECT_EQ(block.left, block.right);
    }
}

TEST(EffectsUnit, SoundsToTheBitLikeThePlainReading)
{
    struct Case {
        double rate;
        float highestFeedback, tolerance;
    };
    // From a feedback of about 0.66 on the loop's gain may have to be held, and below 25 kHz the
    // shelf's frequency: other roundings.
    constexpr Case kCases[] = {
        {32000.0, 0.65f, 0.0f},  {44100.0, 0.65f, 0.0f}, {48000.0, 0.65f, 0.0f},
        {192000.0, 0.65f, 0.0f}, {44100.0, 1.0f, 3e-3f}, {8000.0, 0.65f, 3e-3f},
    };
    for (const auto& [rate, highestFeedback, tolerance] : kCases) {
        EffectsUnit unit;
        unit.SetSampleRate(rate);
        ScalarEffects plain(rate);
        CNoise noise;
        const auto random = [&] { return noise.Between(0.0f, 1.0f); };
        float widest = 0.0f;
        for (int change = 0; change < 60; ++change) {
            const ScalarEffectSettings settings{
                random() < 0.8f, random() < 0.8f, random(), random(), random() * highestFeedback,
                random(),        random() * 0.5f, random(), random(), random(),
                random(),        random()};
            const double tempo = noise.Between(40.0f, 3000.0f);
            Apply(unit, settings);
            unit.SetTempo(tempo);
            plain.Follow(settings, tempo);
            for (int blocks = noise.Below(80); blocks >= 0; --blocks) {
                Block block(1 + noise.Below(100));
                block.Fill(noise, 0.5f);
                Block same = block;
                block.Through(unit);
                same.Through(plain);
                widest = std::max(widest, block.Difference(same));
            }
        }
        EXPECT_LE(widest, tolerance) << rate;
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
        CNoise noise;
        for (const float tolerance : {dropped, roundings}) {
            float widest = 0.0f;
            for (int i = 0; i < 15000; ++i) { // a second of noise, 19 of silence
                Block block(64);
                if (i < 800)
                    block.Fill(noise, 0.5f);
                Block same = block;
                block.Through(unit);
                same.Through(plain);
                widest = std::max(widest, block.Difference(same));
                ASSERT_FALSE(i < 1000 && unit.IsSilent());
            }
            EXPECT_TRUE(unit.IsSilent());
            EXPECT_LT(widest, tolerance) << lowCut;
        }
    }
}

TEST(EffectsUnit, IsFiniteAgainAtOnceWhateverComesIn)
{
    for (const float absurd : {kNaN, -kNaN, kInfinity, -kInfinity, 3e38f, -1e20f}) {
        EffectsUnit unit;
        unit.SetSampleRate(48000.0);
        Apply(unit, kEverything);
        unit.SetTempo(960.0);
        EffectsUnit spared; // gets silence instead
        spared.SetSampleRate(48000.0);
        Apply(spared, kEverything);
        spared.SetTempo(960.0);
        CNoise noise;
        for (int i = 0; i < 2000; ++i) {
            Block block(64);
            block.Fill(noise, 0.5f);
            Block without = block;
            if (i % 500 == 250) {
                block.left[7] = block.right[9] = absurd;
                without.left[7] = without.right[9] = 0.0f;
            }
            block.Through(unit);
            without.Through(spared);
            ASSERT_EQ(block.left, without.left) << absurd << ", block " << i;
            ASSERT_EQ(block.right, without.right) << absurd << ", block " << i;
        }
    }
}

TEST(EffectsUnit, StaysFiniteAndWithinItsTapesWhateverTheSettings)
{
    CNoise noise;
    const auto anything = [&]() -> float {
        switch (noise.Below(8)) {
        case 0:
            return kNaN;
        case 1:
            return noise.Below(2) != 0 ? kInfinity : -kInfinity;
        case 2:
            return noise.Between(-3.0f, 3.0f);
        default:
            return noise.Between(0.0f, 1.0f);
        }
    };
    for (int round = 0; round < 20; ++round) {
        EffectsUnit unit;
        unit.SetTempo(static_cast<double>(noise.Between(-1.0f, 300.0f)));
        constexpr double kRates[] = {8000.0, 11025.0, 44100.0, 48000.0, 96000.0, 384000.0};
        for (int change = 0; change < 150; ++change) {
            if (change % 50 == 0) // nothing but the same again for the last three
                for (const double rate :
                     {kRates[noise.Below(6)], 0.0, -1.0, 1e300, static_cast<double>(anything())})
                    unit.SetSampleRate(rate);
            const ScalarEffectSettings settings{
                noise.Below(10) != 0, noise.Below(10) != 0, anything(), anything(),
                anything(),           anything(),           anything(), anything(),
                anything(),           anything(),           anything(), anything()};
            Apply(unit, settings);
            const float tempos[] = {anything(), noise.Between(0.0f, 300.0f),
                                    noise.Between(0.0f, 100000.0f), 1e-30f};
            unit.SetTempo(static_cast<double>(tempos[noise.Below(4)]));
            if (noise.Below(40) == 0)
                unit.Reset();
            for (int blocks = noise.Below(8); blocks >= 0; --blocks) {
                Block block(noise.Below(200));
                block.Fill(noise, noise.Below(3) == 0 ? 0.0f : 1.0f);
                if (noise.Below(5) == 0 && !block.left.empty())
                    block.left[0] = anything() * 1e30f;
                block.Through(unit);
                ASSERT_TRUE(block.IsFinite());
            }
        }
    }
}

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

} // namespace keldra
