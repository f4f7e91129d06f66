#include "voice/VoiceGenerator.h"

#include <cmath>

#include "frame/Numbers.h"
#include "voice/Modulation.h"
#include "voice/PairMath.h"
#include "voice/VoiceRandom.h"

namespace keldra {

namespace {

// Envelope curves of attack, decay and release: 0 is straight, below it a stage is fast at first
constexpr double kAmpCurves[] = {0.0, -2.5, -2.5};
constexpr double kEgCurves[] = {-2.0, -2.0, -2.0};

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

void CVoiceGenerator::MoveGlide(int samples)
{
    const float goal = note;
    const float way = static_cast<float>(samples) * glideRate;
    const float up = glidePitch + way;
    const float down = glidePitch - way;
    if (!std::isfinite(up)) // whether rate or place is no number: nobody waits for it
        glidePitch = goal;
    else if (glidePitch < goal)
        glidePitch = up < goal ? up : goal;
    else
        glidePitch = down > goal ? down : goal;
}

// --- KeldraGenerator ---

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
    goals_ = {};
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
    const CEnvelopeGenerator::Step egStep = modEnv_.Advance(samples);
    const CEnvelopeGenerator::Step ampStep = ampEnv_.Advance(samples);
    const DoublePair powers = Exp2(DoublePair{egStep.exponent, ampStep.exponent});
    lfo_.FollowSettingsOf(patch_.lfo);
    BlockSources sources;
    sources.eg = modEnv_.Settle(egStep, powers[0]);
    sources.amplitude = ampEnv_.Settle(ampStep, powers[1]);
    sources.lfo = lfo_.Process(patch_.internalRate, patch_.tempo, samples);
    goals_ = GoalsOf(*this, patch_, sources, samples);
}

} // namespace keldra
