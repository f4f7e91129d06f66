// A wheel seen from the front: a ribbed cylinder behind a slot. What is seen of it at a height is
// found from the angle at which the cylinder's surface stands there.

#include <cmath>
#include <numbers>

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr int kOversampling = 8;
constexpr double kReach = 58.0 * kPi / 180.0; ///< how far the notch turns from the middle
constexpr double kRib = 8.0 * kPi / 180.0;    ///< from rib to rib
constexpr double kNotch = 5.0 * kPi / 180.0;  ///< half the notch's height

/// The colour of the cylinder at an angle (0 toward the eye, negative upward) when the notch stands
/// at another.
Ink CylinderInk(double angle, double notch)
{
    const double fromNotch = angle - notch;
    const double light = std::fmax(0.0, std::cos(angle + 0.75)); // the lamp is above
    double brightness = 0.16 + 0.84 * light;

    Ink ink = Bytes(112, 100, 87);
    double relief = 0.0; // of the surface: above 0 it faces the lamp
    if (std::abs(fromNotch) < kNotch) {
        const double inNotch = fromNotch / kNotch;
        ink = std::abs(inNotch) < 0.62 ? Bytes(255, 238, 204) : Bytes(40, 34, 28);
        brightness = std::fmax(brightness, 0.8); // inlaid: seen in the shade as well
    } else {
        const double phase = (std::abs(fromNotch) - kNotch) / kRib;
        const double inRib = phase - std::floor(phase);
        const double along = fromNotch > 0 ? inRib : 1.0 - inRib; // 0 at a rib's upper edge
        if (inRib < 0.16 || inRib > 0.84)
            ink = Bytes(26, 22, 19);
        else
            relief = along < 0.36 ? 0.45 : along > 0.7 ? -0.35 : 0.0;
    }
    return Ink{ink.red * brightness, ink.green * brightness, ink.blue * brightness, 1.0}.Lit(
        relief * 0.4);
}

constexpr double kMiddle = 0.5 * RowOf(ESkinImage::Wheel).frameHeight;
constexpr double kRadius = kMiddle - 2.0;

double NotchAngle(double value)
{
    return kReach * (1.0 - 2.0 * value);
}

} // namespace

double WheelNotchRow(double value)
{
    return kMiddle + kRadius * std::sin(NotchAngle(value));
}

Picture DrawWheel()
{
    const SkinImageRow& row = RowOf(ESkinImage::Wheel);
    const double width = row.frameWidth, height = row.frameHeight;
    Picture strip(row.Width(), row.Height());
    for (int frame = 0; frame < row.down; ++frame) {
        const double notch = NotchAngle(frame / (row.down - 1.0));
        CCanvas canvas(row.frameWidth, row.frameHeight, kOversampling);
        canvas.Rounded({0, 0, width, height}, 3.0).Fill(Bytes(8, 7, 6));
        // The cylinder is the same all across: a stripe for each row of samples
        constexpr double kStripe = 1.0 / kOversampling;
        for (double y = 1.0; y < height - 1.0; y += kStripe) {
            const double sine = (y + 0.5 * kStripe - kMiddle) / kRadius;
            const double angle = std::asin(std::fmin(1.0, std::fmax(-1.0, sine)));
            canvas.Rounded({3, y, width - 6, kStripe}, 0.0).Fill(CylinderInk(angle, notch));
        }
        for (const double edge : {3.0, width - 4.0})
            canvas.Rounded({edge, 1, 1, height - 2}, 0.0).Fill(kBlack.Faded(0.45));
        canvas.Rounded({0, 0, width, height}, 3.0).InnerShadow(kBlack.Faded(0.9), 6.0, 2.0);
        strip.Put(canvas.Finished(), 0, frame * row.frameHeight);
    }
    return strip;
}

} // namespace keldra::skin
