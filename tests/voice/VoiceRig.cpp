#include "tests/voice/VoiceRig.h"

#include <algorithm>
#include <cmath>

#include "voice/VoiceRandom.h"
#include "voice/VoiceRender.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

/// Lengths that start and end inside vectors, stretches and quads.
constexpr int kBlocks[] = {512, 8, 296, 512, 3, 129, 64};

/// Renders all voices that sound block by block: these in order, then free ones, which fill up the
/// last group of four.
template <class Voice, class RenderRow>
StereoSound RenderBlocks(const std::vector<std::unique_ptr<Voice>>& voices, int samples,
                         RenderRow&& renderRow)
{
    StereoSound sound;
    for (int done = 0, block = 0; done < samples; ++block) {
        std::vector<Voice*> row;
        for (const auto& voice : voices)
            row.push_back(voice.get());
        const auto firstFree = std::stable_partition(
            row.begin(), row.end(), [](const Voice* voice) { return voice->note >= 0; });
        const auto active = static_cast<int>(firstFree - row.begin());
        const int count = std::min(samples - done, kBlocks[block % std::ssize(kBlocks)]);
        const std::vector<float> silence(static_cast<std::size_t>(count));
        StereoSound part{silence, silence};
        if (active > 0)
            renderRow(row, active, count, part.left.data(), part.right.data());
        sound.Append(part);
        done += count;
    }
    return sound;
}

} // namespace

void StereoSound::Append(const StereoSound& more)
{
    left.insert(left.end(), more.left.begin(), more.left.end());
    right.insert(right.end(), more.right.begin(), more.right.end());
}

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

StereoSound CVoiceRig::Render(int samples)
{
    return RenderWith(LoadedKernel(), samples);
}

StereoSound CVoiceRig::RenderWith(const VoiceKernel& kernel, int samples)
{
    FollowLfo();
    return RenderBlocks(voices_, samples,
                        [&](auto& row, int active, int count, float* left, float* right) {
                            for (KeldraGenerator* voice : row)
                                if (!voice->IsFree())
                                    voice->PrepareBlock(count);
                            RenderVoicesWith(kernel, row, active, count, patch, left, right);
                        });
}

StereoSound CVoiceRig::RenderTwins(int samples)
{
    FollowLfo();
    return RenderBlocks(
        twins_, samples, [](auto& row, int active, int count, float* left, float* right) {
            for (int i = 0; i < active; i += 4) {
                const std::size_t size = active - i >= 2 ? 4 : 1;
                const std::span group = std::span(row).subspan(static_cast<std::size_t>(i), size);
                for (ScalarVoice* voice : group)
                    if (voice->note >= 0)
                        voice->PrepareBlock(count);
                RenderScalarGroup(group, count, left, right, i == 0);
            }
        });
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

} // namespace keldra
