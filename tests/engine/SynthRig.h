#pragma once

#include <array>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "engine/EngineRandom.h"
#include "engine/KeldraSynth.h"
#include "frame/ValueText.h"
#include "tests/frame/TestRenderer.h"
#include "voice/VoiceRandom.h"

namespace keldra::test {

/// What the host was told, on whatever thread.
class CRecordingWrapper final : public CDeafWrapper {
public:
    void AutomateParameter(int index, float value) override
    {
        const std::lock_guard lock(mutex_);
        automated.emplace_back(index, value);
    }

    std::vector<std::pair<int, float>> automated;

private:
    std::mutex mutex_;
};

/// Puts the module's random states where they are when it is loaded, so that renders repeat.
inline void SeedAsLoaded()
{
    NoiseSequence().Seed(22222);
    LfoSequence().Seed(2222);
    EngineSequence().Seed(2222);
}

struct Stereo {
    std::vector<float> left, right;
};

/// A real synthesizer that is played like a host does.
class CSynthRig {
public:
    explicit CSynthRig(double rate = 48000.0)
    {
        synth.SetHostWrapper(&wrapper);
        synth.SetSampleRate(rate);
    }

    /// "Flt. Cutoff", "50 %": in the words of the value texts.
    void Set(const std::string& name, const std::string& text)
    {
        const int index = FindParameter(name);
        synth.SetParameter(index, ParseValueText(index, text).value());
    }
    /// The same, without waiting for smoothed values.
    void Settle() { synth.SetSampleRate(0.0); }

    /// A message for the start of the next block.
    void Midi(int status, int data1, int data2)
    {
        if (EventNode* node = synth.AddEvent(0, 4))
            node->message = {static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                             static_cast<std::uint8_t>(data2), 0};
    }
    void Press(int key, int velocity = 127) { Midi(0x90, key, velocity); }
    void Release(int key) { Midi(0x80, key, 0); }

    Stereo Render(int frames, int blockFrames = 512)
    {
        Stereo out{std::vector<float>(static_cast<std::size_t>(frames)),
                   std::vector<float>(static_cast<std::size_t>(frames))};
        for (int at = 0; at < frames; at += blockFrames) {
            float* outputs[] = {out.left.data() + at, out.right.data() + at};
            synth.ProcessBlock({nullptr, outputs, std::min(blockFrames, frames - at)},
                               CPluginRenderer::EMode::Replacing);
        }
        return out;
    }

    CRecordingWrapper wrapper;
    KeldraSynth synth;
};

} // namespace keldra::test
