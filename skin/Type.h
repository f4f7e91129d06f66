#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "skin/Canvas.h"

namespace keldra::skin {

/// How a line of text is set.
struct TypeStyle {
    bool bold = false;
    double size = 10.0; ///< pixels an em
    int tracking = 0;   ///< whole pixels added after each letter
};

enum class EAlign { Left, Centre, Right };

/// The type of the panel. Every letter is fitted to whole pixels and placed on whole pixels: small
/// print stays sharp, and equal letters look equal.
class CType {
public:
    /// @return null when a font can't be read
    [[nodiscard]] static std::unique_ptr<CType> Open(const std::string& regularFont,
                                                     const std::string& boldFont);
    ~CType();

    /// The pixels with ink, when the text is drawn at (x, baseline). All 0 without ink.
    [[nodiscard]] Box Extents(std::string_view text, double x, int baseline, EAlign align,
                              const TypeStyle& style) const;
    /// @param canvas  one without oversampling
    /// @param baseline  the row below the capitals
    void Draw(CCanvas& canvas, std::string_view text, double x, int baseline, EAlign align,
              const TypeStyle& style, Ink ink) const;

private:
    struct Faces;
    struct Glyph;
    class CPen;

    explicit CType(std::unique_ptr<Faces> faces);
    [[nodiscard]] Glyph GlyphOf(char letter, const TypeStyle& style) const;
    [[nodiscard]] int Width(std::string_view text, const TypeStyle& style) const;

    std::unique_ptr<Faces> faces_;
};

} // namespace keldra::skin
