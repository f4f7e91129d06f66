#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "engine/Synthesizer.h"
#include "tests/frame/TestRenderer.h"
#include "voice/VoiceGenerator.h"

namespace keldra::test {

namespace {

CTestDefinition definition;

constexpr double kRate = 48000.0;

/// A voice that stays in its release until it is stolen, and counts its starts.
class CPatientVoice final : public CVoiceGenerator {
public:
    using CVoiceGenerator::CVoiceGenerator;
    void Start() override { ++starts; }
    void Release() override {}
    int starts = 0;
};

class CTestSynth final : public CSynthesizer {
public:
    explicit CTestSynth(int voiceCount = 64, int polyphony = 16)
    {
        for (int i = 0; i < voiceCount; ++i) {
            voices.push_back(std::make_unique<CPatientVoice>(patch_));
            AppendVoice(*voices.back());
        }
        SetPolyphony(polyphony);
        SetSampleRate(kRate);
    }
    void Press(int key, int velocity = 100) { MidiNoteOn(key, velocity); }
    void Release(int key) { MidiNoteOff(key, 0); }
    void Control(int controller, int value) { MidiControlChange(controller, value); }
    float ControllerValue(int controller) const { return Controller(controller); }

    /// The sounding keys of the first voices, '-' for free ones, '~' behind released ones.
    std::string Playing(std::size_t count = 4) const
    {
        std::string keys;
        for (std::size_t i = 0; i < count; ++i) {
            keys += voices[i]->IsFree() ? "-" : std::to_string(voices[i]->note);
            keys += !voices[i]->IsFree() && voices[i]->released ? "~ " : " ";
        }
        keys.pop_back();
        return keys;
    }
    using CSynthesizer::driftAmount_;
    using CSynthesizer::patch_;
    using CSynthesizer::SetArpeggiatorOn;
    using CSynthesizer::SetGlideMode;
    using CSynthesizer::SetGlideTime;
    using CSynthesizer::SetMonophonic;
    using CSynthesizer::SetPolyphony;
    using CSynthesizer::SetUnisonCount;

    std::vector<std::unique_ptr<CPatientVoice>> voices;
};

} // namespace

TEST(NoteHandling, StealsTheOldestVoiceWhenAllAreHeld)
{
    CTestSynth synth;
    for (int key = 40; key < 57; ++key)
        synth.Press(key);
    EXPECT_EQ(synth.voices[0]->note, 56) << "the 17th key takes the first key's voice";
    EXPECT_EQ(synth.voices[1]->note, 41);
    EXPECT_TRUE(synth.voices[16]->IsFree()) << "polyphony is 16";
    EXPECT_EQ(synth.Keys().voiceCount[40], 0);
    EXPECT_EQ(synth.Keys().voiceCount[56], 1);
}

TEST(NoteHandling, StealsTheLongestReleasedVoiceBeforeAnySounding)
{
    CTestSynth synth(64, 3);
    synth.Press(60);
    synth.Press(62);
    synth.Press(64);
    synth.Release(64);
    synth.Release(62);
    EXPECT_EQ(synth.Playing(3), "60 62~ 64~");
    synth.Press(65);
    EXPECT_EQ(synth.Playing(3), "60 65 64~") << "62 was started before 64";
}

TEST(NoteHandling, StartsOneVoicePerUnisonVoiceButNoMoreThanPolyphony)
{
    CTestSynth synth(64, 4);
    synth.SetUnisonCount(8);
    synth.Press(60);
    EXPECT_EQ(synth.Playing(5), "60 60 60 60 -");
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(synth.voices[k]->unisonIndex, static_cast<int>(k));
        EXPECT_EQ(synth.voices[k]->unisonCount, 8) << "the spread counts the voices asked for";
    }
    synth.Release(60);
    EXPECT_EQ(synth.Playing(4), "60~ 60~ 60~ 60~");
    CTestSynth few(2, 64);
    few.SetUnisonCount(16);
    few.Press(60);
    EXPECT_EQ(few.voices[1]->unisonCount, 2) << "limited to the voices there are";
}

TEST(NoteHandling, GivesAllUnisonVoicesOneDriftBelowThePitch)
{
    CTestSynth synth;
    synth.driftAmount_ = 0.01f;
    synth.SetUnisonCount(2);
    float least = 0.0f;
    float greatest = -1.0f;
    for (int i = 0; i < 200; ++i) {
        synth.Press(60);
        for (std::size_t k = 0; k < 16; k += 2)
            EXPECT_EQ(synth.voices[k]->drift, synth.voices[k + 1]->drift);
        least = std::min(least, synth.voices[0]->drift);
        greatest = std::max(greatest, synth.voices[0]->drift);
    }
    EXPECT_GE(least, -0.02f);
    EXPECT_LT(least, -0.015f);
    EXPECT_LE(greatest, 0.0f);
    EXPECT_GT(greatest, -0.005f);
}

TEST(NoteHandling, GlidesFromHeldKeysOnlyWhenToldSo)
{
    struct Case {
        const char* what;
        bool onlyHeld;
        std::vector<int> held;
        int key;
        float from;
    };
    const Case kCases[] = {
        {"nothing held: no glide, though a note went before", true, {}, 62, 62},
        {"the nearest held key; of two the lower", true, {60, 64}, 62, 60},
        {"the nearest held key", true, {60, 64}, 63, 64},
        {"always from the last note", false, {}, 62, 48},
    };
    for (const auto& [what, onlyHeld, held, key, from] : kCases) {
        CTestSynth synth;
        synth.SetGlideTime(0.5f);
        synth.SetGlideMode(onlyHeld, false);
        synth.Press(48);
        synth.Release(48);
        for (const int other : held)
            synth.Press(other);
        synth.Press(key);
        EXPECT_EQ(synth.voices[1 + held.size()]->glidePitch, from) << what;
    }
}

TEST(NoteHandling, GlidesWithConstantRateOrInConstantTime)
{
    struct Case {
        bool fixedTime;
        int from, to;
        double semitonesPerSecond; ///< of internal samples counted as frames
    };
    for (const auto& [fixedTime, from, to, rate] :
         {Case{false, 48, 60, 24.0}, Case{false, 48, 84, 24.0}, Case{true, 48, 60, 24.0},
          Case{true, 48, 84, 72.0}, Case{true, 84, 60, 48.0}}) {
        CTestSynth synth;
        synth.SetGlideTime(0.5f);
        synth.SetGlideMode(false, fixedTime);
        synth.Press(from);
        synth.Press(to);
        EXPECT_NEAR(synth.voices[1]->glideRate * kRate, rate, 1e-3) << from << " to " << to;
    }
    CTestSynth quick;
    quick.SetGlideTime(0.0001f);
    quick.SetGlideMode(false, false);
    quick.Press(48);
    quick.Press(60);
    EXPECT_EQ(quick.voices[1]->glidePitch, 60.0f) << "below a millisecond there is no glide";
}

TEST(NoteHandling, PlaysLegatoWithOneVoice)
{
    CTestSynth synth;
    synth.SetMonophonic(true);
    synth.SetGlideTime(0.5f);
    synth.Press(60, 127);
    EXPECT_EQ(synth.voices[0]->velocity, 1.0f);
    synth.Press(64, 20);
    EXPECT_EQ(synth.Playing(), "64 - - -");
    EXPECT_EQ(synth.voices[0]->starts, 1) << "it glides, and is not struck again";
    EXPECT_EQ(synth.voices[0]->velocity, 1.0f);
    EXPECT_EQ(synth.voices[0]->glidePitch, 60.0f);
    synth.Release(64);
    EXPECT_EQ(synth.Playing(), "60 - - -") << "back to the key that is still held";
    synth.Release(60);
    EXPECT_EQ(synth.Playing(), "60~ - - -");
    synth.Press(67);
    EXPECT_EQ(synth.voices[0]->starts, 2);
    synth.Press(69);
    synth.Release(67); // no voice plays it any more
    EXPECT_EQ(synth.Playing(), "69 - - -");
}

TEST(NoteHandling, SustainsUntilThePedalComesUp)
{
    CTestSynth synth;
    synth.Control(64, 1); // anything but 0
    synth.Press(64);
    synth.Press(60);
    synth.Press(67);
    synth.Release(64);
    synth.Release(60);
    EXPECT_EQ(synth.Playing(3), "64 60 67");
    synth.Control(64, 0);
    EXPECT_EQ(synth.Playing(3), "64~ 60~ 67") << "the key that a finger holds goes on";
}

TEST(NoteHandling, ResetsControllersWithoutLettingGoOfSustainedKeys)
{
    CTestSynth synth;
    synth.Control(1, 100);
    synth.Control(7, 3);
    synth.Control(64, 127);
    synth.Press(60);
    synth.Release(60);
    synth.Control(121, 0);
    EXPECT_EQ(synth.Playing(1), "60");
    EXPECT_EQ(synth.ControllerValue(64), 0.0f);
    EXPECT_EQ(synth.ControllerValue(1), 0.0f);
    EXPECT_EQ(synth.ControllerValue(7), 1.0f);
    EXPECT_EQ(synth.ControllerValue(10), 0.5f);
    EXPECT_EQ(synth.patch_.modWheel, 0.0f);
}

TEST(NoteHandling, LetsGoOfEverythingOnAllNotesOffAndWhenThePlayModeChanges)
{
    for (const auto& what : {"all notes off", "monophonic", "arpeggiator", "rate"}) {
        CTestSynth synth;
        synth.Control(64, 127);
        synth.Press(60);
        synth.Press(72);
        synth.SetMonophonic(false); // as it is already: nothing happens
        synth.SetArpeggiatorOn(false);
        EXPECT_EQ(synth.Playing(2), "60 72") << what;
        if (std::string_view(what) == "all notes off")
            synth.Control(123, 0);
        else if (std::string_view(what) == "monophonic")
            synth.SetMonophonic(true);
        else if (std::string_view(what) == "arpeggiator")
            synth.SetArpeggiatorOn(true);
        else
            synth.SetSampleRate(0.0);
        // In the new mode already, the first key let go passes its voice to the one still held.
        EXPECT_EQ(synth.Playing(2), std::string_view(what) == "rate"         ? "- -"
                                    : std::string_view(what) == "monophonic" ? "72~ 72~"
                                                                             : "60~ 72~")
            << what;
        EXPECT_EQ(synth.ControllerValue(64), 1.0f) << "the pedal stays down";
    }
}

TEST(NoteHandling, PansByControllerTenAndFollowsTheVolume)
{
    struct Case {
        int volume, pan;
        float left, right;
    };
    for (const auto& [volume, pan, left, right] :
         {Case{127, 0, 0.0f, 0.5f}, Case{127, 127, 0.5f, 0.0f}, Case{0, 64, 0.0f, 0.0f},
          Case{127, 32, 0.252f, 0.5f}, Case{64, 96, 0.252f, 0.123f}}) {
        CTestSynth synth;
        synth.Control(7, volume);
        synth.Control(10, pan);
        EXPECT_NEAR(synth.OutputGain(0), left, 1e-3f) << pan;
        EXPECT_NEAR(synth.OutputGain(1), right, 1e-3f) << pan;
    }
}

} // namespace keldra::test
