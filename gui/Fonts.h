#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "gui/GraphicBuffer.h"

namespace keldra {

/// A glyph of a built-in font.
struct Glyph {
    /// One pixel's place and how little ink it has.
    struct Pixel {
        std::uint8_t position; ///< column in the low four bits, row in the high four
        std::uint8_t shade;    ///< 255 - coverage
    };
    int advance = 0; ///< pixels, without the font's spacing
    int pixelCount = 0;
    const std::uint8_t* pixels = nullptr; ///< pairs of position and shade

    [[nodiscard]] Pixel At(int index) const { return {pixels[2 * index], pixels[2 * index + 1]}; }
};

/// One of the two built-in bitmap fonts, in its packed form: a byte for the line height, then for
/// each of the characters '!' to '~' the offset of its glyph (16 bits, low byte first), then the
/// glyphs: advance width, number of pixels, and two bytes a pixel.
class CBitmapFont {
public:
    constexpr CBitmapFont(std::span<const std::uint8_t> data, int spacing)
        : data_(data), spacing_(spacing)
    {
    }
    [[nodiscard]] static const CBitmapFont& Of(EFont font);

    [[nodiscard]] int LineHeight() const { return data_[0]; }
    [[nodiscard]] int Spacing() const { return spacing_; } ///< pixels between two glyphs
    [[nodiscard]] static constexpr int SpaceAdvance() { return 4; }
    [[nodiscard]] Glyph GlyphOf(char character) const; ///< that of '?' for what the font lacks
    [[nodiscard]] std::span<const std::uint8_t> Data() const { return data_; }

private:
    std::span<const std::uint8_t> data_;
    int spacing_;
};

/// A text as the fonts can show it: Latin letters without their accents, and one '?' for each
/// character that they lack, instead of one for each of its bytes.
[[nodiscard]] std::string Drawable(std::string_view utf8);

} // namespace keldra
