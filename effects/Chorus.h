#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "effects/TapeDelay.h"

namespace keldra {

/// The chorus: the sum of both sides goes through three short tape lines (about 11, 8.5 and 10 ms)
/// whose speeds are modulated at three related rates. The first is added to the left side, the
/// third to the right, the second to both. Settings are the stored 0 .. 1 values of its parameters,
/// limited to that range (NaN becomes 0).
///
/// SetSampleRate takes memory (control thread). All else never allocates, waits or fails, and runs
/// on the thread that has the engine. Before the first SetSampleRate there are no lines: the
/// settings are kept for them.
class CChorus {
public:
    virtual ~CChorus() = default;

    /// Builds the lines anew, empty. Settings stay.
    /// @param hz  1000 .. 1 000 000; else everything stays as it is
    void SetSampleRate(double hz);

    void SetEnabled(bool on);   ///< the tapes keep what is on them and stand still while off
    void SetRate(float value);  ///< 0.1 .. 5.1 Hz
    void SetDepth(float value); ///< up to twice as fast, which halves the delay; by the cube
    void SetWet(float value);   ///< gain 0 .. 1

    void TouchMemory(); ///< of tapes that nobody touched; they are empty then. Control thread
    void Reset();       ///< empty tapes; settings stay

    /// Adds the lines to a block, in place. Does nothing while switched off.
    void Process(float* left, float* right, int frames);

    /// Silence in gives silence out: switched off, or nothing on the tapes.
    [[nodiscard]] bool IsSilent() const;
    /// Instead of Process while IsSilent: some frames of silence.
    void PassSilence(int frames);

    [[nodiscard]] std::size_t MemoryBytes() const; ///< of the tapes

private:
    template <typename Operation>
    void OnEachLine(Operation operation);

    std::array<std::unique_ptr<CTapeDelay>, 3> lines_; ///< all or none
    float depth_ = 0.0f;                               ///< stored values, as those below
    float rate_ = 0.0f;
    float wet_ = 0.0f;
    double sampleRate_ = 44100.0;
    bool enabled_ = false;
};

} // namespace keldra
