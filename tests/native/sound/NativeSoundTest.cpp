#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <span>
#include <vector>

#include "frame/ParameterTable.h"
#include "frame/PluginInstance.h"
#include "hosts/native/DNWrapper.h"
#include "hosts/vst/VSTWrapper.h"
#include "tests/effects/Listening.h"
#include "tests/engine/SynthRig.h"
#include "tests/native/NativeHost.h"

// The real engine, played by a native host whose voices move while they sound, and held against the
// same notes through the other binding.

namespace keldra::test {

namespace {

constexpr double kRate = 44100.0; // both bindings' until a host says otherwise
constexpr int kBlock = 500;       // no multiple of the engine's own

double Decibels(double gain)
{
    return 20.0 * std::log10(gain);
}

double Cents(double hz, double fromHz)
{
    return 1200.0 * std::log2(hz / fromHz);
}

double Loudness(std::span<const float> sound)
{
    double sum = 0.0;
    for (const float sample : sound)
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    return std::sqrt(sum / static_cast<double>(sound.size()));
}

/// The native host with an instance, its program a saw wave without drift of its own making.
class CNativePlayer {
public:
    CNativePlayer()
    {
        SeedAsLoaded();
        EXPECT_TRUE(host.Load([](void* object, std::intptr_t tag) -> void* {
            return native::CreateNativeInstance(static_cast<native::TDornoHost*>(object), tag);
        }));
    }
    void Set(EParameter parameter, int of256) { host.Exchange(parameter, of256, 1); }
    /// Renders whole blocks.
    Stereo Render(int blocks)
    {
        Stereo sound;
        for (int block = 0; block < blocks; ++block) {
            std::vector<float> buffer(2 * kBlock);
            host.Render(buffer);
            for (std::size_t i = 0; i < buffer.size(); i += 2) {
                sound.left.push_back(buffer[i]);
                sound.right.push_back(buffer[i + 1]);
            }
        }
        return sound;
    }

    CScriptedHost host;
};

class CVstPlayer {
public:
    CVstPlayer()
    {
        SeedAsLoaded();
        effect_ = vst::CreateVstInstance([](vst::AEffect*, vst::VstInt32 opcode, vst::VstInt32,
                                            vst::VstIntPtr, void*, float) -> vst::VstIntPtr {
            return opcode == vst::audioMasterVersion ? vst::kVstVersion : 0;
        });
        EXPECT_NE(effect_, nullptr);
    }
    ~CVstPlayer() { effect_->dispatcher(effect_, vst::effClose, 0, 0, nullptr, 0.0f); }
    CVstPlayer(const CVstPlayer&) = delete;
    CVstPlayer& operator=(const CVstPlayer&) = delete;

    void Set(EParameter parameter, int of256)
    {
        effect_->setParameter(effect_, parameter, static_cast<float>(of256) / 256.0f);
    }
    void Midi(int status, int data1, int data2)
    {
        vst::VstMidiEvent event{};
        event.type = vst::kVstMidiType;
        event.byteSize = sizeof(event);
        event.midiData[0] = static_cast<char>(status);
        event.midiData[1] = static_cast<char>(data1);
        event.midiData[2] = static_cast<char>(data2);
        vst::VstEvents list{};
        list.numEvents = 1;
        list.events[0] = reinterpret_cast<vst::VstEvent*>(&event);
        effect_->dispatcher(effect_, vst::effProcessEvents, 0, 0, &list, 0.0f);
    }
    Stereo Render(int blocks)
    {
        const auto frames = static_cast<std::size_t>(blocks) * kBlock;
        Stereo sound{std::vector<float>(frames), std::vector<float>(frames)};
        for (std::size_t at = 0; at < frames; at += kBlock) {
            float* outputs[] = {sound.left.data() + at, sound.right.data() + at};
            effect_->processReplacing(effect_, nullptr, outputs, kBlock);
        }
        return sound;
    }

private:
    vst::AEffect* effect_;
};

/// A voice that sounds as a plain note does: its pitch on its key, its gains 1.
ScriptedVoice PlainVoice(int key)
{
    const auto cents = 100.0f * static_cast<float>(key);
    return {.initialPitch = cents, .pitch = cents - 6000.0f};
}

} // namespace

TEST(NativeSound, IsTheOtherBindingsSampleForSampleWhenVoicesKeepStill)
{
    struct Note {
        int block, key;
        float volume; ///< 0 releases
        int velocity;
    };
    constexpr Note kMelody[] = {{0, 60, 1.0f, 100}, {3, 64, 0.5f, 74}, {5, 60, 0.0f, 0},
                                {6, 67, 2.0f, 127}, {6, 43, 0.1f, 28}, {9, 64, 0.0f, 0},
                                {9, 60, 1.0f, 100}, {12, 67, 0.0f, 0}, {12, 72, 1.0f, 100},
                                {15, 43, 0.0f, 0},  {17, 72, 0.0f, 0}, {17, 60, 0.0f, 0}};
    constexpr std::pair<EParameter, int> kProgram[] = {
        {kOscBDetune, 100},      {kOscBalance, 128}, {kNoiseBalance, 30}, {kFilterCutoff, 110},
        {kFilterResonance, 150}, {kEgAmount, 200},   {kEgDecay, 90},      {kLfoAmount, 180},
        {kDelayOn, 256},         {kChorusOn, 256},   {kAmpRelease, 100},  {kGateMix, 128}};

    CNativePlayer native;
    for (const auto& [parameter, of256] : kProgram)
        native.Set(parameter, of256);
    native.host.Exchange(74 + 1, 128, 1); // the mod wheel
    std::array<ScriptedVoice, 128> voices;
    Stereo ours;
    for (int block = 0; block < 24; ++block) {
        for (const Note& note : kMelody) {
            auto& voice = voices[static_cast<std::size_t>(note.key)];
            if (note.block != block)
                continue;
            if (note.volume == 0.0f) {
                native.host.Release(note.key);
                continue;
            }
            voice = PlainVoice(note.key);
            voice.initialVolume = note.volume;
            native.host.Start(voice);
        }
        const Stereo sound = native.Render(1);
        ours.left.insert(ours.left.end(), sound.left.begin(), sound.left.end());
        ours.right.insert(ours.right.end(), sound.right.begin(), sound.right.end());
    }

    EXPECT_EQ(CPluginInstance::Get().HostKind(), EHostKind::Native);
    CVstPlayer other; // beside the other one, in one process
    EXPECT_EQ(CPluginInstance::Get().HostKind(), EHostKind::Vst) << "the last one's";
    for (const auto& [parameter, of256] : kProgram)
        other.Set(parameter, of256);
    other.Midi(0xB0, 1, 63);
    Stereo theirs;
    for (int block = 0; block < 24; ++block) {
        for (const Note& note : kMelody)
            if (note.block == block)
                other.Midi(note.velocity > 0 ? 0x90 : 0x80, note.key, note.velocity);
        const Stereo sound = other.Render(1);
        theirs.left.insert(theirs.left.end(), sound.left.begin(), sound.left.end());
        theirs.right.insert(theirs.right.end(), sound.right.begin(), sound.right.end());
    }
    EXPECT_GT(Loudness(ours.left), 0.01);
    EXPECT_NE(ours.left, ours.right);
    EXPECT_EQ(ours.left, theirs.left);
    EXPECT_EQ(ours.right, theirs.right);
}

TEST(NativeSound, FollowsEachVoicesOwnSlides)
{
    CNativePlayer player;
    player.Set(kFilterCutoff, 128); // a saw whose edges are soft
    ScriptedVoice left = PlainVoice(69);
    ScriptedVoice right = PlainVoice(81);
    left.pan = -1.0f;
    right.pan = 1.0f;
    player.host.Start(left);
    player.host.Start(right);
    player.Render(20); // attacks and smoothing are over
    const Stereo before = player.Render(10);
    const double leftHz = PitchOf(before.left, kRate);
    const double rightHz = PitchOf(before.right, kRate);
    EXPECT_NEAR(Cents(leftHz, 440.0), 0.0, 4.0);
    EXPECT_NEAR(Cents(rightHz, 880.0), 0.0, 4.0);
    // One goes up while the other goes down and becomes softer.
    for (const int step : {1, 2, 5, 9, 12}) {
        const auto cents = 100.0f * static_cast<float>(step);
        left.pitch = 900.0f + cents;
        right.pitch = 2100.0f - cents;
        right.volume = std::pow(10.0f, -static_cast<float>(step) / 20.0f);
        player.Render(5);
        const Stereo now = player.Render(10);
        EXPECT_NEAR(Cents(PitchOf(now.left, kRate), leftHz), 100.0 * step, 1.0);
        EXPECT_NEAR(Cents(PitchOf(now.right, kRate), rightHz), -100.0 * step, 1.0);
    }
}

TEST(NativeSound, PansAndFadesAsTheHostsMixerWould)
{
    CNativePlayer player;
    ScriptedVoice voice = PlainVoice(57);
    player.host.Start(voice);
    player.Render(20);
    const Stereo middle = player.Render(10);
    struct Case {
        float pan, volume;
        double leftDb, rightDb; ///< from what it was in the middle
    };
    constexpr Case kCases[] = {{0.5f, 1.0f, -6.02, 0.0},
                               {-0.9f, 1.0f, 0.0, -20.0},
                               {0.0f, 0.25f, -12.04, -12.04},
                               {-0.5f, 2.0f, 6.02, 0.0},
                               {0.0f, 1.0f, 0.0, 0.0}};
    for (const auto& [pan, volume, leftDb, rightDb] : kCases) {
        voice.pan = pan;
        voice.volume = volume;
        player.Render(10);
        const Stereo now = player.Render(10);
        EXPECT_NEAR(Decibels(Loudness(now.left) / Loudness(middle.left)), leftDb, 0.1) << pan;
        EXPECT_NEAR(Decibels(Loudness(now.right) / Loudness(middle.right)), rightDb, 0.1) << pan;
    }
}

TEST(NativeSound, OpensTheFilterOfAVoiceAsTheParametersWould)
{
    struct Case {
        const char* what;
        int cutoff, resonance; ///< parameters of the native instance, of 256
        float cutoffOffset, resonanceOffset;
        int sameCutoff, sameResonance; ///< parameters alone that sound like that
    };
    // The whole range of the cutoff knob is 1.1 of the scale.
    constexpr Case kCases[] = {{"brighter", 64, 0, 0.275f, 0.0f, 128, 0},
                               {"darker", 160, 0, -0.275f, 0.0f, 96, 0},
                               {"sharper", 96, 64, 0.0f, 0.5f, 96, 192},
                               {"both", 64, 192, 0.1375f, -0.375f, 96, 96}};
    constexpr double kHz = 220.0;
    for (const auto& [what, cutoff, resonance, cutoffOffset, resonanceOffset, sameCutoff,
                      sameResonance] : kCases) {
        CNativePlayer native;
        native.Set(kFilterCutoff, cutoff);
        native.Set(kFilterResonance, resonance);
        ScriptedVoice voice = PlainVoice(57);
        native.host.Start(voice);
        native.Render(30);
        const Stereo before = native.Render(10);
        voice.cutoffOffset = cutoffOffset;
        voice.resonanceOffset = resonanceOffset;
        native.Render(10);
        const Stereo ours = native.Render(10);

        CVstPlayer other;
        other.Set(kFilterCutoff, sameCutoff);
        other.Set(kFilterResonance, sameResonance);
        other.Midi(0x90, 57, 100);
        other.Render(40);
        const Stereo theirs = other.Render(10);

        double moved = 0.0;
        for (const int harmonic : {1, 2, 3, 5, 8, 12}) {
            const auto level = [=](const Stereo& sound) {
                return Decibels(AmplitudeAt(sound.left, harmonic * kHz, kRate) + 1e-6);
            };
            EXPECT_NEAR(level(ours), level(theirs), 0.2) << what << ", harmonic " << harmonic;
            moved = std::max(moved, std::fabs(level(ours) - level(before)));
        }
        EXPECT_GT(moved, 3.0) << what << ": it has to be heard";
    }
}

TEST(NativeSound, IsFiniteAgainWhenARecordIsSaneAgain)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    CNativePlayer player;
    ScriptedVoice voice = PlainVoice(57);
    player.host.Start(voice);
    player.Render(20);
    const double before = Loudness(player.Render(10).left);
    for (const float nonsense : {kNan, std::numeric_limits<float>::infinity(), -1e38f}) {
        voice = {.pan = nonsense,
                 .volume = nonsense,
                 .pitch = nonsense,
                 .cutoffOffset = nonsense,
                 .resonanceOffset = nonsense};
        for (const float sample : player.Render(5).left)
            ASSERT_TRUE(std::isfinite(sample));
        voice = PlainVoice(57);
        player.Render(60); // whatever blocked the output's average has decayed
        EXPECT_NEAR(Decibels(Loudness(player.Render(10).left) / before), 0.0, 0.5) << nonsense;
    }
    player.host.Release(57);
    player.Render(20);
    EXPECT_LT(Loudness(player.Render(10).left), 1e-4);
}

} // namespace keldra::test
