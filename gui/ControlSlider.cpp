#include "gui/ControlSlider.h"

#include "gui/Numbers.h"

namespace keldra {

CControlSlider::CControlSlider(int paramIndex) : CControlKnob(paramIndex)
{
    StoreRect({0, 0, 20, 100});
}

void CControlSlider::SetHandleImage(const CGraphicBuffer* image, PixelPoint from, PixelSize size)
{
    handle_ = image;
    handleSource_ = from;
    handleSize_ = size;
    if (image != nullptr && size.height <= 0)
        handleSize_.height = image->GetSize().height;
    if (image != nullptr && size.width <= 0)
        handleSize_.width = image->GetSize().width;
}

PixelPoint CControlSlider::HandlePosition(const PixelRect& control, PixelSize handle, float value)
{
    const float spareX = static_cast<float>(control.width - handle.width);
    const float spareY = static_cast<float>(control.height - handle.height);
    const bool vertical = control.width < control.height;
    const float x = static_cast<float>(control.x) + (vertical ? spareX * 0.5f : value * spareX);
    const float y =
        static_cast<float>(control.y) + (vertical ? (1.0f - value) * spareY : spareY * 0.5f);
    return {Truncated(static_cast<double>(x)), Truncated(static_cast<double>(y))};
}

void CControlSlider::Draw()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr || !buffer->SetClip(GetRect()))
        return;
    buffer->ResetPen();
    Erase();
    if (handle_ == nullptr)
        return;
    const PixelPoint at = HandlePosition(GetRect(), handleSize_, ShownValue());
    handle_->CopyTo(*buffer, {at.x, at.y, handleSize_.width, handleSize_.height}, handleSource_);
}

} // namespace keldra
