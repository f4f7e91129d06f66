#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vector>

#include "frame/ParameterTable.h"
#include "hosts/vst/VstInterface.h"
#include "tests/Listening.h"
#include "tests/native/NativeHost.h"
#include "tests/native/ScriptedStream.h"

// The module as it is built, loaded as the native host loads it: on 32 bits too, where that host is
// at home.

namespace keldra::test {

namespace {

constexpr int kBlock = 500; // no multiple of the engine's own

/// Loaded anew, its random numbers begin anew: sounds repeat.
class CLoadedModule {
public:
    CLoadedModule() : handle_(dlopen(KELDRA_MODULE, RTLD_NOW | RTLD_LOCAL))
    {
        EXPECT_NE(handle_, nullptr) << dlerror();
    }
    ~CLoadedModule() { dlclose(handle_); }
    CLoadedModule(const CLoadedModule&) = delete;
    CLoadedModule& operator=(const CLoadedModule&) = delete;

    [[nodiscard]] CScriptedHost::Entry NativeEntry() const
    {
        return reinterpret_cast<CScriptedHost::Entry>(dlsym(handle_, "CreatePlugInstance"));
    }
    [[nodiscard]] vst::AEffect* MakeVstInstance() const
    {
        const auto entry =
            reinterpret_cast<vst::VstPluginMainProc>(dlsym(handle_, "VSTPluginMain"));
        return entry([](vst::AEffect*, vst::VstInt32 opcode, vst::VstInt32, vst::VstIntPtr, void*,
                        float) -> vst::VstIntPtr {
            return opcode == vst::audioMasterVersion ? vst::kVstVersion : 0;
        });
    }

private:
    void* handle_;
};

/// @return the loudest sample of so many blocks, infinity if one was no number
float Peak(CScriptedHost& host, int blocks)
{
    float peak = 0.0f;
    for (int block = 0; block < blocks; ++block) {
        std::vector<float> buffer(2 * kBlock);
        host.Render(buffer);
        peak = std::max(peak, keldra::Peak(buffer));
    }
    return peak;
}

std::string Saved(CScriptedHost& host)
{
    CScriptedStream stream;
    host.Call(3, stream.Get(), std::int32_t{1});
    return stream.bytes;
}

struct Note {
    int block, key;
    float volume; ///< 0 releases
    int velocity;
};
constexpr int kBlocks = 24;
constexpr Note kMelody[] = {{0, 60, 1.0f, 100}, {3, 64, 0.5f, 74}, {5, 60, 0.0f, 0},
                            {6, 67, 2.0f, 127}, {6, 43, 0.1f, 28}, {9, 64, 0.0f, 0},
                            {9, 60, 1.0f, 100}, {12, 67, 0.0f, 0}, {12, 72, 1.0f, 100},
                            {15, 43, 0.0f, 0},  {17, 72, 0.0f, 0}, {17, 60, 0.0f, 0}};
constexpr std::pair<EParameter, int> kProgram[] = {
    {kOscBDetune, 100},      {kOscBalance, 128}, {kNoiseBalance, 30}, {kFilterCutoff, 110},
    {kFilterResonance, 150}, {kEgAmount, 200},   {kEgDecay, 90},      {kLfoAmount, 180},
    {kDelayOn, 256},         {kChorusOn, 256},   {kAmpRelease, 100},  {kGateMix, 128}};

/// @return left and right in turn
std::vector<float> PlayMelodyNatively()
{
    const CLoadedModule module;
    CScriptedHost host;
    EXPECT_TRUE(host.Load(module.NativeEntry()));
    for (const auto& [parameter, of256] : kProgram)
        host.Exchange(parameter, of256, 1);
    host.Exchange(74 + 1, 128, 1); // the mod wheel
    std::array<ScriptedVoice, 128> voices;
    std::vector<float> sound;
    for (int block = 0; block < kBlocks; ++block) {
        for (const Note& note : kMelody) {
            auto& voice = voices[static_cast<std::size_t>(note.key)];
            const auto cents = 100.0f * static_cast<float>(note.key);
            if (note.block != block)
                continue;
            if (note.volume == 0.0f) {
                host.Release(note.key);
                continue;
            }
            voice = {.initialVolume = note.volume, .initialPitch = cents, .pitch = cents - 6000.0f};
            host.Start(voice);
        }
        std::vector<float> buffer(2 * kBlock);
        host.Render(buffer);
        sound.insert(sound.end(), buffer.begin(), buffer.end());
    }
    host.Close();
    return sound;
}

std::vector<float> PlayMelodyByMidi()
{
    const CLoadedModule module;
    vst::AEffect* const effect = module.MakeVstInstance();
    const auto midi = [effect](int status, int data1, int data2) {
        vst::VstMidiEvent event{};
        event.type = vst::kVstMidiType;
        event.byteSize = sizeof(event);
        const int data[] = {status, data1, data2};
        std::copy(std::begin(data), std::end(data), event.midiData);
        vst::VstEvents list{};
        list.numEvents = 1;
        list.events[0] = reinterpret_cast<vst::VstEvent*>(&event);
        effect->dispatcher(effect, vst::effProcessEvents, 0, 0, &list, 0.0f);
    };
    for (const auto& [parameter, of256] : kProgram)
        effect->setParameter(effect, parameter, static_cast<float>(of256) / 256.0f);
    midi(0xB0, 1, 63);
    std::vector<float> sound;
    for (int block = 0; block < kBlocks; ++block) {
        for (const Note& note : kMelody)
            if (note.block == block)
                midi(note.velocity > 0 ? 0x90 : 0x80, note.key, note.velocity);
        std::array<float, kBlock> left, right;
        float* outputs[] = {left.data(), right.data()};
        effect->processReplacing(effect, nullptr, outputs, kBlock);
        for (std::size_t i = 0; i < kBlock; ++i)
            sound.insert(sound.end(), {left[i], right[i]});
    }
    effect->dispatcher(effect, vst::effClose, 0, 0, nullptr, 0.0f);
    return sound;
}

} // namespace

TEST(NativeModule, SoundsAsTheOtherBindingSampleForSampleWhenVoicesKeepStill)
{
    const std::vector<float> ours = PlayMelodyNatively();
    EXPECT_GT(*std::ranges::max_element(ours), 0.05f);
    EXPECT_EQ(ours, PlayMelodyByMidi());
}

TEST(NativeModule, PlaysSavesAndLoadsBesideInstancesOfTheOtherKind)
{
    unsetenv("DISPLAY");
    const CLoadedModule module;
    EXPECT_EQ(module.NativeEntry()(nullptr, 0), nullptr);
    CScriptedHost first, second;
    ASSERT_TRUE(first.Load(module.NativeEntry()));
    vst::AEffect* const other = module.MakeVstInstance();
    ASSERT_TRUE(second.Load(module.NativeEntry())); // after an instance of the other kind

    ScriptedVoice voice;
    EXPECT_EQ(first.Start(voice), 60);
    EXPECT_GT(Peak(first, 20), 0.01f);
    EXPECT_EQ(Peak(second, 2), 0.0f) << "instances don't hear each other";

    first.Exchange(18, 77, 1);
    const std::string saved = Saved(first);
    CScriptedStream stream(saved);
    second.Call(3, stream.Get(), std::int32_t{0});
    EXPECT_EQ(second.Exchange(18, 0, 2), 77);
    EXPECT_EQ(Saved(second), saved);

    second.Command(0, 1); // whatever comes of an editor without a display
    first.Close();
    other->dispatcher(other, vst::effClose, 0, 0, nullptr, 0.0f);
    EXPECT_EQ(second.Start(voice), 60);
    EXPECT_GT(Peak(second, 20), 0.01f) << "the last one plays on";
}

} // namespace keldra::test
