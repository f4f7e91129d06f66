#pragma once

namespace keldra {

/// The loop of tape of a CTapeDelay, and the head over it.
///
/// Once round the loop is a lap; a place on it is a number 0 .. 1. The head goes round and round:
/// at every sample it stands at some place, reads what was laid there a lap ago, and a step further
/// on lays the next sample over it. The steps may be of any length between a fifth and 1/N of a
/// lap, so samples lie on the tape as densely as the head was slow, and each is kept with its
/// place:
///
///     the lap before    o    o    o    o   o   o   o  o  o  o  o o o o o o o o       (slowed down)
///     this lap          x  x  x  x  x  x  x ^                                         (fast again)
///                                           the head
///
/// Reading goes between two samples of the lap before. Where those lie denser than the head now
/// steps, they pass it faster than they were laid: higher in pitch. A lap later nothing of them is
/// left, all sounds are laid and read at the same speed, and the pitch is as it was.
///
/// Memory. A sample is needed until the head passes its place for the second time. So what is
/// needed lies within one lap, counted back from the head: o right of it and x left of it. Steps of
/// at least 1/N put at most N + 1 samples there (one for the seam, where roundings of N steps add
/// up to far less than a step). Two more are kept for interpolation: the one before the reading
/// place and the last of the lap before. Laid one behind the other in a ring of N + kSpare, none is
/// overwritten before its time, and no sample is ever moved.
///
/// Plain data: a view of memory that its owner holds, so that a block can run on a copy in
/// registers.
struct Tape {
    static constexpr int kSpare = 8; ///< slots beyond N

    struct Spot {
        double place;
        float sample;
    };

    double* places = nullptr; ///< size entries, a place for each sample
    float* samples = nullptr; ///< size entries
    int size = 0;             ///< N + kSpare
    int nextWritten = 0;      ///< the slot that the next sample is laid in
    int nextRead = 0;         ///< the slot behind `ahead`
    int lapStart = 0;         ///< the slot of this lap's first sample
    Spot behind{0.0, 0.0f};   ///< the two neighbours of the reading place
    Spot ahead{0.0, 0.0f};

    /// An empty tape: what stands before the first sample is silence, a lap away from the lap's
    /// end.
    void Erase()
    {
        places[0] = 0.0;
        samples[0] = 0.0f;
        nextWritten = 1;
        lapStart = 1;
    }

    /// The head, just past the lap's end, goes on at the beginning. The lap that it has laid
    /// becomes the one to read (unless it holds no sample at all: then Read must not be called).
    void TurnLap()
    {
        behind = At(Before(lapStart));
        behind.place -= 1.0;
        ahead = At(lapStart);
        nextRead = After(lapStart);
        lapStart = nextWritten;
    }

    /// What was laid at a place in the lap before. Only after TurnLap, and forward within a lap.
    /// A sample is passed once a lap: as many as were laid, so one or two a call in the long run.
    float Read(double head)
    {
        while (ahead.place < head) {
            behind = ahead;
            ahead = At(nextRead);
            // Behind the last sample of the lap before comes the first of this one, a lap further.
            if (nextRead == lapStart)
                ahead.place += 1.0;
            nextRead = After(nextRead);
        }
        const auto fraction =
            static_cast<float>((head - behind.place) / (ahead.place - behind.place));
        return behind.sample + (ahead.sample - behind.sample) * fraction;
    }

    void Write(double head, float sample)
    {
        places[nextWritten] = head;
        samples[nextWritten] = sample;
        nextWritten = After(nextWritten);
    }

private:
    [[nodiscard]] Spot At(int slot) const { return {places[slot], samples[slot]}; }
    [[nodiscard]] int After(int slot) const { return slot + 1 == size ? 0 : slot + 1; }
    [[nodiscard]] int Before(int slot) const { return (slot == 0 ? size : slot) - 1; }
};

} // namespace keldra
