#pragma once

namespace keldra {

/// What one voice carries from internal sample to internal sample, and the block constants that
/// PrepareBlock works out. T is a float for a voice, and a vector with a voice in each lane inside
/// the kernel, which moves voices in and out by rows of four floats: the order is part of it.
template <class T>
struct VoiceFields {
    // Oscillators: phases fall from 1 to 0; increments in cycles per internal sample
    T phaseA1, phaseA2, incA, levelA, levelAStep;
    T phaseB1, phaseB2, incB, levelB, levelBStep;
    T noiseLevel, noiseLevelStep;

    // Ladder filter: its last input and the last outputs of its stages, coefficients, resonance,
    // output weights of stages four and three and of the input
    T xOld, y1, y2, y3, y4;
    T p, k, r;
    T c4, c3, cx;

    // Output: gains follow targets, which move along straight lines
    T targetL, targetLStep, targetR, targetRStep;
    T gainL, gainR;
    T dcState;

    T unused1, unused2; ///< fill the last row of four
};

/// One voice, all 0 when value-initialised.
struct VoiceState : VoiceFields<float> {};

} // namespace keldra
