#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace keldra::render {

/// One channel message of a song.
struct SongEvent {
    std::int64_t tick = 0;               ///< from the start of the song
    std::array<std::uint8_t, 3> bytes{}; ///< status, then one or two data bytes below 128
    std::uint8_t size = 0;               ///< 2 or 3

    [[nodiscard]] int Channel() const { return bytes[0] & 0x0F; } ///< 0 .. 15
    [[nodiscard]] bool IsNoteOn() const { return (bytes[0] & 0xF0) == 0x90 && bytes[2] != 0; }
    [[nodiscard]] std::span<const std::uint8_t> Message() const { return {bytes.data(), size}; }
};

struct TempoChange {
    std::int64_t tick = 0;
    int microsecondsPerQuarter = 500000; ///< 1 .. 2^24 - 1
};

struct MeterChange {
    std::int64_t tick = 0; ///< a bar starts here
    int beats = 4;         ///< 1 .. 255
    int unit = 4;          ///< 1, 2, 4, .. 64; 4 = quarter notes
};

/// A whole song, its tracks merged.
struct Song {
    /// No tick is beyond it: products with tempo and sample rate stay within 64 bits.
    static constexpr std::int64_t kMaxTick = std::int64_t{1} << 38;

    int ticksPerQuarter = 480; ///< 1 .. 32767
    std::int64_t endTick = 0;  ///< where the longest track ends
    /// In the order of their ticks; those of one tick as in the file, track after track.
    std::vector<SongEvent> events;
    std::vector<TempoChange> tempos{{}}; ///< by tick; the first one at 0
    std::vector<MeterChange> meters{{}}; ///< by tick; the first one at 0
};

} // namespace keldra::render
