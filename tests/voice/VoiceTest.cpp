#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "tests/voice/VoiceRig.h"
#include "voice/VoiceRender.h"

namespace keldra {

namespace {

constexpr int kTestKey = 57; // 220 Hz

/// The left channel of a voice that has settled: its second half second, or so.
std::vector<float> Settled(CVoiceRig& rig, double seconds = 0.5)
{
    rig.Render(rig.Samples(0.5));
    return rig.Render(rig.Samples(seconds)).left;
}

double Midpoint(const std::vector<float>& sound)
{
    const auto [low, high] = std::minmax_element(sound.begin(), sound.end());
    return (static_cast<double>(*low) + *high) / 2.0;
}

struct Row {
    const char* what;
    void (*arrange)(CVoiceRig&);
    double expected;
};

void HearB(CVoiceRig& rig)
{
    rig.Set(rig.patch.oscBalance, 1.0f);
}

/// An LFO that stands still at 1.
void HoldLfo(CVoiceRig& rig, int destination, float amount)
{
    rig.lfo.shape = CVoiceLfo::kPulse;
    rig.lfo.rate = 0.0;
    rig.patch.lfoDestination = destination;
    rig.Set(rig.patch.lfoAmount, amount);
}

/// A modulation envelope that stands still at 1, half a second after the start.
void HoldEnvelope(CVoiceRig& rig, int destination, float amount)
{
    rig.patch.eg = {0.001f, 0.1f, 1.0f, 0.1f};
    rig.patch.egDestination = destination;
    rig.Set(rig.patch.egAmount, amount);
}

void HoldWheel(CVoiceRig& rig, int destination, float amount, float wheel = 1.0f)
{
    rig.patch.modWheelDestination = destination;
    rig.Set(rig.patch.modWheelAmount, amount);
    rig.patch.modWheel = wheel;
}

void PlaceInUnison(CVoiceRig& rig, int index, int count)
{
    rig.Voice(0).unisonIndex = static_cast<std::int8_t>(index);
    rig.Voice(0).unisonCount = static_cast<std::int8_t>(count);
}

} // namespace

TEST(Voice, SoundsAtThePitchThatEverythingAddsUpTo)
{
    constexpr Row kRows[] = {
        {"note 57", [](CVoiceRig&) {}, 220.0},
        {"tuned an octave and a half down", [](CVoiceRig& r) { r.patch.masterTune = -18; }, 77.78},
        {"bent half way", [](CVoiceRig& r) { r.patch.bend = -0.5f, r.patch.bendRange = 2; },
         207.65},
        {"drifted", [](CVoiceRig& r) { r.Voice(0).drift = -0.5f; }, 213.74},
        {"offset by the host", [](CVoiceRig& r) { r.keys.pitchOffset[kTestKey] = 7; }, 329.63},
        {"octaver, alone", [](CVoiceRig& r) { r.patch.octaver = true; }, 220.0},
        {"octaver, second of two",
         [](CVoiceRig& r) {
             r.patch.octaver = true, r.patch.unisonDetune = 0, PlaceInUnison(r, 1, 2);
         },
         440.0},
        {"first of two in unison",
         [](CVoiceRig& r) { r.patch.unisonDetune = 2, PlaceInUnison(r, 0, 2); }, 207.65},
        {"fourth of five in unison",
         [](CVoiceRig& r) { r.patch.unisonDetune = 2, PlaceInUnison(r, 3, 5); }, 226.45},
        {"oscillator B",
         [](CVoiceRig& r) {
             HearB(r), r.patch.pitchBSemitones = 7, r.patch.detuneBSemitones = 0.5f;
         },
         339.29},
        {"EG to A, whole semitones", [](CVoiceRig& r) { HoldEnvelope(r, kEgToPitchA, 0.33f); },
         329.63},
        {"EG to A, downwards", [](CVoiceRig& r) { HoldEnvelope(r, kEgToPitchA, -0.5f); }, 110.0},
        {"EG to A doesn't move B",
         [](CVoiceRig& r) { HearB(r), HoldEnvelope(r, kEgToPitchA, 0.5f); }, 220.0},
        {"EG to A and B moves B",
         [](CVoiceRig& r) { HearB(r), HoldEnvelope(r, kEgToPitchAB, 0.5f); }, 440.0},
        {"LFO to A, by the fourth power", [](CVoiceRig& r) { HoldLfo(r, kLfoToPitchA, 0.5f); },
         239.91},
        {"LFO to A, downwards", [](CVoiceRig& r) { HoldLfo(r, kLfoToPitchA, -0.5f); }, 201.74},
        {"LFO to A and B moves B", [](CVoiceRig& r) { HearB(r), HoldLfo(r, kLfoToPitchAB, 1.0f); },
         880.0},
        {"wheel to A, by the third power",
         [](CVoiceRig& r) { HoldWheel(r, kWheelToPitchA, -0.5f); }, 184.997},
        {"wheel as LFO depth",
         [](CVoiceRig& r) {
             HoldLfo(r, kLfoToPitchA, 1.0f);
             HoldWheel(r, kWheelToLfoDepth, 0.5f, 0.5f);
         },
         311.13},
        {"wheel at rest silences the LFO",
         [](CVoiceRig& r) {
             HoldLfo(r, kLfoToPitchA, 1.0f);
             HoldWheel(r, kWheelToLfoDepth, 1.0f, 0.0f);
         },
         220.0},
        {"held at half the internal rate",
         [](CVoiceRig& r) {
             r.patch.masterTune = 130;
             r.patch.filterMode = kHighPass; // the others have no gain there
         },
         176400.0},
    };
    for (const auto& [what, arrange, hz] : kRows) {
        CVoiceRig rig(44100.0);
        arrange(rig);
        rig.Start(0, kTestKey);
        EXPECT_NEAR(FrequencyOf(Settled(rig), rig.InternalRate()), hz, hz * 1e-4) << what;
    }
}

TEST(Voice, HasPulsesFromOnePercentToASquare)
{
    constexpr Row kRows[] = {
        {"width 0", [](CVoiceRig&) {}, 0.01},
        {"width 1", [](CVoiceRig& r) { r.Set(r.patch.pulseWidthA, 1.0f); }, 0.5},
        {"half", [](CVoiceRig& r) { r.Set(r.patch.pulseWidthA, 0.5f); }, 0.255},
        {"B", [](CVoiceRig& r) { HearB(r), r.Set(r.patch.pulseWidthB, 0.8f); }, 0.402},
        {"EG, beyond the limit", [](CVoiceRig& r) { HoldEnvelope(r, kEgToWidthA, -0.7f); }, 0.01},
        {"EG to A and B moves B",
         [](CVoiceRig& r) { HearB(r), HoldEnvelope(r, kEgToWidthAB, 0.5f); }, 0.255},
        {"LFO and wheel add up",
         [](CVoiceRig& r) {
             HoldLfo(r, kLfoToWidthA, 0.25f);
             HoldWheel(r, kWheelToWidthA, 0.5f, 0.5f);
         },
         0.255},
        {"wheel to A and B moves B",
         [](CVoiceRig& r) { HearB(r), HoldWheel(r, kWheelToWidthAB, 0.5f); }, 0.255},
    };
    for (const auto& [what, arrange, high] : kRows) {
        CVoiceRig rig(44100.0);
        rig.patch.shapeA = rig.patch.shapeB = 1.0f;
        arrange(rig);
        rig.Start(0, 33);
        const std::vector<float> sound = Settled(rig, 20.0 / 55.0);
        const double middle = Midpoint(sound);
        const auto above =
            std::count_if(sound.begin(), sound.end(), [middle](float x) { return x > middle; });
        EXPECT_NEAR(static_cast<double>(above) / static_cast<double>(sound.size()), high, 0.003)
            << what;
    }
}

TEST(Voice, MixesSyncsAndRingsItsOscillators)
{
    struct Part {
        const char* what;
        void (*arrange)(CVoiceRig&);
        double hz;
        bool heard;
    };
    // A at 330 Hz, B at 220 Hz
    constexpr Part kParts[] = {
        {"A alone: A", [](CVoiceRig&) {}, 330.0, true},
        {"A alone: no B", [](CVoiceRig&) {}, 220.0, false},
        {"B alone: B", HearB, 220.0, true},
        {"B alone: no A", HearB, 330.0, false},
        {"synced: A in B's period", [](CVoiceRig& r) { r.patch.sync = true; }, 220.0, true},
        {"synced: nothing at A's own", [](CVoiceRig& r) { r.patch.sync = true; }, 330.0, false},
        {"ring: the difference", [](CVoiceRig& r) { r.patch.ring = true; }, 110.0, true},
        {"ring: the sum", [](CVoiceRig& r) { r.patch.ring = true; }, 550.0, true},
        {"no ring: no sum", [](CVoiceRig&) {}, 550.0, false},
        {"noise alone: no tone", [](CVoiceRig& r) { r.Set(r.patch.noiseBalance, 1.0f); }, 330.0,
         false},
    };
    for (const auto& [what, arrange, hz, heard] : kParts) {
        CVoiceRig rig(44100.0);
        arrange(rig);
        rig.patch.pitchBSemitones = -7.01955f; // a just fifth: periods that fit the stretch
        rig.Start(0, 64);
        rig.keys.pitchOffset[64] = 0.01955f;
        const std::vector<float> sound = Settled(rig);
        const double level = Decibels(AmplitudeAt(sound, hz, rig.InternalRate()) / Rms(sound));
        if (heard)
            EXPECT_GT(level, -20.0) << what;
        else
            EXPECT_LT(level, -30.0) << what;
    }
}

TEST(Voice, StandsWhereUnisonPanAndHostPutIt)
{
    struct Place {
        const char* what;
        void (*arrange)(CVoiceRig&);
        double left, right; ///< relative to a voice in the middle
    };
    constexpr Place kPlaces[] = {
        {"in the middle", [](CVoiceRig&) {}, 1.0, 1.0},
        {"first of three, spread",
         [](CVoiceRig& r) { r.patch.unisonPan = 1.0f, PlaceInUnison(r, 0, 3); }, 0.0, 1.0},
        {"third of three, half spread",
         [](CVoiceRig& r) { r.patch.unisonPan = 0.5f, PlaceInUnison(r, 2, 3); }, 1.0, 0.5},
        {"LFO to the left", [](CVoiceRig& r) { HoldLfo(r, kLfoToPan, 1.0f); }, 2.0, 0.0},
        {"LFO half to the right", [](CVoiceRig& r) { HoldLfo(r, kLfoToPan, -0.5f); }, 0.5, 1.5},
        {"gains of the host",
         [](CVoiceRig& r) { r.keys.leftGain[kTestKey] = 0.25f, r.keys.rightGain[kTestKey] = 2.0f; },
         0.25, 2.0},
        {"soft", [](CVoiceRig& r) { r.Voice(0).velocity = 0.5f; }, 0.5, 0.5},
    };
    const auto levels = [](CVoiceRig& rig) {
        rig.Start(0, kTestKey, rig.Voice(0).velocity);
        rig.Render(rig.Samples(0.3));
        const StereoSound sound = rig.Render(rig.Samples(0.1));
        return std::pair(Rms(sound.left), Rms(sound.right));
    };
    CVoiceRig middleRig(44100.0);
    middleRig.Voice(0).velocity = 1.0f;
    const auto middle = levels(middleRig);
    for (const auto& [what, arrange, left, right] : kPlaces) {
        CVoiceRig rig(44100.0);
        rig.Voice(0).velocity = 1.0f;
        rig.patch.unisonDetune = 0.0f;
        arrange(rig);
        const auto here = levels(rig);
        EXPECT_NEAR(here.first / middle.first, left, 0.002) << what;
        EXPECT_NEAR(here.second / middle.second, right, 0.002) << what;
    }
}

TEST(Voice, GlidesToItsNoteAndNoFurther)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    struct Glide {
        const char* what;
        float from, rate, afterThousand, inTheEnd;
    };
    constexpr Glide kGlides[] = {
        {"up", 48.0f, 0.001f, 49.0f, 60.0f},      {"down", 72.0f, 0.001f, 71.0f, 60.0f},
        {"at once", 72.0f, 99.0f, 60.0f, 60.0f},  {"there already", 60.0f, 0.5f, 60.0f, 60.0f},
        {"no number", 72.0f, kNan, 60.0f, 60.0f}, {"from nowhere", kNan, 0.001f, 60.0f, 60.0f},
    };
    for (const auto& [what, from, rate, afterThousand, inTheEnd] : kGlides) {
        CVoiceRig rig(44100.0);
        rig.Start(0, 60);
        rig.Voice(0).glidePitch = from;
        rig.Voice(0).glideRate = rate;
        rig.Render(1000, 500);
        EXPECT_NEAR(rig.Voice(0).glidePitch, afterThousand, 0.001f) << what;
        rig.Render(30000);
        EXPECT_EQ(rig.Voice(0).glidePitch, inTheEnd) << what;
    }
}

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

} // namespace keldra
