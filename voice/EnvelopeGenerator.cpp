// A stage goes from one level to another while its position t goes from 0 to 1. What is left of the
// way is (1 - t) 10^(kt): a straight line for curve 0; below 0 fast at first, with the end
// approached smoothly.
// Test: KernelTest.cpp, through the voice.

#include "voice/EnvelopeGenerator.h"

#include <cmath>
#include <numbers>

#include "voice/PairMath.h"

namespace keldra {

namespace {

constexpr double kShortestSeconds = 0.001;
constexpr double kOctavesOf10 = std::numbers::ln10 / std::numbers::ln2;

} // namespace

void CEnvelopeGenerator::Trigger(const Shape& shape, double rateHz, double peak)
{
    const auto rate = [rateHz](double seconds) {
        return 1.0 / (std::fmax(kShortestSeconds, seconds) * rateHz);
    };
    const double start = finished_ ? 0.0 : output_;
    const double sustain = shape.sustain * peak;
    stages_[kAttack] = {start, peak, rate(shape.attackSeconds), shape.curveAttack * kOctavesOf10};
    stages_[kDecay] = {peak, sustain, rate(shape.decaySeconds), shape.curveDecay * kOctavesOf10};
    stages_[kRelease] = {0.0, 0.0, rate(shape.releaseSeconds), shape.curveRelease * kOctavesOf10};
    stage_ = kAttack;
    position_ = 0.0;
    finished_ = false;
}

void CEnvelopeGenerator::BeginRelease()
{
    if (stage_ == kRelease)
        return;
    stages_[kRelease].from = output_;
    stage_ = kRelease;
    position_ = 0.0;
}

void CEnvelopeGenerator::MarkFinished()
{
    finished_ = true;
}

float CEnvelopeGenerator::Process(int samples)
{
    const Step step = Advance(samples);
    return Settle(step, Exp2(DoublePair{step.exponent})[0]);
}

CEnvelopeGenerator::Step CEnvelopeGenerator::Advance(int samples)
{
    const Stage& stage = stages_[stage_];
    position_ += samples * stage.rate;
    if (position_ < 1.0)
        return {stage.from, stage.to, 1.0 - position_, stage.curve * position_};
    return FinishStage(); // also for a position that is no number, after a nonsensical rate
}

CEnvelopeGenerator::Step CEnvelopeGenerator::FinishStage()
{
    const double reached = stages_[stage_].to;
    switch (stage_) {
    case kAttack:
        stage_ = kDecay;
        position_ = 0.0;
        break;
    case kDecay:
        position_ = 1.0; // where it stays: the sustain
        if (reached == 0.0) {
            stage_ = kRelease;
            finished_ = true;
        }
        break;
    case kRelease:
        position_ = 1.0;
        finished_ = true;
        break;
    }
    return {reached, reached, 0.0, 0.0};
}

float CEnvelopeGenerator::Settle(const Step& step, double power)
{
    const double value = step.from + (step.to - step.from) * (1.0 - step.remaining * power);
    output_ = value > 0.0 ? value : 0.0; // 0 for a value that is no number
    return static_cast<float>(output_);
}

} // namespace keldra
