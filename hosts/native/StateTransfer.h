#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "hosts/native/NativeInterface.h"

namespace keldra::native {

// An instance's state in the host's stream: four bytes that say what follows, the length of the
// block as 32 bits, little-endian, and the block. On the host's thread; allocates.

/// Writes a block, or for an empty one that there is none. What a stream doesn't take is lost.
void WriteState(StateStream& stream, std::span<const std::byte> block);

/// Reads as many bytes as the stream says the block has, and no more, whether or not it has them.
/// @param mostBytes  what the caller can use: the rest is read past, not kept
/// @return what there was of the block; nothing when none is announced
[[nodiscard]] std::optional<std::vector<std::byte>> ReadState(StateStream& stream,
                                                              std::size_t mostBytes);

} // namespace keldra::native
