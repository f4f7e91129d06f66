#pragma once

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

    /// Runs for some samples. @param steps  the way of each in laps, minSpeed .. kWidestStep
    void Run(double* steps, int samples);

    /// No step is wider than this while the target stays.
    [[nodiscard]] double FastestStep() const;
};

} // namespace keldra
