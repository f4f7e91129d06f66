#pragma once

#include "gui/ControlNumber.h"

namespace keldra {

/// A rotary control drawn from a filmstrip: a picture that holds a frame for each angle. While it
/// is dragged its value shows in a pop-up that fades in beside it, if the value has a text. Without
/// a filmstrip it works unseen.
class CControlKnob : public CControlNumber {
public:
    explicit CControlKnob(int paramIndex = -1);

    void Draw() override;
    bool OnMouseDown() override;
    bool OnMouseMove() override;
    void OnTimer() override;
    void OnKillFocus() override;
    void OnRedrawnBeneath() override;

    virtual void SetQuantiseSteps(int steps); ///< the shown value rounds down to 1/steps; 0: not
    virtual void DrawPopup();

    /// Takes the size of a frame for its own. @param image  not owned. @param frameSize  where a
    /// number is below 1, the strip's length along its longer side divided by the frames, or its
    /// whole breadth. @param from  where the strip begins in the image
    void SetFilmstrip(const CGraphicBuffer* image, int frameCount, int firstFrame = 0,
                      PixelSize frameSize = {}, PixelPoint from = {});
    void SetCrossfade(bool on) { crossfade_ = on; } ///< between neighbouring frames; on at first
    void SetReversed(bool on) { reversed_ = on; }   ///< 0 shows the last frame
    void SetPopup(bool on) { hasPopup_ = on; }      ///< on at first
    void SetPopupColors(Color fill, Color outline, Color text);

    /// Where the pop-up of a control appears: below it, or above where the window ends.
    [[nodiscard]] static PixelRect PopupPlace(const PixelRect& control, PixelSize popup,
                                              PixelSize window);

protected:
    [[nodiscard]] float ShownValue() const; ///< quantised, 0 .. 1

private:
    [[nodiscard]] PixelPoint FrameSource(int frame) const;
    void TakeBackground();
    [[nodiscard]] bool ShowsPopup() const { return popup_->background.IsValid(); }

    struct Popup {
        PixelRect rect;
        CGraphicBuffer background; ///< what the window shows under it; empty when closed
        CGraphicBuffer picture;
        float fade = 0.0f;
    };

    bool crossfade_ = true;
    bool hasPopup_ = true;
    PixelSize popupSize_{32, 80};
    Color popupFill_ = Rgb(228, 206, 166);
    Color popupOutline_ = kOpaqueBlack;
    Color popupText_ = kOpaqueBlack;
    const CGraphicBuffer* filmstrip_ = nullptr;
    PixelSize frameSize_;
    int frameCount_ = 0;
    int firstFrame_ = 0;
    bool reversed_ = false;
    PixelPoint source_;
    int quantiseSteps_ = 0;
    CTransient<Popup> popup_;
    CTransient<CGraphicBuffer> blend_; ///< kept, so that a redraw takes no memory
};

} // namespace keldra
