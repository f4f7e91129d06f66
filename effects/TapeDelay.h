#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "effects/FilterStage.h"
#include "effects/Sample.h"
#include "effects/Tape.h"

namespace keldra {

/// A delay line that works like a tape echo: a loop of tape under one head for writing and reading,
/// moved at a variable speed. The delay is the time of one lap. A new delay time is reached by
/// slowing down or speeding up, which bends the pitch of what is on the tape; so does a slow
/// modulation of the speed. What is read is filtered, then heard and laid on the tape again
/// together with the input.
///
/// Memory is taken by the constructor (control thread). All else never allocates, waits or fails,
/// and runs on the thread that has the engine. Settings are limited to their ranges; NaN becomes
/// the lower limit.
class CTapeDelay {
public:
    /// @param length     longest lap N in samples; below 5 becomes 4
    /// @param startHead  place of the head after a Reset, 0 up to but not 1
    /// Begins with half the longest delay, wet 1, no feedback, no modulation, both filter stages
    /// off.
    CTapeDelay(int length, double startHead);
    virtual ~CTapeDelay() = default;
    CTapeDelay(const CTapeDelay&) = delete;
    CTapeDelay& operator=(const CTapeDelay&) = delete;

    /// The delay as a fraction 0 .. 0.99 of the longest: (N - 2) x fraction + 2 samples.
    void SetTime(double fraction);
    /// Gain from one echo to the next, 0 .. 1. Held where feedback x the highest gain of the
    /// enabled filter stages would exceed 0.99, so that echoes always die away.
    void SetFeedback(float gain);
    void SetWet(float gain); ///< of the output; reached with 1 % of the rest a sample
    void
    SetDepth(float depth); ///< of the speed modulation, 0 .. 1: up to 1 + depth times the speed
    void SetModRate(double hz, double sampleRate); ///< of the speed modulation; below 0 becomes 0

    /// Cut frequencies, limited to 10 Hz (or what FilterStage can do) .. sampleRate / 2.1.
    void SetLowPass(float hz, double sampleRate);
    void SetHighPass(float hz, double sampleRate);
    void EnableLowPass();  ///< clears the stage if it was off
    void EnableHighPass(); ///< likewise

    /// An empty tape, the head back at its start, speed at its target, wet at 0. Settings stay.
    /// Takes no longer for a long tape.
    void Reset();

    /// One sample in, one out: the echo alone, without the input.
    float Process(float x) { return motion_.Process(x); }

    /// Nothing but silence comes out until something else than silence goes in.
    [[nodiscard]] bool IsSilent() const { return motion_.lapIsMute && motion_.loudest <= 0.0f; }

    /// Instead of Process while IsSilent: some samples of silence in, silence out.
    void PassSilence(int samples);

    [[nodiscard]] std::size_t MemoryBytes() const; ///< of the tape

private:
    /// All that a sample needs. Plain data, see CPass.
    struct Motion {
        Tape tape;
        double head = 0.0;        ///< place over the tape, 0 .. 1
        double speed = 0.0;       ///< laps per sample, without the modulation
        double targetSpeed = 0.0; ///< 1 / delay in samples
        double minSpeed = 0.0;    ///< 1 / N
        double lfoPhase = 0.0;    ///< 0 .. 1
        double lfoIncrement = 0.0;
        double depth = 0.0;
        float wet = 1.0f;
        float wetSmoothed = 0.0f;
        float feedback = 0.0f;  ///< as held
        float loudest = 0.0f;   ///< on this lap so far, written or read
        float inaudible = 0.0f; ///< a lap that is nowhere louder is not read again
        bool lapIsMute = true;  ///< there is no lap to read, or nothing to be heard on it
        bool lowPassIsOn = false;
        bool highPassIsOn = false;
        FilterStage lowPass;
        FilterStage highPass;

        float Process(float x);
        double NextStep();
        void Clear();
    };

public:
    /// Runs a line over a block on a copy of its state, which is put back at the end of the scope.
    /// Without it the compiler would have to reload the state for every sample, since a store into
    /// the audio block might have changed it.
    class CPass {
    public:
        explicit CPass(CTapeDelay& line) : line_(line), motion_(line.motion_) {}
        ~CPass() { line_.motion_ = motion_; }
        CPass(const CPass&) = delete;
        CPass& operator=(const CPass&) = delete;

        float Process(float x) { return motion_.Process(x); }

    private:
        CTapeDelay& line_;
        Motion motion_;
    };

private:
    void UpdateLoop();

    std::vector<double> places_; ///< the tape's memory
    std::vector<float> samples_;
    int length_;            ///< N
    double startHead_;      ///< 0 .. 1
    float feedback_ = 0.0f; ///< as asked for
    float lowPassOmega_ = 0.0f;
    float highPassOmega_ = 0.0f;
    Motion motion_;
};

/// The way of the head to its next place, in laps.
inline double CTapeDelay::Motion::NextStep()
{
    // The modulation only ever speeds up: a triangle, rounded at both ends (smoothstep).
    const double triangle = 2.0 * std::min(lfoPhase, 1.0 - lfoPhase);
    const double shaped = triangle * (3.0 - 2.0 * triangle) * triangle;
    lfoPhase += lfoIncrement;
    if (lfoPhase >= 1.0)
        lfoPhase -= 1.0;
    return std::max(minSpeed, std::min(0.2, (1.0 + shaped * depth) * speed));
}

inline float CTapeDelay::Motion::Process(float x)
{
    x = SaneInput(x);
    float y = lapIsMute ? 0.0f : WithoutTiny(tape.Read(head));
    if (lowPassIsOn)
        y = lowPass.Process(y);
    if (highPassIsOn)
        y = highPass.Process(y);
    const float written = x + y * feedback;
    loudest = std::max(loudest, std::max(std::fabs(written), std::fabs(y)));

    head += NextStep();
    if (head >= 1.0) {
        head -= 1.0;
        tape.TurnLap();
        lapIsMute = loudest <= inaudible;
        loudest = std::fabs(written); // the first sample of the new lap
        if (lapIsMute) {
            lowPass.Clear();
            highPass.Clear();
        }
    }
    tape.Write(head, written);

    const float gain = wetSmoothed;
    wetSmoothed = WithoutTiny(wetSmoothed + (wet - wetSmoothed) * 0.01f);
    speed += (targetSpeed - speed) * 0.005;
    return gain * y;
}

} // namespace keldra
