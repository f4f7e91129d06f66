#include "voice/VoiceGenerator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/Numbers.h"
#include "voice/VoiceRandom.h"

namespace keldra {

namespace {

// Pitch
constexpr double kReferenceHz = 220.0; ///< the frequency of note 57
constexpr double kReferenceNote = 57.0;
constexpr double kSemitonesPerOctave = 12.0;
constexpr float kPitchModulationSemitones = 24.0f; ///< at full amount

// Envelope curves: 0 is straight, below it a stage is fast at first
constexpr double kAmpCurves[] = {0.0, -2.5, -2.5};
constexpr double kEgCurves[] = {-2.0, -2.0, -2.0};

constexpr float kAmplitudeGain = 10.0f;

// Filter: cutoff on a scale of ten octaves
constexpr double kTrackingCentreNote = 56.0;
constexpr double kTrackingPerSemitone = 0.0084;
constexpr double kMaxCutoff = 0.91;
constexpr double kOctavesOfCutoff = 10.0;
constexpr double kLowestCutoffOctave = 6.0; ///< 2^6 = 64 Hz
/// Where the ladder's poles still lie inside the unit circle. Only sample rates below 5 kHz can
/// ask for more.
constexpr double kMaxCutoffPerRate = 0.9;
/// Full resonance, and how much of it low cutoffs add.
constexpr double kResonanceGain = 1.2 * 0.92 * 0.93 * 2.0;
constexpr double kResonanceOctaves = 1.386249;

struct OutputWeights {
    float c4, c3, cx;
};
constexpr OutputWeights kOutputWeights[] = {
    {1.0f, 0.0f, 0.0f},  // low-pass: the fourth stage
    {3.0f, -3.0f, 0.0f}, // band-pass: between the third and the fourth
    {-1.0f, 0.0f, 1.0f}, // high-pass: what the fourth stage lacks
};

float FlushedToFloat(double value)
{
    return FlushedTiny(static_cast<float>(value));
}

/// A number from the random sequence, 0 .. 1.
float DrawPhase()
{
    return Clamped(static_cast<float>(NoiseSequence().Draw()) * 0x1p-32f, 0.0f, 1.0f);
}

CEnvelopeGenerator::Shape ShapeOf(const EnvelopeSettings& settings, const double (&curves)[3])
{
    return {settings.attackSeconds,
            settings.decaySeconds,
            settings.sustain,
            settings.releaseSeconds,
            curves[0],
            curves[1],
            curves[2]};
}

/// -1 for the first of a note's voices to +1 for the last, 0 for a note of one voice.
float UnisonPosition(int index, int count)
{
    if (count < 2)
        return 0.0f;
    return 2.0f * static_cast<float>(index) / static_cast<float>(count - 1) - 1.0f;
}

/// Signed square law: fine control around 0, full range at the ends.
double SignedSquare(double amount)
{
    return amount > 0.0 ? amount * amount : -(amount * amount);
}

/// Stops what host tables, clock and rate can have driven beyond numbers: silence for a block
/// instead of a voice that never sounds again.
void ForgetNonsense(VoiceState& s)
{
    const float sum = s.xOld + s.y1 + s.y2 + s.y3 + s.y4 + s.dcState + s.targetL + s.targetR +
                      s.gainL + s.gainR + s.levelA + s.levelB + s.noiseLevel;
    if (std::fabs(sum) <= std::numeric_limits<float>::max())
        return;
    s.xOld = s.y1 = s.y2 = s.y3 = s.y4 = s.dcState = 0.0f;
    s.targetL = s.targetR = s.gainL = s.gainR = 0.0f;
    s.levelA = s.levelB = s.noiseLevel = 0.0f;
}

} // namespace

// --- CVoiceGenerator ---

void CVoiceGenerator::Free()
{
    if (note >= 0) {
        std::int32_t& count = patch_.keys->voiceCount[static_cast<std::size_t>(note)];
        if (count > 0)
            --count;
    }
    note = -1;
    patch_.rebuildActiveList = true;
}

void CVoiceGenerator::Start() {}

void CVoiceGenerator::Release()
{
    Free();
}

void CVoiceGenerator::Reset(float sampleRate)
{
    if (sampleRate != 0.0f)
        sampleRate_ = sampleRate;
    Free();
}

void CVoiceGenerator::PrepareBlock(int samples)
{
    MoveGlide(samples);
}

void CVoiceGenerator::ReservedSlot5(int, int, int, int) {}

double CVoiceGenerator::Pitch() const
{
    double pitch = static_cast<double>(glidePitch) + patch_.masterTune + drift;
    if (patch_.octaver && unisonIndex % 2 != 0)
        pitch += kSemitonesPerOctave;
    pitch += static_cast<double>(patch_.bend) * patch_.bendRange;
    if (unisonCount >= 2) {
        const double spread = patch_.unisonDetune;
        pitch += unisonIndex * spread / (unisonCount - 1) - spread / 2.0;
    }
    return pitch + patch_.keys->pitchOffset[static_cast<std::size_t>(note)];
}

void CVoiceGenerator::MoveGlide(int samples)
{
    const float goal = note;
    const float way = static_cast<float>(samples) * glideRate;
    // fmin and fmax answer the goal when the way or the place is no number.
    glidePitch =
        glidePitch < goal ? std::fmin(goal, glidePitch + way) : std::fmax(goal, glidePitch - way);
}

// --- KeldraGenerator ---

/// Where the three sources take a voice in one block.
struct KeldraGenerator::Modulation {
    double semitonesA = 0.0;
    double semitonesB = 0.0;
    float widthA; ///< the patch's pulse widths with what is added to them
    float widthB;
    double cutoff = 0.0; ///< added to the cutoff scale
};

KeldraGenerator::KeldraGenerator(VoicePatch& patch) : CVoiceGenerator(patch)
{
    ampEnv_.MarkFinished();
    modEnv_.MarkFinished();
    // Each voice runs its oscillators from a place of its own.
    state_.phaseA1 = state_.phaseA2 = DrawPhase();
    state_.phaseB1 = state_.phaseB2 = DrawPhase();
    Reset(0.0f);
}

void KeldraGenerator::Free()
{
    // A free voice may fill up a group unprepared: nothing of it may sound or drift meanwhile.
    VoiceState& s = state_;
    s.gainL = s.gainR = s.targetL = s.targetR = s.targetLStep = s.targetRStep = 0.0f;
    s.levelAStep = s.levelBStep = s.noiseLevelStep = 0.0f;
    CVoiceGenerator::Free();
}

void KeldraGenerator::Start()
{
    const double rate = patch_.internalRate;
    ampEnv_.Trigger(ShapeOf(patch_.amp, kAmpCurves), rate, velocity);
    modEnv_.MarkFinished(); // so that it starts from 0, whatever it was doing
    modEnv_.Trigger(ShapeOf(patch_.eg, kEgCurves), rate, 1.0);
    lfo_ = patch_.lfo;
    if (lfo_.Retriggers())
        lfo_.ResetPhase();
    patch_.rebuildActiveList = true;
}

void KeldraGenerator::Release()
{
    ampEnv_.BeginRelease();
    modEnv_.BeginRelease();
}

void KeldraGenerator::Reset(float sampleRate)
{
    VoiceState& s = state_;
    s.xOld = s.y1 = s.y2 = s.y3 = s.y4 = 0.0f;
    s.p = s.k = s.r = s.c4 = s.c3 = s.cx = 0.0f;
    s.incA = s.incB = s.levelA = s.levelB = s.noiseLevel = 0.0f;
    CVoiceGenerator::Reset(sampleRate);
}

void KeldraGenerator::PrepareBlock(int samples)
{
    MoveGlide(samples);
    if (ampEnv_.IsFinished()) {
        Free();
        return;
    }
    ForgetNonsense(state_);

    const float eg = modEnv_.Process(samples);
    lfo_.FollowSettingsOf(patch_.lfo);
    float lfo = lfo_.Process(patch_.internalRate, patch_.tempo, samples);
    if (patch_.modWheelDestination == kWheelToLfoDepth)
        lfo *= patch_.modWheelAmount.smoothed * patch_.modWheel;
    const float amplitude = ampEnv_.Process(samples) * kAmplitudeGain;

    const float perSample = 1.0f / static_cast<float>(samples);
    const double pitch = Pitch();
    const Modulation modulation = Modulate(eg, lfo);
    SetUpOutput(amplitude, lfo, perSample);
    SetUpOscillators(pitch, modulation, perSample);
    SetUpFilter(pitch, modulation.cutoff);
}

KeldraGenerator::Modulation KeldraGenerator::Modulate(float eg, float lfo) const
{
    Modulation result;
    result.widthA = patch_.pulseWidthA.smoothed;
    result.widthB = patch_.pulseWidthB.smoothed;

    const float egAmount = patch_.egAmount.smoothed;
    const auto egSemitones = [&] {
        return static_cast<double>(TruncateToInt(egAmount * kPitchModulationSemitones)) * eg;
    };
    switch (patch_.egDestination) {
    case kEgToCutoff:
        result.cutoff += SignedSquare(egAmount) * eg;
        break;
    case kEgToPitchA:
        result.semitonesA += egSemitones();
        break;
    case kEgToPitchAB:
        result.semitonesA += egSemitones();
        result.semitonesB += egSemitones();
        break;
    case kEgToWidthA:
        result.widthA += egAmount * eg;
        break;
    case kEgToWidthAB:
        result.widthA += egAmount * eg;
        result.widthB += egAmount * eg;
        break;
    default:
        break;
    }

    const float lfoAmount = patch_.lfoAmount.smoothed;
    const auto lfoSemitones = [&] {
        const double square = static_cast<double>(lfoAmount) * lfoAmount;
        return (lfoAmount > 0.0f ? square * square : -square * square) * lfo *
               static_cast<double>(kPitchModulationSemitones);
    };
    switch (patch_.lfoDestination) {
    case kLfoToCutoff:
        result.cutoff += SignedSquare(lfoAmount) * lfo;
        break;
    case kLfoToPitchA:
        result.semitonesA += lfoSemitones();
        break;
    case kLfoToPitchAB:
        result.semitonesA += lfoSemitones();
        result.semitonesB += lfoSemitones();
        break;
    case kLfoToWidthA:
        result.widthA += lfoAmount * lfo;
        break;
    case kLfoToWidthAB:
        result.widthA += lfoAmount * lfo;
        result.widthB += lfoAmount * lfo;
        break;
    default: // the pan takes the LFO itself
        break;
    }

    const float wheelAmount = patch_.modWheelAmount.smoothed;
    const float wheel = patch_.modWheel;
    switch (patch_.modWheelDestination) {
    case kWheelToCutoff:
        result.cutoff += SignedSquare(wheelAmount) * wheel;
        break;
    case kWheelToPitchA:
        result.semitonesA += static_cast<double>(wheelAmount) * wheelAmount * wheelAmount * wheel *
                             static_cast<double>(kPitchModulationSemitones);
        break;
    case kWheelToWidthA:
        result.widthA += wheelAmount * wheel;
        break;
    case kWheelToWidthAB:
        result.widthA += wheelAmount * wheel;
        result.widthB += wheelAmount * wheel;
        break;
    default: // the LFO's depth is scaled before anything uses it
        break;
    }
    return result;
}

void KeldraGenerator::SetUpOutput(float amplitude, float lfo, float perSample)
{
    VoiceState& s = state_;
    float pan = 0.5f;
    if (patch_.lfoDestination == kLfoToPan)
        pan = Clamped(FlushedTiny(lfo * patch_.lfoAmount.smoothed) * 0.5f + 0.5f, 0.0f, 1.0f);

    const auto key = static_cast<std::size_t>(note);
    const float unison = UnisonPosition(unisonIndex, unisonCount) * patch_.unisonPan;
    const float left = Clamped(1.0f + unison, 0.0f, 1.0f) * patch_.keys->leftGain[key] * 0.5f;
    const float right = Clamped(1.0f - unison, 0.0f, 1.0f) * patch_.keys->rightGain[key] * 0.5f;

    s.targetL = FlushedTiny(s.targetL);
    s.targetR = FlushedTiny(s.targetR);
    s.targetLStep = FlushedTiny((left * amplitude * pan - s.targetL) * perSample);
    s.targetRStep = FlushedTiny((right * amplitude * (1.0f - pan) - s.targetR) * perSample);
}

void KeldraGenerator::SetUpOscillators(double pitch, const Modulation& modulation, float perSample)
{
    VoiceState& s = state_;
    const double rate = patch_.internalRate;
    const auto increment = [rate](double semitones) {
        const double hz =
            kReferenceHz * std::exp2((semitones - kReferenceNote) * (1.0 / kSemitonesPerOctave));
        return FlushedToFloat(Clamped(hz, 0.0, rate * 0.5) / rate);
    };
    s.incA = increment(pitch + modulation.semitonesA);
    s.incB =
        increment(pitch + patch_.pitchBSemitones + patch_.detuneBSemitones + modulation.semitonesB);

    const float noise = Clamped(patch_.noiseBalance.smoothed, 0.0f, 1.0f);
    const float balance = Clamped(patch_.oscBalance.smoothed, 0.0f, 1.0f);
    s.noiseLevel = FlushedTiny(s.noiseLevel);
    s.noiseLevelStep = FlushedTiny((noise - s.noiseLevel) * perSample);
    s.levelAStep = FlushedTiny(((1.0f - noise) * (1.0f - balance) - s.levelA) * perSample);
    s.levelBStep = FlushedTiny(((1.0f - noise) * balance - s.levelB) * perSample);

    // The second phase follows at a distance of 0.99 of a cycle down to half of one, the square.
    const auto secondPhase = [](float first, float width) {
        const float second = first - (0.99f - 0.49f * Clamped(width, 0.0f, 1.0f));
        return FlushedTiny(second < 0.0f ? second + 1.0f : second);
    };
    s.phaseA2 = secondPhase(s.phaseA1, modulation.widthA);
    s.phaseB2 = secondPhase(s.phaseB1, modulation.widthB);
}

void KeldraGenerator::SetUpFilter(double pitch, double modulation)
{
    VoiceState& s = state_;
    const auto key = static_cast<std::size_t>(note);
    double cutoff = (pitch - kTrackingCentreNote) * patch_.keyTracking * kTrackingPerSemitone +
                    (velocity - 0.5) * patch_.velocityTracking * 0.5 +
                    patch_.keys->cutoffOffset[key] + modulation + patch_.cutoff.smoothed * 1.1;
    cutoff = Clamped(cutoff, 0.0, kMaxCutoff);

    const double hz = std::exp2(kOctavesOfCutoff * cutoff + kLowestCutoffOctave);
    const double f = std::fmin(hz / patch_.internalRate, kMaxCutoffPerRate);
    const double k = (3.6 - 1.6 * f) * f - 1.0;
    s.k = FlushedToFloat(k);
    s.p = FlushedToFloat((k + 1.0) * 0.5);

    const double resonance = Clamped(
        static_cast<double>(patch_.resonance) + patch_.keys->resonanceOffset[key], 0.0, 1.0);
    s.r = FlushedToFloat(resonance * kResonanceGain *
                         (std::exp((1.0 - cutoff / kMaxCutoff) * kResonanceOctaves) + 1.0));

    const OutputWeights& weights = kOutputWeights[std::clamp(patch_.filterMode, 0, int{kHighPass})];
    s.c4 = weights.c4;
    s.c3 = weights.c3;
    s.cx = weights.cx;
}

} // namespace keldra
