#include "gui/ControlTextField.h"

#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr std::size_t kLongestText = 1000; // bytes
constexpr Color kSelection = Rgb(110, 98, 75);
constexpr Color kCaret = Rgb(247, 223, 180);

} // namespace

CControlTextField::CControlTextField() : line_({}, kLongestText, CTextLine::ECharacters::Unicode)
{
    SetFramed();
}

PixelRect CControlTextField::TextBox() const
{
    const PixelRect rect = GetRect();
    return {rect.x + 6, rect.y + 3, rect.width - 12, rect.height - 6};
}

void CControlTextField::Draw()
{
    CGraphicBuffer* const buffer = GetBuffer();
    if (buffer == nullptr)
        return;
    buffer->ResetPen();
    DrawFrame();
    DrawTextLine(*buffer, line_, TextBox(), {GetTextColor(), kSelection, kCaret, HasFocus()});
}

bool CControlTextField::OnDoubleClick()
{
    SetText(std::string(line_.Text()));
    DrawAndPresent();
    return true;
}

bool CControlTextField::OnMouseDown()
{
    CGraphicBuffer* const buffer = GetBuffer();
    if (buffer == nullptr)
        return false;
    const bool hadFocus = HasFocus();
    SetFocus();
    if (hadFocus || !line_.IsAllSelected())
        line_.PlaceCaret(
            PlaceInTextLine(*buffer, line_, TextBox(), GetWindowPort()->GetMousePosition().x));
    DrawAndPresent();
    return true;
}

bool CControlTextField::OnKeyDown(int key)
{
    if (!HasFocus())
        return false;
    const std::string before = line_.Text();
    const bool wasSelected = line_.IsAllSelected();
    const std::size_t caret = line_.Caret();
    if (!line_.Press(key))
        return false;
    if (line_.Text() != before && NotifyPressed()) {
        if (!NotifyChanged(GetValue())) {
            line_.SetText(before);
            line_.PlaceCaret(caret);
        }
        NotifyReleased();
    }
    if (wasSelected || line_.Text() != before || line_.Caret() != caret)
        DrawAndPresent();
    return true;
}

bool CControlTextField::SetText(std::string_view text)
{
    const bool changes = text != line_.Text();
    line_.SetText(std::string(text));
    return changes;
}

} // namespace keldra
