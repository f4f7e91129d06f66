// The way of a block's voices into the kernel. A block is rendered by groups of four voices, and an
// odd last voice alone. The kernel takes all of them side by side; what is left of the groups is
// the order in which voices take noise from the one random sequence. With six samples and groups
// a b c d and e the sequence goes to
//
//     a b c d  a b c d  a b c d  a b c d  a b c d  a b c d  e e e e e e
//
// so a voice starts at its place in this row and then jumps by 4 or by 1.
// Test: KernelTest.cpp.

#include "voice/VoiceRender.h"

#include <algorithm>
#include <cassert>

#include "voice/VoiceRandom.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

constexpr int kGroup = 4;
constexpr RandomJump kNextOfAlone = JumpOf(1);
constexpr RandomJump kNextOfGroup = JumpOf(kGroup);

/// Reserves the numbers of the whole block and hands each voice its first.
void ShareNoise(KernelNoise& noise, int grouped, int alone, int samples)
{
    const RandomJump groupJump = JumpOf(static_cast<std::uint32_t>(kGroup * samples));
    const RandomJump all = JumpOf(static_cast<std::uint32_t>((grouped + alone) * samples));
    std::uint32_t start = NoiseSequence().TakeRange(all).first;
    int voice = 0;
    for (; voice < grouped; voice += kGroup) {
        std::uint32_t state = start;
        for (int i = voice; i < voice + kGroup; ++i) {
            state = NextRandom(state);
            noise.state[i] = state;
            noise.multiplier[i] = kNextOfGroup.multiplier;
            noise.increment[i] = kNextOfGroup.increment;
        }
        start = groupJump.From(start);
    }
    for (; voice < kMaxKernelVoices; ++voice) { // the voice alone, and places that nobody takes
        noise.state[voice] = NextRandom(start);
        noise.multiplier[voice] = kNextOfAlone.multiplier;
        noise.increment[voice] = kNextOfAlone.increment;
    }
}

unsigned PatchFeatures(const VoicePatch& patch)
{
    return (patch.shapeA != 0.0f ? kPulseA : 0u) | (patch.shapeB != 0.0f ? kPulseB : 0u) |
           (patch.sync ? kSync : 0u) | (patch.ring ? kRing : 0u);
}

/// What one voice needs in this block: also a free one, which fills up a group as it was left.
unsigned VoiceFeatures(const VoiceState& s, const BlockGoals& goals)
{
    constexpr float kInaudible = 1e-9f;
    const bool fresh = goals.perSample > 0.0f;
    const bool noise = s.noiseLevel >= kInaudible || (fresh && goals.noise >= kInaudible);
    const bool mix = fresh ? goals.c3 != 0.0f || goals.cx != 0.0f : s.c3 != 0.0f || s.cx != 0.0f;
    return (noise ? kNoise : 0u) | (mix ? kOutputMix : 0u);
}

void RenderGroups(const VoiceKernel& kernel, std::span<KeldraGenerator* const> voices, int grouped,
                  int alone, int samples, const VoicePatch& patch, float* left, float* right,
                  bool overwrite)
{
    assert(grouped % kGroup == 0 && grouped + alone <= kMaxKernelVoices);
    VoiceState nobody{};
    const BlockGoals nothing{};
    KernelJob job;
    job.voiceCount = grouped + alone;
    job.samples = samples;
    job.features = PatchFeatures(patch);
    job.internalRate = patch.internalRate;
    job.gainSmoothing = patch.gainSmoothing;
    job.left = left;
    job.right = right;
    job.overwrite = overwrite;
    for (int i = 0; i < job.voiceCount; ++i) {
        KeldraGenerator& voice = *voices[static_cast<std::size_t>(i)];
        job.voices[i] = &voice.State();
        job.goals[i] = &voice.Goals();
        job.features |= VoiceFeatures(voice.State(), voice.Goals());
    }
    std::fill(job.voices + job.voiceCount, std::end(job.voices), &nobody);
    std::fill(job.goals + job.voiceCount, std::end(job.goals), &nothing);
    ShareNoise(job.noise, grouped, alone, samples);
    kernel.render(job);
    for (KeldraGenerator* voice : voices.first(static_cast<std::size_t>(job.voiceCount)))
        voice->Goals() = nothing;
}

} // namespace

void RenderVoicesWith(const VoiceKernel& kernel, std::span<KeldraGenerator* const> voices,
                      int activeCount, int samples, const VoicePatch& patch, float* left,
                      float* right)
{
    const int alone = activeCount % kGroup == 1 ? 1 : 0;
    const int grouped = (activeCount - alone + kGroup - 1) / kGroup * kGroup;
    RenderGroups(kernel, voices, grouped, alone, samples, patch, left, right, true);
}

void RenderVoices(std::span<KeldraGenerator* const> voices, int activeCount, int samples,
                  const VoicePatch& patch, float* left, float* right)
{
    RenderVoicesWith(LoadedKernel(), voices, activeCount, samples, patch, left, right);
}

void RenderVoices4(float* left, float* right, int samples,
                   std::span<KeldraGenerator* const, 4> voices, const VoicePatch& patch,
                   bool overwrite)
{
    RenderGroups(LoadedKernel(), voices, kGroup, 0, samples, patch, left, right, overwrite);
}

void RenderVoice1(float* left, float* right, int samples, KeldraGenerator& voice,
                  const VoicePatch& patch, bool overwrite)
{
    KeldraGenerator* const alone[] = {&voice};
    RenderGroups(LoadedKernel(), alone, 0, 1, samples, patch, left, right, overwrite);
}

} // namespace keldra
