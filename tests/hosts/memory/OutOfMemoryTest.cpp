// Memory that ends: one allocation after the other fails, in whatever a host may ask for.

#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

#include "apps/host/VstHost.h"
#include "gui/ImageCache.h"
#include "hosts/native/DNWrapper.h"
#include "hosts/vst/VSTWrapper.h"
#include "platform/headless/HeadlessWindow.h"
#include "tests/Listening.h"
#include "tests/editor/panel/Machine.h"
#include "tests/native/NativeHost.h"

namespace {

thread_local int untilFailure = 0; ///< allocations of this thread; 0 for never

bool Fails()
{
    return untilFailure > 0 && --untilFailure == 0;
}

} // namespace

// All of them: a sanitizer's own would hand out what these can't take back.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Fails() ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return operator new(size, std::nothrow);
}
void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return Fails() ? nullptr : __real_calloc(count, size);
}

namespace keldra::test {
namespace {

using namespace vst;

#ifdef KELDRA_SANITIZED
constexpr int kSlowness = 5;
#else
constexpr int kSlowness = 1;
#endif

/// Does it again and again, each time with more allocations before the one that fails.
/// @param steps  how many more. @return how many it needs
int FailEach(int steps, const std::function<void()>& operation)
{
    for (int last = 1;; last += steps) {
        untilFailure = last;
        operation();
        if (const int left = std::exchange(untilFailure, 0); left > 0)
            return last - left;
    }
}

VstIntPtr Answer(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

void MakeAndClose()
{
    if (AEffect* const effect = CreateVstInstance(Answer))
        effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f);
}

/// A note of half a second. @return the loudest sample from there on
float PlayNote(CVstHost& host, double rate, std::vector<float>& left)
{
    const auto half = static_cast<std::size_t>(rate / 2.0);
    left.assign(2 * half, 0.0f);
    std::vector<float> right(2 * half);
    for (const auto& [at, status] : {std::pair<std::size_t, std::uint8_t>{0, 0x90}, {half, 0x80}}) {
        float* outputs[] = {left.data() + at, right.data() + at};
        host.AddMidi(0, std::array<std::uint8_t, 3>{status, 69, 127});
        host.Render(outputs, static_cast<int>(half));
    }
    return Peak(std::span(left).last(half / 2));
}

TEST(OutOfMemory, EndsTheMakingOfAnInstanceWithoutATrace)
{
    const CMachine machine;
    EXPECT_GT(FailEach(16 * kSlowness, MakeAndClose), 100);
    EXPECT_EQ(CImageCache::ImageCount(), 0u);
    AEffect* const other = CreateVstInstance(Answer); // keeps the skin, which is most of the work
    EXPECT_GT(FailEach(kSlowness, MakeAndClose), 100);
    other->dispatcher(other, effClose, 0, 0, nullptr, 0.0f);

    CScriptedHost host;
    FailEach(kSlowness, [&host] {
        host.Close();
        host.Load([](void* object, std::intptr_t tag) -> void* {
            return native::CreateNativeInstance(static_cast<native::TDornoHost*>(object), tag);
        });
    });
    EXPECT_NE(host.plug, nullptr);
}

TEST(OutOfMemory, LeavesAnInstanceThatPlaysAndTriesAgain)
{
    const CMachine machine;
    std::string error;
    const auto host =
        CVstHost::Create(CVstModule::FromEntry(&CreateVstInstance), {}, nullptr, error);
    ASSERT_NE(host, nullptr);
    host->SetParameter(kDelayOn, 1.0f);
    host->SetParameter(kDelayWet, 1.0f);
    const std::vector<std::byte> state = host->GetChunk();
    void* saved = nullptr;
    double rate = 48000.0;
    host->Start(rate, 512);
    const std::pair<const char*, std::function<void()>> kCases[] = {
        {"rate",
         [&] {
             rate = rate == 48000.0 ? 22050.0 : 48000.0;
             host->Dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(rate));
         }},
        {"save", [&] { static_cast<void>(host->Dispatch(effGetChunk, 0, 0, &saved)); }},
        {"load",
         [&] {
             host->Dispatch(effSetChunk, 0, std::ssize(state),
                            const_cast<std::byte*>(state.data()));
         }},
        {"editor",
         [&] {
             host->OpenEditor(reinterpret_cast<void*>(7));
             host->CloseEditor();
             EXPECT_EQ(CHeadlessWindow::OpenCount(), 0);
         }},
    };
    std::vector<float> sound;
    const auto pitchOfNote = [&] { // after silence: an echo would add to it
        PlayNote(*host, rate, sound);
        return FrequencyHz(std::span(sound).first(sound.size() / 2), rate);
    };
    const double pitchBefore = pitchOfNote();
    const auto resume = [&] { host->Dispatch(effMainsChanged, 0, 1); };
    resume();
    for (const auto& [what, operation] : kCases)
        FailEach(kSlowness, [&, &name = what, &doIt = operation] {
            doIt();
            const int left = std::exchange(untilFailure, 0);
            EXPECT_NEAR(pitchOfNote(), pitchBefore, 20.0) << name << ": another pitch";
            resume();
            EXPECT_GT(PlayNote(*host, rate, sound), 0.001f) << name << ": no echo";
            resume();
            untilFailure = left;
        });
}

} // namespace
} // namespace keldra::test
