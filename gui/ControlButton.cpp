#include "gui/ControlButton.h"

#include <algorithm>

#include "gui/Numbers.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr float kLightStep = 0.2f; // a tick of 30 ms

} // namespace

void CControlButton::SetButtonImage(const CGraphicBuffer* image, PixelSize frameSize,
                                    PixelPoint from)
{
    image_ = image;
    source_ = from;
    const PixelSize whole = image != nullptr ? image->GetSize() : PixelSize{};
    if (frameSize.width < 1)
        frameSize.width = whole.width;
    if (frameSize.height < 1)
        frameSize.height = whole.height / (mode_ == EMode::PressToggle ? 4 : 2);
    frameSize_ = frameSize;
    SetSize(frameSize);
}

void CControlButton::Draw()
{
    if (image_ == nullptr) {
        CControlDisplay::Draw();
        return;
    }
    CGraphicBuffer* buffer = GetBuffer();
    const PixelRect rect = GetRect();
    if (buffer == nullptr || !buffer->SetClip(rect))
        return;
    buffer->ResetPen();
    if (image_->HasAlpha()) {
        EraseRect(rect);
        buffer->SetClip(rect);
    }
    const bool isOn = GetValue() != 0.0f;
    int frame = 0;
    if (mode_ == EMode::Momentary)
        frame = IsDragging() ? 1 : 0;
    else if (mode_ == EMode::Toggle)
        frame = isOn ? 1 : 0;
    else if (mode_ == EMode::PressToggle)
        frame = (isOn ? 2 : 0) + (IsDragging() ? 1 : 0);
    const PixelRect to{rect.x, rect.y, frameSize_.width, frameSize_.height};
    image_->CopyTo(*buffer, to, {source_.x, source_.y + frame * frameSize_.height});
    if (mode_ == EMode::AnimatedToggle)
        image_->DrawToF(*buffer, to, {source_.x, source_.y + frameSize_.height},
                        ClampedToUnit(light_));
}

bool CControlButton::IsLit() const
{
    return mode_ == EMode::Momentary ? IsDragging() : GetValue() != 0.0f;
}

void CControlButton::DrawFrame()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr)
        return;
    EraseRect(GetRect()); // shines through the rounded corners
    if (!buffer->SetClip(GetRect()))
        return;
    const bool lit = mode_ != EMode::PressToggle && IsLit();
    buffer->SetFillColor(lit ? onColor_ : offColor_);
    buffer->DrawPanel(GetRect(), ECorners::Rounded, lit ? 1.1f : 0.75f, 0.08f);
}

void CControlButton::Toggle()
{
    const float value = GetValue() == 0.0f ? 1.0f : 0.0f;
    if (NotifyChanged(value))
        SetValue(value);
    DrawAndPresent();
}

bool CControlButton::OnMouseDown()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || port->GetMouseButton() != EMouseButton::Left || IsDragging() ||
        !NotifyPressed())
        return false;
    switch (mode_) {
    case EMode::Momentary:
        BeginDrag(false);
        if (NotifyChanged(1.0f))
            SetValue(1.0f);
        DrawAndPresent();
        break;
    case EMode::Toggle:
    case EMode::AnimatedToggle:
        Toggle();
        NotifyReleased(); // nothing is held: the gesture is over
        break;
    case EMode::PressToggle:
        BeginDrag(false);
        Toggle();
        break;
    }
    return true;
}

bool CControlButton::OnMouseUp()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || port->GetMouseButton() != EMouseButton::Left || !IsDragging())
        return false;
    Release();
    return true;
}

void CControlButton::Release()
{
    EndDrag();
    if (mode_ == EMode::Momentary && NotifyChanged(0.0f))
        SetValue(0.0f);
    DrawAndPresent();
    NotifyReleased();
}

void CControlButton::OnDragLost()
{
    if (IsDragging())
        Release();
}

void CControlButton::OnTimer()
{
    if (mode_ != EMode::AnimatedToggle || light_ == GetValue())
        return;
    const float target = GetValue();
    light_ = target > light_ ? std::min(target, light_ + kLightStep)
                             : std::max(target, light_ - kLightStep);
    DrawAndPresent();
}

} // namespace keldra
