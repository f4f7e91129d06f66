#pragma once

#include <algorithm>
#include <cmath>
#include <span>

// What is heard of a channel.

namespace keldra {

[[nodiscard]] inline double Rms(std::span<const float> sound)
{
    double sum = 0.0;
    for (const float sample : sound)
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    return std::sqrt(sum / static_cast<double>(sound.size()));
}

/// The greatest magnitude; infinity where a sample is no number.
[[nodiscard]] inline float Peak(std::span<const float> sound)
{
    float peak = 0.0f;
    for (const float sample : sound)
        peak = std::isfinite(sample) ? std::max(peak, std::fabs(sample)) : HUGE_VALF;
    return peak;
}

/// By the spacing of its rises through zero: a low-passed note has one of them in a period.
/// @return Hz; 0 for fewer than two
[[nodiscard]] inline double FrequencyHz(std::span<const float> sound, double rate)
{
    double first = -1.0;
    double last = -1.0;
    int periods = -1;
    for (std::size_t i = 1; i < sound.size(); ++i)
        if (sound[i - 1] < 0.0f && sound[i] >= 0.0f) {
            const float part = sound[i - 1] / (sound[i - 1] - sound[i]);
            last = static_cast<double>(i - 1) + static_cast<double>(part);
            first = first < 0.0 ? last : first;
            ++periods;
        }
    return periods > 0 ? periods * rate / (last - first) : 0.0;
}

} // namespace keldra
