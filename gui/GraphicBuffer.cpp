#include "gui/GraphicBuffer.h"

#include <cstring>
#include <new>

#include "gui/PixelRows.h"
#include "platform/Window.h"

namespace keldra {

namespace {

constexpr std::int64_t kMostPixels = std::int64_t{1} << 29; // 2 GiB, what an int can count in bytes

constexpr int kFarthest = 1 << 29; // no pixel lies farther out

constexpr PixelRect WholeOf(PixelSize size)
{
    return {0, 0, size.width, size.height};
}

} // namespace

bool CGraphicBuffer::Create(PixelSize size)
{
    if (size == size_)
        return true;
    Free();
    if (size.height <= 0 || size.width <= 0)
        return true;
    const std::int64_t count = std::int64_t{size.height} * size.width;
    if (count > kMostPixels)
        return false;
    // calloc: large pictures come as pages of zeros that cost nothing until they are drawn on.
    pixels_.reset(static_cast<std::uint32_t*>(
        std::calloc(static_cast<std::size_t>(count), sizeof(std::uint32_t))));
    if (pixels_ == nullptr)
        return false;
    size_ = size;
    ResetClip();
    return true;
}

void CGraphicBuffer::Clear(Color color)
{
    if (IsValid())
        std::fill_n(pixels_.get(),
                    static_cast<std::size_t>(size_.height) * static_cast<std::size_t>(size_.width),
                    color);
}

void CGraphicBuffer::ResetClip()
{
    clip_ = WholeOf(size_);
}

bool CGraphicBuffer::SetClip(const PixelRect& rect)
{
    clip_ = Intersection(rect, WholeOf(size_));
    if (!clip_.IsEmpty())
        return true;
    ResetClip();
    return false;
}

void CGraphicBuffer::BlitToWindow(CNativeWindow* window, const PixelRect& area) const
{
    if (IsValid() && window != nullptr)
        window->Present(View(), area);
}

void CGraphicBuffer::DrawTo(CGraphicBuffer& destination, const PixelRect& to, PixelPoint from,
                            std::uint8_t opacity) const
{
    if (opacity == 255) {
        CopyTo(destination, to, from);
        return;
    }
    PixelRect area = to;
    if (opacity == 0 || !IsValid() || !destination.IsValid() || !ClipBlit(destination, area, from))
        return;
    const auto count = static_cast<std::size_t>(area.width);
    const auto blendRow = hasAlpha_ ? BlendAlphaRow : BlendRow;
    for (int row = 0; row < area.height; ++row)
        blendRow(destination.Row(area.y + row) + area.x, Row(from.y + row) + from.x, count,
                 opacity);
}

void CGraphicBuffer::CopyTo(CGraphicBuffer& destination, const PixelRect& to, PixelPoint from) const
{
    PixelRect area = to;
    if (!IsValid() || !destination.IsValid() || !ClipBlit(destination, area, from))
        return;
    const auto count = static_cast<std::size_t>(area.width);
    for (int row = 0; row < area.height; ++row) {
        std::uint32_t* toRow = destination.Row(area.y + row) + area.x;
        const std::uint32_t* fromRow = Row(from.y + row) + from.x;
        if (hasAlpha_)
            BlendAlphaRow(toRow, fromRow, count, 256);
        else
            std::memcpy(toRow, fromRow, count * sizeof(std::uint32_t));
    }
}

void CGraphicBuffer::DrawToF(CGraphicBuffer& destination, const PixelRect& to, PixelPoint from,
                             float opacity) const
{
    DrawTo(destination, to, from,
           static_cast<std::uint8_t>(ChannelFrom(static_cast<double>(opacity) * 255.0)));
}

void CGraphicBuffer::SetPenWidth(int pixels)
{
    state_.penWidth = std::clamp(pixels, 1, 32);
}

PixelRect CGraphicBuffer::Limited(const PixelRect& rect)
{
    const auto limit = [](int value) { return std::clamp(value, -kFarthest, kFarthest); };
    return {limit(rect.x), limit(rect.y), limit(rect.width), limit(rect.height)};
}

bool CGraphicBuffer::ClipToBuffer(PixelRect& rect) const
{
    rect = Intersection(rect, clip_);
    return !rect.IsEmpty();
}

bool CGraphicBuffer::ClipBlit(const CGraphicBuffer& destination, PixelRect& to,
                              PixelPoint& from) const
{
    const std::int64_t skippedX =
        std::max(std::int64_t{destination.clip_.x} - to.x, std::int64_t{0});
    const std::int64_t skippedY =
        std::max(std::int64_t{destination.clip_.y} - to.y, std::int64_t{0});
    const PixelRect source = Intersection({from.x, from.y, to.width, to.height}, clip_);
    if (source.IsEmpty())
        return false;
    to = Intersection({to.x, to.y, source.width, source.height}, destination.clip_);
    if (to.IsEmpty())
        return false;
    // With something left to draw, what was skipped is less than the source's size: both fit.
    from = {source.x + static_cast<int>(skippedX), source.y + static_cast<int>(skippedY)};
    return true;
}

void CGraphicBuffer::Free()
{
    pixels_.reset();
    size_ = {};
    clip_ = {};
    hasAlpha_ = false;
}

void CGraphicBuffer::SetPixel(int x, int y, Color color)
{
    if (clip_.Contains({x, y}))
        Row(y)[x] = color;
}

Color CGraphicBuffer::GetPixel(int x, int y) const
{
    return WholeOf(size_).Contains({x, y}) ? Row(y)[x] : kOpaqueBlack;
}

} // namespace keldra
