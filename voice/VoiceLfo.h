#pragma once

namespace keldra {

/// One low-frequency oscillator, evaluated once per block. The thread that has the engine.
class CVoiceLfo {
public:
    enum EShape { kSaw, kPulse, kTriangle, kSine, kRandom };

    void SetRate(double hz);         ///< below 0 becomes 0
    void SetShape(int shape);        ///< clamped to 0 .. 5; 5 gives a constant 0
    void SetSync(double sixteenths); ///< cycle length in sixteenth notes; 0 or less: free
    void SetRetrigger(bool on);      ///< new voices start the cycle anew
    void ResetPhase();

    [[nodiscard]] bool Retriggers() const { return retrigger_; }

    /// Takes rate, shape and sync from another LFO; keeps its own phase and held value.
    void FollowSettingsOf(const CVoiceLfo& settings);

    /// Advances by n samples and answers the new value: sine -1 .. +1, all other shapes 0 .. 1.
    /// @param rateHz  samples per second. @param tempo  beats per minute
    float Process(double rateHz, double tempo, int samples);

private:
    double rate_ = 1.0;  ///< Hz
    double phase_ = 0.0; ///< 0 .. 1
    double held_ = 0.0;  ///< last random value
    int shape_ = kTriangle;
    bool retrigger_ = false;
    double sync_ = -1.0;
};

} // namespace keldra
