#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "apps/render/Song.h"

namespace keldra::render {

/// Where a song is at a frame, as hosts tell it.
struct SongPosition {
    double tempoBpm = 120.0; ///< quarter notes a minute
    double quarters = 0.0;   ///< since the start of the song
    double barStart = 0.0;   ///< quarters, at or before the position
    int beats = 4;           ///< a bar
    int unit = 4;            ///< of the beats; 4 = quarter notes
};

/// Between ticks, frames and musical time at one sample rate. Ticks become frames in whole numbers:
/// the nearest frame to the exact time, however many tempo changes lie before it.
class CSongTiming {
public:
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

    /// @param sampleRate  Hz, 1 .. 1000000
    CSongTiming(const Song& song, int sampleRate);

    /// @param tick  0 .. Song::kMaxTick
    [[nodiscard]] std::int64_t FrameOf(std::int64_t tick) const;
    /// @param frame  0 or later, beyond the song's end too
    [[nodiscard]] SongPosition At(std::int64_t frame) const;
    /// The first frame after this one at which tempo or meter change, or kNever.
    [[nodiscard]] std::int64_t NextChange(std::int64_t frame) const;
    /// Whether the song ends within a time. No other function is to be called if it doesn't.
    [[nodiscard]] bool EndsWithin(std::int64_t seconds) const;

private:
    /// One stretch of even tempo.
    struct Tempo {
        std::int64_t tick = 0;
        std::int64_t time = 0; ///< exactly, in units of 1 / unitsPerSecond_
        std::int64_t frame = 0;
        double secondsAhead = 0.0; ///< from its exact time to its frame: less than a frame
        int microsecondsPerQuarter = 500000;
    };
    struct Meter {
        std::int64_t frame = 0;
        double quarters = 0.0; ///< where it starts
        double barLength = 4.0;
        int beats = 4;
        int unit = 4;
    };

    [[nodiscard]] std::int64_t FrameAt(std::int64_t time) const;

    int sampleRate_;
    int ticksPerQuarter_;
    std::int64_t unitsPerSecond_; ///< a tick of one microsecond a quarter lasts one unit
    std::int64_t endTick_;
    std::vector<Tempo> tempos_; ///< by tick, one at most for each
    std::vector<Meter> meters_; ///< by frame
};

} // namespace keldra::render
