#pragma once

#include "gui/GraphicBuffer.h"

namespace keldra {

// Pictures for the gallery and the benchmark, drawn here: plain, but with every kind of frame.

/// A dial with transparent corners, frames stacked top to bottom, from 225 degrees over 270.
void DrawKnobStrip(CGraphicBuffer& strip, int frames, int size);
/// Frames stacked top to bottom, each a button that is lighter the higher its number.
void DrawButtonFrames(CGraphicBuffer& strip, int frames, PixelSize size);
/// Columns of tabs, one a position, plain above and selected below.
void DrawTabs(CGraphicBuffer& tabs, int positions, PixelSize size);
/// A fader's handle.
void DrawHandle(CGraphicBuffer& handle, PixelSize size);
/// Two keys side by side, released and pressed.
void DrawKeys(CGraphicBuffer& keys, PixelSize size, Color color);
/// Something with a structure, so that a misplaced background shows.
void DrawBackdrop(CGraphicBuffer& backdrop, PixelSize size);

} // namespace keldra
