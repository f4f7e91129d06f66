#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "frame/EngineChanges.h"
#include "presets/PresetListClient.h"

namespace keldra {

/// One file dialog of the program menu, from the question to the answer. Control threads, one
/// at a time. Nothing waits.
class CFileSelector {
public:
    struct Settings {
        FileDialogRequest::EKind kind = FileDialogRequest::EKind::Open;
        std::string pluginName;  ///< for the filter's description
        std::string folder;      ///< to begin in; while it doesn't exist, its parent instead
        std::string programName; ///< to begin with
        std::string extension;   ///< of programs, for names that are given without one
        EImport import = EImport::Everything; ///< what the answer is for
    };

    CFileSelector(const Settings& settings, CFileDialogs& dialogs, CPresetListClient& client);

    /// Looks for an answer, and goes on to the toolkit's chooser when the system has none.
    [[nodiscard]] CFileDialog::EState Poll();

    /// The chosen file; one to save ends in the extension for programs, or in "fxp" when the user
    /// has given that.
    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] const Settings& GetSettings() const { return settings_; }

private:
    void Show();
    [[nodiscard]] bool LacksExtension(std::string_view path) const;

    const Settings settings_;
    CFileDialogs& dialogs_;
    CPresetListClient& client_;
    FileDialogRequest request_;
    std::unique_ptr<CFileDialog> dialog_;
    bool isOwnChooser_ = false;
    std::string path_;
};

/// How a dialog for programs is set up: title, filters, folder, file name.
[[nodiscard]] FileDialogRequest MakeProgramRequest(const CFileSelector::Settings& settings);

} // namespace keldra
