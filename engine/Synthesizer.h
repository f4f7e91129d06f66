#pragma once

#include "engine/Arpeggiator.h"
#include "engine/HeldKeys.h"
#include "frame/PluginRenderer.h"
#include "voice/VoicePatch.h"

namespace keldra {

class CVoiceGenerator;

/// The generic polyphonic engine on the renderer frame: turns keys into voices, bends and glides
/// them, runs the arpeggiator and the output stage. What a voice sounds like isn't known here.
class CSynthesizer : public CPluginRenderer, private CArpeggiator::CPlayer {
public:
    CSynthesizer();

    void SetSampleRate(double hz) override;
    void Render() override;
    void NoteOn(int key) override;
    void NoteOff(int key) override;
    void ControlChange(int controller) override;
    void PitchBendChanged() override;

    /// Gain that the output stage moves toward. @param channel  0 left, 1 right. @return linear
    [[nodiscard]] virtual float OutputGain(int channel) const;

    /// Starts a key's voices or, with velocity 0, releases them. @param velocity  0 .. 1
    void PlayNote(int key, float velocity) override;
    /// The same with one note at a time: the newest key sounds, and glides without a new attack
    /// while another is held.
    virtual void PlayMonoNote(int key, float velocity);

    /// A key of the editor's keyboard. Any thread. @param velocity  0 .. 1, 0 releases
    virtual void KeyboardNote(int key, float velocity);

protected:
    // Setters of parameter application
    void SetMonophonic(bool on);
    void SetArpeggiatorOn(bool on);
    void SetFineTune(float semitones);
    void SetTranspose(float semitones);
    void SetGlideTime(float seconds);
    void SetGlideMode(bool onlyFromHeldKeys, bool fixedTime);
    void SetUnisonCount(int voices);
    void SetPolyphony(int voices);

    void ApplyKeyboardNote(int key, float velocity) override;
    void AppendVoice(CVoiceGenerator& voice); ///< at the end of the pool; not owned
    void ReleaseAllNotes();                   ///< as if every key was let go, the pedal too

    /// The host's tempo if it makes sense, else the last that did; 0 .. 100000 beats per minute.
    [[nodiscard]] double SaneTempo();

    [[nodiscard]] CVoiceGenerator* FirstVoice() const { return firstVoice_; }

    VoicePatch patch_;
    CArpeggiator arpeggiator_;
    float gain_ = 1.0f;        ///< linear
    float driftAmount_ = 0.0f; ///< semitones

private:
    static constexpr unsigned kOnlyFromHeldKeys = 1; ///< bits of the glide mode
    static constexpr unsigned kFixedTime = 2;

    [[nodiscard]] float DrawDrift() const;
    [[nodiscard]] float GlideStart(int key) const;
    [[nodiscard]] float GlideRate(float semitones) const;
    [[nodiscard]] float GlideRateTo(int key, float from) const;
    [[nodiscard]] CVoiceGenerator& ChooseVoice() const;
    void Assign(CVoiceGenerator& voice, int key);
    void ReleaseVoicesOf(int key);
    void MonoNoteOn(int key, float velocity);
    void MonoNoteOff(int key);
    void ResetAllControllers();
    void ReleaseSustained();

    CVoiceGenerator* firstVoice_ = nullptr;
    CVoiceGenerator* lastVoice_ = nullptr;
    int voiceObjectCount_ = 0;
    int polyphony_ = 0;
    int unisonCount_ = 1;
    bool monophonic_ = false;
    bool arpeggiatorOn_ = false;
    float glideTime_ = 0.0f; ///< seconds
    unsigned glideMode_ = 0; ///< kOnlyFromHeldKeys | kFixedTime
    float velocityExponent_ = 1.0f;
    float fineTune_ = 0.0f;  ///< semitones
    float transpose_ = 0.0f; ///< semitones
    CHeldKeys heldKeys_;
    int lastNote_ = -1;
    std::uint32_t startCounter_ = 0;
    double lastSaneTempo_ = 120.0;

    static constexpr float kPanOffset = 0.5f;
    float currentGainLeft_ = 0.0f;
    float currentGainRight_ = 0.0f;
};

} // namespace keldra
