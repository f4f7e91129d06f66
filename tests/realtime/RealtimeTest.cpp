#include <algorithm>
#include <array>
#include <atomic>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include "apps/host/VstHost.h"
#include "frame/ParameterTable.h"
#include "tests/Dice.h"
#include "tests/native/NativeHost.h"
#include "tests/native/ScriptedStream.h"
#include "tests/realtime/CallCounter.h"

// The real module, played as hosts play it, with the C library's memory, lock and file calls
// counted on the processing thread.

namespace keldra::test {

namespace {

constexpr double kRate = 48000.0;
constexpr int kBlockFrames = 512;

const std::string kModulePath = std::string(KELDRA_BINARY_DIR) + "/Keldra/Keldra.so";

std::unique_ptr<vst::CVstHost> MakeHost()
{
    std::string error;
    const auto module = vst::CVstModule::Load(kModulePath, error);
    EXPECT_NE(module, nullptr) << error;
    auto host = vst::CVstHost::Create(module, {}, nullptr, error);
    EXPECT_NE(host, nullptr) << error;
    host->Start(kRate, kBlockFrames);
    return host;
}

/// An instance with all that a program can switch on.
std::unique_ptr<vst::CVstHost> MakeBusyHost()
{
    auto host = MakeHost();
    for (int index = kFirstControllerLink; index <= kLastControllerLink; ++index)
        host->SetParameter(index, static_cast<float>(index % 100));
    host->SetParameter(kDelayOn, 1.0f);
    host->SetParameter(kChorusOn, 1.0f);
    host->SetParameter(kUnisonVoices, 2.0f); // three
    host->SetParameter(kPolyphony, 63.0f);
    return host;
}

void Send(vst::CVstHost& host, int frame, int status, int data1, int data2)
{
    const std::array<std::uint8_t, 3> message = {static_cast<std::uint8_t>(status),
                                                 static_cast<std::uint8_t>(data1),
                                                 static_cast<std::uint8_t>(data2)};
    host.AddMidi(frame, message);
}

/// Renders a block, this thread watched meanwhile.
void RenderWatched(vst::CVstHost& host)
{
    static std::array<float, kBlockFrames> left, right;
    float* outputs[] = {left.data(), right.data()};
    const CCallCounter watch;
    host.Render(outputs, kBlockFrames);
}

/// Renders blocks full of messages of all kinds.
void PlayDenseEvents(vst::CVstHost& host, int blocks)
{
    CDice dice;
    CCallCounter::Forget();
    for (int block = 0; block < blocks; ++block) {
        vst::HostTransport transport;
        transport.playing = block % 2 == 0;
        transport.tempoBpm = 60.0 + dice.UpTo(199);
        transport.quarterNotes = block * 0.1;
        if (block % 50 == 0)
            host.SetTransport(transport);
        int frame = 0;
        for (int i = 0; i < 40; ++i) {
            frame = std::min(frame + dice.UpTo(23), kBlockFrames - 1);
            constexpr int kStatuses[] = {0x90, 0x90, 0x80, 0xB0, 0xB0, 0xE0, 0xA0, 0xC0, 0xD0};
            Send(host, frame, dice.Of(kStatuses) | dice.UpTo(15), dice.UpTo(127), dice.UpTo(127));
        }
        if (block % 64 == 63)
            Send(host, frame, 0xB0, 123, 0);
        RenderWatched(host);
    }
    EXPECT_EQ(CCallCounter::Calls(), 0) << CCallCounter::FirstCalled();
}

} // namespace

TEST(Realtime, TheCounterSeesMemoryAndLocks)
{
    CCallCounter::Forget();
    std::mutex mutex;
    {
        const CCallCounter watch;
        const std::vector<int> memory(1000);
        EXPECT_EQ(memory[999], 0);
        const std::lock_guard lock(mutex);
    }
    EXPECT_EQ(CCallCounter::Calls(), 3);

    const auto host = MakeHost();
    const std::vector<std::byte> state = host->GetChunk();
    CCallCounter::Forget();
    {
        const CCallCounter watch;
        EXPECT_TRUE(host->SetChunk(state)); // a control thread may: and the module's calls count
    }
    EXPECT_GT(CCallCounter::Calls(), 0);
}

// The system hands a page out when it is first written to, and takes its time.
TEST(Realtime, NoPageOfMemoryIsMissingWhileTheTapesFill)
{
    const auto missing = [] {
        rusage usage = {};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_minflt;
    };
    const auto warmUp = MakeHost(); // all code, and every place that instances share
    const auto fresh = MakeHost();
    for (vst::CVstHost* host : {warmUp.get(), fresh.get()}) {
        host->SetParameter(kDelayOn, 1.0f);
        host->SetParameter(kChorusOn, 1.0f);
        Send(*host, 0, 0x90, 60, 100);
        RenderWatched(*host);
        const long before = missing();
        for (int block = 0; block < static_cast<int>(3.0 * kRate) / kBlockFrames; ++block)
            RenderWatched(*host);
        // Two tapes of two seconds, and three short ones, are 570 pages.
        if (host == fresh.get()) {
            EXPECT_LT(missing() - before, 10);
        }
    }
}

TEST(Realtime, NothingIsAllocatedLockedOrOpenedByDenseEventsWhileOthersChangeEverything)
{
    const auto host = MakeBusyHost();
    const std::vector<std::byte> state = host->GetChunk();
    std::atomic<bool> stop{false};
    std::thread setter([&] {
        for (int i = 0; !stop; ++i)
            host->SetParameter(i % kFirstControllerLink, static_cast<float>(i % 7) / 6.0f);
    });
    std::thread loader([&] {
        while (!stop) {
            EXPECT_TRUE(host->SetChunk(state));
            EXPECT_EQ(host->GetChunk().size(), state.size());
            host->SetProgramName("loaded");
            std::this_thread::yield();
        }
    });
    PlayDenseEvents(*host, 1000);
    stop = true;
    setter.join();
    loader.join();
}

TEST(Realtime, NothingIsAllocatedOrWaitedForByTheVoicesOfANativeHost)
{
    const auto other = MakeBusyHost(); // both kinds of instances in one process
    const std::vector<std::byte> state = other->GetChunk();
    std::string saved = "SSND\xB4\x02";
    saved.append(2, '\0').append(reinterpret_cast<const char*>(state.data()), state.size());

    void* const module = dlopen(kModulePath.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr);
    CScriptedHost host;
    ASSERT_TRUE(
        host.Load(reinterpret_cast<CScriptedHost::Entry>(dlsym(module, "CreatePlugInstance"))));
    const auto load = [&] {
        CScriptedStream stream(saved);
        host.Call(3, stream.Get(), std::int32_t{0});
    };
    load();

    std::vector<float> buffer(2 * kBlockFrames);
    std::array<ScriptedVoice, 16> voices;
    CDice dice;
    const auto play = [&](int blocks) {
        for (int block = 0; block < blocks; ++block) {
            std::ranges::fill(buffer, 0.0f);
            const CCallCounter watch;
            for (int i = 0; i < 8; ++i) {
                ScriptedVoice& voice = voices[static_cast<std::size_t>(dice.UpTo(15))];
                voice.initialPitch = voice.pitch = static_cast<float>(dice.UpTo(12799));
                voice.cutoffOffset = static_cast<float>(dice.UpTo(99)) * 0.01f;
                host.Start(voice, i);
                host.Exchange(74 + dice.UpTo(128), dice.UpTo(256), 1);
                host.Exchange(dice.UpTo(73), dice.UpTo(256), 1);
                host.Release(dice.UpTo(127));
                host.Kill(dice.UpTo(127));
            }
            host.Command(12, dice.UpTo(1));
            host.Render(buffer);
        }
    };
    CCallCounter::Forget();
    play(200);
    EXPECT_EQ(CCallCounter::Calls(), 0) << CCallCounter::FirstCalled();

    std::atomic<bool> stop{false};
    std::thread control([&] { // takes the engine away, again and again
        for (int i = 0; !stop; ++i) {
            host.Command(i % 8 == 0 ? 4 : 2, 44100 + i % 2);
            load();
            std::this_thread::yield();
        }
    });
    play(200);
    stop = true;
    control.join();
    EXPECT_EQ(CCallCounter::Calls(), 0) << CCallCounter::FirstCalled();
    host.Close();
    dlclose(module);
}

} // namespace keldra::test
