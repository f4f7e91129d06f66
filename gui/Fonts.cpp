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

} // namespace keldra
