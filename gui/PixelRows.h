#pragma once

#include <cstddef>
#include <cstdint>

#include "gui/Color.h"

namespace keldra {

// The inner loops of all drawing: one row of pixels each, no bounds checked, the compiler's vector
// units used (PixelRows.cpp says how). Weights of a blend add up to 255 and the sum is divided by
// 256, truncating: even a weight of 0 takes a little away. The skin is drawn for that.
// `to` and `from` never overlap; a destination's alpha byte stays unless stated.

/// to = (to x (255 - opacity) + from x opacity) >> 8. @param opacity  0 .. 255
void BlendRow(std::uint32_t* to, const std::uint32_t* from, std::size_t count, unsigned opacity);

/// The same with each source pixel's alpha x weight >> 8 as its opacity.
/// @param weight  0 .. 256; 256 takes the alpha as it is
void BlendAlphaRow(std::uint32_t* to, const std::uint32_t* from, std::size_t count,
                   unsigned weight);

/// Blends one colour into a row. @param opacity  0 .. 255; the colour's own alpha is not looked at
void TintRow(std::uint32_t* to, std::size_t count, Color color, unsigned opacity);

/// One channel of each of a row's pixels, in 16.16 fixed point, as it starts and as it grows.
struct ChannelRamp {
    std::int32_t value = 0;
    std::int32_t step = 0;
};

/// Blends a colour that changes from pixel to pixel, each by its own alpha's integer part.
/// Every channel has to stay in 0 .. 255 (in 16.16) over the row.
struct ColorRamp {
    ChannelRamp blue, green, red, alpha;
};
void BlendRampRow(std::uint32_t* to, std::size_t count, const ColorRamp& ramp);

} // namespace keldra
