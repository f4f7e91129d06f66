// A VST host that is wrong wherever the interface lets it be: opcodes in any order with indices out
// of range, null texts, windows opened twice and closed unopened, rates and block lengths of no
// sense, several instances, and answers of its own that nobody can use.

#include <span>
#include <string>

#include "fuzz/HostileVstHost.h"
#include "fuzz/Machine.h"
#include "hosts/module/VstPluginMain.cpp"

using namespace keldra;
using namespace keldra::vst;

namespace {

constexpr int kLongestBlock = 100000;

void Render(fuzz::CInput& input, AEffect& effect, int& framesLeft)
{
    int frames =
        input.PickValueInArray({0, 1, 64, 65, 200, 512, -1, input.AnyInt(), kLongestBlock});
    if (frames > framesLeft)
        frames = framesLeft % 512;
    framesLeft -= std::max(frames, 0);
    std::array<std::vector<float>, 2> channels;
    for (auto& channel : channels)
        channel.resize(static_cast<std::size_t>(std::max(frames, 0)));
    float* outputs[] = {channels[0].data(), channels[1].data()};
    if (input.OneIn(16))
        outputs[input.UpTo(1)] = nullptr;
    const auto run = input.ConsumeBool() ? effect.processReplacing : effect.process;
    run(&effect, nullptr, input.OneIn(32) ? nullptr : outputs, frames);
    for (const auto& channel : channels)
        fuzz::MustBeFinite(channel);
}

void Dispatch(fuzz::CInput& input, AEffect& effect)
{
    const VstInt32 opcode =
        input.PickValueInArray({input.ConsumeIntegralInRange(-1, 81), input.AnyInt()});
    VstIntPtr value = input.AnyInt();
    const std::string text = input.ConsumeRandomLengthString(700);
    std::vector<char> memory(fuzz::RoomFor(opcode)); // its end is its end
    text.copy(memory.data(), memory.size() - 1);
    void* ptr = memory.data();
    void* out = nullptr;
    switch (opcode) {
    case effClose: // that is a step of its own
        return;
    case effProcessEvents:
        return fuzz::SendHostileEvents(input, effect);
    case effEditOpen:
        ptr = reinterpret_cast<void*>(7);
        break;
    case effEditGetRect:
    case effGetChunk:
        ptr = &out;
        break;
    case effSetChunk:
        memory.assign(text.begin(), text.end());
        ptr = memory.data();
        value = input.OneIn(4) ? std::min<VstIntPtr>(value, 0) : std::ssize(memory);
        break;
    case effSetSpeakerArrangement:
    case effGetSpeakerArrangement:
        value = input.ConsumeBool() ? reinterpret_cast<VstIntPtr>(&out) : 0;
        break;
    default:
        break;
    }
    if (input.OneIn(10))
        ptr = nullptr;
    const VstIntPtr answer =
        effect.dispatcher(&effect, opcode, input.AnyInt(), value, ptr, input.AnyFloat());
    if (opcode == effGetChunk && out != nullptr && input.ConsumeBool()) // as hosts do
        effect.dispatcher(&effect, effSetChunk, 0, answer, out, 0.0f);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::CMachine machine;
    std::vector<AEffect*> effects{&fuzz::KeptEffect(VSTPluginMain)};
    fuzz::CInput input(data, size);
    fuzz::hostInput = &input;
    int framesLeft = input.OneIn(32) ? kLongestBlock + 2000 : 2000;
    while (!input.IsEmpty()) {
        const int step = input.UpTo(19);
        if (step == 0 && effects.size() < 3 && input.OneIn(8)) {
            if (AEffect* const made = VSTPluginMain(fuzz::HostileAnswer))
                effects.push_back(made);
            continue;
        }
        const auto which = effects.begin() + input.UpTo(static_cast<int>(effects.size()) - 1);
        AEffect& effect = **which;
        if (step == 1 && which != effects.begin()) {
            effect.dispatcher(&effect, effClose, 0, 0, nullptr, 0.0f);
            effects.erase(which);
        } else if (step < 7) {
            Render(input, effect, framesLeft);
        } else if (step < 10) {
            effect.setParameter(&effect, input.AnyInt(), input.AnyFloat());
            static_cast<void>(effect.getParameter(&effect, input.AnyInt()));
        } else {
            Dispatch(input, effect);
        }
    }
    for (AEffect* const effect : std::span(effects).subspan(1))
        effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f);
    fuzz::ResetEffect(*effects.front());
    return 0;
}
