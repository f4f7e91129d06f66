#include "reference/ScalarSynth.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace keldra {

namespace {

float Seconds(float v, float low, float high)
{
    return (v * v * (v * v) * (high - low) + low) * 0.001f;
}

int Choice(float v, int last)
{
    return static_cast<int>((static_cast<double>(v) + 0.0001) * last);
}

/// What each parameter does, by its index.
const std::map<int, void (*)(ScalarSynth&, float)> kMeanings = {
    {0, [](ScalarSynth& s, float v) { s.patch.shapeA = v != 0.0f ? 1.0f : 0.0f; }},
    {1, [](ScalarSynth& s, float v) { s.patch.pulseWidthA.target = v; }},
    {2, [](ScalarSynth& s, float v) { s.patch.sync = v != 0.0f; }},
    {3, [](ScalarSynth& s, float v) { s.patch.ring = v != 0.0f; }},
    {4, [](ScalarSynth& s, float v) { s.patch.shapeB = v != 0.0f ? 1.0f : 0.0f; }},
    {5, [](ScalarSynth& s, float v) { s.patch.pulseWidthB.target = v; }},
    {6,
     [](ScalarSynth& s, float v) {
         s.patch.pitchBSemitones = static_cast<float>(static_cast<int>(v * 48.0f) - 24);
     }},
    {7, [](ScalarSynth& s, float v) { s.patch.detuneBSemitones = v * 0.5f; }},
    {8, [](ScalarSynth& s, float v) { s.patch.oscBalance.target = v; }},
    {9, [](ScalarSynth& s, float v) { s.patch.noiseBalance.target = v; }},
    {10, [](ScalarSynth& s, float v) { s.patch.egAmount.target = 2.0f * v - 1.0f; }},
    {11, [](ScalarSynth& s, float v) { s.patch.eg.attackSeconds = Seconds(v, 5, 50000); }},
    {12, [](ScalarSynth& s, float v) { s.patch.eg.decaySeconds = Seconds(v, 5, 50000); }},
    {13, [](ScalarSynth& s, float v) { s.patch.eg.sustain = v; }},
    {14, [](ScalarSynth& s, float v) { s.patch.eg.releaseSeconds = Seconds(v, 5, 50000); }},
    {15, [](ScalarSynth& s, float v) { s.gain = std::pow(10.0f, (30.0f * v - 20.0f) / 20.0f); }},
    {18, [](ScalarSynth& s, float v) { s.patch.cutoff.target = v; }},
    {19, [](ScalarSynth& s, float v) { s.patch.resonance = v; }},
    {20, [](ScalarSynth& s, float v) { s.patch.keyTracking = v; }},
    {21, [](ScalarSynth& s, float v) { s.patch.velocityTracking = v; }},
    {22, [](ScalarSynth& s, float v) { s.patch.amp.attackSeconds = Seconds(v, 1, 5000); }},
    {23, [](ScalarSynth& s, float v) { s.patch.amp.decaySeconds = Seconds(v, 5, 20000); }},
    {24, [](ScalarSynth& s, float v) { s.patch.amp.sustain = v * v; }},
    {25, [](ScalarSynth& s, float v) { s.patch.amp.releaseSeconds = Seconds(v, 15, 10000); }},
    {26, [](ScalarSynth& s, float v) { s.patch.lfoAmount.target = 2.0f * v - 1.0f; }},
    {27, [](ScalarSynth& s, float v) { s.lfo.retrigger = v != 0.0f; }},
    {28, [](ScalarSynth& s, float v) { s.lfo.rate = double{v * v * (v * v) * v * 30.0f}; }},
    {29, [](ScalarSynth& s, float v) { s.patch.unisonDetune = 1.5f * v; }},
    {30, [](ScalarSynth& s, float v) { s.patch.unisonPan = v; }},
    {43, [](ScalarSynth& s, float v) { s.patch.modWheelAmount.target = 2.0f * v - 1.0f; }},
    {45, [](ScalarSynth& s, float v) { s.patch.octaver = v != 0.0f; }},
    {65, [](ScalarSynth& s, float v) { s.patch.egDestination = Choice(v, 4); }},
    {66, [](ScalarSynth& s, float v) { s.patch.filterMode = Choice(v, 2); }},
    {67, [](ScalarSynth& s, float v) { s.patch.lfoDestination = Choice(v, 5); }},
    {68, [](ScalarSynth& s, float v) { s.lfo.shape = Choice(v, 4); }},
    {71, [](ScalarSynth& s, float v) { s.patch.modWheelDestination = Choice(v, 4); }},
};

} // namespace

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

bool ScalarSynth::Follow(int index, float value)
{
    const auto meaning = kMeanings.find(index);
    if (meaning != kMeanings.end())
        meaning->second(*this, value);
    return meaning != kMeanings.end();
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
