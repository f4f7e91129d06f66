#include "gui/Fonts.h"
#include "gui/GraphicBuffer.h"

namespace keldra {

namespace {

constexpr std::size_t kLongestText = 1024;

int WidthOf(std::string_view text, const CBitmapFont& font)
{
    int width = -1; // no gap behind the last glyph
    for (const char character : text)
        width += character == ' ' ? CBitmapFont::SpaceAdvance()
                                  : font.GlyphOf(character).advance + font.Spacing();
    return width;
}

} // namespace

PixelSize CGraphicBuffer::DrawText(std::string_view text, const PixelRect& box, ETextPass pass)
{
    if (!IsValid() || text.empty())
        return {};
    text = text.substr(0, kLongestText);
    const CBitmapFont& font = CBitmapFont::Of(state_.font);
    const PixelSize extent{font.LineHeight(), WidthOf(text, font)};
    if (extent.width < 1 || pass == ETextPass::MeasureOnly)
        return extent;

    const auto [x, y, width, height] = Limited(box);
    int left = x;
    if (state_.textAlign == ETextAlign::Center)
        left = x + (width - extent.width) / 2;
    else if (state_.textAlign == ETextAlign::Right)
        left = x + width - extent.width;
    else if (state_.font == EFont::Bold)
        left = x - 1;
    const int top = y + (height - extent.height) / 2;
    if (Intersection({left, top, extent.width, extent.height}, clip_).IsEmpty())
        return extent;

    const Color color = state_.textColor;
    const unsigned alpha = AlphaOf(color);
    for (const char character : text) {
        if (character == ' ') {
            left += CBitmapFont::SpaceAdvance();
            continue;
        }
        const Glyph glyph = font.GlyphOf(character);
        if (glyph.pixelCount == 0 || glyph.pixelCount > font.LineHeight() * glyph.advance)
            return extent;
        for (int i = 0; i < glyph.pixelCount; ++i) {
            const auto [position, shade] = glyph.At(i);
            const PixelPoint at{left + (position & 15), top + (position >> 4)};
            if (!clip_.Contains(at))
                continue;
            std::uint32_t& pixel = Row(at.y)[at.x];
            const unsigned opacity = (alpha * 255 - shade * alpha) >> 8;
            const unsigned rest = 255 - opacity;
            pixel =
                Rgba((RedOf(pixel) * rest >> 8) + (RedOf(color) * opacity >> 8),
                     (GreenOf(pixel) * rest >> 8) + (GreenOf(color) * opacity >> 8),
                     (BlueOf(pixel) * rest >> 8) + (BlueOf(color) * opacity >> 8), AlphaOf(pixel));
        }
        left += glyph.advance + font.Spacing();
    }
    return extent;
}

} // namespace keldra
