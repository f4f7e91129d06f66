#pragma once

#include <bit>
#include <cmath>

namespace keldra {

/// Below this magnitude (-180 dB) a sample counts as silence. Left alone it would shrink to a
/// denormal number in some filter, and those are slow.
inline constexpr float kSilence = 1e-9f;
/// Above this magnitude (+300 dB) it is no sound.
inline constexpr float kAbsurd = 1e15f;

/// Most samples that a tape line processes in one stretch.
inline constexpr int kMaxStretch = 64;

/// Two channels side by side: left and right in the first two of four lanes, nothing in the others.
/// The compilers' own vector type: arithmetic reads as with floats, and a float counts for each
/// lane.
using Stereo = float __attribute__((vector_size(16)));

[[nodiscard]] inline float Magnitude(float sample)
{
    return std::fabs(sample);
}
[[nodiscard]] inline Stereo Magnitude(Stereo sample)
{
    using Bits = int __attribute__((vector_size(16)));
    const Bits withoutSign = std::bit_cast<Bits>(sample) & 0x7fffffff;
    return std::bit_cast<Stereo>(withoutSign);
}

/// 0 for what nobody hears and for NaN, which fails every comparison. For values that come out of
/// our own filters and tapes; what comes from outside goes through SaneInput.
template <typename Sample>
[[nodiscard]] inline Sample WithoutTiny(Sample sample)
{
    return Magnitude(sample) >= kSilence ? sample : Sample{};
}

/// 0 for what nobody hears and for what isn't a sound: NaN, infinity and the absurdly loud. All
/// filters and loops behind it are stable, so that what they make of it stays finite.
template <typename Sample>
[[nodiscard]] inline Sample SaneInput(Sample sample)
{
    const Sample magnitude = Magnitude(sample);
    return ((magnitude >= kSilence) & (magnitude <= kAbsurd)) ? sample : Sample{};
}

/// Limits a value; NaN becomes the lower limit (std::clamp would let it through).
[[nodiscard]] inline float Limited(float value, float low, float high)
{
    return std::fmin(std::fmax(value, low), high);
}
[[nodiscard]] inline double Limited(double value, double low, double high)
{
    return std::fmin(std::fmax(value, low), high);
}

/// Whether lines can be built for a sample rate. Beyond these something is wrong, and they would
/// take tens of megabytes or hold nothing.
[[nodiscard]] inline bool IsUsableRate(double hz)
{
    return hz >= 1000.0 && hz <= 1e6;
}

} // namespace keldra
