#pragma once

#include <cstdint>

namespace keldra {

/// A colour as it lies in a pixel: blue in the lowest byte, then green, red and alpha.
using Color = std::uint32_t;

[[nodiscard]] constexpr Color Rgba(unsigned red, unsigned green, unsigned blue, unsigned alpha)
{
    return (alpha & 255u) << 24 | (red & 255u) << 16 | (green & 255u) << 8 | (blue & 255u);
}
[[nodiscard]] constexpr Color Rgb(unsigned red, unsigned green, unsigned blue)
{
    return Rgba(red, green, blue, 255);
}

inline constexpr Color kOpaqueBlack = Rgb(0, 0, 0);

[[nodiscard]] constexpr unsigned BlueOf(Color color)
{
    return color & 255u;
}
[[nodiscard]] constexpr unsigned GreenOf(Color color)
{
    return color >> 8 & 255u;
}
[[nodiscard]] constexpr unsigned RedOf(Color color)
{
    return color >> 16 & 255u;
}
[[nodiscard]] constexpr unsigned AlphaOf(Color color)
{
    return color >> 24;
}

[[nodiscard]] constexpr Color WithAlpha(Color color, unsigned alpha)
{
    return (color & 0x00ffffffu) | (alpha & 255u) << 24;
}

/// A number as a colour channel: truncated, limited to 0 .. 255; 0 for NaN.
[[nodiscard]] constexpr unsigned ChannelFrom(double value)
{
    if (!(value > 0.0))
        return 0;
    return value >= 255.0 ? 255u : static_cast<unsigned>(value);
}

/// Red, green and blue times a factor, in single precision; alpha stays.
[[nodiscard]] constexpr Color Scaled(Color color, float factor)
{
    return Rgba(ChannelFrom(static_cast<float>(RedOf(color)) * factor),
                ChannelFrom(static_cast<float>(GreenOf(color)) * factor),
                ChannelFrom(static_cast<float>(BlueOf(color)) * factor), AlphaOf(color));
}

} // namespace keldra
