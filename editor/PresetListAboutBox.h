#pragma once

#include <string>

#include "gui/ControlGroup.h"

namespace keldra {

/// A small modal box over the panel: a picture and a line that names the plug-in, its version and
/// the host interface it runs under. Any press closes it, and so does the loss of the keyboard's
/// focus. Hidden, it waits for the next time. UI lock held.
class CPresetListAboutBox final : public CControlGroup {
public:
    /// @param image   not owned; null: a box of 400 x 200 without a picture
    /// @param window  the editor's size, in the middle of which it appears
    CPresetListAboutBox(const CGraphicBuffer* image, PixelSize window);

    bool OnMouseDown() override;
    void DrawBackground(const PixelRect& region) override;
    void OnKillFocus() override; ///< closes it

private:
    const CGraphicBuffer* image_;
};

/// "Keldra v.2.4  :  VST 32 bit"
[[nodiscard]] std::string AboutTitle();

} // namespace keldra
