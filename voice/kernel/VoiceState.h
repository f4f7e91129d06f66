#pragma once

namespace keldra {

/// What one voice carries from internal sample to internal sample, and the block constants that
/// its set-up works out. T is a float for a voice, and a vector with a voice in each lane inside
/// the kernel. Fields move by rows of four, the lines below.
template <class T>
struct VoiceFields {
    T levelA, levelB, targetL, targetR; ///< oscillator levels; what the output gains follow
    T levelAStep, levelBStep, targetLStep, targetRStep; ///< per sample
    T noiseLevel, noiseLevelStep, phaseA2, phaseB2;     ///< phases fall from 1 to 0
    T incA, incB, k, p; ///< cycles per internal sample; ladder coefficients
    T r, c4, c3, cx;    ///< resonance; output weights of stages four and three and of the input
    // Above: worked out or looked after by the kernel's set-up. Below: moved by the samples only.
    T phaseA1, phaseB1, gainL, gainR;
    T xOld, y1, y2, y3; ///< last input and outputs of the ladder
    T y4, dcState, unused1, unused2;
};

/// One voice, all 0 when value-initialised.
struct VoiceState : VoiceFields<float> {};

} // namespace keldra
