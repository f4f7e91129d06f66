#pragma once

#include <array>

#include "frame/PluginRenderer.h"
#include "voice/VoiceLfo.h"

namespace keldra {

/// A parameter that would be heard jumping: voices read `smoothed`, which follows `target`.
struct SmoothedValue {
    float target = 0.0f;
    float smoothed = 0.0f;

    /// Once per render call.
    void Step()
    {
        const float next = smoothed + (target - smoothed) * 0.04f;
        // Rounding ends this a little below a target that rises: a sweep of 24 semitones would be
        // one of 23.
        smoothed = next == smoothed ? target : next;
    }
    void Jump() { smoothed = target; }
};

/// The four times and levels of an envelope.
struct EnvelopeSettings {
    float attackSeconds = 0.0f;
    float decaySeconds = 0.0f;
    float sustain = 0.0f; ///< 0 .. 1 of the peak
    float releaseSeconds = 0.0f;
};

/// What each modulation source can move. The numbers are those of the selectors.
enum EEgDestination { kEgToCutoff, kEgToPitchA, kEgToPitchAB, kEgToWidthA, kEgToWidthAB };
enum ELfoDestination {
    kLfoToCutoff,
    kLfoToPitchA,
    kLfoToPitchAB,
    kLfoToWidthA,
    kLfoToWidthAB,
    kLfoToPan
};
enum EModWheelDestination {
    kWheelToCutoff,
    kWheelToLfoDepth,
    kWheelToPitchA,
    kWheelToWidthA,
    kWheelToWidthAB
};
enum EFilterMode { kLowPass, kBandPass, kHighPass };

/// Everything of the engine that a voice reads: one object per engine, shared by its voices,
/// changed only between two render calls by the thread that has the engine.
struct VoicePatch {
    // Oscillators
    float shapeA = 0.0f; ///< 0 saw, 1 pulse
    float shapeB = 0.0f;
    bool sync = false;
    bool ring = false;
    float pitchBSemitones = 0.0f;
    float detuneBSemitones = 0.0f;
    SmoothedValue pulseWidthA, pulseWidthB; ///< 0 .. 1
    SmoothedValue oscBalance, noiseBalance; ///< 0 .. 1

    // Filter; all 0 .. 1
    SmoothedValue cutoff;
    float resonance = 0.0f;
    float keyTracking = 0.0f;
    float velocityTracking = 0.0f;
    int filterMode = kLowPass;

    // Modulation; amounts -1 .. +1
    EnvelopeSettings amp, eg;
    SmoothedValue egAmount, lfoAmount, modWheelAmount;
    int egDestination = kEgToCutoff;
    int lfoDestination = kLfoToCutoff;
    int modWheelDestination = kWheelToCutoff;
    float modWheel = 0.0f; ///< controller 1, 0 .. 1
    CVoiceLfo lfo;         ///< runs on by itself; new voices copy it

    // Pitch, in semitones unless stated
    float masterTune = 0.0f;
    float bend = 0.0f; ///< -1 .. +1
    float bendRange = 0.0f;
    bool octaver = false;
    float unisonDetune = 0.1f; ///< between the lowest and the highest unison voice
    float unisonPan = 0.0f;    ///< 0 .. 1

    // Clock
    double internalRate = 352800.0; ///< Hz, eight times the host's
    double tempo = 120.0;           ///< beats per minute
    float gainSmoothing = 0.003f;   ///< of the output gains, per internal sample

    KeyTables* keys = nullptr;     ///< the host's per-key settings; counts of voices per key
    bool rebuildActiveList = true; ///< set by voices that start or end

    [[nodiscard]] std::array<SmoothedValue*, 8> SmoothedValues()
    {
        return {&pulseWidthA, &pulseWidthB, &oscBalance,     &noiseBalance,
                &lfoAmount,   &egAmount,    &modWheelAmount, &cutoff};
    }
};

} // namespace keldra
