#include "gui/ControlNumber.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

#include "gui/ControlKnob.h"
#include "tests/gui/TestPort.h"

namespace keldra {
namespace {

class ControlNumber : public CControlTest<CControlKnob> {
protected:
    ControlNumber() : CControlTest(3, {100, 50, 36, 36})
    {
        Click({110, 60}); // takes the window's focus
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
    control_.SetResetByRightClick(false);
    for (const Case& c : kCases) {
        control_.SetFineMode(c.mode);
        control_.SetValue(0.0f);
        window_.Hold(c.modifiers);
        EXPECT_EQ(Drag({100}, c.button), c.log) << static_cast<int>(c.mode);
    }
}

TEST_F(ControlNumber, HaltsAtItsDefaultForAHundredPixels)
{
    control_.SetDefaultValue(0.5f);
    control_.SetSnap(true);
    control_.SetValue(0.4f);
    EXPECT_EQ(Drag({30, 10, 50, 49}), "P3 C3=0.475 C3=0.5 R3");
    EXPECT_FLOAT_EQ(control_.GetValue(), 0.5f);
    // A new drag starts without the halt; passing on takes more than the hundred.
    control_.SetValue(0.4f);
    EXPECT_EQ(Drag({60, 99, 1, 20}), "P3 C3=0.5 C3=0.55 R3");
    // Going back it lets go beyond two hundred, which is a hundred of reversal.
    control_.SetValue(0.4f);
    EXPECT_EQ(Drag({60, -100, -1, -20}), "P3 C3=0.5 C3=0.45 R3");
    control_.SetValue(0.6f); // from above as well
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
    EXPECT_FLOAT_EQ(control_.GetValue(), 0.0f);
}

TEST_F(ControlNumber, ResetsByADoubleClickUnlessItDrags)
{
    control_.SetDefaultValue(0.75f);
    window_.PressAgain();
    window_.MoveBy(0, 0);
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.75 R3");
    EXPECT_FALSE(port_.IsRootModal());
    window_.PressAgain();
    window_.MoveBy(0, -40);
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.85 R3");
    window_.PressAgain(EMouseButton::Right);
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.75 R3");
}

TEST_F(ControlNumber, TurnsByTheWheelWhereThePointerIs)
{
    window_.Wheel(0.5f);
    window_.Wheel(1.0f, 0, true);
    window_.Wheel(-100.0f);
    window_.Wheel(-1.0f); // at its end: the wheel is still not the host's, but nothing changes
    EXPECT_EQ(port_.TakeLog(), "P3 C3=0.01 R3 P3 C3=0 R3");
    control_.SetDefaultValue(0.03f);
    control_.SetSnap(true);
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
        {"it is hidden", [&](CHeadlessWindow&) { control_.SetHidden(true); }},
        {"the window is lost", [&](CHeadlessWindow& window) { window.Lose(); }},
        {"the window is closed", [&](CHeadlessWindow&) { port_.Close(); }},
    };
    for (const auto& [what, end] : kCases) {
        EXPECT_TRUE(port_.Open(7));
        CHeadlessWindow& window = *CHeadlessWindow::Newest();
        control_.SetHidden(false);
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

TEST(ControlKnob, TakesItsFrameFromTheStripWhateverItsValue)
{
    struct Case {
        const char* what;
        PixelSize strip;
        float value;
        PixelPoint corner; // where in the strip the knob's top-left pixel comes from
    };
    constexpr Case kCases[] = {
        {"side by side", {3, 128 * 2}, 64.0f / 127, {128, 0}},
        {"beyond its range", {128 * 2, 3}, 7.0f, {0, 254}},
        {"not a number", {128 * 2, 3}, NAN, {0, 0}},
    };
    for (const Case& c : kCases) {
        CGraphicBuffer strip;
        FillWithPlaces(strip, c.strip);
        CTestPort port;
        auto& knob = port.GetRootGroup()->Add(std::make_unique<CControlKnob>());
        knob.SetFilmstrip(&strip, 128);
        knob.MoveTo({10, 20});
        knob.SetValue(c.value);
        port.Show();
        EXPECT_EQ(
            port.GetBackBuffer()->GetPixel(10, 20),
            Rgba(0, static_cast<unsigned>(c.corner.y & 255), static_cast<unsigned>(c.corner.x), 0))
            << c.what;
    }
}

} // namespace
} // namespace keldra
