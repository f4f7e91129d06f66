// The ladder, measured through the voice: a saw has all harmonics, and without resonance what
// enters the ladder doesn't depend on the cutoff, so the ladder's gain is the ratio of a harmonic
// to the same harmonic with the filter open.

#include <cmath>
#include <gtest/gtest.h>

#include "tests/voice/VoiceRig.h"

namespace keldra {

namespace {

/// Of 55 Hz, key 33, unless another key is played.
double Harmonic(CVoiceRig& rig, int number, int key = 33, float velocity = 0.5f)
{
    const double pitch = 55.0 * std::exp2((key - 33) / 12.0);
    rig.Start(0, key, velocity);
    rig.Render(rig.Samples(0.2));
    const std::vector<float> sound = rig.Render(rig.Samples(10.0 / 55.0)).left;
    return AmplitudeAt(sound, number * pitch, rig.InternalRate());
}

/// A knob position that puts the cutoff there.
float KnobFor(double cutoffHz)
{
    return static_cast<float>((std::log2(cutoffHz) - 6.0) / 10.0 / 1.1);
}

double GainDb(double hostRate, int mode, double cutoffHz, int harmonic)
{
    CVoiceRig open(hostRate);
    const double whole = Harmonic(open, harmonic);
    CVoiceRig rig(hostRate);
    rig.patch.filterMode = mode;
    rig.Set(rig.patch.cutoff, KnobFor(cutoffHz));
    return Decibels(Harmonic(rig, harmonic) / whole);
}

} // namespace

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
        for (const double hostRate : {44100.0, 192000.0})
            EXPECT_NEAR(GainDb(hostRate, mode, cutoffHz, harmonic), gainDb, 0.7)
                << what << " at " << hostRate;
}

TEST(Filter, FollowsKeyVelocityAndModulation)
{
    struct Case {
        const char* what;
        void (*arrange)(CVoiceRig&);
        int key;
        float velocity;
        double gainDb; ///< of the tenth harmonic, against the same without
    };
    // At the corner a tenth of the cutoff scale, an octave, is worth 16 dB downwards, 8.1 upwards.
    constexpr Case kCases[] = {
        {"nothing", [](CVoiceRig&) {}, 33, 0.5f, 0.0},
        {"keys below the centre close it", [](CVoiceRig& r) { r.patch.keyTracking = 1.0f; }, 44,
         0.5f, -16.1},
        {"and above it open it", [](CVoiceRig& r) { r.patch.keyTracking = 1.0f; }, 68, 0.5f, 8.2},
        {"velocity in the middle", [](CVoiceRig& r) { r.patch.velocityTracking = 1.0f; }, 33, 0.5f,
         0.0},
        {"loud", [](CVoiceRig& r) { r.patch.velocityTracking = 0.4f; }, 33, 1.0f, 8.2},
        {"the host", [](CVoiceRig& r) { r.keys.cutoffOffset[33] = -0.1f; }, 33, 0.5f, -16.0},
        {"wheel by its square",
         [](CVoiceRig& r) { r.Set(r.patch.modWheelAmount, 0.5f), r.patch.modWheel = 0.4f; }, 33,
         0.5f, 8.2},
        {"LFO downwards",
         [](CVoiceRig& r) {
             r.lfo.shape = CVoiceLfo::kPulse;
             r.lfo.rate = 0.0;
             r.Set(r.patch.lfoAmount, -0.316228f);
         },
         33, 0.5f, -16.0},
        {"envelope downwards",
         [](CVoiceRig& r) {
             r.patch.eg = {0.005f, 0.01f, 1.0f, 1.0f};
             r.Set(r.patch.egAmount, -0.316228f);
         },
         33, 0.5f, -16.0},
    };
    for (const auto& [what, arrange, key, velocity, gainDb] : kCases) {
        const double pitch = 55.0 * std::exp2((key - 33) / 12.0);
        const auto arranged = [&, prepare = arrange, note = key, strength = velocity](bool with) {
            CVoiceRig rig(44100.0);
            rig.Set(rig.patch.cutoff, KnobFor(pitch * 10.0 / 0.573));
            if (with)
                prepare(rig);
            return Harmonic(rig, 10, note, strength);
        };
        EXPECT_NEAR(Decibels(arranged(true) / arranged(false)), gainDb, 0.7) << what;
    }
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

} // namespace keldra
