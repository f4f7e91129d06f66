// The picture of the about box. The box shows it but for its last 12 columns and 9 rows, under a
// line of text of its own.

#include <cmath>
#include <numbers>

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr int kVoices = 16;
constexpr double kCycles = 3.0;
constexpr double kDrift = 0.42; ///< cycles by which the outermost voice is off at either end

/// The voices of a unison: one tone, in step in the middle and drifting apart to both sides.
void DrawUnison(CCanvas& canvas, double width, double y, double amplitude)
{
    for (int voice = 0; voice < kVoices; ++voice) {
        const double spread = 2.0 * voice / (kVoices - 1) - 1.0; // -1 .. 1
        cairo_new_path(canvas.Cairo());
        for (int i = 0; i <= 420; ++i) {
            const double along = i / 420.0;
            const double cycles = kCycles * along + kDrift * spread * (along - 0.5);
            const double level =
                std::sin(std::numbers::pi * along) * (0.6 + 0.4 * std::abs(spread));
            cairo_line_to(canvas.Cairo(), width * along,
                          y - amplitude * level * std::sin(2.0 * std::numbers::pi * cycles));
        }
        const double inner = 1.0 - std::abs(spread);
        canvas.Stroke(kBrass.Toward(kLampHot, inner).Faded(0.2 + 0.25 * inner), 1.1);
    }
}

} // namespace

Picture DrawAbout(const CType& type)
{
    const SkinImageRow& row = RowOf(ESkinImage::About);
    const double width = row.frameWidth - 12, height = row.frameHeight - 9;
    CCanvas canvas(row.frameWidth, row.frameHeight);
    canvas.Rounded({0, 0, width + 12, height + 9}, 0)
        .FillAround(0.5 * width, 0.45 * height, 10, 0.68 * width,
                    {{0.0, Bytes(66, 57, 47)}, {0.5, Bytes(39, 34, 29)}, {1.0, Bytes(21, 18, 16)}});
    DrawUnison(canvas, width, 178, 50);

    constexpr double kNameHeight = 40;
    CCanvas measure(1, 1);
    const double name = DrawWordmark(measure, 0, 0, kNameHeight, false);
    DrawWordmark(canvas, std::floor(0.5 * (width - name)), 42, kNameHeight, true);
    constexpr TypeStyle kSubtitle{false, 11.0, 2};
    type.Draw(canvas, "VIRTUAL ANALOGUE SYNTHESIZER", 0.5 * width, 108, EAlign::Centre, kSubtitle,
              kBrass);
    Picture picture = canvas.Finished();
    picture.AddGrain();
    return picture;
}

} // namespace keldra::skin
