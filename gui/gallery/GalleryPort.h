#pragma once

#include "gui/ControlButton.h"
#include "gui/ControlKeyboard.h"
#include "gui/ControlList.h"
#include "gui/ControlSlider.h"
#include "gui/ControlStateSelector.h"
#include "gui/WindowPort.h"

namespace keldra {

/// A window that shows every control in every state it can rest in.
class CGalleryPort : public CWindowPort {
public:
    CGalleryPort();
    ~CGalleryPort() override { Close(); }

    std::string GetValueText(const CControl* control) const override; ///< in percent
    bool SetValueFromText(CControl* control, std::string_view text) override;

    // Those that open or change something when they are used
    [[nodiscard]] CControlKnob& Knob() const { return *knob_; }
    [[nodiscard]] CControlMenu& Menu() const { return *menu_; }
    [[nodiscard]] CControlMenu& LongMenu() const { return *longMenu_; }
    [[nodiscard]] CControlButton& PressButton() const { return *pressButton_; }

private:
    void AddKnobs();
    void AddFaders();
    void AddButtons();
    void AddSelectors();
    void AddDisplays();
    void AddMenus();
    void AddKeyboard();

    CGraphicBuffer backdrop_, knobs_, handle_, wideHandle_, twoFrames_, fourFrames_, tabs_, white_,
        black_;
    CControlKnob* knob_ = nullptr;
    CControlMenu* menu_ = nullptr;
    CControlMenu* longMenu_ = nullptr;
    CControlButton* pressButton_ = nullptr;
};

} // namespace keldra
