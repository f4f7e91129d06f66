#pragma once

#include <string>

#include "skin/Canvas.h"

namespace keldra::skin {

/// Writes an uncompressed true-colour TGA, rows from the bottom up, origin at the lower left. With
/// 32 bits the colours are as they are before alpha; with 24 the alpha is left out.
/// @param bitsPerPixel  24 or 32
/// @return false when the file can't be written
[[nodiscard]] bool WriteTga(const Picture& picture, int bitsPerPixel, const std::string& path);

} // namespace keldra::skin
