#include "frame/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace keldra {

CTextWriter::CTextWriter(std::span<char> text) : text_(text)
{
    if (!text_.empty())
        text_[0] = '\0';
}

CTextWriter& CTextWriter::Append(std::string_view part)
{
    if (text_.empty())
        return *this;
    const std::size_t count = std::min(part.size(), text_.size() - 1 - length_);
    std::copy_n(part.begin(), count, text_.begin() + static_cast<std::ptrdiff_t>(length_));
    length_ += count;
    text_[length_] = '\0';
    return *this;
}

CTextWriter& CTextWriter::AppendInt(int value)
{
    std::array<char, 16> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    return Append({digits.data(), end});
}

CTextWriter& CTextWriter::AppendFixed(double value, int decimals)
{
    // The greatest double has 309 digits before the point.
    std::array<char, 330> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::fixed, decimals)
                         .ptr;
    return Append({digits.data(), end});
}

void CopyText(std::string_view from, std::span<char> to)
{
    CTextWriter(to).Append(from);
}

void DropHalfCharacter(std::span<char> text)
{
    const std::size_t length = TextIn(text).size();
    if (length + 1 != text.size())
        return;
    constexpr std::size_t kMostBytes = 4; // of a character
    for (std::size_t bytes = 1; bytes < kMostBytes && bytes <= length; ++bytes) {
        const auto first = static_cast<unsigned char>(text[length - bytes]);
        if ((first & 0xC0u) == 0x80u)
            continue; // not the first yet
        const std::size_t whole = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        if (bytes < whole)
            text[length - bytes] = '\0';
        return;
    }
}

std::string_view TextIn(std::span<const char> buffer)
{
    const auto end = std::find(buffer.begin(), buffer.end(), '\0');
    return {buffer.data(), static_cast<std::size_t>(end - buffer.begin())};
}

} // namespace keldra
