#include <array>

#include "platform/FileDialog.h"
#include "platform/x11/PortalDialog.h"
#include "platform/x11/ProgramDialog.h"

namespace keldra {

namespace {

using Opener = std::unique_ptr<CFileDialog> (*)(const FileDialogRequest&);
constexpr std::array<Opener, 3> kBestFirst = {OpenPortalDialog, OpenKdialog, OpenZenity};

/// The first kind of dialog that this desktop can show.
class CFirstAvailableDialog final : public CFileDialog {
public:
    explicit CFirstAvailableDialog(const FileDialogRequest& request)
        : request_(request), dialog_(kBestFirst[0](request_))
    {
    }

    EState Poll() override
    {
        for (;;) {
            const EState state = dialog_->Poll();
            if (state != EState::Unavailable || next_ == kBestFirst.size())
                return state;
            dialog_ = kBestFirst[next_++](request_);
        }
    }
    const std::string& Path() const override { return dialog_->Path(); }

private:
    const FileDialogRequest request_;
    std::unique_ptr<CFileDialog> dialog_;
    std::size_t next_ = 1;
};

class CDesktopFileDialogs final : public CFileDialogs {
public:
    std::unique_ptr<CFileDialog> Open(const FileDialogRequest& request) override
    {
        return std::make_unique<CFirstAvailableDialog>(request);
    }
};

} // namespace

CFileDialogs& SystemFileDialogs()
{
    static CDesktopFileDialogs dialogs;
    return dialogs;
}

} // namespace keldra
