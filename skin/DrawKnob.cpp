// The knob: a black skirt with a fluted edge that turns, a brass cap spun on the lathe that catches
// the light wherever it stands, and a pointer across both.

#include <cmath>
#include <numbers>

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr int kOversampling = 8;
constexpr double kX = kKnobAxisX;
constexpr double kY = kKnobAxisY;
constexpr double kSkirt = 13.0;
constexpr double kCap = 9.6;
constexpr int kFlutes = 30;

/// Lathe marks run round the axis, so that the metal mirrors the lamp above in two wedges: a bright
/// one toward it and a fainter one away from it.
Ink SpunBrass(double x, double y)
{
    const double angle = std::atan2(x - kX, kY - y); // 0 upward
    const double radius = std::hypot(x - kX, y - kY) / kCap;
    const double wedge = std::pow(std::abs(std::cos(angle)), 2.5);
    const double toward = 0.5 + 0.5 * std::cos(angle);
    double light = 0.34 + wedge * (0.20 + 0.34 * toward) + 0.06 * toward;
    light += 0.05 * std::sin(radius * 34.0) * (1.0 - wedge); // the marks themselves
    light -= 0.10 * radius * radius;
    const Ink dark = Bytes(86, 62, 30);
    const Ink middle = Bytes(212, 170, 102);
    const Ink bright = Bytes(255, 242, 208);
    return light < 0.5 ? dark.Toward(middle, light / 0.5)
                       : middle.Toward(bright, std::fmin(1.0, (light - 0.5) / 0.5));
}

void DrawSkirt(CCanvas& canvas, double angle)
{
    canvas.Circle(kX, kY, kSkirt).Glow(kBlack.Faded(0.75), 5.0, 0.0, 4.0);
    canvas.Circle(kX, kY, kSkirt + 0.6).Fill(Bytes(10, 8, 7));
    canvas.Circle(kX, kY, kSkirt)
        .FillDown(kY - kSkirt, kY + kSkirt,
                  {{0.0, Bytes(122, 110, 95)},
                   {0.18, Bytes(70, 62, 54)},
                   {0.6, Bytes(38, 33, 29)},
                   {1.0, Bytes(24, 21, 18)}});
    for (int flute = 0; flute < kFlutes; ++flute) {
        const double at = angle + 2.0 * kPi * (flute + 0.5) / kFlutes;
        const double dx = std::sin(at), dy = -std::cos(at);
        canvas
            .Line(kX + dx * 11.5, kY + dy * 11.5, kX + dx * (kSkirt + 0.3),
                  kY + dy * (kSkirt + 0.3))
            .Stroke(kBlack.Faded(0.5), 0.9);
    }
    canvas.Circle(kX, kY, 11.3)
        .FillDown(kY - 11.3, kY + 11.3, {{0.0, Bytes(30, 26, 22)}, {1.0, Bytes(58, 51, 44)}});
}

void DrawCap(CCanvas& canvas)
{
    canvas.Circle(kX, kY, kCap).Glow(kBlack.Faded(0.8), 1.6, 0.0, 0.9);
    canvas.Circle(kX, kY, kCap).FillEach(SpunBrass);
    canvas.Circle(kX, kY, kCap - 0.4)
        .StrokeDown(kY - kCap, kY + kCap,
                    {{0.0, Bytes(255, 246, 222)},
                     {0.5, Bytes(170, 138, 86, 0.6)},
                     {1.0, Bytes(92, 70, 40)}},
                    0.8);
}

void DrawPointer(CCanvas& canvas, double angle)
{
    const double dx = std::sin(angle), dy = -std::cos(angle);
    const auto from = [&](double near, double far) -> CCanvas& {
        return canvas.Line(kX + dx * near, kY + dy * near, kX + dx * far, kY + dy * far);
    };
    cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_ROUND);
    from(1.8, 8.0).Stroke(Bytes(34, 23, 11), 2.4);
    cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_BUTT);
    from(8.6, 13.5).Stroke(Bytes(20, 14, 8), 3.8);
    from(9.0, 13.3).Stroke(Bytes(255, 242, 212), 2.5);
}

} // namespace

double KnobAngle(double value)
{
    return (value - 0.5) * 1.5 * kPi;
}

Picture DrawKnob()
{
    const SkinImageRow& row = RowOf(ESkinImage::Knob);
    Picture strip(row.Width(), row.Height());
    for (int frame = 0; frame < row.down; ++frame) {
        const double angle = KnobAngle(frame / (row.down - 1.0));
        CCanvas canvas(row.frameWidth, row.frameHeight, kOversampling);
        DrawSkirt(canvas, angle);
        DrawCap(canvas);
        DrawPointer(canvas, angle);
        strip.Put(canvas.Finished(), 0, frame * row.frameHeight);
    }
    return strip;
}

} // namespace keldra::skin
