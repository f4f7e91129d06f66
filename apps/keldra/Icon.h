#pragma once

#include <cstdint>
#include <vector>

namespace keldra::standalone {

inline constexpr int kIconPixels = 64; ///< each way

/// The picture by which a desktop shows the program: a knob of brass on a dark tile. Pixels as a
/// PixelView has them.
[[nodiscard]] std::vector<std::uint32_t> DrawIcon();

} // namespace keldra::standalone
