// The native host at its worst: slots in any order with handles, indices and values out of range,
// null records and streams, records that hold no numbers or are freed when their voice is killed,
// streams that lie, end early and announce gigabytes.

#include <array>
#include <bit>
#include <memory>
#include <vector>

#include "fuzz/Input.h"
#include "fuzz/Machine.h"
#include "hosts/module/CreatePlugInstance.cpp"
#include "tests/native/NativeHost.h"
#include "tests/native/ScriptedStream.h"

using namespace keldra;
using namespace keldra::test;

namespace {

class CRun {
public:
    CRun(const std::uint8_t* data, std::size_t size) : input_(data, size)
    {
        host_.text = input_.ConsumeBool() ? nullptr : "a host";
        host_.answersNull = input_.OneIn(8);
        host_.menu = {{"-", 0}, {"Link", 1}, {nullptr, 2}};
    }
    void DoAll()
    {
        const auto entry = [](void* host, std::intptr_t tag) -> void* {
            return CreatePlugInstance(static_cast<native::TDornoHost*>(host), tag);
        };
        while (!input_.IsEmpty())
            if (host_.plug != nullptr || host_.Load(entry))
                DoSomething();
        if (host_.plug != nullptr)
            Reset();
    }

private:
    void DoSomething()
    {
        const std::int32_t any = input_.AnyInt();
        switch (input_.UpTo(13)) {
        case 0:
        case 1:
            return Start(any);
        case 2:
            return host_.Release(any);
        case 3:
            host_.Kill(any);
            if (any >= 0 && any < 128) // the host's to free
                voices_[static_cast<std::size_t>(any)].reset();
            return;
        case 4:
        case 5:
            return Render(any);
        case 6:
            host_.Exchange(any, input_.AnyInt(), input_.Byte());
            return;
        case 7:
            static_cast<void>(host_.Name(input_.ConsumeIntegralInRange(-1, 8), any));
            return;
        case 8:
            host_.songPosition = static_cast<double>(input_.AnyFloat());
            host_.Command(input_.ConsumeIntegralInRange(-1, 14), any);
            return;
        case 9:
            host_.Call<std::int32_t>(
                5, input_.UpTo(1),
                std::intptr_t{std::bit_cast<std::int32_t>(200.0f * input_.AnyFloat())}, any);
            return;
        case 10:
            return Transfer(any);
        case 11:
            if (auto& voice = voices_[static_cast<std::size_t>(input_.UpTo(127))])
                *voice = {0.0f,
                          0.0f,
                          0.0f,
                          0.0f,
                          0.0f,
                          input_.AnyFloat(),
                          input_.AnyFloat(),
                          12700.0f * input_.AnyFloat(),
                          input_.AnyFloat(),
                          input_.AnyFloat()};
            return;
        case 12:
            return host_.Call(19);
        default:
            if (input_.OneIn(32))
                host_.Close();
        }
    }
    /// The plug-in object stays for the next input: to make one costs more than all that one does.
    void Reset()
    {
        host_.answersNull = false;
        host_.Call(19);
        host_.Command(2, 0);    // no sound
        host_.Command(4, 8000); // tapes of two seconds would be most of the work
        for (std::int32_t controller = 0; controller < 129; ++controller)
            host_.Exchange(74 + controller, 0, 1);
        CScriptedStream noState(std::string("SSND\x04\0\0\0none", 12)); // back to the defaults
        host_.Call(3, noState.Get(), std::int32_t{0});
    }
    void Start(std::intptr_t tag)
    {
        if (input_.OneIn(16)) {
            host_.Call<std::intptr_t>(9, static_cast<ScriptedVoice*>(nullptr), tag);
            return;
        }
        auto voice = std::make_unique<ScriptedVoice>();
        voice->initialVolume = 2.0f * input_.AnyFloat();
        voice->initialPitch = 12700.0f * input_.AnyFloat();
        const auto key = static_cast<std::size_t>(host_.Start(*voice, tag));
        if (key >= voices_.size())
            std::abort();
        voices_[key] = std::move(voice); // the earlier one isn't read any more
    }
    void Render(std::int32_t any)
    {
        const int frames = input_.PickValueInArray({0, 1, 63, 64, 65, 300, 1000});
        std::vector<float> buffer(2 * static_cast<std::size_t>(frames));
        const std::int32_t length = frames > 0 ? frames : std::min(any, 0);
        host_.Call(8, buffer.data(), &length);
        fuzz::MustBeFinite(buffer);
    }
    void Transfer(std::int32_t save)
    {
        CScriptedStream stream(input_.ConsumeRandomLengthString(720));
        stream.pieceSize = input_.PickValueInArray<std::uint32_t>({~0u, 1, 100, 0});
        stream.failsAt = input_.PickValueInArray<std::size_t>({~0u, 4, 8, 200});
        stream.liesBy = input_.OneIn(8) ? 1 : 0;
        host_.Call(3, input_.OneIn(16) ? nullptr : stream.Get(), save);
    }

    fuzz::CInput input_;
    std::array<std::unique_ptr<ScriptedVoice>, 128> voices_;
    inline static CScriptedHost& host_ = *new CScriptedHost; // to the end of the process
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::CMachine machine;
    CRun(data, size).DoAll();
    return 0;
}
