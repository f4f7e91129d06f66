#pragma once

#include "gui/ControlKnob.h"

namespace keldra {

/// A fader: a handle that travels along the control, upward or, where the control is wider than
/// high, to the right. Everything else is a knob's.
class CControlSlider : public CControlKnob {
public:
    explicit CControlSlider(int paramIndex = -1);

    void Draw() override;

    /// @param image  not owned. @param size  where a number isn't positive, the image's
    void SetHandleImage(const CGraphicBuffer* image, PixelPoint from = {}, PixelSize size = {});

    /// Top-left corner of the handle for a value of 0 .. 1.
    [[nodiscard]] static PixelPoint HandlePosition(const PixelRect& control, PixelSize handle,
                                                   float value);

private:
    const CGraphicBuffer* handle_ = nullptr;
    PixelPoint handleSource_;
    PixelSize handleSize_;
};

} // namespace keldra
