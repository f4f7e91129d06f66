#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>

#include "frame/ParameterTable.h"
#include "frame/PluginRenderer.h"
#include "frame/PluginWrapper.h"
#include "hosts/vst/AudioEffectX.h"
#include "hosts/vst/EditReports.h"

namespace keldra::vst {

/// One VST instance: owns a renderer and perhaps an editor, and translates between them and the
/// host. Without a renderer every operation answers neutrally and leaves texts and audio as they
/// are. Threads as AudioEffect says; the renderer takes care of what they change (CEngineGate).
class CVSTWrapper final : public AudioEffectX, public CPluginWrapper {
public:
    /// Makes an instance as the module's definition says. Asks the host for its names.
    /// @return null when the definition allows none. Throws when memory is short
    static std::unique_ptr<CVSTWrapper> Create(audioMasterCallback host);
    ~CVSTWrapper() override;

    // AudioEffect
    void close() override;
    void suspend() override; ///< stops every note
    void resume() override;  ///< likewise; processing is on afterwards
    void setSampleRate(float hz) override;
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;
    void process(float** inputs, float** outputs, VstInt32 sampleFrames) override;
    /// Leaves aside a host's own copy of a value that it has just restored by setChunk.
    void setParameter(VstInt32 index, float value) override;
    float getParameter(VstInt32 index) override;
    void setProgramName(char* name) override;
    void getProgramName(char* name) override;
    void getParameterLabel(VstInt32 index, char* label) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;
    VstInt32 getChunk(void** data, bool isPreset) override;
    /// Tells the host the values that came in. @return byteSize, or 0 when refused
    VstInt32 setChunk(void* data, VstInt32 byteSize, bool isPreset) override;

    // AudioEffectX
    VstInt32 processEvents(VstEvents* events) override;
    bool canParameterBeAutomated(VstInt32 index) override;
    bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) override;
    bool getOutputProperties(VstInt32 index, VstPinProperties* properties) override;
    VstPlugCategory getPlugCategory() override;
    bool getEffectName(char* text) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    VstInt32 canDo(char* text) override;

    // CPluginWrapper
    void AutomateParameter(int index, float value) override;
    void BeginEdit(int index) override;
    void EndEdit(int index) override;
    void ShowParameterMenu(int) override {}
    int HostCommand50() override { return 0; }
    void GetHostText(int, char*) override {}
    void HostCommand3() override {}
    void UpdateKeyControls() override {}
    void HostNoteOff(int) override {}
    void HostNoteOn(int, float) override {}

private:
    /// What the host says of the song for one block. Empty: not known, keep what was.
    struct SongTime {
        std::optional<double> tempoBpm;
        std::optional<double> quarterNotes;
    };

    explicit CVSTWrapper(audioMasterCallback host);
    void MakeRendererAndEditor();
    void RunBlock(float** inputs, float** outputs, VstInt32 frames, CPluginRenderer::EMode mode);
    SongTime AskHostForTime();
    void TellValue(int index, float value);
    /// That the host is one that repeats a state value by value, and `value` is the first that is
    /// new for its parameter since then and says the same less well.
    bool IsPoorCopyOfState(int index, float value);
    [[nodiscard]] bool IsReported(int index) const { return index >= 0 && index < numParams; }

    /// Ardour 7 crashes when an edit begins while a song rolls, or a value comes while it stands,
    /// and automation is written: threads of plug-ins lack the tempo map that it looks up then. The
    /// processing thread has one, so it tells.
    bool hostTakesEditsInBlocks_ = false;
    CEditReports edits_;
    bool hostRepeatsStates_ = false; ///< see IsPoorCopyOfState
    std::unique_ptr<CPluginRenderer> renderer_;
    std::unique_ptr<std::byte[]> chunk_; ///< what the host was handed last
    /// The host hasn't set this parameter since a state came in. Any thread.
    std::array<std::atomic<bool>, kParameterCount> isAsRestored_{};
    /// The transport started or stopped, and the engine doesn't know yet. Processing thread.
    std::optional<bool> transportChangedTo_;
};

/// What the module's entry does: asks the host for its version and makes an instance.
/// @return null when the host is missing or too old, or the instance can't be made. Never throws
AEffect* CreateVstInstance(audioMasterCallback host);

} // namespace keldra::vst
