#include "gui/ControlMenu.h"

#include <algorithm>

#include "gui/Numbers.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr float kFadeStep = 0.3f; // a tick of 30 ms
constexpr int kGap = 2;           // between the control and its list
constexpr int kWindowMargin = 5;  // nearer than this to the right edge, a list opens to the left

} // namespace

CControlMenu::CControlMenu(int paramIndex) : CControlDisplay(paramIndex)
{
    CControlDisplay::SetValue(-1.0f);
}

// Items

MenuItem& CControlMenu::NewItem()
{
    return items_.emplace_back();
}

void CControlMenu::AddItem(std::string_view text)
{
    NewItem().text = text.substr(0, 511);
}

void CControlMenu::AddSeparator()
{
    NewItem().kind = MenuItem::EKind::Separator;
}

void CControlMenu::AddCaption(std::string_view text)
{
    MenuItem& item = NewItem();
    item.kind = MenuItem::EKind::Caption;
    item.text = text.substr(0, 511);
}

void CControlMenu::ClearItems()
{
    items_.clear();
    SetHoveredRow(-1);
    *scrollOffset_ = 0.0f;
}

const MenuItem* CControlMenu::GetItem(int index) const
{
    return index >= 0 && index < GetItemCount() ? &items_[static_cast<std::size_t>(index)]
                                                : nullptr;
}

MenuItem* CControlMenu::GetItem(int index)
{
    return index >= 0 && index < GetItemCount() ? &items_[static_cast<std::size_t>(index)]
                                                : nullptr;
}

void CControlMenu::SetItemMarked(int index, bool marked)
{
    if (MenuItem* item = GetItem(index))
        item->marked = marked;
}

void CControlMenu::SetItemDimmed(int index, bool dimmed)
{
    if (MenuItem* item = GetItem(index))
        item->dimmed = dimmed;
}

void CControlMenu::SetValue(float value)
{
    CControlDisplay::SetValue(value);
    if (const MenuItem* item = GetItem(ChosenIndex()))
        SetText(item->text);
}

int CControlMenu::ChosenIndex() const
{
    // Below 0 nothing is chosen, though -0.5 would truncate to the first item.
    return GetValue() < 0.0f ? -1 : Truncated(static_cast<double>(GetValue()));
}

void CControlMenu::SetAlternateImage(const CGraphicBuffer* image, PixelPoint from)
{
    alternateImage_ = image;
    alternateSource_ = from;
}

// Opening and closing

int CControlMenu::WidestText() const
{
    CGraphicBuffer* buffer = GetBuffer();
    int widest = 0;
    for (const MenuItem& item : items_) {
        if (boldItems_ || item.marked || item.kind == MenuItem::EKind::Caption)
            buffer->SelectBoldFont();
        else
            buffer->SelectRegularFont();
        widest = std::max(
            widest, buffer->DrawText(item.text, {0, 0, 1000, 1000}, ETextPass::MeasureOnly).width);
    }
    return widest;
}

PixelRect CControlMenu::ScrollBarOf(const PixelRect& area, int rows) const
{
    return {area.x + area.width - margins_.x - scrollBarWidth_, area.y + margins_.y,
            scrollBarWidth_, rows * itemHeight_};
}

CControlMenu::Layout CControlMenu::PopupLayout(PixelSize window, int textWidth) const
{
    const PixelRect control = GetRect();
    Layout layout;
    layout.visibleRows = GetItemCount();
    PixelRect& area = layout.area;
    area.width = std::max(textWidth + 2 * (margins_.x + textIndent_), control.width);
    area.height = 2 * margins_.y + layout.visibleRows * itemHeight_;
    area.y = std::max(control.y - area.height / 2 + control.height / 2, 0);
    if (area.y + area.height > window.height)
        area.y = window.height - area.height;
    const bool scrolls = area.height > window.height;
    if (scrolls) {
        layout.visibleRows = std::max((window.height - 2 * margins_.y) / itemHeight_, 1);
        area.y = 0;
        area.height = layout.visibleRows * itemHeight_ + 2 * margins_.y;
        area.width += scrollBarWidth_;
    }
    area.x = control.x + control.width + kGap;
    if (area.x + area.width > window.width - kWindowMargin)
        area.x = std::max(control.x - area.width - kGap, 0);
    if (scrolls)
        layout.scrollBar = ScrollBarOf(area, layout.visibleRows);
    return layout;
}

CControlMenu::Layout CControlMenu::CurrentLayout() const
{
    return popup_->layout;
}

bool CControlMenu::OpenPopup()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr || items_.empty() || IsPopupOpen())
        return false;
    SetFocus();
    const Layout layout = PopupLayout(buffer->GetSize(), WidestText());
    const PixelRect rect = layout.area;
    Popup& popup = *popup_;
    const PixelSize size{rect.height, rect.width};
    if (!popup.background.Create(size) || !popup.picture.Create(size)) {
        popup.picture.Free();
        return false;
    }
    popup.rect = rect;
    popup.layout = layout;
    popup.fade = 0.0f;
    *scrollOffset_ = 0.0f;
    *thumbHeld_ = false;
    SetHoveredRow(-1);
    popup.savedImage = GetImage();
    popup.savedSource = GetImageSource();
    if (GetImage() != nullptr) {
        SetImage(alternateImage_);
        SetImageSource(alternateSource_);
    }
    SetActive(true);
    BeginDrag(false);
    UpdateHover();
    TakeBackground();
    DrawAndPresent();
    PresentRect(rect);
    return true;
}

void CControlMenu::TakeBackground()
{
    CGraphicBuffer* buffer = GetBuffer();
    const PixelRect& rect = popup_->rect;
    buffer->ResetClip();
    buffer->CopyTo(popup_->background, {0, 0, rect.width, rect.height}, {rect.x, rect.y});
    DrawPopupFrame();
    DrawItems();
}

void CControlMenu::OnRedrawnBeneath()
{
    if (IsPopupOpen() && GetBuffer() != nullptr)
        TakeBackground();
}

void CControlMenu::ClosePopup()
{
    if (!IsPopupOpen())
        return;
    popup_->picture.Free();
    popup_->background.Free();
    popup_->layout = {};
    if (popup_->savedImage != nullptr) {
        SetImage(popup_->savedImage);
        SetImageSource(popup_->savedSource);
    }
    SetHoveredRow(-1);
    *thumbHeld_ = false;
    SetActive(false);
    EndDrag();
    if (CWindowPort* port = GetWindowPort()) {
        port->RedrawAll();
        port->PresentAll();
    }
    OnPopupClosed();
}

bool CControlMenu::Choose(int index)
{
    const MenuItem* item = GetItem(index);
    return item != nullptr && item->kind == MenuItem::EKind::Choice &&
           EditValue(static_cast<float>(index));
}

// Events

/// The second press of a double click is one more press: it closes what the first one opened.
bool CControlMenu::OnDoubleClick()
{
    return OnMouseDown();
}

bool CControlMenu::OnMouseDown()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr)
        return false;
    if (!IsPopupOpen())
        return port->GetMouseButton() == EMouseButton::Left && OpenPopup();
    if (CurrentLayout().scrollBar.Contains(port->GetMousePosition())) {
        *thumbHeld_ = true;
        RefreshItems();
        return true;
    }
    UpdateHover(); // the arrow keys may have left another row behind
    const int row = HoveredRow();
    const int index = FirstRow() + row;
    ClosePopup();
    if (row >= 0)
        Choose(index);
    return true;
}

bool CControlMenu::OnMouseUp()
{
    if (!*thumbHeld_)
        return IsPopupOpen();
    *thumbHeld_ = false;
    RefreshItems();
    return true;
}

bool CControlMenu::OnMouseMove()
{
    if (!IsPopupOpen())
        return false;
    if (*thumbHeld_)
        DragThumb();
    else if (UpdateHover())
        RefreshItems();
    return true;
}

void CControlMenu::DragThumb()
{
    const PixelRect bar = CurrentLayout().scrollBar;
    if (bar.height > 0)
        Scroll(static_cast<float>(GetWindowPort()->GetMouseMovement().y) *
               static_cast<float>(GetItemCount()) / static_cast<float>(bar.height));
}

bool CControlMenu::OnWheel(int axis, float steps)
{
    const CWindowPort* port = GetWindowPort();
    if (axis != 0 || port == nullptr)
        return false;
    if (IsPopupOpen()) {
        if (HasScrollBar())
            Scroll(-steps);
        return true;
    }
    if (GetParamIndex() < 0 || port->IsCapturing() || !IsUnderMouse())
        return false;
    *wheelRest_ += steps;
    const int notches = Truncated(static_cast<double>(*wheelRest_));
    *wheelRest_ -= static_cast<float>(notches);
    const int direction = notches > 0 ? -1 : 1; // up is toward the first item
    int wanted = ChosenIndex();
    for (int left = std::abs(notches); left > 0; --left) {
        int next = wanted + direction;
        while (GetItem(next) != nullptr && GetItem(next)->kind != MenuItem::EKind::Choice)
            next += direction;
        if (GetItem(next) == nullptr)
            break;
        wanted = next;
    }
    if (wanted != ChosenIndex())
        Choose(wanted);
    return true;
}

bool CControlMenu::OnKeyDown(int key)
{
    if (!IsPopupOpen())
        return false;
    const int index = FirstRow() + HoveredRow();
    const bool hovers = HoveredRow() >= 0;
    switch (key) {
    case kKeyUp:
        MoveHover(-1);
        break;
    case kKeyDown:
        MoveHover(1);
        break;
    case kKeyEnter:
        ClosePopup();
        if (hovers)
            Choose(index);
        break;
    case kKeyEscape:
        ClosePopup();
        break;
    default:
        break;
    }
    return true;
}

/// Moves the highlight to the next row that can be chosen, scrolling where it leaves the list.
void CControlMenu::MoveHover(int step)
{
    int index = HoveredRow() >= 0 ? FirstRow() + HoveredRow() + step : std::max(ChosenIndex(), 0);
    while (GetItem(index) != nullptr && GetItem(index)->kind != MenuItem::EKind::Choice)
        index += step;
    if (GetItem(index) == nullptr)
        return;
    const int rows = CurrentLayout().visibleRows;
    if (index < FirstRow())
        ScrollTo(static_cast<float>(index));
    else if (index >= FirstRow() + rows)
        ScrollTo(static_cast<float>(index - rows + 1));
    SetHoveredRow(index - FirstRow());
    RefreshItems();
}

void CControlMenu::OnTimer()
{
    if (!IsPopupOpen() || popup_->fade >= 1.0f)
        return;
    popup_->fade = std::min(1.0f, popup_->fade + kFadeStep);
    Draw();
    PresentRect(popup_->rect);
}

// Rows

int CControlMenu::FirstRow() const
{
    return Truncated(static_cast<double>(*scrollOffset_));
}

void CControlMenu::SetHoveredRow(int row)
{
    *hovered_ = row >= 0 ? std::optional(row) : std::nullopt;
}

void CControlMenu::ScrollTo(float firstRow)
{
    const auto last = static_cast<float>(std::max(GetItemCount() - CurrentLayout().visibleRows, 0));
    *scrollOffset_ = std::fmin(std::fmax(firstRow, 0.0f), last);
}

void CControlMenu::Scroll(float rows)
{
    const float before = *scrollOffset_;
    ScrollTo(before + rows);
    if (*scrollOffset_ == before)
        return;
    UpdateHover();
    RefreshItems();
}

void CControlMenu::RefreshItems()
{
    if (!IsPopupOpen())
        return;
    DrawItems();
    Draw();
    PresentRect(popup_->rect);
}

PixelRect CControlMenu::ItemRect(int row) const
{
    const Layout layout = CurrentLayout();
    const PixelRect& area = layout.area;
    const int scrollBar = layout.scrollBar.IsEmpty() ? 0 : scrollBarWidth_;
    return {area.x + margins_.x, area.y + margins_.y + row * itemHeight_,
            area.width - 2 * margins_.x - 2 - scrollBar, itemHeight_};
}

bool CControlMenu::UpdateHover()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr)
        return false;
    const Layout layout = CurrentLayout();
    const int rows = std::min(layout.visibleRows, GetItemCount() - FirstRow());
    int hovered = -1;
    for (int row = 0; row < rows && hovered < 0; ++row)
        if (ItemRect(row).Contains(port->GetMousePosition()))
            hovered = row;
    if (hovered == HoveredRow())
        return false;
    SetHoveredRow(hovered);
    return true;
}

} // namespace keldra
