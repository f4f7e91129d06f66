#pragma once

#include <memory>

#include "frame/EditorPort.h"
#include "hosts/vst/AEffEditor.h"

namespace keldra::vst {

/// Hands the host's editor calls to an editor that knows nothing of VST. Host's UI thread; the size
/// may be asked before the first open. Calls in any order and number are harmless.
class CVSTEditor final : public AEffEditor {
public:
    /// @param window  not null
    CVSTEditor(AudioEffect& owner, std::unique_ptr<CEditorPort> window);
    ~CVSTEditor() override; ///< closes the window if the host didn't

    bool getRect(ERect** rect) override;
    /// Null opens on the desktop. An open window is closed first.
    bool open(void* parent) override;
    void close() override;

    [[nodiscard]] CEditorPort& Window() { return *window_; }

private:
    ERect rect_{}; ///< hosts keep the pointer to it
    std::unique_ptr<CEditorPort> window_;
};

} // namespace keldra::vst
