#pragma once

#include <atomic>
#include <cstdint>

namespace keldra {

/// One step of the random recurrence that the whole synthesizer uses.
[[nodiscard]] constexpr std::uint32_t NextRandom(std::uint32_t state)
{
    return state * 196314165u + 907633515u;
}

/// The recurrence advanced by any number of steps at once: x -> multiplier * x + increment.
struct RandomJump {
    std::uint32_t multiplier = 1;
    std::uint32_t increment = 0;

    [[nodiscard]] constexpr std::uint32_t From(std::uint32_t state) const
    {
        return state * multiplier + increment;
    }
};

/// Composes `steps` steps by repeated squaring: at most 32 rounds.
[[nodiscard]] constexpr RandomJump JumpOf(std::uint32_t steps)
{
    RandomJump result;
    RandomJump power{196314165u, 907633515u};
    for (; steps != 0; steps >>= 1) {
        if (steps & 1u)
            result = {result.multiplier * power.multiplier, power.From(result.increment)};
        power = {power.multiplier * power.multiplier, power.From(power.increment)};
    }
    return result;
}

/// A module-wide random state, drawn from by every instance on whatever thread it processes.
/// Each number of the one sequence is handed out once; drawing is lock-free. With one thread the
/// sequence is exactly that of the plain recurrence.
class CRandomSequence {
public:
    constexpr explicit CRandomSequence(std::uint32_t seed) : state_(seed) {}

    /// The state after one step.
    std::uint32_t Draw() { return TakeRange(JumpOf(1)).last; }

    struct Range {
        std::uint32_t first; ///< state before the first step of the range
        std::uint32_t last;  ///< state after its last step
    };
    /// Reserves as many consecutive steps as the jump spans.
    Range TakeRange(RandomJump jump)
    {
        std::uint32_t first = state_.load(std::memory_order_relaxed);
        std::uint32_t last = jump.From(first);
        while (!state_.compare_exchange_weak(first, last, std::memory_order_relaxed))
            last = jump.From(first);
        return {first, last};
    }

    /// For tests and offline renders that want the same sound each time.
    void Seed(std::uint32_t seed) { state_.store(seed, std::memory_order_relaxed); }

private:
    std::atomic<std::uint32_t> state_;
};

} // namespace keldra
