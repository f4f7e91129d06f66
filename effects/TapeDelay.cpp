#include "effects/TapeDelay.h"

#include <cmath>

namespace keldra {

namespace {

/// Radians per sample of a cut frequency, limited.
float CutOmega(float hz, double sampleRate)
{
    const auto rate = static_cast<float>(sampleRate);
    const float omega = 6.2831853f * Limited(hz, 10.0f, rate / 2.1f) / rate;
    return std::fmax(omega, FilterStage::kLowestOmega);
}

} // namespace

CTapeDelay::CTapeDelay(int length, double startHead)
    : length_(length < 5 ? 4 : length), startHead_(startHead)
{
    const auto size = static_cast<std::size_t>(length_ + Tape::kSpare);
    places_.resize(size);
    samples_.resize(size);
    motion_.tape.places = places_.data();
    motion_.tape.samples = samples_.data();
    motion_.tape.size = length_ + Tape::kSpare;
    motion_.minSpeed = 1.0 / length_;
    SetTime(0.5);
    SetLowPass(1000.0f, 44100.0);
    SetHighPass(1000.0f, 44100.0);
    Reset();
}

void CTapeDelay::SetTime(double fraction)
{
    motion_.targetSpeed = 1.0 / ((length_ - 2) * Limited(fraction, 0.0, 0.99) + 2.0);
}

void CTapeDelay::SetFeedback(float gain)
{
    feedback_ = Limited(gain, 0.0f, 1.0f);
    UpdateLoop();
}

void CTapeDelay::SetWet(float gain)
{
    motion_.wet = Limited(gain, 0.0f, 1.0f);
}

void CTapeDelay::SetDepth(float depth)
{
    motion_.depth = static_cast<double>(Limited(depth, 0.0f, 1.0f));
}

void CTapeDelay::SetModRate(double hz, double sampleRate)
{
    // Whole cycles a sample are no movement. They are taken off here, so that Process need only
    // look for one.
    const double cycles = Limited(hz / sampleRate, 0.0, 1e6);
    motion_.lfoIncrement = cycles - std::floor(cycles);
}

void CTapeDelay::SetLowPass(float hz, double sampleRate)
{
    const float omega = CutOmega(hz, sampleRate);
    if (omega == lowPassOmega_)
        return;
    lowPassOmega_ = omega;
    motion_.lowPass.SetLowPass(omega);
    UpdateLoop();
}

void CTapeDelay::SetHighPass(float hz, double sampleRate)
{
    const float omega = CutOmega(hz, sampleRate);
    if (omega == highPassOmega_)
        return;
    highPassOmega_ = omega;
    motion_.highPass.SetHighPass(omega);
    UpdateLoop();
}

void CTapeDelay::EnableLowPass()
{
    if (motion_.lowPassIsOn)
        return;
    motion_.lowPassIsOn = true;
    motion_.lowPass.Clear();
    UpdateLoop();
}

void CTapeDelay::EnableHighPass()
{
    if (motion_.highPassIsOn)
        return;
    motion_.highPassIsOn = true;
    motion_.highPass.Clear();
    UpdateLoop();
}

/// What hangs on the stages of the loop: how much feedback it bears, and what counts as silence.
void CTapeDelay::UpdateLoop()
{
    const bool low = motion_.lowPassIsOn;
    const bool high = motion_.highPassIsOn;

    // With w = tan(omega / 2) and s the frequency on the same scale, the stages are, by the
    // bilinear transform that they come from,
    //     low-pass   bandGain / (1 + s / w)^2        high-pass  bandGain / (1 + w / s)^2.
    // Alone, each is loudest at its end of the spectrum. Their product is at the geometric mean of
    // both cut frequencies, where each lets 1 / (1 + wHigh / wLow) of its band gain through.
    double highest = 1.0;
    if (low)
        highest *= FilterStage::BandGain(lowPassOmega_);
    if (high)
        highest *= FilterStage::BandGain(highPassOmega_);
    if (low && high) {
        const double ratio = std::tan(0.5 * static_cast<double>(highPassOmega_)) /
                             std::tan(0.5 * static_cast<double>(lowPassOmega_));
        highest /= (1.0 + ratio) * (1.0 + ratio);
    }
    motion_.feedback = std::fmin(feedback_, static_cast<float>(0.99 / highest));

    // Dropping what is below kSilence is itself a disturbance, which a stage's poles prolong: a
    // signal of its cut frequency that is weaker than kSilence / omega takes more than a sample to
    // cross the dropped range, and bends. The loop would feed on that and murmur for ever.
    float slowest = 0.0f;
    if (low)
        slowest = lowPassOmega_;
    if (high)
        slowest = low ? std::fmin(slowest, highPassOmega_) : highPassOmega_;
    motion_.inaudible = slowest > 0.0f ? kSilence / slowest : 0.0f;
}

void CTapeDelay::Motion::Clear()
{
    tape.Erase();
    lapIsMute = true;
    loudest = 0.0f;
    lfoPhase = 0.0;
    speed = targetSpeed;
    wetSmoothed = 0.0f;
    lowPass.Clear();
    highPass.Clear();
}

void CTapeDelay::Reset()
{
    motion_.Clear();
    motion_.head = startHead_;
}

void CTapeDelay::PassSilence(int samples)
{
    // On an empty tape the place of the head means nothing, and nobody hears speed and wet glide.
    motion_.speed = motion_.targetSpeed;
    motion_.wetSmoothed = motion_.wet;
    const double phase = motion_.lfoPhase + samples * motion_.lfoIncrement;
    motion_.lfoPhase = phase - std::floor(phase);
}

std::size_t CTapeDelay::MemoryBytes() const
{
    return places_.size() * sizeof(double) + samples_.size() * sizeof(float);
}

} // namespace keldra
