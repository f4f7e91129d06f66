#pragma once

#include "gui/Control.h"

namespace keldra {

/// A row or column of tabs, one for each position of a selector. The picture has a column for each
/// position (or one for all): the upper half shows the tab as it is, the lower half selected.
/// The wheel steps to the neighbouring tab; a double click with Ctrl lets the user type the value.
class CControlStateSelector : public CControl {
public:
    using CControl::CControl;

    void Draw() override;
    bool OnDoubleClick() override;
    bool OnMouseDown() override;
    bool OnMouseUp() override;
    bool OnWheel(int axis, float steps) override;
    void OnKillFocus() override;
    void OnDragLost() override { OnKillFocus(); }

    virtual void SetPositions(int positions); ///< at least 1; others are ignored
    [[nodiscard]] virtual int GetPositions() const { return positions_; }
    virtual void SetTabSteps(int stepY, int stepX) { step_ = {stepX, stepY}; }

    /// Takes the size of all tabs for its own, so the number of positions is set first.
    /// @param image  not owned. @param tabSize  where a number is below 1, the image's width
    /// (shared among the positions unless one image serves all), and half the image's height (a
    /// quarter when momentary). @param from  where the tabs begin in the image, and on the control
    void SetTabImage(const CGraphicBuffer* image, bool vertical, bool oneImageForAll = false,
                     PixelSize tabSize = {}, PixelPoint from = {});
    void SetReversed(bool on) { reversed_ = on; }   ///< position 0 at the far end
    void SetMomentary(bool on) { momentary_ = on; } ///< a pressed look while the button is held

    /// The position that a value shows, also from just below it: as many as there are positions for
    /// "none".
    [[nodiscard]] static int PositionOf(float value, int positions);

private:
    [[nodiscard]] int TabAt(PixelPoint at) const; ///< -1 for none
    [[nodiscard]] float ValueOfTab(int tab) const;
    void Release();

    bool reversed_ = false;
    const CGraphicBuffer* image_ = nullptr;
    PixelSize tabSize_;
    PixelPoint source_;
    bool oneImageForAll_ = false;
    int positions_ = 1;
    PixelPoint step_;
    bool momentary_ = false;
    CTransient<float> wheelRest_; ///< of a notch, from smooth devices
};

} // namespace keldra
