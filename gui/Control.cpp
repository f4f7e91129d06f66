#include "gui/Control.h"

#include "gui/ControlGroup.h"
#include "gui/WindowPort.h"

namespace keldra {

void CControl::SetValueRedraw(float value)
{
    if (value == GetValue())
        return;
    SetValue(value);
    const CControlGroup* group = GetGroup();
    const CControl* active = group != nullptr ? group->GetActiveControl() : nullptr;
    const CWindowPort* port = GetWindowPort();
    const CControlGroup* modal = port != nullptr ? port->GetModalGroup() : nullptr;
    const bool covered = (active != nullptr && active != this) ||
                         (modal != nullptr && modal != group && !modal->IsHidden());
    if (!IsHidden() && !covered)
        DrawAndPresent();
}

void CControl::SetRectHW(int x, int y, int height, int width)
{
    StoreRect({x, y, width, height});
}

void CControl::SetRectHW(PixelPoint at, PixelSize size)
{
    StoreRect({at.x, at.y, size.width, size.height});
}

bool CControl::MoveTo(PixelPoint at)
{
    if (at == GetPosition())
        return false;
    StoreRect({at.x, at.y, rect_.width, rect_.height});
    return true;
}

bool CControl::SetSize(PixelSize size)
{
    if (size == GetSize())
        return false;
    StoreRect({rect_.x, rect_.y, size.width, size.height});
    return true;
}

CWindowPort* CControl::GetWindowPort() const
{
    return *group_ != nullptr ? (*group_)->GetOwner() : nullptr;
}

void CControl::SetFocus()
{
    CControlGroup* group = *group_;
    if (group == nullptr || group->GetFocusControl() == this)
        return;
    group->SetFocusGroup();
    group->SetFocusControl(this);
}

bool CControl::HasFocus() const
{
    const CControlGroup* group = *group_;
    return group != nullptr && group->IsFocusGroup() && group->GetFocusControl() == this;
}

void CControl::SetActive(bool active)
{
    CControlGroup* group = *group_;
    if (group == nullptr || active == IsActive())
        return;
    group->SetActiveControl(active ? this : nullptr);
    group->SetModal(active);
}

bool CControl::IsActive() const
{
    return *group_ != nullptr && (*group_)->GetActiveControl() == this;
}

bool CControl::SetHidden(bool hidden)
{
    if (hidden == hidden_)
        return false;
    if (hidden && (IsDragging() || IsActive()))
        OnDragLost();
    hidden_ = hidden;
    return true;
}

bool CControl::IsHidden() const
{
    return hidden_ || (*group_ != nullptr && (*group_)->IsHidden());
}

CGraphicBuffer* CControl::GetBuffer() const
{
    const CWindowPort* port = GetWindowPort();
    return port == nullptr || IsHidden() ? nullptr : port->GetBackBuffer();
}

void CControl::PresentRect(const PixelRect& rect)
{
    if (CWindowPort* port = GetWindowPort())
        port->PresentRegion(rect);
}

void CControl::EraseRect(const PixelRect& rect)
{
    CWindowPort* port = GetWindowPort();
    if (port == nullptr)
        return;
    port->DrawBackgroundRegion(rect);
    (*group_)->DrawBackground(rect);
}

bool CControl::NotifyPressed()
{
    return *group_ != nullptr && (*group_)->OnControlPressed(this);
}

void CControl::NotifyReleased()
{
    if (*group_ != nullptr)
        (*group_)->OnControlReleased(this);
}

bool CControl::NotifyChanged(float value)
{
    return *group_ != nullptr && (*group_)->OnControlChanged(this, value);
}

void CControl::BeginDrag(bool hideCursor)
{
    if (*group_ != nullptr)
        (*group_)->BeginControlDrag(this, hideCursor);
}

void CControl::EndDrag()
{
    if (IsDragging())
        (*group_)->EndControlDrag();
}

bool CControl::IsDragging() const
{
    return *group_ != nullptr && (*group_)->IsControlDragging(this);
}

std::string CControl::GetValueText() const
{
    return *group_ != nullptr ? (*group_)->GetValueText(this) : std::string();
}

bool CControl::IsUnderMouse() const
{
    const CWindowPort* port = GetWindowPort();
    return port != nullptr && rect_.Contains(port->GetMousePosition());
}

bool CControl::EditValue(float value)
{
    if (!NotifyPressed())
        return false;
    const bool accepted = NotifyChanged(value);
    if (accepted) {
        SetValue(value);
        DrawAndPresent();
    }
    NotifyReleased();
    return accepted;
}

void CControl::DrawAndPresent()
{
    if (CWindowPort* port = GetWindowPort())
        port->RefreshControl(this, true);
}

} // namespace keldra
