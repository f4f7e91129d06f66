// The program's icon: the knob on a tile of the case, its scale of lamps lit up to where it points.

#include <cmath>
#include <numbers>

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr int kOversampling = 4;
constexpr int kLamps = 11;
constexpr double kValue = 0.7;

} // namespace

Picture DrawIcon(int size)
{
    const double unit = size / 64.0;
    const double middle = 32.0 * unit;
    CCanvas canvas(size, size, kOversampling);
    const auto circle = [&](double radius) -> CCanvas& {
        return canvas.Circle(middle, middle, radius * unit);
    };
    canvas.Rounded({2.0 * unit, 2.0 * unit, 60.0 * unit, 60.0 * unit}, 11.0 * unit)
        .FillDown(0.0, size, {{0.0, kPlateTop}, {1.0, kPlateFoot}})
        .Stroke(kGroove, unit);

    for (int lamp = 0; lamp < kLamps; ++lamp) {
        const double value = lamp / (kLamps - 1.0);
        const double angle = KnobAngle(value);
        canvas.Circle(middle + std::sin(angle) * 24.5 * unit,
                      middle - std::cos(angle) * 24.5 * unit, 1.9 * unit);
        if (value <= kValue)
            canvas.Glow(kLamp.Faded(0.6), 2.0 * unit).Fill(kLampHot);
        else
            canvas.Fill(kGroove);
    }

    circle(19.0).Glow(kBlack.Faded(0.75), 4.0 * unit, 0.0, 3.0 * unit);
    circle(19.0).FillDown(13.0 * unit, 51.0 * unit,
                          {{0.0, Bytes(122, 110, 95)}, {0.3, Bytes(60, 53, 46)}, {1.0, kRecess}});
    circle(14.0).FillEach([&](double x, double y) {
        // Lathe marks mirror the lamp above in two wedges, one toward it and one away from it.
        const double angle = std::atan2(x - middle, middle - y);
        const double light =
            0.3 + std::pow(std::abs(std::cos(angle)), 2.5) * (0.4 + 0.3 * std::cos(angle));
        return Bytes(86, 62, 30).Toward(Bytes(255, 236, 194), light);
    });
    circle(14.0).Stroke(Bytes(92, 70, 40), 0.8 * unit);

    const double dx = std::sin(KnobAngle(kValue)), dy = -std::cos(KnobAngle(kValue));
    cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_ROUND);
    canvas
        .Line(middle + dx * 4.0 * unit, middle + dy * 4.0 * unit, middle + dx * 17.5 * unit,
              middle + dy * 17.5 * unit)
        .Stroke(kGroove, 4.5 * unit)
        .Stroke(kCream, 2.6 * unit);
    return canvas.Finished();
}

} // namespace keldra::skin
