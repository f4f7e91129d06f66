#pragma once

#include <array>
#include <span>

namespace keldra {

/// Plays the held keys one after another, in time with the host's tempo. The thread that has the
/// engine.
///
/// The pattern is all held keys ascending, then all of them an octave up, and so on. A step begins
/// with the first clock call after its time has come, so that steps fall on render calls; the notes
/// that it starts sound from the next one.
class CArpeggiator {
public:
    enum EMode { kUp, kDown, kUpDown, kRandom };

    /// Who plays the notes.
    class CPlayer {
    public:
        /// @param velocity  0 .. 1; 0 releases
        virtual void PlayNote(int key, float velocity) = 0;

    protected:
        ~CPlayer() = default;
    };

    explicit CArpeggiator(CPlayer& player);

    void SetMode(int mode);                ///< clamped to kUp .. kRandom
    void SetRange(int octaves);            ///< clamped to 1 .. 4
    void SetStepLength(double sixteenths); ///< at least 0.25

    /// The set of pressed keys changed: rebuilds the pattern; starts or stops with the first or
    /// last key, and else goes on from where it is. @param velocities  0 .. 1 per key, 0 = not
    /// pressed
    void KeysChanged(std::span<const float, 128> velocities);

    /// Once per render call. @param tempo  beats per minute, 0 .. 100000: 0 holds the step
    void AdvanceClock(double sampleRate, double tempo, int frames);

    void ResetArpeggiator(); ///< to before the first step; forgets sounding notes unreleased
    void StopArpeggiator();
    void StartArpeggiator();

    [[nodiscard]] bool IsStopped() const { return stopped_; }

private:
    static constexpr int kSlots = 8;
    static constexpr int kMaxSteps = 128;
    static constexpr int kBeforeFirst = -2;

    /// What sounds together. The builder fills the first slot only.
    struct Step {
        Step();
        std::array<int, kSlots> notes; ///< -1 for none
        std::array<float, kSlots> velocities;
    };

    void ReleaseSounding();
    void ChooseStep();
    void PlayStep();
    void MoveOn();

    CPlayer& player_;
    double stepLength_ = 1.0; ///< sixteenth notes
    int patternLength_ = 0;   ///< steps, 1 .. 128 while running
    int mode_ = kUp;
    int range_ = 1; ///< octaves
    bool stopped_ = true;
    double phase_ = 0.0; ///< of the current step, in steps
    bool stepDue_ = true;
    int index_ = kBeforeFirst;
    bool ascending_ = true;
    std::array<int, kSlots> sounding_;
    std::array<Step, kMaxSteps> pattern_;
};

} // namespace keldra
