#include "effects/EffectsUnit.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "effects/Sample.h"

namespace keldra {

namespace {

bool IsSilence(const float* samples, int frames)
{
    // Nearly always it is exact silence, which is seen several samples at a time.
    std::uint32_t bits = 0;
    for (int i = 0; i < frames; ++i)
        bits |= std::bit_cast<std::uint32_t>(samples[i]);
    return bits == 0 || std::all_of(samples, samples + frames,
                                    [](float sample) { return SaneInput(sample) == 0.0f; });
}

} // namespace

void EffectsUnit::SetSampleRate(double hz)
{
    if (!IsUsableRate(hz))
        return;
    isBuilt_ = false;
    shelf_.SetSampleRate(hz);
    Reset();
    delay_.SetSampleRate(hz);
    chorus_.SetSampleRate(hz);
    isBuilt_ = true;
}

void EffectsUnit::TouchMemory()
{
    delay_.TouchMemory();
    chorus_.TouchMemory();
}

void EffectsUnit::Reset()
{
    shelf_.Reset();
    delay_.Reset();
    chorus_.Reset();
}

void EffectsUnit::Process(float* left, float* right, int frames)
{
    if (IsSilent() && IsSilence(left, frames) && IsSilence(right, frames) && PassSilence(frames)) {
        std::fill_n(left, frames, 0.0f);
        std::fill_n(right, frames, 0.0f);
        return;
    }

    shelf_.Process(left, right, frames);
    if (!isBuilt_)
        return;
    chorus_.Process(left, right, frames);
    delay_.Process(left, right, frames);
}

bool EffectsUnit::PassSilence(int frames)
{
    if (!IsSilent())
        return false;
    chorus_.PassSilence(frames);
    delay_.PassSilence(frames);
    return true;
}

bool EffectsUnit::IsSilent() const
{
    return shelf_.IsSilent() && (!isBuilt_ || (chorus_.IsSilent() && delay_.IsSilent()));
}

std::size_t EffectsUnit::MemoryBytes() const
{
    return delay_.MemoryBytes() + chorus_.MemoryBytes();
}

} // namespace keldra
