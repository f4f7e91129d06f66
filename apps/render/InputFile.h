#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace keldra::render {

inline constexpr std::size_t kMaxSmallFileBytes = std::size_t{1} << 20;

/// Why a file can't be read, in the system's words.
[[nodiscard]] std::string WhyUnreadable(const std::string& path);

/// Reads a file that a user named.
/// @param limit    bytes; a larger file isn't read
/// @param content  untouched unless the answer is true
/// @param error    receives one line, with the path, when the answer is false
[[nodiscard]] bool ReadInput(const std::string& path, std::size_t limit,
                             std::vector<std::byte>& content, std::string& error);

} // namespace keldra::render
