#pragma once

#include <array>
#include <memory>
#include <vector>

#include "effects/EffectsUnit.h"
#include "reference/ScalarVoice.h"

namespace keldra {

/// A decimator, one channel, sample by sample.
struct ScalarDecimator {
    ScalarDecimator();
    void Process(const float* input, float* output, int frames);

    float g, a1, a2;
    float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
};

/// The whole road of the sound from voices to output, written for reading, for notes that never
/// need a voice that is taken. The patch, LFO settings and play settings are plain fields; effects
/// are the real ones, which have a scalar reading of their own.
class ScalarSynth {
public:
    explicit ScalarSynth(double hostRateHz);

    void NoteOn(int key, int velocity);
    void NoteOff(int key);
    /// Takes a named parameter's stored value, 0 .. 1. @return false for one without a reading here
    bool Follow(int index, float value);
    /// One render call. @param frames  1 .. 64
    void Render(float* left, float* right, int frames);
    /// All smoothed values take their targets at once, as after a change of rate.
    void JumpSmoothed();

    VoicePatch patch;
    ScalarLfo lfo;
    KeyTables keys;
    EffectsUnit effects;
    int unisonCount = 1;
    float driftAmount = 0.01f;
    float gain = 1.0f; ///< linear, of the output stage

private:
    [[nodiscard]] std::array<SmoothedValue*, 8> Smoothed();

    double rate_;
    ScalarRandom random_;
    std::uint32_t engineRandom_ = 2222;
    std::vector<std::unique_ptr<ScalarVoice>> voices_;
    ScalarDecimator decimatorLeft_, decimatorRight_;
    float currentGain_;
};

} // namespace keldra
