#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <vector>

namespace keldra {

/// White noise, -1 .. 1, the same in every run.
class CNoise {
public:
    float Next()
    {
        state_ = state_ * 1664525u + 1013904223u;
        return static_cast<float>(state_ >> 8) * 0x1p-23f - 1.0f;
    }
    /// Any number from low up to, but not, high.
    float Between(float low, float high) { return low + (high - low) * (Next() + 1.0f) * 0.5f; }
    /// 0 .. count - 1
    int Below(int count) { return static_cast<int>(Between(0.0f, static_cast<float>(count))); }

private:
    std::uint32_t state_ = 1;
};

inline std::vector<float> Tone(double hz, double rate, int samples)
{
    std::vector<float> tone(static_cast<std::size_t>(samples));
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(
            0.5 * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate));
    return tone;
}

/// Amplitude of a frequency within a sound, seen through a Hann window.
inline double AmplitudeAt(std::span<const float> sound, double hz, double rate)
{
    double real = 0.0;
    double imaginary = 0.0;
    const double step = 2.0 * std::numbers::pi / static_cast<double>(sound.size());
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double window = 1.0 - std::cos(step * static_cast<double>(i));
        const double angle = 2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate;
        real += window * static_cast<double>(sound[i]) * std::cos(angle);
        imaginary += window * static_cast<double>(sound[i]) * std::sin(angle);
    }
    return 2.0 * std::hypot(real, imaginary) / static_cast<double>(sound.size());
}

/// Frequency of a lone tone, by the time between its first and last rising crossing of zero.
inline double PitchOf(std::span<const float> sound, double rate)
{
    double first = -1.0;
    double last = -1.0;
    int periods = -1;
    for (std::size_t i = 1; i < sound.size(); ++i) {
        if (!(sound[i - 1] < 0.0f && sound[i] >= 0.0f))
            continue;
        const double at =
            static_cast<double>(i) - static_cast<double>(sound[i] / (sound[i] - sound[i - 1]));
        if (first < 0.0)
            first = at;
        last = at;
        ++periods;
    }
    return periods > 0 ? periods * rate / (last - first) : 0.0;
}

struct Echo {
    double delay; ///< samples, with fractions
    double gain;
};

/// Where and how loud a burst comes back: the peak of the correlation between from and to samples.
inline Echo FindEcho(std::span<const float> sound, std::span<const float> burst, int from, int to)
{
    const auto at = [&](int delay) {
        double sum = 0.0;
        for (std::size_t i = 0; i < burst.size(); ++i)
            if (i + static_cast<std::size_t>(delay) < sound.size())
                sum += static_cast<double>(sound[i + static_cast<std::size_t>(delay)]) *
                       static_cast<double>(burst[i]);
        return sum;
    };
    double energy = 0.0;
    for (const float sample : burst)
        energy += static_cast<double>(sample) * static_cast<double>(sample);
    int best = from;
    for (int delay = from; delay < to; ++delay)
        if (at(delay) > at(best))
            best = delay;
    // The top of a parabola through the peak and its neighbours.
    const double before = at(best - 1);
    const double peak = at(best);
    const double behind = at(best + 1);
    const double curvature = before - 2.0 * peak + behind;
    const double shift = curvature == 0.0 ? 0.0 : 0.5 * (before - behind) / curvature;
    return {best + shift, (peak - 0.25 * (before - behind) * shift) / energy};
}

} // namespace keldra
