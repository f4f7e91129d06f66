#include "skin/Type.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ft2build.h>
#include FT_FREETYPE_H

namespace keldra::skin {

struct CType::Faces {
    FT_Library library = nullptr;
    FT_Face regular = nullptr;
    FT_Face bold = nullptr;

    ~Faces()
    {
        FT_Done_Face(regular);
        FT_Done_Face(bold);
        FT_Done_FreeType(library);
    }
};

struct CType::Glyph {
    const FT_Bitmap* bitmap = nullptr; ///< of the face, until its next glyph
    int left = 0;                      ///< from the pen to the bitmap
    int top = 0;                       ///< from the baseline up to the bitmap's first row
    int advance = 0;
    FT_Pos leftMoved = 0, rightMoved = 0; ///< by which the hinter moved the edges, 1 / 64 pixel
};

/// Sets a line of text: answers where each letter's pen stands.
class CType::CPen {
public:
    /// @return the pen's place for the glyph
    int Before(const Glyph& glyph)
    {
        // What hinting took from the gap between two letters is given back in whole pixels.
        if (!first_) {
            if (rightMoved_ - glyph.leftMoved > 32)
                --place_;
            else if (rightMoved_ - glyph.leftMoved < -31)
                ++place_;
        }
        first_ = false;
        rightMoved_ = glyph.rightMoved;
        const int place = place_;
        place_ += glyph.advance;
        return place;
    }
    [[nodiscard]] int Place() const { return place_; }

private:
    bool first_ = true;
    int place_ = 0;
    FT_Pos rightMoved_ = 0;
};

CType::CType(std::unique_ptr<Faces> faces) : faces_(std::move(faces)) {}

CType::~CType() = default;

std::unique_ptr<CType> CType::Open(const std::string& regularFont, const std::string& boldFont)
{
    auto faces = std::make_unique<Faces>();
    if (FT_Init_FreeType(&faces->library) != 0 ||
        FT_New_Face(faces->library, regularFont.c_str(), 0, &faces->regular) != 0 ||
        FT_New_Face(faces->library, boldFont.c_str(), 0, &faces->bold) != 0)
        return nullptr;
    return std::unique_ptr<CType>(new CType(std::move(faces)));
}

CType::Glyph CType::GlyphOf(char letter, const TypeStyle& style) const
{
    const FT_Face face = style.bold ? faces_->bold : faces_->regular;
    FT_Set_Char_Size(face, 0, std::lround(style.size * 64.0), 72, 72);
    if (FT_Load_Char(face, static_cast<unsigned char>(letter),
                     FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT | FT_LOAD_TARGET_NORMAL) != 0)
        return {};
    const FT_GlyphSlot slot = face->glyph;
    return {&slot->bitmap,
            slot->bitmap_left,
            slot->bitmap_top,
            static_cast<int>((slot->advance.x + 32) >> 6) + style.tracking +
                (letter == ' ' ? 1 : 0),
            slot->lsb_delta,
            slot->rsb_delta};
}

int CType::Width(std::string_view text, const TypeStyle& style) const
{
    CPen pen;
    for (const char letter : text)
        pen.Before(GlyphOf(letter, style));
    return pen.Place() - style.tracking;
}

namespace {

int FirstPen(double x, int width, EAlign align)
{
    const double share = align == EAlign::Left ? 0.0 : align == EAlign::Centre ? 0.5 : 1.0;
    return static_cast<int>(std::floor(x - share * width + 0.5));
}

} // namespace

Box CType::Extents(std::string_view text, double x, int baseline, EAlign align,
                   const TypeStyle& style) const
{
    const int start = FirstPen(x, Width(text, style), align);
    CPen pen;
    int left = 1 << 20, top = 1 << 20, right = -left, bottom = -top;
    for (const char letter : text) {
        const Glyph glyph = GlyphOf(letter, style);
        const int from = start + pen.Before(glyph) + glyph.left;
        if (glyph.bitmap != nullptr && glyph.bitmap->width > 0) {
            left = std::min(left, from);
            right = std::max(right, from + static_cast<int>(glyph.bitmap->width));
            top = std::min(top, baseline - glyph.top);
            bottom = std::max(bottom, baseline - glyph.top + static_cast<int>(glyph.bitmap->rows));
        }
    }
    if (right < left)
        return {};
    return {static_cast<double>(left), static_cast<double>(top), static_cast<double>(right - left),
            static_cast<double>(bottom - top)};
}

void CType::Draw(CCanvas& canvas, std::string_view text, double x, int baseline, EAlign align,
                 const TypeStyle& style, Ink ink) const
{
    const int start = FirstPen(x, Width(text, style), align);
    CPen pen;
    for (const char letter : text) {
        const Glyph glyph = GlyphOf(letter, style);
        const int from = start + pen.Before(glyph) + glyph.left;
        if (glyph.bitmap != nullptr)
            canvas.Stamp(glyph.bitmap->buffer, static_cast<int>(glyph.bitmap->width),
                         static_cast<int>(glyph.bitmap->rows), glyph.bitmap->pitch, from,
                         baseline - glyph.top, ink);
    }
}

} // namespace keldra::skin
