#pragma once

#include <cstddef>

#include "effects/FilterStage.h"
#include "effects/Sample.h"
#include "effects/Tape.h"
#include "effects/TapeMotor.h"

namespace keldra {

/// A delay line that works like a tape echo: a loop of tape under one head for reading and writing,
/// moved at a variable speed. The delay is the time of one lap. A new delay time is reached by
/// speeding up or slowing down, which bends the pitch of what is on the tape; so does a slow wobble
/// of the speed. What is read is filtered, then heard, and laid on the tape again with the input.
///
/// A block is processed in stretches: Play, Filter and Record, each over all samples of a stretch,
/// which leaves the processor less to wait for than one sample after the other. Several lines
/// may take turns. Process does all three for one sample.
///
/// Memory is taken by the constructor (control thread). All else never allocates, waits or fails,
/// and runs on the thread that has the engine. Settings are limited to their ranges; NaN becomes
/// the lower limit.
class CTapeDelay {
public:
    /// @param length     longest lap N in samples; below 5 becomes 4
    /// @param startHead  place of the head after a Reset, 0 up to but not 1
    /// Begins with half the longest delay, wet 1, no feedback, no wobble, both filter stages off.
    CTapeDelay(int length, double startHead);
    virtual ~CTapeDelay() = default;

    /// The delay as a fraction 0 .. 0.99 of the longest: (N - 2) x fraction + 2 samples.
    void SetTime(double fraction);
    /// Gain from one echo to the next, 0 .. 1. Held down where feedback x the highest gain of the
    /// enabled filter stages would exceed 0.99, so that echoes always die away.
    void SetFeedback(float gain);
    void SetWet(float gain);    ///< of the output, 0 .. 1; approached by 1 % of the rest a sample
    void SetDepth(float depth); ///< of the wobble, 0 .. 1: up to 1 + depth times the speed
    void SetModRate(double hz, double sampleRate); ///< of the wobble; below 0 becomes 0

    /// Cutoff frequencies, limited to 10 Hz (kLowestOmega at high rates) .. sampleRate / 2.1. Far
    /// down at once: without the old slope.
    void SetLowPass(float hz, double sampleRate);
    void SetHighPass(float hz, double sampleRate);
    void EnableLowPass();  ///< clears the stage if it was off
    void EnableHighPass(); ///< likewise

    /// Writes to the whole tape, if nobody did, so that the system has its memory ready; it is
    /// empty then. Control thread.
    void TouchMemory() { tape_.TouchMemory(); }

    /// An empty tape, the head at its start, speed at its target, wet at 0. Settings stay.
    /// Takes no longer for a long tape.
    void Reset();

    /// One sample in, one out: the echo alone, without the input.
    float Process(float x);

    /// Most samples in the next stretch, 1 .. kMaxStretch.
    [[nodiscard]] int StretchLimit() const { return tape_.StretchLimit(motor_.FastestStep()); }
    /// Moves the tape on and reads. @param echo  gets the samples as they are on the tape
    void Play(float* echo, int samples);
    /// Takes the echoes through the enabled filter stages, in place.
    void Filter(float* echo, int samples);
    /// The same for two lines with the same stages enabled, at the price of one.
    static void FilterBoth(CTapeDelay& left, CTapeDelay& right, float* leftEcho, float* rightEcho,
                           int samples);
    /// Lays input and fed back echo on the tape. @param echo  becomes the output, with the wet gain
    void Record(const float* input, float* echo, int samples);

    /// Nothing but silence comes out until something else than silence goes in.
    [[nodiscard]] bool IsSilent() const { return tape_.IsMute() && tape_.LapIsQuiet(); }
    /// Instead of processing while IsSilent: silence in, silence out.
    void PassSilence(int samples);

    [[nodiscard]] std::size_t MemoryBytes() const { return tape_.MemoryBytes(); }

private:
    void UpdateLoop();
    [[nodiscard]] float NextWet(float smoothed) const;

    CTape tape_;
    TapeMotor motor_;
    int length_; ///< N
    FilterStage<float> lowPass_;
    FilterStage<float> highPass_;
    float lowPassOmega_ = 0.0f; ///< cutoff frequencies, radians per sample
    float highPassOmega_ = 0.0f;
    bool lowPassIsOn_ = false;
    bool highPassIsOn_ = false;
    float feedback_ = 0.0f;     ///< as asked for
    float loopFeedback_ = 0.0f; ///< as the loop bears it
    float inaudible_ = 0.0f;    ///< what is no louder isn't worth being read again
    float wet_ = 1.0f;
    float wetSmoothed_ = 0.0f;
};

} // namespace keldra
