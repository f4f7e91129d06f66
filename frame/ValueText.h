#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace keldra {

/// Longest value text, NUL included, with room to spare: "-20.00 dB", "50000 ms".
inline constexpr std::size_t kValueTextSize = 16;

/// Writes a parameter's value as a musician reads it: "350 ms", "-5.00 dB", "Up/Down". Indices
/// without a name are written as a percentage. Any thread; never depends on the locale.
/// @param value  as stored: any float
void WriteValueText(int index, float value, std::span<char> text);

/// The stored value that such a text stands for, in the words of WriteValueText or close to them:
/// "1.2 s", "50", "on", "+12". Numbers beyond the range give its end. Engine settings (indices 75
/// .. 80) take their menu's labels or the plain number ("8" unison voices).
/// @return nothing when the text isn't understood
[[nodiscard]] std::optional<float> ParseValueText(int index, std::string_view text);

/// The index that a name stands for, case-blind: a parameter's or an engine setting's ("unison
/// voices"). -1 for none.
[[nodiscard]] int FindParameter(std::string_view name);

} // namespace keldra
