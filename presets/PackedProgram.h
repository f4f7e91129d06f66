#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "frame/EngineChanges.h"

namespace keldra {

/// Programs in memory, each a few hundred bytes: most values of most programs are what a new
/// program has, so that only the others are kept, with a bit for each value that says which.
///
/// Packs the values of a state block. Bit for bit; whatever bytes a file may hold.
/// @param block   of a program file; may be cut short or be none at all
/// @param packed  the program is appended to it
/// Control threads: takes memory.
void PackProgram(std::span<const std::byte> block, std::vector<std::byte>& packed);

struct UnpackedProgram {
    ProgramValues values;  ///< what of it is there
    bool accepted = false; ///< the block was whole: as renderers answer for it
};

/// @param packed  begins with a packed program
/// Any thread: takes no memory.
[[nodiscard]] UnpackedProgram UnpackProgram(std::span<const std::byte> packed);

} // namespace keldra
