#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "tests/voice/VoiceRig.h"
#include "voice/EnvelopeGenerator.h"
#include "voice/VoiceLfo.h"

namespace keldra {

namespace {

constexpr int kTestKey = 57; // 220 Hz

/// Of 55 Hz, key 33.
double Harmonic(CVoiceRig& rig, int number)
{
    rig.Start(0, 33, 0.5f);
    rig.Render(rig.Samples(0.2));
    const std::vector<float> sound = rig.Render(rig.Samples(10.0 / 55.0)).left;
    return AmplitudeAt(sound, number * 55.0, rig.InternalRate());
}

/// A knob position that puts the cutoff there.
float KnobFor(double cutoffHz)
{
    return static_cast<float>((std::log2(cutoffHz) - 6.0) / 10.0 / 1.1);
}

double GainDb(int mode, double cutoffHz, int harmonic)
{
    CVoiceRig open(44100.0);
    const double whole = Harmonic(open, harmonic);
    CVoiceRig rig(44100.0);
    rig.patch.filterMode = mode;
    rig.Set(rig.patch.cutoff, KnobFor(cutoffHz));
    return Decibels(Harmonic(rig, harmonic) / whole);
}

/// How often an LFO's values, one a millisecond, rise through their middle.
int RisesOf(CVoiceLfo& lfo, double seconds, double tempo)
{
    std::vector<float> values;
    for (int i = 0; i < std::lround(seconds * 1000.0); ++i)
        values.push_back(lfo.Process(48000.0, tempo, 48));
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    const float middle = (*low + *high) / 2.0f;
    int rises = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        rises += values[i - 1] < middle && values[i] >= middle;
    return rises;
}

} // namespace

TEST(Voice, FreesItselfAfterItsReleaseAndIsSilentFromThenOn)
{
    CVoiceRig rig(44100.0);
    rig.keys.leftGain.fill(0.0f); // two that nobody hears, to have a group
    rig.keys.rightGain.fill(0.0f);
    rig.keys.leftGain[72] = 1.0f;
    rig.Start(0, 60);
    rig.Start(1, 61);
    rig.Start(2, 72);
    EXPECT_GT(Rms(rig.Render(rig.Samples(0.1)).left), 0.01);
    rig.Release(2);
    rig.patch.rebuildActiveList = false;
    EXPECT_GT(Rms(rig.Render(rig.Samples(0.04)).left), 0.001); // of 0.05 s
    EXPECT_FALSE(rig.Voice(2).IsFree());
    rig.Render(rig.Samples(0.02));
    EXPECT_TRUE(rig.Voice(2).IsFree());
    EXPECT_TRUE(rig.patch.rebuildActiveList);
    EXPECT_EQ(rig.keys.voiceCount[72], 0);
    EXPECT_EQ(rig.keys.voiceCount[60], 1);
    EXPECT_EQ(Rms(rig.Render(rig.Samples(0.1)).left), 0.0);

    rig.Start(2, 72); // it sounds again as before
    EXPECT_GT(Rms(rig.Render(rig.Samples(0.1)).left), 0.01);
    rig.Voice(2).PrepareBlock(512); // which must not come to sound any more
    rig.Reset(2);
    EXPECT_EQ(Rms(rig.Render(rig.Samples(0.1)).left), 0.0);
}

TEST(Voice, SettlesAroundZeroThoughItsMixHasAnOffset)
{
    CVoiceRig rig(44100.0);
    rig.Start(0, kTestKey);
    rig.Render(rig.Samples(1.0));
    const std::vector<float> sound = rig.Render(rig.Samples(1.0)).left;
    double mean = 0.0;
    for (const float sample : sound)
        mean += sample / static_cast<double>(sound.size());
    EXPECT_LT(std::fabs(mean), 0.001 * Rms(sound));
}

TEST(Voice, SoundsAgainAsSoonAsValuesAreSane)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr double kWide = std::numeric_limits<double>::quiet_NaN();
    struct Poison {
        const char* what;
        void (*spoil)(CVoiceRig&);
    };
    constexpr Poison kPoisons[] = {
        {"gain", [](CVoiceRig& r) { r.keys.leftGain[60] = kNan; }},
        {"endless gain", [](CVoiceRig& r) { r.keys.leftGain[60] = kInfinity; }},
        {"huge gain", [](CVoiceRig& r) { r.keys.leftGain[60] = -3e38f; }},
        {"pitch", [](CVoiceRig& r) { r.keys.pitchOffset[60] = kNan; }},
        {"endless pitch", [](CVoiceRig& r) { r.keys.pitchOffset[60] = kInfinity; }},
        {"no pitch", [](CVoiceRig& r) { r.keys.pitchOffset[60] = -kInfinity; }},
        {"cutoff", [](CVoiceRig& r) { r.keys.cutoffOffset[60] = kNan; }},
        {"endless cutoff", [](CVoiceRig& r) { r.keys.cutoffOffset[60] = kInfinity; }},
        {"resonance", [](CVoiceRig& r) { r.keys.resonanceOffset[60] = kInfinity; }},
        {"tempo", [](CVoiceRig& r) { r.patch.tempo = kWide, r.lfo.sync = 4.0; }},
        {"rate", [](CVoiceRig& r) { r.patch.internalRate = kWide; }},
        {"no rate", [](CVoiceRig& r) { r.patch.internalRate = 0.0; }},
        {"slow rate", [](CVoiceRig& r) { r.patch.internalRate = 8.0; }},
        {"fast rate", [](CVoiceRig& r) { r.patch.internalRate = 1e30; }},
        {"smoothing", [](CVoiceRig& r) { r.patch.gainSmoothing = kNan; }},
        {"much smoothing", [](CVoiceRig& r) { r.patch.gainSmoothing = 1e9f; }},
        {"levels", [](CVoiceRig& r) { r.patch.noiseBalance.smoothed = kNan; }},
        {"balance", [](CVoiceRig& r) { r.patch.oscBalance.smoothed = kInfinity; }},
        {"widths", [](CVoiceRig& r) { r.patch.pulseWidthA.smoothed = kNan; }},
        {"amounts", [](CVoiceRig& r) { r.patch.egAmount.smoothed = kInfinity; }},
        {"tuning", [](CVoiceRig& r) { r.patch.masterTune = 1e30f; }},
        {"glide", [](CVoiceRig& r) { r.Voice(0).glidePitch = kInfinity; }},
        {"velocity", [](CVoiceRig& r) { r.Voice(0).velocity = kNan; }},
    };
    const auto arrange = [](CVoiceRig& rig) {
        rig.patch.shapeA = 1.0f;
        rig.patch.resonance = 0.7f;
        rig.Set(rig.patch.cutoff, 0.5f);
        rig.patch.egDestination = kEgToPitchAB;
        rig.patch.lfoDestination = kLfoToPan;
        rig.Set(rig.patch.lfoAmount, 0.1f);
    };
    for (const auto& [what, spoil] : kPoisons) {
        CVoiceRig rig(44100.0);
        arrange(rig);
        rig.Start(0, 60);
        rig.Render(65536);
        const double before = Rms(rig.Render(8192).left);
        const VoicePatch patch = rig.patch;
        const KeyTables keys = rig.keys;
        const float velocity = rig.Voice(0).velocity;
        spoil(rig);
        rig.Render(1024);
        rig.patch = patch;
        rig.keys = keys;
        rig.Voice(0).velocity = velocity;
        rig.Render(512);
        EXPECT_TRUE(IsFinite(rig.Render(65536).left)) << what;
        const double after = Rms(rig.Render(8192).left);
        EXPECT_NEAR(Decibels(after / before), 0.0, 3.0) << what;
    }
}

// Measured through the voice: a saw has all harmonics, and without resonance what enters the ladder
// doesn't depend on the cutoff, so its gain is the ratio of a harmonic to the same with it open.
TEST(Filter, HasFourPolesInEachOfItsModes)
{
    struct Case {
        const char* what;
        int mode;
        double cutoffHz;
        int harmonic; ///< of 55 Hz
        double gainDb;
    };
    // Each stage's corner is at 0.573 of the cutoff.
    constexpr Case kCases[] = {
        {"low-pass, far below", kLowPass, 8192.0, 2, 0.0},
        {"low-pass at the corner", kLowPass, 960.0, 10, -12.0},
        {"low-pass, an octave above it", kLowPass, 960.0, 20, -28.0},
        {"low-pass, three octaves above it", kLowPass, 960.0, 80, -71.8},
        {"band-pass, three octaves below", kBandPass, 7680.0, 10, -8.8},
        {"band-pass at its peak", kBandPass, 1662.0, 10, -0.3},
        {"band-pass, two octaves above the corner", kBandPass, 960.0, 40, -27.6},
        {"high-pass, two octaves below the corner", kHighPass, 3840.0, 10, -0.6},
        {"high-pass, far above", kHighPass, 240.0, 40, 0.0},
        {"high-pass, far below", kHighPass, 15360.0, 2, -26.1},
    };
    for (const auto& [what, mode, cutoffHz, harmonic, gainDb] : kCases)
        EXPECT_NEAR(GainDb(mode, cutoffHz, harmonic), gainDb, 0.7) << what;
}

TEST(Filter, OscillatesByItselfAtFullResonanceOnly)
{
    struct Case {
        double hostRate, cutoffHz;
    };
    constexpr Case kCases[] = {{44100.0, 512.0}, {22050.0, 300.0}, {96000.0, 1024.0}};
    for (const auto& [hostRate, cutoffHz] : kCases) {
        const auto spread = [&, hostRate = hostRate, cutoffHz = cutoffHz](float resonance) {
            CVoiceRig rig(hostRate);
            rig.Set(rig.patch.noiseBalance, 1.0f); // something to begin with
            rig.Set(rig.patch.cutoff, KnobFor(cutoffHz));
            rig.patch.resonance = resonance;
            rig.Start(0, 60);
            rig.Render(rig.Samples(0.5));
            const std::vector<float> sound = rig.Render(rig.Samples(1.0)).left;
            const double hz = FrequencyOf(sound, rig.InternalRate());
            return std::pair(hz, Decibels(AmplitudeAt(sound, hz, rig.InternalRate()) / Rms(sound)));
        };
        const auto [hz, tone] = spread(1.0f);
        EXPECT_NEAR(hz / cutoffHz, 0.57, 0.06);
        EXPECT_GT(tone, 0.0);
        EXPECT_LT(spread(0.1f).second, -10.0);
    }
}

TEST(Lfo, RunsAtItsRateOrInTimeWithTheHost)
{
    struct Case {
        const char* what;
        double hz, sixteenths, tempo;
        int cyclesInTenSeconds;
    };
    constexpr double kTempo = 120.0;
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
        EXPECT_NEAR(RisesOf(lfo, 10.0, tempo), cycles, cycles > 0 ? 1 : 0) << what;
        lfo.SetSync(0.0);
        lfo.SetRate(10.0);
        EXPECT_NEAR(RisesOf(lfo, 1.0, kTempo), 10, 1) << what; // no trace of it
    }
}

TEST(Envelope, TakesAMillisecondAtLeastAndOutlivesNonsense)
{
    using Shape = CEnvelopeGenerator::Shape;
    constexpr double kRate = 48000.0;
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    for (const double seconds : {0.0, -1.0, 0.0005, kNan}) {
        CEnvelopeGenerator envelope;
        envelope.Trigger(Shape{seconds, 0.1, 1.0, 0.1, 0.0, 0.0, 0.0}, kRate, 1.0);
        EXPECT_NEAR(envelope.Process(24), 0.5f, 0.01f) << seconds;
        EXPECT_NEAR(envelope.Process(24), 1.0f, 0.01f) << seconds;
    }
    CEnvelopeGenerator envelope;
    envelope.Trigger(Shape{0.1, kNan, kNan, 0.1, 0.0, kNan, 0.0}, kNan, kNan);
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(std::isfinite(envelope.Process(8)));
    envelope.BeginRelease();
    for (int i = 0; i < 1200; ++i)
        envelope.Process(8);
    EXPECT_TRUE(envelope.IsFinished());
}

} // namespace keldra
