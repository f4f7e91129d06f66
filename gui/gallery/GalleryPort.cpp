#include "gui/gallery/GalleryPort.h"

#include <array>
#include <charconv>
#include <cmath>

#include "gui/ControlTextField.h"
#include "gui/gallery/GalleryImages.h"

namespace keldra {

CGalleryPort::CGalleryPort()
{
    SetSize({340, 480});
    DrawBackdrop(backdrop_, {340, 480});
    DrawKnobStrip(knobs_, 128, 36);
    DrawHandle(handle_, {12, 21});
    DrawHandle(wideHandle_, {21, 12});
    DrawButtonFrames(twoFrames_, 2, {16, 30});
    DrawButtonFrames(fourFrames_, 4, {16, 30});
    DrawTabs(tabs_, 5, {14, 20});
    DrawKeys(white_, {60, 16}, Rgb(240, 240, 235));
    DrawKeys(black_, {38, 10}, Rgb(50, 50, 50));
    SetBackground(&backdrop_);
    AddKnobs();
    AddFaders();
    AddButtons();
    AddSelectors();
    AddDisplays();
    AddMenus();
    AddKeyboard();
}

std::string CGalleryPort::GetValueText(const CControl* control) const
{
    return std::to_string(std::lround(control->GetValue() * 100.0f)).append(" %");
}

bool CGalleryPort::SetValueFromText(CControl* control, std::string_view text)
{
    float percent = 0.0f;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), percent);
    return result.ec == std::errc() && control->EditValue(percent / 100.0f);
}

void CGalleryPort::AddKnobs()
{
    // At both ends, between two frames, halted, reversed without a pop-up, in unblended steps, and
    // as a number that takes a long way.
    CControlKnob knob(0);
    knob.SetFilmstrip(&knobs_, 128);
    knob.SetPopupColors(Rgb(200, 210, 220), Rgb(40, 60, 80), Rgb(20, 30, 40));
    constexpr float kValues[] = {0.0f, 0.25f, 0.5f, 0.77f, 1.0f};
    int x = 10;
    for (const float value : kValues) {
        auto& added = GetRootGroup()->Add(std::make_unique<CControlKnob>(knob));
        added.MoveTo({x, 10});
        added.SetValue(value);
        added.SetDefaultValue(0.5f);
        added.SetSnap(true);
        if (knob_ == nullptr)
            knob_ = &added;
        x += 40;
    }
    auto& reversed = GetRootGroup()->Add(std::make_unique<CControlKnob>(knob));
    reversed.SetReversed(true);
    reversed.SetPopup(false);
    reversed.MoveTo({x, 10});
    auto& inSteps = GetRootGroup()->Add(std::make_unique<CControlKnob>(knob));
    inSteps.SetQuantiseSteps(4);
    inSteps.SetCrossfade(false);
    inSteps.SetValue(0.74f);
    inSteps.MoveTo({x + 40, 10});
    auto& number = GetRootGroup()->Add(std::make_unique<CControlNumber>(0));
    number.SetRect({x + 80, 20, 50, 15});
    number.SetFramed();
    number.SetSensitivity(0.0005f);
    number.SetFineFactor(0.2f);
    number.SetValue(0.42f);
}

void CGalleryPort::AddFaders()
{
    constexpr float kValues[] = {0.0f, 0.5f, 1.0f};
    int x = 10;
    for (const float value : kValues) {
        auto& fader = GetRootGroup()->Add(std::make_unique<CControlSlider>(0));
        fader.SetRect({x, 56, 32, 78});
        fader.SetHandleImage(&handle_);
        fader.SetValue(value);
        x += 34;
    }
    auto& level = GetRootGroup()->Add(std::make_unique<CControlSlider>(0));
    level.SetRect({x, 56, 78, 32});
    level.SetHorizontal(true);
    level.SetHandleImage(&wideHandle_);
    level.SetValue(0.25f);
}

void CGalleryPort::AddButtons()
{
    int x = 200;
    for (const float value : {0.0f, 1.0f}) {
        auto& toggle = GetRootGroup()->Add(std::make_unique<CControlButton>(0));
        toggle.SetButtonImage(&twoFrames_);
        toggle.MoveTo({x, 56});
        toggle.SetValue(value);
        auto& press = GetRootGroup()->Add(std::make_unique<CControlButton>(0));
        press.SetPressToggle();
        press.SetButtonImage(&fourFrames_);
        press.MoveTo({x, 76});
        press.SetValue(value);
        pressButton_ = &press;
        auto& panel = GetRootGroup()->Add(std::make_unique<CControlButton>(0));
        panel.SetRect({x - 60 + (value != 0.0f ? 32 : 0), 112, 60, 22});
        panel.SetText(value == 0.0f ? "Load" : "Save");
        panel.SetValue(value);
        x += 34;
    }
    auto& momentary = GetRootGroup()->Add(std::make_unique<CControlButton>(0));
    momentary.SetMomentary();
    momentary.SetButtonImage(&twoFrames_);
    momentary.MoveTo({x, 56});
    auto& animated = GetRootGroup()->Add(std::make_unique<CControlButton>(0));
    animated.SetAnimatedToggle();
    animated.SetButtonImage(&twoFrames_);
    animated.MoveTo({x, 76});
    animated.SetValue(1.0f);
}

void CGalleryPort::AddSelectors()
{
    auto& column = GetRootGroup()->Add(std::make_unique<CControlStateSelector>(0));
    column.SetPositions(5);
    column.SetTabImage(&tabs_, true);
    column.MoveTo({310, 56});
    column.SetValue(0.25f);
    auto& row = GetRootGroup()->Add(std::make_unique<CControlStateSelector>(0));
    row.SetPositions(5);
    row.SetReversed(true);
    row.SetTabImage(&tabs_, false);
    row.MoveTo({340, 56});
    row.SetValue(0.0f);
}

void CGalleryPort::AddDisplays()
{
    struct Case {
        const char* text;
        void (CControlDisplay::*align)();
        bool bold, framed;
        float halo;
    };
    constexpr Case kCases[] = {
        {"left", &CControlDisplay::AlignLeft, false, false, 0.0f},
        {"centred and framed", &CControlDisplay::AlignCenter, false, true, 0.0f},
        {"bold to the right", &CControlDisplay::AlignRight, true, true, 0.0f},
        {"with a halo", &CControlDisplay::AlignCenter, true, false, 0.3f},
    };
    int y = 76;
    for (const Case& c : kCases) {
        auto& display = GetRootGroup()->Add(std::make_unique<CControlDisplay>());
        display.SetRect({340, y, 130, 15});
        display.SetText(c.text);
        (display.*c.align)();
        if (c.bold)
            display.SetBold();
        if (c.framed)
            display.SetFramed();
        display.SetHalo(c.halo);
        y += 17;
    }
    auto& field = GetRootGroup()->Add(std::make_unique<CControlTextField>());
    field.SetRect({10, 210, 130, 20});
    field.SetText("a field");
}

void CGalleryPort::AddMenus()
{
    menu_ = &GetRootGroup()->Add(std::make_unique<CControlMenu>(0));
    menu_->SetRect({10, 150, 90, 15});
    menu_->SetFramed();
    menu_->AddCaption("Delay");
    for (const char* text : {"1/16", "3/16", "1/4", "marked", "dimmed"})
        menu_->AddItem(text);
    menu_->AddSeparator();
    menu_->AddItem("last");
    menu_->SetItemMarked(4, true);
    menu_->SetItemDimmed(5, true);
    menu_->SetValue(2.0f);
    longMenu_ = &GetRootGroup()->Add(std::make_unique<CControlMenu>(0));
    longMenu_->SetRect({380, 150, 60, 15});
    longMenu_->SetFramed();
    longMenu_->SetImage(&twoFrames_); // its upper half, and while it is open the lower one
    longMenu_->SetImagePlacement({382, 150, 10, 15}, {0, 0});
    longMenu_->SetAlternateImage(&twoFrames_, {0, 16});
    for (int i = 1; i <= 64; ++i)
        longMenu_->AddItem(std::to_string(i));
    longMenu_->SetValue(3.0f);

    auto& list = GetRootGroup()->Add(std::make_unique<CControlList>(0));
    list.SetRect({200, 150, 150, 110});
    list.SetMargins(4, 4);
    list.AddCaption("Bank");
    for (int i = 1; i <= 12; ++i)
        list.AddItem(std::to_string(i).append(". Program"));
    list.SetItemMarked(2, true);
    list.SetItemDimmed(3, true);
    list.SetValue(1.0f);
}

void CGalleryPort::AddKeyboard()
{
    auto& keyboard = GetRootGroup()->Add(std::make_unique<CControlKeyboard>());
    keyboard.SetRect({10, 272, 460, 60});
    keyboard.SetKeyImages(&white_, &black_);
    keyboard.SetRange(3, 48);
    std::array<std::uint8_t, CControlKeyboard::kNotes> states{};
    for (const std::size_t note : {36u, 40u, 43u, 54u, 60u, 62u})
        states[note] = 1;
    keyboard.SetKeyStates(states);
}

} // namespace keldra
