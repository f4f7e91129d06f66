#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "apps/render/Song.h"

namespace keldra::render {

/// Reads a standard MIDI file of format 0 or 1, with ticks by quarter notes or by SMPTE frames. The
/// latter has no tempo: the song then counts as 120 beats per minute throughout.
///
/// System messages are left out: they belong to no channel, so to no instrument. A tempo of 0 and
/// a bar without beats are passed over. Anything else that is wrong with a file refuses it whole: a
/// truncated song would otherwise be rendered, and its missing part be noticed later or never.
///
/// @param file   any bytes
/// @param error  receives one line saying what is wrong, when the answer is nothing
[[nodiscard]] std::optional<Song> ReadSong(std::span<const std::byte> file, std::string& error);

} // namespace keldra::render
