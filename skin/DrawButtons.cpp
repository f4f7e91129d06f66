// Switches with a lamp behind the cap, and the small buttons of the display. All have four frames:
// off, off while pressed, on, on while pressed.

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr int kOversampling = 8;

/// The colours of a lit cap.
struct CapInks {
    Ink dark;      ///< unlit, where the cap is brightest
    Ink hot, edge; ///< lit: over the lamp, and at the cap's edge
    Ink halo;      ///< of the light around it
};

constexpr CapInks kAmber{Bytes(98, 80, 56), kLampHot, Bytes(240, 176, 84), Bytes(255, 186, 84)};
constexpr CapInks kCreamCap{Bytes(104, 95, 80), Bytes(255, 250, 236), Bytes(236, 214, 172),
                            Bytes(255, 232, 186)};
constexpr CapInks kBlueCap{Bytes(58, 78, 100), Bytes(224, 243, 255), Bytes(96, 168, 224),
                           Bytes(110, 180, 240)};

struct ButtonState {
    bool on, pressed;
};
constexpr ButtonState kStates[kButtonFrames] = {
    {false, false}, {false, true}, {true, false}, {true, true}};

/// A cap in its well.
void DrawCap(CCanvas& canvas, const Box& well, double radius, const CapInks& inks,
             const ButtonState& state)
{
    if (state.on)
        canvas.Rounded(well, radius).Glow(inks.halo.Faded(state.pressed ? 0.45 : 0.65), 5.0);
    canvas.Rounded(well.Moved(0.0, 0.7), radius).Fill(kWhite.Faded(0.10));
    canvas.Rounded(well, radius).Fill(Bytes(11, 9, 8));

    const Box cap = well.Inset(1.5).Moved(0.0, state.pressed ? 0.6 : -0.2);
    const double top = cap.y, foot = cap.y + cap.height;
    const double capRadius = radius - 1.0;
    if (state.on) {
        // Pushed down, the cap is farther from the eye and its lamp half hidden.
        const Ink hot = state.pressed ? inks.hot.Toward(inks.edge, 0.6) : inks.hot;
        const Ink edge = state.pressed ? inks.edge.Lit(-0.22) : inks.edge;
        canvas.Rounded(cap, capRadius)
            .FillAround(cap.x + 0.5 * cap.width, cap.y + 0.45 * cap.height, 0.0, 0.62 * cap.width,
                        {{0.0, hot}, {0.5, hot.Toward(edge, 0.45)}, {1.0, edge}});
        canvas.Rounded(cap.Inset(0.4), capRadius)
            .StrokeDown(top, foot,
                        {{0.0, kWhite.Faded(state.pressed ? 0.2 : 0.7)},
                         {0.5, kWhite.Faded(0.0)},
                         {1.0, kBlack.Faded(0.3)}},
                        0.8);
    } else {
        const double dim = state.pressed ? -0.18 : 0.0;
        canvas.Rounded(cap, capRadius)
            .FillDown(top, foot,
                      {{0.0, inks.dark.Lit(dim)},
                       {0.5, inks.dark.Lit(-0.28 + dim)},
                       {1.0, inks.dark.Lit(-0.45 + dim)}});
        canvas.Rounded(cap.Inset(0.4), capRadius)
            .StrokeDown(top, foot,
                        {{0.0, kWhite.Faded(state.pressed ? 0.08 : 0.34)},
                         {0.35, kWhite.Faded(0.05)},
                         {1.0, kBlack.Faded(0.5)}},
                        0.8);
    }
    if (state.pressed)
        canvas.Rounded(well, radius).InnerShadow(kBlack.Faded(0.55), 2.4, 1.6);
}

template <typename DrawFrame>
Picture FourFrames(ESkinImage image, DrawFrame drawFrame)
{
    const SkinImageRow& row = RowOf(image);
    Picture frames(row.Width(), row.Height());
    for (int frame = 0; frame < kButtonFrames; ++frame) {
        CCanvas canvas(row.frameWidth, row.frameHeight, kOversampling);
        drawFrame(canvas, kStates[frame]);
        frames.Put(canvas.Finished(), 0, frame * row.frameHeight);
    }
    return frames;
}

} // namespace

Picture DrawBigButton()
{
    return FourFrames(ESkinImage::BigButton, [](CCanvas& canvas, const ButtonState& state) {
        DrawCap(canvas, {3, 4, 24, 22}, 4.0, kAmber, state);
    });
}

Picture DrawGateStep(ESkinImage whiteOrBlue)
{
    const CapInks& inks = whiteOrBlue == ESkinImage::GateWhite ? kCreamCap : kBlueCap;
    return FourFrames(whiteOrBlue, [&](CCanvas& canvas, const ButtonState& state) {
        DrawCap(canvas, {1, 1, 12, 18}, 2.6, inks, state);
    });
}

// A press of these four does something and is over: what they'd show as on looks as off.

Picture DrawLinkButton(ESkinImage linkOrUnlink)
{
    const bool broken = linkOrUnlink == ESkinImage::Unlink;
    return FourFrames(linkOrUnlink, [&](CCanvas& canvas, const ButtonState& state) {
        DrawCap(canvas, {0.5, 0.5, 27, 18.5}, 3.5, kAmber, {false, state.pressed});
        const double y = state.pressed ? 10.2 : 9.5;
        const double apart = broken ? 1.9 : 0.0;
        const Ink ink = state.pressed ? kAmber.halo : kCream;
        cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_ROUND);
        for (const double side : {-1.0, 1.0}) {
            const double x = 14.0 + side * (3.6 + apart);
            canvas.Rounded({x - 4.2, y - 2.9, 8.4, 5.8}, 2.9).Stroke(kBlack.Faded(0.5), 3.0);
            canvas.Rounded({x - 4.2, y - 2.9, 8.4, 5.8}, 2.9).Stroke(ink, 1.5);
        }
        if (broken)
            canvas.Line(15.6, y - 5.2, 12.4, y + 5.2).Stroke(ink, 1.3);
        else
            canvas.Line(11.8, y, 16.2, y).Stroke(ink, 1.5);
    });
}

Picture DrawProgramStep(ESkinImage previousOrNext)
{
    const double way = previousOrNext == ESkinImage::NextProgram ? 1.0 : -1.0;
    return FourFrames(previousOrNext, [&](CCanvas& canvas, const ButtonState& state) {
        canvas.Rounded({0.5, 0.5, 9, 10}, 2.0)
            .Fill(state.pressed ? Bytes(60, 46, 26, 0.75) : Bytes(60, 46, 26, 0.16));
        canvas.Polygon({{5.0 - way * 1.9, 2.6}, {5.0 + way * 2.3, 5.5}, {5.0 - way * 1.9, 8.4}})
            .Fill(state.pressed ? kLampHot : Bytes(44, 33, 18));
    });
}

} // namespace keldra::skin
