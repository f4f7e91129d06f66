#include "reference/ScalarVoice.h"

#include <algorithm>
#include <cmath>

namespace keldra {

namespace {

constexpr double kPi = 3.14159265358979323846;

std::uint32_t Next(std::uint32_t state)
{
    return state * 196314165u + 907633515u;
}

float Flushed(double value)
{
    return std::fabs(value) < 1e-9 ? 0.0f : static_cast<float>(value);
}

double Curve(double t, double a, double b, double k)
{
    if (k == 0.0)
        return a + (b - a) * t;
    return a + (b - a) * (1.0 - (1.0 - t) * std::pow(10.0, k * t));
}

double SignedSquare(double amount)
{
    return amount > 0.0 ? amount * amount : -amount * amount;
}

float Fall(float phase, float increment)
{
    phase -= increment;
    return phase <= 0.0f ? phase + 1.0f : phase;
}

/// One internal sample of one voice. `random` is the noise state after this voice's step.
inline void RenderSample(ScalarVoiceState& v, std::uint32_t random, float shapeA, float shapeB,
                         bool sync, bool ring, float smoothing, float& left, float& right)
{
    const float u = static_cast<float>(random) * 2.3283064e-10f;

    v.phaseA1 = Fall(v.phaseA1, v.incA);
    v.phaseA2 = Fall(v.phaseA2, v.incA);
    v.phaseB1 -= v.incB;
    const bool wrapped = v.phaseB1 <= 0.0f;
    if (wrapped)
        v.phaseB1 += 1.0f;
    v.phaseB2 = Fall(v.phaseB2, v.incB);
    if (sync && wrapped) {
        v.phaseA2 -= v.phaseA1;
        v.phaseA1 = 0.0f;
    }

    float a = v.phaseA1 - v.phaseA2 * shapeA;
    const float b = v.phaseB1 - v.phaseB2 * shapeB;
    if (ring)
        a *= b;
    const float s = a * v.levelA + b * v.levelB + (u - 0.125f) * v.noiseLevel - 0.42f - v.r * v.y4;

    const float x = s <= 0.0f ? s / (1.0f + 3.0f * s * s) : s;
    v.y1 = (x + v.xOld) * v.p - v.y1 * v.k;
    v.y2 = (v.y1 + v.y1Old) * v.p - v.y2 * v.k;
    v.y3 = (v.y2 + v.y2Old) * v.p - v.y3 * v.k;
    v.y4 = (v.y3 + v.y3Old) * v.p - v.y4 * v.k;
    float o = v.c4 * v.y4 + v.c3 * v.y3 + v.cx * x;
    v.xOld = x;
    v.y1Old = v.y1;
    v.y2Old = v.y2;
    v.y3Old = v.y3;

    v.noiseLevel += v.noiseLevelStep;
    v.levelA += v.levelAStep;
    v.levelB += v.levelBStep;

    v.dcState += (o - v.dcState) * 0.0001f;
    o -= v.dcState;
    left += o * v.gainL;
    right += o * v.gainR;
    v.targetL += v.targetLStep;
    v.targetR += v.targetRStep;
    v.gainL += (v.targetL - v.gainL) * smoothing;
    v.gainR += (v.targetR - v.gainR) * smoothing;
}

} // namespace

// --- Envelope ---

void ScalarEnvelope::Trigger(const EnvelopeSettings& settings, double curveA, double curveD,
                             double curveR, double rateHz, double newPeak)
{
    peak = newPeak;
    startLevel = finished ? 0.0 : output;
    sustainLevel = static_cast<double>(settings.sustain) * peak;
    attackRate = 1.0 / (std::max(0.001, double{settings.attackSeconds}) * rateHz);
    decayRate = 1.0 / (std::max(0.001, double{settings.decaySeconds}) * rateHz);
    releaseRate = 1.0 / (std::max(0.001, double{settings.releaseSeconds}) * rateHz);
    curveAttack = curveA;
    curveDecay = curveD;
    curveRelease = curveR;
    stage = 0;
    position = 0.0;
    finished = false;
}

void ScalarEnvelope::BeginRelease()
{
    if (stage == 2)
        return;
    releaseStart = output;
    stage = 2;
    position = 0.0;
}

float ScalarEnvelope::Process(int samples)
{
    double value = 0.0;
    if (stage == 0) {
        position += samples * attackRate;
        if (position >= 1.0) {
            stage = 1;
            position = 0.0;
            value = peak;
        } else {
            value = Curve(position, startLevel, peak, curveAttack);
        }
    } else if (stage == 1) {
        position += samples * decayRate;
        if (position >= 1.0) {
            value = sustainLevel;
            if (sustainLevel == 0.0) {
                stage = 2;
                finished = true;
            }
            position = 1.0;
        } else {
            value = Curve(position, peak, sustainLevel, curveDecay);
        }
    } else {
        position += samples * releaseRate;
        if (position >= 1.0) {
            finished = true;
            position = 1.0;
        } else {
            value = Curve(position, releaseStart, 0.0, curveRelease);
        }
    }
    output = std::max(0.0, value);
    return static_cast<float>(output);
}

// --- LFO ---

float ScalarLfo::Process(double rateHz, double tempo, int samples, ScalarRandom& random)
{
    const double frequency = sync > 0.0 ? tempo / (sync * 15.0) : rate;
    const double old = phase;
    phase = phase + frequency / rateHz * samples;
    phase = phase - std::floor(phase);
    switch (shape) {
    case 0:
        return static_cast<float>(phase);
    case 1:
        return phase < 0.5 ? 1.0f : 0.0f;
    case 2:
        return static_cast<float>(2.0 * phase > 1.0 ? 2.0 - 2.0 * phase : 2.0 * phase);
    case 3:
        return static_cast<float>(std::sin(2.0 * kPi * phase));
    case 4:
        if (phase < old) {
            random.lfo = Next(random.lfo);
            held = random.lfo / 4294967295.0;
        }
        return static_cast<float>(held);
    default:
        return 0.0f;
    }
}

// --- Voice ---

ScalarVoice::ScalarVoice(VoicePatch& patch, const ScalarLfo& lfoSettings, ScalarRandom& random)
    : patch_(patch), lfoSettings_(lfoSettings), random_(random)
{
    random.noise = Next(random.noise);
    state.phaseA1 = state.phaseA2 = std::min(1.0f, static_cast<float>(random.noise) * 0x1p-32f);
    random.noise = Next(random.noise);
    state.phaseB1 = state.phaseB2 = std::min(1.0f, static_cast<float>(random.noise) * 0x1p-32f);
}

void ScalarVoice::Start()
{
    const double rate = patch_.internalRate;
    ampEnv_.Trigger(patch_.amp, 0.0, -2.5, -2.5, rate, velocity);
    modEnv_.finished = true;
    modEnv_.Trigger(patch_.eg, -2.0, -2.0, -2.0, rate, 1.0);
    lfo_ = lfoSettings_;
    if (lfo_.retrigger)
        lfo_.phase = 0.0;
    patch_.rebuildActiveList = true;
}

void ScalarVoice::Release()
{
    ampEnv_.BeginRelease();
    modEnv_.BeginRelease();
}

void ScalarVoice::Free()
{
    if (note >= 0 && patch_.keys->voiceCount[static_cast<std::size_t>(note)] > 0)
        --patch_.keys->voiceCount[static_cast<std::size_t>(note)];
    note = -1;
    patch_.rebuildActiveList = true;
    state.gainL = state.gainR = 0.0f;
    state.targetL = state.targetR = state.targetLStep = state.targetRStep = 0.0f;
    state.levelAStep = state.levelBStep = state.noiseLevelStep = 0.0f;
}

void ScalarVoice::Reset()
{
    ScalarVoiceState& s = state;
    s.xOld = s.y1Old = s.y2Old = s.y3Old = s.y1 = s.y2 = s.y3 = s.y4 = 0.0f;
    s.p = s.k = s.r = s.c4 = s.c3 = s.cx = 0.0f;
    s.incA = s.incB = s.levelA = s.levelB = s.noiseLevel = 0.0f;
    Free();
}

double ScalarVoice::Pitch() const
{
    double pitch = glidePitch;
    pitch += patch_.masterTune;
    pitch += drift;
    if (patch_.octaver && unisonIndex % 2 == 1)
        pitch += 12.0;
    pitch += static_cast<double>(patch_.bend) * patch_.bendRange;
    if (unisonCount >= 2)
        pitch += unisonIndex * double{patch_.unisonDetune} / (unisonCount - 1) -
                 double{patch_.unisonDetune} / 2.0;
    pitch += patch_.keys->pitchOffset[static_cast<std::size_t>(note)];
    return pitch;
}

void ScalarVoice::PrepareBlock(int samples)
{
    const auto n = static_cast<float>(samples);
    const auto key = static_cast<float>(note);
    if (key > glidePitch)
        glidePitch = std::min(key, glidePitch + n * glideRate);
    if (glidePitch > key)
        glidePitch = std::max(key, glidePitch - n * glideRate);

    if (ampEnv_.finished) {
        Free();
        return;
    }
    const float m = modEnv_.Process(samples);
    lfo_.rate = lfoSettings_.rate;
    lfo_.shape = lfoSettings_.shape;
    lfo_.sync = lfoSettings_.sync;
    float l = lfo_.Process(patch_.internalRate, patch_.tempo, samples, random_);
    if (patch_.modWheelDestination == 1)
        l = l * patch_.modWheelAmount.smoothed * patch_.modWheel;
    const float a = ampEnv_.Process(samples) * 10.0f;

    float p = 0.5f;
    if (patch_.lfoDestination == 5)
        p = std::clamp(l * patch_.lfoAmount.smoothed * 0.5f + 0.5f, 0.0f, 1.0f);
    float u = 0.0f;
    if (unisonCount >= 2)
        u = 2.0f * static_cast<float>(unisonIndex) / static_cast<float>(unisonCount - 1) - 1.0f;
    u *= patch_.unisonPan;
    const auto index = static_cast<std::size_t>(note);
    const float sideL = std::clamp(1.0f + u, 0.0f, 1.0f) * patch_.keys->leftGain[index] * 0.5f;
    const float sideR = std::clamp(1.0f - u, 0.0f, 1.0f) * patch_.keys->rightGain[index] * 0.5f;

    state.targetL = Flushed(state.targetL);
    state.targetR = Flushed(state.targetR);
    state.noiseLevel = Flushed(state.noiseLevel);
    state.targetLStep = Flushed((sideL * a * p - state.targetL) / n);
    state.targetRStep = Flushed((sideR * a * (1.0f - p) - state.targetR) / n);
    state.noiseLevelStep = Flushed((patch_.noiseBalance.smoothed - state.noiseLevel) / n);

    SetUpOscillator(false, m, l, samples);
    SetUpOscillator(true, m, l, samples);
    SetUpFilter(m, l);
}

void ScalarVoice::SetUpOscillator(bool isB, float m, float l, int samples)
{
    const float e = patch_.egAmount.smoothed;
    const float lfo = patch_.lfoAmount.smoothed;
    const float w = patch_.modWheelAmount.smoothed;

    double hz = 220.0 * std::pow(2.0, (Pitch() - 57.0) / 12.0);
    if (isB)
        hz *= std::pow(2.0, (double{patch_.pitchBSemitones} + patch_.detuneBSemitones) / 12.0);
    float width = isB ? patch_.pulseWidthB.smoothed : patch_.pulseWidthA.smoothed;

    if (patch_.egDestination == 2 || (patch_.egDestination == 1 && !isB))
        hz *= std::pow(2.0, static_cast<int>(e * 24.0f) * double{m} / 12.0);
    if (patch_.egDestination == 4 || (patch_.egDestination == 3 && !isB))
        width += e * m;
    if (patch_.lfoDestination == 2 || (patch_.lfoDestination == 1 && !isB)) {
        const double sign = lfo > 0.0f ? 1.0 : -1.0;
        hz *= std::pow(2.0, sign * std::pow(std::fabs(double{lfo}), 4.0) * l * 24.0 / 12.0);
    }
    if (patch_.lfoDestination == 4 || (patch_.lfoDestination == 3 && !isB))
        width += lfo * l;
    if (patch_.modWheelDestination == 2 && !isB)
        hz *= std::pow(2.0, std::pow(double{w}, 3.0) * patch_.modWheel * 24.0 / 12.0);
    if (patch_.modWheelDestination == 4 || (patch_.modWheelDestination == 3 && !isB))
        width += w * patch_.modWheel;

    width = std::clamp(width, 0.0f, 1.0f);
    const double rate = patch_.internalRate;
    const float increment = Flushed(std::clamp(hz, 0.0, rate / 2.0) / rate);
    const float noise = patch_.noiseBalance.smoothed;
    const float balance = patch_.oscBalance.smoothed;
    const float share = isB ? balance : 1.0f - balance;
    float& level = isB ? state.levelB : state.levelA;
    const float step = Flushed(((1.0f - noise) * share - level) / static_cast<float>(samples));
    const float first = isB ? state.phaseB1 : state.phaseA1;
    float second = first - (0.99f - 0.49f * width);
    if (second < 0.0f)
        second += 1.0f;

    (isB ? state.incB : state.incA) = increment;
    (isB ? state.levelBStep : state.levelAStep) = step;
    (isB ? state.phaseB2 : state.phaseA2) = Flushed(second);
}

void ScalarVoice::SetUpFilter(float m, float l)
{
    const auto index = static_cast<std::size_t>(note);
    double cut = (Pitch() - 56.0) * patch_.keyTracking * 0.0084 +
                 (velocity - 0.5) * patch_.velocityTracking * 0.5 +
                 patch_.keys->cutoffOffset[index];
    if (patch_.egDestination == 0)
        cut += SignedSquare(patch_.egAmount.smoothed) * m;
    if (patch_.lfoDestination == 0)
        cut += SignedSquare(patch_.lfoAmount.smoothed) * l;
    if (patch_.modWheelDestination == 0)
        cut += SignedSquare(patch_.modWheelAmount.smoothed) * patch_.modWheel;
    cut += patch_.cutoff.smoothed * 1.1;
    cut = std::clamp(cut, 0.0, 0.91);

    const double q =
        std::clamp(double{patch_.resonance} + patch_.keys->resonanceOffset[index], 0.0, 1.0);
    const double fc = std::pow(2.0, 10.0 * cut + 6.0);
    const double f = fc / patch_.internalRate;
    const double k = (3.6 - 1.6 * f) * f - 1.0;
    state.k = Flushed(k);
    state.p = Flushed((k + 1.0) * 0.5);
    state.r =
        Flushed(q * 1.2 * 0.92 * 0.93 * 2.0 * (std::exp((1.0 - cut / 0.91) * 1.386249) + 1.0));
    state.c4 = patch_.filterMode == 0 ? 1.0f : patch_.filterMode == 1 ? 3.0f : -1.0f;
    state.c3 = patch_.filterMode == 1 ? -3.0f : 0.0f;
    state.cx = patch_.filterMode == 2 ? 1.0f : 0.0f;
}

// --- Rendering ---

void RenderScalarGroup(std::span<ScalarVoice* const> voices, int samples, float* left, float* right,
                       bool overwrite)
{
    const VoicePatch& patch = voices[0]->patch_;
    ScalarRandom& random = voices[0]->random_;
    for (int i = 0; i < samples; ++i) {
        float sumL = 0.0f;
        float sumR = 0.0f;
        for (ScalarVoice* voice : voices) {
            random.noise = Next(random.noise);
            RenderSample(voice->state, random.noise, patch.shapeA, patch.shapeB, patch.sync,
                         patch.ring, patch.gainSmoothing, sumL, sumR);
        }
        left[i] = overwrite ? sumL : left[i] + sumL;
        right[i] = overwrite ? sumR : right[i] + sumR;
    }
}

void RenderScalarVoicesInTurn(std::span<ScalarVoice* const> voices, const VoicePatch& patch,
                              ScalarRandom& random, int samples, float* left, float* right)
{
    std::fill_n(left, samples, 0.0f);
    std::fill_n(right, samples, 0.0f);
    const float shapeA = patch.shapeA;
    const float shapeB = patch.shapeB;
    const bool sync = patch.sync;
    const bool ring = patch.ring;
    const float smoothing = patch.gainSmoothing;
    for (ScalarVoice* voice : voices) {
        ScalarVoiceState state = voice->state;
        std::uint32_t noise = random.noise;
        for (int i = 0; i < samples; ++i) {
            noise = Next(noise);
            RenderSample(state, noise, shapeA, shapeB, sync, ring, smoothing, left[i], right[i]);
        }
        random.noise = noise;
        voice->state = state;
    }
}

} // namespace keldra
