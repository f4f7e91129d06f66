#pragma once

#include <optional>

#include "gui/ControlDisplay.h"
#include "platform/Window.h"

namespace keldra {

enum class EFineMode : std::uint8_t { None, RightButton, Ctrl, Alt, Shift };

/// A value changed by dragging, with the cursor hidden so that a drag has no end: the base of knobs
/// and faders. Shows its value as a text.
/// A right click and a double click reset it, the wheel moves it (finely with Shift), Enter and a
/// double click with Ctrl let the user type it.
class CControlNumber : public CControlDisplay {
public:
    explicit CControlNumber(int paramIndex = -1);

    void Draw() override;
    bool OnDoubleClick() override;
    bool OnMouseDown() override;
    bool OnMouseUp() override;
    bool OnMouseMove() override;
    bool OnWheel(int axis, float steps) override;
    bool OnKeyDown(int key) override;
    void OnKillFocus() override { EndEditing(); }
    void OnDragLost() override { OnKillFocus(); }

    void SetSensitivity(float valuePerPixel) { sensitivity_ = valuePerPixel; }
    void SetFineFactor(float factor) { fineFactor_ = factor; }
    void SetFineMode(EFineMode mode) { fineMode_ = mode; }
    void SetDefaultValue(float value) { defaultValue_ = value; }
    void SetSnap(bool snap) { snap_ = snap; } ///< a drag that passes the default value halts there
    void SetResetByRightClick(bool reset) { resetByRightClick_ = reset; }
    void SetHorizontal(bool horizontal) { horizontal_ = horizontal; }

protected:
    void EndEditing(); ///< nothing when nobody is editing
    [[nodiscard]] bool IsEditing() const { return dragButton_->has_value(); }

private:
    [[nodiscard]] bool IsFine() const;

    float sensitivity_ = 0.0025f;
    float fineFactor_ = 0.05f;
    float defaultValue_ = 0.0f;
    EFineMode fineMode_ = EFineMode::None;
    bool resetByRightClick_ = true;
    bool horizontal_ = false;
    bool snap_ = false;

    CTransient<std::optional<EMouseButton>> dragButton_; ///< while editing
    CTransient<int> snapHold_;         ///< pixels that the drag has to go before the value moves on
    CTransient<bool> resetsOnRelease_; ///< a double click that has not moved yet
};

} // namespace keldra
