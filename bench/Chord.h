#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "bench/Yardstick.h"
#include "reference/ScalarVoice.h"
#include "voice/VoiceRender.h"
#include "voice/kernel/VoiceKernels.h"

// What the benches of voices play: two patches, on real voices and on scalar ones.

namespace keldra {

inline constexpr int kSamples = 512; ///< a chunk of 64 host frames
inline constexpr double kHostRate = 48000.0;
inline constexpr int kMaxVoices = 64;

inline void Settle(SmoothedValue& value, float target)
{
    value.target = target;
    value.Jump();
}

/// Saw, low-pass, a sustained note.
inline VoicePatch PlainPatch(KeyTables& keys)
{
    VoicePatch patch;
    patch.keys = &keys;
    patch.internalRate = 8.0 * kHostRate;
    patch.gainSmoothing = static_cast<float>(0.003 * kHostRate / 44100.0);
    patch.amp = {0.01f, 1.0f, 0.8f, 1.0f};
    patch.eg = {0.01f, 1.0f, 0.5f, 1.0f};
    Settle(patch.cutoff, 0.6f);
    patch.resonance = 0.3f;
    return patch;
}

/// Both pulses, sync, ring, noise, band-pass, stereo; envelopes and LFO on the move.
inline VoicePatch EverythingPatch(KeyTables& keys)
{
    VoicePatch patch = PlainPatch(keys);
    patch.shapeA = patch.shapeB = 1.0f;
    patch.sync = patch.ring = true;
    patch.pitchBSemitones = 7.0f;
    patch.detuneBSemitones = 0.1f;
    Settle(patch.pulseWidthA, 0.3f);
    Settle(patch.pulseWidthB, 0.7f);
    Settle(patch.oscBalance, 0.5f);
    Settle(patch.noiseBalance, 0.3f);
    patch.filterMode = kBandPass;
    patch.keyTracking = 0.5f;
    patch.velocityTracking = 0.5f;
    patch.amp.decaySeconds = patch.eg.decaySeconds = 1e6f; // their curves never come to rest
    Settle(patch.egAmount, 0.4f);
    Settle(patch.lfoAmount, 0.3f);
    Settle(patch.modWheelAmount, 0.5f);
    patch.egDestination = kEgToCutoff;
    patch.lfoDestination = kLfoToPitchAB;
    patch.modWheelDestination = kWheelToWidthAB;
    patch.modWheel = 0.5f;
    patch.lfo.SetShape(CVoiceLfo::kSine);
    patch.lfo.SetRate(5.0);
    patch.unisonPan = 0.5f;
    return patch;
}

template <class Voice>
void Play(Voice& voice, int index)
{
    voice.note = static_cast<std::int8_t>(36 + index % 48);
    voice.glidePitch = static_cast<float>(voice.note);
    voice.unisonIndex = static_cast<std::int8_t>(index % 2);
    voice.unisonCount = 2;
    voice.velocity = 0.8f;
    voice.Start();
}

/// A chord on real voices.
struct Chord {
    Chord(const VoicePatch& wanted, int count) : patch(wanted)
    {
        patch.keys = &keys;
        for (int i = 0; i < std::max(count, 4); ++i) {
            voices.push_back(std::make_unique<KeldraGenerator>(patch));
            row.push_back(voices.back().get());
            if (i < count)
                Play(*voices.back(), i);
        }
        while (row.size() % 4 != 0) {
            voices.push_back(std::make_unique<KeldraGenerator>(patch));
            row.push_back(voices.back().get());
        }
        Prepare(count);
    }
    void Prepare(int count)
    {
        for (int i = 0; i < count; ++i)
            row[static_cast<std::size_t>(i)]->PrepareBlock(kSamples);
    }
    void Render(const VoiceKernel& kernel, int count)
    {
        RenderVoicesWith(kernel, row, count, kSamples, patch, left.data(), right.data());
        benchmark::DoNotOptimize(left.data());
    }

    KeyTables keys;
    VoicePatch patch;
    std::vector<std::unique_ptr<KeldraGenerator>> voices;
    std::vector<KeldraGenerator*> row;
    std::vector<float> left = std::vector<float>(kSamples);
    std::vector<float> right = std::vector<float>(kSamples);
};

/// The same chord on scalar voices; answers the best time of a block's rendering.
inline double ScalarSeconds(const VoicePatch& wanted, int count)
{
    KeyTables keys;
    VoicePatch patch = wanted;
    patch.keys = &keys;
    ScalarLfo lfo;
    ScalarRandom random;
    std::vector<std::unique_ptr<ScalarVoice>> voices;
    std::vector<ScalarVoice*> row;
    for (int i = 0; i < count; ++i) {
        voices.push_back(std::make_unique<ScalarVoice>(patch, lfo, random));
        row.push_back(voices.back().get());
        Play(*voices.back(), i);
        voices.back()->PrepareBlock(kSamples);
    }
    std::vector<float> left(kSamples);
    std::vector<float> right(kSamples);
    return YardstickSeconds([&] {
        RenderScalarVoicesInTurn(row, patch, random, kSamples, left.data(), right.data());
        benchmark::DoNotOptimize(left.data());
    });
}

} // namespace keldra
