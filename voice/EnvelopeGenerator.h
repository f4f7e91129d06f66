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
    void BeginRelease(); ///< from the current output; one under way goes on
    void MarkFinished(); ///< silent until the next Trigger

    /// Advances by n samples and answers the new output, never below 0.
    float Process(int samples);

    /// The same in two halves, for who has several exponentials to work out at once: 2 to the power
    /// of `exponent` is what Settle needs.
    struct Step {
        double from, to;  ///< of the stage
        double remaining; ///< of the way, 1 .. 0, if it were straight
        double exponent;  ///< -30 .. 0
    };
    [[nodiscard]] Step Advance(int samples);
    float Settle(const Step& step, double power);

    [[nodiscard]] bool IsFinished() const { return finished_; }

private:
    enum EStage { kAttack, kDecay, kRelease };
    struct Stage {
        double from = 0.0, to = 0.0;
        double rate = 0.0;  ///< of the stage per sample
        double curve = 0.0; ///< in octaves
    };

    Step FinishStage();

    Stage stages_[3];
    EStage stage_ = kAttack;
    double position_ = 0.0; ///< 0 .. 1 within the stage
    double output_ = 0.0;
    bool finished_ = true;
};

} // namespace keldra
