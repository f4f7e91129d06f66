#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <span>

#include "reference/ScalarSynth.h"
#include "tests/Listening.h"
#include "tests/engine/SynthRig.h"
#include "tests/frame/TestRenderer.h"

namespace keldra::test {

namespace {

CTestDefinition definition;

#ifdef KELDRA_SANITIZED
constexpr unsigned kLastPiece = 8; // each as slow as five
#else
constexpr unsigned kLastPiece = 20;
#endif

bool AllFinite(const Stereo& out)
{
    return std::isfinite(Peak(out.left)) && std::isfinite(Peak(out.right));
}

/// Of a note, once it is in full swing.
double PitchHz(const Stereo& note, double rate)
{
    return FrequencyHz(std::span(note.left).subspan(note.left.size() / 4), rate);
}

/// A low sound without much above the fundamental.
void SetDullSound(CSynthRig& rig)
{
    rig.Set("Flt. Cutoff", "25 %");
    rig.Set("Amp. Attack", "1 ms");
    rig.Settle();
}

} // namespace

TEST(Synth, PlaysTheRightPitchAtEveryRate)
{
    struct Case {
        double rate;
        int key;
        const char* parameter;
        const char* value;
        double hz;
    };
    constexpr Case kCases[] = {
        {22050.0, 57, "Transpose", "0", 220.0},    {44100.0, 69, "Transpose", "0", 440.0},
        {192000.0, 45, "Transpose", "+12", 220.0}, {48000.0, 57, "Transpose", "-7", 146.832},
        {48000.0, 57, "Fine Tune", "50", 226.446},
    };
    for (const auto& [rate, key, parameter, value, hz] : kCases) {
        CSynthRig rig(rate);
        rig.Set(parameter, value);
        SetDullSound(rig);
        rig.Press(key);
        const Stereo out = rig.Render(static_cast<int>(rate));
        // Each note drifts down by up to 0.02 semitones, which is 0.12 %.
        EXPECT_NEAR(PitchHz(out, rate), hz * 0.9994, hz * 0.0007) << rate << " " << key;
    }
    CSynthRig bent;
    bent.synth.SetParameter(kBendRange, 11.0f); // an octave
    SetDullSound(bent);
    bent.Press(57);
    bent.Midi(0xE0, 0x7F, 0x7F);
    EXPECT_NEAR(PitchHz(bent.Render(48000), 48000.0), 440.0, 0.6);

    for (const auto& [amount, key] : {std::pair{"100 %", 33}, {"50 %", 45}, {"-100 %", 81}}) {
        CSynthRig swept;
        swept.Set("EG Dest", "Frq AB");
        SetDullSound(swept);
        swept.Set("EG Amount", amount); // while it plays: it arrives as exactly as at first
        swept.Render(48000);
        swept.Press(key);
        EXPECT_NEAR(PitchHz(swept.Render(48000), 48000.0), 219.87, 0.15) << amount;
    }
}

// The plain scalar reading of the whole road from note to output, against the real thing with its
// kernel, its grouping and its decimator, for the same division into render calls. What differs is
// rounding. (By -78 dB in piece 2: it may move the edge of a wave by a sample.)
TEST(Synth, AgreesWithTheScalarReadingInPiecesOfChance)
{
    struct Case {
        double rate;
        int blockFrames;
    };
    constexpr Case kCases[] = {{44100.0, 64}, {48000.0, 24}, {22050.0, 64},
                               {96000.0, 64}, {44100.0, 1},  {192000.0, 37}};
    for (unsigned piece = 3; piece <= kLastPiece; ++piece) {
        const auto& [rate, blockFrames] = kCases[piece % std::size(kCases)];
        std::mt19937 random(piece);
        SeedAsLoaded();
        CSynthRig rig(rate);
        ScalarSynth scalar(rate);
        const auto changeProgram = [&] {
            for (int index = 0; index < kHostParameterCount; ++index) {
                float value = static_cast<float>(random() % 1001) / 1000.0f;
                const EForm form = RowOf(index).form;
                if ((form == EForm::Switch || form == EForm::Selector) && random() % 2 == 0)
                    value = 0.0f;
                if (index == kFilterCutoff)
                    value = 0.25f + 0.75f * value; // or else there isn't much to be heard
                if (index == kFilterResonance)
                    value *= 0.6f; // by itself it would oscillate, where roundings count
                if (index == kAmpAttack || index == kAmpRelease)
                    value *= 0.35f; // voices are heard, and end
                if (scalar.Follow(index, value))
                    rig.synth.SetParameter(index, value);
            }
        };
        changeProgram();
        rig.Settle();
        scalar.JumpSmoothed();
        rig.synth.SetParameter(kPolyphony, 63.0f);
        if (piece % 2 == 0) {
            rig.synth.SetParameter(kUnisonVoices, 2.0f);
            scalar.unisonCount = 3;
        }

        // A bass note, then a chord over it, then all let go; one voice, groups of four, none.
        struct Event {
            int call, key, velocity;
        };
        const int calls = static_cast<int>(rate * 1.5) / blockFrames;
        const Event kEvents[] = {
            {0, 36, 100},           {calls / 6, 60, 80},     {calls / 5, 64, 127},
            {calls / 4, 67, 30},    {calls / 3, 71, 99},     {calls / 2, 36, 0},
            {calls / 2, 60, 0},     {calls * 2 / 3, 64, 0},  {calls * 2 / 3, 67, 0},
            {calls * 2 / 3, 71, 0}, {calls * 8 / 10, 48, 64}};
        double signal = 0.0;
        double error = 0.0;
        std::vector<float> left(static_cast<std::size_t>(blockFrames)), right = left;
        for (int call = 0; call < calls; ++call) {
            for (const auto& [at, key, velocity] : kEvents)
                if (at == call) {
                    rig.Midi(0x90, key, velocity);
                    velocity > 0 ? scalar.NoteOn(key, velocity) : scalar.NoteOff(key);
                    rig.Midi(0xB0, 1, key); // the wheel moves with each note
                    scalar.patch.modWheel = static_cast<float>(key) / 127.0f;
                }
            if (call == calls / 3 + 1)
                changeProgram(); // glides to the new one
            const Stereo out = rig.Render(blockFrames, blockFrames);
            scalar.Render(left.data(), right.data(), blockFrames);
            for (std::size_t i = 0; i < left.size(); ++i) {
                signal += std::pow(static_cast<double>(left[i]), 2.0) +
                          std::pow(static_cast<double>(right[i]), 2.0);
                error += std::pow(static_cast<double>(left[i] - out.left[i]), 2.0) +
                         std::pow(static_cast<double>(right[i] - out.right[i]), 2.0);
            }
        }
        ASSERT_GT(signal, 1.0) << piece;
        EXPECT_LT(10.0 * std::log10(error / signal + 1e-30), -80.0) << piece;
    }
}

TEST(Synth, ComesBackFromWhateverWasStored)
{
    for (const float nonsense :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
          -std::numeric_limits<float>::infinity(), 1e30f, -1e30f, 1e-42f, 5.0f}) {
        CSynthRig rig;
        rig.Press(48);
        rig.Press(60);
        rig.Render(4800);
        for (int index = 0; index < 159; ++index)
            rig.synth.SetParameter(index, nonsense);
        rig.synth.SetTempo(static_cast<double>(nonsense));
        rig.synth.SetSongPosition(static_cast<double>(nonsense));
        rig.synth.SetTransportPlaying(true);
        rig.Press(62);
        rig.Midi(0xC0, 5, 0);
        EXPECT_TRUE(AllFinite(rig.Render(9600))) << nonsense;
        for (int index = 0; index < kParameterCount; ++index) {
            const float stored = rig.synth.GetParameter(index);
            EXPECT_EQ(std::memcmp(&stored, &nonsense, sizeof stored), 0) << index;
        }

        rig.synth.ResetProgram();
        rig.synth.SetTempo(120.0);
        rig.Settle();
        rig.Press(57);
        const Stereo out = rig.Render(48000);
        EXPECT_TRUE(AllFinite(out)) << nonsense;
        EXPECT_GT(Rms(out.left), 0.01) << nonsense;
        EXPECT_LT(Rms(out.left), 1.0) << nonsense;
    }
}

TEST(Synth, KeepsTheWholeProgramInItsState)
{
    CSynthRig rig;
    for (int index = 0; index < kParameterCount; ++index)
        rig.synth.SetParameter(index, static_cast<float>(index) / 155.0f);
    rig.synth.SetProgramName("Bright.old");
    std::array<std::byte, kStateSize> block;
    EXPECT_EQ(rig.synth.GetChunk(block.data()), 692);
    struct Case {
        const char* what;
        int size;
        bool accepted;
        const char* name;
    };
    constexpr Case kCases[] = {{"whole", 692, true, "Bright.old"},
                               {"all values, no name", 631, true, "<noname>"},
                               {"the last value cut off", 627, false, "<noname>"},
                               {"nothing", 0, false, "<noname>"}};
    for (const auto& [what, size, accepted, name] : kCases) {
        CSynthRig other;
        other.synth.SetParameter(kGain, 0.9f);
        other.synth.SetParameter(kFirstControllerLink + 9, 74.0f);
        const std::vector<std::byte> part(block.begin(), block.begin() + size);
        EXPECT_EQ(other.synth.SetChunk(part.data(), size), accepted) << what;
        std::array<char, 64> text;
        other.synth.GetProgramName(text);
        EXPECT_STREQ(text.data(), name) << what;
        for (int index = 0; index < kHostParameterCount; ++index)
            EXPECT_EQ(other.synth.GetParameter(index),
                      size > 0 ? rig.synth.GetParameter(index) : TableDefault(index))
                << what << index;
        EXPECT_EQ(other.synth.GetLink(9), size > 0 ? rig.synth.GetLink(9) : 74) << what;
    }
    block[0] = std::byte{0}; // of another kind: the defaults, but the links stay
    EXPECT_FALSE(rig.synth.SetChunk(block.data(), 692));
    EXPECT_EQ(rig.synth.GetParameter(kPolyphony), 15.0f);
    EXPECT_EQ(rig.synth.GetParameter(kLastControllerLink), 154.0f / 155.0f);
}

TEST(Synth, DrivesLinkedParametersFromControllers)
{
    CSynthRig rig;
    rig.synth.SetParameter(kFirstControllerLink + kFilterCutoff, 74.0f);
    rig.synth.SetParameter(kFirstControllerLink + kGain, 74.0f);
    rig.synth.SetParameter(kFirstControllerLink + kOscAShape, 64.0f); // the pedal never fires
    rig.Midi(0xB0, 74, 64);
    rig.Midi(0xB0, 64, 127);
    rig.Midi(0xB0, 7, 100); // nobody learns the volume
    rig.Render(64);
    using Reports = std::vector<std::pair<int, float>>;
    EXPECT_EQ(rig.wrapper.automated,
              (Reports{{kGain, 64.0f / 127.0f}, {kFilterCutoff, 64.0f / 127.0f}}));
    EXPECT_FLOAT_EQ(rig.synth.GetParameter(kFilterCutoff), 64.0f / 127.0f);
    EXPECT_EQ(rig.synth.GetParameter(kOscAShape), 0.0f);
    EXPECT_EQ(rig.synth.Feedback().LastController(), 64);
    std::vector<int> moved;
    rig.synth.Feedback().TakeChangedParameters([&](int index) { moved.push_back(index); });
    EXPECT_EQ(moved, (std::vector<int>{kGain, kFilterCutoff}));

    // Reset of all controllers sends each its resting value.
    rig.wrapper.automated.clear();
    rig.Midi(0xB0, 121, 0);
    rig.Render(64);
    EXPECT_EQ(rig.wrapper.automated, (Reports{{kGain, 0.0f}, {kFilterCutoff, 0.0f}}));

    rig.synth.ResetProgram();
    EXPECT_EQ(rig.synth.GetLink(kFilterCutoff), 74) << "links stay when a program is reset";
    rig.synth.ClearAllLinks();
    EXPECT_EQ(rig.synth.GetLink(kFilterCutoff), -1);
    EXPECT_EQ(rig.synth.GetParameter(kFirstControllerLink + kFilterCutoff), -1.0f);
    rig.wrapper.automated.clear();
    rig.Midi(0xB0, 74, 1);
    rig.Render(64);
    EXPECT_TRUE(rig.wrapper.automated.empty());
}

TEST(Synth, StoresInTheOrderOfTheHostWhatItIsToldBetweenTwoBlocks)
{
    CSynthRig rig;
    rig.synth.SwitchProcessing(true);
    rig.synth.SetParameter(kFirstControllerLink + kFilterCutoff, 1.0f);
    rig.synth.SetParameter(kFirstControllerLink + kUnisonPan, 74.0f);
    rig.Render(64);
    const auto queue = [&] { // of each two: what the first moves isn't newer than the second
        for (const float wheel : {0.6f, 0.3f})
            rig.synth.SetParameter(kModWheelValue, wheel);
        for (const std::uint8_t value : {std::uint8_t{64}, std::uint8_t{32}})
            EXPECT_TRUE(rig.synth.PostMidi({0xB0, 74, value, 0}));
    };
    queue();
    rig.synth.SetParameter(kFilterCutoff, 0.9f);
    rig.synth.SetParameter(kUnisonPan, 0.8f);
    rig.Render(64);
    EXPECT_EQ(rig.synth.GetParameter(kFilterCutoff), 0.9f);
    EXPECT_EQ(rig.synth.GetParameter(kUnisonPan), 0.8f);
    EXPECT_TRUE(rig.wrapper.automated.empty()) << "the host has told it something newer";

    std::array<std::byte, kStateSize> state;
    rig.synth.GetChunk(state.data());
    rig.synth.SetParameter(kUnisonPan, 0.1f);
    queue();
    rig.synth.SetChunk(state.data(), kStateSize);
    rig.Render(64);
    EXPECT_EQ(rig.synth.GetParameter(kUnisonPan), 0.8f);

    queue(); // last, they count
    rig.Render(64);
    EXPECT_EQ(rig.synth.GetParameter(kFilterCutoff), 0.3f);
    EXPECT_EQ(rig.synth.GetParameter(kUnisonPan), 32.0f / 127.0f);

    // More than the queue holds: a wheel at rest moves nothing.
    rig.synth.SetParameter(kFilterCutoff, 0.7f);
    for (int i = 0; i < 2 * CEngineChanges::kCapacity; ++i)
        rig.synth.SetParameter(kGain, static_cast<float>(i % 100) / 100.0f);
    rig.Render(64);
    EXPECT_EQ(rig.synth.GetParameter(kFilterCutoff), 0.7f);
}

TEST(Synth, LetsGoInMonoWhatWasPlayedInMonoBetweenTwoBlocks)
{
    CSynthRig rig;
    rig.synth.SwitchProcessing(true);
    rig.synth.SetParameter(kFirstControllerLink + kUnisonPan, 1.0f);
    rig.synth.SetParameter(kMonophonic, 1.0f);
    rig.synth.SetParameter(kModWheelValue, 0.3f);
    for (const std::uint8_t key : {std::uint8_t{60}, std::uint8_t{64}})
        EXPECT_TRUE(rig.synth.PostMidi({0x90, key, 100, 0}));
    rig.synth.SetParameter(kMonophonic, 0.0f);
    rig.Render(64);
    int sounding = 0;
    for (const int count : rig.synth.Keys().voiceCount)
        sounding += count;
    EXPECT_EQ(sounding, 1);
}

// The host tells the song position once a block.
TEST(Synth, GatesTheSameInLongBlocksAsInShortOnes)
{
    const auto render = [](int blockFrames) {
        SeedAsLoaded();
        CSynthRig rig;
        rig.Set("Gate Mix", "100 %");
        rig.Set("Gate Step Length", "1/16");
        rig.Settle();
        rig.synth.SetTransportPlaying(true);
        rig.Press(57);
        std::vector<float> sound;
        for (int at = 0; at < 96000; at += blockFrames) {
            rig.synth.SetSongPosition(at / 24000.0);
            const Stereo block = rig.Render(blockFrames, blockFrames);
            sound.insert(sound.end(), block.left.begin(), block.left.end());
        }
        return sound;
    };
    const std::vector<float> sound = render(64);
    for (std::size_t step = 0; step < 5; ++step) // of 6000 frames; every second one is on
        EXPECT_EQ(Rms(std::span(sound).subspan(step * 6000 + 3000, 2900)) > 1e-3, step % 2 == 0)
            << step;
    const std::vector<float> same = render(6400);
    for (std::size_t i = 0; i < sound.size(); ++i)
        ASSERT_NEAR(sound[i], same[i], 1e-3f) << i;
}

} // namespace keldra::test
