#include "frame/StateBlock.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "frame/Text.h"

namespace keldra {

namespace {

// "Ver4" and "Ver3", read as big-endian words; both have the same content.
constexpr std::uint32_t kTag = 0x56657234;
constexpr std::uint32_t kOlderTag = 0x56657233;

void WriteWord(std::uint32_t word, std::byte* to)
{
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<std::byte>(word >> (8 * i));
}

std::uint32_t ReadWord(const std::byte* from)
{
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i)
        word |= std::to_integer<std::uint32_t>(from[i]) << (8 * i);
    return word;
}

} // namespace

void WriteStateBlock(std::span<const float, kParameterCount> values, std::string_view name,
                     std::span<std::byte, kStateSize> block)
{
    WriteWord(kTag, block.data());
    for (std::size_t i = 0; i < values.size(); ++i)
        WriteWord(std::bit_cast<std::uint32_t>(values[i]),
                  block.data() + kStateValuesOffset + 4 * i);
    std::array<char, kStateNameSize> text{};
    CopyText(name, text);
    std::transform(text.begin(), text.end(), block.begin() + kStateNameOffset,
                   [](char c) { return static_cast<std::byte>(c); });
}

StateBlockContent ReadStateBlock(std::span<const std::byte> block)
{
    StateBlockContent content;
    if (block.size() < kStateValuesOffset)
        return content;
    const std::uint32_t tag = ReadWord(block.data());
    content.tagAccepted = tag == kTag || tag == kOlderTag;
    if (!content.tagAccepted)
        return content;
    content.valueCount = static_cast<int>(
        std::min<std::size_t>((block.size() - kStateValuesOffset) / 4, kParameterCount));
    for (int i = 0; i < content.valueCount; ++i)
        content.values[static_cast<std::size_t>(i)] = std::bit_cast<float>(
            ReadWord(block.data() + kStateValuesOffset + 4 * static_cast<std::size_t>(i)));
    content.hasName = block.size() >= kStateSize;
    if (content.hasName)
        std::transform(block.begin() + kStateNameOffset, block.begin() + kStateSize,
                       content.name.begin(),
                       [](std::byte byte) { return static_cast<char>(byte); });
    return content;
}

} // namespace keldra
