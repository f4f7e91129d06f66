#pragma once

namespace keldra {

/// Brings one channel from eight times the host rate down to it: a second-order low-pass with its
/// corner at a third of the host rate, of whose output every eighth sample is kept.
/// The thread that has the engine.
class CDecimationFilter {
public:
    static constexpr int kFactor = 8;

    CDecimationFilter();

    void Reset(); ///< silence

    /// @param input  kFactor x frames samples. @param output  `frames` samples, overwritten
    void Process(const float* input, float* output, int frames);

private:
    float g_, a1_, a2_; ///< coefficients: the corner is the same at every rate
    float x1_ = 0.0f, x2_ = 0.0f, y1_ = 0.0f, y2_ = 0.0f;
};

} // namespace keldra
