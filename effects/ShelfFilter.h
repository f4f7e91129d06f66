#pragma once

#include "effects/Sample.h"

namespace keldra {

/// The high shelf that brightens the synthesizer's output, one channel: unity gain for lows, +5 dB
/// at 12 kHz, rising to +10 dB above. Single precision. Plain data, so that a block can run on a
/// copy in registers. Never allocates, waits or fails.
///
/// Formulas: the high shelf of the "Audio EQ Cookbook" (R. Bristow-Johnson) with the bandwidth form
/// of alpha.
struct ShelfFilter {
    // y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2
    float b0 = 1.0f;
    float b1 = 0.0f;
    float b2 = 0.0f;
    float a1 = 0.0f;
    float a2 = 0.0f;
    float x1 = 0.0f; ///< last input and the one before
    float x2 = 0.0f;
    float y1 = 0.0f; ///< last output and the one before
    float y2 = 0.0f;

    /// New coefficients; the state stays. Below about 25 kHz the shelf's middle is held a little
    /// under half the rate.
    void SetSampleRate(double hz);

    void Reset() { x1 = x2 = y1 = y2 = 0.0f; }

    float Process(float x)
    {
        x = SaneInput(x);
        const float y = WithoutTiny(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }

    /// Silence in gives silence out.
    [[nodiscard]] bool IsSilent() const
    {
        return x1 == 0.0f && x2 == 0.0f && y1 == 0.0f && y2 == 0.0f;
    }
};

} // namespace keldra
