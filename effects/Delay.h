#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "effects/TapeDelay.h"

namespace keldra {

/// The stereo echo: a tape line for each side, without crosstalk, with times in sixteenth notes of
/// the host's tempo. Settings are the stored 0 .. 1 values of its parameters, limited to that range
/// (NaN becomes 0).
///
/// SetSampleRate takes memory (control thread). All else never allocates, waits or fails, and runs
/// on the thread that has the engine. Before the first SetSampleRate there are no lines: the
/// settings are kept for them.
class CDelay {
public:
    virtual ~CDelay() = default;

    /// Builds both lines anew, empty, two seconds long. Settings stay.
    /// @param hz  1000 .. 1 000 000; else everything stays as it is
    void SetSampleRate(double hz);
    /// @param bpm  beats per minute; 0: the longest time. Below 0 or not finite keeps the last
    /// tempo
    void SetTempo(double bpm);

    void SetEnabled(bool on);       ///< a change empties the tapes, the same value again doesn't
    void SetTimeLeft(float value);  ///< 1 .. 8 sixteenths in steps, at most 1.98 seconds
    void SetTimeRight(float value); ///< likewise
    void SetFeedback(float value);  ///< gain 0 .. 0.84 from echo to echo
    void SetModDepth(float value);  ///< up to 1 % faster, by the square
    void SetLowCut(float value);    ///< 10 Hz .. 10 kHz, ten octaves
    void SetHighCut(float value);   ///< 200 Hz .. 19.4 kHz, 6.6 octaves
    void SetWet(float value);       ///< gain 0 .. 1 of the echoes, by the square

    void TouchMemory(); ///< of tapes that nobody touched; they are empty then. Control thread
    void Reset();       ///< empty tapes; settings stay

    /// Adds the echoes to a block, in place. Does nothing while switched off.
    void Process(float* left, float* right, int frames);

    /// Silence in gives silence out: switched off, or nothing to be heard on the tapes.
    [[nodiscard]] bool IsSilent() const;
    /// Instead of Process while IsSilent: some frames of silence.
    void PassSilence(int frames);

    [[nodiscard]] std::size_t MemoryBytes() const; ///< of both tapes

private:
    enum ESide { kLeft, kRight };

    void SetTime(ESide side);
    template <typename Operation>
    void OnBothLines(Operation operation);

    std::array<std::unique_ptr<CTapeDelay>, 2> lines_; ///< by ESide; both or none
    std::array<float, 2> times_{0.5f, 0.5f};           ///< stored values, as those below
    float feedback_ = 0.0f;
    float modDepth_ = 0.0f;
    float wet_ = 0.0f;
    float highCutHz_ = 1000.0f;
    float lowCutHz_ = 10.0f;
    double tempo_ = 120.0; ///< beats per minute
    double sampleRate_ = 44100.0;
    bool enabled_ = false;
};

} // namespace keldra
