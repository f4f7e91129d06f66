#pragma once

#include "gui/ControlMenu.h"

namespace keldra {

/// A menu's list drawn in the control's own rectangle, always open. A press chooses a row, the
/// wheel scrolls, and with the keyboard's focus the arrows, page keys, Home and End choose.
class CControlList : public CControlMenu {
public:
    using CControlMenu::CControlMenu;

    void Draw() override;
    bool OnDoubleClick() override;
    bool OnMouseDown() override;
    bool OnMouseUp() override;
    bool OnMouseMove() override;
    bool OnWheel(int axis, float steps) override;
    bool OnKeyDown(int key) override;
    void OnTimer() override;
    void OnKillFocus() override {}
    void OnDragLost() override;
    MenuItem& NewItem() override;

    void ShowItem(int index); ///< scrolls as little as it takes; doesn't draw
    [[nodiscard]] float GetScrollOffset() const { return ScrollOffset(); } ///< first row shown
    void SetScrollOffset(float firstRow) { ScrollTo(firstRow); }           ///< limited

protected:
    [[nodiscard]] Layout CurrentLayout() const override;
    void RefreshItems() override { DrawAndPresent(); }
};

} // namespace keldra
