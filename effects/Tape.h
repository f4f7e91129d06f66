#pragma once

#include <cstddef>
#include <vector>

#include "effects/Sample.h"

namespace keldra {

/// The loop of tape of a CTapeDelay, and the head over it.
///
/// Once round the loop is a lap; a place on it is a number 0 .. 1. The head goes round and round.
/// At every sample it reads what was laid where it stands a lap ago, moves on by a step, and lays
/// the next sample there. Steps may be as short as 1/N of a lap and as wide as a fifth, so the
/// samples lie as dense as the head was slow, and each is kept with its place:
///
///     the lap before   o    o    o    o   o   o   o  o  o  o  o o o o o o o o    it slowed down
///     this lap         x  x  x  x  x  x  x ^                                     fast from the
///     start
///                                          the head
///
/// It reads between two samples of the lap before. Where they lie denser than its steps, they pass
/// faster than they were laid: higher in pitch. A lap later all is laid as it is read, and the
/// pitch is what it was.
///
/// Memory. A sample is needed until the head passes its place for the second time, so all that is
/// needed lies within one lap, counted back from the head: the o right of it and the x left of it.
/// With steps of at least 1/N these are N + 1 samples, another one where roundings add up, and the
/// one before the reading place. They lie in a ring in the order in which they were laid, and are
/// never moved.
///
/// Between two laps the ring has one slot more, the seam. It first closes the lap before it with
/// the first sample of the lap behind it, at its place beyond 1; then, when that lap has been read,
/// it opens the lap behind it with the last sample of the lap before it, at its place below 0. So
/// each lap can be read from end to end between its seams and needs no look at its neighbours.
///
/// Play and Record go by stretches of some samples. Playing a stretch first and recording it
/// afterwards is the same as sample by sample as long as nothing laid in it is read in it.
///
/// Memory is taken by the constructor; all else never allocates, waits or fails.
class CTape {
public:
    /// @param longestLap  N in samples, at least 4. @param startHead  0 up to but not 1
    CTape(int longestLap, double startHead);

    void Erase(); ///< nothing on the tape, the head at its start; takes no longer for a long tape

    /// Most samples in the next stretch, 1 .. kMaxStretch. @param widestStep  in laps, at most 0.25
    [[nodiscard]] int StretchLimit(double widestStep) const;

    /// Moves the head over a stretch and reads. @param steps  in laps, 1/N .. 0.25
    void Play(const double* steps, float* out, int samples);

    /// Lays down the samples of the stretch that was played, where the head went.
    /// @param isAudible  there is something among them that is worth being read; a lap where
    /// nothing
    ///                   is will be mute
    void Record(const float* written, int samples, bool isAudible);

    /// Play gives silence until the end of this lap.
    [[nodiscard]] bool IsMute() const { return isMute_; }
    /// Nothing recorded on this lap so far is audible.
    [[nodiscard]] bool LapIsQuiet() const { return !lapIsAudible_; }

    [[nodiscard]] std::size_t MemoryBytes() const;

private:
    void ReadLap(const double* heads, float* out, int samples);
    void TurnLap(int seam);
    void Append(const double* places, const float* samples, int count);

    // Slots 0 .. size_ - 1 are the ring. Two more make reading simple: -1 repeats the last slot, so
    // that each has one before it, and at the place in slot size_ every search ends.
    [[nodiscard]] double* Places() { return places_.data() + 1; }
    [[nodiscard]] float* Samples() { return samples_.data() + 1; }

    int size_;
    std::vector<double> places_;
    std::vector<float> samples_;
    double startHead_;
    double head_ = 0.0;                  ///< 0 .. 1
    double heads_[kMaxStretch + 1] = {}; ///< before the stretch, and after each of its samples
    int turn_ = 0;        ///< the sample of the stretch that went past the lap's end, or none
    int nextWritten_ = 0; ///< slot
    int nextRead_ = 0;    ///< slot: the first that isn't behind the head
    int seam_ = 0;        ///< slot: before this lap
    bool lapIsEmpty_ = true;
    bool lapIsAudible_ = false; ///< this lap, recorded so far
    bool isMute_ = true;        ///< the lap before: there is none, or nothing to be heard on it
};

} // namespace keldra
