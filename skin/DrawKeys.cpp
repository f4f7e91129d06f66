// The keys: two frames side by side, released and pressed.

#include "skin/Pictures.h"

namespace keldra::skin {

namespace {

constexpr int kOversampling = 4;

/// Two frames, drawn side by side with the frame's own corner as origin.
template <typename DrawFrame>
Picture TwoFrames(ESkinImage image, DrawFrame drawFrame)
{
    const SkinImageRow& row = RowOf(image);
    Picture frames(row.Width(), row.Height());
    for (int frame = 0; frame < 2; ++frame) {
        CCanvas canvas(row.frameWidth, row.frameHeight, kOversampling);
        drawFrame(canvas, frame == 1);
        frames.Put(canvas.Finished(), frame * row.frameWidth, 0);
    }
    return frames;
}

} // namespace

Picture DrawWhiteKey()
{
    return TwoFrames(ESkinImage::WhiteKey, [](CCanvas& canvas, bool pressed) {
        const double width = 18, height = 101;
        const double foot = pressed ? height - 2 : height - 5; // of the top face
        canvas.Rounded({0, 0, width + 1, height}, 0).Fill(Bytes(22, 18, 15));
        // The front, seen below the top face
        canvas.Rounded({0, 60, width, height - 60.5}, 2.0)
            .FillDown(foot - 2, height, {{0.0, Bytes(150, 134, 108)}, {1.0, Bytes(112, 98, 76)}});
        canvas.Rounded({0, -4, width, foot + 4}, 2.0)
            .FillDown(0, foot,
                      {{0.0, pressed ? Bytes(196, 182, 156) : Bytes(226, 216, 194)},
                       {0.35, pressed ? Bytes(226, 213, 188) : Bytes(244, 236, 218)},
                       {1.0, pressed ? Bytes(232, 220, 196) : Bytes(252, 246, 232)}});
        canvas.Rounded({0, 0, 1, foot - 2}, 0).Fill(kWhite.Faded(pressed ? 0.25 : 0.65));
        canvas.Rounded({width - 1.5, 0, 1.5, foot - 2}, 0).Fill(Bytes(120, 104, 78, 0.35));
        canvas.Rounded({2, foot - 1, width - 4, 1}, 0).Fill(kWhite.Faded(pressed ? 0.3 : 0.9));
        // Under the case
        canvas.Rounded({0, 0, width + 1, pressed ? 16.0 : 10.0}, 0)
            .FillDown(0, pressed ? 16 : 10,
                      {{0.0, kBlack.Faded(pressed ? 0.75 : 0.6)},
                       {0.4, kBlack.Faded(pressed ? 0.28 : 0.18)},
                       {1.0, kBlack.Faded(0.0)}});
    });
}

Picture DrawBlackKey()
{
    return TwoFrames(ESkinImage::BlackKey, [](CCanvas& canvas, bool pressed) {
        const double height = 64;
        const double foot = pressed ? height - 6 : height - 11; // of the top face
        const Box body{1, -4, 11, height + 2};
        canvas.Rounded(body, 2.0).Glow(kBlack.Faded(0.75), 3.0, pressed ? 0.2 : 0.8, 1.2);
        canvas.Rounded(body, 2.0).FillAcross(1, 12,
                                             {{0.0, Bytes(58, 51, 45)},
                                              {0.16, Bytes(30, 26, 23)},
                                              {0.84, Bytes(20, 17, 15)},
                                              {1.0, Bytes(8, 7, 6)}});
        // The front slopes toward the player and catches the lamp.
        canvas.Rounded({2, foot, 9, height - foot - 3}, 1.5)
            .FillDown(
                foot, height - 3,
                {{0.0, Bytes(92, 83, 73)}, {0.3, Bytes(60, 53, 47)}, {1.0, Bytes(26, 22, 19)}});
        canvas.Rounded({2.5, -4, 8, foot + 4}, 1.8)
            .FillDown(0, foot,
                      {{0.0, Bytes(24, 21, 19)},
                       {0.7, pressed ? Bytes(40, 35, 31) : Bytes(52, 46, 41)},
                       {1.0, pressed ? Bytes(48, 42, 37) : Bytes(70, 62, 55)}});
        canvas.Rounded({3.0, 0, 0.9, foot - 3}, 0).Fill(kWhite.Faded(pressed ? 0.05 : 0.13));
        canvas.Rounded({1, 0, 11, 9}, 0)
            .FillDown(0, 9, {{0.0, kBlack.Faded(0.7)}, {1.0, kBlack.Faded(0.0)}});
    });
}

} // namespace keldra::skin
