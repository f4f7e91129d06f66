#include "gui/GraphicBuffer.h"
#include "gui/PixelRows.h"

namespace keldra {

namespace {

/// The way from one colour to another in steps of 16.16, each division truncating toward zero, so
/// that a channel never leaves the range between its two ends.
class CColorPath {
public:
    CColorPath(Color from, Color to, int steps)
        : ramp_{Channel(BlueOf(from), BlueOf(to), steps),
                Channel(GreenOf(from), GreenOf(to), steps), Channel(RedOf(from), RedOf(to), steps),
                Channel(AlphaOf(from), AlphaOf(to), steps)}
    {
    }

    [[nodiscard]] const ColorRamp& Now() const { return ramp_; }

    void Step()
    {
        for (ChannelRamp* channel : {&ramp_.blue, &ramp_.green, &ramp_.red, &ramp_.alpha})
            channel->value += channel->step;
    }

private:
    static ChannelRamp Channel(unsigned from, unsigned to, int steps)
    {
        const int start = static_cast<int>(from) * 65536;
        const int end = static_cast<int>(to) * 65536;
        return {start, steps > 0 ? (end - start) / steps : 0};
    }

    ColorRamp ramp_;
};

ColorRamp Between(const ColorRamp& left, const ColorRamp& right, int steps)
{
    const auto channel = [steps](const ChannelRamp& from, const ChannelRamp& to) {
        return ChannelRamp{from.value, steps > 0 ? (to.value - from.value) / steps : 0};
    };
    return {channel(left.blue, right.blue), channel(left.green, right.green),
            channel(left.red, right.red), channel(left.alpha, right.alpha)};
}

} // namespace

void CGraphicBuffer::FillRect(const PixelRect& rect)
{
    PixelRect area = rect;
    const unsigned alpha = AlphaOf(state_.fillColor);
    if (!IsValid() || alpha == 0 || !ClipToBuffer(area))
        return;
    const auto count = static_cast<std::size_t>(area.width);
    for (int y = area.y; y < area.y + area.height; ++y) {
        std::uint32_t* row = Row(y) + area.x;
        if (alpha == 255)
            std::fill_n(row, count, WithAlpha(state_.fillColor, 0));
        else
            TintRow(row, count, state_.fillColor, alpha);
    }
}

void CGraphicBuffer::FillGradient(const PixelRect& rect, Color topLeft, Color topRight,
                                  Color bottomRight, Color bottomLeft)
{
    if (!IsValid())
        return;
    if (topLeft == topRight && topRight == bottomRight && bottomRight == bottomLeft) {
        const Color saved = GetFillColor();
        SetFillColor(topLeft);
        FillRect(rect);
        SetFillColor(saved);
        return;
    }
    PixelRect area = rect;
    if (!ClipToBuffer(area))
        return;
    // The left edge never quite reaches its upper colour, the right edge does: the skin knows.
    CColorPath left(bottomLeft, topLeft, rect.height);
    CColorPath right(bottomRight, topRight, rect.height - 1);
    for (int y = area.y + area.height - 1; y >= area.y; --y) {
        BlendRampRow(Row(y) + area.x, static_cast<std::size_t>(area.width),
                     Between(left.Now(), right.Now(), rect.width - 1));
        left.Step();
        right.Step();
    }
}

void CGraphicBuffer::FillRectColors(const PixelRect& rect, const Color* colors)
{
    if (colors == nullptr)
        FillRect(rect);
    else
        FillGradient(rect, colors[0], colors[1], colors[2], colors[3]);
}

void CGraphicBuffer::FillVerticalGradient(const PixelRect& rect, Color top, Color bottom)
{
    FillGradient(rect, top, top, bottom, bottom);
}

void CGraphicBuffer::FillHorizontalGradient(const PixelRect& rect, Color left, Color right)
{
    FillGradient(rect, left, right, right, left);
}

void CGraphicBuffer::DrawRect(const PixelRect& rect)
{
    const Color saved = GetFillColor();
    SetFillColor(GetPenColor());
    const int pen = std::max(GetPenWidth(), 1);
    const auto [x, y, width, height] = Limited(rect);
    FillRect({x, y, pen, height});
    FillRect({x + width - pen, y, pen, height});
    FillRect({x + pen, y, width - 2 * pen, pen});
    FillRect({x + pen, y + height - pen, width - 2 * pen, pen});
    SetFillColor(saved);
}

} // namespace keldra
