#include "engine/TranceGate.h"

#include <cmath>

#include "frame/Numbers.h"

namespace keldra {

CTranceGate::CTranceGate()
{
    steps_.fill(1.0f);
    SetSmooth(0.0f);
    ResetGate();
}

void CTranceGate::SetMix(float mix)
{
    mix_ = Clamped(mix, 0.0f, 1.0f);
}

void CTranceGate::SetSmooth(float value)
{
    const float quick = 1.0f - Clamped(value, 0.0f, 1.0f);
    smooth_ = quick * quick * 0.01f + 0.0001f;
}

void CTranceGate::SetStep(int index, float off)
{
    if (index >= 0 && index < kSteps)
        steps_[static_cast<std::size_t>(index)] = off;
}

void CTranceGate::SetStepLength(double sixteenths)
{
    stepLength_ = sixteenths;
}

void CTranceGate::ResetGate()
{
    phase_ = 0.0;
    stepIndex_ = 0;
    level_ = 1.0f - steps_[0] * mix_;
}

void CTranceGate::SyncToPosition(double quarterNotes)
{
    const double position = quarterNotes * 4.0 / stepLength_;
    if (!std::isfinite(position))
        return;
    const double whole = std::trunc(position);
    // In floating point: a position far beyond the integers still has a step.
    const int step = static_cast<int>(std::fmod(whole, kSteps));
    stepIndex_ = step & (kSteps - 1);
    phase_ = position - whole;
}

void CTranceGate::ProcessGate(float* left, float* right, int frames, double sampleRate,
                              double tempo)
{
    if (mix_ < 0.001f)
        return;
    const double increment = stepLength_ > 0.0
                                 ? tempo / (stepLength_ * kSixteenthAtOneBpmSeconds) / sampleRate
                                 : 1.0 / sampleRate;
    for (int i = 0; i < frames; ++i) {
        phase_ += increment;
        if (phase_ > 1.0) {
            // One step a frame at most; what an absurd tempo asks beyond that isn't saved up.
            phase_ = std::fmin(phase_ - 1.0, 1.0);
            stepIndex_ = (stepIndex_ + 1) % kSteps;
        }
        const float target = mix_ * steps_[static_cast<std::size_t>(stepIndex_)];
        level_ += (1.0f - target - level_) * smooth_;
        if (std::fabs(level_) < 1e-6f)
            level_ = 0.0f;
        left[i] *= level_;
        right[i] *= level_;
    }
}

} // namespace keldra
