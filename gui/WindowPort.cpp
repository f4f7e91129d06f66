#include "gui/WindowPort.h"

#include <algorithm>
#include <list>
#include <utility>

#include "gui/PopupMenuGroup.h"
#include "gui/ValueField.h"
#include "platform/Forever.h"
#include "platform/UiThread.h"

namespace keldra {

namespace {

constexpr Color kNoBackground = Rgb(65, 65, 65);

/// All windows of the process, in the order of their opening. With the UI lock held.
std::list<CWindowPort*>& OpenPorts()
{
    static CForever<std::list<CWindowPort*>> ports;
    return *ports;
}

EHeldKey HeldKeyOf(unsigned modifiers)
{
    if ((modifiers & kModifierAlt) != 0)
        return EHeldKey::Alt;
    if ((modifiers & kModifierShift) != 0)
        return EHeldKey::Shift;
    return (modifiers & kModifierCtrl) != 0 ? EHeldKey::Ctrl : EHeldKey::None;
}

} // namespace

CWindowPort::CWindowPort() : root_(std::make_unique<CControlGroup>())
{
    root_->owner_ = this;
}

CWindowPort::~CWindowPort()
{
    const CUiLock lock;
    CWindowPort::Close();
    // From the last group on, none of them recursively.
    while (root_->next_ != nullptr)
        CWindowPort::RemoveGroup(root_->GetNext());
    root_.reset();
}

bool CWindowPort::Open(NativeHandle parent)
{
    const CUiLock lock;
    if (lost_)
        CWindowPort::Close(); // the host never did, but it has a new place for us
    if (IsOpen())
        return true;
    const PixelSize size = std::exchange(size_, PixelSize{});
    const PixelPoint position = position_;
    if (size.height > 0 && size.width > 0)
        window_ = CNativeWindow::Open(parent, size, *this);
    if (window_ == nullptr) {
        size_ = size;
        return false;
    }
    OpenPorts().push_back(this);
    captureControl_ = nullptr;
    SetSize(size);
    if (position != PixelPoint{})
        window_->Move(position);
    RedrawAll();
    PresentAll();
    return true;
}

bool CWindowPort::OpenWith(const OpenInfo* info)
{
    openInfo_ = info != nullptr ? *info : OpenInfo{};
    return Open(openInfo_.parent);
}

bool CWindowPort::Reopen()
{
    const OpenInfo info = openInfo_;
    return OpenWith(&info);
}

void CWindowPort::Close()
{
    const CUiLock lock;
    if (!IsOpen())
        return;
    LetGo();
    OnKillFocus();
    RemoveGroupsNow();
    std::erase(OpenPorts(), this);
    focused_ = false;
    lost_ = false;
    backBuffer_.reset();
    window_.reset();
}

bool CWindowPort::SetSize(PixelSize size)
{
    if (size.height <= 0 || size.width <= 0 || size == size_)
        return false;
    size_ = size;
    if (IsOpen()) {
        if (backBuffer_ == nullptr)
            backBuffer_ = std::make_unique<CGraphicBuffer>();
        // Without memory the window stays black: an invalid buffer takes all drawing.
        static_cast<void>(backBuffer_->Create(size));
        window_->Resize(size);
    }
    return true;
}

bool CWindowPort::SetPosition(PixelPoint at)
{
    if (at == position_)
        return false;
    position_ = at;
    if (IsOpen())
        window_->Move(at);
    return true;
}

bool CWindowPort::AddGroup(std::unique_ptr<CControlGroup> group)
{
    if (group == nullptr || group->owner_ != nullptr)
        return false;
    group->owner_ = this;
    std::unique_ptr<CControlGroup>* end = &root_;
    while (*end != nullptr)
        end = &(*end)->next_;
    *end = std::move(group);
    return true;
}

bool CWindowPort::RemoveGroup(CControlGroup* group)
{
    if (group == nullptr || group == root_.get())
        return false;
    std::unique_ptr<CControlGroup>* link = &root_;
    while (*link != nullptr && link->get() != group)
        link = &(*link)->next_;
    if (*link == nullptr)
        return false;
    if (group->GetMouseOwner() != nullptr)
        LetGo();
    if (focusGroup_ == group) {
        group->OnKillFocus();
        focusGroup_ = nullptr;
    }
    if (modalGroup_ == group)
        modalGroup_ = nullptr;
    std::erase(toRemove_, group);
    const std::unique_ptr<CControlGroup> removed = std::move(*link);
    *link = std::move(removed->next_);
    return true;
}

CControlGroup* CWindowPort::FindGroup(int id) const
{
    CControlGroup* group = root_.get();
    while (group != nullptr && group->GetId() != id)
        group = group->GetNext();
    return group;
}

CControlGroup* CWindowPort::GetGroup(int index) const
{
    CControlGroup* group = root_.get();
    for (; index >= 0 && group != nullptr; --index)
        group = group->GetNext();
    return group;
}

bool CWindowPort::SetControlHidden(int id, bool hidden)
{
    CControl* control = FindControl(id);
    return control != nullptr && control->SetHidden(hidden);
}

CControl* CWindowPort::AddControl(std::unique_ptr<CControl> control)
{
    return root_->AddControl(std::move(control));
}

void CWindowPort::RemoveControl(CControl* control)
{
    root_->RemoveControl(control);
}

CControl* CWindowPort::FindControl(int id) const
{
    for (CControlGroup* group = root_.get(); group != nullptr; group = group->GetNext())
        if (CControl* control = group->FindControl(id))
            return control;
    return nullptr;
}

bool CWindowPort::SetControlValue(int id, float value)
{
    CControl* control = FindControl(id);
    if (control == nullptr || control->GetValue() == value)
        return false;
    control->SetValue(value);
    return true;
}

void CWindowPort::SetControlValueRedraw(int id, float value)
{
    if (CControl* control = FindControl(id))
        control->SetValueRedraw(value);
}

void CWindowPort::RefreshControlById(int id, bool redraw)
{
    RefreshControl(FindControl(id), redraw);
}

void CWindowPort::RefreshControl(CControl* control, bool redraw)
{
    if (control == nullptr || control->IsHidden())
        return;
    if (modalGroup_ != nullptr) {
        const CControl* active = modalGroup_->GetActiveControl();
        if (control->GetGroup() != modalGroup_ || (active != nullptr && active != control))
            return;
    }
    control->Draw();
    if (redraw)
        control->Present();
}

CControl* CWindowPort::GetModalChild() const
{
    return modalGroup_ != nullptr ? modalGroup_->GetActiveControl() : nullptr;
}

void CWindowPort::RedrawAll()
{
    if (backBuffer_ == nullptr)
        return;
    DrawBackgroundRegion({0, 0, size_.width, size_.height});
    for (CControlGroup* group = root_.get(); group != nullptr; group = group->GetNext())
        if (group != modalGroup_)
            group->Draw(); // a hidden one doesn't
    if (modalGroup_ != nullptr)
        modalGroup_->Draw();
}

void CWindowPort::PresentAll()
{
    PresentRegion({0, 0, size_.width, size_.height});
}

void CWindowPort::PresentRegion(const PixelRect& area)
{
    if (backBuffer_ != nullptr)
        backBuffer_->BlitToWindow(window_.get(), area);
}

bool CWindowPort::OnTimer()
{
    return DispatchToAll([](CControlGroup& group) { return group.OnTimer(); });
}

void CWindowPort::BeginMouseCapture(bool hideCursor)
{
    if (!IsOpen() || capturing_)
        return;
    capturing_ = true;
    hiddenCursor_ = hideCursor;
    window_->BeginCapture(hideCursor ? ECaptureCursor::Hidden : ECaptureCursor::Shown);
}

void CWindowPort::EndMouseCapture()
{
    if (!capturing_)
        return;
    capturing_ = false;
    hiddenCursor_ = false;
    window_->EndCapture();
}

/// Sends a pointer event where it belongs.
template <typename Event>
bool CWindowPort::DispatchPointer(bool (CControlGroup::*groupEvent)(), const Event& controlEvent)
{
    if (modalGroup_ != nullptr && !modalGroup_->IsHidden())
        return (modalGroup_->*groupEvent)();
    if (captureControl_ != nullptr)
        return controlEvent(*captureControl_);
    for (CControlGroup* group = root_.get(); group != nullptr; group = group->GetNext())
        if (!group->IsHidden() && (group->*groupEvent)())
            return true;
    return false;
}

bool CWindowPort::OnDoubleClick()
{
    return DispatchPointer(&CControlGroup::OnDoubleClick,
                           [](CControl& control) { return control.OnDoubleClick(); });
}

bool CWindowPort::OnMouseDown()
{
    return DispatchPointer(&CControlGroup::OnMouseDown,
                           [](CControl& control) { return control.OnMouseDown(); });
}

bool CWindowPort::OnMouseUp()
{
    return DispatchPointer(&CControlGroup::OnMouseUp,
                           [](CControl& control) { return control.OnMouseUp(); });
}

bool CWindowPort::OnMouseMove()
{
    return DispatchPointer(&CControlGroup::OnMouseMove,
                           [](CControl& control) { return control.OnMouseMove(); });
}

/// Tells the modal group alone, or else every visible one.
template <typename Event>
bool CWindowPort::DispatchToAll(const Event& event)
{
    if (modalGroup_ != nullptr && !modalGroup_->IsHidden())
        return event(*modalGroup_);
    bool handled = false;
    for (CControlGroup* group = root_.get(); group != nullptr; group = group->GetNext()) {
        if (!group->IsHidden() && event(*group))
            handled = true;
        if (modalGroup_ != nullptr)
            break; // it opened something that is not to get the event that opened it
    }
    return handled;
}

bool CWindowPort::OnKeyDown(int key)
{
    return DispatchToAll([=](CControlGroup& group) { return group.OnKeyDown(key); });
}

bool CWindowPort::OnKeyUp(int key)
{
    return DispatchToAll([=](CControlGroup& group) { return group.OnKeyUp(key); });
}

bool CWindowPort::OnWheel(int axis, float steps)
{
    return DispatchToAll([=](CControlGroup& group) { return group.OnWheel(axis, steps); });
}

void CWindowPort::OnKillFocus()
{
    if (CControlGroup* group = std::exchange(focusGroup_, nullptr))
        group->OnKillFocus();
}

void CWindowPort::DrawBackgroundRegion(const PixelRect& region)
{
    if (!IsOpen() || backBuffer_ == nullptr || !backBuffer_->SetClip(region))
        return;
    if (background_ == nullptr || !background_->IsValid()) {
        backBuffer_->SetFillColor(kNoBackground);
        backBuffer_->FillRect(region);
        return;
    }
    const auto [height, width] = background_->GetSize();
    // Only the tiles that the region touches: the panel's background is one tile as large as
    // itself.
    const PixelRect clip = backBuffer_->GetClip();
    for (int y = clip.y / height * height; y < clip.y + clip.height; y += height)
        for (int x = clip.x / width * width; x < clip.x + clip.width; x += width)
            background_->CopyTo(*backBuffer_, {x, y, width, height}, {0, 0});
}

NativeHandle CWindowPort::Handle() const
{
    return window_ != nullptr ? window_->Handle() : 0;
}

bool CWindowPort::OpenValueField(CControl& control)
{
    return IsOpen() && modalGroup_ == nullptr && !capturing_ &&
           CValueFieldGroup::Open(*this, control);
}

bool CWindowPort::ShowPopupMenu(std::span<const PopupMenuItem> items,
                                std::function<void(int)> chosen)
{
    return IsOpen() && modalGroup_ == nullptr && !capturing_ && !items.empty() &&
           CPopupMenuGroup::Open(*this, items, std::move(chosen));
}

void CWindowPort::DismissPopupMenu()
{
    if (dynamic_cast<CPopupMenuGroup*>(modalGroup_) == nullptr)
        return;
    modalGroup_->GetFirstControl()->OnKillFocus();
    RemoveGroupsNow();
}

CWindowPort* CWindowPort::FindOpen(NativeHandle handle)
{
    const auto& ports = OpenPorts();
    const auto found = std::find_if(ports.begin(), ports.end(), [handle](const CWindowPort* port) {
        return port->Handle() == handle;
    });
    return handle != 0 && found != ports.end() ? *found : nullptr;
}

void CWindowPort::RemoveGroupLater(CControlGroup* group)
{
    toRemove_.push_back(group);
}

void CWindowPort::RemoveGroupsNow()
{
    while (!toRemove_.empty())
        RemoveGroup(toRemove_.back()); // takes it off the list
}

/// Ends a drag whose button won't be seen to go up.
void CWindowPort::LetGo()
{
    if (CControl* control = captureControl_)
        control->OnDragLost();
    EndMouseCapture();
    if (captureControl_ != nullptr && captureControl_->GetGroup() != nullptr)
        captureControl_->GetGroup()->SetMouseOwner(nullptr);
    captureControl_ = nullptr;
}

void CWindowPort::Place(PixelPoint at, unsigned modifiers)
{
    movement_ = {at.x - mouse_.x, at.y - mouse_.y};
    mouse_ = at;
    heldKey_ = HeldKeyOf(modifiers);
}

void CWindowPort::OnPointer(const PointerEvent& event)
{
    using EKind = PointerEvent::EKind;
    Place(event.at, event.modifiers);
    if (event.kind == EKind::Move) {
        if (!hiddenCursor_ || movement_ != PixelPoint{})
            OnMouseMove();
        RemoveGroupsNow();
        return;
    }
    movement_ = {};
    button_ = event.button;
    if (event.kind == EKind::Down && event.button == EMouseButton::Left)
        window_->TakeFocus();
    if (event.kind == EKind::Down)
        OnMouseDown();
    else if (event.kind == EKind::DoubleClick)
        OnDoubleClick();
    else
        OnMouseUp();
    RemoveGroupsNow();
}

void CWindowPort::OnWheelTurn(const WheelEvent& event)
{
    if (!capturing_)
        Place(event.at, event.modifiers); // a drag's movement is counted by its moves
    heldKey_ = HeldKeyOf(event.modifiers);
    movement_ = {};
    button_ = EMouseButton::Left;
    OnWheel(event.horizontal ? 1 : 0, event.steps);
    RemoveGroupsNow();
}

bool CWindowPort::OnKey(const KeyEvent& event)
{
    heldKey_ = HeldKeyOf(event.modifiers);
    const bool handled = event.down ? OnKeyDown(event.key) : OnKeyUp(event.key);
    RemoveGroupsNow();
    return handled;
}

void CWindowPort::OnFocus(bool focused)
{
    if (std::exchange(focused_, focused) == focused)
        return;
    if (focused)
        OnSetFocus();
    else
        OnKillFocus();
    RemoveGroupsNow();
}

void CWindowPort::OnTick()
{
    OnTimer();
    RemoveGroupsNow();
}

void CWindowPort::OnFileDrop(std::string_view utf8Path, PixelPoint at)
{
    Place(at, 0);
    OnFileDropped(utf8Path);
}

void CWindowPort::OnWindowLost()
{
    lost_ = true;
    LetGo();
    OnKillFocus();
    RemoveGroupsNow();
}

} // namespace keldra
