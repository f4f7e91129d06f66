#include "tests/reference/ScalarSynth.h"

#include <cmath>

namespace keldra {

ScalarDecimator::ScalarDecimator()
{
    const double w = 3.14159265358979323846 / 12.0;
    const double s = std::sin(w);
    const double c = std::cos(w);
    g = static_cast<float>((1.0 - c) / (0.5 * s + 2.0));
    a1 = static_cast<float>(-4.0 * c / (2.0 + s));
    a2 = static_cast<float>((2.0 - s) / (2.0 + s));
}

void ScalarDecimator::Process(const float* input, float* output, int frames)
{
    for (int frame = 0; frame < frames; ++frame) {
        float y = 0.0f;
        for (int i = 0; i < 8; ++i) {
            const float x = *input++;
            y = g * (x + 2.0f * x1 + x2) - a1 * y1 - a2 * y2;
            x2 = x1;
            x1 = x;
            y2 = y1;
            y1 = y;
        }
        output[frame] = y;
        for (float* state : {&x1, &x2, &y1, &y2})
            if (std::fabs(*state) < 1e-9f)
                *state = 0.0f;
    }
}

ScalarSynth::ScalarSynth(double hostRateHz) : rate_(hostRateHz)
{
    for (int i = 0; i < 64; ++i)
        voices_.push_back(std::make_unique<ScalarVoice>(patch, lfo, random_));
    patch.keys = &keys;
    patch.internalRate = 8.0 * rate_;
    patch.gainSmoothing = static_cast<float>(rate_ / 44100.0 * 0.003);
    effects.SetSampleRate(rate_);
    currentGain_ = gain * 0.5f;
}

std::array<SmoothedValue*, 8> ScalarSynth::Smoothed()
{
    return {&patch.pulseWidthA, &patch.pulseWidthB, &patch.oscBalance,     &patch.noiseBalance,
            &patch.lfoAmount,   &patch.egAmount,    &patch.modWheelAmount, &patch.cutoff};
}

bool ScalarSynth::Follow(int index, float v)
{
    const auto time = [v](float low, float high) {
        return (v * v * (v * v) * (high - low) + low) * 0.001f;
    };
    const auto choice = [v](int last) {
        return static_cast<int>((static_cast<double>(v) + 0.0001) * last);
    };
    switch (index) {
    case 0:
        patch.shapeA = v != 0.0f ? 1.0f : 0.0f;
        break;
    case 1:
        patch.pulseWidthA.target = v;
        break;
    case 2:
        patch.sync = v != 0.0f;
        break;
    case 3:
        patch.ring = v != 0.0f;
        break;
    case 4:
        patch.shapeB = v != 0.0f ? 1.0f : 0.0f;
        break;
    case 5:
        patch.pulseWidthB.target = v;
        break;
    case 6:
        patch.pitchBSemitones = static_cast<float>(static_cast<int>(v * 48.0f) - 24);
        break;
    case 7:
        patch.detuneBSemitones = v * 0.5f;
        break;
    case 8:
        patch.oscBalance.target = v;
        break;
    case 9:
        patch.noiseBalance.target = v;
        break;
    case 10:
        patch.egAmount.target = 2.0f * v - 1.0f;
        break;
    case 11:
        patch.eg.attackSeconds = time(5.0f, 50000.0f);
        break;
    case 12:
        patch.eg.decaySeconds = time(5.0f, 50000.0f);
        break;
    case 13:
        patch.eg.sustain = v;
        break;
    case 14:
        patch.eg.releaseSeconds = time(5.0f, 50000.0f);
        break;
    case 15:
        gain = std::pow(10.0f, (30.0f * v - 20.0f) / 20.0f);
        break;
    case 18:
        patch.cutoff.target = v;
        break;
    case 19:
        patch.resonance = v;
        break;
    case 20:
        patch.keyTracking = v;
        break;
    case 21:
        patch.velocityTracking = v;
        break;
    case 22:
        patch.amp.attackSeconds = time(1.0f, 5000.0f);
        break;
    case 23:
        patch.amp.decaySeconds = time(5.0f, 20000.0f);
        break;
    case 24:
        patch.amp.sustain = v * v;
        break;
    case 25:
        patch.amp.releaseSeconds = time(15.0f, 10000.0f);
        break;
    case 26:
        patch.lfoAmount.target = 2.0f * v - 1.0f;
        break;
    case 27:
        lfo.retrigger = v != 0.0f;
        break;
    case 28:
        lfo.rate = static_cast<double>(v * v * (v * v) * v * 30.0f);
        break;
    case 29:
        patch.unisonDetune = 1.5f * v;
        break;
    case 30:
        patch.unisonPan = v;
        break;
    case 43:
        patch.modWheelAmount.target = 2.0f * v - 1.0f;
        break;
    case 45:
        patch.octaver = v != 0.0f;
        break;
    case 65:
        patch.egDestination = choice(4);
        break;
    case 66:
        patch.filterMode = choice(2);
        break;
    case 67:
        patch.lfoDestination = choice(5);
        break;
    case 68:
        lfo.shape = choice(4);
        break;
    case 71:
        patch.modWheelDestination = choice(4);
        break;
    default:
        return false;
    }
    return true;
}

void ScalarSynth::JumpSmoothed()
{
    for (SmoothedValue* value : Smoothed())
        value->Jump();
    currentGain_ = gain * 0.5f;
}

void ScalarSynth::NoteOn(int key, int velocity)
{
    engineRandom_ = engineRandom_ * 196314165u + 907633515u;
    const float drift =
        (static_cast<float>(engineRandom_) * 2.3283064e-10f - 1.0f) * 2.0f * driftAmount;
    int unison = 0;
    for (auto& voice : voices_) {
        if (voice->note >= 0)
            continue;
        voice->note = key;
        voice->unisonIndex = unison;
        voice->unisonCount = unisonCount;
        voice->drift = drift;
        voice->velocity = static_cast<float>(velocity) / 127.0f;
        voice->glidePitch = static_cast<float>(key);
        voice->glideRate = 0.0f;
        voice->Start();
        if (++unison == unisonCount)
            return;
    }
}

void ScalarSynth::NoteOff(int key)
{
    for (auto& voice : voices_)
        if (voice->note == key)
            voice->Release();
}

void ScalarSynth::Render(float* left, float* right, int frames)
{
    for (SmoothedValue* value : Smoothed())
        value->Step();

    std::vector<ScalarVoice*> order;
    for (auto& voice : voices_)
        if (voice->note >= 0)
            order.push_back(voice.get());
    const std::size_t active = order.size();
    for (auto& voice : voices_)
        if (voice->note < 0)
            order.push_back(voice.get());

    const int samples = 8 * frames;
    std::vector<float> scratchLeft(static_cast<std::size_t>(samples));
    std::vector<float> scratchRight(static_cast<std::size_t>(samples));
    for (std::size_t first = 0; first < active;) {
        const std::size_t count = active - first >= 2 ? 4 : 1;
        const std::span<ScalarVoice* const> group(&order[first], count);
        for (ScalarVoice* voice : group)
            if (voice->note >= 0)
                voice->PrepareBlock(samples);
        RenderScalarGroup(group, samples, scratchLeft.data(), scratchRight.data(), first == 0);
        first += count;
    }
    if (active > 0) {
        decimatorLeft_.Process(scratchLeft.data(), left, frames);
        decimatorRight_.Process(scratchRight.data(), right, frames);
    } else {
        std::fill_n(left, frames, 0.0f);
        std::fill_n(right, frames, 0.0f);
    }
    effects.SetTempo(patch.tempo);
    effects.Process(left, right, frames);
    for (int i = 0; i < frames; ++i) {
        left[i] *= currentGain_;
        right[i] *= currentGain_;
        currentGain_ += (gain * 0.5f - currentGain_) * 0.005f;
    }
    lfo.Process(rate_, patch.tempo, frames, random_);
}

} // namespace keldra
