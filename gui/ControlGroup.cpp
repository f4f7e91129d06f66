#include "gui/ControlGroup.h"

#include <utility>

#include "gui/WindowPort.h"

namespace keldra {

CControlGroup::~CControlGroup()
{
    // One by one: a chain that destroys itself does so recursively.
    while (first_ != nullptr)
        first_ = std::move(*first_->next_);
}

bool CControlGroup::SetRect(const PixelRect& rect)
{
    return std::exchange(rect_, rect) != rect;
}

CGraphicBuffer* CControlGroup::GetBuffer() const
{
    return owner_ != nullptr ? owner_->GetBackBuffer() : nullptr;
}

void CControlGroup::Draw()
{
    if (hidden_ || GetBuffer() == nullptr)
        return;
    DrawBackground(rect_);
    for (CControl* control = GetFirstControl(); control != nullptr; control = control->GetNext())
        if (control != active_ && !control->IsHidden())
            control->Draw();
    if (active_ != nullptr && !active_->IsHidden()) {
        active_->OnRedrawnBeneath();
        active_->Draw();
    }
}

bool CControlGroup::SetHidden(bool hidden)
{
    if (std::exchange(hidden_, hidden) == hidden)
        return false;
    if (CControl* const held = mouseOwner_ != nullptr ? mouseOwner_ : active_; held && hidden)
        held->OnDragLost();
    return true;
}

void CControlGroup::SetModal(bool modal)
{
    if (owner_ == nullptr)
        return;
    if (modal) {
        ++modalCount_;
        owner_->SetModalGroup(this);
        return;
    }
    if (--modalCount_ > 0)
        return;
    modalCount_ = 0;
    if (IsModal())
        owner_->SetModalGroup(nullptr);
}

bool CControlGroup::IsModal() const
{
    return owner_ != nullptr && owner_->GetModalGroup() == this;
}

CControl* CControlGroup::AddControl(std::unique_ptr<CControl> control)
{
    std::unique_ptr<CControl>* end = &first_;
    while (*end != nullptr)
        end = &*(*end)->next_;
    *end = std::move(control);
    *(*end)->group_ = this;
    return end->get();
}

/// Ends a drag, a pop-up and the focus of a control that is about to go.
void CControlGroup::LetGoOf(CControl* control)
{
    if (control->IsDragging() || control == active_)
        control->OnDragLost();
    if (control == active_)
        control->SetActive(false);
    if (control == focus_)
        SetFocusControl(nullptr);
}

CControl* CControlGroup::RemoveControl(CControl* control)
{
    std::unique_ptr<CControl>* link = &first_;
    while (*link != nullptr && link->get() != control)
        link = &*(*link)->next_;
    if (*link == nullptr)
        return nullptr;
    LetGoOf(control);
    const std::unique_ptr<CControl> removed = std::move(*link);
    *link = std::move(*removed->next_);
    return link->get();
}

void CControlGroup::RemoveAllControls()
{
    while (first_ != nullptr)
        RemoveControl(first_.get());
}

void CControlGroup::RefreshControlById(int id, bool redraw)
{
    if (CControl* control = FindControl(id))
        RefreshControl(control, redraw);
}

void CControlGroup::RefreshControl(CControl* control, bool redraw)
{
    if (owner_ != nullptr)
        owner_->RefreshControl(control, redraw);
}

bool CControlGroup::OnControlPressed(CControl* control)
{
    return owner_ != nullptr && owner_->OnControlPressed(control);
}

void CControlGroup::OnControlReleased(CControl* control)
{
    if (owner_ != nullptr)
        owner_->OnControlReleased(control);
}

bool CControlGroup::OnControlChanged(CControl* control, float value)
{
    return owner_ != nullptr && owner_->OnControlChanged(control, value);
}

void CControlGroup::SetFocusGroup()
{
    if (owner_ == nullptr || hidden_ || (active_ != nullptr && !IsModal()) || IsFocusGroup())
        return;
    CControlGroup* previous = owner_->GetFocusGroup();
    owner_->SetFocusGroup(this);
    if (previous != nullptr)
        previous->OnKillFocus();
    OnFocus();
}

bool CControlGroup::IsFocusGroup() const
{
    return owner_ != nullptr && owner_->GetFocusGroup() == this;
}

std::string CControlGroup::GetValueText(const CControl* control) const
{
    return owner_ != nullptr ? owner_->GetValueText(control) : std::string();
}

void CControlGroup::BeginControlDrag(CControl* control, bool hideCursor)
{
    if (owner_ == nullptr)
        return;
    owner_->SetCaptureControl(control);
    SetMouseOwner(control);
    owner_->BeginMouseCapture(hideCursor);
}

void CControlGroup::EndControlDrag()
{
    if (owner_ == nullptr)
        return;
    owner_->EndMouseCapture();
    owner_->SetCaptureControl(nullptr);
    SetMouseOwner(nullptr);
}

bool CControlGroup::IsControlDragging(const CControl* control) const
{
    return owner_ != nullptr && owner_->IsCapturing() && mouseOwner_ == control;
}

bool CControlGroup::TakesEvents() const
{
    return owner_ != nullptr && !hidden_ &&
           (owner_->GetModalGroup() == nullptr || owner_->GetModalGroup() == this);
}

CControl* CControlGroup::PointerTarget() const
{
    if (!TakesEvents())
        return nullptr;
    CControl* target = mouseOwner_ != nullptr ? mouseOwner_ : active_;
    if (target == nullptr) {
        target = GetFirstControl();
        while (target != nullptr && !target->GetRect().Contains(owner_->GetMousePosition()))
            target = target->GetNext();
    }
    return target == nullptr || target->IsHidden() ? nullptr : target;
}

bool CControlGroup::OnDoubleClick()
{
    CControl* target = PointerTarget();
    return target != nullptr && target->OnDoubleClick();
}

bool CControlGroup::OnMouseDown()
{
    CControl* target = PointerTarget();
    return target != nullptr && target->OnMouseDown();
}

bool CControlGroup::OnMouseUp()
{
    CControl* target = PointerTarget();
    return target != nullptr && target->OnMouseUp();
}

bool CControlGroup::OnMouseMove()
{
    CControl* target = PointerTarget();
    return target != nullptr && target->OnMouseMove();
}

template <typename Event>
bool CControlGroup::TellControls(const Event& event)
{
    if (!TakesEvents())
        return false;
    if (active_ != nullptr)
        return !active_->IsHidden() && event(*active_);
    bool handled = false;
    for (CControl* control = GetFirstControl(); control != nullptr; control = control->GetNext()) {
        if (!control->IsHidden() && event(*control))
            handled = true;
        if (!TakesEvents() || active_ != nullptr)
            break; // it opened something that the others are not to hear about
    }
    return handled;
}

bool CControlGroup::OnWheel(int axis, float steps)
{
    return TellControls([=](CControl& control) { return control.OnWheel(axis, steps); });
}

bool CControlGroup::OnKeyDown(int key)
{
    return TellControls([=](CControl& control) { return control.OnKeyDown(key); });
}

bool CControlGroup::OnKeyUp(int key)
{
    return TellControls([=](CControl& control) { return control.OnKeyUp(key); });
}

bool CControlGroup::OnTimer()
{
    return TellControls([](CControl& control) {
        control.OnTimer();
        return true;
    });
}

void CControlGroup::DrawBackground(const PixelRect& region)
{
    CGraphicBuffer* buffer = GetBuffer();
    if (hidden_ || background_ == nullptr || buffer == nullptr || !buffer->SetClip(region))
        return;
    background_->CopyTo(*buffer, rect_, {0, 0});
}

void CControlGroup::OnKillFocus()
{
    SetFocusControl(nullptr);
}

CControl* CControlGroup::FindControl(int paramIndex) const
{
    CControl* control = paramIndex < 0 ? nullptr : GetFirstControl();
    while (control != nullptr && control->GetParamIndex() != paramIndex)
        control = control->GetNext();
    return control;
}

void CControlGroup::SetFocusControl(CControl* control)
{
    CControl* previous = std::exchange(focus_, control);
    if (previous != nullptr)
        previous->OnKillFocus();
    if (control != nullptr && focus_ == control)
        control->OnFocus();
}

} // namespace keldra
