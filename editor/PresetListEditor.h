#pragma once

#include "editor/ModalPanel.h"

namespace keldra {

class CControlDisplay;
class CControlList;
class KeldraSynth;

/// The preset browser: a modal group over the panel with a list of banks and a list of the selected
/// bank's programs. Picking one loads it at once. UI lock held.
class CPresetListEditor final : public CControlGroup {
public:
    /// @param window  the editor's size, in the middle of which it appears
    CPresetListEditor(KeldraSynth& synth, PixelSize window, Later later);

    /// Lists, selections and the program's name as they are now. Doesn't draw.
    void Refresh();
    void FocusPrograms(); ///< keys and wheel go to the program list

    void OnControlReleased(CControl* control) override;
    bool OnControlChanged(CControl* control, float value) override;
    bool OnDoubleClick() override;
    bool OnMouseDown() override;
    void DrawBackground(const PixelRect& region) override;
    bool OnTimer() override;
    void OnKillFocus() override; ///< closes it

private:
    void PickBank(int index);
    void PickProgram(int index);

    KeldraSynth& synth_;
    const Later later_;
    CControlList* bankList_ = nullptr; ///< these are the group's own, like all below
    CControlList* programList_ = nullptr;
    CControlButton* loadButton_ = nullptr;
    CControlButton* saveButton_ = nullptr;
    CControlDisplay* nameDisplay_ = nullptr;
    CControlButton* closeArea_ = nullptr;
    int ticksUntilRefresh_ = 0;
};

} // namespace keldra
