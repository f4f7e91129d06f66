#include "skin/PanelPrint.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "skin/Pictures.h"

namespace keldra::skin {
namespace {

const CType& Type()
{
    static const std::unique_ptr<CType> type = CType::Open(KELDRA_REGULAR_FONT, KELDRA_BOLD_FONT);
    return *type;
}

bool Overlap(const Box& a, const Box& b)
{
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height &&
           b.y < a.y + a.height;
}

bool Contains(const Box& outer, const Box& inner)
{
    return inner.x >= outer.x && inner.y >= outer.y &&
           inner.x + inner.width <= outer.x + outer.width &&
           inner.y + inner.height <= outer.y + outer.height;
}

Box BoxOf(const PanelRect& rect)
{
    return {static_cast<double>(rect.x), static_cast<double>(rect.y),
            static_cast<double>(rect.width), static_cast<double>(rect.height)};
}

/// Where a control covers the panel: its rectangle, or the glass around its text.
Box Covered(const PanelControl& control)
{
    return control.kind == EPanelControl::Menu ? GlassOf(control) : BoxOf(control.rect);
}

TEST(PanelPrint, KeepsWordsApartFromEachOtherAndFromTheControls)
{
    const std::vector<PrintLine> lines = PanelPrint();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Box box = lines[i].Extents(Type());
        ASSERT_GT(box.width, 0.0) << lines[i].text;
        EXPECT_TRUE(Contains({0, 0, kPanelWidth, kPanelHeight}, box)) << lines[i].text;
        EXPECT_LE(box.height, 9.0) << lines[i].text << ": one line of capitals";
        for (std::size_t other = 0; other < i; ++other) {
            // Two pixels between words that stand side by side
            const Box wide{box.x - 2, box.y, box.width + 4, box.height};
            EXPECT_FALSE(Overlap(wide, lines[other].Extents(Type())))
                << lines[i].text << " and " << lines[other].text;
        }
        for (const PanelControl& control : kPanelControls) {
            const bool isItsUnit = control.unit == lines[i].text;
            EXPECT_TRUE(isItsUnit || !Overlap(box, Covered(control)))
                << lines[i].text << " and the control at " << control.rect.x << ", "
                << control.rect.y;
        }
    }
}

TEST(PanelPrint, CanBeReadOnThePanel)
{
    // Contrast of the brightest (or, on glass, darkest) ink with what surrounds it, as for text on
    // screens: (lighter + 0.05) / (darker + 0.05) of the relative luminance, 4.5 for body text.
    const Picture panel = DrawBackground(Type());
    const auto luminance = [&](int x, int y) {
        const std::uint32_t pixel = panel.At(x, y);
        const auto linear = [](std::uint32_t channel) {
            return std::pow(static_cast<double>(channel & 255) / 255.0, 2.2);
        };
        return 0.2126 * linear(pixel >> 16) + 0.7152 * linear(pixel >> 8) + 0.0722 * linear(pixel);
    };
    for (const PrintLine& line : PanelPrint()) {
        const Box box = line.Extents(Type());
        double least = 1.0, most = 0.0;
        for (int y = static_cast<int>(box.y); y < box.y + box.height; ++y) {
            for (int x = static_cast<int>(box.x); x < box.x + box.width; ++x) {
                least = std::min(least, luminance(x, y));
                most = std::max(most, luminance(x, y));
            }
        }
        EXPECT_GT((most + 0.05) / (least + 0.05), 4.5) << line.text;
    }
}

TEST(PanelPrint, GivesEveryControlOneSectionThatHoldsItAndItsCaption)
{
    for (const SectionRow& section : kSections)
        for (const SectionRow& other : kSections)
            EXPECT_TRUE(&section == &other || !Overlap(BoxOf(section.plate), BoxOf(other.plate)))
                << section.title << " and " << other.title;

    for (const PanelControl& control : kPanelControls) {
        const bool onTheShelf =
            control.image == ESkinImage::Wheel || control.kind == EPanelControl::Keyboard;
        int sections = 0;
        for (const SectionRow& section : kSections)
            sections += Contains(BoxOf(section.plate), Covered(control)) ? 1 : 0;
        EXPECT_EQ(sections, onTheShelf ? 0 : 1) << control.rect.x << ", " << control.rect.y;
    }
    for (const PrintLine& line : PanelPrint()) {
        const Box box = line.Extents(Type());
        for (const SectionRow& section : kSections)
            EXPECT_TRUE(Contains(BoxOf(section.plate), box) || !Overlap(BoxOf(section.plate), box))
                << line.text << " crosses the edge of " << section.title;
    }
    for (const EPanelRole role :
         {EPanelRole::ProgramName, EPanelRole::ParameterText, EPanelRole::ControllerText})
        EXPECT_TRUE(Contains(DisplayGlass(), BoxOf(ControlOf(role).rect)));
}

} // namespace
} // namespace keldra::skin
