#include "gui/ControlButton.h"

#include <gtest/gtest.h>

#include "gui/ControlKeyboard.h"
#include "gui/ControlStateSelector.h"
#include "tests/gui/TestPort.h"

namespace keldra {
namespace {

class ControlButton : public CControlTest<CControlButton> {
protected:
    ControlButton() : CControlTest(2, {10, 10, 30, 40}) {}
};

TEST_F(ControlButton, TogglesAtOnce)
{
    Click({12, 12});
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 R2");
    control_.SetValue(0.7f); // whatever isn't 0 is on
    window_.PressAgain();    // a second click of a quick pair counts as one
    EXPECT_EQ(port_.TakeLog(), "P2 C2=0 R2");
    window_.Press(EMouseButton::Right);
    EXPECT_EQ(port_.TakeLog(), "");
    port_.Refuse(false, true);
    Click({12, 12});
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 R2");
    EXPECT_FLOAT_EQ(control_.GetValue(), 0.0f);
}

TEST_F(ControlButton, IsOnOnlyWhileItIsHeld)
{
    control_.SetMomentary();
    control_.Draw();
    const Color dark = port_.GetBackBuffer()->GetPixel(25, 30);
    window_.MoveTo({12, 12});
    window_.Press();
    EXPECT_NE(port_.GetBackBuffer()->GetPixel(25, 30), dark);
    window_.MoveTo({200, 100});
    window_.Release(EMouseButton::Right); // another one's
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 C2=0 R2");
    EXPECT_EQ(port_.GetBackBuffer()->GetPixel(25, 30), dark);
    window_.MoveTo({12, 12});
    window_.Press();
    window_.LoseCapture();
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 C2=0 R2");
}

class ControlSelector : public CControlTest<CControlStateSelector> {
protected:
    ControlSelector() : CControlTest(1, {})
    {
        FillWithPlaces(image_, {20, 50});
        control_.SetPositions(5);
        control_.SetPositions(0); // ignored
        control_.SetTabImage(&image_, true);
        control_.MoveTo({20, 30});
    }

    CGraphicBuffer image_;
};

TEST_F(ControlSelector, CountsFromTheOtherEndWhenReversed)
{
    control_.SetReversed(true);
    Click({30, 30}); // beside the tabs
    EXPECT_EQ(port_.TakeLog(), "");
    Click({29, 30});
    window_.Wheel(-1.0f);
    EXPECT_EQ(port_.TakeLog(), "P1 C1=1 R1 P1 C1=0.75 R1");
}

TEST_F(ControlSelector, StepsByTheWheelAlsoInFractions)
{
    window_.MoveTo({25, 35});
    window_.Wheel(-1.0f); // toward the user: down to the next tab
    window_.Wheel(-0.5f);
    EXPECT_EQ(port_.TakeLog(), "P1 C1=0.25 R1");
    window_.Wheel(-0.5f);
    window_.Wheel(-9.0f);
    EXPECT_EQ(port_.TakeLog(), "P1 C1=0.5 R1 P1 C1=1 R1");
}

TEST_F(ControlSelector, HoldsAMomentaryTab)
{
    control_.SetMomentary(true);
    window_.MoveTo({25, 45});
    window_.Press();
    control_.Draw();
    EXPECT_EQ(GreenOf(port_.GetBackBuffer()->GetPixel(20, 40)),
              65u); // its look lies below the image
    EXPECT_EQ(port_.TakeLog(), "P1 C1=0.25");
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "R1");
    EXPECT_FALSE(port_.IsCapturing());
}

class ControlKeyboard : public CControlTest<CControlKeyboard> {
protected:
    ControlKeyboard() : CControlTest(-1, {10, 100, 290, 50})
    {
        FillWithPlaces(white_, {40, 20}); // white keys 10 x 40, black ones 6 x 20
        FillWithPlaces(black_, {20, 12});
        control_.SetKeyImages(&white_, &black_);
        control_.SetRange(3, 24); // 36 .. 59
    }

    CGraphicBuffer white_;
    CGraphicBuffer black_;
};

TEST_F(ControlKeyboard, PlaysTheKeyUnderThePointerAsLoudAsItIsLow)
{
    struct Case {
        const char* what;
        PixelPoint at;
        int note;
        float velocity;
    };
    // The black key after white key w begins at 10 + 10 w + 10 - 3 - 1.
    constexpr Case kCases[] = {
        {"low on the first C", {12, 130}, 36, 0.75f},
        {"C sharp over the gap", {16, 110}, 37, 0.5f},
        {"its last column", {21, 110}, 37, 0.5f},
        {"D between two black keys", {24, 110}, 38, 0.25f},
        {"below a black key", {19, 120}, 36, 0.5f},
        {"F sharp, after the step of three", {10 + 36, 100}, 42, 0.0f},
        {"A sharp", {10 + 56, 119}, 46, 0.95f},
        {"the second C", {10 + 70, 139}, 48, 0.975f},
        {"the last B", {10 + 139, 139}, 59, 0.975f},
        {"beyond the last key", {10 + 140, 110}, -1, 0.0f},
        {"below the keys", {12, 140}, -1, 0.0f},
    };
    for (const Case& c : kCases) {
        window_.MoveTo(c.at);
        window_.Press();
        EXPECT_EQ(control_.GetCurrentKey(), c.note) << c.what;
        EXPECT_FLOAT_EQ(control_.GetVelocity(), c.velocity) << c.what;
        window_.MoveTo({200, 10}); // sliding away changes nothing
        window_.Release();
        EXPECT_EQ(port_.TakeLog(), c.note < 0 ? "" : "P-1 R-1") << c.what;
        EXPECT_EQ(control_.GetCurrentKey(), -1) << c.what;
    }
}

TEST_F(ControlKeyboard, LetsTheNoteGoWhenItsWindowGoes)
{
    window_.MoveTo({12, 130});
    window_.Press();
    port_.Close();
    EXPECT_EQ(port_.TakeLog(), "P-1 R-1");
    EXPECT_EQ(control_.GetCurrentKey(), -1);
}

} // namespace
} // namespace keldra
