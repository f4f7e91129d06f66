// State blocks of any bytes: whatever a host kept, and whatever the program sounds like, it sounds
// finite, and what is saved then can be loaded again.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "engine/KeldraSynth.h"
#include "frame/StateBlock.h"
#include "fuzz/Input.h"
#include "fuzz/Machine.h"

using namespace keldra;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::CMachine machine;
    static const auto synth = std::make_unique<KeldraSynth>();
    const auto bytes = std::as_bytes(std::span(data, size));
    const StateBlockContent content = ReadStateBlock(bytes);
    const std::vector<std::byte> copy(bytes.begin(), bytes.end()); // its end is its end
    if (synth->SetChunk(copy.data(), static_cast<int>(copy.size())) != content.Accepted())
        std::abort();

    synth->Keys() = {};
    synth->ChangeSampleRate(0.0); // ends what still sounds
    for (const int key : {36, 60, 84}) {
        EventNode* const node = synth->AddEvent(static_cast<std::uint32_t>(key), 4);
        if (node != nullptr)
            node->message = {0x90, static_cast<std::uint8_t>(key), 100, 0};
    }
    std::array<float, 400> left, right;
    float* outputs[] = {left.data(), right.data()};
    synth->ProcessBlock({nullptr, outputs, 400}, CPluginRenderer::EMode::Replacing);
    fuzz::MustBeFinite(left);
    fuzz::MustBeFinite(right);

    std::array<std::byte, kStateSize> saved{};
    if (synth->GetChunk(saved.data()) != static_cast<int>(kStateSize) ||
        !synth->SetChunk(saved.data(), static_cast<int>(kStateSize)))
        std::abort();
    std::array<std::byte, kStateSize> again{};
    synth->GetChunk(again.data());
    if (saved != again)
        std::abort();
    return 0;
}
