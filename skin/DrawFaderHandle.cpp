#include "skin/Pictures.h"

namespace keldra::skin {

Picture DrawFaderHandle()
{
    const SkinImageRow& row = RowOf(ESkinImage::FaderHandle);
    CCanvas canvas(row.frameWidth, row.frameHeight, 8);
    const Box body{1, 1, 20, 15};
    canvas.Rounded(body, 2.0).Glow(kBlack.Faded(0.7), 2.4, 0.0, 1.6);
    canvas.Rounded(body, 2.0).Fill(Bytes(10, 8, 7));
    // Two slopes that meet in the line: the upper one faces the lamp.
    canvas.Rounded(body.Inset(0.5), 1.6)
        .FillDown(1.0, 16.0,
                  {{0.0, Bytes(132, 119, 103)},
                   {0.08, Bytes(104, 93, 80)},
                   {0.44, Bytes(66, 58, 50)},
                   {0.5, Bytes(30, 26, 22)},
                   {0.56, Bytes(48, 42, 36)},
                   {0.9, Bytes(30, 26, 22)},
                   {1.0, Bytes(20, 17, 15)}});
    canvas.Rounded({2.0, kFaderLineRow - 1.0, 18.0, 3.0}, 0.0).Fill(Bytes(16, 13, 11));
    canvas.Rounded({2.0, kFaderLineRow, 18.0, 1.0}, 0.0).Fill(Bytes(255, 238, 204));
    return canvas.Finished();
}

} // namespace keldra::skin
