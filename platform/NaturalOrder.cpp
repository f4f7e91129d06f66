// Names are compared character by character in folded form; where both have a digit, the whole runs
// of digits are compared as numbers. "Bass 2" < "bass 10" < "Bass a".

#include <algorithm>
#include <cstdint>

#include "platform/Folders.h"

namespace keldra {

namespace {

/// Length of the UTF-8 sequence that a text begins with, 0 when it is none.
std::size_t SequenceLength(std::string_view text, char32_t& character)
{
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0u) == 0x80u; };
    const unsigned first = byte(0);
    if (text.empty())
        return 0;
    if (first < 0x80) {
        character = first;
        return 1;
    }
    if (first >= 0xC2 && first < 0xE0 && follows(1)) {
        character = (first & 0x1Fu) << 6 | (byte(1) & 0x3Fu);
        return 2;
    }
    if (first >= 0xE0 && first < 0xF0 && follows(1) && follows(2)) {
        character = (first & 0x0Fu) << 12 | (byte(1) & 0x3Fu) << 6 | (byte(2) & 0x3Fu);
        const bool surrogate = character >= 0xD800 && character < 0xE000;
        return character >= 0x800 && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first < 0xF5 && follows(1) && follows(2) && follows(3)) {
        character = (first & 0x07u) << 18 | (byte(1) & 0x3Fu) << 12 | (byte(2) & 0x3Fu) << 6 |
                    (byte(3) & 0x3Fu);
        return character >= 0x10000 && character < 0x110000 ? 4 : 0;
    }
    return 0;
}

/// Small letters for capitals, by our own table: the C library's follows the locale.
char32_t Folded(char32_t c)
{
    const auto in = [c](char32_t first, char32_t last) { return c >= first && c <= last; };
    if (in('A', 'Z') || (in(0xC0, 0xDE) && c != 0xD7) || in(0x391, 0x3A9) || in(0x410, 0x42F))
        return c + 32;
    if (in(0x400, 0x40F))
        return c + 80;
    if (in(0x100, 0x137) || in(0x14A, 0x177)) // Latin pairs: even capital, odd small
        return c | 1u;
    if (in(0x139, 0x148) || in(0x179, 0x17E)) // and the other way round
        return c + (c & 1u);
    return c;
}

char32_t TakeCharacter(std::string_view& text)
{
    char32_t character = 0;
    std::size_t length = SequenceLength(text, character);
    if (length == 0) { // not UTF-8: any order will do as long as it is one
        character = 0x110000u + static_cast<unsigned char>(text.front());
        length = 1;
    }
    text.remove_prefix(length);
    return Folded(character);
}

bool StartsWithDigit(std::string_view text)
{
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

/// A run of digits without its leading zeros: compared by length, then as text, it is a number of
/// any size.
std::string_view TakeNumber(std::string_view& text)
{
    std::size_t end = 0;
    while (StartsWithDigit(text.substr(end)))
        ++end;
    std::string_view digits = text.substr(0, end);
    text.remove_prefix(end);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

} // namespace

bool IsUtf8(std::string_view text)
{
    char32_t character = 0;
    while (!text.empty()) {
        const std::size_t length = SequenceLength(text, character);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

bool NaturallyBefore(std::string_view a, std::string_view b)
{
    std::string_view restA = a;
    std::string_view restB = b;
    while (!restA.empty() && !restB.empty()) {
        if (StartsWithDigit(restA) && StartsWithDigit(restB)) {
            const std::string_view numberA = TakeNumber(restA);
            const std::string_view numberB = TakeNumber(restB);
            if (numberA.size() != numberB.size())
                return numberA.size() < numberB.size();
            if (numberA != numberB)
                return numberA < numberB;
            continue;
        }
        const char32_t characterA = TakeCharacter(restA);
        const char32_t characterB = TakeCharacter(restB);
        if (characterA != characterB)
            return characterA < characterB;
    }
    if (restA.empty() != restB.empty())
        return restA.empty();
    return a < b;
}

} // namespace keldra
