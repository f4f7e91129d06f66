#include "platform/headless/ScriptedFileDialogs.h"

#include <optional>
#include <utility>

namespace keldra {

namespace {

class CScriptedFileDialog final : public CFileDialog {
public:
    CScriptedFileDialog(std::optional<CScriptedFileDialogs::Answer> answer, int& openCount)
        : answer_(std::move(answer)), openCount_(openCount)
    {
        ++openCount_;
    }
    ~CScriptedFileDialog() override { --openCount_; }
    CScriptedFileDialog(const CScriptedFileDialog&) = delete;
    CScriptedFileDialog& operator=(const CScriptedFileDialog&) = delete;

    EState Poll() override
    {
        if (!answer_ || answer_->openPolls-- > 0)
            return EState::Open;
        answer_->openPolls = 0;
        path_ = answer_->path;
        return answer_->state;
    }
    const std::string& Path() const override { return path_; }

private:
    std::optional<CScriptedFileDialogs::Answer> answer_;
    std::string path_;
    int& openCount_;
};

} // namespace

std::unique_ptr<CFileDialog> CScriptedFileDialogs::Open(const FileDialogRequest& request)
{
    requests.push_back(request);
    std::optional<Answer> answer;
    if (!answers.empty()) {
        answer = std::move(answers.front());
        answers.pop_front();
    }
    return std::make_unique<CScriptedFileDialog>(std::move(answer), openCount);
}

} // namespace keldra
