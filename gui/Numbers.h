#pragma once

#include <cmath>
#include <limits>

namespace keldra {

/// A number as an int, truncated toward zero. Saturates; 0 for NaN.
[[nodiscard]] constexpr int Truncated(double value)
{
    if (value != value)
        return 0;
    if (value >= 2147483647.0)
        return std::numeric_limits<int>::max();
    if (value <= -2147483648.0)
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

/// A control's value limited to 0 .. 1; 0 for NaN.
[[nodiscard]] inline float ClampedToUnit(float value)
{
    return std::fmin(std::fmax(value, 0.0f), 1.0f);
}

} // namespace keldra
