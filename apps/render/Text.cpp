#include "apps/render/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace keldra::render {

namespace {

char LowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

template <typename Number>
std::optional<Number> ParseAll(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

} // namespace

std::optional<double> ParseNumber(std::string_view text)
{
    const std::optional<double> value = ParseAll<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<int> ParseWhole(std::string_view text)
{
    return ParseAll<int>(text);
}

std::string FixedText(double value, int decimals)
{
    char text[400]; // the greatest double has 309 digits before the point
    const auto [end, error] =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
    return error == std::errc{} ? std::string(text, end) : std::string("?");
}

std::string ShortText(double value)
{
    char text[40];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    return error == std::errc{} ? std::string(text, end) : std::string("?");
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool SameIgnoringCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerCase(x) == LowerCase(y); });
}

std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : text)
        quoted += (c >= 0 && c < ' ') || c == '\x7F' ? '?' : c;
    return quoted + "\"";
}

} // namespace keldra::render
