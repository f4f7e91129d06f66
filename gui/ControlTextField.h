#pragma once

#include "gui/ControlDisplay.h"
#include "gui/TextLine.h"

namespace keldra {

/// A line that the user types into while it has the keyboard's focus; a press places the caret. The
/// editor is told of every change of the text (pressed, changed, released; the value means
/// nothing). Enter, Escape, Tab and the arrows up and down are left to others.
class CControlTextField : public CControlDisplay {
public:
    CControlTextField();

    void Draw() override;
    bool OnDoubleClick() override; ///< selects all
    bool OnMouseDown() override;
    bool OnKeyDown(int key) override;
    void OnFocus() override { DrawAndPresent(); }
    void OnKillFocus() override { DrawAndPresent(); }
    bool SetText(std::string_view text) override; ///< any length; all selected
    [[nodiscard]] const std::string& GetText() const override { return line_.Text(); }

private:
    [[nodiscard]] PixelRect TextBox() const;

    CTextLine line_;
};

} // namespace keldra
