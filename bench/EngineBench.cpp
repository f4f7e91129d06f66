// The whole instrument: through the module as hosts load it, and the parts that are neither voices
// nor effects.

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/Chord.h"
#include "bench/HeldNotes.h"
#include "effects/EffectsUnit.h"
#include "engine/DecimationFilter.h"
#include "frame/ParameterTable.h"
#include "reference/ScalarSynth.h"

namespace keldra {

namespace {

constexpr int kFrames = CHeldNotes::kFrames;

std::vector<float> Noise(int samples)
{
    std::vector<float> noise(static_cast<std::size_t>(samples));
    std::uint32_t state = 1;
    for (float& sample : noise) {
        state = state * 1664525u + 1013904223u;
        sample = static_cast<float>(state >> 8) * 0x1p-24f - 0.5f;
    }
    return noise;
}

/// Two channels of a block of 64 frames.
void Decimator(benchmark::State& state)
{
    const std::vector<float> left = Noise(kSamples);
    const std::vector<float> right = Noise(kSamples);
    std::array<float, kFrames> leftOut{};
    std::array<float, kFrames> rightOut{};
    ScalarDecimator scalarLeft;
    ScalarDecimator scalarRight;
    const double yardstick = YardstickSeconds(
        [&] {
            scalarLeft.Process(left.data(), leftOut.data(), kFrames);
            scalarRight.Process(right.data(), rightOut.data(), kFrames);
            benchmark::DoNotOptimize(leftOut.data());
            benchmark::DoNotOptimize(rightOut.data());
        },
        2000);
    CDecimationFilter filter;
    CBestTime best;
    for ([[maybe_unused]] auto _ : state)
        best.Measure([&] {
            filter.Process(left.data(), right.data(), leftOut.data(), rightOut.data(), kFrames);
            benchmark::DoNotOptimize(leftOut.data());
        });
    ReportRatio(state, yardstick, best);
}
BENCHMARK(Decimator);

// --- The module

std::unique_ptr<CHeldNotes> LoadKeldra()
{
    std::string error;
    std::unique_ptr<CHeldNotes> notes = CHeldNotes::Load(KELDRA_MODULE, error);
    if (notes == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::exit(2);
    }
    return notes;
}

/// EverythingPatch and both effects.
constexpr struct {
    int index;
    float value;
} kEverything[] = {{kOscAShape, 1.0f},         {kOscBShape, 1.0f},
                   {kOscASync, 1.0f},          {kOscARing, 1.0f},
                   {kOscAPulseWidth, 0.3f},    {kOscBPulseWidth, 0.7f},
                   {kOscBPitch, 0.65f},        {kOscBalance, 0.5f},
                   {kNoiseBalance, 0.3f},      {kFilterMode, 0.5f},
                   {kFilterCutoff, 0.6f},      {kFilterResonance, 0.3f},
                   {kFilterKeyTracking, 0.5f}, {kFilterVelocityTracking, 0.5f},
                   {kEgAmount, 0.7f},          {kEgSustain, 0.5f},
                   {kAmpSustain, 0.8f},        {kLfoAmount, 0.65f},
                   {kLfoDestination, 0.4f},    {kLfoRate, 0.7f},
                   {kModWheelAmount, 0.75f},   {kModWheelDestination, 1.0f},
                   {kPolyphony, 63.0f},        {kUnisonPan, 0.5f},
                   {kDelayOn, 1.0f},           {kChorusOn, 1.0f}};

/// What 64 frames of the module consist of, each measured by itself.
double PartsSeconds(int voices)
{
    KeyTables keys;
    Chord chord(EverythingPatch(keys), voices);
    const double voicesSeconds = YardstickSeconds(
        [&] {
            chord.Prepare(voices);
            chord.Render(LoadedKernel(), voices);
        },
        1000);
    CDecimationFilter filter;
    const std::vector<float> left = Noise(kSamples);
    std::vector<float> leftOut = Noise(kFrames);
    std::vector<float> rightOut = Noise(kFrames);
    const double filterSeconds = YardstickSeconds(
        [&] { filter.Process(left.data(), left.data(), leftOut.data(), rightOut.data(), kFrames); },
        1000);
    EffectsUnit effects;
    effects.SetSampleRate(CHeldNotes::kRate);
    effects.Delay().SetEnabled(true);
    effects.Chorus().SetEnabled(true);
    const double effectsSeconds = YardstickSeconds(
        [&] {
            effects.Process(leftOut.data(), rightOut.data(), kFrames);
            leftOut[0] = rightOut[0] = 0.1f;
        },
        4000);
    return voicesSeconds + filterSeconds + effectsSeconds;
}

/// Everything on; each voice a note.
void Module(benchmark::State& state)
{
    static KeyTables keys;
    static const double scalarOf64 = ScalarSeconds(EverythingPatch(keys), kMaxVoices);
    const int voices = static_cast<int>(state.range(0));
    const auto notes = LoadKeldra();
    for (const auto& [index, value] : kEverything)
        notes->Host().SetParameter(index, value);
    notes->Hold(voices);
    CBestTime best;
    for ([[maybe_unused]] auto _ : state)
        best.Measure([&] { notes->Render(); });
    ReportRatio(state, scalarOf64 * voices / kMaxVoices, best);
    state.counters["of_its_parts"] = best.Seconds() / PartsSeconds(voices);
    state.counters["us_a_voice"] = best.Seconds() * 1e6 / voices;
}
BENCHMARK(Module)->RangeMultiplier(2)->Range(1, kMaxVoices);

/// No note, nothing ringing: what an instance costs that only sits in a song.
void Silence(benchmark::State& state, bool everything)
{
    const auto notes = LoadKeldra();
    if (everything)
        for (const auto& [index, value] : kEverything)
            notes->Host().SetParameter(index, value);
    notes->Hold(0);
    constexpr int kBlocks = 32; // a single one is no longer than reading the clock
    CBestTime silent;
    for ([[maybe_unused]] auto _ : state)
        silent.Measure([&] {
            for (int i = 0; i < kBlocks; ++i)
                notes->Render();
        });

    const auto sounding = LoadKeldra();
    sounding->Hold(1);
    const double voice = YardstickSeconds([&] { sounding->Render(); }, 1000);
    state.counters["of_a_voice"] = silent.Seconds() / kBlocks / voice;
    state.counters["best_us"] = silent.Seconds() / kBlocks * 1e6;
}
BENCHMARK_CAPTURE(Silence, Default, false);
BENCHMARK_CAPTURE(Silence, EffectsOn, true);

void ReportPlain(benchmark::State& state, const CBestTime& best)
{
    // A block of one plain voice, so that it can be compared between machines.
    static KeyTables keys;
    static const double voice = ScalarSeconds(PlainPatch(keys), kMaxVoices) / kMaxVoices;
    state.counters["of_scalar_voice"] = best.Seconds() / voice;
    state.counters["best_us"] = best.Seconds() * 1e6;
}

/// From the entry point to the first silent block, and away again.
void Instance(benchmark::State& state)
{
    std::string error;
    const auto module = vst::CVstModule::Load(KELDRA_MODULE, error);
    const auto first = vst::CVstHost::Create(module, {}, nullptr, error); // loads what all share
    CBestTime best;
    for ([[maybe_unused]] auto _ : state)
        best.Measure(
            [&] { CHeldNotes(vst::CVstHost::Create(module, {}, nullptr, error)).Render(); });
    ReportPlain(state, best);
}
BENCHMARK(Instance)->Unit(benchmark::kMicrosecond);

void StateSave(benchmark::State& state)
{
    const auto notes = LoadKeldra();
    CBestTime best;
    for ([[maybe_unused]] auto _ : state)
        best.Measure([&] { benchmark::DoNotOptimize(notes->Host().GetChunk()); });
    ReportPlain(state, best);
}
BENCHMARK(StateSave);

void StateLoad(benchmark::State& state)
{
    const auto notes = LoadKeldra();
    const std::vector<std::byte> chunk = notes->Host().GetChunk();
    CBestTime best;
    for ([[maybe_unused]] auto _ : state) {
        best.Measure([&] { benchmark::DoNotOptimize(notes->Host().SetChunk(chunk)); });
        notes->Render(); // takes it over
    }
    ReportPlain(state, best);
}
BENCHMARK(StateLoad);

} // namespace

} // namespace keldra
