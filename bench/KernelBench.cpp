// Voices alone, without engine or decimator: the kernel of each instruction set and the block
// set-up, against the plain scalar loop that renders one voice after the other.

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/Yardstick.h"
#include "tests/reference/ScalarVoice.h"
#include "voice/VoiceRender.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

constexpr int kSamples = 512; // a chunk of 64 host frames
constexpr double kHostRate = 48000.0;
constexpr int kMaxVoices = 64;

void Settle(SmoothedValue& value, float target)
{
    value.target = target;
    value.Jump();
}

/// Saw, low-pass, a sustained note.
VoicePatch PlainPatch(KeyTables& keys)
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
VoicePatch EverythingPatch(KeyTables& keys)
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

    KeyTables keys;
    VoicePatch patch;
    std::vector<std::unique_ptr<KeldraGenerator>> voices;
    std::vector<KeldraGenerator*> row;
    std::vector<float> left = std::vector<float>(kSamples);
    std::vector<float> right = std::vector<float>(kSamples);
};

/// The same chord on scalar voices; answers the best time of a block's rendering.
double ScalarSeconds(const VoicePatch& wanted, int count)
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

void Kernel(benchmark::State& state, const VoiceKernel& kernel, const VoicePatch& patch,
            double scalarSecondsOf64)
{
    const int count = static_cast<int>(state.range(0));
    Chord chord(patch, count);
    CBestTime best;
    for ([[maybe_unused]] auto _ : state) {
        best.Measure([&] {
            RenderVoicesWith(kernel, chord.row, count, kSamples, chord.patch, chord.left.data(),
                             chord.right.data());
        });
        benchmark::DoNotOptimize(chord.left.data());
    }
    ReportRatio(state, scalarSecondsOf64 * count / kMaxVoices, best);
}

/// A part of the set-up is the first thing in rendering: what a fresh block takes longer than a
/// block that goes on with the last one's settings.
void BlockSetUp(benchmark::State& state, const VoicePatch& patch, double scalarSecondsOf64)
{
    Chord chord(patch, kMaxVoices);
    const VoiceKernel& kernel = ChooseKernel("avx2");
    const auto render = [&] {
        RenderVoicesWith(kernel, chord.row, kMaxVoices, kSamples, chord.patch, chord.left.data(),
                         chord.right.data());
    };
    CBestTime preparing;
    CBestTime fresh;
    CBestTime goingOn;
    for ([[maybe_unused]] auto _ : state) {
        preparing.Measure([&] { chord.Prepare(kMaxVoices); });
        fresh.Measure(render);
        goingOn.Measure(render);
    }
    const double setUp = preparing.Seconds() + fresh.Seconds() - goingOn.Seconds();
    state.counters["prepare_us"] = preparing.Seconds() * 1e6;
    state.counters["set_up_us"] = setUp * 1e6;
    state.counters["of_avx2_rendering"] = setUp / goingOn.Seconds();
    state.counters["x_scalar_rendering"] = scalarSecondsOf64 / setUp;
}

struct Subject {
    const char* name;
    VoicePatch (*patch)(KeyTables&);
};
constexpr Subject kSubjects[] = {{"Everything", EverythingPatch}, {"Plain", PlainPatch}};

const int registered = [] {
    static KeyTables keys;
    for (const auto& [name, makePatch] : kSubjects) {
        static std::map<std::string, double> yardsticks;
        const VoicePatch patch = makePatch(keys);
        const auto yardstick = [patch, key = std::string(name)] {
            double& seconds = yardsticks[key];
            if (seconds == 0.0)
                seconds = ScalarSeconds(patch, kMaxVoices);
            return seconds;
        };
        benchmark::RegisterBenchmark((std::string("Kernel/Scalar/") + name).c_str(),
                                     [yardstick](benchmark::State& state) {
                                         for ([[maybe_unused]] auto _ : state)
                                             benchmark::DoNotOptimize(yardstick());
                                         state.counters["best_us"] = yardstick() * 1e6;
                                     })
            ->Iterations(1);
        for (const VoiceKernel& kernel : VoiceKernels()) {
            if (!kernel.runsHere())
                continue;
            const std::string title =
                std::string("Kernel/") + std::string(kernel.name) + "/" + name;
            benchmark::RegisterBenchmark(title.c_str(),
                                         [&kernel, patch, yardstick](benchmark::State& state) {
                                             Kernel(state, kernel, patch, yardstick());
                                         })
                ->RangeMultiplier(2)
                ->Range(1, kMaxVoices);
        }
        benchmark::RegisterBenchmark(
            (std::string("Kernel/BlockSetUp/") + name).c_str(),
            [patch, yardstick](benchmark::State& state) { BlockSetUp(state, patch, yardstick()); });
    }
    return 0;
}();

} // namespace

} // namespace keldra
