// kdialog and zenity take the request as arguments, print the chosen path and exit with 0, or exit
// with 1 when the user cancels. Both also exit with 1 when they can't reach the screen, but sooner.

#include "platform/x11/ProgramDialog.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/Folders.h"
#include "platform/posix/ChildProcess.h"

namespace keldra {

namespace {

using Clock = std::chrono::steady_clock;

class CProgramDialog final : public CFileDialog {
public:
    explicit CProgramDialog(const std::vector<std::string>& arguments) : begun_(Clock::now())
    {
        if (arguments[0].empty() || !process_.Start(arguments))
            state_ = EState::Unavailable;
    }

    EState Poll() override
    {
        if (state_ == EState::Open && process_.HasEnded())
            state_ = Answer();
        return state_;
    }
    const std::string& Path() const override { return path_; }

private:
    EState Answer()
    {
        std::string path = process_.Output();
        if (path.ends_with('\n'))
            path.pop_back();
        const int code = process_.ExitCode();
        if (code == 0 || code == CChildProcess::kUnknownExit) {
            if (path.starts_with(kPathSeparator)) {
                path_ = std::move(path);
                return EState::Chosen;
            }
            return code == 0 ? EState::Cancelled : EState::Unavailable;
        }
        return code == 1 && Clock::now() - begun_ >= kSoonestCancel ? EState::Cancelled
                                                                    : EState::Unavailable;
    }

    const Clock::time_point begun_;
    CChildProcess process_;
    EState state_ = EState::Open;
    std::string path_;
};

/// Patterns with a character between them, and a description without the one that ends it there.
std::string FilterText(const FileDialogRequest::Filter& filter, std::string_view before,
                       std::string_view between)
{
    std::string text = filter.description;
    std::replace(text.begin(), text.end(), '|', ' ');
    text += before;
    for (const std::string& pattern : SplitPatterns(filter.patterns))
        text.append(pattern).append(between);
    text.resize(text.size() - (text.ends_with(between) ? between.size() : 0));
    return text;
}

} // namespace

std::unique_ptr<CFileDialog> OpenKdialog(const FileDialogRequest& request)
{
    const bool save = request.kind == FileDialogRequest::EKind::Save;
    std::vector<std::string> arguments{FindProgram("kdialog"), "--title", request.title};
    if (request.owner != 0)
        arguments.insert(arguments.end(), {"--attach", std::to_string(request.owner)});
    std::string filters;
    for (const FileDialogRequest::Filter& filter : request.filters)
        filters += (filters.empty() ? "" : ";;") + FilterText(filter, " (", " ") + ")";
    arguments.insert(arguments.end(),
                     {save ? "--getsavefilename" : "--getopenfilename",
                      JoinPath(request.folder.empty() ? "." : request.folder, request.name),
                      filters});
    return std::make_unique<CProgramDialog>(arguments);
}

std::unique_ptr<CFileDialog> OpenZenity(const FileDialogRequest& request)
{
    std::vector<std::string> arguments{FindProgram("zenity"), "--file-selection",
                                       "--title=" + request.title};
    if (request.kind == FileDialogRequest::EKind::Save)
        arguments.insert(arguments.end(), {"--save", "--confirm-overwrite"});
    if (request.owner != 0)
        arguments.push_back("--attach=" + std::to_string(request.owner));
    arguments.push_back("--filename=" + JoinPath(request.folder, request.name));
    for (const FileDialogRequest::Filter& filter : request.filters)
        arguments.push_back("--file-filter=" + FilterText(filter, " | ", " "));
    return std::make_unique<CProgramDialog>(arguments);
}

} // namespace keldra
