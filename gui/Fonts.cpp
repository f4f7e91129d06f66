#include "gui/Fonts.h"

#include "gui/FontData.h"

namespace keldra {

namespace {

constexpr CBitmapFont kRegularFont(kRegularFontData, 1);
constexpr CBitmapFont kBoldFont(kBoldFontData, 0);

constexpr int kFirstCharacter = '!';
constexpr int kLastCharacter = '~';

} // namespace

const CBitmapFont& CBitmapFont::Of(EFont font)
{
    return font == EFont::Bold ? kBoldFont : kRegularFont;
}

Glyph CBitmapFont::GlyphOf(char character) const
{
    int code = static_cast<unsigned char>(character);
    if (code < kFirstCharacter || code > kLastCharacter)
        code = '?';
    const auto entry = static_cast<std::size_t>(1 + 2 * (code - kFirstCharacter));
    const auto offset = static_cast<std::size_t>(data_[entry] | data_[entry + 1] << 8);
    return {data_[offset], data_[offset + 1], &data_[offset + 2]};
}

std::string Drawable(std::string_view utf8)
{
    // The Latin letters U+00C0 .. U+017F, two bytes each: c3 80 .. c5 bf.
    constexpr std::string_view kPlain =
        "AAAAAAACEEEEIIIIDNOOOOOxOUUUUYTsaaaaaaaceeeeiiiidnooooo/ouuuuyty"
        "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIiJjJjKkkLlLlLlL"
        "lLlNnNnNnnNnOoOoOoOoRrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs";
    static_assert(kPlain.size() == 0x180 - 0xc0);
    std::string drawable;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto code = static_cast<unsigned char>(utf8[i]);
        const unsigned next = i + 1 < utf8.size() ? static_cast<unsigned char>(utf8[i + 1]) : 0u;
        const bool isInside = (code & 0xc0) == 0x80;
        if (code < 0x80)
            drawable += utf8[i];
        else if (code >= 0xc3 && code <= 0xc5 && (next & 0xc0) == 0x80)
            drawable += kPlain[(code - 0xc3u) * 64 + (next & 0x3f)];
        else if (!isInside)
            drawable += '?'; // of a longer character its first byte
    }
    return drawable;
}

} // namespace keldra
