#include <gtest/gtest.h>

#include "gui/gallery/GalleryPort.h"
#include "platform/headless/HeadlessWindow.h"
#include "tests/gui/Golden.h"

namespace keldra {
namespace {

class Gallery : public testing::Test {
protected:
    Gallery()
    {
        EXPECT_TRUE(port_.Open(7));
        window_ = CHeadlessWindow::Newest();
        window_->Focus(true);
        window_->Tick(6); // the animated light is on
    }

    void ExpectSeen(const PixelRect& area, const std::string& name) const
    {
        ExpectGolden(*window_, area, name);
    }
    void PressOn(const CControl& control)
    {
        window_->MoveTo({control.GetRect().x + 3, control.GetRect().y + 3});
        window_->Press();
    }

    CGalleryPort port_;
    CHeadlessWindow* window_ = nullptr;
};

TEST_F(Gallery, LooksAsItDidWithAndWithoutPopups)
{
    ExpectSeen({0, 0, 480, 340}, "gallery");
    PressOn(port_.Knob());
    window_->MoveBy(0, -30);
    window_->Tick(3);
    ExpectSeen({0, 0, 120, 90}, "gallery-knob-popup");
    window_->Release();
    window_->Key(kKeyEnter);
    window_->Key('4');
    window_->Key('4');
    ExpectSeen({0, 0, 120, 90}, "gallery-value-field");
    window_->Key(kKeyEscape);

    PressOn(port_.Menu());
    window_->Release();
    window_->MoveTo({130, 150}); // over a row
    window_->Tick(4);
    ExpectSeen({0, 60, 240, 200}, "gallery-menu");
    window_->Press();

    PressOn(port_.LongMenu());
    window_->Release();
    window_->Tick(4);
    ExpectSeen({290, 0, 190, 340}, "gallery-long-menu");
    window_->MoveTo({1, 339});
    window_->Press();

    PressOn(port_.PressButton());
    ExpectSeen({200, 56, 64, 40}, "gallery-pressed");
    window_->Release();
    window_->PressAgain();
    window_->Release();
    port_.Knob().SetValueRedraw(0.0f);
    port_.Menu().SetValueRedraw(2.0f);
    ExpectSeen({0, 0, 480, 340}, "gallery"); // nothing is left of any of them
}

TEST(Shapes, LookAsTheyWereDrawn)
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
    for (const bool bold : {false, true}) {
        CGraphicBuffer picture;
        ASSERT_TRUE(picture.Create({12 * 14 + 4, 420}));
        picture.Clear(Rgb(255, 255, 255));
        picture.SetFillColor(Rgb(35, 35, 35));
        picture.FillRect({0, 6 * 14 + 2, 420, 6 * 14 + 2});
        if (bold)
            picture.SelectBoldFont();
        int y = 3;
        for (const Color color : {kOpaqueBlack, Rgb(247, 223, 180)}) {
            picture.SetTextColor(color);
            for (const char* line : kLines) {
                picture.DrawText(line, {2, y, 400, 11});
                y += 14;
            }
        }
        ExpectGolden(picture, bold ? "font-bold" : "font-regular");
    }
}

} // namespace
} // namespace keldra
