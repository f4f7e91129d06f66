#pragma once

namespace keldra {

/// What a voice is to come to in a block. PrepareBlock makes it of note, knobs, envelopes and LFO;
/// the kernel, which has all voices side by side, turns it into increments, steps and coefficients.
/// T and Wide are float and double for a voice, vectors in the kernel. Cutoff and resonance are
/// within their ranges; of the others any float is allowed, the kernel limits them. Fields move by
/// rows of four, the lines below.
template <class Wide, class T>
struct GoalFields {
    Wide octavesA, octavesB; ///< of the pitches above 220 Hz, at most 100 either way
    Wide cutoff, resonance;  ///< 0 .. 0.91, 0 .. 1
    T noise, balance;        ///< 0 .. 1: noise against oscillators, B against A
    T widthA, widthB;        ///< of the pulses, 0 .. 1
    T unison, pan;           ///< -1 .. +1, to the right; -0.5 .. +0.5, to the left
    T gainLeft, gainRight;   ///< linear, before unison and pan
    T c4, c3, cx;            ///< the filter mode's output weights
    T perSample;             ///< 1 / samples of the block; 0: go on with the block before
};

/// For one voice, all 0 when value-initialised: nothing new.
struct BlockGoals : GoalFields<double, float> {};

} // namespace keldra
