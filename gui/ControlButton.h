#pragma once

#include "gui/ControlDisplay.h"

namespace keldra {

/// A switch, drawn from a picture with its states stacked top to bottom, or as a panel with a
/// label.
class CControlButton : public CControlDisplay {
public:
    using CControlDisplay::CControlDisplay;

    void Draw() override;
    bool OnMouseDown() override;
    bool OnMouseUp() override;
    void OnTimer() override;
    void OnDragLost() override;
    void DrawFrame() override;

    virtual void SetMomentary() { mode_ = EMode::Momentary; }     ///< on while it is held down
    virtual void SetToggle() { mode_ = EMode::Toggle; }           ///< as it is at first
    virtual void SetPressToggle() { mode_ = EMode::PressToggle; } ///< with a pressed look
    virtual void SetAnimatedToggle() { mode_ = EMode::AnimatedToggle; } ///< its light fades

    /// Takes the size of a frame for its own. Frames: off, on; for PressToggle off, off pressed,
    /// on, on pressed: so the mode is chosen first. @param image  not owned. @param frameSize where
    /// a number is below 1, the image's width, or its height divided by the frames
    void SetButtonImage(const CGraphicBuffer* image, PixelSize frameSize = {},
                        PixelPoint from = {});

private:
    enum class EMode : std::uint8_t { Momentary, Toggle, PressToggle, AnimatedToggle };

    void Toggle();
    void Release();
    [[nodiscard]] bool IsLit() const;

    const CGraphicBuffer* image_ = nullptr;
    PixelSize frameSize_;
    PixelPoint source_;
    Color offColor_ = Rgb(80, 80, 80);
    Color onColor_ = Rgb(60, 60, 60);
    EMode mode_ = EMode::Toggle;
    float light_ = 0.0f; ///< of AnimatedToggle, 0 .. 1
};

} // namespace keldra
