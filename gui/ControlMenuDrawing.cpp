#include <algorithm>

#include "gui/ControlMenu.h"
#include "gui/Numbers.h"
#include "gui/WindowPort.h"

// How a menu's open list, and a list in its place, are drawn.

namespace keldra {

namespace {

constexpr float kOpacity = 245.0f; // of an open list
constexpr int kMarkSize = 6;

constexpr PixelRect Moved(const PixelRect& rect, PixelPoint origin)
{
    return {rect.x - origin.x, rect.y - origin.y, rect.width, rect.height};
}

} // namespace

void CControlMenu::Draw()
{
    CControlDisplay::Draw();
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr || !IsPopupOpen())
        return;
    buffer->ResetClip();
    popup_->background.CopyTo(*buffer, popup_->rect, {0, 0});
    popup_->picture.DrawTo(
        *buffer, popup_->rect, {0, 0},
        static_cast<std::uint8_t>(ChannelFrom(static_cast<double>(popup_->fade * kOpacity))));
}

void CControlMenu::DrawPopupFrame()
{
    CGraphicBuffer* target = IsPopupOpen() ? &popup_->picture : GetBuffer();
    if (target == nullptr)
        return;
    target->ResetPen();
    target->SetPenColor(PaletteColor(kMenuOutline));
    target->SetFillColor(PaletteColor(kMenuPanel));
    if (!IsPopupOpen()) {
        if (target->SetClip(GetRect()))
            target->DrawPanel(GetRect(), ECorners::Rounded, 1.0f, 0.0f);
        return;
    }
    const auto [height, width] = target->GetSize();
    const PixelRect whole{0, 0, width, height};
    target->ResetClip();
    popup_->background.CopyTo(*target, whole, {0, 0}); // for the shadow to fall on
    target->DrawShadow(whole);
    target->DrawPanel({6, 6, width - 13, height - 13}, ECorners::Rounded, 1.0f, 0.0f);
    DrawPointer(*target);
}

/// The list's beak, which points at the control. It is drawn as it lies on the left edge; on the
/// right edge it is mirrored.
void CControlMenu::DrawPointer(CGraphicBuffer& picture)
{
    const int size = pointerSize_;
    const int width = picture.GetSize().width;
    const PixelRect control = GetRect();
    const auto top = static_cast<float>(control.y + control.height / 2 - size - popup_->rect.y);
    const auto s = static_cast<float>(size);
    const bool onTheRight = control.x >= popup_->rect.x;
    const auto line = [&](float x1, float y1, float x2, float y2) {
        const auto far = static_cast<float>(width - 1);
        if (onTheRight)
            picture.DrawLine(far - x1, y1, far - x2, y2);
        else
            picture.DrawLine(x1, y1, x2, y2);
    };
    picture.SetPenWidth(1);
    picture.SetPenColor(PaletteColor(kMenuPanel));
    for (int i = 0; i < 2 * size; ++i) {
        const float f = static_cast<float>(i) / (2.0f * s);
        const float g = 2.0f * f <= 1.0f ? 2.0f * f : 2.0f - 2.0f * f;
        const float y = top + static_cast<float>(i);
        line(s + 1.0f, y, s * (1.0f - g), y);
    }
    picture.SetPenWidth(2);
    picture.SetPenColor(PaletteColor(kMenuOutline));
    line(0.0f, top + s, s, top);
    line(0.0f, top + s, s, top + 2.0f * s);
    picture.SetPenWidth(1);
    picture.SetPenColor(Rgba(0, 0, 0, 150));
    line(0.0f, top + s - 1.0f, s, top - 1.0f);
    line(0.0f, top + s + 1.0f, s, top + 2.0f * s + 1.0f);
}

PixelRect CControlMenu::Band(const PixelRect& row) const
{
    return {row.x, row.y + (itemHeight_ - bandHeight_) / 2, row.width, bandHeight_};
}

void CControlMenu::DrawItems()
{
    CGraphicBuffer* target = IsPopupOpen() ? &popup_->picture : GetBuffer();
    if (target == nullptr)
        return;
    const Layout layout = CurrentLayout();
    const PixelPoint origin =
        IsPopupOpen() ? PixelPoint{layout.area.x, layout.area.y} : PixelPoint{};
    const int bottom = layout.area.y + layout.area.height - margins_.y;
    target->ResetPen();
    target->AlignTextLeft();
    for (int row = 0; const MenuItem* item = GetItem(FirstRow() + row); ++row) {
        const PixelRect place = ItemRect(row);
        if (place.y + place.height > bottom)
            break;
        const PixelRect rect = Moved(place, origin);
        if (target->SetClip(rect))
            DrawItem(*target, *item, row, rect);
    }
    if (!layout.scrollBar.IsEmpty())
        DrawScrollBar(*target, layout, origin);
    target->ResetClip();
}

void CControlMenu::DrawItem(CGraphicBuffer& buffer, const MenuItem& item, int row,
                            const PixelRect& rect)
{
    switch (item.kind) {
    case MenuItem::EKind::Choice:
        DrawChoice(buffer, item, row, rect);
        break;
    case MenuItem::EKind::Separator:
        buffer.SetFillColor(PaletteColor(kMenuPanel));
        buffer.FillRect(rect);
        buffer.SetPenColor(PaletteColor(kMenuOutline));
        buffer.DrawLine(rect.x, rect.y + rect.height / 2, rect.x + rect.width,
                        rect.y + rect.height / 2);
        break;
    case MenuItem::EKind::Caption:
        buffer.SetFillColor(PaletteColor(kMenuCaption));
        buffer.DrawPanel(rect, ECorners::Square, 1.1f, 0.24f);
        buffer.SelectBoldFont();
        buffer.SetTextColor(PaletteColor(kMenuCaptionText));
        buffer.DrawText(item.text, {rect.x + textIndent_, Band(rect).y, rect.width, bandHeight_});
        break;
    }
}

void CControlMenu::DrawChoice(CGraphicBuffer& buffer, const MenuItem& item, int row,
                              const PixelRect& rect)
{
    buffer.SetFillColor(PaletteColor(kMenuRow));
    buffer.FillRect(rect);
    if (AlphaOf(PaletteColor(kMenuRowLine)) != 0) {
        buffer.SetPenColor(PaletteColor(kMenuRowLine));
        const int y = rect.y + rect.height - 1;
        buffer.DrawLine(rect.x, y, rect.x + rect.width, y);
    }

    Color textColor = PaletteColor(kMenuText);
    PixelRect textBox = rect;
    buffer.SelectRegularFont();
    if (item.dimmed) {
        textColor = WithAlpha(
            textColor, ChannelFrom(static_cast<double>(AlphaOf(textColor)) / 255.0 * 0.5 * 255.0));
    } else {
        const PixelRect band = Band(rect);
        textBox = band;
        if (FirstRow() + row == ChosenIndex()) {
            textColor = PaletteColor(kMenuChosenText);
            buffer.SetFillColor(PaletteColor(kMenuChosenBand));
            buffer.DrawPanel(band, ECorners::Square, 0.9f, 0.0f);
        } else if (row == HoveredRow()) {
            buffer.SetFillColor(PaletteColor(kMenuHoveredBand));
            buffer.DrawPanel(band, ECorners::Square, 0.9f, 0.0f);
        }
        if (item.marked) {
            textColor = PaletteColor(kMenuMarkedText);
            buffer.DrawPanel({rect.x + (textIndent_ - kMarkSize) / 2,
                              band.y + (bandHeight_ - kMarkSize) / 2, kMarkSize, kMarkSize},
                             ECorners::Square, 1.0f, 0.0f);
            buffer.SelectBoldFont();
        }
    }
    if (boldItems_)
        buffer.SelectBoldFont();
    buffer.SetTextColor(textColor);
    buffer.DrawText(item.text, {rect.x + textIndent_, textBox.y, rect.width, textBox.height});
}

void CControlMenu::DrawScrollBar(CGraphicBuffer& buffer, const Layout& layout, PixelPoint origin)
{
    const PixelRect bar = Moved(layout.scrollBar, origin);
    if (!buffer.SetClip(bar))
        return;
    buffer.SetFillColor(PaletteColor(kMenuPanel));
    buffer.FillRect(bar);
    buffer.SetFillColor(PaletteColor(kMenuTrack));
    buffer.SetPenColor(PaletteColor(kMenuThumb));
    buffer.DrawPanel(bar, ECorners::Square, 1.0f, 0.0f);

    const auto track = static_cast<float>(bar.height - 4);
    const auto count = static_cast<float>(std::max(GetItemCount(), 1));
    const float y =
        static_cast<float>(FirstRow()) * track / count + static_cast<float>(bar.y) + 2.0f;
    const float height = track * static_cast<float>(layout.visibleRows) / count;
    const Color color = PaletteColor(*thumbHeld_ ? kMenuThumbHeld : kMenuThumb);
    buffer.SetFillColor(color);
    buffer.SetPenColor(color);
    buffer.DrawPanel({bar.x + 2, Truncated(static_cast<double>(y)), bar.width - 4,
                      Truncated(static_cast<double>(height))},
                     ECorners::Square, 1.0f, 0.0f);
}

} // namespace keldra
