#include <gtest/gtest.h>

#include "platform/headless/HeadlessWindow.h"
#include "tests/gallery/GalleryPort.h"
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

    /// A part of what the user sees.
    void ExpectSeen(const PixelRect& area, const std::string& name)
    {
        CGraphicBuffer seen;
        ASSERT_TRUE(seen.Create({area.height, area.width}));
        for (int y = 0; y < area.height; ++y)
            for (int x = 0; x < area.width; ++x)
                seen.SetPixel(x, y, window_->PixelAt(area.x + x, area.y + y));
        ExpectGolden(seen, name);
    }
    void PressOn(const CControl& control)
    {
        window_->MoveTo({control.GetRect().x + 3, control.GetRect().y + 3});
        window_->Press();
    }

    CGalleryPort port_;
    CHeadlessWindow* window_ = nullptr;
};

TEST_F(Gallery, LooksAsItDid)
{
    ExpectSeen({0, 0, 480, 340}, "gallery");
}

TEST_F(Gallery, ShowsPopupsAsItDid)
{
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

} // namespace
} // namespace keldra
