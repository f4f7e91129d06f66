#include "gui/gallery/GalleryImages.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

namespace keldra {

namespace {

/// Makes a picture of a size that is known to fit.
void Make(CGraphicBuffer& picture, PixelSize size)
{
    static_cast<void>(picture.Create(size));
    picture.ResetPen();
}

} // namespace

void DrawKnobStrip(CGraphicBuffer& strip, int frames, int size)
{
    Make(strip, {frames * size, size});
    const double middle = (size - 1) / 2.0;
    for (int frame = 0; frame < frames; ++frame) {
        const double angle = (225.0 - 270.0 * frame / (frames - 1)) * std::numbers::pi / 180.0;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x) {
                const double dx = x - middle;
                const double dy = middle - y;
                const double edge = std::clamp(middle - std::hypot(dx, dy), 0.0, 1.0);
                // The pointer: near the ray from the middle.
                const double along = dx * std::cos(angle) + dy * std::sin(angle);
                const double aside = std::fabs(dx * std::sin(angle) - dy * std::cos(angle));
                const bool onPointer = along > middle * 0.3 && along < middle * 0.85;
                const double pointer = onPointer ? std::clamp(2.0 - aside, 0.0, 1.0) : 0.0;
                const double body = 60.0 + 30.0 * (dy / middle);
                const auto shade = ChannelFrom(body + (230.0 - body) * pointer);
                strip.SetPixel(x, frame * size + y,
                               Rgba(shade, shade, shade, ChannelFrom(edge * 255.0)));
            }
    }
    strip.SetHasAlpha(true);
}

void DrawButtonFrames(CGraphicBuffer& strip, int frames, PixelSize size)
{
    Make(strip, {frames * size.height, size.width});
    for (int frame = 0; frame < frames; ++frame) {
        const auto light = static_cast<unsigned>(60 + frame * 150 / frames);
        strip.SetFillColor(Rgb(light, light, 70));
        strip.SetPenColor(kOpaqueBlack);
        strip.FillRect({0, frame * size.height, size.width, size.height});
        strip.DrawRect({0, frame * size.height, size.width, size.height});
    }
}

void DrawTabs(CGraphicBuffer& tabs, int positions, PixelSize size)
{
    Make(tabs, {2 * size.height, positions * size.width});
    tabs.AlignTextCenter();
    for (int i = 0; i < positions; ++i)
        for (int row = 0; row < 2; ++row) {
            const PixelRect tab{i * size.width, row * size.height, size.width, size.height};
            tabs.SetFillColor(row == 0 ? Rgb(70, 70, 70) : Rgb(218, 195, 150));
            tabs.FillRect(tab);
            tabs.SetPenColor(Rgb(40, 40, 40));
            tabs.DrawRect(tab);
            tabs.SetTextColor(row == 0 ? Rgb(200, 200, 200) : kOpaqueBlack);
            tabs.DrawText(std::to_string(i + 1), tab);
        }
}

void DrawHandle(CGraphicBuffer& handle, PixelSize size)
{
    Make(handle, size);
    handle.FillVerticalGradient({0, 0, size.width, size.height}, Rgb(220, 220, 220),
                                Rgb(120, 120, 120));
    handle.DrawRect({0, 0, size.width, size.height});
    handle.DrawLine(2, size.height / 2, size.width - 2, size.height / 2);
}

void DrawKeys(CGraphicBuffer& keys, PixelSize size, Color color)
{
    Make(keys, {size.height, 2 * size.width});
    for (int frame = 0; frame < 2; ++frame) {
        const PixelRect key{frame * size.width, 0, size.width, size.height};
        keys.FillVerticalGradient(key, color, Scaled(color, frame == 0 ? 0.9f : 0.7f));
        keys.DrawRect(key);
    }
}

void DrawBackdrop(CGraphicBuffer& backdrop, PixelSize size)
{
    Make(backdrop, size);
    backdrop.FillGradient({0, 0, size.width, size.height}, Rgb(120, 125, 130), Rgb(150, 150, 145),
                          Rgb(110, 110, 120), Rgb(90, 95, 100));
    backdrop.SetPenColor(Rgba(0, 0, 0, 30));
    for (int x = 0; x < size.width; x += 16)
        backdrop.DrawLine(x, 0, x, size.height);
    for (int y = 0; y < size.height; y += 16)
        backdrop.DrawLine(0, y, size.width, y);
}

} // namespace keldra
