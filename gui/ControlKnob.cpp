#include "gui/ControlKnob.h"

#include <algorithm>

#include "gui/Numbers.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr float kFadeStep = 0.35f; // a tick of 30 ms: full after three

} // namespace

CControlKnob::CControlKnob(int paramIndex) : CControlNumber(paramIndex)
{
    StoreRect({0, 0, 36, 36});
}

void CControlKnob::SetQuantiseSteps(int steps)
{
    quantiseSteps_ = std::max(steps, 0);
}

void CControlKnob::SetFilmstrip(const CGraphicBuffer* image, int frameCount, int firstFrame,
                                PixelSize frameSize, PixelPoint from)
{
    filmstrip_ = image;
    frameCount_ = std::max(frameCount, 1);
    firstFrame_ = std::max(firstFrame, 0);
    source_ = from;
    const PixelSize whole = image != nullptr ? image->GetSize() : PixelSize{};
    const bool horizontal = whole.height <= whole.width;
    if (frameSize.height < 1)
        frameSize.height = horizontal ? whole.height : whole.height / frameCount_;
    if (frameSize.width < 1)
        frameSize.width = horizontal ? whole.width / frameCount_ : whole.width;
    frameSize_ = frameSize;
    SetSize(frameSize);
}

void CControlKnob::SetPopupColors(Color fill, Color outline, Color text)
{
    popupFill_ = fill;
    popupOutline_ = outline;
    popupText_ = text;
}

float CControlKnob::ShownValue() const
{
    float value = GetValue();
    if (quantiseSteps_ != 0)
        value = static_cast<float>(
                    Truncated(static_cast<double>(value * static_cast<float>(quantiseSteps_)))) /
                static_cast<float>(quantiseSteps_);
    return ClampedToUnit(value);
}

PixelPoint CControlKnob::FrameSource(int frame) const
{
    const auto [height, width] = filmstrip_->GetSize();
    const int index = firstFrame_ + frame;
    if (width < height)
        return {source_.x, source_.y + index * frameSize_.height};
    return {source_.x + index * frameSize_.width, source_.y};
}

void CControlKnob::Draw()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr || !buffer->SetClip(GetRect()))
        return;
    buffer->ResetPen();
    Erase();
    if (filmstrip_ == nullptr)
        return;
    float value = ShownValue();
    if (reversed_)
        value = 1.0f - value;
    const float place = std::min(std::max(value * static_cast<float>(frameCount_ - 1), 0.0f),
                                 static_cast<float>(frameCount_ - 1));
    const int frame = static_cast<int>(place);
    const float rest = place - static_cast<float>(frame);
    const unsigned opacity = ChannelFrom(static_cast<double>(rest) * 255.0);
    const PixelRect rect = GetRect();
    if (crossfade_ && opacity != 0 && blend_->Create(GetSize())) {
        filmstrip_->CopyTo(*buffer, rect, FrameSource(frame + 1));
        buffer->CopyTo(*blend_, {0, 0, rect.width, rect.height}, {rect.x, rect.y});
        Erase();
    }
    filmstrip_->CopyTo(*buffer, rect, FrameSource(frame));
    if (crossfade_ && opacity != 0)
        blend_->DrawTo(*buffer, rect, {0, 0}, static_cast<std::uint8_t>(opacity));
}

PixelRect CControlKnob::PopupPlace(const PixelRect& control, PixelSize popup, PixelSize window)
{
    const int x = std::max(control.x + (control.width - popup.width) / 2, 0);
    int y = control.y + control.height;
    if (y + popup.height > window.height)
        y = control.y - popup.height;
    return {x, y, popup.width, popup.height};
}

bool CControlKnob::OnMouseDown()
{
    const bool handled = CControlNumber::OnMouseDown();
    CGraphicBuffer* buffer = GetBuffer();
    if (!handled || !IsEditing() || !hasPopup_ || buffer == nullptr ||
        GetWindowPort()->GetMouseButton() != EMouseButton::Left || GetValueText().empty())
        return handled;
    if (!popup_->background.Create(popupSize_) || !popup_->picture.Create(popupSize_)) {
        popup_->background.Free();
        return handled;
    }
    popup_->rect = PopupPlace(GetRect(), popupSize_, buffer->GetSize());
    popup_->fade = 0.0f;
    TakeBackground();
    SetActive(true);
    DrawPopup();
    PresentRect(popup_->rect);
    return handled;
}

bool CControlKnob::OnMouseMove()
{
    const float before = GetValue();
    const bool handled = CControlNumber::OnMouseMove();
    if (ShowsPopup() && GetValue() != before) {
        DrawPopup();
        PresentRect(popup_->rect);
    }
    return handled;
}

void CControlKnob::OnTimer()
{
    if (!ShowsPopup() || !IsDragging() || popup_->fade >= 1.0f)
        return;
    popup_->fade = std::min(1.0f, popup_->fade + kFadeStep);
    DrawPopup();
    PresentRect(popup_->rect);
}

void CControlKnob::OnKillFocus()
{
    const bool shown = ShowsPopup();
    popup_->background.Free();
    SetActive(false);
    EndEditing();
    CWindowPort* port = GetWindowPort();
    if (shown && port != nullptr) {
        port->RedrawAll();
        port->PresentAll();
    }
}

void CControlKnob::OnRedrawnBeneath()
{
    if (GetBuffer() == nullptr || !ShowsPopup())
        return;
    TakeBackground();
    DrawPopup(); // beside the knob, which draws itself next
}

void CControlKnob::TakeBackground()
{
    CGraphicBuffer* buffer = GetBuffer();
    buffer->ResetClip();
    buffer->CopyTo(popup_->background, {0, 0, popupSize_.width, popupSize_.height},
                   {popup_->rect.x, popup_->rect.y});
}

void CControlKnob::DrawPopup()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr || !ShowsPopup())
        return;
    const auto [height, width] = popupSize_;
    CGraphicBuffer& picture = popup_->picture;
    const PixelRect whole{0, 0, width, height};
    popup_->background.CopyTo(picture, whole, {0, 0});

    picture.ResetPen();
    const std::string text = GetValueText();
    const int textWidth = picture.DrawText(text, whole, ETextPass::MeasureOnly).width;
    const int fullWidth = std::min(width, textWidth + 30);
    const float fade = popup_->fade;
    const int drawnWidth =
        Truncated(static_cast<double>(static_cast<float>(fullWidth - 10) * fade + 10.0f));
    const int x = (width - drawnWidth) / 2;
    picture.DrawShadow({x, 0, drawnWidth, height});
    picture.SetPenColor(popupOutline_);
    picture.SetFillColor(popupFill_);
    picture.DrawPanel({x + 5, 5, drawnWidth - 10, height - 10}, ECorners::Rounded, 0.9f, 0.0f);
    picture.SetTextColor(popupText_);
    picture.AlignTextCenter();
    picture.DrawText(text, {x + 9, 9, drawnWidth - 18, height - 18});

    buffer->ResetClip();
    popup_->background.CopyTo(*buffer, popup_->rect, {0, 0});
    picture.DrawTo(
        *buffer, popup_->rect, {0, 0},
        static_cast<std::uint8_t>(ChannelFrom(static_cast<double>(fade * fade * 240.0f))));
}

} // namespace keldra
