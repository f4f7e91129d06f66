#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keldra::standalone {

/// Finds what a user means: its number in the list, counted from 1; or its name; or a part of its
/// name, whatever the case of its letters, that no other has.
/// @param what   of which there is a list, for messages: "sound device"
/// @param error  receives one line when the answer is nothing
[[nodiscard]] std::optional<std::size_t> Choose(const std::vector<std::string>& names,
                                                std::string_view wanted, std::string_view what,
                                                std::string& error);

} // namespace keldra::standalone
