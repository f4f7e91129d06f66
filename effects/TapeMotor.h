#pragma once

#include <algorithm>

namespace keldra {

/// What moves the tape of a CTapeDelay: a speed that glides to its target, and a slow wobble on it
/// that only ever speeds up. Speeds are in laps per sample. Plain data, double precision.
struct TapeMotor {
    double targetSpeed = 0.0;  ///< 1 / delay in samples
    double speed = 0.0;        ///< without the wobble
    double minSpeed = 0.0;     ///< 1 / N
    double depth = 0.0;        ///< of the wobble: up to 1 + depth times the speed
    double lfoPhase = 0.0;     ///< 0 .. 1
    double lfoIncrement = 0.0; ///< below 1

    /// The widest step in laps, whatever the speed: a lap has at least five samples (four when that
    /// is N).
    static constexpr double kWidestStep = 0.2;

    static constexpr double kGlide = 0.005; ///< of the speed's way to its target, a sample

    /// Runs for a sample. @return its way in laps, minSpeed .. kWidestStep
    double Step();

    /// No step is wider than this while the target stays.
    [[nodiscard]] double FastestStep() const
    {
        return Limit((1.0 + depth) * std::max(speed, targetSpeed));
    }

private:
    [[nodiscard]] double Limit(double step) const
    {
        return std::max(minSpeed, std::min(kWidestStep, step));
    }
};

inline double TapeMotor::Step()
{
    const double triangle = 2.0 * std::min(lfoPhase, 1.0 - lfoPhase);
    const double rounded = triangle * (3.0 - 2.0 * triangle) * triangle; // smoothstep
    lfoPhase += lfoIncrement;
    if (lfoPhase >= 1.0)
        lfoPhase -= 1.0;
    const double step = Limit((1.0 + rounded * depth) * speed);
    speed += (targetSpeed - speed) * kGlide;
    return step;
}

} // namespace keldra
