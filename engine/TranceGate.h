#pragma once

#include <array>

namespace keldra {

/// A 16-step volume sequencer on the summed voices, in time with the host. The thread that has the
/// engine.
class CTranceGate {
public:
    static constexpr int kSteps = 16;

    CTranceGate();

    void SetMix(float mix);                ///< depth of an off step, clamped to 0 .. 1
    void SetSmooth(float value);           ///< 0 .. 1: time in which the level follows the steps
    void SetStep(int index, float off);    ///< 1.0 off, 0.0 on; indices outside 0 .. 15 are ignored
    void SetStepLength(double sixteenths); ///< above 0; else a step is a second

    void ResetGate(); ///< to the start of the first step, the level with it

    /// Takes step and place in it from the song. The level isn't touched, so that no jump is heard.
    /// A position that isn't finite is ignored. @param quarterNotes  may be negative and large
    void SyncToPosition(double quarterNotes);

    /// In place, one sample per channel and frame. Below a mix of 0.001 neither signal nor clock
    /// move. @param tempo  beats per minute, 0 .. 100000
    void ProcessGate(float* left, float* right, int frames, double sampleRate, double tempo);

    [[nodiscard]] int StepIndex() const { return stepIndex_; }
    [[nodiscard]] double Phase() const { return phase_; }

private:
    float mix_ = 0.0f;
    float smooth_ = 0.0101f; ///< of the level, per frame
    std::array<float, kSteps> steps_;
    double stepLength_ = 0.5; ///< sixteenth notes
    double phase_ = 0.0;      ///< in the current step, 0 .. 1; below 0 before the song's start
    float level_ = 1.0f;
    int stepIndex_ = 0;
};

} // namespace keldra
