#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace keldra::render {

// Numbers as text. Never by the locale: a plug-in in this process may have changed it.

/// A decimal number that is the whole of the text. Nothing for anything else, "nan" and "inf" too.
[[nodiscard]] std::optional<double> ParseNumber(std::string_view text);
/// A whole number in decimal digits, the whole of the text.
[[nodiscard]] std::optional<int> ParseWhole(std::string_view text);
/// As printf's "%.<decimals>f" in the C locale. @param decimals  0 .. 9
[[nodiscard]] std::string FixedText(double value, int decimals);
/// The shortest text that reads back as the same number.
[[nodiscard]] std::string ShortText(double value);

/// Without spaces and tabs at both ends.
[[nodiscard]] std::string_view Trimmed(std::string_view text);
/// Equal but for the case of ASCII letters.
[[nodiscard]] bool SameIgnoringCase(std::string_view a, std::string_view b);
/// In double quotes, with what a terminal might take for a command as "?".
[[nodiscard]] std::string Quoted(std::string_view text);

} // namespace keldra::render
