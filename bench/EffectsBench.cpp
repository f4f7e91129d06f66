// The effects over a block of 64 frames, against their plain scalar reading and against two voices
// of the AVX2 kernel: two that sound alone, and two of a full house of 64.

#include <algorithm>
#include <string>
#include <vector>

#include "bench/Chord.h"
#include "effects/EffectsUnit.h"
#include "reference/ScalarEffects.h"

namespace keldra {

namespace {

constexpr int kFrames = 64;
constexpr double kRate = 48000.0;
constexpr int kWarmUp = 3000; // blocks until the tapes are full and all glides are over

/// The defaults, switched on.
constexpr ScalarEffectSettings kDefaults{true, true, 3.0f / 7.0f, 3.0f / 7.0f, 0.5f, 0.3f,
                                         0.0f, 1.0f, 0.5f,        0.5f,        0.5f, 0.4f};

/// Blocks of noise, or of silence, without end.
class CSource {
public:
    explicit CSource(bool isSilent)
    {
        std::uint32_t state = 1;
        for (float& sample : samples_) {
            state = state * 1664525u + 1013904223u;
            sample = isSilent ? 0.0f : static_cast<float>(state >> 8) * 0x1p-24f - 0.5f;
        }
    }
    template <class Unit>
    void Through(Unit& unit)
    {
        at_ = (at_ + 37) % (samples_.size() - 2 * kFrames);
        std::copy_n(&samples_[at_], kFrames, left_);
        std::copy_n(&samples_[at_ + kFrames], kFrames, right_);
        unit.Process(left_, right_, kFrames);
        benchmark::DoNotOptimize(left_);
    }

private:
    std::vector<float> samples_ = std::vector<float>(5000);
    std::size_t at_ = 0;
    float left_[kFrames];
    float right_[kFrames];
};

double VoicesSeconds(int count)
{
    KeyTables keys;
    Chord chord(PlainPatch(keys), count);
    return YardstickSeconds(
        [&] {
            chord.Prepare(count);
            chord.Render(ChooseKernel("avx2"), count);
        },
        2000);
}

void Effects(benchmark::State& state, bool chorusOn, bool delayOn, bool isSilent)
{
    ScalarEffectSettings settings = kDefaults;
    settings.chorusOn = chorusOn;
    settings.delayOn = delayOn;
    CSource source(isSilent);

    ScalarEffects plain(kRate);
    plain.Follow(settings, 120.0);
    for (int i = 0; i < kWarmUp; ++i)
        source.Through(plain);
    const double yardstick = YardstickSeconds([&] { source.Through(plain); });

    EffectsUnit unit;
    unit.SetSampleRate(kRate);
    CDelay& delay = unit.Delay();
    delay.SetEnabled(settings.delayOn);
    delay.SetTimeLeft(settings.timeLeft);
    delay.SetTimeRight(settings.timeRight);
    delay.SetFeedback(settings.feedback);
    delay.SetModDepth(settings.modDepth);
    delay.SetLowCut(settings.lowCut);
    delay.SetHighCut(settings.highCut);
    delay.SetWet(settings.delayWet);
    CChorus& chorus = unit.Chorus();
    chorus.SetEnabled(settings.chorusOn);
    chorus.SetRate(settings.chorusRate);
    chorus.SetDepth(settings.chorusDepth);
    chorus.SetWet(settings.chorusWet);
    for (int i = 0; i < kWarmUp; ++i)
        source.Through(unit);
    CBestTime best;
    for ([[maybe_unused]] auto _ : state)
        best.Measure([&] { source.Through(unit); });
    ReportRatio(state, yardstick, best);

    static const double twoAlone = VoicesSeconds(2);
    static const double twoOfMany = VoicesSeconds(64) / 32.0;
    state.counters["of_2_voices"] = best.Seconds() / twoAlone;
    state.counters["of_2_of_64"] = best.Seconds() / twoOfMany;
}

BENCHMARK_CAPTURE(Effects, AllOn, true, true, false);
BENCHMARK_CAPTURE(Effects, Chorus, true, false, false);
BENCHMARK_CAPTURE(Effects, Delay, false, true, false);
BENCHMARK_CAPTURE(Effects, ShelfOnly, false, false, false);
BENCHMARK_CAPTURE(Effects, AllOnAndSilent, true, true, true);

} // namespace

} // namespace keldra
