#pragma once

#include <string>

#include "songs/ScorePlayer.h"

namespace keldra::songs {

/// A performance as a standard MIDI file of format 1: tempo and meter, then a track for each
/// channel.
[[nodiscard]] std::string SongFile(const Performance& performance);

} // namespace keldra::songs
