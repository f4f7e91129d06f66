#pragma once

#include <string_view>
#include <vector>

#include "skin/PanelLegend.h"
#include "skin/Type.h"

/// All words on the panel and where they stand.

namespace keldra::skin {

struct PrintLine {
    std::string_view text;
    double x;     ///< the text's left edge, middle or right edge
    int baseline; ///< the pixel row below the capitals
    EAlign align;
    TypeStyle style;
    Ink ink;

    [[nodiscard]] Box Extents(const CType& type) const
    {
        return type.Extents(text, x, baseline, align, style);
    }
};

[[nodiscard]] PrintLine SubtitleLine();
[[nodiscard]] PrintLine TitleLine(const SectionRow& section);
[[nodiscard]] PrintLine BracketLine(const BracketRow& bracket);

/// Every line, those above included.
[[nodiscard]] std::vector<PrintLine> PanelPrint();

/// The glass on which a menu's text stands: the menu and a margin.
[[nodiscard]] Box GlassOf(const PanelControl& menu);
/// The glass that the three displays share.
[[nodiscard]] Box DisplayGlass();

} // namespace keldra::skin
