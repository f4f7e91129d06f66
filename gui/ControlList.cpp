#include "gui/ControlList.h"

#include <algorithm>

#include "gui/WindowPort.h"

namespace keldra {

CControlMenu::Layout CControlList::CurrentLayout() const
{
    Layout layout{GetRect(), {}, 0};
    layout.visibleRows = std::max((layout.area.height - 2 * VerticalMargin()) / ItemHeight(), 1);
    if (GetItemCount() > layout.visibleRows)
        layout.scrollBar = ScrollBarOf(layout.area, layout.visibleRows);
    return layout;
}

void CControlList::Draw()
{
    if (GetBuffer() == nullptr)
        return;
    EraseRect(GetRect()); // behind the rounded corners
    DrawPopupFrame();
    DrawItems();
}

MenuItem& CControlList::NewItem()
{
    MenuItem& item = CControlMenu::NewItem();
    ScrollTo(ScrollOffset()); // its scroll bar may have come with it
    return item;
}

void CControlList::ShowItem(int index)
{
    const int rows = CurrentLayout().visibleRows;
    if (index < FirstRow())
        ScrollTo(static_cast<float>(index));
    else if (index >= FirstRow() + rows)
        ScrollTo(static_cast<float>(index - rows + 1));
}

bool CControlList::OnDoubleClick()
{
    return OnMouseDown();
}

bool CControlList::OnMouseDown()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || port->GetMouseButton() != EMouseButton::Left || IsDragging())
        return false;
    SetFocus();
    if (CurrentLayout().scrollBar.Contains(port->GetMousePosition())) {
        HoldThumb(true);
        BeginDrag(false);
        RefreshItems();
        return true;
    }
    UpdateHover();
    if (HoveredRow() >= 0)
        Choose(FirstRow() + HoveredRow());
    return true;
}

bool CControlList::OnMouseUp()
{
    if (!IsDragging())
        return false;
    OnDragLost();
    return true;
}

void CControlList::OnDragLost()
{
    EndDrag();
    HoldThumb(false);
    RefreshItems();
}

bool CControlList::OnMouseMove()
{
    if (IsThumbHeld())
        DragThumb();
    else if (UpdateHover())
        RefreshItems();
    return true;
}

bool CControlList::OnWheel(int axis, float steps)
{
    if (axis != 0 || !IsUnderMouse())
        return false;
    Scroll(-steps);
    return true;
}

bool CControlList::OnKeyDown(int key)
{
    if (!HasFocus() || GetItemCount() == 0)
        return false;
    const int page = CurrentLayout().visibleRows;
    const int now = ChosenIndex();
    int wanted = now;
    int step = 1; // on from a line that can't be chosen
    switch (key) {
    case kKeyUp:
        wanted = now - 1;
        step = -1;
        break;
    case kKeyDown:
        wanted = now + 1;
        break;
    case kKeyPageUp:
        wanted = now - page;
        step = -1;
        break;
    case kKeyPageDown:
        wanted = now + page;
        break;
    case kKeyHome:
        wanted = 0;
        break;
    case kKeyEnd:
        wanted = GetItemCount() - 1;
        step = -1;
        break;
    default:
        return false;
    }
    wanted = std::clamp(wanted, 0, GetItemCount() - 1);
    while (GetItem(wanted) != nullptr && GetItem(wanted)->kind != MenuItem::EKind::Choice)
        wanted += step;
    if (GetItem(wanted) == nullptr || wanted == now)
        return true;
    ShowItem(wanted);
    Choose(wanted);
    return true;
}

/// The list hears no moves outside itself, so the tick takes the highlight off.
void CControlList::OnTimer()
{
    if (HoveredRow() >= 0 && !IsThumbHeld() && !IsUnderMouse()) {
        SetHoveredRow(-1);
        RefreshItems();
    }
}

} // namespace keldra
