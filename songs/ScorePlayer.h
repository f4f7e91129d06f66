#pragma once

#include <cstdint>
#include <vector>

#include "songs/Score.h"

namespace keldra::songs {

struct PlayedNote {
    std::int64_t start = 0; ///< ticks
    std::int64_t end = 0;   ///< ticks, beyond the start
    int channel = 0;        ///< 0 .. 15
    int key = 0;
    int velocity = 0; ///< 1 .. 127
};

struct PlayedControl {
    std::int64_t tick = 0;
    int channel = 0; ///< 0 .. 15
    bool isBend = false;
    int controller = 0;
    int value = 0; ///< 0 .. 127; of the bend -8192 .. 8191
};

struct PlayedTempo {
    std::int64_t tick = 0;
    double bpm = 120.0;
};

/// A score as it sounds.
struct Performance {
    int beats = 4;
    int unit = 4;
    std::vector<PlayedNote> notes;       ///< by start, those of one channel and key never overlap
    std::vector<PlayedControl> controls; ///< by tick
    std::vector<PlayedTempo> tempos;     ///< by tick, the first at 0
};

/// Plays a score: patterns become notes with the velocities and times of a human hand, curves
/// become controllers. The same score is always played the same way.
[[nodiscard]] Performance PlayScore(const Score& score);

} // namespace keldra::songs
