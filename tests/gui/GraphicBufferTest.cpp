#include "gui/GraphicBuffer.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "tests/gui/Golden.h"

namespace keldra {
namespace {

constexpr Color kGrey100 = Rgba(100, 100, 100, 7); // an alpha that must stay

class GraphicBuffer : public testing::Test {
protected:
    GraphicBuffer()
    {
        EXPECT_TRUE(picture_.Create({40, 60}));
        picture_.Clear(kGrey100);
    }

    /// Rows from the top, one character a pixel: '.' untouched, '#' changed.
    std::string Changed(const PixelRect& area) const
    {
        std::string rows;
        for (int y = area.y; y < area.y + area.height; ++y) {
            for (int x = area.x; x < area.x + area.width; ++x)
                rows += picture_.GetPixel(x, y) == kGrey100 ? '.' : '#';
            rows += '\n';
        }
        return rows;
    }

    unsigned Green(int x, int y) const { return GreenOf(picture_.GetPixel(x, y)); }

    CGraphicBuffer picture_;
};

TEST_F(GraphicBuffer, KeepsItsRowsFromTheBottomUp)
{
    picture_.SetPixel(3, 0, Rgb(1, 2, 3));
    EXPECT_EQ(picture_.View().pixels[39 * 60 + 3], 0xff010203u);
    EXPECT_EQ(picture_.GetPixel(3, 0), Rgb(1, 2, 3));
    EXPECT_EQ(picture_.GetPixel(-1, 0), kOpaqueBlack);
    EXPECT_EQ(picture_.GetPixel(0, 40), kOpaqueBlack);
}

TEST_F(GraphicBuffer, IsMadeAnewForAnotherSizeOnly)
{
    EXPECT_TRUE(picture_.Create({40, 60}));
    EXPECT_EQ(picture_.GetPixel(0, 0), kGrey100);
    EXPECT_TRUE(picture_.Create({41, 60}));
    EXPECT_EQ(picture_.GetPixel(0, 0), 0u);
    EXPECT_TRUE(picture_.Create({0, 60}));
    EXPECT_FALSE(picture_.IsValid());
    EXPECT_FALSE(picture_.Create({65535, 65535}));
    EXPECT_EQ(picture_.GetSize(), PixelSize{});
    picture_.FillRect({0, 0, 10, 10}); // nothing to draw on, nothing to crash
    picture_.DrawLine(0, 0, 9, 9);
    picture_.DrawPanel({0, 0, 9, 9}, ECorners::Rounded, 0.9f, 0.0f);
}

TEST_F(GraphicBuffer, FallsBackToTheWholeWhenTheClipLiesOutside)
{
    EXPECT_TRUE(picture_.SetClip({-5, -5, 15, 15}));
    EXPECT_EQ(picture_.GetClip(), (PixelRect{0, 0, 10, 10}));
    EXPECT_FALSE(picture_.SetClip({60, 0, 5, 5}));
    EXPECT_EQ(picture_.GetClip(), (PixelRect{0, 0, 60, 40}));
    EXPECT_FALSE(picture_.SetClip({std::numeric_limits<int>::max(), 0, 100, 5}));
}

TEST_F(GraphicBuffer, BlendsWithWeightsThatAddUpTo255)
{
    struct Case {
        const char* what;
        bool hasAlpha;
        unsigned sourceAlpha;
        std::uint8_t opacity;
        unsigned green; // of a source of 200 over 100
        unsigned alpha; // the destination's, 7 before
    };
    constexpr Case kCases[] = {
        {"half: (100 x 127 + 200 x 128) / 256", false, 9, 128, 149, 7},
        {"hardly: (100 x 254 + 200) / 256", false, 9, 1, 100, 7},
        {"nearly: (100 + 200 x 254) / 256", false, 9, 254, 198, 7},
        {"nothing at all", false, 9, 0, 100, 7},
        {"a copy takes all four bytes", false, 9, 255, 200, 9},
        {"by pixel: alpha 128 x 200 / 256 = 100", true, 128, 200, 138, 7},
        {"a copy by pixel: alpha 128 as it is", true, 128, 255, 149, 7},
        {"opaque loses the division's rest", true, 255, 255, 199, 7},
        {"even nothing takes a little away", true, 0, 255, 99, 7},
        {"no opacity leaves it alone all the same", true, 255, 0, 100, 7},
    };
    for (const Case& c : kCases) {
        CGraphicBuffer source;
        ASSERT_TRUE(source.Create({1, 33})); // longer than the vector units are wide, and odd
        source.Clear(Rgba(200, 200, 200, c.sourceAlpha));
        source.SetHasAlpha(c.hasAlpha);
        picture_.Clear(kGrey100);
        source.DrawTo(picture_, {0, 0, 33, 1}, {0, 0}, c.opacity);
        for (int x = 0; x < 33; ++x)
            ASSERT_EQ(picture_.GetPixel(x, 0), Rgba(c.green, c.green, c.green, c.alpha))
                << c.what << ", column " << x;
        EXPECT_EQ(picture_.GetPixel(33, 0), kGrey100) << c.what;
    }
}

TEST_F(GraphicBuffer, LimitsAnOpacityGivenAsAFraction)
{
    CGraphicBuffer source;
    ASSERT_TRUE(source.Create({1, 1}));
    source.Clear(Rgb(200, 200, 200));
    constexpr std::pair<float, unsigned> kCases[] = {
        {-1.0f, 100}, {NAN, 100}, {0.5f, 149}, {2.0f, 200}}; // 0.5 x 255 is 127: 149.4
    for (const auto& [opacity, green] : kCases) {
        picture_.Clear(kGrey100);
        source.DrawToF(picture_, {0, 0, 1, 1}, {0, 0}, opacity);
        EXPECT_EQ(Green(0, 0), green) << opacity;
    }
}

TEST_F(GraphicBuffer, KeepsSourceAndDestinationAlignedWhereTheClipCuts)
{
    CGraphicBuffer source; // every pixel says where it is
    ASSERT_TRUE(source.Create({20, 20}));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            source.SetPixel(x, y, Rgb(0, static_cast<unsigned>(y), static_cast<unsigned>(x)));
    struct Case {
        const char* what;
        PixelRect clip, to;
        PixelPoint from;
        PixelPoint look, found; // a pixel there, and where in the source it comes from
    };
    constexpr Case kCases[] = {
        {"starts left of and above the clip",
         {5, 6, 50, 30},
         {2, 2, 10, 10},
         {0, 0},
         {5, 6},
         {3, 4}},
        {"starts outside the buffer", {0, 0, 60, 40}, {-4, -3, 10, 10}, {0, 0}, {0, 0}, {4, 3}},
        {"from the middle of the source", {0, 0, 60, 40}, {1, 1, 4, 4}, {7, 8}, {2, 3}, {8, 10}},
        // The source has nothing left of itself: its first column goes to the place asked for.
        {"asks for more than the source has",
         {0, 0, 60, 40},
         {10, 10, 9, 9},
         {-3, -2},
         {10, 10},
         {0, 0}},
    };
    for (const Case& c : kCases) {
        picture_.ResetClip();
        picture_.Clear(kGrey100);
        picture_.SetClip(c.clip);
        source.CopyTo(picture_, c.to, c.from);
        EXPECT_EQ(BlueOf(picture_.GetPixel(c.look.x, c.look.y)), static_cast<unsigned>(c.found.x))
            << c.what;
        EXPECT_EQ(Green(c.look.x, c.look.y), static_cast<unsigned>(c.found.y)) << c.what;
    }
    EXPECT_EQ(Changed({8, 8, 10, 10}),
              "..........\n..........\n..######..\n..######..\n..######..\n..######..\n..######..\n"
              "..######..\n..######..\n..........\n");
    picture_.Clear(kGrey100);
    source.CopyTo(picture_, {std::numeric_limits<int>::max(), 0, 20, 20}, {0, 0});
    source.CopyTo(picture_, {0, 0, 20, 20}, {std::numeric_limits<int>::min(), 0});
    source.CopyTo(picture_, {0, 0, -20, 20}, {0, 0});
    EXPECT_EQ(Changed({0, 0, 60, 40}).find('#'), std::string::npos);
}

TEST_F(GraphicBuffer, FillsOpaqueWithoutAlphaAndTranslucentByWeight)
{
    picture_.SetFillColor(Rgb(10, 20, 30));
    picture_.FillRect({-2, -2, 5, 4});
    EXPECT_EQ(picture_.GetPixel(2, 1), Rgba(10, 20, 30, 0));
    EXPECT_EQ(Changed({0, 0, 5, 3}), "###..\n###..\n.....\n");
    picture_.SetFillColor(Rgba(255, 255, 255, 100)); // (100 x 155 + 255 x 100) / 256
    picture_.FillRect({50, 30, 40, 40});
    EXPECT_EQ(picture_.GetPixel(59, 39), Rgba(160, 160, 160, 7));
    picture_.SetFillColor(Rgba(255, 255, 255, 0));
    picture_.FillRect({20, 20, 5, 5});
    EXPECT_EQ(picture_.GetPixel(20, 20), kGrey100);
}

// Worked out by hand for 200 at the top, 0 at the bottom, opaque (so x 255 / 256). The left edge
// divides the way by the height, the right edge by the height less one.
TEST_F(GraphicBuffer, StepsThroughAGradientInSixteenthBitFractions)
{
    picture_.FillVerticalGradient({10, 10, 2, 4}, Rgb(200, 200, 200), Rgb(0, 0, 0));
    constexpr unsigned kLeft[] = {149, 99, 49, 0};   // 150, 100, 50, 0
    constexpr unsigned kRight[] = {198, 132, 65, 0}; // 199.99, 133.3, 66.7, 0
    for (int row = 0; row < 4; ++row) {
        EXPECT_EQ(Green(10, 10 + row), kLeft[row]) << row;
        EXPECT_EQ(Green(11, 10 + row), kRight[row]) << row;
        EXPECT_EQ(AlphaOf(picture_.GetPixel(10, 10 + row)), 7u);
    }
    picture_.FillHorizontalGradient({10, 20, 5, 1}, Rgb(0, 0, 0), Rgb(200, 200, 200));
    constexpr unsigned kAlong[] = {0, 49, 99, 149, 199};
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(Green(10 + x, 20), kAlong[x]) << x;

    // Transparent to black over 100: alpha 0, 63.75, 127.5 ..: 100 x (255 - a) / 256
    picture_.FillHorizontalGradient({10, 22, 5, 1}, Rgba(0, 0, 0, 0), Rgba(0, 0, 0, 255));
    constexpr unsigned kFading[] = {99, 75, 50, 25, 0};
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(Green(10 + x, 22), kFading[x]) << x;

    // Where the clip cuts, the colours begin, with the steps of the whole.
    picture_.SetClip({12, 30, 2, 2});
    picture_.FillVerticalGradient({10, 28, 10, 8}, Rgb(80, 80, 80), Rgb(0, 0, 0));
    EXPECT_EQ(Green(12, 31), 0u);
    EXPECT_EQ(Green(12, 30), 9u); // 80 / 8 = 10
}

TEST_F(GraphicBuffer, FillsPlainlyWhenAllCornersAreEqual)
{
    picture_.SetFillColor(Rgb(1, 2, 3));
    picture_.FillGradient({0, 0, 4, 4}, Rgb(9, 9, 9), Rgb(9, 9, 9), Rgb(9, 9, 9), Rgb(9, 9, 9));
    EXPECT_EQ(picture_.GetPixel(0, 0), Rgba(9, 9, 9, 0));
    EXPECT_EQ(picture_.GetFillColor(), Rgb(1, 2, 3));
    picture_.FillRectColors({0, 0, 4, 4}, nullptr);
    EXPECT_EQ(picture_.GetPixel(0, 0), Rgba(1, 2, 3, 0));
}

TEST_F(GraphicBuffer, LimitsThePenAndOutlinesInsideTheRectangle)
{
    constexpr std::pair<int, int> kWidths[] = {{0, 1}, {-9, 1}, {7, 7}, {40, 32}};
    for (const auto& [asked, given] : kWidths) {
        picture_.SetPenWidth(asked);
        EXPECT_EQ(picture_.GetPenWidth(), given);
    }
    picture_.SetPenWidth(2);
    picture_.SetPenColor(Rgb(0, 0, 0));
    picture_.SetFillColor(Rgb(5, 5, 5));
    picture_.DrawRect({1, 1, 7, 6});
    EXPECT_EQ(Changed({0, 0, 9, 8}), ".........\n.#######.\n.#######.\n.##...##.\n.##...##.\n"
                                     ".#######.\n.#######.\n.........\n");
    EXPECT_EQ(picture_.GetFillColor(), Rgb(5, 5, 5));
}

TEST_F(GraphicBuffer, DrawsLinesFromOneEndUpToTheOther)
{
    picture_.SetPenColor(Rgb(0, 200, 0));
    picture_.DrawLine(2, 1, 6, 1);
    picture_.DrawLine(9, 6, 9, 3); // the same pixels in either direction
    EXPECT_EQ(Changed({0, 0, 11, 8}), "...........\n..####.....\n...........\n.........#.\n"
                                      ".........#.\n.........#.\n...........\n...........\n");
    EXPECT_EQ(picture_.GetPixel(2, 1), Rgba(0, 199, 0, 0)); // (200 x 255) / 256, alpha used up
    picture_.DrawLine(30, 30, 30, 30);
    EXPECT_EQ(picture_.GetPixel(30, 30), kGrey100);
}

TEST_F(GraphicBuffer, SharesALineBetweenTheTwoRowsItStraddles)
{
    picture_.Clear(Rgb(255, 255, 255));
    picture_.DrawLine(2.0f, 10.25f, 8.0f, 10.25f); // three quarters in row 10
    EXPECT_NEAR(Green(4, 10), 64.0, 2.0);
    EXPECT_NEAR(Green(4, 11), 191.0, 2.0);
    EXPECT_EQ(Green(4, 9), 255u);
    picture_.DrawLine(20.5f, 10.0f, 23.5f, 10.0f); // half of the pixels at the ends
    EXPECT_NEAR(Green(20, 10), 127.0, 2.0);
    EXPECT_NEAR(Green(23, 10), 127.0, 2.0);
    EXPECT_EQ(Green(21, 10), 0u);
    // A slanted line loses as much ink in each column as a level one.
    picture_.Clear(Rgb(255, 255, 255));
    picture_.DrawLine(5, 5, 45, 18);
    for (int x = 5; x < 45; ++x) {
        unsigned ink = 0;
        for (int y = 0; y < 40; ++y)
            ink += 255 - Green(x, y);
        EXPECT_NEAR(ink, 255.0, 3.0) << x;
    }
}

TEST_F(GraphicBuffer, BlendsAThickTranslucentStrokeOnlyOnce)
{
    picture_.Clear(Rgb(255, 255, 255)); // with an alpha that isn't coverage
    picture_.SetPenWidth(5);
    picture_.SetPenColor(Rgba(0, 0, 0, 150));
    picture_.DrawLine(5, 8, 50, 28);
    int full = 0;
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 60; ++x) {
            EXPECT_GE(Green(x, y), 104u) << x << ", " << y; // (255 x 105) / 256
            full += Green(x, y) == 104u ? 1 : 0;
        }
    EXPECT_GT(full, 45 * 2); // and the inside is of one piece
    EXPECT_LT(full, 45 * 6);
}

TEST_F(GraphicBuffer, SurvivesAnyCoordinates)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    picture_.SetPenWidth(32);
    picture_.DrawLine(-kInfinity, NAN, kInfinity, 1e30f);
    picture_.DrawLine(NAN, NAN, 5.0f, 5.0f);
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    picture_.DrawLine(kLeast, kLeast, kMost, kMost);
    for (const PixelRect rect :
         {PixelRect{kMost, kMost, kMost, kMost}, PixelRect{kLeast, kLeast, kMost, kMost},
          PixelRect{0, 0, kLeast, kLeast}, PixelRect{kLeast, 0, kLeast, 5},
          PixelRect{-3, -3, kMost, kMost}}) {
        picture_.FillRect(rect);
        picture_.FillVerticalGradient(rect, Rgb(1, 1, 1), Rgb(2, 2, 2));
        picture_.DrawRect(rect);
        picture_.DrawText("x", rect);
        picture_.DrawPanel(rect, ECorners::Rounded, NAN, NAN);
        picture_.DrawShadow(rect);
    }
}

TEST_F(GraphicBuffer, MeasuresText)
{
    struct Case {
        const char* text;
        int regular, bold;
    };
    constexpr Case kCases[] = {
        {"A B", 16, 18},                 // 6 + 1 + 4 + 5 + 1 - 1, and 8 + 4 + 7 - 1
        {"?", 4, 5},     {"\xC8", 4, 5}, // not ASCII: as '?'
        {"\x1f", 4, 5},  {"il", 3, 5},   {" ", 3, 3},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(picture_.DrawText(c.text, {}, ETextPass::MeasureOnly), (PixelSize{11, c.regular}))
            << c.text;
        picture_.SelectBoldFont();
        EXPECT_EQ(picture_.DrawText(c.text, {}, ETextPass::MeasureOnly), (PixelSize{11, c.bold}))
            << c.text;
        picture_.SelectRegularFont();
    }
    EXPECT_EQ(picture_.DrawText("", {}), PixelSize{});
    EXPECT_EQ(picture_.DrawText(std::string(5000, 'A'), {}).width, 1024 * 7 - 1);
    EXPECT_EQ(picture_.GetPixel(0, 0), kGrey100); // measuring drew nothing
}

TEST_F(GraphicBuffer, PlacesTextInItsBox)
{
    struct Case {
        void (CGraphicBuffer::*align)();
        void (CGraphicBuffer::*font)();
        int column; // of the leftmost ink of an "l" in a box from 10, 20 wide
    };
    const Case kCases[] = {
        {&CGraphicBuffer::AlignTextLeft, &CGraphicBuffer::SelectRegularFont, 10},
        {&CGraphicBuffer::AlignTextCenter, &CGraphicBuffer::SelectRegularFont, 19}, // 10 + 19 / 2
        {&CGraphicBuffer::AlignTextRight, &CGraphicBuffer::SelectRegularFont, 29},
        {&CGraphicBuffer::AlignTextLeft, &CGraphicBuffer::SelectBoldFont,
         10}, // its gap lies before
        {&CGraphicBuffer::AlignTextRight, &CGraphicBuffer::SelectBoldFont, 29},
    };
    for (const Case& c : kCases) {
        picture_.Clear(kGrey100);
        (picture_.*c.align)();
        (picture_.*c.font)();
        picture_.DrawText("l", {10, 4, 20, 15}); // two rows above the line and two below
        const std::string rows = Changed({0, 0, 60, 20});
        int column = 60;
        for (int y = 0; y < 20; ++y) {
            const auto at = rows.substr(static_cast<std::size_t>(y) * 61, 60).find('#');
            if (at != std::string::npos) {
                column = std::min(column, static_cast<int>(at));
                EXPECT_GE(y, 6);
                EXPECT_LT(y, 17);
            }
        }
        EXPECT_EQ(column, c.column);
    }
    picture_.Clear(kGrey100);
    picture_.SetClip({12, 0, 2, 40});
    picture_.AlignTextLeft();
    picture_.DrawText("WWWW", {10, 4, 20, 15});
    EXPECT_EQ(Changed({0, 4, 12, 15}).find('#'), std::string::npos);
    EXPECT_NE(Changed({12, 4, 2, 15}).find('#'), std::string::npos);
    EXPECT_EQ(Changed({14, 4, 30, 15}).find('#'), std::string::npos);
}

TEST_F(GraphicBuffer, WritesInkWithTheTextsAlpha)
{
    picture_.Clear(Rgb(255, 255, 255));
    picture_.SetTextColor(Rgba(0, 100, 0, 128));
    picture_.DrawText("|", {0, 0, 10, 11}); // full ink: a = 128 x 255 / 256 = 127
    EXPECT_EQ(picture_.GetPixel(0, 4), Rgba(127, 127 + 49, 127, 255));
}

TEST_F(GraphicBuffer, DarkensAFrameAndLeavesTheInside)
{
    picture_.Clear(Rgb(255, 255, 255));
    picture_.SetPenColor(Rgb(1, 2, 3));
    picture_.DrawShadow({5, 5, 40, 30});
    EXPECT_EQ(picture_.GetPixel(4, 20), Rgb(255, 255, 255));
    EXPECT_EQ(picture_.GetPixel(14, 14), Rgb(255, 255, 255));
    // (255 x (255 - darkness)) / 256 along the edges, from outside inward, the same on all sides
    constexpr unsigned kProfile[] = {245, 235, 217, 195, 167, 131, 102, 77, 57};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(Green(20, 5 + i), kProfile[i]);
        EXPECT_EQ(Green(20, 34 - i), kProfile[i]);
        EXPECT_EQ(Green(5 + i, 20), kProfile[i]);
        EXPECT_EQ(Green(44 - i, 20), kProfile[i]);
    }
    EXPECT_NEAR(Green(13, 13), 255 - 197, 1.0); // the inmost of a corner
    EXPECT_NEAR(Green(10, 11), 255 - 88, 1.0);
    EXPECT_EQ(Green(5, 5), 255u);
    EXPECT_EQ(Green(14, 5), kProfile[0]); // where corner and edge meet, nothing is drawn twice
    EXPECT_EQ(Green(35, 13), kProfile[8]);
    EXPECT_NEAR(Green(36, 13), 255 - 197, 1.0);
    EXPECT_EQ(picture_.GetPenColor(), Rgb(1, 2, 3));
}

TEST_F(GraphicBuffer, SoftensAPanelsCorners)
{
    picture_.Clear(Rgb(255, 255, 255));
    picture_.SetFillColor(Rgb(40, 40, 40));
    picture_.DrawPanel({2, 3, 20, 10}, ECorners::Square, 1.0f, 0.0f);
    EXPECT_EQ(Green(2, 3), 255u - 215 * 6 / 255 - 1); // 249.9
    EXPECT_EQ(Green(3, 3), 104u);                     // (255 x 76 + 40 x 179) / 255 = 104.08
    EXPECT_EQ(Green(4, 4), 40u);
    EXPECT_EQ(Green(21, 12), Green(2, 3));
    EXPECT_EQ(picture_.GetPixel(10, 3), Rgba(40, 40, 40, 0));

    picture_.Clear(Rgb(255, 255, 255));
    picture_.SetPenColor(Rgb(190, 190, 190));
    picture_.DrawPanel({2, 3, 20, 12}, ECorners::Rounded, 0.5f, 0.0f);
    EXPECT_EQ(Green(2, 3), 255u);  // outside the rounding
    EXPECT_EQ(Green(10, 3), 189u); // the outline, (190 x 255) / 256
    EXPECT_EQ(Green(2, 8), 189u);
    EXPECT_EQ(Green(10, 4), 37u); // the body, darker downward: (20 + 20 x 9 / 10) x 255 / 256
    EXPECT_NEAR(Green(10, 13), 20.0, 2.0);
    EXPECT_NEAR(Green(4, 12), 22.0, 3.0); // its corners too
    EXPECT_EQ(picture_.GetFillColor(), Rgb(40, 40, 40));
}

TEST(GraphicBufferPicture, ShowsShapesAsTheyWereDrawn)
{
    CGraphicBuffer picture;
    ASSERT_TRUE(picture.Create({96, 160}));
    picture.Clear(Rgb(120, 130, 140));
    picture.DrawShadow({4, 4, 74, 54});
    picture.SetPenColor(Rgb(190, 172, 139));
    picture.SetFillColor(Rgb(35, 35, 35));
    picture.DrawPanel({10, 10, 61, 41}, ECorners::Rounded, 1.0f, 0.0f);
    picture.SetFillColor(Rgb(190, 172, 139));
    picture.DrawPanel({16, 16, 49, 14}, ECorners::Square, 1.1f, 0.24f);
    picture.SetFillColor(Rgb(60, 60, 60));
    picture.DrawPanel({16, 34, 49, 12}, ECorners::Rounded, 0.75f, 0.08f);
    for (int i = 0; i < 8; ++i) {
        picture.SetPenWidth(1 + i / 2);
        picture.SetPenColor(Rgba(255, 255, static_cast<unsigned>(i) * 30, 255));
        picture.DrawLine(120, 48, 120 + 30 - i * 8, 10 + i * 5);
    }
    picture.FillGradient({4, 62, 70, 30}, Rgb(255, 0, 0), Rgb(0, 255, 0), Rgba(0, 0, 255, 40),
                         Rgb(255, 255, 0));
    ExpectGolden(picture, "shapes");
}

} // namespace
} // namespace keldra
