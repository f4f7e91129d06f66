#include <gtest/gtest.h>
#include <limits>

#include "tests/Listening.h"
#include "tests/voice/VoiceRig.h"

namespace keldra {

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

// Bindings and engine limit what they hand over. Should they fail to, a voice recovers: a row for
// each way into phases, glide, filter and gains.
TEST(Voice, SoundsAgainAsSoonAsValuesAreSane)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    struct Poison {
        const char* what;
        void (*spoil)(CVoiceRig&);
    };
    constexpr Poison kPoisons[] = {
        {"gain", [](CVoiceRig& r) { r.keys.leftGain[60] = kNan; }},
        {"pitch", [](CVoiceRig& r) { r.keys.pitchOffset[60] = kInfinity; }},
        {"tempo", [](CVoiceRig& r) { r.patch.tempo = kNan, r.lfo.sync = 4.0; }},
        {"much smoothing", [](CVoiceRig& r) { r.patch.gainSmoothing = 1e9f; }},
        {"glide", [](CVoiceRig& r) { r.Voice(0).glidePitch = kInfinity; }},
    };
    for (const auto& [what, spoil] : kPoisons) {
        CVoiceRig rig(44100.0);
        rig.patch.shapeA = 1.0f;
        rig.patch.resonance = 0.7f;
        rig.Set(rig.patch.cutoff, 0.5f);
        rig.patch.egDestination = kEgToPitchAB;
        rig.patch.lfoDestination = kLfoToPan;
        rig.Set(rig.patch.lfoAmount, 0.1f);
        rig.Start(0, 60);
        rig.Render(65536);
        const double before = Rms(rig.Render(8192).left);
        const VoicePatch patch = rig.patch;
        const KeyTables keys = rig.keys;
        spoil(rig);
        rig.Render(1024);
        rig.patch = patch;
        rig.keys = keys;
        rig.Render(512);
        rig.Render(65536);
        EXPECT_NEAR(Rms(rig.Render(8192).left) / before, 1.0, 0.3) << what;
    }
}

} // namespace keldra
