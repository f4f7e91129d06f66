#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <span>
#include <vector>

#include "frame/ParameterTable.h"
#include "frame/PluginInstance.h"
#include "hosts/native/DNWrapper.h"
#include "hosts/vst/VSTWrapper.h"
#include "tests/engine/SynthRig.h"
#include "tests/native/NativeHost.h"

// The real engine, played by a native host, and held against the same notes through the other
// binding.

namespace keldra::test {

namespace {

constexpr int kBlock = 500; // no multiple of the engine's own

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
        EXPECT_NEAR(Loudness(player.Render(10).left) / before, 1.0, 0.06) << nonsense;
    }
    player.host.Release(57);
    player.Render(20);
    EXPECT_LT(Loudness(player.Render(10).left), 1e-4);
}

} // namespace keldra::test
