#include "gui/ValueField.h"

#include <algorithm>
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

CValueFieldGroup::CValueFieldGroup(CControl& control, std::string text)
    : control_(&control), line_(std::move(text))
{
}

bool CValueFieldGroup::Open(CWindowPort& port, CControl& control)
{
    // The text that the pop-up shows, so that small changes need few keys.
    const std::string text = control.GetValueText().substr(0, kLongestText);
    if (text.empty())
        return false;
    std::unique_ptr<CValueFieldGroup> group(new CValueFieldGroup(control, text));
    CValueFieldGroup& field = *group;
    PixelRect place = CControlKnob::PopupPlace(control.GetRect(), kFieldSize, port.GetSize());
    place.x = std::max(std::min(place.x, port.GetSize().width - place.width), 0);
    field.SetRect(place);
    if (!port.AddGroup(std::move(group)))
        return false;
    field.SetFocusGroup();
    field.SetModal(true);
    field.Refresh();
    return true;
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

    DrawTextLine(*buffer, line_, {x + 10, y + 9, width - 20, height - 18},
                 {failed_ ? kFailedText : kOpaqueBlack, kSelection, kOpaqueBlack, true});
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
