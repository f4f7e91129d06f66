#include "gui/TextLine.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "gui/Fonts.h"
#include "platform/Window.h"

namespace keldra {

namespace {

bool IsInsideCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

std::string Encoded(int character)
{
    const auto code = static_cast<unsigned>(character);
    const auto tail = [code](unsigned shift) {
        return static_cast<char>(0x80 | (code >> shift & 0x3f));
    };
    if (code < 0x80)
        return {static_cast<char>(code)};
    if (code < 0x800)
        return {static_cast<char>(0xc0 | code >> 6), tail(0)};
    if (code < 0x10000)
        return {static_cast<char>(0xe0 | code >> 12), tail(6), tail(0)};
    return {static_cast<char>(0xf0 | code >> 18), tail(12), tail(6), tail(0)};
}

int WidthOf(CGraphicBuffer& buffer, std::string_view text)
{
    return buffer.DrawText(Drawable(text), {}, ETextPass::MeasureOnly).width;
}

int CaretColumn(CGraphicBuffer& buffer, const CTextLine& line)
{
    const std::string_view before = std::string_view(line.Text()).substr(0, line.Caret());
    return line.Text().empty() ? 0 : WidthOf(buffer, before) + 1;
}

/// How far the text is moved to the left for the caret to be in sight.
int Scrolled(CGraphicBuffer& buffer, const CTextLine& line, const PixelRect& box)
{
    return std::max(CaretColumn(buffer, line) - (box.width - 2), 0);
}

} // namespace

std::size_t CTextLine::Before(std::size_t at) const
{
    while (at > 0 && IsInsideCharacter(text_[--at])) {
    }
    return at;
}

std::size_t CTextLine::After(std::size_t at) const
{
    while (at < text_.size() && ++at < text_.size() && IsInsideCharacter(text_[at])) {
    }
    return at;
}

void CTextLine::Remove(std::size_t from, std::size_t to)
{
    text_.erase(from, to - from);
    caret_ = from;
}

void CTextLine::SetText(std::string text)
{
    text_ = std::move(text);
    caret_ = text_.size();
    allSelected_ = true;
}

void CTextLine::PlaceCaret(std::size_t bytes)
{
    caret_ = std::min(bytes, text_.size());
    allSelected_ = false;
}

bool CTextLine::Press(int key)
{
    const bool replaces = std::exchange(allSelected_, false);
    switch (key) {
    case kKeyLeft:
        caret_ = replaces ? 0 : Before(caret_);
        return true;
    case kKeyRight:
        caret_ = After(caret_);
        return true;
    case kKeyHome:
        caret_ = 0;
        return true;
    case kKeyEnd:
        caret_ = text_.size();
        return true;
    case kKeyBackspace:
        Remove(replaces ? 0 : Before(caret_), replaces ? text_.size() : caret_);
        return true;
    case kKeyDelete:
        Remove(replaces ? 0 : caret_, replaces ? text_.size() : After(caret_));
        return true;
    default:
        break;
    }
    const bool isControl = key < ' ' || (key >= 0x7f && key < 0xa0) || key > 0x10ffff;
    if (isControl || (characters_ == ECharacters::Ascii && key > '~')) {
        allSelected_ = replaces;
        return false;
    }
    if (replaces)
        Remove(0, text_.size());
    const std::string typed = Encoded(key);
    if (text_.size() + typed.size() > longest_)
        return false;
    text_.insert(caret_, typed);
    caret_ += typed.size();
    return true;
}

void DrawTextLine(CGraphicBuffer& buffer, const CTextLine& line, const PixelRect& box,
                  const TextLineLook& look)
{
    if (!buffer.SetClip(box))
        return;
    buffer.SelectRegularFont();
    buffer.AlignTextLeft();
    const std::string& text = line.Text();
    const int scrolled = look.hasCaret ? Scrolled(buffer, line, box) : 0;
    if (look.hasCaret && line.IsAllSelected() && !text.empty()) {
        buffer.SetFillColor(look.selection);
        buffer.FillRect({box.x - scrolled - 1, box.y, WidthOf(buffer, text) + 2, box.height});
    }
    buffer.SetTextColor(look.text);
    buffer.DrawText(Drawable(text), {box.x - scrolled, box.y, box.width, box.height});
    if (!look.hasCaret)
        return;
    buffer.SetFillColor(look.caret);
    buffer.FillRect({box.x - scrolled + CaretColumn(buffer, line), box.y + 1, 1, box.height - 2});
}

std::size_t PlaceInTextLine(CGraphicBuffer& buffer, const CTextLine& line, const PixelRect& box,
                            int x)
{
    buffer.SelectRegularFont();
    const std::string_view text = line.Text();
    const int wanted = x - box.x + Scrolled(buffer, line, box);
    int left = 0;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t next = at + 1;
        while (next < text.size() && IsInsideCharacter(text[next]))
            ++next;
        const int right = WidthOf(buffer, text.substr(0, next)) + 1;
        if (wanted < (left + right) / 2)
            return at;
        left = right;
        at = next;
    }
    return text.size();
}

} // namespace keldra
