#include "voice/VoiceLfo.h"

#include <algorithm>
#include <cmath>

#include "frame/Numbers.h"
#include "voice/PairMath.h"
#include "voice/VoiceRandom.h"

namespace keldra {

namespace {

constexpr int kMaxShape = 5;

double DrawHeldValue()
{
    return LfoSequence().Draw() / 4294967295.0;
}

} // namespace

void CVoiceLfo::SetRate(double hz)
{
    rate_ = std::fmax(0.0, hz);
}

void CVoiceLfo::SetShape(int shape)
{
    shape_ = std::clamp(shape, 0, kMaxShape);
}

void CVoiceLfo::SetSync(double sixteenths)
{
    sync_ = sixteenths;
}

void CVoiceLfo::SetRetrigger(bool on)
{
    retrigger_ = on;
}

void CVoiceLfo::ResetPhase()
{
    phase_ = 0.0;
}

void CVoiceLfo::FollowSettingsOf(const CVoiceLfo& settings)
{
    rate_ = settings.rate_;
    shape_ = settings.shape_;
    sync_ = settings.sync_;
}

float CVoiceLfo::Process(double rateHz, double tempo, int samples)
{
    const double frequency = sync_ > 0.0 ? tempo / (sync_ * kSixteenthAtOneBpmSeconds) : rate_;
    const double advance = frequency / rateHz * samples;
    const double before = phase_;
    if (std::isfinite(advance)) // a tempo or rate without meaning must not stay in the phase
        phase_ += advance;
    if (!(phase_ >= 0.0 && phase_ < 1.0))
        phase_ -= std::floor(phase_);

    switch (shape_) {
    case kSaw:
        return static_cast<float>(phase_);
    case kPulse:
        return phase_ < 0.5 ? 1.0f : 0.0f;
    case kTriangle:
        return static_cast<float>(2.0 * (phase_ < 0.5 ? phase_ : 1.0 - phase_));
    case kSine:
        return static_cast<float>(SineOfCycle(phase_));
    case kRandom:
        if (phase_ < before)
            held_ = DrawHeldValue();
        return static_cast<float>(held_);
    default:
        return 0.0f;
    }
}

} // namespace keldra
