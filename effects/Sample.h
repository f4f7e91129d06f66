#pragma once

#include <cmath>

namespace keldra {

/// Below this magnitude (-180 dB) a sample counts as silence. Left alone it would shrink to a
/// denormal number in some filter, and those are slow.
inline constexpr float kSilence = 1e-9f;

/// 0 for what nobody hears and for NaN (which fails every comparison). For values that come out of
/// our own filters and tapes; what comes from outside goes through SaneInput first.
[[nodiscard]] inline float WithoutTiny(float sample)
{
    return std::fabs(sample) >= kSilence ? sample : 0.0f;
}

/// 0 for what nobody hears, for NaN and for what no sound can be (beyond +300 dB, infinity too).
/// The filters and loops behind it are stable, so that all they make of it is finite.
[[nodiscard]] inline float SaneInput(float sample)
{
    const float magnitude = std::fabs(sample);
    return magnitude >= kSilence && magnitude <= 1e15f ? sample : 0.0f;
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

/// Whether lines can be built for a sample rate. Beyond a megahertz something is wrong, and they
/// would take tens of megabytes.
[[nodiscard]] inline bool IsUsableRate(double hz)
{
    return hz >= 1.0 && hz <= 1e6;
}

} // namespace keldra
