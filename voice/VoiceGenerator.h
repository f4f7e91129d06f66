#pragma once

#include <cstdint>
#include <span>

#include "voice/EnvelopeGenerator.h"
#include "voice/VoiceLfo.h"
#include "voice/VoicePatch.h"
#include "voice/kernel/BlockGoals.h"
#include "voice/kernel/VoiceState.h"

namespace keldra {

/// Most internal samples that a voice is prepared for at once: 64 host frames.
inline constexpr int kMaxBlockSamples = 512;

/// A voice of the pool: the note it plays and the engine's bookkeeping. The thread that has the
/// engine. A voice is free exactly when its note is -1.
class CVoiceGenerator {
public:
    explicit CVoiceGenerator(VoicePatch& patch) : patch_(patch) {}
    virtual ~CVoiceGenerator() = default;
    CVoiceGenerator(const CVoiceGenerator&) = delete;
    CVoiceGenerator& operator=(const CVoiceGenerator&) = delete;

    virtual void Free();  ///< gives up its note at once
    virtual void Start(); ///< the note and glide fields are set
    virtual void Release();
    virtual void Reset(float sampleRate); ///< Hz, 0 keeps the rate; stops at once, clears the sound
    /// Glide, envelopes, modulation: everything that is worked out once for n internal samples.
    virtual void PrepareBlock(int samples);
    virtual void ReservedSlot5(int, int, int, int); ///< nobody calls it; it keeps the place

    [[nodiscard]] bool IsFree() const { return note < 0; }

    std::int8_t note = -1; ///< MIDI key, -1 when free
    std::int8_t unisonIndex = 0;
    std::int8_t unisonCount = 1;
    float drift = 0.0f;       ///< semitones
    float velocity = 0.0f;    ///< 0 .. 1, after the velocity curve
    float glideRate = 0.0f;   ///< semitones per internal sample
    float glidePitch = 48.0f; ///< semitones: where the glide is
    bool released = false;
    std::uint32_t startStamp = 0;    ///< order of assignment
    CVoiceGenerator* next = nullptr; ///< in the engine's pool; not owned

protected:
    void MoveGlide(int samples);

    VoicePatch& patch_;
    float sampleRate_ = 44100.0f; ///< Hz, the host's
};

/// The synthesizer's voice: two oscillators, noise, ladder filter, two envelopes, an LFO.
class KeldraGenerator final : public CVoiceGenerator {
public:
    explicit KeldraGenerator(VoicePatch& patch);

    void Free() override;
    void Start() override;
    void Release() override;
    void Reset(float sampleRate) override;
    void PrepareBlock(int samples) override;

    // For the kernel
    [[nodiscard]] VoiceState& State() { return state_; }
    [[nodiscard]] BlockGoals& Goals() { return goals_; } ///< of the block that is to be rendered

private:
    VoiceState state_{};
    BlockGoals goals_{};
    CEnvelopeGenerator ampEnv_;
    CEnvelopeGenerator modEnv_;
    CVoiceLfo lfo_;
};

/// Renders the voices of one block at the internal rate and writes their sum: groups of four as
/// long as two or more active voices remain, a last one alone. Free voices that fill up the last
/// group take part in the order of the noise and add nothing.
/// @param voices  the active voices, then free ones up to a multiple of four
/// @param activeCount  at least 1
/// @param samples  1 .. kMaxBlockSamples
/// @param left, right  `samples` floats each, overwritten
void RenderVoices(std::span<KeldraGenerator* const> voices, int activeCount, int samples,
                  const VoicePatch& patch, float* left, float* right);

/// The same for four voices, replacing or adding to what the buffers hold.
void RenderVoices4(float* left, float* right, int samples,
                   std::span<KeldraGenerator* const, 4> voices, const VoicePatch& patch,
                   bool overwrite);
/// The same for a voice alone.
void RenderVoice1(float* left, float* right, int samples, KeldraGenerator& voice,
                  const VoicePatch& patch, bool overwrite);

} // namespace keldra
