#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace keldra {

/// A sixteenth note lasts 15 / tempo seconds, the tempo in beats (quarters) per minute.
inline constexpr double kSixteenthAtOneBpmSeconds = 15.0;

/// A float as an int, truncated toward zero. Saturates; 0 for NaN.
[[nodiscard]] constexpr int TruncateToInt(double value)
{
    if (value != value)
        return 0;
    if (value >= 2147483647.0)
        return std::numeric_limits<int>::max();
    if (value <= -2147483648.0)
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

/// Limits a number; a NaN becomes the lower limit (std::clamp would let it through).
[[nodiscard]] constexpr float Clamped(float value, float low, float high)
{
    const float raised = value > low ? value : low; // false for a NaN
    return raised < high ? raised : high;
}
[[nodiscard]] constexpr double Clamped(double value, double low, double high)
{
    const double raised = value > low ? value : low;
    return raised < high ? raised : high;
}

/// 0 for magnitudes below 1e-9 and for what isn't finite: neither denormals, which are slow, nor
/// a NaN, which would never leave again, gets into a filter.
[[nodiscard]] inline float FlushedTiny(float value)
{
    const float magnitude = std::fabs(value);
    return magnitude >= 1e-9f && magnitude <= std::numeric_limits<float>::max() ? value : 0.0f;
}

} // namespace keldra
