#pragma once

#include <cstddef>

#include "effects/Chorus.h"
#include "effects/Delay.h"
#include "effects/ShelfFilter.h"

namespace keldra {

/// All effects, in the order of the sound: output shelf, chorus, delay. The engine's one way to
/// them.
///
/// SetSampleRate takes memory (control thread). All else never allocates, waits or fails, and runs
/// on the thread that has the engine. Whatever comes in, what goes out is finite; what isn't a
/// sound (NaN, infinity) counts as silence and leaves no trace.
class EffectsUnit {
public:
    /// Builds delay and chorus anew, adjusts the shelf, then Reset. Settings stay.
    /// @param hz  1000 .. 1 000 000; else everything stays as it is. Throws when memory is short:
    ///   then there is the shelf alone until another call succeeds
    void SetSampleRate(double hz);
    [[nodiscard]] bool IsBuilt() const { return isBuilt_; } ///< has all that a rate asks for
    /// Has the system's memory for all tapes ready, so that Process needn't wait for it; erases
    /// those that hadn't. Control thread, before processing.
    void TouchMemory();
    /// Of the host, in beats per minute, once a block: see CDelay::SetTempo.
    void SetTempo(double bpm) { delay_.SetTempo(bpm); }

    void Reset(); ///< silence everywhere; settings stay

    /// A block of any number of frames, in place. Costs next to nothing while it IsSilent and
    /// silence comes in.
    void Process(float* left, float* right, int frames);

    /// Instead of Process where the block is known to be silent, and stays so.
    /// @return false, and nothing is done, when something still rings: Process it
    [[nodiscard]] bool PassSilence(int frames);

    /// Silence in gives silence out: all tails have died away.
    [[nodiscard]] bool IsSilent() const;

    [[nodiscard]] CDelay& Delay() { return delay_; }    ///< for its settings
    [[nodiscard]] CChorus& Chorus() { return chorus_; } ///< for its settings

    [[nodiscard]] std::size_t MemoryBytes() const; ///< of all tapes

private:
    CDelay delay_;
    CChorus chorus_;
    ShelfFilter shelf_; ///< of both channels
    bool isBuilt_ = false;
};

} // namespace keldra
