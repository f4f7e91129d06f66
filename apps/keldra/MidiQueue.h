#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>

namespace keldra::standalone {

using Clock = std::chrono::steady_clock;

/// A short MIDI message and when it came.
struct StampedMidi {
    std::array<std::uint8_t, 3> bytes{};
    std::uint8_t size = 0;
    Clock::time_point arrival;

    [[nodiscard]] std::span<const std::uint8_t> Message() const { return {bytes.data(), size}; }
};

/// From one thread that has notes to the one that plays them. Neither ever waits or allocates.
class CMidiQueue {
public:
    /// The one writer. Messages longer than 3 bytes and empty ones are left out.
    /// @return false when there is no room: the reader hasn't come for long
    bool Push(std::span<const std::uint8_t> message)
    {
        if (message.empty() || message.size() > 3)
            return true;
        const std::uint32_t end = end_.load(std::memory_order_relaxed);
        if (end - begin_.load(std::memory_order_acquire) == kRoom)
            return false;
        StampedMidi& place = ring_[end % kRoom];
        place.size = static_cast<std::uint8_t>(message.size());
        std::copy(message.begin(), message.end(), place.bytes.begin());
        place.arrival = Clock::now();
        end_.store(end + 1, std::memory_order_release);
        return true;
    }

    /// The one reader. @return the oldest message, which stays until Pop; null when there is none
    [[nodiscard]] const StampedMidi* Front() const
    {
        const std::uint32_t begin = begin_.load(std::memory_order_relaxed);
        return begin == end_.load(std::memory_order_acquire) ? nullptr : &ring_[begin % kRoom];
    }
    void Pop()
    {
        begin_.store(begin_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }

private:
    static constexpr std::uint32_t kRoom = 1024; // a power of two: the counters run over

    std::array<StampedMidi, kRoom> ring_;
    std::atomic<std::uint32_t> begin_{0};
    std::atomic<std::uint32_t> end_{0};
};

} // namespace keldra::standalone
