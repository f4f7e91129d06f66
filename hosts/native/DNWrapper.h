#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <thread>

#include "frame/EventBuffer.h"
#include "frame/PluginWrapper.h"
#include "hosts/native/CPPDornoPlug.h"
#include "hosts/native/KeyVoices.h"
#include "hosts/native/ParameterMenu.h"

namespace keldra {
class CEditorPort;
class CPluginRenderer;
} // namespace keldra

namespace keldra::native {

/// One native instance: owns a renderer and perhaps an editor, and translates between them and the
/// host, which owns the notes. Without a renderer every operation answers neutrally and leaves
/// texts and audio as they are.
///
/// Threads as TDornoPlugTable says; the renderer takes care of what they change (CEngineGate). The
/// host is only ever asked with nothing held.
class CDNWrapper final : public TCPPDornoPlug, private CPluginWrapper {
public:
    /// Makes an instance as the module's definition says.
    /// @return null when the definition allows none. Throws when memory is short
    static std::unique_ptr<CDNWrapper> Create(TDornoHost& host, HostTag tag);
    ~CDNWrapper() override;

    // TCPPDornoPlug
    void DestroyInstance() override;
    std::intptr_t HandleCommand(std::int32_t id, std::int32_t index, std::intptr_t value) override;
    void SaveOrLoadState(StateStream* stream, std::int32_t save) override;
    void GetName(std::int32_t section, std::int32_t index, std::int32_t value, char* text) override;
    std::int32_t OnHostEvent(std::int32_t id, std::intptr_t value, std::int32_t flags) override;
    std::int32_t ExchangeParameter(std::int32_t index, std::int32_t value,
                                   std::int32_t flags) override;
    void RenderInstrument(float* buffer, const std::int32_t* length) override;
    VoiceHandle StartVoice(HostVoice* voice, VoiceTag tag) override; ///< -1 for null
    void ReleaseVoice(VoiceHandle handle) override;                  ///< its record is still read
    void KillVoice(VoiceHandle handle) override; ///< the host may free its record
    void Destroy(std::int32_t flags) override;
    void KillAllVoices() override;

private:
    CDNWrapper(TDornoHost& host, HostTag tag, const PlugInfo& info);
    void MakeRendererAndEditor();
    void Release();

    // CPluginWrapper
    void AutomateParameter(int index, float value) override;
    void BeginEdit(int) override {}
    void EndEdit(int) override {}
    void ShowParameterMenu(int index) override;
    int HostCommand50() override;
    void GetHostText(int index, char* text) override;
    void HostCommand3() override;
    void UpdateKeyControls() override;
    void HostNoteOff(int key) override;
    void HostNoteOn(int key, float velocity) override;

    void ShowEditor(std::uintptr_t parent);
    void ChangeSampleRate(std::int32_t hz); ///< one that isn't above 0 only stops all sound
    void NameSynthParameter(std::int32_t section, int index, std::span<char> text) const;
    void NameController(std::int32_t section, int controller, std::span<char> text) const;
    std::int32_t ExchangeSynthParameter(int index, std::int32_t value, std::int32_t flags);
    std::int32_t ExchangeController(int controller, std::int32_t value, std::int32_t flags);
    [[nodiscard]] std::atomic<float>& Controller(int controller)
    {
        return controllers_[static_cast<std::size_t>(controller)];
    }
    void Play(const MidiMessage& message);
    void TakeHostClock(std::optional<double> quarterNotes);
    void AddRendered(float* buffer, int frames);

    const int synthParameterCount_; ///< of the host's parameters: the first ones
    std::unique_ptr<CPluginRenderer> renderer_;
    std::unique_ptr<CEditorPort> editor_;
    std::unique_ptr<CParameterMenu> menu_;
    /// What the host last set its parameters for the MIDI controllers and the pressure to, 0 .. 1.
    std::array<std::atomic<float>, 129> controllers_{};
    CKeyVoices voices_;

    /// The thread that rendered last; none before the first time.
    std::atomic<std::thread::id> renderThread_{};
    // What the host says of its clock on any thread, until the next render takes it.
    std::atomic<bool> playing_{false};
    std::atomic<bool> playingIsNews_{false};
    static constexpr double kNothingNew = std::numeric_limits<double>::quiet_NaN();
    std::atomic<double> tempo_{kNothingNew}; ///< beats per minute
};

/// What the module's entry does.
/// @return null when the host is missing or an instance can't be made. Never throws
TDornoPlug* CreateNativeInstance(TDornoHost* host, HostTag tag);

} // namespace keldra::native
