#pragma once

#include <cstdint>
#include <span>

#include "voice/VoicePatch.h"

namespace keldra {

/// Random states of a scalar synthesizer: all its voices share one object.
struct ScalarRandom {
    std::uint32_t noise = 22222;
    std::uint32_t lfo = 2222;
};

/// An envelope, stage by stage.
struct ScalarEnvelope {
    void Trigger(const EnvelopeSettings& settings, double curveA, double curveD, double curveR,
                 double rateHz, double newPeak);
    void BeginRelease();
    float Process(int samples);

    double peak = 0, startLevel = 0, sustainLevel = 0, releaseStart = 0;
    double attackRate = 0, decayRate = 0, releaseRate = 0;
    double curveAttack = 0, curveDecay = 0, curveRelease = 0;
    int stage = 0; ///< 0 attack, 1 decay and sustain, 2 release
    double position = 0, output = 0;
    bool finished = true;
};

/// An LFO. Its settings are plain fields, within the limits that CVoiceLfo keeps.
struct ScalarLfo {
    float Process(double rateHz, double tempo, int samples, ScalarRandom& random);

    double rate = 1, phase = 0, held = 0;
    int shape = 2;
    bool retrigger = false;
    double sync = -1;
};

/// The part of a voice that moves every sample.
struct ScalarVoiceState {
    float phaseA1 = 0, phaseA2 = 0, incA = 0, levelA = 0, levelAStep = 0;
    float phaseB1 = 0, phaseB2 = 0, incB = 0, levelB = 0, levelBStep = 0;
    float noiseLevel = 0, noiseLevelStep = 0;
    float xOld = 0, y1Old = 0, y2Old = 0, y3Old = 0, y1 = 0, y2 = 0, y3 = 0, y4 = 0;
    float p = 0, k = 0, r = 0, c4 = 0, c3 = 0, cx = 0;
    float targetL = 0, targetLStep = 0, targetR = 0, targetRStep = 0, gainL = 0, gainR = 0;
    float dcState = 0;
};

/// A voice, written for reading: no vectors, no rearranged formulas, no defence against values that
/// an engine would never hand out. Patch, LFO settings, key tables and random states belong to the
/// caller, who fills in the note fields before Start.
class ScalarVoice {
public:
    /// Takes its first phases from the noise state.
    ScalarVoice(VoicePatch& patch, const ScalarLfo& lfoSettings, ScalarRandom& random);

    void Start();
    void Release();
    void Free();
    void Reset();
    void PrepareBlock(int samples);

    int note = -1;
    int unisonIndex = 0, unisonCount = 1;
    float drift = 0, velocity = 0, glideRate = 0, glidePitch = 48;

    ScalarVoiceState state;

private:
    friend void RenderScalarGroup(std::span<ScalarVoice* const>, int, float*, float*, bool);

    [[nodiscard]] double Pitch() const;
    void SetUpOscillator(bool isB, float m, float l, int samples);
    void SetUpFilter(float m, float l);

    VoicePatch& patch_;
    const ScalarLfo& lfoSettings_;
    ScalarRandom& random_;
    ScalarEnvelope ampEnv_, modEnv_;
    ScalarLfo lfo_;
};

/// Renders voices that draw their noise in turn, sample by sample: four for a group, or one.
void RenderScalarGroup(std::span<ScalarVoice* const> voices, int samples, float* left, float* right,
                       bool overwrite);

/// Renders voices one after the other, each over the whole stretch, with everything that it needs
/// in local variables: the yardstick of the benchmarks.
void RenderScalarVoicesInTurn(std::span<ScalarVoice* const> voices, const VoicePatch& patch,
                              ScalarRandom& random, int samples, float* left, float* right);

} // namespace keldra
