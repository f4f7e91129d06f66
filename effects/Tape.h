#pragma once

#include <cstddef>
#include <memory>

#include "effects/Sample.h"
#include "effects/TapeMotor.h"

namespace keldra {

/// The loop of tape of a CTapeDelay, and the head over it.
///
/// Once round the loop is a lap; a place on it is a number 0 .. 1. The head goes round and round.
/// At every sample it reads what was laid where it stands a lap ago, moves on by a step, and lays
/// the next sample there. Steps may be as short as 1/N of a lap and as wide as a quarter, so the
/// samples lie as dense as the head was slow, and each is kept with its place:
///
///     the lap before   o    o    o    o   o   o   o  o  o  o o o o o o o o    it slowed down
///     this lap         x  x  x  x  x  x  x ^                                  faster all along
///                                          the head
///
/// It reads between two samples of the lap before. Where they lie denser than its steps, they pass
/// faster than they were laid: higher in pitch. A lap later all is read as fast as it was laid, and
/// the pitch is what it was.
///
/// A sample is needed until the head comes to its place again. So all that is needed at a time lies
/// within one lap, counted back from the head: the o right of it and the x left of it. These are
/// about N samples, whatever the speeds were. They stay in a ring of little more than N slots, in
/// the order in which they were laid; when one is overwritten, the head is past its place.
///
/// Between two laps the ring has one more slot, the seam. While the earlier lap is read, the seam
/// closes it: it holds the first sample of the later lap, at its place beyond 1. When the head
/// comes to the later lap, the seam opens that: it holds the last sample of the earlier lap, at its
/// place below 0. So a lap is read from seam to seam as if it were the only one.
///
/// Play and Record go by stretches of some samples. To play a stretch first and record it then is
/// the same as sample by sample as long as nothing that is laid in it is read in it.
///
/// Memory is taken by the constructor; all else never allocates, waits or fails.
class CTape {
public:
    /// @param longestLap  N in samples, at least 4. @param startHead  0 up to but not 1
    CTape(int longestLap, double startHead);

    /// Writes to the whole ring, if nobody did, and erases it: the system hands a page of memory
    /// out when it is first written to, which shouldn't happen in the middle of a block. Control
    /// thread.
    void TouchMemory();

    void Erase(); ///< nothing on the tape, the head at its start; takes no longer for a long tape

    /// Most samples in the next stretch, 1 .. kMaxStretch. @param widestStep  in laps, at most 0.25
    [[nodiscard]] int StretchLimit(double widestStep) const;

    /// Lets the motor move the head over a stretch and reads.
    void Play(TapeMotor& motor, float* out, int samples);

    /// Lays down the samples of the stretch that was played, where the head went.
    /// @param isAudible  some of them are worth being read; a lap where none is will be mute
    void Record(const float* written, int samples, bool isAudible);

    /// Silence passes that isn't laid down. On an empty tape the place of the head means nothing:
    /// it stands at 0 then, and the last of the silence where it stands, so that the first sample
    /// laid isn't drawn out over the rest of the lap.
    void PassSilence();

    /// Play gives silence until the end of this lap.
    [[nodiscard]] bool IsMute() const { return isMute_; }
    /// Nothing recorded on this lap so far is audible.
    [[nodiscard]] bool LapIsQuiet() const { return !lapIsAudible_; }

    [[nodiscard]] std::size_t MemoryBytes() const;

private:
    [[nodiscard]] float Read(double head, int& next) const;
    int TurnLap(int closing);
    [[nodiscard]] int FreeSlots() const;
    [[nodiscard]] std::size_t SlotCount() const { return static_cast<std::size_t>(size_) + 2; }
    void Append(const double* places, const float* samples, int count);

    // Slots 0 .. size_ - 1 are the ring. Two more make reading simple: -1 repeats the last slot, so
    // that each has one before it, and at the place in slot size_ every search ends.
    [[nodiscard]] double* Places() { return places_.get() + 1; }
    [[nodiscard]] const double* Places() const { return places_.get() + 1; }
    [[nodiscard]] float* Samples() { return samples_.get() + 1; }
    [[nodiscard]] const float* Samples() const { return samples_.get() + 1; }

    int size_;
    std::unique_ptr<double[]> places_;
    std::unique_ptr<float[]> samples_;
    bool isTouched_ = false; ///< all of their memory was written to
    double startHead_;
    double head_ = 0.0;              ///< 0 .. 1
    double heads_[kMaxStretch] = {}; ///< after each sample of the stretch
    int turn_ = 0;        ///< the sample of the stretch that went past the lap's end; or its length
    int nextWritten_ = 0; ///< slot
    int nextRead_ = 0;    ///< slot: the first that isn't behind the head
    int seam_ = 0;        ///< slot: before this lap
    bool lapIsEmpty_ = true;    ///< this lap: no sample yet
    bool lapIsAudible_ = false; ///< this lap: something so far
    bool isMute_ = true;        ///< the lap before: none, or nothing to be heard on it
};

} // namespace keldra
