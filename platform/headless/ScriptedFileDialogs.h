#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/FileDialog.h"

namespace keldra {

/// File dialogs without a screen: writes down what was asked and gives the answers it was told
/// beforehand, one a dialog, each after a number of polls. Without an answer a dialog stays open.
class CScriptedFileDialogs final : public CFileDialogs {
public:
    struct Answer {
        CFileDialog::EState state = CFileDialog::EState::Cancelled;
        std::string path;  ///< with Chosen
        int openPolls = 1; ///< polls that still find the dialog open
    };

    [[nodiscard]] std::unique_ptr<CFileDialog> Open(const FileDialogRequest& request) override;

    std::deque<Answer> answers;              ///< taken from the front
    std::vector<FileDialogRequest> requests; ///< all so far
    int openCount = 0;                       ///< dialogs on the imagined screen
};

} // namespace keldra
