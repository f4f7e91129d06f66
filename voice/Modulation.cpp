#include "voice/Modulation.h"

#include <algorithm>
#include <cmath>

#include "frame/Numbers.h"
#include "voice/VoiceGenerator.h"

namespace keldra {

namespace {

constexpr double kReferenceNote = 57.0; ///< 220 Hz
constexpr double kSemitonesPerOctave = 12.0;
constexpr float kPitchModulationSemitones = 24.0f; ///< at full amount
constexpr double kMostOctaves = 100.0;             ///< of a pitch, either way
constexpr double kMaxCutoff = 0.91;
constexpr double kTrackingCentreNote = 56.0;
constexpr double kTrackingPerSemitone = 0.0084;
constexpr float kAmplitudeGain = 10.0f;

struct OutputWeights {
    float c4, c3, cx;
};
constexpr OutputWeights kOutputWeights[] = {
    {1.0f, 0.0f, 0.0f},  // low-pass: the fourth stage
    {3.0f, -3.0f, 0.0f}, // band-pass: between the third and the fourth
    {-1.0f, 0.0f, 1.0f}, // high-pass: what the fourth stage lacks
};

/// Of a pitch above the reference.
double Octaves(double semitones)
{
    return Clamped((semitones - kReferenceNote) * (1.0 / kSemitonesPerOctave), -kMostOctaves,
                   kMostOctaves);
}

/// Where a voice stands among those of its note: 0 the first, 1 the last, in the middle if alone.
double UnisonPlace(const CVoiceGenerator& voice)
{
    return voice.unisonCount < 2 ? 0.5 : voice.unisonIndex / (voice.unisonCount - 1.0);
}

/// Semitones as a MIDI note number: the sum of everything that bends a voice but modulation. In
/// double precision, so that a phase increment is rounded only once.
double Pitch(const CVoiceGenerator& voice, const VoicePatch& patch, double unisonPlace)
{
    const bool octaveUp = patch.octaver && voice.unisonIndex % 2 != 0;
    return static_cast<double>(voice.glidePitch) + patch.masterTune + voice.drift +
           (octaveUp ? kSemitonesPerOctave : 0.0) +
           static_cast<double>(patch.bend) * patch.bendRange +
           (unisonPlace - 0.5) * patch.unisonDetune +
           patch.keys->pitchOffset[static_cast<std::size_t>(voice.note)];
}

/// Where envelope, LFO and wheel take a voice in one block.
struct Modulation {
    double semitonesA, semitonesB;
    float widthA, widthB; ///< the patch's pulse widths with what is added to them
    double cutoff;        ///< added to the cutoff scale
};

/// Signed square law: fine control around 0, full range at the ends.
double SignedSquare(double amount)
{
    return amount * std::fabs(amount);
}

void AddEnvelope(Modulation& to, const VoicePatch& patch, float eg)
{
    const float amount = patch.egAmount.smoothed;
    switch (patch.egDestination) {
    case kEgToCutoff:
        to.cutoff += SignedSquare(amount) * eg;
        break;
    case kEgToPitchAB:
    case kEgToPitchA: { // whole semitones at the peak
        const int semitones = TruncateToInt(amount * kPitchModulationSemitones);
        to.semitonesA += static_cast<double>(semitones) * eg;
        if (patch.egDestination == kEgToPitchAB)
            to.semitonesB += static_cast<double>(semitones) * eg;
        break;
    }
    case kEgToWidthAB:
        to.widthB += amount * eg;
        [[fallthrough]];
    case kEgToWidthA:
        to.widthA += amount * eg;
        break;
    default:
        break;
    }
}

void AddLfo(Modulation& to, const VoicePatch& patch, float lfo)
{
    const float amount = patch.lfoAmount.smoothed;
    switch (patch.lfoDestination) {
    case kLfoToCutoff:
        to.cutoff += SignedSquare(amount) * lfo;
        break;
    case kLfoToPitchAB:
    case kLfoToPitchA: {
        const double square = static_cast<double>(amount) * std::fabs(amount);
        const double semitones = square * std::fabs(square) * lfo * kPitchModulationSemitones;
        to.semitonesA += semitones;
        if (patch.lfoDestination == kLfoToPitchAB)
            to.semitonesB += semitones;
        break;
    }
    case kLfoToWidthAB:
        to.widthB += amount * lfo;
        [[fallthrough]];
    case kLfoToWidthA:
        to.widthA += amount * lfo;
        break;
    default: // the pan takes the LFO itself
        break;
    }
}

void AddWheel(Modulation& to, const VoicePatch& patch)
{
    const float amount = patch.modWheelAmount.smoothed;
    const float wheel = patch.modWheel;
    switch (patch.modWheelDestination) {
    case kWheelToCutoff:
        to.cutoff += SignedSquare(amount) * wheel;
        break;
    case kWheelToPitchA:
        to.semitonesA +=
            static_cast<double>(amount) * amount * amount * wheel * kPitchModulationSemitones;
        break;
    case kWheelToWidthAB:
        to.widthB += amount * wheel;
        [[fallthrough]];
    case kWheelToWidthA:
        to.widthA += amount * wheel;
        break;
    default: // the LFO's depth
        break;
    }
}

} // namespace

BlockGoals GoalsOf(const CVoiceGenerator& voice, const VoicePatch& patch,
                   const BlockSources& sources, int samples)
{
    float lfo = sources.lfo;
    if (patch.modWheelDestination == kWheelToLfoDepth)
        lfo *= patch.modWheelAmount.smoothed * patch.modWheel;
    Modulation modulation{0.0, 0.0, patch.pulseWidthA.smoothed, patch.pulseWidthB.smoothed, 0.0};
    AddEnvelope(modulation, patch, sources.eg);
    AddLfo(modulation, patch, lfo);
    AddWheel(modulation, patch);

    const auto key = static_cast<std::size_t>(voice.note);
    const KeyTables& keys = *patch.keys;
    const double unisonPlace = UnisonPlace(voice);
    const double pitch = Pitch(voice, patch, unisonPlace);
    const double interval = static_cast<double>(patch.pitchBSemitones) + patch.detuneBSemitones;
    const float amplitude = sources.amplitude * kAmplitudeGain;
    const OutputWeights& weights = kOutputWeights[std::clamp(patch.filterMode, 0, int{kHighPass})];

    BlockGoals goals;
    goals.octavesA = Octaves(pitch + modulation.semitonesA);
    goals.octavesB = Octaves(pitch + interval + modulation.semitonesB);
    goals.cutoff =
        Clamped((pitch - kTrackingCentreNote) * patch.keyTracking * kTrackingPerSemitone +
                    (voice.velocity - 0.5) * patch.velocityTracking * 0.5 + keys.cutoffOffset[key] +
                    modulation.cutoff + patch.cutoff.smoothed * 1.1,
                0.0, kMaxCutoff);
    goals.resonance =
        Clamped(static_cast<double>(patch.resonance) + keys.resonanceOffset[key], 0.0, 1.0);
    goals.noise = patch.noiseBalance.smoothed;
    goals.balance = patch.oscBalance.smoothed;
    goals.widthA = modulation.widthA;
    goals.widthB = modulation.widthB;
    goals.unison = static_cast<float>(2.0 * unisonPlace - 1.0) * patch.unisonPan;
    goals.pan = patch.lfoDestination == kLfoToPan ? lfo * patch.lfoAmount.smoothed * 0.5f : 0.0f;
    goals.gainLeft = keys.leftGain[key] * 0.5f * amplitude;
    goals.gainRight = keys.rightGain[key] * 0.5f * amplitude;
    goals.c4 = weights.c4;
    goals.c3 = weights.c3;
    goals.cx = weights.cx;
    goals.perSample = 1.0f / static_cast<float>(samples);
    return goals;
}

} // namespace keldra
