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
    EXPECT_EQ(picture_.DrawText(std::string(5000, 'A'), {}).width, 1024 * 7 - 1);
    for (const PixelRect rect :
         {PixelRect{kMost, kMost, kMost, kMost}, PixelRect{kLeast, kLeast, kMost, kMost},
          PixelRect{0, 0, kLeast, kLeast}, PixelRect{kLeast, 0, kLeast, 5},
          PixelRect{-3, -3, kMost, kMost}}) {
        picture_.FillRect(rect);
        picture_.FillVerticalGradient(rect, Rgb(1, 1, 1), Rgb(2, 2, 2));
        picture_.DrawRect(rect);
        picture_.DrawText("x\x1f\xC8", rect);
        picture_.DrawPanel(rect, ECorners::Rounded, NAN, NAN);
        picture_.DrawShadow(rect);
    }
}

} // namespace
} // namespace keldra
