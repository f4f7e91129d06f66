#pragma once

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace keldra {

/// The best time of many runs of the same work: what the machine can do when nobody disturbs it.
/// Means wander with the load of the machine, so ratios are made of these.
class CBestTime {
public:
    template <class Work>
    void Measure(Work&& work)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        if (time.count() < seconds_)
            seconds_ = time.count();
    }
    [[nodiscard]] double Seconds() const { return seconds_; }

private:
    double seconds_ = std::numeric_limits<double>::infinity();
};

/// The best time of a plain form of the work: run often enough that disturbances miss some run.
template <class Work>
double YardstickSeconds(Work&& work, int times = 100)
{
    CBestTime best;
    for (int i = 0; i < times; ++i)
        best.Measure(work);
    return best.Seconds();
}

/// The best time of a plain copy of that many pixels.
inline double CopySeconds(std::size_t pixels)
{
    std::vector<std::uint32_t> from(pixels, 1);
    std::vector<std::uint32_t> to(pixels);
    return YardstickSeconds([&] {
        std::memcpy(to.data(), from.data(), pixels * sizeof from[0]);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    });
}

/// Shows how many times as fast as the yardstick the best run was: column "x_scalar".
inline void ReportRatio(benchmark::State& state, double yardstickSeconds, const CBestTime& best)
{
    state.counters["x_scalar"] = yardstickSeconds / best.Seconds();
    state.counters["best_us"] = best.Seconds() * 1e6;
}

} // namespace keldra
