#include "gui/ControlDisplay.h"

namespace keldra {

namespace {

constexpr std::size_t kLongestLabel = 255;

} // namespace

void CControlDisplay::Draw()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr)
        return;
    buffer->ResetPen();
    DrawFrame();
    if (!buffer->SetClip(GetRect()))
        return;
    DrawImage(*buffer);
    DrawLabel(*buffer);
}

bool CControlDisplay::OnMouseDown()
{
    if (NotifyPressed())
        NotifyReleased();
    return true;
}

bool CControlDisplay::SetText(std::string_view text)
{
    text = text.substr(0, kLongestLabel);
    if (text == text_)
        return false;
    text_ = text;
    return true;
}

void CControlDisplay::DrawFrame()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (!framed_) {
        EraseRect(GetRect());
        return;
    }
    const auto [x, y, width, height] = GetRect();
    if (buffer == nullptr || !buffer->SetClip(GetRect()))
        return;
    buffer->SetPenColor(kOpaqueBlack);
    buffer->SetPenWidth(1);
    buffer->DrawRect({x, y, width, height});
    buffer->FillVerticalGradient({x + 1, y + 1, width - 2, height - 2}, Rgb(60, 60, 60),
                                 Rgb(40, 40, 40));
}

void CControlDisplay::SetImagePlacement(const PixelRect& to, PixelPoint from)
{
    imagePlace_ = to;
    imageSource_ = from;
}

void CControlDisplay::DrawImage(CGraphicBuffer& buffer) const
{
    if (image_ == nullptr)
        return;
    if (!imagePlace_.IsEmpty()) {
        image_->CopyTo(buffer, imagePlace_, imageSource_);
        return;
    }
    const auto [height, width] = image_->GetSize();
    PixelRect to{GetRect().x, GetRect().y, width, height};
    if (align_ == ETextAlign::Center) {
        to.x += (GetRect().width - width) / 2;
        to.y += (GetRect().height - height) / 2;
    } else if (align_ == ETextAlign::Right) {
        to.x += GetRect().width - width;
    }
    image_->CopyTo(buffer, to, imageSource_);
}

void CControlDisplay::DrawLabel(CGraphicBuffer& buffer) const
{
    if (text_.empty())
        return;
    if (bold_)
        buffer.SelectBoldFont();
    else
        buffer.SelectRegularFont();
    if (align_ == ETextAlign::Left)
        buffer.AlignTextLeft();
    else if (align_ == ETextAlign::Center)
        buffer.AlignTextCenter();
    else
        buffer.AlignTextRight();
    const PixelRect rect = GetRect();
    if (haloStrength_ != 0.0f) {
        buffer.SetTextColor(
            WithAlpha(textColor_, ChannelFrom(static_cast<double>(haloStrength_) * 255.0)));
        constexpr PixelPoint kAround[] = {{-1, -1}, {0, -1}, {1, -1}, {1, 0},
                                          {1, 1},   {0, 1},  {-1, 1}, {-1, 0}};
        for (const auto& [dx, dy] : kAround)
            buffer.DrawText(text_, {rect.x + dx, rect.y + dy, rect.width, rect.height});
    }
    buffer.SetTextColor(textColor_);
    buffer.DrawText(text_, rect);
}

} // namespace keldra
