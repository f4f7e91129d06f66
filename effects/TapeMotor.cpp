#include "effects/TapeMotor.h"

#include <algorithm>

#include "effects/Sample.h"

namespace keldra {

namespace {

constexpr double kGlide = 0.005; ///< of the rest, a sample

double Within(double step, double minSpeed)
{
    return std::max(minSpeed, std::min(TapeMotor::kWidestStep, step));
}

} // namespace

void TapeMotor::Run(double* steps, int samples)
{
    // What depends on the sample before goes first and by itself; of the rest, which is most, the
    // compiler makes vectors.
    double phases[kMaxStretch];
    double phase = lfoPhase;
    for (int i = 0; i < samples; ++i) {
        phases[i] = phase;
        phase += lfoIncrement;
        if (phase >= 1.0)
            phase -= 1.0;
    }
    lfoPhase = phase;

    double speeds[kMaxStretch];
    if (speed + (targetSpeed - speed) * kGlide == speed) {
        std::fill_n(speeds, samples, speed);
    } else {
        double now = speed;
        for (int i = 0; i < samples; ++i) {
            speeds[i] = now;
            now += (targetSpeed - now) * kGlide;
        }
        speed = now;
    }

    const double narrowest = minSpeed;
    const double wobble = depth;
    for (int i = 0; i < samples; ++i) {
        const double triangle = 2.0 * std::min(phases[i], 1.0 - phases[i]);
        const double rounded = triangle * (3.0 - 2.0 * triangle) * triangle; // smoothstep
        steps[i] = Within((1.0 + rounded * wobble) * speeds[i], narrowest);
    }
}

double TapeMotor::FastestStep() const
{
    return Within((1.0 + depth) * std::max(speed, targetSpeed), minSpeed);
}

} // namespace keldra
