#pragma once

namespace keldra {

/// An attack-decay-sustain-release envelope with curved segments, evaluated once per block in
/// double precision. The thread that has the engine.
class CEnvelopeGenerator {
public:
    struct Shape {
        double attackSeconds;
        double decaySeconds;
        double sustain; ///< of the peak, 0 .. 1
        double releaseSeconds;
        double curveAttack; ///< 0 straight; below 0 fast at first
        double curveDecay;
        double curveRelease;
    };

    /// Starts the attack: from the current output while it still sounds, else from 0.
    /// @param rateHz  samples per second. @param peak  level at the end of the attack
    void Trigger(const Shape& shape, double rateHz, double peak);
    void BeginRelease();
    void MarkFinished();

    /// Advances by n samples and answers the new output, never below 0.
    float Process(int samples);

    [[nodiscard]] bool IsFinished() const { return finished_; }

private:
    enum EStage { kAttack, kDecay, kRelease };

    double peak_ = 0.0;
    double startLevel_ = 0.0;
    double attackRate_ = 0.0; ///< of the stage per sample, likewise below
    double decayRate_ = 0.0;
    double releaseRate_ = 0.0;
    double sustainLevel_ = 0.0;
    double position_ = 0.0; ///< 0 .. 1 within the stage
    double output_ = 0.0;
    double releaseStart_ = 0.0;
    double curveAttack_ = 0.0;
    double curveDecay_ = 0.0;
    double curveRelease_ = 0.0;
    EStage stage_ = kAttack;
    bool finished_ = true;
};

} // namespace keldra
