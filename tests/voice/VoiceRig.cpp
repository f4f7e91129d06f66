#include "tests/voice/VoiceRig.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "voice/VoiceRandom.h"
#include "voice/VoiceRender.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

/// The active voices in order, then free ones that fill up the last group of four.
template <class Voice>
std::vector<Voice*> ActiveFirst(const std::vector<std::unique_ptr<Voice>>& voices, int& activeCount)
{
    std::vector<Voice*> row;
    for (const auto& voice : voices)
        if (voice->note >= 0)
            row.push_back(voice.get());
    activeCount = static_cast<int>(row.size());
    for (const auto& voice : voices)
        if (voice->note < 0)
            row.push_back(voice.get());
    return row;
}

} // namespace

CVoiceRig::CVoiceRig(double hostRate, int voiceCount)
{
    NoiseSequence().Seed(22222);
    LfoSequence().Seed(2222);
    patch.keys = &keys;
    patch.internalRate = 8.0 * hostRate;
    patch.gainSmoothing = static_cast<float>(hostRate / 44100.0) * 0.003f;
    patch.amp = {0.001f, 0.1f, 1.0f, 0.05f};
    patch.eg = {0.005f, 0.2f, 0.5f, 0.1f};
    Set(patch.cutoff, 1.0f);
    for (int i = 0; i < (voiceCount + 3) / 4 * 4; ++i) {
        voices_.push_back(std::make_unique<KeldraGenerator>(patch));
        twins_.push_back(std::make_unique<ScalarVoice>(twinPatch_, lfo, random_));
    }
}

void CVoiceRig::Set(SmoothedValue& value, float target)
{
    value.target = target;
    value.Jump();
}

void CVoiceRig::FollowLfo()
{
    patch.lfo.SetRate(lfo.rate);
    patch.lfo.SetShape(lfo.shape);
    patch.lfo.SetSync(lfo.sync);
    patch.lfo.SetRetrigger(lfo.retrigger);
    twinPatch_ = patch;
    twinKeys_ = keys;
    twinPatch_.keys = &twinKeys_;
}

void CVoiceRig::Start(int index, int key, float velocity)
{
    FollowLfo();
    const auto begin = [&](auto& voice) {
        if (voice.note < 0)
            voice.glidePitch = static_cast<float>(key);
        voice.note = static_cast<std::int8_t>(key);
        voice.velocity = velocity;
        voice.Start();
    };
    begin(Voice(index));
    begin(Twin(index));
    ++keys.voiceCount[static_cast<std::size_t>(key)];
}

void CVoiceRig::Release(int index)
{
    Voice(index).Release();
    Twin(index).Release();
}

void CVoiceRig::Reset(int index)
{
    Voice(index).Reset(0.0f);
    Twin(index).Reset();
}

StereoSound CVoiceRig::Render(int samples, int block)
{
    return RenderWith(LoadedKernel(), Divided(samples, std::span(&block, 1)));
}

StereoSound CVoiceRig::RenderWith(const VoiceKernel& kernel, std::span<const int> blocks)
{
    FollowLfo();
    StereoSound sound;
    for (const int length : blocks) {
        int active = 0;
        const std::vector<KeldraGenerator*> row = ActiveFirst(voices_, active);
        std::vector<float> left(static_cast<std::size_t>(length));
        std::vector<float> right(static_cast<std::size_t>(length));
        if (active > 0) {
            for (KeldraGenerator* voice : row)
                if (!voice->IsFree())
                    voice->PrepareBlock(length);
            RenderVoicesWith(kernel, row, active, length, patch, left.data(), right.data());
        }
        sound.left.insert(sound.left.end(), left.begin(), left.end());
        sound.right.insert(sound.right.end(), right.begin(), right.end());
    }
    return sound;
}

StereoSound CVoiceRig::RenderTwins(std::span<const int> blocks)
{
    FollowLfo();
    StereoSound sound;
    for (const int length : blocks) {
        int active = 0;
        const std::vector<ScalarVoice*> row = ActiveFirst(twins_, active);
        std::vector<float> left(static_cast<std::size_t>(length));
        std::vector<float> right(static_cast<std::size_t>(length));
        bool first = true;
        for (int i = 0; i < active; i += 4) {
            const std::size_t count = active - i >= 2 ? 4 : 1;
            const std::span group = std::span(row).subspan(static_cast<std::size_t>(i), count);
            for (ScalarVoice* voice : group)
                if (voice->note >= 0)
                    voice->PrepareBlock(length);
            RenderScalarGroup(group, length, left.data(), right.data(), first);
            first = false;
        }
        sound.left.insert(sound.left.end(), left.begin(), left.end());
        sound.right.insert(sound.right.end(), right.begin(), right.end());
    }
    return sound;
}

std::vector<int> Divided(int samples, std::span<const int> lengths)
{
    std::vector<int> blocks;
    for (std::size_t i = 0; samples > 0; ++i) {
        blocks.push_back(std::min(samples, lengths[i % lengths.size()]));
        samples -= blocks.back();
    }
    return blocks;
}

double Rms(std::span<const float> sound)
{
    double sum = 0.0;
    for (const float sample : sound)
        sum += static_cast<double>(sample) * sample;
    return std::sqrt(sum / static_cast<double>(sound.size()));
}

double ErrorDb(const StereoSound& sound, const StereoSound& truth)
{
    double error = 0.0;
    double power = 0.0;
    const auto add = [&](const std::vector<float>& is, const std::vector<float>& should) {
        for (std::size_t i = 0; i < should.size(); ++i) {
            const double difference = static_cast<double>(is[i]) - should[i];
            error += difference * difference;
            power += static_cast<double>(should[i]) * should[i];
        }
    };
    add(sound.left, truth.left);
    add(sound.right, truth.right);
    return 10.0 * std::log10(error / power);
}

double AmplitudeAt(std::span<const float> sound, double hz, double rate)
{
    const double step = 2.0 * std::numbers::pi * hz / rate;
    std::complex<double> sum = 0.0;
    double weights = 0.0;
    for (std::size_t i = 0; i < sound.size(); ++i) { // Hann window: neighbours leak little
        const double place = static_cast<double>(i) / static_cast<double>(sound.size());
        const double weight = 1.0 - std::cos(2.0 * std::numbers::pi * place);
        sum += std::polar(weight * static_cast<double>(sound[i]), step * static_cast<double>(i));
        weights += weight;
    }
    return 2.0 * std::abs(sum) / weights;
}

double FrequencyOf(std::span<const float> sound, double rate)
{
    double mean = 0.0;
    for (const float sample : sound)
        mean += static_cast<double>(sample) / static_cast<double>(sound.size());
    double first = -1.0;
    double last = -1.0;
    int periods = -1;
    for (std::size_t i = 1; i < sound.size(); ++i) {
        const double before = sound[i - 1] - mean;
        const double now = sound[i] - mean;
        if (before < 0.0 && now >= 0.0) {
            last = static_cast<double>(i) - now / (now - before);
            first = periods < 0 ? last : first;
            ++periods;
        }
    }
    return periods < 1 ? 0.0 : periods * rate / (last - first);
}

double Decibels(double ratio)
{
    return 20.0 * std::log10(ratio);
}

bool IsFinite(std::span<const float> sound)
{
    return std::all_of(sound.begin(), sound.end(), [](float x) { return std::isfinite(x); });
}

} // namespace keldra
