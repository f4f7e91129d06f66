#include "apps/render/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <ebur128.h>
#include <limits>
#include <new>

namespace keldra::render {

/// The library's state, whose name its header gives to a typedef only.
struct CLevelMeter::Loudness {
    explicit Loudness(int sampleRate)
        : state(::ebur128_init(2, static_cast<unsigned long>(sampleRate), EBUR128_MODE_I))
    {
        if (state == nullptr)
            throw std::bad_alloc();
    }
    ~Loudness() { ::ebur128_destroy(&state); }
    Loudness(const Loudness&) = delete;
    Loudness& operator=(const Loudness&) = delete;

    ebur128_state* state;
};

CLevelMeter::CLevelMeter(int sampleRate) : loudness_(std::make_unique<Loudness>(sampleRate)) {}

CLevelMeter::~CLevelMeter() = default;

void CLevelMeter::Add(std::span<const float> frames)
{
    for (const float sample : frames)
        peak_ = std::max(peak_, std::fabs(sample));
    if (::ebur128_add_frames_float(loudness_->state, frames.data(), frames.size() / 2) != 0)
        throw std::bad_alloc();
}

double CLevelMeter::PeakDb() const
{
    return 20.0 * std::log10(static_cast<double>(peak_));
}

double CLevelMeter::LoudnessDb() const
{
    double loudness = 0.0;
    if (::ebur128_loudness_global(loudness_->state, &loudness) != EBUR128_SUCCESS)
        return -std::numeric_limits<double>::infinity();
    return loudness;
}

} // namespace keldra::render
