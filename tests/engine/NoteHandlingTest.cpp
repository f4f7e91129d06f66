#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
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
    CTestSynth()
    {
        for (int i = 0; i < 64; ++i) {
            voices.push_back(std::make_unique<CPatientVoice>(patch_));
            AppendVoice(*voices.back());
        }
        SetPolyphony(16);
        SetSampleRate(kRate);
    }
    /// A key for each number, down, or up when it is negative; and what else the words say.
    void Play(const std::string& script)
    {
        std::istringstream steps(script);
        for (std::string step; steps >> step;)
            if (step == "pedal")
                Control(64, 1); // anything but 0
            else if (step == "lift")
                Control(64, 0);
            else if (step == "reset")
                Control(121, 0);
            else if (step == "off")
                Control(123, 0);
            else if (step == "mono" || step == "poly")
                SetMonophonic(step == "mono");
            else if (step == "arp" || step == "noarp")
                SetArpeggiatorOn(step == "arp");
            else if (step == "rate")
                SetSampleRate(0.0);
            else if (const int key = std::stoi(step); key > 0)
                MidiNoteOn(key, 100);
            else
                MidiNoteOff(-key, 0);
    }
    void Control(int controller, int value) { MidiControlChange(controller, value); }
    float ControllerValue(int controller) const { return Controller(controller); }

    /// The keys of the voices up to the last that plays; '-' for free ones, '~' behind released
    /// ones.
    std::string Playing() const
    {
        std::string keys, free;
        for (const auto& voice : voices) {
            if (voice->IsFree()) {
                free += "- ";
                continue;
            }
            keys += free + std::to_string(voice->note) + (voice->released ? "~ " : " ");
            free.clear();
        }
        return keys.substr(0, keys.find_last_not_of(' ') + 1);
    }
    using CSynthesizer::patch_;
    using CSynthesizer::SetGlideMode;
    using CSynthesizer::SetGlideTime;
    using CSynthesizer::SetPolyphony;
    using CSynthesizer::SetUnisonCount;

    std::vector<std::unique_ptr<CPatientVoice>> voices;
};

} // namespace

TEST(NoteHandling, ChoosesReleasesAndStealsVoices)
{
    struct Case {
        const char* what;
        int polyphony, unison;
        const char *played, *sounding;
    };
    constexpr Case kCases[] = {
        {"the oldest is stolen when all are held", 3, 1, "60 62 64 65", "65 62 64"},
        {"the longest released before any held", 3, 1, "60 62 64 -64 -62 65", "60 65 64~"},
        {"a voice for each of the unison, up to the polyphony", 4, 8, "60", "60 60 60 60"},
        {"all of which are let go", 4, 8, "60 -60", "60~ 60~ 60~ 60~"},

        {"the pedal holds what is let go", 16, 1, "pedal 64 60 67 -64 -60", "64 60 67"},
        {"until it comes up", 16, 1, "pedal 64 60 67 -64 -60 lift", "64~ 60~ 67"},
        {"a reset of controllers lets go of nothing", 16, 1, "pedal 60 -60 reset", "60"},
        {"but of the pedal", 16, 1, "pedal 60 -60 reset 62 -62", "60 62~"},
        {"all notes off", 16, 1, "pedal 60 72 off", "60~ 72~"},
        {"leaves the pedal down", 16, 1, "pedal 60 off 62 -62", "60~ 62"},

        {"one voice plays legato", 16, 1, "mono 60 64", "64"},
        {"and goes back to the key that is held", 16, 1, "mono 60 64 -64", "60"},
        {"until none is", 16, 1, "mono 60 64 -64 -60", "60~"},
        {"no voice plays the first key any more", 16, 1, "mono 67 69 -67", "69"},

        {"another mode lets go of all", 16, 1, "pedal 60 72 arp", "60~ 72~"},
        {"in the new mode already", 16, 1, "pedal 60 72 mono", "72~ 72~"},
        {"the same mode of nothing", 16, 1, "60 72 poly noarp", "60 72"},
        {"another rate frees all", 16, 1, "60 72 rate", ""},
    };
    for (const auto& [what, polyphony, unison, played, sounding] : kCases) {
        CTestSynth synth;
        synth.SetPolyphony(polyphony);
        synth.SetUnisonCount(unison);
        synth.Play(played);
        EXPECT_EQ(synth.Playing(), sounding) << what;
        for (int key = 0; key < kKeyCount; ++key)
            EXPECT_EQ(synth.Keys().voiceCount[static_cast<std::size_t>(key)],
                      std::ranges::count_if(synth.voices,
                                            [=](const auto& voice) { return voice->note == key; }))
                << what;
    }
}

TEST(NoteHandling, CountsTheUnisonVoicesThatAreAskedFor)
{
    for (const auto& [asked, counted] : {std::pair{8, 8}, {100, 64}}) {
        CTestSynth synth;
        synth.SetPolyphony(4);
        synth.SetUnisonCount(asked);
        synth.Play("60");
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(synth.voices[k]->unisonIndex, static_cast<int>(k));
            EXPECT_EQ(synth.voices[k]->unisonCount, counted) << "the spread is that of all";
        }
    }
}

TEST(NoteHandling, GlidesFromWhereAtTheRateThatItIsTold)
{
    struct Case {
        const char* what;
        bool onlyHeld, fixedTime;
        const char* before;
        int key;
        float from;
        double semitonesPerSecond; ///< of internal samples counted as frames
    };
    constexpr Case kCases[] = {
        {"nothing held: no glide, though a note went before", true, false, "48 -48", 62, 62, 24},
        {"the nearest held key; of two the lower", true, false, "48 -48 60 64", 62, 60, 24},
        {"the nearest held key", true, false, "48 -48 60 64", 63, 64, 24},
        {"always from the last note", false, false, "48 -48", 62, 48, 24},
        {"which a legato went back to", false, false, "mono 60 64 -64 -60", 67, 60, 24},
        {"as fast over more", false, false, "48", 84, 48, 24},
        {"as long over more", false, true, "48", 84, 48, 72},
        {"as long downwards", false, true, "84", 60, 84, 48},
    };
    for (const auto& [what, onlyHeld, fixedTime, before, key, from, semitonesPerSecond] : kCases) {
        CTestSynth synth;
        synth.SetGlideTime(0.5f);
        synth.SetGlideMode(onlyHeld, fixedTime);
        synth.Play(std::string(before) + " " + std::to_string(key));
        const CVoiceGenerator& voice = **std::ranges::find_if(
            synth.voices, [key = key](const auto& one) { return one->note == key; });
        EXPECT_EQ(voice.glidePitch, from) << what;
        EXPECT_NEAR(voice.glideRate * kRate, semitonesPerSecond, 1e-3) << what;
    }
    CTestSynth quick;
    quick.SetGlideTime(0.0001f);
    quick.SetGlideMode(false, false);
    quick.Play("48 60");
    EXPECT_EQ(quick.voices[1]->glidePitch, 60.0f) << "below a millisecond there is no glide";
}

TEST(NoteHandling, GlidesLegatoWithoutStrikingAgain)
{
    CTestSynth synth;
    synth.SetGlideTime(0.5f);
    synth.Play("mono 60");
    synth.voices[0]->velocity = 0.9f;
    synth.Play("64");
    EXPECT_EQ(synth.voices[0]->starts, 1);
    EXPECT_EQ(synth.voices[0]->velocity, 0.9f);
    EXPECT_EQ(synth.voices[0]->glidePitch, 60.0f);
    synth.Play("-64 -60 67");
    EXPECT_EQ(synth.voices[0]->starts, 2);
}

TEST(NoteHandling, ResetsControllers)
{
    CTestSynth synth;
    for (const int controller : {1, 7, 10, 64})
        synth.Control(controller, 100);
    synth.Play("reset");
    EXPECT_EQ(synth.ControllerValue(1), 0.0f);
    EXPECT_EQ(synth.ControllerValue(7), 1.0f);
    EXPECT_EQ(synth.ControllerValue(10), 0.5f);
    EXPECT_EQ(synth.patch_.modWheel, 0.0f);
}

// Controller 10 at its left end leaves the right channel, as on a mixer wired crosswise.
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
