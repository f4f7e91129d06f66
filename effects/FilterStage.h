#pragma once

#include "effects/Sample.h"

namespace keldra {

/// A low-pass or high-pass of second order in the loop of a tape line, 12 dB per octave, both poles
/// on one spot of the real axis (nothing rings). Single precision. Plain data, so that a block can
/// run on a copy in registers.
struct FilterStage {
    // y = (x + 2 x1 + x2) b - a1 y1 - a2 y2; the high-pass has -2
    float twice = 2.0f; ///< the 2: + low-pass, - high-pass
    float b = 0.0f;
    float a1 = 0.0f;
    float a2 = 0.0f;
    float x1 = 0.0f; ///< last input and the one before
    float x2 = 0.0f;
    float y1 = 0.0f; ///< last output and the one before
    float y2 = 0.0f;

    /// Below this angle (10 Hz at 125 kHz) single precision can't hold the poles: they hang on
    /// 1 + a1 + a2, which is about omega squared and comes near the spacing of numbers at a1.
    /// Rounded, they would lie on the unit circle or outside it.
    static constexpr float kLowestOmega = 5e-4f;

    /// New coefficients; the state stays.
    /// @param omega  cut frequency in radians per sample, kLowestOmega .. 3
    void SetLowPass(float omega);
    void SetHighPass(float omega);

    /// Gain far inside the band of either kind, 1 .. 4/3: b makes both stages a little louder than
    /// their poles ask for, most at a quarter of the sample rate.
    [[nodiscard]] static double BandGain(float omega);

    void Clear() { x1 = x2 = y1 = y2 = 0.0f; }

    /// One sample in, one out. @param x  has been through WithoutTiny or SaneInput
    float Process(float x)
    {
        const float y = WithoutTiny((x + twice * x1 + x2) * b - a1 * y1 - a2 * y2);
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

} // namespace keldra
