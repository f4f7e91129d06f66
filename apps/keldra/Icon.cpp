#include "apps/keldra/Icon.h"

#include <algorithm>
#include <cmath>

namespace keldra::standalone {

namespace {

struct Colour {
    double red = 0.0, green = 0.0, blue = 0.0, alpha = 0.0; ///< 0 .. 255, alpha 0 .. 1
};
constexpr Colour kTile{38.0, 32.0, 27.0, 1.0};
constexpr Colour kRim{16.0, 13.0, 11.0, 1.0};
constexpr Colour kBrassInLight{238.0, 208.0, 150.0, 1.0};
constexpr Colour kBrassInShade{112.0, 82.0, 42.0, 1.0};
constexpr Colour kPointer{30.0, 24.0, 20.0, 1.0};

constexpr int kSamplesEachWay = 4; ///< of a pixel, for smooth edges

Colour Between(const Colour& from, const Colour& to, double share)
{
    return {std::lerp(from.red, to.red, share), std::lerp(from.green, to.green, share),
            std::lerp(from.blue, to.blue, share), 1.0};
}

/// @param x  -1 .. 1 to the right  @param y  -1 .. 1 upward; beyond the tile it is transparent
Colour ColourAt(double x, double y)
{
    constexpr double kHalfTile = 0.97;
    constexpr double kCorner = 0.3;
    const double dx = std::max(std::fabs(x) - (kHalfTile - kCorner), 0.0);
    const double dy = std::max(std::fabs(y) - (kHalfTile - kCorner), 0.0);
    if (std::hypot(dx, dy) > kCorner)
        return {};
    const double radius = std::hypot(x, y);
    if (radius > 0.76)
        return kTile;
    if (radius > 0.68)
        return kRim;
    // A pointer to the upper right, and light from above.
    const double along = (x + y) * std::sqrt(0.5);
    const double across = (x - y) * std::sqrt(0.5);
    if (along > 0.2 && std::fabs(across) < 0.075)
        return kPointer;
    return Between(kBrassInShade, kBrassInLight, std::clamp(0.5 + 0.7 * y, 0.0, 1.0));
}

std::uint32_t PixelAt(int column, int row)
{
    Colour sum;
    for (int i = 0; i < kSamplesEachWay * kSamplesEachWay; ++i) {
        const auto place = [](int pixel, int sample) {
            return (pixel + (sample + 0.5) / kSamplesEachWay) * 2.0 / kIconPixels - 1.0;
        };
        const Colour colour =
            ColourAt(place(column, i % kSamplesEachWay), place(row, i / kSamplesEachWay));
        sum = {sum.red + colour.red, sum.green + colour.green, sum.blue + colour.blue,
               sum.alpha + colour.alpha};
    }
    if (sum.alpha == 0.0)
        return 0;
    // Only what is covered gives colour; how much that is, is the alpha.
    const auto byte = [](double value) { return static_cast<std::uint32_t>(value + 0.5); };
    return byte(255.0 * sum.alpha / (kSamplesEachWay * kSamplesEachWay)) << 24 |
           byte(sum.red / sum.alpha) << 16 | byte(sum.green / sum.alpha) << 8 |
           byte(sum.blue / sum.alpha);
}

} // namespace

std::vector<std::uint32_t> DrawIcon()
{
    std::vector<std::uint32_t> pixels;
    for (int row = 0; row < kIconPixels; ++row)
        for (int column = 0; column < kIconPixels; ++column)
            pixels.push_back(PixelAt(column, row));
    return pixels;
}

} // namespace keldra::standalone
