// Voices alone, without engine or decimator: the kernel of each instruction set and the block
// set-up, against the plain scalar loop that renders one voice after the other.

#include <map>
#include <string>

#include "bench/Chord.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

void Kernel(benchmark::State& state, const VoiceKernel& kernel, const VoicePatch& patch,
            double scalarSecondsOf64)
{
    const int count = static_cast<int>(state.range(0));
    Chord chord(patch, count);
    CBestTime best;
    for ([[maybe_unused]] auto _ : state)
        best.Measure([&] { chord.Render(kernel, count); });
    ReportRatio(state, scalarSecondsOf64 * count / kMaxVoices, best);
}

/// A part of the set-up is the first thing in rendering: what a fresh block takes longer than a
/// block that goes on with the last one's settings.
void BlockSetUp(benchmark::State& state, const VoicePatch& patch, double scalarSecondsOf64)
{
    Chord chord(patch, kMaxVoices);
    const VoiceKernel& kernel = ChooseKernel("avx2");
    const auto render = [&] { chord.Render(kernel, kMaxVoices); };
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
