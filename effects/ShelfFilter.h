#pragma once

#include "effects/Sample.h"

namespace keldra {

/// The high shelf that brightens the synthesizer's output: unity gain for lows, +5 dB at 12 kHz,
/// rising to +10 dB above. Both channels at once, single precision.
/// Never allocates, waits or fails.
///
/// Formulas: the high shelf of the "Audio EQ Cookbook" (R. Bristow-Johnson) with the bandwidth form
/// of alpha.
class ShelfFilter {
public:
    ShelfFilter() { SetSampleRate(44100.0); }

    /// New coefficients; the state stays. Below about 25 kHz the middle of the shelf comes down to
    /// a little under half the rate, and the shelf reaches far down, to several decibels at 100 Hz.
    void SetSampleRate(double hz);

    void Reset() { x1_ = x2_ = y1_ = y2_ = Stereo{}; }

    void Process(float* left, float* right, int frames); ///< in place

    /// Silence in gives silence out.
    [[nodiscard]] bool IsSilent() const;

private:
    // y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2
    float b0_, b1_, b2_, a1_, a2_;
    Stereo x1_{}; ///< last input and the one before
    Stereo x2_{};
    Stereo y1_{}; ///< last output and the one before
    Stereo y2_{};
};

} // namespace keldra
