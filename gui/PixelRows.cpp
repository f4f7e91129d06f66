#include "gui/PixelRows.h"

// A pixel is blended in two 32-bit products: red and blue travel in one word, 16 bits apart, green
// in another. The weights add up to 255, so a channel's sum is at most 255 x 255, which fits in 16
// bits: neighbours never disturb each other, and the shift gives each channel's own truncated
// quotient. Words, and no bytes, because both compilers turn these loops into vector code (see
// with -fopt-info-vec), which measured 1.3 to 2 times as fast as the byte loops they also accept.

namespace keldra {

namespace {

constexpr std::uint32_t kRedBlue = 0x00ff00ff;
constexpr std::uint32_t kGreen = 0x0000ff00;
constexpr std::uint32_t kAlpha = 0xff000000;

// `redBlue` and `green` are the colour's channels in place.
constexpr std::uint32_t Blended(std::uint32_t to, std::uint32_t redBlue, std::uint32_t green,
                                std::uint32_t opacity)
{
    const std::uint32_t rest = 255 - opacity;
    const std::uint32_t newRedBlue = ((to & kRedBlue) * rest + redBlue * opacity) >> 8;
    const std::uint32_t newGreen = ((to & kGreen) * rest + green * opacity) >> 8;
    return (to & kAlpha) | (newRedBlue & kRedBlue) | (newGreen & kGreen);
}

} // namespace

void BlendRow(std::uint32_t* __restrict to, const std::uint32_t* __restrict from, std::size_t count,
              unsigned opacity)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = Blended(to[i], from[i] & kRedBlue, from[i] & kGreen, opacity);
}

void BlendAlphaRow(std::uint32_t* __restrict to, const std::uint32_t* __restrict from,
                   std::size_t count, unsigned weight)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] =
            Blended(to[i], from[i] & kRedBlue, from[i] & kGreen, ((from[i] >> 24) * weight) >> 8);
}

void TintRow(std::uint32_t* to, std::size_t count, Color color, unsigned opacity)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = Blended(to[i], color & kRedBlue, color & kGreen, opacity);
}

void BlendRampRow(std::uint32_t* to, std::size_t count, const ColorRamp& ramp)
{
    ChannelRamp blue = ramp.blue;
    ChannelRamp green = ramp.green;
    ChannelRamp red = ramp.red;
    ChannelRamp alpha = ramp.alpha;
    for (std::size_t i = 0; i < count; ++i) {
        const auto redBlue = (static_cast<std::uint32_t>(red.value) & 0x00ff0000) |
                             static_cast<std::uint32_t>(blue.value) >> 16;
        const auto greenInPlace = static_cast<std::uint32_t>(green.value) >> 8 & kGreen;
        to[i] =
            Blended(to[i], redBlue, greenInPlace, static_cast<std::uint32_t>(alpha.value) >> 16);
        blue.value += blue.step;
        green.value += green.step;
        red.value += red.step;
        alpha.value += alpha.step;
    }
}

} // namespace keldra
