#include "gui/ValueField.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "gui/ControlKnob.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr std::size_t kLongestText = 32;
constexpr PixelSize kFieldSize{32, 100};
constexpr Color kFill = Rgb(250, 240, 215);
constexpr Color kSelection = Rgb(190, 172, 139);
constexpr Color kFailedText = Rgb(190, 20, 20);

} // namespace

bool CTextLine::Press(int key)
{
    const bool replaces = std::exchange(allSelected_, false);
    const auto remove = [this](std::size_t from, std::size_t count) {
        text_.erase(from, count);
        caret_ = from;
    };
    switch (key) {
    case kKeyLeft:
        caret_ = replaces ? 0 : caret_ - std::min<std::size_t>(caret_, 1);
        return true;
    case kKeyRight:
        caret_ = std::min(caret_ + 1, text_.size());
        return true;
    case kKeyHome:
        caret_ = 0;
        return true;
    case kKeyEnd:
        caret_ = text_.size();
        return true;
    case kKeyBackspace:
    case kKeyDelete:
        if (replaces)
            remove(0, text_.size());
        else if (key == kKeyDelete && caret_ < text_.size())
            remove(caret_, 1);
        else if (key == kKeyBackspace && caret_ > 0)
            remove(caret_ - 1, 1);
        return true;
    default:
        break;
    }
    if (key < ' ' || key > '~') {
        allSelected_ = replaces;
        return false;
    }
    if (replaces)
        remove(0, text_.size());
    if (text_.size() >= kLongestText)
        return false;
    text_.insert(caret_++, 1, static_cast<char>(key));
    return true;
}

CValueFieldGroup::CValueFieldGroup(CControl& control, std::string text)
    : control_(&control), line_(std::move(text))
{
}

void CValueFieldGroup::Open(CWindowPort& port, CControl& control)
{
    // The text that the pop-up shows, so that small changes need few keys.
    std::unique_ptr<CValueFieldGroup> group(
        new CValueFieldGroup(control, control.GetValueText().substr(0, kLongestText)));
    CValueFieldGroup& field = *group;
    field.SetRect(CControlKnob::PopupPlace(control.GetRect(), kFieldSize, port.GetSize()));
    if (!port.AddGroup(std::move(group)))
        return;
    field.SetFocusGroup();
    field.SetModal(true);
    field.Refresh();
}

void CValueFieldGroup::Refresh()
{
    GetOwner()->RedrawAll();
    GetOwner()->PresentRegion(GetRect());
}

void CValueFieldGroup::Draw()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (IsHidden() || buffer == nullptr || !buffer->SetClip(GetRect()))
        return;
    const auto [x, y, width, height] = GetRect();
    buffer->ResetPen();
    buffer->DrawShadow(GetRect());
    buffer->SetFillColor(kFill);
    buffer->DrawPanel({x + 5, y + 5, width - 10, height - 10}, ECorners::Rounded, 1.0f, 0.0f);

    const PixelRect box{x + 10, y + 9, width - 20, height - 18};
    if (!buffer->SetClip(box))
        return;
    const auto widthOf = [buffer](std::string_view text) {
        return buffer->DrawText(text, {}, ETextPass::MeasureOnly).width;
    };
    const std::string& text = line_.Text();
    const int caret =
        text.empty() ? 0 : widthOf(std::string_view(text).substr(0, line_.Caret())) + 1;
    const int scrolled = std::max(caret - (box.width - 2), 0); // the caret stays in sight
    if (line_.IsAllSelected() && !text.empty()) {
        buffer->SetFillColor(kSelection);
        buffer->FillRect({box.x - 1, box.y, widthOf(text) + 2, box.height});
    }
    buffer->SetTextColor(failed_ ? kFailedText : kOpaqueBlack);
    buffer->DrawText(text, {box.x - scrolled, box.y, box.width, box.height});
    buffer->SetFillColor(kOpaqueBlack);
    buffer->FillRect({box.x - scrolled + caret, box.y + 1, 1, box.height - 2});
}

bool CValueFieldGroup::OnMouseDown()
{
    if (GetRect().Contains(GetOwner()->GetMousePosition())) {
        line_.Unselect();
        Refresh();
        return true;
    }
    TakeText();
    Close();
    return true;
}

bool CValueFieldGroup::OnKeyDown(int key)
{
    if (key == kKeyEscape || (key == kKeyEnter && TakeText())) {
        Close();
        return true;
    }
    failed_ = key == kKeyEnter;
    line_.Press(key);
    Refresh();
    return true;
}

/// The control may have gone while the field was open.
bool CValueFieldGroup::ControlIsThere() const
{
    for (CControlGroup* group = GetOwner()->GetRootGroup(); group != nullptr;
         group = group->GetNext())
        for (CControl* control = group->GetFirstControl(); control != nullptr;
             control = control->GetNext())
            if (control == control_)
                return true;
    return false;
}

/// @return false when the text isn't understood
bool CValueFieldGroup::TakeText()
{
    const bool typed = !line_.IsAllSelected();
    return !typed || !ControlIsThere() || GetOwner()->SetValueFromText(control_, line_.Text());
}

void CValueFieldGroup::Close()
{
    if (!SetHidden(true))
        return;
    CWindowPort* port = GetOwner();
    SetModal(false);
    port->RemoveGroupLater(this);
    port->RedrawAll();
    port->PresentAll();
    if (IsFocusGroup() && ControlIsThere())
        control_->SetFocus(); // Enter opens it again
}

} // namespace keldra
