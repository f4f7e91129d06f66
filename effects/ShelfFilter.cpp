#include "effects/ShelfFilter.h"

#include <cmath>

namespace keldra {

namespace {

constexpr float kFrequencyHz = 12000.0f;
constexpr float kBandwidthOctaves = 0.99f;
constexpr float kGain = 5.0f; ///< dB at the middle of the shelf, half of what it gives above

} // namespace

void ShelfFilter::SetSampleRate(double hz)
{
    const float a = std::pow(10.0f, kGain / 20.0f);
    // At pi sine would be 0 and alpha without a value.
    const float omega = Limited(6.283185f * kFrequencyHz / static_cast<float>(hz), 0.0f, 3.0f);
    const float sine = std::sin(omega);
    const float cosine = std::cos(omega);
    // 0.3465736 is half the natural logarithm of 2
    const float alpha = sine * std::sinh(0.3465736f * kBandwidthOctaves * omega / sine);
    const float slope = 2.0f * std::sqrt(a) * alpha;
    const float up = a + 1.0f;
    const float down = a - 1.0f;

    const float a0 = up - down * cosine + slope;
    b0 = WithoutTiny(a * (up + down * cosine + slope) / a0);
    b1 = WithoutTiny(-2.0f * a * (down + up * cosine) / a0);
    b2 = WithoutTiny(a * (up + down * cosine - slope) / a0);
    a1 = WithoutTiny(2.0f * (down - up * cosine) / a0);
    a2 = WithoutTiny((up - down * cosine - slope) / a0);
}

} // namespace keldra
