#include "gui/ControlButton.h"

#include <cmath>
#include <gtest/gtest.h>

#include "gui/ControlKeyboard.h"
#include "gui/ControlStateSelector.h"
#include "tests/gui/TestPort.h"

namespace keldra {
namespace {

class ControlButton : public testing::Test {
protected:
    ControlButton()
        : button_(port_.GetRootGroup()->Add(std::make_unique<CControlButton>(2))),
          window_(port_.Show())
    {
        FillWithPlaces(image_, {80, 30});
        button_.MoveTo({10, 10});
        window_.Focus(true);
        port_.TakeLog();
    }

    int Frame() // which of the frames is shown
    {
        button_.Draw();
        return static_cast<int>(GreenOf(port_.GetBackBuffer()->GetPixel(10, 10))) /
               button_.GetSize().height;
    }
    void Click()
    {
        window_.MoveTo({12, 12});
        window_.Press();
        window_.Release();
    }

    CGraphicBuffer image_;
    CTestPort port_;
    CControlButton& button_;
    CHeadlessWindow& window_;
};

TEST_F(ControlButton, TogglesAtOnce)
{
    button_.SetButtonImage(&image_);
    EXPECT_EQ(button_.GetSize(), (PixelSize{40, 30}));
    EXPECT_EQ(Frame(), 0);
    Click();
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 R2");
    EXPECT_EQ(Frame(), 1);
    button_.SetValue(0.7f); // whatever isn't 0 is on
    window_.PressAgain();   // a second click of a quick pair counts as one
    EXPECT_EQ(port_.TakeLog(), "P2 C2=0 R2");
    window_.Press(EMouseButton::Right);
    EXPECT_EQ(port_.TakeLog(), "");
    port_.Refuse(false, true);
    Click();
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 R2");
    EXPECT_FLOAT_EQ(button_.GetValue(), 0.0f);
}

TEST_F(ControlButton, IsOnOnlyWhileItIsHeld)
{
    button_.SetMomentary();
    button_.SetButtonImage(&image_);
    window_.MoveTo({12, 12});
    window_.Press();
    EXPECT_EQ(Frame(), 1);
    window_.MoveTo({200, 100});
    window_.Release(EMouseButton::Right); // another one's
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 C2=0 R2");
    EXPECT_EQ(Frame(), 0);
    window_.MoveTo({12, 12});
    window_.Press();
    window_.LoseCapture();
    EXPECT_EQ(port_.TakeLog(), "P2 C2=1 C2=0 R2");
    EXPECT_FLOAT_EQ(button_.GetValue(), 0.0f);
}

class ControlSelector : public testing::Test {
protected:
    ControlSelector()
        : selector_(port_.GetRootGroup()->Add(std::make_unique<CControlStateSelector>(1))),
          window_(port_.Show())
    {
        FillWithPlaces(image_, {20, 50});
        selector_.SetPositions(5);
        selector_.SetPositions(0); // ignored
        selector_.SetTabImage(&image_, true);
        selector_.MoveTo({20, 30});
        window_.Focus(true);
        port_.TakeLog();
    }

    CGraphicBuffer image_;
    CTestPort port_;
    CControlStateSelector& selector_;
    CHeadlessWindow& window_;
};

TEST_F(ControlSelector, WritesThePositionClickedOn)
{
    struct Case {
        PixelPoint at;
        bool reversed;
        const char* log;
    };
    constexpr Case kCases[] = {
        {{25, 79}, false, "P1 C1=1 R1"},    {{25, 79}, false, "P1 R1"}, // it has it already
        {{20, 40}, false, "P1 C1=0.25 R1"}, {{29, 30}, true, "P1 C1=1 R1"}, {{30, 30}, false, ""},
    };
    for (const Case& c : kCases) {
        selector_.SetReversed(c.reversed);
        window_.MoveTo(c.at);
        window_.Press();
        window_.Release();
        EXPECT_EQ(port_.TakeLog(), c.log) << c.at.x << ", " << c.at.y;
    }
}

TEST_F(ControlSelector, StepsByTheWheelAlsoInFractions)
{
    window_.MoveTo({25, 35});
    window_.Wheel(-1.0f); // toward the user: down to the next tab
    window_.Wheel(-0.5f);
    EXPECT_EQ(port_.TakeLog(), "P1 C1=0.25 R1");
    window_.Wheel(-0.5f);
    window_.Wheel(-9.0f);
    window_.Wheel(-1.0f);
    window_.Wheel(1.0f);
    EXPECT_EQ(port_.TakeLog(), "P1 C1=0.5 R1 P1 C1=1 R1 P1 C1=0.75 R1");
}

TEST_F(ControlSelector, HoldsAMomentaryTab)
{
    selector_.SetMomentary(true);
    window_.MoveTo({25, 45});
    window_.Press();
    selector_.Draw();
    EXPECT_EQ(GreenOf(port_.GetBackBuffer()->GetPixel(20, 40)),
              65u); // its look lies below the image
    EXPECT_EQ(port_.TakeLog(), "P1 C1=0.25");
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "R1");
    EXPECT_FALSE(port_.IsCapturing());
}

class ControlKeyboard : public testing::Test {
protected:
    ControlKeyboard()
        : keyboard_(port_.GetRootGroup()->Add(std::make_unique<CControlKeyboard>(-1))),
          window_(port_.Show())
    {
        // White keys 10 x 40, black ones 6 x 20: red tells them, blue beyond the width a press.
        FillWithPlaces(white_, {40, 20}, 1);
        FillWithPlaces(black_, {20, 12}, 2);
        keyboard_.SetRect({10, 100, 290, 50});
        keyboard_.SetKeyImages(&white_, &black_);
        keyboard_.SetRange(3, 24); // 36 .. 59
        port_.RedrawAll();
        window_.Focus(true);
        port_.TakeLog();
    }

    CGraphicBuffer white_;
    CGraphicBuffer black_;
    CTestPort port_;
    CControlKeyboard& keyboard_;
    CHeadlessWindow& window_;
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
        EXPECT_EQ(keyboard_.GetCurrentKey(), c.note) << c.what;
        EXPECT_FLOAT_EQ(keyboard_.GetVelocity(), c.velocity) << c.what;
        EXPECT_EQ(port_.TakeLog(), c.note < 0 ? "" : "P-1") << c.what;
        window_.MoveTo({200, 10}); // sliding away changes nothing
        window_.Release();
        EXPECT_EQ(port_.TakeLog(), c.note < 0 ? "" : "R-1") << c.what;
        EXPECT_EQ(keyboard_.GetCurrentKey(), -1) << c.what;
        for (const std::uint8_t state : keyboard_.GetKeyStates())
            EXPECT_EQ(state, 0) << c.what;
    }
}

TEST_F(ControlKeyboard, LetsTheNoteGoWhenItsWindowGoes)
{
    window_.MoveTo({12, 130});
    window_.Press();
    port_.Close();
    EXPECT_EQ(port_.TakeLog(), "P-1 R-1");
    EXPECT_EQ(keyboard_.GetCurrentKey(), -1);
}

} // namespace
} // namespace keldra
