#include <array>

#include "gui/GraphicBuffer.h"

// The two pieces that pop-ups are made of: a soft shadow and a panel with softened corners.

namespace keldra {

namespace {

constexpr int kShadowSize = 9;

/// Darkness of a shadow's corner, 0 .. 255; row 0 and column 0 lie outside. The last row is the
/// profile of the edges.
constexpr std::array<std::array<std::uint8_t, kShadowSize>, kShadowSize> kShadow{{
    {0, 0, 0, 0, 2, 3, 5, 6, 9},
    {0, 0, 0, 1, 5, 8, 12, 16, 19},
    {0, 0, 1, 6, 11, 17, 24, 31, 37},
    {0, 1, 6, 13, 21, 32, 42, 52, 59},
    {2, 4, 11, 21, 35, 48, 62, 76, 87},
    {3, 8, 17, 32, 48, 68, 88, 108, 123},
    {5, 12, 24, 42, 63, 88, 113, 135, 152},
    {6, 16, 31, 52, 77, 108, 135, 158, 177},
    {9, 19, 37, 59, 87, 123, 152, 177, 197},
}};

// Coverage of a panel's corners, 0 .. 255; row 0 and column 0 lie in the corner.
constexpr int kOutlineCorner = 4;
constexpr std::array<std::array<std::uint8_t, kOutlineCorner>, kOutlineCorner> kOutlineCoverage{{
    {0, 68, 197, 223},
    {68, 246, 255, 255},
    {197, 255, 255, 255},
    {223, 255, 255, 255},
}};
constexpr int kBodyCorner = 3;
constexpr std::array<std::array<std::uint8_t, kBodyCorner>, kBodyCorner> kBodyCoverage{{
    {6, 179, 224},
    {179, 255, 255},
    {224, 255, 255},
}};

/// Calls visit(x, y, value) for the four mirrored images of a table, row 0 and column 0 outermost.
template <std::size_t Size, typename Visit>
void VisitCorners(const PixelRect& rect,
                  const std::array<std::array<std::uint8_t, Size>, Size>& table, const Visit& visit)
{
    const int right = rect.x + rect.width - 1;
    const int bottom = rect.y + rect.height - 1;
    for (int row = 0; row < static_cast<int>(Size); ++row)
        for (int column = 0; column < static_cast<int>(Size); ++column) {
            const unsigned value =
                table[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
            visit(rect.x + column, rect.y + row, value);
            visit(right - column, rect.y + row, value);
            visit(rect.x + column, bottom - row, value);
            visit(right - column, bottom - row, value);
        }
}

/// @param factor  0 leaves the coverage, 1 makes it full
unsigned FilledUp(unsigned coverage, float factor)
{
    return coverage +
           ChannelFrom(static_cast<double>(255 - coverage) * static_cast<double>(factor));
}

/// Puts the pen as it was.
class CPenKept {
public:
    explicit CPenKept(CGraphicBuffer& buffer)
        : buffer_(buffer), color_(buffer.GetPenColor()), width_(buffer.GetPenWidth())
    {
    }
    ~CPenKept()
    {
        buffer_.SetPenColor(color_);
        buffer_.SetPenWidth(width_);
    }
    CPenKept(const CPenKept&) = delete;
    CPenKept& operator=(const CPenKept&) = delete;

private:
    CGraphicBuffer& buffer_;
    Color color_;
    int width_;
};

/// A channel after the shadow fell on it: a fraction in single precision, made a whole number again
/// in double precision like every channel.
unsigned Darkened(unsigned channel, float light)
{
    const float fraction = static_cast<float>(channel) / 255.0f * light;
    return ChannelFrom(static_cast<double>(fraction) * 255.0);
}

} // namespace

void CGraphicBuffer::DrawShadow(const PixelRect& frame)
{
    if (!IsValid())
        return;
    const PixelRect rect = Limited(frame);
    VisitCorners(rect, kShadow, [this](int x, int y, unsigned darkness) {
        if (!clip_.Contains({x, y}))
            return;
        std::uint32_t& pixel = Row(y)[x];
        const float light = 1.0f - static_cast<float>(darkness) / 255.0f;
        pixel = Rgba(Darkened(RedOf(pixel), light), Darkened(GreenOf(pixel), light),
                     Darkened(BlueOf(pixel), light), 0);
    });

    const CPenKept pen(*this);
    SetPenWidth(1);
    const int left = rect.x + kShadowSize;
    const int right = rect.x + rect.width - kShadowSize;
    const int top = rect.y + kShadowSize;
    const int bottom = rect.y + rect.height - kShadowSize;
    for (int i = 0; i < kShadowSize; ++i) {
        SetPenColor(Rgba(0, 0, 0, kShadow[kShadowSize - 1][static_cast<std::size_t>(i)]));
        if (left < right) {
            DrawLine(left, rect.y + i, right, rect.y + i);
            DrawLine(left, rect.y + rect.height - 1 - i, right, rect.y + rect.height - 1 - i);
        }
        if (top < bottom) {
            DrawLine(rect.x + i, top, rect.x + i, bottom);
            DrawLine(rect.x + rect.width - 1 - i, top, rect.x + rect.width - 1 - i, bottom);
        }
    }
}

void CGraphicBuffer::DrawPanel(const PixelRect& panel, ECorners corners, float shade,
                               float cornerFactor)
{
    if (!IsValid())
        return;
    const PixelRect rect = Limited(panel);
    const float factor = cornerFactor > 0.0f ? std::min(cornerFactor, 1.0f) : 0.0f;
    PixelRect body = rect;
    if (corners == ECorners::Rounded) {
        DrawPanelOutline(rect, factor);
        body = {rect.x + 1, rect.y + 1, rect.width - 2, rect.height - 2};
    }

    const Color fill = GetFillColor();
    const PixelRect parts[] = {
        {body.x + kBodyCorner, body.y, body.width - 2 * kBodyCorner, body.height},
        {body.x, body.y + kBodyCorner, kBodyCorner, body.height - 2 * kBodyCorner},
        {body.x + body.width - kBodyCorner, body.y + kBodyCorner, kBodyCorner,
         body.height - 2 * kBodyCorner},
    };
    for (const PixelRect& part : parts) {
        if (shade == 1.0f)
            FillRect(part);
        else
            FillVerticalGradient(part, fill, Scaled(fill, shade));
    }
    DrawPanelCorners(body, shade, factor);
}

void CGraphicBuffer::DrawPanelOutline(const PixelRect& rect, float cornerFactor)
{
    const Color color = GetPenColor();
    VisitCorners(rect, kOutlineCoverage, [&](int x, int y, unsigned coverage) {
        MixPixel(x, y, color, FilledUp(coverage, cornerFactor));
    });
    const CPenKept pen(*this);
    SetPenWidth(1);
    const int left = rect.x + kOutlineCorner;
    const int right = rect.x + rect.width - kOutlineCorner;
    const int top = rect.y + kOutlineCorner;
    const int bottom = rect.y + rect.height - kOutlineCorner;
    if (top < bottom) {
        DrawLine(rect.x, top, rect.x, bottom);
        DrawLine(rect.x + rect.width - 1, top, rect.x + rect.width - 1, bottom);
    }
    if (left < right) {
        DrawLine(left, rect.y, right, rect.y);
        DrawLine(left, rect.y + rect.height - 1, right, rect.y + rect.height - 1);
    }
}

void CGraphicBuffer::DrawPanelCorners(const PixelRect& body, float shade, float cornerFactor)
{
    const Color fill = GetFillColor();
    const auto height = static_cast<float>(std::max(body.height, 1));
    VisitCorners(body, kBodyCoverage, [&](int x, int y, unsigned coverage) {
        Color color = fill;
        if (shade != 1.0f) {
            const float t = static_cast<float>(y - body.y) / height;
            color = Scaled(fill, (1.0f - t) + t * shade);
        }
        MixPixel(x, y, color, FilledUp(coverage, cornerFactor));
    });
}

/// Moves a pixel toward a colour, by coverage and the colour's alpha; its alpha stays.
void CGraphicBuffer::MixPixel(int x, int y, Color color, unsigned coverage)
{
    if (!clip_.Contains({x, y}))
        return;
    std::uint32_t& pixel = Row(y)[x];
    const unsigned full = 255 * 255;
    const unsigned weight = coverage * AlphaOf(color);
    const auto mixed = [=](unsigned from, unsigned to) {
        return (from * (full - weight) + to * weight) / full; // exact where fractions would round
    };
    pixel = Rgba(mixed(RedOf(pixel), RedOf(color)), mixed(GreenOf(pixel), GreenOf(color)),
                 mixed(BlueOf(pixel), BlueOf(color)), AlphaOf(pixel));
}

} // namespace keldra
