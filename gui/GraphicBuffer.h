#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "gui/Color.h"
#include "platform/Pixels.h"

namespace keldra {

class CNativeWindow;

enum class ETextAlign { Left, Center, Right };
enum class EFont : std::uint8_t { Regular, Bold };
enum class ECorners { Square, Rounded };
enum class ETextPass { MeasureAndDraw, MeasureOnly };

/// A picture in memory and the means to draw into it: blits, fills, lines, text, and the shadow and
/// panel that every pop-up is made of.
///
/// Pixels are 32 bits (see Color), rows are kept from the bottom up without padding: pixel (x, y),
/// y counted downward, is word (height - 1 - y) x width + x. All coordinates are counted downward.
/// Everything but Clear stays inside the clip rectangle, which is limited once, on entry. Any
/// rectangle is allowed. Nothing happens on an empty buffer. One thread at a time; many may read.
class CGraphicBuffer {
public:
    CGraphicBuffer() = default;
    CGraphicBuffer(const CGraphicBuffer&) = delete;
    CGraphicBuffer& operator=(const CGraphicBuffer&) = delete;
    virtual ~CGraphicBuffer() = default;

    /// Makes the picture anew: black, alpha 0, without alpha, clip the whole. The present size
    /// keeps the picture as it is. A size that isn't positive leaves the buffer empty.
    /// @return false when there is no memory or the size is beyond 2^29 pixels; then it is empty
    [[nodiscard]] virtual bool Create(PixelSize size);
    virtual void Clear(Color color); ///< the whole word of every pixel

    // Clip rectangle
    virtual void ResetClip();
    /// @return false when the rectangle lies outside: the clip is then the whole buffer, and who
    /// meant to draw only inside the rectangle has nothing to draw
    virtual bool SetClip(const PixelRect& rect);

    // Blits: this buffer is the source, and another one than the destination. What the
    // destination's clip cuts off at the left and the top is skipped in the source as well.
    /// Shows a part of this buffer in a window. Null: nothing
    virtual void BlitToWindow(CNativeWindow* window, const PixelRect& area) const;
    /// Blends with an opacity of 0 .. 255, and by pixel where this buffer has alpha. The
    /// destination's alpha stays. 255 is CopyTo.
    virtual void DrawTo(CGraphicBuffer& destination, const PixelRect& to, PixelPoint from,
                        std::uint8_t opacity) const;
    /// Copies whole pixels, or blends by each pixel's alpha where this buffer has alpha.
    virtual void CopyTo(CGraphicBuffer& destination, const PixelRect& to, PixelPoint from) const;
    virtual void DrawToF(CGraphicBuffer& destination, const PixelRect& to, PixelPoint from,
                         float opacity) const; ///< opacity 0 .. 1, limited

    [[nodiscard]] virtual PixelSize GetSize() const { return size_; }
    [[nodiscard]] virtual PixelRect GetClip() const { return clip_; }
    virtual void SetHasAlpha(bool hasAlpha) { hasAlpha_ = hasAlpha; }
    [[nodiscard]] virtual bool HasAlpha() const { return hasAlpha_; }

    // Drawing state
    /// Opaque black everywhere, pen 1 wide, text to the left in the regular font.
    virtual void ResetPen() { state_ = {}; }
    virtual void SetPenColor(Color color) { state_.penColor = color; }
    virtual void SetPenWidth(int pixels); ///< limited to 1 .. 32
    [[nodiscard]] virtual Color GetPenColor() const { return state_.penColor; }
    [[nodiscard]] virtual int GetPenWidth() const { return state_.penWidth; }

    // Filled shapes, blended by the colours' alpha
    /// In the fill colour. An opaque one is written as it is, with an alpha byte of 0.
    virtual void FillRect(const PixelRect& rect);
    /// Between four corners' colours, alpha included. Where the clip cuts the rectangle, the
    /// colours begin at the cut: the steps are those of the whole rectangle.
    virtual void FillGradient(const PixelRect& rect, Color topLeft, Color topRight,
                              Color bottomRight, Color bottomLeft);
    /// @param colors  four, in FillGradient's order; null: FillRect
    virtual void FillRectColors(const PixelRect& rect, const Color* colors);
    virtual void FillVerticalGradient(const PixelRect& rect, Color top, Color bottom);
    virtual void FillHorizontalGradient(const PixelRect& rect, Color left, Color right);
    virtual void DrawRect(const PixelRect& rect); ///< outline inside the rectangle, by the pen

    virtual void SetFillColor(Color color) { state_.fillColor = color; }
    [[nodiscard]] virtual Color GetFillColor() const { return state_.fillColor; }

    // Text
    virtual void SelectRegularFont() { state_.font = EFont::Regular; }
    virtual void SelectBoldFont() { state_.font = EFont::Bold; }
    virtual void SetTextColor(Color color) { state_.textColor = color; }
    virtual void AlignTextLeft() { state_.textAlign = ETextAlign::Left; }
    virtual void AlignTextCenter() { state_.textAlign = ETextAlign::Center; }
    virtual void AlignTextRight() { state_.textAlign = ETextAlign::Right; }
    /// One line of text, centred vertically in the box, aligned horizontally as set; it may reach
    /// beyond the box. At most 1024 bytes; what isn't ASCII is drawn as '?'.
    /// @return the text's height and width; all 0 for an empty text or buffer
    virtual PixelSize DrawText(std::string_view text, const PixelRect& box,
                               ETextPass pass = ETextPass::MeasureAndDraw);

    /// Darkens a soft frame, 9 pixels wide, inside the rectangle.
    virtual void DrawShadow(const PixelRect& rect);
    /// A panel in the fill colour with softened corners, its outline in the pen colour when
    /// rounded.
    /// @param shade         factor of the colour at the bottom edge; 1 is even
    /// @param cornerFactor  0 .. 1: how far the corners are filled up toward square ones
    virtual void DrawPanel(const PixelRect& rect, ECorners corners, float shade,
                           float cornerFactor);

    // Clipping
    /// Limits a rectangle to the clip. @return false when nothing is left
    [[nodiscard]] virtual bool ClipToBuffer(PixelRect& rect) const;
    /// Limits a blit of this buffer to both clips. What this buffer's own clip cuts off at the left
    /// or the top moves the source point, not the rectangle. @return false when nothing is left
    [[nodiscard]] virtual bool ClipBlit(const CGraphicBuffer& destination, PixelRect& to,
                                        PixelPoint& from) const;

    virtual void Free(); ///< empty again, without alpha; the drawing state stays
    [[nodiscard]] virtual bool IsValid() const { return pixels_ != nullptr && size_.width > 0; }

    void SetPixel(int x, int y, Color color);         ///< the whole word, inside the clip
    [[nodiscard]] Color GetPixel(int x, int y) const; ///< opaque black outside the buffer
    [[nodiscard]] PixelView View() const { return {pixels_.get(), size_}; }

    /// A stroke in the pen colour, anti-aliased, as wide as the pen. Along the direction in which
    /// it extends farther it covers the pixels from the smaller coordinate up to, but without, the
    /// larger one. Leaves the alpha bytes of the pixels it touches at 0.
    void DrawLine(int x1, int y1, int x2, int y2);
    void DrawLine(float x1, float y1, float x2, float y2); ///< limited to +-32000

protected:
    /// First pixel of a row, y counted downward.
    [[nodiscard]] std::uint32_t* Row(int y)
    {
        return pixels_.get() + static_cast<std::ptrdiff_t>(size_.height - 1 - y) * size_.width;
    }
    [[nodiscard]] const std::uint32_t* Row(int y) const
    {
        return pixels_.get() + static_cast<std::ptrdiff_t>(size_.height - 1 - y) * size_.width;
    }

private:
    struct DrawingState {
        Color penColor = kOpaqueBlack;
        int penWidth = 1;
        Color fillColor = kOpaqueBlack;
        Color textColor = kOpaqueBlack;
        ETextAlign textAlign = ETextAlign::Left;
        EFont font = EFont::Regular;
    };
    struct FreeDeleter {
        void operator()(std::uint32_t* memory) const { std::free(memory); }
    };

    /// A rectangle with the same pixels of any buffer, whose sums can't overflow.
    [[nodiscard]] static PixelRect Limited(const PixelRect& rect);

    void MixPixel(int x, int y, Color color, unsigned coverage);
    void DrawPanelOutline(const PixelRect& rect, float cornerFactor);
    void DrawPanelCorners(const PixelRect& body, float shade, float cornerFactor);

    PixelSize size_;
    PixelRect clip_;
    std::unique_ptr<std::uint32_t[], FreeDeleter> pixels_;
    bool hasAlpha_ = false;
    DrawingState state_;
};

} // namespace keldra
