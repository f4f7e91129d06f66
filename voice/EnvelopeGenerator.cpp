#include "voice/EnvelopeGenerator.h"

#include <cmath>
#include <numbers>

namespace keldra {

namespace {

constexpr double kShortestSeconds = 0.001;

/// How far a stage moves per sample, 1 being the whole stage.
double StageRate(double seconds, double rateHz)
{
    return 1.0 / (std::fmax(kShortestSeconds, seconds) * rateHz);
}

/// From a at t = 0 to b at t = 1: straight when k is 0; below 0 fast at first, with b approached
/// smoothly. (1 - t) 10^(kt) is what is left of the way.
double Curve(double t, double a, double b, double k)
{
    if (k == 0.0)
        return a + (b - a) * t;
    constexpr double kLog2Of10 = std::numbers::ln10 / std::numbers::ln2;
    return a + (b - a) * (1.0 - (1.0 - t) * std::exp2(k * kLog2Of10 * t));
}

/// A stage ends at position 1; a position that is no number, after a nonsensical rate, ends it too.
bool IsAtEnd(double position)
{
    return !(position < 1.0);
}

} // namespace

void CEnvelopeGenerator::Trigger(const Shape& shape, double rateHz, double peak)
{
    peak_ = peak;
    startLevel_ = finished_ ? 0.0 : output_;
    attackRate_ = StageRate(shape.attackSeconds, rateHz);
    decayRate_ = StageRate(shape.decaySeconds, rateHz);
    releaseRate_ = StageRate(shape.releaseSeconds, rateHz);
    sustainLevel_ = shape.sustain * peak;
    curveAttack_ = shape.curveAttack;
    curveDecay_ = shape.curveDecay;
    curveRelease_ = shape.curveRelease;
    stage_ = kAttack;
    position_ = 0.0;
    finished_ = false;
}

void CEnvelopeGenerator::BeginRelease()
{
    if (stage_ == kRelease)
        return;
    releaseStart_ = output_;
    stage_ = kRelease;
    position_ = 0.0;
}

void CEnvelopeGenerator::MarkFinished()
{
    finished_ = true;
}

float CEnvelopeGenerator::Process(int samples)
{
    double value = 0.0;
    switch (stage_) {
    case kAttack:
        position_ += samples * attackRate_;
        if (IsAtEnd(position_)) {
            stage_ = kDecay;
            position_ = 0.0;
            value = peak_;
        } else {
            value = Curve(position_, startLevel_, peak_, curveAttack_);
        }
        break;
    case kDecay:
        position_ += samples * decayRate_;
        if (IsAtEnd(position_)) {
            position_ = 1.0; // stays here: the sustain
            value = sustainLevel_;
            if (sustainLevel_ == 0.0) {
                stage_ = kRelease;
                finished_ = true;
            }
        } else {
            value = Curve(position_, peak_, sustainLevel_, curveDecay_);
        }
        break;
    case kRelease:
        position_ += samples * releaseRate_;
        if (IsAtEnd(position_)) {
            position_ = 1.0;
            finished_ = true;
        } else {
            value = Curve(position_, releaseStart_, 0.0, curveRelease_);
        }
        break;
    }
    output_ = std::fmax(0.0, value); // 0 for a value that is no number
    return static_cast<float>(output_);
}

} // namespace keldra
