#include "presets/FileSelector.h"

#include <algorithm>

#include "platform/Files.h"
#include "platform/Folders.h"

namespace keldra {

namespace {

/// A folder, or the nearest one above it that is there; empty for none.
std::string NearestFolder(std::string folder)
{
    while (!folder.empty() && !FolderExists(folder)) {
        const std::string parent(FolderOf(folder));
        folder = parent == folder ? std::string() : parent;
    }
    return folder;
}

/// A program's name as the beginning of a file name.
std::string SuggestedName(std::string name)
{
    constexpr std::string_view kNotInFileNames = "<>*\\";
    std::replace_if(
        name.begin(), name.end(),
        [&](char c) {
            return c == kPathSeparator || kNotInFileNames.find(c) != std::string_view::npos;
        },
        ' ');
    return name;
}

/// What a program file is called: the library's own kind, and hosts'.
std::string ProgramPatterns(const std::string& extension)
{
    return "*." + extension + ";*.fxp;";
}

} // namespace

FileDialogRequest MakeProgramRequest(const CFileSelector::Settings& settings)
{
    const std::string description = settings.pluginName + " Program";
    FileDialogRequest request;
    request.kind = settings.kind;
    if (settings.kind == FileDialogRequest::EKind::Save) {
        request.title = "Save Program";
        request.filters = {{description, "*.*;"}};
    } else {
        request.title = "Load Program";
        request.filters = {{description, ProgramPatterns(settings.extension)}};
    }
    request.folder = NearestFolder(settings.folder);
    request.name = SuggestedName(settings.programName);
    request.tag = static_cast<std::uint64_t>(settings.import);
    return request;
}

CFileSelector::CFileSelector(const Settings& settings, CFileDialogs& dialogs,
                             CPresetListClient& client)
    : settings_(settings),
      dialogs_(dialogs),
      client_(client),
      request_(MakeProgramRequest(settings))
{
    request_.owner = client.DialogOwner();
    Show();
}

void CFileSelector::Show()
{
    dialog_ = isOwnChooser_ ? client_.OpenOwnFileDialog(request_) : dialogs_.Open(request_);
}

bool CFileSelector::LacksExtension(std::string_view path) const
{
    // Any other dot belongs to the name: "Lead v1.2".
    return settings_.kind == FileDialogRequest::EKind::Save &&
           !FitsPatterns(FileNameOf(path), ProgramPatterns(settings_.extension));
}

CFileDialog::EState CFileSelector::Poll()
{
    using EState = CFileDialog::EState;
    EState state = dialog_ != nullptr ? dialog_->Poll() : EState::Unavailable;
    if (state == EState::Unavailable && !isOwnChooser_) {
        isOwnChooser_ = true;
        Show();
        state = dialog_ != nullptr ? dialog_->Poll() : EState::Unavailable;
    }
    if (state != EState::Chosen)
        return state;

    path_ = dialog_->Path();
    if (!LacksExtension(path_))
        return state;
    path_ += '.' + settings_.extension;
    if (!FileExists(path_))
        return state;
    // The user was asked about the name without the extension only, so this one isn't theirs to
    // lose yet: once more, with the name in full.
    request_.folder = std::string(FolderOf(path_));
    request_.name = std::string(FileNameOf(path_));
    Show();
    return dialog_ != nullptr ? EState::Open : EState::Unavailable;
}

} // namespace keldra
