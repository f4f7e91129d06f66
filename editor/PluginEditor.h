#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/EditorPort.h"
#include "gui/WindowPort.h"
#include "platform/UiThread.h"

namespace keldra {

/// The generic editor of a plug-in: a window port that knows the renderer and the host, and turns
/// what the controls do into parameter changes, edit notifications and value texts. A control's
/// parameter index that is a parameter's (0 .. 155) is read and written; the host hears only of
/// those that it sees by name (0 .. 73).
///
/// Threads. The operations of CEditorPort come on the host's threads and take the UI lock
/// themselves; all others are called with it held. Calls to the host, and whatever may lead to one,
/// are made after the lock has been let go (AfterEvent).
class CPluginEditor : public CEditorPort, public CWindowPort {
public:
    CPluginEditor() = default;

    // CEditorPort
    void Connect(CPluginRenderer& renderer, CPluginWrapper& host) override;
    bool LoadSkin() override { return true; }
    [[nodiscard]] EditorSize WindowSize() const override;
    bool Open(void* parent) override;
    void Close() override; ///< afterwards no call to the host is under way
    [[nodiscard]] bool IsOpen() const override;
    [[nodiscard]] void* WindowHandle() const override;

    // CWindowPort
    using CWindowPort::Open;
    bool OnControlPressed(CControl* control) override;
    void OnControlReleased(CControl* control) override;
    bool OnControlChanged(CControl* control, float value) override;
    bool OnTimer() override;
    bool OnMouseDown() override;
    bool OnKeyDown(int key) override;
    bool OnKeyUp(int key) override;
    [[nodiscard]] std::string GetValueText(const CControl* control) const override;
    bool SetValueFromText(CControl* control, std::string_view text) override;

    /// Every control takes its parameter's value. Doesn't draw.
    virtual void SyncControls();
    /// The renderer's value; 0 without renderer and outside 0 .. 155.
    [[nodiscard]] virtual float GetParameterValue(int index) const;

protected:
    [[nodiscard]] CPluginWrapper* Host() const { return host_; }

    /// Has something done on this thread when the UI lock has been let go, in the order in which it
    /// was asked for: calls to the host, loading and saving, all that may lead to one.
    void AfterEvent(std::function<void()> action) { hostCalls_.Post(std::move(action)); }
    /// The same for what may wait for a disk, or goes on when the host has returned.
    void WorkAfterEvent(std::function<void()> work)
    {
        hostCalls_.Post(std::move(work), CHostCalls::EKind::Work);
    }
    void FinishWork() { hostCalls_.FinishWork(); } ///< at the end, once closed

    /// The program changed as a whole: shows everything anew.
    virtual void ShowProgram();

private:
    [[nodiscard]] bool IsKeyConsumed(bool handled) const;

    CPluginRenderer* renderer_ = nullptr;
    CPluginWrapper* host_ = nullptr;
    CHostCalls hostCalls_;
    std::uint32_t shownPrograms_ = 0; ///< CEditorFeedback::ProgramCount of what is shown
};

} // namespace keldra
