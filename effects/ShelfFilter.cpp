#include "effects/ShelfFilter.h"

#include <cmath>

namespace keldra {

namespace {

constexpr float kFrequencyHz = 12000.0f;
constexpr float kBandwidthOctaves = 0.99f;
constexpr float kGainDb = 5.0f; ///< at the middle of the shelf, half of what it gives above

} // namespace

void ShelfFilter::SetSampleRate(double hz)
{
    const float a = std::pow(10.0f, kGainDb / 20.0f);
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
    b0_ = WithoutTiny(a * (up + down * cosine + slope) / a0);
    b1_ = WithoutTiny(-2.0f * a * (down + up * cosine) / a0);
    b2_ = WithoutTiny(a * (up + down * cosine - slope) / a0);
    a1_ = WithoutTiny(2.0f * (down - up * cosine) / a0);
    a2_ = WithoutTiny((up - down * cosine - slope) / a0);
}

void ShelfFilter::Process(float* left, float* right, int frames)
{
    // On copies: a store into the block might alias a member, which would be reloaded every time.
    const float b0 = b0_, b1 = b1_, b2 = b2_, a1 = a1_, a2 = a2_;
    Stereo x1 = x1_, x2 = x2_, y1 = y1_, y2 = y2_;
    for (int i = 0; i < frames; ++i) {
        const Stereo x = SaneInput(Stereo{left[i], right[i], 0.0f, 0.0f});
        const Stereo y = WithoutTiny(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        left[i] = y[0];
        right[i] = y[1];
    }
    x1_ = x1, x2_ = x2, y1_ = y1, y2_ = y2;
}

bool ShelfFilter::IsSilent() const
{
    const Stereo loudest = Magnitude(x1_) + Magnitude(x2_) + Magnitude(y1_) + Magnitude(y2_);
    return loudest[0] + loudest[1] == 0.0f;
}

} // namespace keldra
