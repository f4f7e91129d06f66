// What a song does to the engine: any MIDI bytes at any frame, storms of parameters of any value,
// blocks of any length. The sound is finite at every moment, the same in a second instance bit for
// bit, and over soon after all notes off.

#include <array>
#include <numeric>
#include <vector>

#include "fuzz/Input.h"
#include "fuzz/Machine.h"
#include "tests/engine/SynthRig.h"

using namespace keldra;

namespace {

constexpr double kRate = 8000.0;  ///< low: tapes of two seconds would be most of the work
constexpr int kMostFrames = 4000; ///< of one input: for its sake that many inputs are tried
constexpr int kLongestBlock = 1500;

class CSong {
public:
    /// Seeds first: voices draw the places where their oscillators start when they are made.
    CSong(const std::uint8_t* data, std::size_t size)
        : input_(data, size), rig_((test::SeedAsLoaded(), kRate))
    {
    }

    /// @return all samples
    std::vector<float> Play()
    {
        while (!input_.IsEmpty() && sound_.size() < 2 * kMostFrames)
            DoSomething();
        EndAllNotes();
        return std::move(sound_);
    }

private:
    void DoSomething()
    {
        switch (input_.UpTo(9)) {
        case 0:
        case 1:
        case 2:
        case 3:
            Message();
            break;
        case 4:
        case 5:
            SetParameter(input_.ConsumeIntegralInRange(-2, kParameterCount + 3), input_.AnyFloat());
            break;
        case 6: {
            const CProcessingOperation operation(rig_.synth);
            rig_.synth.SetTempo(static_cast<double>(input_.AnyFloat()) * 200.0);
            rig_.synth.SetSongPosition(static_cast<double>(input_.AnyFloat()) * 16.0);
            rig_.synth.SetTransportPlaying(input_.ConsumeBool());
            break;
        }
        case 7:
            if (input_.ConsumeBool())
                rig_.synth.ChangeSampleRate(input_.PickValueInArray(
                    {kRate, kRate, 1000.0, 11025.0, 48000.0, 0.0, 1.0, 1e9}));
            else
                rig_.synth.SwitchProcessing(input_.ConsumeBool());
            break;
        default:
            Render(input_.PickValueInArray({0, 1, 3, 16, 63, 64, 65, 200, 511, kLongestBlock}));
        }
    }
    /// All but the release: voices keep the one they started with, and after ten seconds each input
    /// would have to wait.
    void SetParameter(int index, float value)
    {
        if (index != kAmpRelease && index != kFirstControllerLink + kAmpRelease)
            rig_.synth.SetParameter(index, value);
    }
    void Message()
    {
        const auto byte = [&] { return input_.ConsumeIntegral<std::uint8_t>(); };
        const std::uint8_t status = input_.PickValueInArray<std::uint8_t>(
            {0x90, 0x80, 0xB0, 0xE0, 0xA0, 0xC0, 0xD0, byte()});
        time_ += byte() % 128u;
        if (EventNode* const node = rig_.synth.AddEvent(time_, 4))
            node->message = {status, byte(), byte(), 0};
    }
    void Render(int frames)
    {
        std::array<float, kLongestBlock> left, right;
        float* outputs[] = {left.data(), right.data()};
        rig_.synth.ProcessBlock({nullptr, outputs, frames}, CPluginRenderer::EMode::Replacing);
        time_ = 0;
        for (const auto* channel : {&left, &right}) {
            const std::span sound(channel->data(), static_cast<std::size_t>(frames));
            fuzz::MustBeFinite(sound);
            sound_.insert(sound_.end(), sound.begin(), sound.end());
        }
    }
    void EndAllNotes()
    {
        Render(kLongestBlock); // what is queued comes first
        rig_.Midi(0xB0, 64, 0);
        rig_.Midi(0xB0, 123, 0);
        for (int block = 0; block < 10; ++block) {
            Render(512);
            const auto& counts = rig_.synth.Keys().voiceCount;
            if (std::accumulate(counts.begin(), counts.end(), 0) == 0)
                return;
        }
        std::abort();
    }

    fuzz::CInput input_;
    test::CSynthRig rig_;
    std::uint32_t time_ = 0;
    std::vector<float> sound_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::CMachine machine;
    const std::vector<float> sound = CSong(data, size).Play();
    if (size % 4 == 0 && CSong(data, size).Play() != sound) // not always: it doubles the cost
        std::abort();
    return 0;
}
