#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "apps/validate/Check.h"

namespace keldra::validate {

/// What came out of a stretch of rendering.
struct Sound {
    std::vector<float> left; ///< the first output
    float peak = 0.0f;       ///< of all outputs
    int subnormals = 0;      ///< samples too small for a normal float, 0 not counted

    [[nodiscard]] double Rms() const;
    /// Of the strongest tone: its period by autocorrelation. 0: too short, or no tone.
    /// @param nearly  how much like itself the sound must be after a period: 0 .. 1 of the most
    [[nodiscard]] double PitchHz(double sampleRate, double nearly = 0.9) const;
};

/// An instance in a host that watches it: each block is rendered into memory that holds something
/// else before, with guards around it.
class CRig final : public vst::CVstHostClient {
public:
    static constexpr int kBlock = 256; ///< announced by Start unless it says otherwise

    /// Ends the check when the module makes no instance.
    CRig(const Module& module, CReport& report);

    [[nodiscard]] vst::CVstHost& Host() { return *host_; }
    [[nodiscard]] bool IsSynth() const;
    void Start(double sampleRate = 48000.0, int block = kBlock) { host_->Start(sampleRate, block); }
    void Midi(int status, int key, int value, int frame = 0);
    void NoteOn(int key, int frame = 0) { Midi(0x90, key, 100, frame); }
    void NoteOff(int key, int frame = 0) { Midi(0x80, key, 0, frame); }
    Sound Render(int frames, int block = kBlock);
    [[nodiscard]] std::vector<float> Parameters() const;
    /// Every parameter to a random value.
    void Scramble(unsigned seed);

    std::atomic<int> automated{0}; ///< calls of the module to audioMasterAutomate

private:
    void OnAutomate(int, float) override { ++automated; }

    CReport& report_;
    std::unique_ptr<vst::CVstHost> host_;
};

[[nodiscard]] std::string Number(double value);

} // namespace keldra::validate
