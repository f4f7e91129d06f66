#pragma once

#include <string>

#include "gui/ControlGroup.h"

namespace keldra {

/// The line of text of a value field: editing only, no drawing, no window.
class CTextLine {
public:
    explicit CTextLine(std::string text) : text_(std::move(text)), caret_(text_.size()) {}

    [[nodiscard]] const std::string& Text() const { return text_; }
    [[nodiscard]] std::size_t Caret() const { return caret_; }        ///< characters before it
    [[nodiscard]] bool IsAllSelected() const { return allSelected_; } ///< typing replaces the text
    /// @param key  an EKey or a character; ASCII is typed. @return whether anything changed
    bool Press(int key);
    void Unselect() { allSelected_ = false; }

private:
    std::string text_;
    std::size_t caret_;
    bool allSelected_ = true;
};

/// A small field over a control in which its value is typed: a group of its own, modal while it is
/// there. Enter and a press outside take the text, Escape and a loss of the focus don't. A text
/// that can't be understood stays, in red, for Enter; a press outside gives it up.
class CValueFieldGroup : public CControlGroup {
public:
    static void Open(CWindowPort& port, CControl& control);

    void Draw() override;
    bool OnMouseDown() override;
    bool OnDoubleClick() override { return OnMouseDown(); }
    bool OnKeyDown(int key) override;
    bool OnKeyUp(int) override { return true; } // none of them is the host's
    void OnKillFocus() override { Close(); }

private:
    CValueFieldGroup(CControl& control, std::string text);

    [[nodiscard]] bool ControlIsThere() const;
    bool TakeText();
    void Close();
    void Refresh();

    CControl* control_;
    CTextLine line_;
    bool failed_ = false; ///< the text was not understood
};

} // namespace keldra
