#include "gui/ControlStateSelector.h"

#include <algorithm>

#include "gui/Numbers.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

// A position's own value may lie just below it: k / last in single precision, or what a host has
// kept of it in six digits. The parameter table reads values with the same allowance, so that the
// tab that is lit is the one that plays.
constexpr double kPositionTolerance = 0.0001;

} // namespace

void CControlStateSelector::SetPositions(int positions)
{
    if (positions >= 1)
        positions_ = positions;
}

void CControlStateSelector::SetTabImage(const CGraphicBuffer* image, bool vertical,
                                        bool oneImageForAll, PixelSize tabSize, PixelPoint from)
{
    image_ = image;
    oneImageForAll_ = oneImageForAll;
    source_ = from;
    const PixelSize whole = image != nullptr ? image->GetSize() : PixelSize{};
    if (tabSize.width < 1)
        tabSize.width = oneImageForAll ? whole.width : whole.width / positions_;
    if (tabSize.height < 1)
        tabSize.height = whole.height / (momentary_ ? 4 : 2);
    tabSize_ = tabSize;
    if (vertical)
        SetTabSteps(tabSize.height, 0);
    else
        SetTabSteps(0, tabSize.width);
    SetSize(
        {(positions_ - 1) * step_.y + tabSize.height, (positions_ - 1) * step_.x + tabSize.width});
}

int CControlStateSelector::PositionOf(float value, int positions)
{
    return std::clamp(
        Truncated((static_cast<double>(value) + kPositionTolerance) * (positions - 1)), 0,
        positions);
}

float CControlStateSelector::ValueOfTab(int tab) const
{
    if (positions_ == 1)
        return 0.0f;
    const int position = reversed_ ? positions_ - 1 - tab : tab;
    return static_cast<float>(position) / static_cast<float>(positions_ - 1);
}

void CControlStateSelector::Draw()
{
    CGraphicBuffer* buffer = GetBuffer();
    const PixelRect rect = GetRect();
    if (buffer == nullptr || !buffer->SetClip(rect))
        return;
    buffer->ResetPen();
    Erase();
    if (image_ == nullptr)
        return;
    const int selected = PositionOf(GetValue(), positions_);
    for (int tab = 0; tab < positions_; ++tab) {
        const PixelRect place{rect.x + source_.x + tab * step_.x,
                              rect.y + source_.y + tab * step_.y, tabSize_.width, tabSize_.height};
        const bool isSelected = (reversed_ ? positions_ - 1 - tab : tab) == selected;
        int row = isSelected ? 1 : 0;
        if (isSelected && momentary_ && IsDragging())
            row = 2;
        const PixelPoint from{source_.x + (oneImageForAll_ ? 0 : tab * tabSize_.width),
                              source_.y + row * tabSize_.height};
        if (buffer->SetClip(Intersection(place, rect)))
            image_->CopyTo(*buffer, place, from);
    }
}

int CControlStateSelector::TabAt(PixelPoint at) const
{
    const PixelRect rect = GetRect();
    for (int tab = 0; tab < positions_; ++tab) {
        const PixelRect place{rect.x + tab * step_.x, rect.y + tab * step_.y, tabSize_.width,
                              tabSize_.height};
        if (place.Contains(at))
            return tab;
    }
    return -1;
}

bool CControlStateSelector::OnDoubleClick()
{
    CWindowPort* port = GetWindowPort();
    const bool types = port != nullptr && port->GetMouseButton() == EMouseButton::Left &&
                       port->GetHeldKey() == EHeldKey::Ctrl;
    return (types && port->OpenValueField(*this)) || OnMouseDown();
}

bool CControlStateSelector::OnMouseDown()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || port->GetMouseButton() != EMouseButton::Left || IsDragging() ||
        !NotifyPressed())
        return false;
    const int tab = TabAt(port->GetMousePosition());
    if (tab >= 0) {
        const float value = ValueOfTab(tab);
        if (value != GetValue() && NotifyChanged(value))
            SetValue(value);
        if (momentary_)
            BeginDrag(true);
        DrawAndPresent();
    }
    if (!IsDragging())
        NotifyReleased();
    return tab >= 0;
}

bool CControlStateSelector::OnMouseUp()
{
    const CWindowPort* port = GetWindowPort();
    if (!IsDragging() || port->GetMouseButton() != EMouseButton::Left)
        return false;
    Release();
    return true;
}

void CControlStateSelector::OnKillFocus()
{
    if (IsDragging())
        Release();
}

void CControlStateSelector::Release()
{
    EndDrag();
    NotifyReleased();
    DrawAndPresent();
}

bool CControlStateSelector::OnWheel(int axis, float steps)
{
    const CWindowPort* port = GetWindowPort();
    if (axis != 0 || port == nullptr || port->IsCapturing() || !IsUnderMouse())
        return false;
    *wheelRest_ += steps;
    const int notches = Truncated(static_cast<double>(*wheelRest_));
    *wheelRest_ -= static_cast<float>(notches);
    const int selected = PositionOf(GetValue(), positions_);
    const int tab = reversed_ ? positions_ - 1 - selected : selected;
    const int wanted = std::clamp(tab - notches, 0, positions_ - 1); // up is toward the first tab
    if (notches != 0 && wanted != tab)
        EditValue(ValueOfTab(wanted));
    return true;
}

} // namespace keldra
