#include "gui/ControlNumber.h"

#include "gui/Numbers.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr int kSnapPixels = 100;        // to go on in the same direction
constexpr int kSnapReversePixels = 200; // hold beyond which a reversal has left the default
constexpr float kWheelStep = 0.02f;     // a notch; fifty for the whole way
constexpr float kFineWheelStep = 0.001f;

} // namespace

CControlNumber::CControlNumber(int paramIndex) : CControlDisplay(paramIndex)
{
    StoreRect({0, 0, 20, 100});
}

void CControlNumber::Draw()
{
    SetText(GetValueText());
    CControlDisplay::Draw();
}

/// The second press of a double click begins a drag like the first one did; only when it goes up
/// without having moved it resets, inside the same gesture. So who takes hold again quickly just
/// drags on.
bool CControlNumber::OnDoubleClick()
{
    CWindowPort* port = GetWindowPort();
    if (port == nullptr || IsDragging())
        return false;
    const bool left = port->GetMouseButton() == EMouseButton::Left;
    if (left && port->GetHeldKey() == EHeldKey::Ctrl) {
        SetFocus();
        if (port->OpenValueField(*this))
            return true;
    }
    const bool handled = OnMouseDown();
    *resetsOnRelease_ = left && IsEditing();
    return handled;
}

bool CControlNumber::OnMouseDown()
{
    CWindowPort* port = GetWindowPort();
    if (port == nullptr || GetBuffer() == nullptr || IsDragging())
        return false;
    const EMouseButton button = port->GetMouseButton();
    if (button == EMouseButton::Right && resetByRightClick_) {
        EditValue(defaultValue_);
        return true;
    }
    if (button != EMouseButton::Left &&
        !(button == EMouseButton::Right && fineMode_ == EFineMode::RightButton))
        return false;
    if (!NotifyPressed())
        return false;
    *dragButton_ = button;
    *snapHold_ = 0;
    *resetsOnRelease_ = false;
    SetFocus();
    BeginDrag(true);
    DrawAndPresent();
    return true;
}

bool CControlNumber::OnMouseUp()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || port->GetMouseButton() != *dragButton_)
        return false;
    if (*resetsOnRelease_ && GetValue() != defaultValue_ && NotifyChanged(defaultValue_))
        SetValue(defaultValue_);
    OnKillFocus();
    return true;
}

bool CControlNumber::IsFine() const
{
    const CWindowPort* port = GetWindowPort();
    switch (fineMode_) {
    case EFineMode::RightButton:
        return *dragButton_ == EMouseButton::Right;
    case EFineMode::Ctrl:
        return port->GetHeldKey() == EHeldKey::Ctrl;
    case EFineMode::Alt:
        return port->GetHeldKey() == EHeldKey::Alt;
    case EFineMode::Shift:
        return port->GetHeldKey() == EHeldKey::Shift;
    case EFineMode::None:
        break;
    }
    return false;
}

bool CControlNumber::OnMouseMove()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || !IsDragging() || !IsEditing())
        return false;
    const auto [dx, dy] = port->GetMouseMovement();
    const int amount = horizontal_ ? dx : -dy;
    if (amount != 0)
        *resetsOnRelease_ = false;

    float step = *snapHold_ > 0 ? 0.0f : sensitivity_;
    if (IsFine())
        step *= fineFactor_;
    const float old = GetValue();
    float value = old + step * static_cast<float>(amount);
    bool crossing = false;
    if (*snapHold_ > 0) {
        const int hold = std::max(*snapHold_ - amount, 0);
        *snapHold_ = hold > kSnapReversePixels ? 0 : hold;
    } else {
        crossing = (old < defaultValue_ && defaultValue_ <= value) ||
                   (defaultValue_ < old && value <= defaultValue_);
    }
    value = ClampedToUnit(value);
    if (value == old)
        return true;
    if (crossing && snap_) {
        value = defaultValue_;
        *snapHold_ = kSnapPixels;
    }
    if (NotifyChanged(value)) {
        SetValue(value);
        DrawAndPresent();
    }
    return true;
}

bool CControlNumber::OnWheel(int axis, float steps)
{
    const CWindowPort* port = GetWindowPort();
    if (axis != 0 || port == nullptr || port->IsCapturing() || !IsUnderMouse())
        return false;
    const bool fine = port->GetHeldKey() == EHeldKey::Shift;
    const float old = GetValue();
    float value = ClampedToUnit(old + steps * (fine ? kFineWheelStep : kWheelStep));
    // Coming from the far side of a sum of fractions, a notch would step over the middle.
    const bool crossing = (old < defaultValue_ && defaultValue_ < value) ||
                          (value < defaultValue_ && defaultValue_ < old);
    if (snap_ && crossing)
        value = defaultValue_;
    if (value != old)
        EditValue(value);
    return true;
}

bool CControlNumber::OnKeyDown(int key)
{
    CWindowPort* port = GetWindowPort();
    if (key != kKeyEnter || port == nullptr || !HasFocus() || port->IsCapturing())
        return false;
    return port->OpenValueField(*this);
}

void CControlNumber::EndEditing()
{
    if (!IsEditing())
        return;
    dragButton_->reset();
    *resetsOnRelease_ = false;
    EndDrag();
    NotifyReleased();
    DrawAndPresent();
}

} // namespace keldra
