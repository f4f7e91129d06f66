#pragma once

#include "editor/PanelTable.h"
#include "skin/Canvas.h"
#include "skin/Type.h"

namespace keldra::skin {

/// Draws one image of the skin, all frames of it, in the size that its row of kSkinImages says.
[[nodiscard]] Picture DrawImage(ESkinImage image, const CType& type);

// What DrawImage is made of
[[nodiscard]] Picture DrawBackground(const CType& type);
[[nodiscard]] Picture DrawAbout(const CType& type);
[[nodiscard]] Picture DrawKnob();
[[nodiscard]] Picture DrawWheel();
[[nodiscard]] Picture DrawFaderHandle();
[[nodiscard]] Picture DrawBigButton();
[[nodiscard]] Picture DrawGateStep(ESkinImage whiteOrBlue);
[[nodiscard]] Picture DrawLinkButton(ESkinImage linkOrUnlink);
[[nodiscard]] Picture DrawProgramStep(ESkinImage previousOrNext);
[[nodiscard]] Picture DrawSelector(ESkinImage image, const CType& type);
[[nodiscard]] Picture DrawWhiteKey();
[[nodiscard]] Picture DrawBlackKey();

/// The program's icon, square. @param size  pixels
[[nodiscard]] Picture DrawIcon(int size);

/// The name, letters of strokes, `height` pixels high, its top left corner at (x, y). Sets the
/// canvas's path and strokes it. @return its width
double DrawWordmark(CCanvas& canvas, double x, double y, double height, bool engraved);

/// Where a knob's axis lies in its frame.
inline constexpr double kKnobAxisX = 18.0;
inline constexpr double kKnobAxisY = 17.0;
/// The direction in which a knob points, clockwise from upward, in radians.
[[nodiscard]] double KnobAngle(double value);

/// The row of a wheel's frame in whose middle its notch stands.
[[nodiscard]] double WheelNotchRow(double value);

/// The row of a fader's handle that shows its value.
inline constexpr int kFaderLineRow = 8;

} // namespace keldra::skin
