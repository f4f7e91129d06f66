#include "gui/Fonts.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/gui/Golden.h"

namespace keldra {
namespace {

struct FontFacts {
    EFont font;
    std::size_t bytes;
    int spacing;
    const char* advances; // a letter a width: 'a' is 0, for '!' to '~'
};

constexpr FontFacts kFacts[] = {
    {EFont::Regular, 4599, 1,
     "dcigjiceeghdedeffffffffffddgigekgfggffggdefehghfhgffgfjfffdedhgdffeffeffbdebhffffdeeffhffefbf"
     "h"},
    {EFont::Bold, 7417, 0,
     "ddjhnjdffhjdfdghhhhhhhhhhddjjjgkihhiggiifghhjhihiihhihlhhhfgfjifhhghhfhhdfhdlhhhhfgfhhjhhgifi"
     "j"},
};

TEST(Fonts, HaveTheirExactLengthsAdvancesAndWellFormedGlyphs)
{
    for (const FontFacts& facts : kFacts) {
        const CBitmapFont& font = CBitmapFont::Of(facts.font);
        EXPECT_EQ(font.Data().size(), facts.bytes);
        EXPECT_EQ(font.LineHeight(), 11);
        EXPECT_EQ(font.Spacing(), facts.spacing);
        std::size_t bytes = 189;
        for (char c = '!'; c <= '~'; ++c) {
            const Glyph glyph = font.GlyphOf(c);
            EXPECT_EQ(glyph.advance, facts.advances[c - '!'] - 'a') << c;
            EXPECT_GT(glyph.pixelCount, 0) << c;
            EXPECT_LE(glyph.pixelCount, 11 * glyph.advance) << c;
            for (int i = 0; i < glyph.pixelCount; ++i) {
                EXPECT_LT(glyph.At(i).position >> 4, 11) << c;
                EXPECT_LT(glyph.At(i).position & 15, glyph.advance + 1) << c;
            }
            bytes += 2 + 2 * static_cast<std::size_t>(glyph.pixelCount);
        }
        EXPECT_EQ(bytes, facts.bytes);
    }
}

// A line of text each: all glyphs, then words that show how letters stand together.
TEST(Fonts, LookAsTheyWereDrawn)
{
    constexpr const char* kLines[] = {
        "!\"#$%&'()*+,-./0123456789:;<=>?@",
        "ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`",
        "abcdefghijklmnopqrstuvwxyz{|}~",
        "Flt. Cutoff  Amp. Release  OscB Detune  Noise Balance",
        "Param: Delay Time Left [74]  -12.5 dB  440 Hz  3/16  100 %",
        "Import CC Map  Save Program  Reset Program  Illicit kWxyz",
    };
    CGraphicBuffer picture;
    ASSERT_TRUE(picture.Create({12 * 14 + 4, 420}));
    picture.Clear(Rgb(255, 255, 255));
    picture.SetFillColor(Rgb(35, 35, 35));
    picture.FillRect({0, 6 * 14 + 2, 420, 6 * 14 + 2});
    int y = 3;
    for (const Color color : {kOpaqueBlack, Rgb(247, 223, 180)}) {
        picture.SetTextColor(color);
        for (const char* line : kLines) {
            picture.SelectRegularFont();
            picture.DrawText(line, {2, y, 400, 11});
            y += 14;
        }
    }
    ExpectGolden(picture, "font-regular");

    picture.Clear(Rgb(255, 255, 255));
    picture.FillRect({0, 6 * 14 + 2, 420, 6 * 14 + 2});
    y = 3;
    picture.SelectBoldFont();
    for (const Color color : {kOpaqueBlack, Rgb(247, 223, 180)}) {
        picture.SetTextColor(color);
        for (const char* line : kLines) {
            picture.DrawText(line, {2, y, 400, 11});
            y += 14;
        }
    }
    ExpectGolden(picture, "font-bold");
}

} // namespace
} // namespace keldra
