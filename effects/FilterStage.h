#pragma once

#include "effects/Sample.h"

namespace keldra {

/// A low-pass or high-pass of second order in the loop of a tape line: 12 dB per octave, both poles
/// on one spot of the real axis (nothing rings). Single precision.
/// Plain data. Sample is float, or Stereo for two channels at the price of one.
template <typename Sample>
struct FilterStage {
    // y = (x + b1Ratio x1 + x2) b - a1 y1 - a2 y2
    Sample b1Ratio{}; ///< b1 over b: +2 low-pass, -2 high-pass
    Sample b{};
    Sample a1{};
    Sample a2{};
    Sample x1{}; ///< last input and the one before
    Sample x2{};
    Sample y1{}; ///< last output and the one before
    Sample y2{};

    void Clear() { x1 = x2 = y1 = y2 = Sample{}; }

    /// One sample in, one out. @param x  has been through WithoutTiny or SaneInput
    Sample Process(Sample x)
    {
        const Sample y = WithoutTiny((x + b1Ratio * x1 + x2) * b - a1 * y1 - a2 * y2);
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

/// Below this angle (10 Hz at 125 kHz) single precision can't hold a stage's poles: they hang on
/// 1 + a1 + a2, which is about omega squared and comes near the spacing of numbers at a1. Rounded,
/// they would lie on the unit circle or outside it.
inline constexpr float kLowestOmega = 5e-4f;

/// New coefficients; the state stays.
/// @param omega  cutoff frequency in radians per sample, kLowestOmega .. 3
void SetLowPass(FilterStage<float>& stage, float omega);
void SetHighPass(FilterStage<float>& stage, float omega);

/// Gain well inside the band of either kind, 1 .. 4/3: b makes the stages a little louder than
/// their poles ask for, most at a quarter of the sample rate.
[[nodiscard]] double BandGain(float omega);

/// Two mono stages as a stereo one.
[[nodiscard]] FilterStage<Stereo> Joined(const FilterStage<float>& left,
                                         const FilterStage<float>& right);
/// The state of a joined stage back to its two.
void Split(const FilterStage<Stereo>& joined, FilterStage<float>& left, FilterStage<float>& right);

} // namespace keldra
