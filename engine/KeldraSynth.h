#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <span>
#include <vector>

#include "effects/EffectsUnit.h"
#include "engine/DecimationFilter.h"
#include "engine/Synthesizer.h"
#include "engine/TranceGate.h"
#include "frame/StateBlock.h"

namespace keldra {

class CPresetList;
class KeldraGenerator;

/// The synthesizer: 64 voices, their decimation, gate, effects, and what every parameter does.
class KeldraSynth final : public CSynthesizer {
public:
    static constexpr int kVoiceCount = 64;
    static constexpr int kBlockFrames = 64; ///< most frames of one render call

    /// Plays the first program of the library, if there is one, else the defaults.
    KeldraSynth();
    ~KeldraSynth() override;

    void
    SetSampleRate(double hz) override; ///< beyond 1 kHz .. 1 MHz it counts as 0: the rate stays
    void PrepareToProcess() override;
    void SetSongPosition(double quarterNotes) override;
    void SetTransportPlaying(bool playing) override;
    void Render() override;

    void SetParameter(int index, float value) override;
    [[nodiscard]] float GetParameter(int index) const override;
    [[nodiscard]] float GetParameterDefault(int index) const override;
    void GetParameterDisplay(int index, std::span<char> text) const override;

    int GetChunk(void* buffer) const override; ///< @param buffer  null or kStateSize bytes
    bool SetChunk(const void* data, int size) override;

    void NoteOn(int key) override;
    void NoteOff(int key) override;
    void ControlChange(int controller) override;
    void ProgramChange(int program) override;

    [[nodiscard]] CPresetList& Presets() { return *presets_; } ///< threads: as it says itself

    // Controller links. Any thread
    void SetLink(int parameter, int controller);    ///< -1 unlinks; other parameters are ignored
    [[nodiscard]] int GetLink(int parameter) const; ///< -1 for none
    void ClearAllLinks();

    /// The parameter that the editor last touched, -1 for none. Any thread
    [[nodiscard]] int SelectedParameter() const { return selectedParameter_.load(); }
    void SelectParameter(int index) { selectedParameter_.store(index); }

protected:
    void ApplyParameter(int index, float value) override;

private:
    void ApplyNamed(int index, float value);
    void ApplyEngineSetting(int index, float value);
    void FollowLink(int parameter, int controller);
    void FireLinks(int controller);
    void SmoothParameters();
    void RebuildActiveList();
    void RenderVoicesInto(float* left, float* right, int frames);
    void RunGate(float* left, float* right, int frames, double tempo);
    [[nodiscard]] double HostRate() const;

    void StartLibrary();

    std::unique_ptr<CPresetList> presets_;
    std::vector<std::unique_ptr<KeldraGenerator>> voices_;
    std::array<KeldraGenerator*, kVoiceCount> active_{}; ///< active voices, then the free ones
    int activeCount_ = 0;
    std::array<float, kBlockFrames * CDecimationFilter::kFactor> scratchLeft_{};
    std::array<float, kBlockFrames * CDecimationFilter::kFactor> scratchRight_{};
    CDecimationFilter decimator_;
    CTranceGate gate_;
    EffectsUnit effects_;
    std::array<std::atomic<signed char>, kParameterCount> linkMap_;
    std::array<std::atomic<std::uint8_t>, 128> linksOf_{}; ///< parameters linked to a controller
    std::atomic<int> selectedParameter_{-1};
    bool transportPlaying_ = false;
    double framesSincePosition_ = 0.0; ///< rendered since the host told the song position
};

} // namespace keldra
