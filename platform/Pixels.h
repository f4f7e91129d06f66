#pragma once

#include <algorithm>
#include <cstdint>

namespace keldra {

/// Rows, then columns: sizes have this order throughout.
struct PixelSize {
    int height = 0;
    int width = 0;
    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// A place in a window or a picture: x to the right, y downward.
struct PixelPoint {
    int x = 0;
    int y = 0;
    friend bool operator==(const PixelPoint&, const PixelPoint&) = default;
};

/// The pixels x .. x + width - 1 of the rows y .. y + height - 1. Empty unless both sizes are
/// positive.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    friend bool operator==(const PixelRect&, const PixelRect&) = default;

    [[nodiscard]] constexpr bool IsEmpty() const { return width <= 0 || height <= 0; }
    [[nodiscard]] constexpr bool Contains(PixelPoint at) const
    {
        // In 64 bits: x + width may lie beyond the integers.
        return at.x >= x && at.y >= y && at.x < std::int64_t{x} + width &&
               at.y < std::int64_t{y} + height;
    }
};

/// What two rectangles share; all zero when they share nothing. Any numbers are allowed.
[[nodiscard]] constexpr PixelRect Intersection(const PixelRect& a, const PixelRect& b)
{
    const std::int64_t left = std::max(a.x, b.x);
    const std::int64_t top = std::max(a.y, b.y);
    const std::int64_t right = std::min(std::int64_t{a.x} + a.width, std::int64_t{b.x} + b.width);
    const std::int64_t bottom =
        std::min(std::int64_t{a.y} + a.height, std::int64_t{b.y} + b.height);
    if (right <= left || bottom <= top)
        return {};
    // Both fit: the intersection lies inside both, and neither is wider than an int.
    return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
            static_cast<int>(bottom - top)};
}

/// Somebody's pixels, to be read: 32 bits each (blue in the lowest byte, then green, red, alpha),
/// rows from the bottom up without padding.
struct PixelView {
    const std::uint32_t* pixels = nullptr;
    PixelSize size;
};

} // namespace keldra
