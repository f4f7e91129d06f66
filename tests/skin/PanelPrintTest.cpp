#include "skin/PanelPrint.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "gui/Image.h"
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

TEST(Skin, TurnsTheKnobsPointerEvenlyThroughThreeQuartersOfACircle)
{
    // The pointer is the one bright thing on the black skirt; what light the skirt's upper edge
    // reflects is left out.
    const SkinImageRow& size = RowOf(ESkinImage::Knob);
    CImage strip;
    ASSERT_TRUE(strip.Load(std::string(KELDRA_SKIN_FOLDER "/").append(size.file)));
    const auto pointerDegrees = [&](int frame) {
        double x = 0.0, y = 0.0;
        for (int row = 0; row < size.frameHeight; ++row) {
            for (int column = 0; column < size.frameWidth; ++column) {
                const double dx = column + 0.5 - kKnobAxisX;
                const double dy = row + 0.5 - kKnobAxisY;
                const double radius = std::hypot(dx, dy);
                if (radius < 10.4 || radius > 13.0)
                    continue;
                const Color color = strip.GetPixel(column, frame * size.frameHeight + row);
                const double light = std::max(0.0, GreenOf(color) - 100.0);
                x += dx * light;
                y += dy * light;
            }
        }
        return std::atan2(x, -y) * 180.0 / std::numbers::pi;
    };
    EXPECT_NEAR(pointerDegrees(0), -135.0, 3.0);
    EXPECT_NEAR(pointerDegrees(127), 135.0, 3.0);
    for (int frame = 1; frame < kFilmstripFrames; ++frame) {
        const double step = pointerDegrees(frame) - pointerDegrees(frame - 1);
        EXPECT_NEAR(step, 270.0 / 127.0, 2.0) << frame;
        EXPECT_GT(step, 0.0) << frame;
    }
}

} // namespace
} // namespace keldra::skin
