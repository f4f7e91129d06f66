#pragma once

#include <memory>
#include <string>

#include "editor/PanelTable.h"
#include "editor/PluginEditor.h"
#include "presets/PresetListClient.h"

namespace keldra {

class CControlDisplay;
class CControlKeyboard;
class CControlMenu;
class CImage;
class CPresetList;
class CPresetListAboutBox;
class CPresetListEditor;
class KeldraSynth;

/// The synthesizer's editor: the panel of the table, built once, and what is special about some of
/// its controls: keyboard, wheels, program buttons and menu, the learning of controllers; the
/// preset browser and the about box over it. Threads as CPluginEditor.
class KeldraEditor final : public CPluginEditor, private CPresetListClient {
public:
    KeldraEditor();
    ~KeldraEditor() override;

    void Connect(CPluginRenderer& renderer, CPluginWrapper& host) override;
    bool LoadSkin() override;
    using CPluginEditor::Open;
    /// The panel is built when the window opens the first time: hosts look at many instances whose
    /// window nobody opens. Without one of the skin's images it is grey, and all else lives on.
    bool Open(void* parent) override;
    void Close() override;

    bool OnControlPressed(CControl* control) override;
    void OnControlReleased(CControl* control) override;
    bool OnControlChanged(CControl* control, float value) override;
    bool OnTimer() override;
    bool OnMouseDown() override;
    void OnFileDropped(std::string_view path) override;
    void SyncControls() override;

    [[nodiscard]] CPresetListEditor* Browser() const { return browser_; } ///< null before its first
    [[nodiscard]] CPresetListAboutBox* AboutBox() const { return aboutBox_; }

protected:
    void ShowProgram() override;

private:
    // CPresetListClient
    void ShowAboutBox() override;
    void ShowPresetBrowser() override;
    [[nodiscard]] std::uintptr_t DialogOwner() const override;
    [[nodiscard]] std::unique_ptr<CFileDialog>
    OpenOwnFileDialog(const FileDialogRequest& request) override;

    [[nodiscard]] const CImage* Image(ESkinImage image) const;
    void BuildPanel();
    [[nodiscard]] std::unique_ptr<CControl> MakeControl(const PanelControl& row);
    void Remember(EPanelRole role, CControl& control);
    [[nodiscard]] bool MayOpen() const;
    void ChooseProgramMenuItem(int item);
    void LinkSelected(int controller);
    void ShowProgramName();
    void ShowParameterText();
    void ShowControllerText();
    void SetDisplayText(CControlDisplay* display, std::string_view text);
    void FollowEngine();

    KeldraSynth* synth_ = nullptr; ///< the renderer, as what it is
    std::string skinFolder_;

    // Controls of the root group, which owns them
    CControlDisplay* programName_ = nullptr;
    CControlDisplay* parameterText_ = nullptr;
    CControlDisplay* controllerText_ = nullptr;
    CControl* link_ = nullptr;
    CControl* unlink_ = nullptr;
    CControlMenu* programMenu_ = nullptr;
    CControl* pitchWheel_ = nullptr;
    CControl* modWheel_ = nullptr;
    CControlKeyboard* keyboard_ = nullptr;
    CControl* previousProgram_ = nullptr;
    CControl* nextProgram_ = nullptr;

    // Groups of this window, made on first use
    CPresetListEditor* browser_ = nullptr;
    CPresetListAboutBox* aboutBox_ = nullptr;
};

} // namespace keldra
