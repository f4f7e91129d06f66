#include <cmath>

#include "gui/GraphicBuffer.h"

// A stroke is as many one-pixel lines side by side as the pen is wide. Such a line runs along its
// longer direction, the main one: in each pixel column (or row) that it crosses, the two pixels
// that straddle it share the coverage, each the more the nearer its centre is; columns at the ends
// count by the part of them that the line covers. All in 16.16 fixed point.
//
//   main axis  ->   0    1    2    3          a line from (0, 1) to (4, 3): at the centre of
//   cross  1      .75  .25                    column 0 it is at 1.25, so row 1 gets 3/4 of the
//          2      .25  .75  .75  .25          coverage and row 2 gets 1/4
//          3                .25  .75
//
// The lines of a stroke overlap. Blending each would darken the seams, so their coverage is first
// added up in the alpha bytes of the pixels and blended once, at the end.
//
// Test: GraphicBuffer.BlendsAThick* and the golden picture of shapes

namespace keldra {

namespace {

constexpr float kFarthest = 32000.0f;  // 16.16 ends at 32767, and pictures end far below
constexpr float kLineDistance = 0.83f; // between a stroke's lines: less than 1, so they close up

constexpr std::int64_t kOne = 65536;

std::int64_t Fixed(float value)
{
    return std::llround(static_cast<double>(value) * static_cast<double>(kOne));
}

float LimitedPlace(float value)
{
    return std::fmin(std::fmax(value, -kFarthest), kFarthest);
}

/// One end of a line, by direction.
struct LineEnd {
    float main = 0.0f;
    float cross = 0.0f;
};

/// Calls visit(main, cross, coverage) for each pixel that a one-pixel line touches, coverage
/// 1 .. 255, inside the limits (first, beyond the last) of the main axis.
template <typename Visit>
void WalkLine(LineEnd from, LineEnd to, int firstMain, int beyondMain, const Visit& visit)
{
    if (from.main > to.main)
        std::swap(from, to);
    const std::int64_t begin = Fixed(from.main);
    const std::int64_t end = Fixed(to.main);
    if (begin >= end)
        return;
    const double slope = (static_cast<double>(to.cross) - static_cast<double>(from.cross)) /
                         (static_cast<double>(to.main) - static_cast<double>(from.main));
    const std::int64_t step = std::llround(slope * static_cast<double>(kOne));
    const auto first = std::max(begin >> 16, std::int64_t{firstMain});
    const auto beyond = std::min((end + kOne - 1) >> 16, std::int64_t{beyondMain});
    std::int64_t cross = Fixed(from.cross) + ((first * kOne + kOne / 2 - begin) * step >> 16);
    for (std::int64_t main = first; main < beyond; ++main, cross += step) {
        const std::int64_t covered =
            std::min((main + 1) * kOne, end) - std::max(main * kOne, begin);
        const std::int64_t upper = (cross & (kOne - 1)) >> 8; // 0 .. 255
        const auto row = static_cast<int>(cross >> 16);
        const auto lowerCoverage = static_cast<unsigned>((255 - upper) * covered >> 16);
        const auto upperCoverage = static_cast<unsigned>(upper * covered >> 16);
        if (lowerCoverage != 0)
            visit(static_cast<int>(main), row, lowerCoverage);
        if (upperCoverage != 0)
            visit(static_cast<int>(main), row + 1, upperCoverage);
    }
}

} // namespace

void CGraphicBuffer::DrawLine(int x1, int y1, int x2, int y2)
{
    DrawLine(static_cast<float>(x1), static_cast<float>(y1), static_cast<float>(x2),
             static_cast<float>(y2));
}

void CGraphicBuffer::DrawLine(float x1, float y1, float x2, float y2)
{
    const float fromX = LimitedPlace(x1);
    const float fromY = LimitedPlace(y1);
    const float dx = LimitedPlace(x2) - fromX;
    const float dy = LimitedPlace(y2) - fromY;
    const float length = std::hypot(dx, dy);
    const unsigned alpha = AlphaOf(state_.penColor);
    if (!IsValid() || !(length > 0.0f) || alpha == 0)
        return;

    const float normalX = dy / length * kLineDistance;
    const float normalY = -dx / length * kLineDistance;
    const int width = state_.penWidth;
    const float back = width > 1 ? 0.5f - static_cast<float>(width) * 0.5f : 0.0f;
    const bool steep = std::fabs(dy) > std::fabs(dx);
    const PixelRect clip = clip_;

    const auto everyPixel = [&](const auto& change) {
        for (int line = 0; line < width; ++line) {
            const float aside = back + static_cast<float>(line);
            const float x = fromX + normalX * aside;
            const float y = fromY + normalY * aside;
            if (steep)
                WalkLine({y, x}, {y + dy, x + dx}, clip.y, clip.y + clip.height,
                         [&](int atY, int atX, unsigned coverage) {
                             if (atX >= clip.x && atX < clip.x + clip.width)
                                 change(Row(atY)[atX], coverage);
                         });
            else
                WalkLine({x, y}, {x + dx, y + dy}, clip.x, clip.x + clip.width,
                         [&](int atX, int atY, unsigned coverage) {
                             if (atY >= clip.y && atY < clip.y + clip.height)
                                 change(Row(atY)[atX], coverage);
                         });
        }
    };

    // Whatever was drawn there before may have left an alpha.
    everyPixel([](std::uint32_t& pixel, unsigned) { pixel = WithAlpha(pixel, 0); });
    everyPixel([](std::uint32_t& pixel, unsigned coverage) {
        pixel = WithAlpha(pixel, std::min(AlphaOf(pixel) + coverage, 255u));
    });
    const Color color = state_.penColor;
    everyPixel([color, alpha](std::uint32_t& pixel, unsigned) {
        const unsigned opacity = AlphaOf(pixel) * alpha / 255;
        pixel = WithAlpha(pixel, 0); // not to be blended again by the stroke's next line
        if (opacity == 0)
            return;
        const unsigned rest = 255 - opacity;
        pixel = Rgba((RedOf(color) * opacity + RedOf(pixel) * rest) >> 8,
                     (GreenOf(color) * opacity + GreenOf(pixel) * rest) >> 8,
                     (BlueOf(color) * opacity + BlueOf(pixel) * rest) >> 8, 0);
    });
}

} // namespace keldra
