#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "gui/ControlButton.h"
#include "gui/ControlGroup.h"

namespace keldra {

/// Has something done when the UI lock has been let go: what leads to the host, or to a disk.
using Later = std::function<void(std::function<void()>)>;

inline constexpr Color kModalText = Rgb(246, 234, 211);

/// The look that all panels over the panel share: a shadow and two rounded panels, one inside the
/// other. Within the buffer's clip.
void DrawModalPanel(CGraphicBuffer& buffer, const PixelRect& rect);

/// The inner of the two panels.
[[nodiscard]] PixelRect ModalPanelInside(const PixelRect& rect);

/// A button that is lit while it is held. Torn from the hand, it does nothing: what a panel's
/// buttons do can't be taken back by a second press.
[[nodiscard]] std::unique_ptr<CControlButton> MakeModalButton(std::string_view label,
                                                              const PixelRect& place);

/// Hides a group, ends its being modal and paints the panel again where it was. Nothing when it is
/// hidden already.
void CloseModalGroup(CControlGroup& group);

} // namespace keldra
