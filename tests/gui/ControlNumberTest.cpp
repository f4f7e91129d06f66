#include "gui/ControlNumber.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

#include "gui/ControlSlider.h"
#include "tests/gui/TestPort.h"

namespace keldra {
namespace {

class ControlNumber : public testing::Test {
protected:
    ControlNumber()
        : knob_(port_.GetRootGroup()->Add(std::make_unique<CControlKnob>(3))), window_(port_.Show())
    {
        knob_.SetRect({100, 50, 36, 36});
        window_.MoveTo({110, 60});
        window_.Press(); // takes the window's focus
        window_.Release();
        port_.TakeLog();
    }

    /// A whole drag; up is positive.
    std::string Drag(std::initializer_list<int> up, EMouseButton button = EMouseButton::Left)
    {
        window_.Press(button);
        for (const int pixels : up)
            window_.MoveBy(0, -pixels);
        window_.Release(button);
        return port_.TakeLog();
    }

    CTestPort port_;
    CControlKnob& knob_;
    CHeadlessWindow& window_;
};

TEST_F(ControlNumber, MovesFinelyWithTheKeyOfItsFineMode)
{
    struct Case {
        EFineMode mode;
        unsigned modifiers;
        EMouseButton button;
        const char* log;
    };
    constexpr Case kCases[] = {
        {EFineMode::Shift, kModifierShift, EMouseButton::Left, "P3 C3=0.0125 R3"},
        {EFineMode::Shift, kModifierCtrl, EMouseButton::Left, "P3 C3=0.25 R3"},
        {EFineMode::Ctrl, kModifierCtrl, EMouseButton::Left, "P3 C3=0.0125 R3"},
        {EFineMode::Alt, kModifierAlt, EMouseButton::Left, "P3 C3=0.0125 R3"},
        {EFineMode::None, kModifierShift, EMouseButton::Left, "P3 C3=0.25 R3"},
        {EFineMode::RightButton, 0, EMouseButton::Right, "P3 C3=0.0125 R3"},
        {EFineMode::None, 0, EMouseButton::Middle, ""},
    };
    knob_.SetResetByRightClick(false);
    for (const Case& c : kCases) {
        knob_.SetFineMode(c.mode);
        knob_.SetValue(0.0f);
        window_.Hold(c.modifiers);
        EXPECT_EQ(Drag({100}, c.button), c.log) << static_cast<int>(c.mode);
    }
}

TEST_F(ControlNumber, HaltsAtItsDefaultForAHundredPixels)
{
    knob_.SetDefaultValue(0.5f);
    knob_.SetSnap(true);
    knob_.SetValue(0.4f);
    EXPECT_EQ(Drag({30, 10, 50, 49}), "P3 C3=0.475 C3=0.5 R3");
    EXPECT_FLOAT_EQ(knob_.GetValue(), 0.5f);
    // A new drag starts without the halt; passing on takes more than the hundred.
    knob_.SetValue(0.4f);
    EXPECT_EQ(Drag({60, 99, 1, 20}), "P3 C3=0.5 C3=0.55 R3");
    // Going back it lets go beyond two hundred, which is a hundred of reversal.
    knob_.SetValue(0.4f);
    EXPECT_EQ(Drag({60, -100, -1, -20}), "P3 C3=0.5 C3=0.45 R3");
    knob_.SetValue(0.6f); // from above as well
    EXPECT_EQ(Drag({-60, -20}), "P3 C3=0.5 R3");
}

TEST_F(ControlNumber, IsBalancedWhenTheEditorRefuses)
{
    port_.Refuse(true, false);
    EXPECT_EQ(Drag({100}), "P3");
    EXPECT_FALSE(port_.IsCapturing());
    window_.MoveTo({110, 60});
    window_.Wheel(1.0f);
    window_.Press(EMouseButton::Right);
    EXPECT_EQ(port_.TakeLog(), "P3 P3");
    port_.Refuse(false, true);
    EXPECT_EQ(Drag({100}), "P3 C3=0.25 R3");
    EXPECT_FLOAT_EQ(knob_.GetValue(), 0.0f);
}

TEST_F(ControlNumber, ResetsByRightClickAndByDoubleClick)
{
    knob_.SetDefaultValue(0.75f);
    window_.Press(EMouseButton::Right);
    window_.Release(EMouseButton::Right);
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.75 R3");

    knob_.SetValue(0.1f);
    window_.Press();
    window_.Release();
    window_.PressAgain();
    window_.MoveBy(0, 0);
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P3 R3 P3 C3=0.75 R3");
    EXPECT_FALSE(port_.IsRootModal());

    // Who takes hold again at once and drags, drags.
    window_.Press();
    window_.Release();
    window_.PressAgain();
    window_.MoveBy(0, -40);
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P3 R3 P3 C3=0.85 R3");
    window_.PressAgain(EMouseButton::Right);
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.75 R3");
}

TEST_F(ControlNumber, TurnsByTheWheelWhereThePointerIs)
{
    window_.Wheel(1.0f);
    window_.Wheel(-0.5f);
    window_.Wheel(1.0f, kModifierShift);
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.02 R3 P3 C3=0.01 R3 P3 C3=0.011 R3");
    window_.Wheel(1.0f, 0, true);
    window_.Wheel(-100.0f);
    window_.Wheel(-1.0f); // at its end: the wheel is still not the host's, but nothing changes
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0 R3");
    knob_.SetDefaultValue(0.03f);
    knob_.SetSnap(true);
    window_.Wheel(1.0f);
    window_.Wheel(1.0f);
    window_.Wheel(1.0f);
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.02 R3 P3 C3=0.03 R3 P3 C3=0.05 R3");
    window_.MoveTo({99, 60});
    window_.Wheel(1.0f);
    EXPECT_EQ(port_.TakeLog(), "");
    window_.MoveTo({110, 60});
    window_.Press();
    window_.Wheel(1.0f); // not in the middle of a drag
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P3 R3");
}

TEST_F(ControlNumber, EndsItsGestureWhateverEndsIt)
{
    using End = std::function<void(CHeadlessWindow&)>;
    const std::pair<const char*, End> kCases[] = {
        {"the window loses the focus", [&](CHeadlessWindow& window) { window.Focus(false); }},
        {"the system takes the pointer", [&](CHeadlessWindow& window) { window.LoseCapture(); }},
        {"it is hidden", [&](CHeadlessWindow&) { knob_.SetHidden(true); }},
        {"the window is lost", [&](CHeadlessWindow& window) { window.Lose(); }},
        {"the window is closed", [&](CHeadlessWindow&) { port_.Close(); }},
    };
    for (const auto& [what, end] : kCases) {
        EXPECT_TRUE(port_.Open(7));
        CHeadlessWindow& window = *CHeadlessWindow::Newest();
        knob_.SetHidden(false);
        window.MoveTo({110, 60});
        window.Press();
        window.Tick(2);
        EXPECT_NE(port_.TakeLog().find("P3"), std::string::npos) << what;
        end(window);
        EXPECT_EQ(port_.TakeLog(), "R3") << what;
        EXPECT_FALSE(port_.IsCapturing()) << what;
        EXPECT_FALSE(port_.IsRootModal()) << what;
    }
}

TEST(ControlKnob, TakesItsFrameFromTheStrip)
{
    CTestPort port;
    struct Case {
        const char* what;
        PixelSize strip;
        float value;
        bool reversed;
        int steps;
        PixelPoint corner; // where in the strip the knob's top-left pixel comes from
    };
    constexpr Case kCases[] = {
        {"vertical, lowest", {128 * 2, 3}, 0.0f, false, 0, {0, 0}},
        {"vertical, highest", {128 * 2, 3}, 1.0f, false, 0, {0, 254}},
        {"horizontal, in the middle", {3, 128 * 2}, 64.0f / 127, false, 0, {128, 0}},
        {"reversed", {128 * 2, 3}, 0.0f, true, 0, {0, 254}},
        {"beyond its range", {128 * 2, 3}, 7.0f, false, 0, {0, 254}},
        {"not a number", {128 * 2, 3}, NAN, false, 0, {0, 0}},
        {"in steps", {128 * 2, 3}, 0.99f, false, 1, {0, 0}},
    };
    for (const Case& c : kCases) {
        CGraphicBuffer strip;
        FillWithPlaces(strip, c.strip);
        auto& knob = port.GetRootGroup()->Add(std::make_unique<CControlKnob>());
        knob.SetFilmstrip(&strip, 128);
        knob.SetReversed(c.reversed);
        knob.SetQuantiseSteps(c.steps);
        knob.MoveTo({10, 20});
        knob.SetValue(c.value);
        port.Show();
        EXPECT_EQ(
            port.GetBackBuffer()->GetPixel(10, 20),
            Rgba(0, static_cast<unsigned>(c.corner.y & 255), static_cast<unsigned>(c.corner.x), 0))
            << c.what;
        port.Close();
        port.GetRootGroup()->RemoveAllControls();
    }
}

TEST(ControlSlider, CarriesItsHandleAlongItsLongerSide)
{
    struct Case {
        PixelRect rect;
        float value;
        PixelPoint at;
    };
    constexpr Case kCases[] = {
        {{10, 20, 32, 78}, 0.0f, {15, 86}}, // (32 - 21) / 2 = 5.5
        {{10, 20, 32, 78}, 1.0f, {15, 20}}, {{10, 20, 32, 78}, 0.5f, {15, 53}},
        {{10, 20, 78, 32}, 0.0f, {10, 30}}, {{10, 20, 78, 32}, 1.0f, {67, 30}},
    };
    for (const Case& c : kCases)
        EXPECT_EQ(CControlSlider::HandlePosition(c.rect, {12, 21}, c.value), c.at) << c.value;

    CGraphicBuffer handle;
    FillWithPlaces(handle, {12, 21}, 77);
    CTestPort port;
    auto& slider = port.GetRootGroup()->Add(std::make_unique<CControlSlider>(1));
    slider.SetRect({10, 20, 32, 78});
    slider.SetHandleImage(&handle);
    port.Show();
    slider.SetValueRedraw(0.5f);
    EXPECT_EQ(port.GetBackBuffer()->GetPixel(15, 53), Rgba(77, 0, 0, 0));
    EXPECT_EQ(port.GetBackBuffer()->GetPixel(15, 86), Rgba(65, 65, 65, 0));
}

} // namespace
} // namespace keldra
