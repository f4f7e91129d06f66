#pragma once

namespace keldra {

/// What one voice carries from internal sample to internal sample, and the block constants that
/// PrepareBlock works out. Plain floats, so that the kernel can take any voices side by side.
struct VoiceState {
    // Oscillators: phases fall from 1 to 0; increments in cycles per internal sample
    float phaseA1 = 1.0f, phaseA2 = 1.0f, incA = 0.0f, levelA = 0.0f, levelAStep = 0.0f;
    float phaseB1 = 1.0f, phaseB2 = 1.0f, incB = 0.0f, levelB = 0.0f, levelBStep = 0.0f;
    float noiseLevel = 0.0f, noiseLevelStep = 0.0f;

    // Ladder filter: inputs and outputs of the stages, coefficients, output weights
    float xOld = 0.0f, y1Old = 0.0f, y2Old = 0.0f, y3Old = 0.0f;
    float y1 = 0.0f, y2 = 0.0f, y3 = 0.0f, y4 = 0.0f;
    float p = 0.0f, k = 0.0f, r = 0.0f;
    float c4 = 0.0f, c3 = 0.0f, cx = 0.0f;

    // Output: gains follow targets, which move along straight lines
    float targetL = 0.0f, targetLStep = 0.0f, targetR = 0.0f, targetRStep = 0.0f;
    float gainL = 0.0f, gainR = 0.0f;
    float dcState = 0.0f;
};

} // namespace keldra
