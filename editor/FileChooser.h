#pragma once

#include <memory>
#include <string>

#include "editor/FileChooserFolder.h"
#include "editor/ModalPanel.h"

namespace keldra {

class CControlDisplay;
class CControlMenu;
class CControlTextField;
class CChooserList;

/// The file chooser that the toolkit draws itself, for desktops without one: a modal group over the
/// panel. UI lock held; the disk is read without it.
///
/// Arrow keys choose in the list, typing goes to the name, Enter opens what is chosen or takes the
/// name, Escape cancels. Backspace in the list and Alt with the arrow up lead to the parent folder,
/// Alt with Home to the user's own. When the window loses the keyboard it stays.
class CFileChooser final : public CControlGroup {
public:
    /// What has become of it, for whoever asks (CFileDialog). UI lock held.
    struct Answer {
        CFileDialog::EState state = CFileDialog::EState::Open;
        std::string path;
        CFileChooser* chooser = nullptr; ///< while it exists
    };

    /// @param window  the editor's size, in the middle of which it appears
    CFileChooser(const FileDialogRequest& request, PixelSize window, Later later,
                 std::shared_ptr<Answer> answer);
    ~CFileChooser() override; ///< an answer that is still open becomes Cancelled

    void Show();    ///< once it is a window's group
    void TakeOff(); ///< off the screen; it is removed later

    void OnControlReleased(CControl* control) override;
    bool OnControlChanged(CControl* control, float value) override;
    bool OnControlPressed(CControl*) override { return true; }
    bool OnDoubleClick() override;
    bool OnMouseDown() override;
    bool OnKeyDown(int key) override;
    bool OnKeyUp(int) override { return true; } // none of them is the host's
    void DrawBackground(const PixelRect& region) override;

private:
    void OpenSelected(); ///< enters the folder or takes the file of the chosen row
    void BuildControls(const FileDialogRequest& request);
    void GoTo(std::string folder, std::string selected = {});
    void GoToParent() { GoTo(ParentFolder(folder_.path), std::string(FileNameOf(folder_.path))); }
    void ShowFolder(ChooserFolder folder, const std::string& selected);
    void Select(int row);
    void SelectByName(std::string_view beginning);
    void Accept(); ///< the answer to the question, if there is one, else the name
    void Cancel();
    void TakeName();
    void TakeTarget(const ChooserTarget& target);
    void Finish(CFileDialog::EState state, std::string path = {});
    void Ask(std::string path);
    void ShowQuestion(bool shown);
    void ShowMessage(std::string_view text);
    void TakeKeyboard();
    bool PressKey(int key);
    void Refresh();
    [[nodiscard]] bool IsSaving() const { return kind_ == FileDialogRequest::EKind::Save; }
    [[nodiscard]] bool IsAsking() const { return !replaced_.empty(); }
    [[nodiscard]] const FolderEntry* SelectedEntry() const;
    [[nodiscard]] const std::string& Patterns() const;

    const FileDialogRequest::EKind kind_;
    const std::string title_;
    const std::vector<FileDialogRequest::Filter> filters_;
    const Later later_;
    const std::shared_ptr<Answer> answer_;
    std::string firstFolder_;
    std::string firstName_;
    ChooserFolder folder_;
    std::string replaced_; ///< the file that the user is asked about

    // The group's own
    CControlButton* parent_ = nullptr;
    CControlButton* home_ = nullptr;
    CControlDisplay* path_ = nullptr;
    CChooserList* list_ = nullptr;
    CControlTextField* name_ = nullptr;
    CControlMenu* filter_ = nullptr; ///< null when there is nothing to choose from
    CControlDisplay* message_ = nullptr;
    CControlDisplay* question_ = nullptr;
    CControlButton* cancel_ = nullptr;
    CControlButton* accept_ = nullptr;
};

/// A dialog of the toolkit's own in a window: appears as soon as the user holds nothing there.
/// @param port  outlives the dialog
[[nodiscard]] std::unique_ptr<CFileDialog>
OpenFileChooser(CWindowPort& port, const FileDialogRequest& request, Later later);

} // namespace keldra
