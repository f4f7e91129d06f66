#pragma once

#include "gui/ControlGroup.h"

namespace keldra {

/// The look that the about box and the preset browser share: a shadow and two rounded panels, one
/// inside the other. Within the buffer's clip.
void DrawModalPanel(CGraphicBuffer& buffer, const PixelRect& rect);

/// The inner of the two panels.
[[nodiscard]] PixelRect ModalPanelInside(const PixelRect& rect);

/// Hides a group, ends its being modal and paints the panel again where it was. Nothing when it is
/// hidden already.
void CloseModalGroup(CControlGroup& group);

} // namespace keldra
