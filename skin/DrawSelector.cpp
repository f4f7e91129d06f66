// Lists of words of which one is lit: a column a position, above as it is, below as the chosen one.

#include <cctype>
#include <cmath>
#include <numbers>

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr TypeStyle kListStyle{false, 10.0, 0};

const PanelControl& SelectorWith(ESkinImage image)
{
    const PanelControl* found = nullptr;
    for (const PanelControl& control : kPanelControls)
        if (control.kind == EPanelControl::Selector && control.image == image)
            found = &control;
    return *found;
}

/// One cycle of an LFO shape in the box, as a path to be stroked.
void ShapePath(CCanvas& canvas, std::size_t shape, const Box& box)
{
    cairo_t* cairo = canvas.Cairo();
    const double left = box.x, right = box.x + box.width, middle = box.x + 0.5 * box.width;
    const double top = box.y, foot = box.y + box.height, centre = box.y + 0.5 * box.height;
    cairo_new_path(cairo);
    switch (shape) {
    case 0: // saw
        cairo_move_to(cairo, left, foot);
        cairo_line_to(cairo, right - 1, top);
        cairo_line_to(cairo, right - 1, foot);
        break;
    case 1: // pulse
        cairo_move_to(cairo, left, foot);
        cairo_line_to(cairo, left, top);
        cairo_line_to(cairo, middle, top);
        cairo_line_to(cairo, middle, foot);
        cairo_line_to(cairo, right, foot);
        cairo_line_to(cairo, right, top);
        break;
    case 2: // triangle
        cairo_move_to(cairo, left, foot);
        cairo_line_to(cairo, middle, top);
        cairo_line_to(cairo, right, foot);
        break;
    case 3: // sine
        for (int i = 0; i <= 24; ++i)
            cairo_line_to(cairo, left + box.width * i / 24.0,
                          centre - 0.5 * box.height * std::sin(2.0 * std::numbers::pi * i / 24.0));
        break;
    default: { // random: steps
        constexpr double kLevels[] = {0.62, 0.0, 0.85, 0.3};
        for (int i = 0; i < 4; ++i) {
            const double y = top + kLevels[i] * box.height;
            cairo_line_to(cairo, left + box.width * i / 4.0, y);
            cairo_line_to(cairo, left + box.width * (i + 1) / 4.0, y);
        }
    }
    }
}

} // namespace

Picture DrawSelector(ESkinImage image, const CType& type)
{
    const SkinImageRow& row = RowOf(image);
    const auto words = RowOf(SelectorWith(image).parameter).positions;
    const double width = row.frameWidth, height = row.frameHeight;
    const bool hasShapes = image == ESkinImage::LfoShape;

    CCanvas canvas(row.Width(), row.Height());
    cairo_set_line_join(canvas.Cairo(), CAIRO_LINE_JOIN_MITER);
    for (std::size_t position = 0; position < words.size(); ++position) {
        for (int chosen = 0; chosen < 2; ++chosen) {
            const Box tab{width * static_cast<double>(position), height * chosen, width, height};
            canvas.Rounded(tab, 0).Fill(kRecess);
            Ink print = kLabel;
            if (chosen == 1) {
                const Box band{tab.x, tab.y, tab.width, tab.height - 1};
                canvas.Rounded(band, 1.5).FillDown(
                    band.y, band.y + band.height,
                    {{0.0, kLampHot}, {0.3, Bytes(252, 226, 174)}, {1.0, Bytes(222, 184, 122)}});
                print = Bytes(36, 25, 10);
            } else if (position + 1 < words.size()) {
                canvas.Rounded({tab.x + 2, tab.y + height - 1, width - 4, 1}, 0)
                    .Fill(kWhite.Faded(0.045));
            }
            std::string word(words[position]);
            for (char& letter : word)
                letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
            double textX = tab.x + 4;
            if (hasShapes) {
                ShapePath(canvas, position, {tab.x + 3.5, tab.y + 2.5, 10, 6});
                canvas.Stroke(print, 1.0);
                textX += 12;
            }
            type.Draw(canvas, word, textX, static_cast<int>(tab.y) + 9, EAlign::Left, kListStyle,
                      print);
        }
    }
    return canvas.Finished();
}

} // namespace keldra::skin
