// The panel without its controls: plates on a dark case, a socket, slot or window under each
// control, scale marks around it, and all print. Everything is placed by the panel's table.

#include <cmath>

#include "skin/PanelPrint.h"
#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr double kShelfTop = 402.0; ///< below it are keyboard and wheels

Box BoxOf(const PanelRect& rect)
{
    return {static_cast<double>(rect.x), static_cast<double>(rect.y),
            static_cast<double>(rect.width), static_cast<double>(rect.height)};
}

// --- The case

void DrawHeader(CCanvas& canvas, const CType& type)
{
    canvas.Rounded({0, 0, kPanelWidth, 50}, 0)
        .FillDown(0, 50,
                  {{0.0, Bytes(44, 38, 33)}, {0.1, Bytes(33, 29, 25)}, {1.0, Bytes(23, 20, 17)}});
    canvas.Rounded({0, 0, kPanelWidth, 1}, 0).Fill(Bytes(96, 84, 70));
    const double name = DrawWordmark(canvas, 25, 14, 21, true);

    const Box subtitle = SubtitleLine().Extents(type);
    // Inlays from the name to the subtitle
    const double left = 25 + name + 16, right = subtitle.x - 16;
    for (const double y : {20.0, 24.0, 28.0}) {
        canvas.Rounded({left, y, right - left, 1}, 0)
            .FillAcross(left, right, {{0.0, kBrass.Faded(0.75)}, {1.0, kBrass.Faded(0.12)}});
        canvas.Rounded({left, y + 1, right - left, 1}, 0)
            .FillAcross(left, right, {{0.0, kBlack.Faded(0.6)}, {1.0, kBlack.Faded(0.1)}});
    }
}

void DrawPlate(CCanvas& canvas, const SectionRow& section, const CType& type)
{
    const Box plate = BoxOf(section.plate);
    const double top = plate.y, foot = plate.y + plate.height;
    canvas.Rounded(plate, 3.0).FillDown(top, foot, {{0.0, kPlateTop}, {1.0, kPlateFoot}});
    canvas.Rounded(plate.Inset(0.5), 2.6)
        .StrokeDown(top, foot,
                    {{0.0, kWhite.Faded(0.20)},
                     {0.12, kWhite.Faded(0.06)},
                     {0.9, kWhite.Faded(0.03)},
                     {1.0, kBlack.Faded(0.35)}},
                    1.0);
    if (section.title.empty())
        return;
    const PrintLine line = TitleLine(section);
    const Box title = line.Extents(type);
    const double left = title.x + title.width + 6, right = plate.x + plate.width - 8;
    canvas.Rounded({left, line.baseline - 4.0, right - left, 1}, 0)
        .FillAcross(left, right, {{0.0, kBrass.Faded(0.5)}, {1.0, kBrass.Faded(0.06)}});
}

void DrawShelf(CCanvas& canvas)
{
    const double foot = kPanelHeight;
    canvas.Rounded({0, kShelfTop, kPanelWidth, foot - kShelfTop}, 0)
        .FillDown(kShelfTop, foot,
                  {{0.0, Bytes(14, 12, 10)},
                   {0.12, Bytes(27, 23, 20)},
                   {0.9, Bytes(32, 28, 24)},
                   {1.0, Bytes(20, 17, 15)}});
}

// --- Under the controls

void DrawDial(CCanvas& canvas, const PanelControl& knob)
{
    const double x = knob.rect.x + kKnobAxisX, y = knob.rect.y + kKnobAxisY;
    canvas.Circle(x, y, 18.5)
        .FillAround(x, y + 1, 12.0, 18.5, {{0.0, kBlack.Faded(0.5)}, {1.0, kBlack.Faded(0.0)}});
    const auto mark = [&](double value, bool strong) {
        const double angle = KnobAngle(value);
        const double dx = std::sin(angle), dy = -std::cos(angle);
        const double far = strong ? 18.8 : 17.8;
        canvas.Line(x + dx * 15.4, y + dy * 15.4, x + dx * far, y + dy * far)
            .Stroke(strong ? kCream : kMark, strong ? 1.3 : 0.9);
    };
    switch (knob.scale) {
    case EScale::None:
        break;
    case EScale::Even:
    case EScale::Bipolar:
        for (int i = 0; i <= 10; ++i)
            mark(i / 10.0, i == 0 || i == 10 || (i == 5 && knob.scale == EScale::Bipolar));
        break;
    case EScale::Semitones:
        for (int i = 0; i <= 8; ++i)
            mark(i / 8.0, i % 2 == 0);
        break;
    case EScale::Quarters:
        for (int i = 0; i <= 7; ++i)
            mark(i / 7.0, i == 0 || i == 3 || i == 7);
        break;
    }
}

void DrawFaderSlot(CCanvas& canvas, const PanelControl& fader)
{
    const SkinImageRow& handle = RowOf(ESkinImage::FaderHandle);
    const double x = fader.rect.x + fader.rect.width / 2;
    const int travel = fader.rect.height - handle.frameHeight;
    for (int i = 0; i <= 10; ++i) {
        const double y = fader.rect.y + kFaderLineRow + travel * (10 - i) / 10;
        const bool strong = i == 0 || i == 10 || (i == 5 && fader.scale == EScale::Bipolar);
        const double length = strong ? 14 : i == 5 ? 12 : 10;
        canvas.Rounded({x - length, y, 2 * length, 1}, 0).Fill(strong ? kCream : kMark.Faded(0.75));
    }
    const Box slot{x - 7, fader.rect.y + 2.0, 14, fader.rect.height - 5.0};
    canvas.Rounded(slot, 4).FillDown(slot.y, slot.y + slot.height,
                                     {{0.0, kPlateTop}, {1.0, kPlateFoot}});
    const Box gap{x - 2, fader.rect.y + 4.0, 4, fader.rect.height - 9.0};
    canvas.Rounded(gap.Moved(0, 1), 2).Fill(kWhite.Faded(0.12));
    canvas.Rounded(gap, 2).Fill(Bytes(9, 8, 7));
}

/// A frame sunk into the plate around something.
void DrawRecess(CCanvas& canvas, const Box& box, double radius, Ink floor)
{
    canvas.Rounded(box.Moved(0, 1), radius).Fill(kWhite.Faded(0.11));
    canvas.Rounded(box, radius).Fill(Bytes(9, 8, 7));
    canvas.Rounded(box.Inset(1), radius - 1).Fill(floor);
}

void DrawGlass(CCanvas& canvas, const Box& box)
{
    DrawRecess(canvas, box, 3.0, kGlass);
    const Box glass = box.Inset(1);
    const double top = glass.y, foot = glass.y + glass.height;
    canvas.Rounded(glass, 2.0)
        .FillDown(top, foot, {{0.0, Bytes(222, 199, 156)}, {1.0, Bytes(243, 224, 188)}})
        .InnerShadow(Bytes(70, 48, 20, 0.6), 3.0, 1.0);
}

/// A window for a menu's text, and a corner that tells that there is more to choose from.
void DrawMenuSlot(CCanvas& canvas, const PanelControl& menu)
{
    const Box glass = GlassOf(menu);
    DrawGlass(canvas, glass);
    const double right = glass.x + glass.width - 2.5, foot = glass.y + glass.height - 2.5;
    canvas.Polygon({{right - 4, foot}, {right, foot}, {right, foot - 4}})
        .Fill(Bytes(96, 70, 34, 0.8));
}

void DrawWheelWell(CCanvas& canvas, const PanelControl& wheel)
{
    const Box well = BoxOf(wheel.rect).Inset(-2);
    canvas.Rounded(well, 5).FillDown(well.y, well.y + well.height,
                                     {{0.0, Bytes(70, 62, 54)}, {1.0, Bytes(38, 33, 29)}});
    canvas.Rounded(well.Inset(0.5), 4.5)
        .StrokeDown(well.y, well.y + well.height,
                    {{0.0, kBrass.Faded(0.9)}, {1.0, kBrass.Faded(0.35)}}, 1.0);
    for (int i = 0; i <= 4; ++i) {
        const bool strong = i == 0 || i == 4 || (i == 2 && wheel.scale == EScale::Bipolar);
        const double y = wheel.rect.y + std::round(WheelNotchRow(1.0 - i / 4.0) - 0.5);
        const double length = strong ? 5 : 3;
        canvas.Rounded({well.x - 3 - length, y, length, 1}, 0).Fill(strong ? kCream : kMark);
    }
}

void DrawKeyBed(CCanvas& canvas, const PanelControl& keyboard)
{
    const Box keys = BoxOf(keyboard.rect);
    const double right = keys.x + keys.width;
    canvas.Rounded({keys.x - 2, kShelfTop, keys.width + 4, keys.y - kShelfTop + keys.height + 2}, 1)
        .Fill(Bytes(7, 6, 5));
    // Felt behind the keys
    canvas.Rounded({keys.x, keys.y - 3, keys.width, 3}, 0)
        .FillDown(keys.y - 3, keys.y, {{0.0, Bytes(120, 36, 28)}, {1.0, Bytes(74, 20, 16)}});
    // Cheeks
    for (const Box& cheek :
         {Box{keys.x - 16, kShelfTop + 1, 14, 108}, Box{right + 2, kShelfTop + 1, 15, 108}}) {
        canvas.Rounded(cheek, 2).FillDown(cheek.y, cheek.y + cheek.height,
                                          {{0.0, Bytes(58, 51, 44)}, {1.0, Bytes(40, 35, 30)}});
        canvas.Rounded(cheek.Inset(0.5), 1.6)
            .StrokeDown(
                cheek.y, cheek.y + cheek.height,
                {{0.0, kWhite.Faded(0.2)}, {0.2, kWhite.Faded(0.05)}, {1.0, kBlack.Faded(0.3)}},
                1.0);
    }
}

void DrawUnder(CCanvas& canvas, const PanelControl& control)
{
    switch (control.kind) {
    case EPanelControl::Knob:
        if (control.image == ESkinImage::Wheel)
            DrawWheelWell(canvas, control);
        else
            DrawDial(canvas, control);
        break;
    case EPanelControl::Fader:
        DrawFaderSlot(canvas, control);
        break;
    case EPanelControl::Selector:
        DrawRecess(canvas, BoxOf(control.rect).Inset(-1), 2.0, kRecess);
        break;
    case EPanelControl::Menu:
        DrawMenuSlot(canvas, control);
        break;
    case EPanelControl::Keyboard:
        DrawKeyBed(canvas, control);
        break;
    case EPanelControl::Button:  // stands in its own well
    case EPanelControl::Display: // all three share a window
        break;
    }
}

/// One window for the three lines of text, with the program step buttons in it.
void DrawDisplay(CCanvas& canvas)
{
    const Box glass = DisplayGlass();
    DrawGlass(canvas, glass);
    canvas
        .Rounded({glass.x + 4, ControlOf(EPanelRole::ProgramName).rect.Bottom() + 1.0,
                  glass.width - 8, 1},
                 0)
        .Fill(kGlassPrint.Faded(0.5));
}

// --- Print

void DrawBracket(CCanvas& canvas, const BracketRow& bracket, const CType& type)
{
    const Ink ink = kMark.Faded(0.6);
    const Box word = BracketLine(bracket).Extents(type);
    const double y = bracket.baseline - 4, left = bracket.left, right = bracket.right;
    const double wordRight = word.x + word.width;
    canvas.Rounded({left, y, word.x - 5 - left, 1}, 0).Fill(ink);
    canvas.Rounded({wordRight + 5, y, right - wordRight - 5, 1}, 0).Fill(ink);
    canvas.Rounded({left, y + 1, 1, 3}, 0).Fill(ink);
    canvas.Rounded({right - 1, y + 1, 1, 3}, 0).Fill(ink);
}

/// A level more under what is blended over the panel: a blend weighs its two sides by 255 in sum
/// and divides by 256, so that it darkens by one level what it should leave as it is. Without this
/// a faint square would show around each knob.
void LightenUnderBlends(Picture& picture)
{
    for (const PanelControl& control : kPanelControls) {
        if (control.kind != EPanelControl::Knob && control.kind != EPanelControl::Button)
            continue;
        for (int y = control.rect.y; y < control.rect.Bottom(); ++y)
            for (int x = control.rect.x; x < control.rect.Right(); ++x)
                picture.Lighten(x, y, 1);
    }
}

} // namespace

Picture DrawBackground(const CType& type)
{
    CCanvas canvas(kPanelWidth, kPanelHeight);
    canvas.Rounded({0, 0, kPanelWidth, kPanelHeight}, 0).Fill(kGroove);
    DrawHeader(canvas, type);
    for (const SectionRow& section : kSections)
        DrawPlate(canvas, section, type);
    DrawShelf(canvas);
    for (const PanelControl& control : kPanelControls)
        DrawUnder(canvas, control);
    DrawDisplay(canvas);
    for (const BracketRow& bracket : kBrackets)
        DrawBracket(canvas, bracket, type);
    for (const PrintLine& line : PanelPrint())
        type.Draw(canvas, line.text, line.x, line.baseline, line.align, line.style, line.ink);
    Picture picture = canvas.Finished();
    picture.AddGrain();
    LightenUnderBlends(picture);
    return picture;
}

} // namespace keldra::skin
