#pragma once

#include <string>

#include "songs/ScorePlayer.h"

namespace keldra::songs {

/// Writes a performance as a standard MIDI file of format 1: tempo and meter, then a track for each
/// channel.
/// @return false when the file cannot be written
[[nodiscard]] bool WriteSong(const Performance& performance, const std::string& path);

} // namespace keldra::songs
