#pragma once

#include <string>

#include "gui/ControlGroup.h"
#include "gui/TextLine.h"

namespace keldra {

/// A small field over a control in which its value is typed: a group of its own, modal while it is
/// there. Enter and a press outside take the text, Escape and a loss of the focus don't. A text
/// that can't be understood stays, in red, for Enter; a press outside gives it up.
class CValueFieldGroup : public CControlGroup {
public:
    static bool Open(CWindowPort& port, CControl& control);

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
