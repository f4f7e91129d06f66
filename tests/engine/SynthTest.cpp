#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

#include "tests/engine/SynthRig.h"
#include "tests/frame/TestRenderer.h"
#include "tests/reference/ScalarSynth.h"

namespace keldra::test {

namespace {

CTestDefinition definition;

double Rms(const std::vector<float>& signal, std::size_t from = 0)
{
    double sum = 0.0;
    for (std::size_t i = from; i < signal.size(); ++i)
        sum += static_cast<double>(signal[i]) * static_cast<double>(signal[i]);
    return std::sqrt(sum / static_cast<double>(signal.size() - from));
}

bool AllFinite(const Stereo& out)
{
    const auto finite = [](float x) { return std::isfinite(x); };
    return std::all_of(out.left.begin(), out.left.end(), finite) &&
           std::all_of(out.right.begin(), out.right.end(), finite);
}

/// Frequency by the spacing of upward zero crossings, which one-note low-passed sounds have one of
/// in a period.
double FrequencyHz(const std::vector<float>& signal, double rate)
{
    double first = -1.0;
    double last = -1.0;
    int periods = -1;
    for (std::size_t i = signal.size() / 4; i + 1 < signal.size(); ++i)
        if (signal[i] < 0.0f && signal[i + 1] >= 0.0f) {
            const double at = static_cast<double>(i) +
                              static_cast<double>(-signal[i] / (signal[i + 1] - signal[i]));
            if (first < 0.0)
                first = at;
            last = at;
            ++periods;
        }
    return periods > 0 ? periods * rate / (last - first) : 0.0;
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
        {22050.0, 57, nullptr, nullptr, 220.0},    {44100.0, 69, nullptr, nullptr, 440.0},
        {48000.0, 45, nullptr, nullptr, 110.0},    {96000.0, 57, nullptr, nullptr, 220.0},
        {192000.0, 57, nullptr, nullptr, 220.0},   {48000.0, 57, "Transpose", "+12", 440.0},
        {48000.0, 57, "Transpose", "-7", 146.832}, {48000.0, 57, "Fine Tune", "50", 226.446},
    };
    for (const auto& [rate, key, parameter, value, hz] : kCases) {
        CSynthRig rig(rate);
        if (parameter != nullptr)
            rig.Set(parameter, value);
        SetDullSound(rig);
        rig.Press(key);
        const Stereo out = rig.Render(static_cast<int>(rate));
        // Each note drifts down by up to 0.02 semitones, which is 0.12 %.
        EXPECT_NEAR(FrequencyHz(out.left, rate), hz * 0.9994, hz * 0.0007) << rate << " " << key;
    }
    CSynthRig bent;
    bent.synth.SetParameter(kBendRange, 11.0f); // an octave
    SetDullSound(bent);
    bent.Press(57);
    bent.Midi(0xE0, 0x7F, 0x7F);
    EXPECT_NEAR(FrequencyHz(bent.Render(48000).left, 48000.0), 440.0, 0.6);

    for (const auto& [amount, key] : {std::pair{"100 %", 33}, {"50 %", 45}, {"-100 %", 81}}) {
        CSynthRig swept;
        swept.Set("EG Dest", "Frq AB");
        SetDullSound(swept);
        swept.Set("EG Amount", amount); // while it plays: it arrives as exactly as at first
        swept.Render(48000);
        swept.Press(key);
        EXPECT_NEAR(FrequencyHz(swept.Render(48000).left, 48000.0), 219.87, 0.15) << amount;
    }
}

// The plain scalar reading of the whole road from note to output, against the real thing with its
// kernel, its grouping and its decimator, for the same division into render calls.
TEST(Synth, AgreesWithTheScalarReading)
{
    struct Case {
        const char* what;
        double rate;
        int blockFrames;
        std::vector<std::pair<const char*, const char*>> settings;
    };
    const Case kCases[] = {
        {"defaults", 44100.0, 64, {}},
        {"pulses through the band-pass",
         48000.0,
         64,
         {{"OscA Shape", "Pulse"},
          {"OscB Shape", "Pulse"},
          {"OscB Pitch", "7"},
          {"OscB Detune", "12"},
          {"Osc Balance", "40 %"},
          {"OscA PW", "30 %"},
          {"Filter Mode", "BP"},
          {"Flt. Cutoff", "50 %"},
          {"Flt. Reso", "60 %"}}},
        {"sync and ring, swept by the envelope",
         48000.0,
         24,
         {{"OscA Sync", "On"},
          {"OscA Ring", "On"},
          {"EG Dest", "Frq A"},
          {"EG Amount", "60 %"},
          {"EG Decay", "400 ms"},
          {"EG Sustain", "20 %"},
          {"Osc Balance", "30 %"}}},
        {"noise through the high-pass",
         22050.0,
         64,
         {{"Noise Balance", "60 %"}, {"Filter Mode", "HP"}, {"Flt. Cutoff", "60 %"}}},
        {"LFO on the cutoff, resonance high",
         96000.0,
         64,
         {{"LFO Dest", "Cutoff"},
          {"LFO Amount", "60 %"},
          {"LFO Rate", "5 Hz"},
          {"Flt. Cutoff", "40 %"},
          {"Flt. Reso", "90 %"},
          {"Flt. KbdTrk", "50 %"},
          {"Flt. VelTrk", "70 %"}}},
        {"random LFO on the pan, one frame a call",
         44100.0,
         1,
         {{"LFO Dest", "Pan"},
          {"LFO Shape", "Random"},
          {"LFO Amount", "80 %"},
          {"LFO Rate", "9 Hz"}}},
        {"an odd division", 192000.0, 37, {{"OscA Shape", "Pulse"}, {"Flt. Cutoff", "70 %"}}},
    };
    for (const auto& [what, rate, blockFrames, settings] : kCases) {
        SeedAsLoaded();
        CSynthRig rig(rate);
        // Not a whole number of render calls at any of the rates: the last bit of a time must not
        // decide in which call a voice ends.
        rig.Set("Amp. Release", "83 ms");
        for (const auto& [name, text] : settings)
            rig.Set(name, text);
        rig.Settle();

        ScalarSynth scalar(rate);
        for (int index = 0; index < kHostParameterCount; ++index)
            scalar.Follow(index, rig.synth.GetParameter(index));
        scalar.JumpSmoothed();

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
                }
            const Stereo out = rig.Render(blockFrames, blockFrames);
            scalar.Render(left.data(), right.data(), blockFrames);
            for (std::size_t i = 0; i < left.size(); ++i) {
                signal += std::pow(static_cast<double>(left[i]), 2.0) +
                          std::pow(static_cast<double>(right[i]), 2.0);
                error += std::pow(static_cast<double>(left[i] - out.left[i]), 2.0) +
                         std::pow(static_cast<double>(right[i] - out.right[i]), 2.0);
            }
        }
        ASSERT_GT(signal, 1.0) << what;
        const double errorDb = 10.0 * std::log10(error / signal + 1e-30);
        RecordProperty(what, std::to_string(errorDb));
        EXPECT_LT(errorDb, -80.0) << what;
    }
}

TEST(Synth, MovesGainAndCutoffWithoutAJump)
{
    CSynthRig rig;
    rig.Set("Gain", "-5 dB");
    rig.Settle();
    rig.Press(57);
    rig.Render(48000);
    const double before = Rms(rig.Render(24000).left);
    rig.Set("Gain", "10 dB");
    const Stereo rise = rig.Render(48000);
    // Half a percent of the rest a frame: after 138 frames half way, after 0.1 s there.
    EXPECT_NEAR(Rms(rise.left, 24000) / before, std::pow(10.0, 15.0 / 20.0), 0.05);
    EXPECT_LT(std::fabs(rise.left[0]),
              1.1f * std::fabs(*std::max_element(rise.left.begin(), rise.left.end())) / 5.0f);

    // Controller 10 at its left end leaves the right channel, as on a mixer wired crosswise.
    rig.Midi(0xB0, 10, 0);
    rig.Render(48000);
    const Stereo panned = rig.Render(4800);
    EXPECT_LT(Rms(panned.left), 1e-6);
    EXPECT_GT(Rms(panned.right), 0.01);
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
    EXPECT_EQ(rig.synth.GetChunk(nullptr), 692);
    std::array<std::byte, kStateSize> block;
    EXPECT_EQ(rig.synth.GetChunk(block.data()), 692);

    CSynthRig other;
    EXPECT_TRUE(other.synth.SetChunk(block.data(), 692));
    std::array<char, 64> name;
    other.synth.GetProgramName(name);
    EXPECT_STREQ(name.data(), "Bright.old");
    for (int index = 0; index < kParameterCount; ++index)
        EXPECT_EQ(other.synth.GetParameter(index), rig.synth.GetParameter(index)) << index;

    // 631 bytes: all values, no name. 627: the last value is cut off. Neither is read beyond.
    const std::vector<std::byte> withoutName(block.begin(), block.begin() + 631);
    EXPECT_TRUE(other.synth.SetChunk(withoutName.data(), 631));
    other.synth.GetProgramName(name);
    EXPECT_STREQ(name.data(), "<noname>");
    other.synth.SetParameter(155, 9.0f);
    const std::vector<std::byte> cut(block.begin(), block.begin() + 627);
    EXPECT_FALSE(other.synth.SetChunk(cut.data(), 627));
    EXPECT_EQ(other.synth.GetParameter(154), rig.synth.GetParameter(154));
    EXPECT_EQ(other.synth.GetParameter(155), 9.0f);

    // A block that isn't one leaves the defaults, but the links as they were.
    other.synth.SetParameter(kFirstControllerLink + 9, 74.0f);
    block[0] = std::byte{0};
    EXPECT_FALSE(other.synth.SetChunk(block.data(), 692));
    EXPECT_EQ(other.synth.GetParameter(kPolyphony), 15.0f);
    EXPECT_EQ(other.synth.GetParameter(kGateStep1 + 3), 0.0f);
    EXPECT_EQ(other.synth.GetParameter(kGateStep1 + 4), 1.0f);
    EXPECT_EQ(other.synth.GetLink(9), 74);
    EXPECT_FALSE(other.synth.SetChunk(nullptr, 0));
}

TEST(Synth, ImportsOnlyWhatItIsAskedTo)
{
    CSynthRig source;
    for (int index = 0; index < kParameterCount; ++index)
        source.synth.SetParameter(index, 0.625f);
    source.synth.SetProgramName("Source");
    std::array<std::byte, kStateSize> block;
    source.synth.GetChunk(block.data());
    for (const auto& [import, first, last] :
         {std::tuple{EImport::GateStepsOnly, 49, 64}, {EImport::ControllerLinksOnly, 81, 154}}) {
        CSynthRig rig;
        rig.synth.SetParameter(0, 0.25f);
        EXPECT_TRUE(rig.synth.LoadState(block, import));
        for (int index = 0; index < kParameterCount; ++index)
            EXPECT_EQ(rig.synth.GetParameter(index) == 0.625f, index >= first && index <= last)
                << index;
        std::array<char, 64> name;
        rig.synth.GetProgramName(name);
        EXPECT_STREQ(name.data(), "Source");
        block[0] ^= std::byte{1};
        EXPECT_FALSE(rig.synth.LoadState(block, import));
        EXPECT_EQ(rig.synth.GetParameter(0), 0.25f) << "an import that fails resets nothing";
        block[0] ^= std::byte{1};
    }
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

TEST(Synth, TurnsTheWheelsFromTheEditorAsFromMidi)
{
    CSynthRig rig;
    rig.synth.SetParameter(kModWheelValue, 0.75f);
    EXPECT_EQ(rig.synth.GetParameter(kModWheelValue), 0.75f);
    EXPECT_EQ(rig.synth.Feedback().LastController(), 1);
    rig.Midi(0xB0, 1, 127);
    rig.Midi(0xE0, 0, 0);
    rig.Render(64);
    EXPECT_EQ(rig.synth.GetParameter(kModWheelValue), 1.0f);
    EXPECT_EQ(rig.synth.GetParameter(kPitchBendValue), 0.0f);
    rig.synth.SetParameter(kPitchBendValue, 0.5f);
    EXPECT_EQ(rig.synth.GetParameter(kPitchBendValue), 0.5f);
    EXPECT_EQ(rig.synth.GetParameter(156), 0.0f);
}

TEST(Synth, PlaysTheEditorsKeyboardAndMarksTheHostsKeys)
{
    CSynthRig rig;
    rig.Render(64);
    rig.synth.KeyboardNote(57, 0.8f);
    EXPECT_GT(Rms(rig.Render(4800).left), 1e-3);
    rig.synth.KeyboardNote(57, 0.0f);
    rig.Render(48000);
    EXPECT_LT(Rms(rig.Render(4800).left), 1e-6);
    rig.Press(60);
    rig.Render(64);
    EXPECT_TRUE(rig.synth.Feedback().IsKeySounding(60));
    rig.Release(60);
    rig.Render(64);
    EXPECT_FALSE(rig.synth.Feedback().IsKeySounding(60));
}

TEST(Synth, GatesTheSameInLongBlocksAsInShortOnes)
{
    const auto render = [](int blockFrames) {
        CSynthRig rig;
        rig.Set("Gate Mix", "100 %");
        rig.Set("Gate Step Length", "1/16");
        rig.Settle();
        rig.synth.SetTransportPlaying(true);
        rig.Press(57);
        // The host tells the song position once a block.
        Stereo all;
        for (int at = 0; at < 96000; at += blockFrames) {
            rig.synth.SetSongPosition(at / 24000.0);
            const Stereo block = rig.Render(blockFrames, blockFrames);
            all.left.insert(all.left.end(), block.left.begin(), block.left.end());
        }
        return all.left;
    };
    SeedAsLoaded();
    const auto shortBlocks = render(64);
    SeedAsLoaded();
    const auto longBlocks = render(6400);
    double worst = 0.0;
    for (std::size_t i = 0; i < shortBlocks.size(); ++i)
        worst = std::max(worst, std::fabs(static_cast<double>(shortBlocks[i] - longBlocks[i])));
    EXPECT_LT(worst, 1e-3);
    const auto level = [&](int step) {
        double peak = 0.0;
        for (int i = step * 6000 + 3000; i < step * 6000 + 5900; ++i)
            peak = std::max(
                peak, std::fabs(static_cast<double>(shortBlocks[static_cast<std::size_t>(i)])));
        return peak;
    };
    EXPECT_GT(level(0), 0.01);
    EXPECT_LT(level(1), 1e-4);
    EXPECT_GT(level(2), 0.01);
    EXPECT_LT(level(3), 1e-4);
    EXPECT_GT(level(4), 0.01);
}

} // namespace keldra::test
