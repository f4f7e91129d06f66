#pragma once

#include <array>
#include <string>
#include <string_view>

#include "frame/ParameterTable.h"

namespace keldra {

/// A program as its text describes it: everything that isn't named is as in a new program.
///
///     # Warm and slow; the wheel opens the filter
///     Flt. Cutoff: 42 %
///     ARP Mode: Up/Down
///     unison voices: 4
///     Gate Steps: x-x-xxx-x-x-xxx-
///
/// A line names a parameter or an engine setting, case-blind, and gives its value in the words of
/// the value texts. "Gate Steps" gives all sixteen at once. `#` starts a comment.
struct ProgramText {
    std::array<float, kParameterCount> values{};
    std::string error; ///< empty, or "line 3: ..." for the first line that isn't understood
};

[[nodiscard]] ProgramText ParseProgramText(std::string_view text);

} // namespace keldra
