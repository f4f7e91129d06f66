#pragma once

#include <cstddef>
#include <string>

#include "gui/GraphicBuffer.h"

namespace keldra {

/// A line of text that is being typed: editing only, no window.
class CTextLine {
public:
    enum class ECharacters { Ascii, Unicode }; ///< what can be typed

    explicit CTextLine(std::string text, std::size_t longest = 32,
                       ECharacters characters = ECharacters::Ascii)
        : longest_(longest), characters_(characters)
    {
        SetText(std::move(text));
    }

    [[nodiscard]] const std::string& Text() const { return text_; }   ///< UTF-8
    [[nodiscard]] std::size_t Caret() const { return caret_; }        ///< bytes before it
    [[nodiscard]] bool IsAllSelected() const { return allSelected_; } ///< typing replaces the text
    /// @param key  an EKey or a character. @return whether it was taken
    bool Press(int key);
    /// All selected, the caret at the end. Longer than can be typed is allowed.
    void SetText(std::string text);
    void PlaceCaret(std::size_t bytes); ///< nothing is selected then; limited
    void Unselect() { allSelected_ = false; }

private:
    [[nodiscard]] std::size_t Before(std::size_t at) const; ///< one character back
    [[nodiscard]] std::size_t After(std::size_t at) const;
    void Remove(std::size_t from, std::size_t to);

    std::string text_;
    std::size_t caret_ = 0;
    bool allSelected_ = true;
    std::size_t longest_; ///< bytes
    ECharacters characters_;
};

/// How such a line is drawn.
struct TextLineLook {
    Color text = kOpaqueBlack;
    Color selection = 0;
    Color caret = kOpaqueBlack;
    bool hasCaret = true; ///< and shows the selection
};

/// Draws a line so that its caret is in sight, in the regular font; leaves the clip at the box.
void DrawTextLine(CGraphicBuffer& buffer, const CTextLine& line, const PixelRect& box,
                  const TextLineLook& look);

/// Where in the text a column of the window lies, in bytes: between the two characters next to it.
[[nodiscard]] std::size_t PlaceInTextLine(CGraphicBuffer& buffer, const CTextLine& line,
                                          const PixelRect& box, int x);

} // namespace keldra
