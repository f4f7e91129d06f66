// A packed program: how many values there are (1 byte), whether it was accepted (1 byte), a bit per
// value (20 bytes) that is set where the value differs from a new program's, then those values, 4
// bytes each in the machine's own order.

#include "presets/PackedProgram.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "frame/StateBlock.h"

namespace keldra {

namespace {

constexpr std::size_t kMaskOffset = 2;
constexpr std::size_t kMaskSize = (kParameterCount + 7) / 8;
constexpr std::size_t kValuesOffset = kMaskOffset + kMaskSize;
static_assert(kParameterCount <= 255);

/// What most programs have here.
float UsualValue(int index)
{
    const bool isLink = index >= kFirstControllerLink && index <= kLastControllerLink;
    return isLink ? -1.0f : TableDefault(index);
}

bool SameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

} // namespace

void PackProgram(std::span<const std::byte> block, std::vector<std::byte>& packed)
{
    const StateBlockContent content = ReadStateBlock(block);
    const std::size_t begin = packed.size();
    packed.resize(begin + kValuesOffset);
    packed[begin] = static_cast<std::byte>(content.valueCount);
    packed[begin + 1] = static_cast<std::byte>(content.Accepted() ? 1 : 0);
    for (int index = 0; index < content.valueCount; ++index) {
        const auto place = static_cast<std::size_t>(index);
        if (SameBits(content.values[place], UsualValue(index)))
            continue;
        packed[begin + kMaskOffset + place / 8] |= static_cast<std::byte>(1u << (place % 8));
        const std::size_t end = packed.size();
        packed.resize(end + sizeof(float));
        std::memcpy(packed.data() + end, &content.values[place], sizeof(float));
    }
}

UnpackedProgram UnpackProgram(std::span<const std::byte> packed)
{
    UnpackedProgram program;
    program.values.count = std::to_integer<int>(packed[0]);
    program.accepted = packed[1] != std::byte{0};
    std::size_t next = kValuesOffset;
    for (int index = 0; index < program.values.count; ++index) {
        const auto place = static_cast<std::size_t>(index);
        float& value = program.values.values[place];
        if ((packed[kMaskOffset + place / 8] >> (place % 8) & std::byte{1}) == std::byte{0}) {
            value = UsualValue(index);
            continue;
        }
        std::memcpy(&value, packed.data() + next, sizeof(float));
        next += sizeof(float);
    }
    return program;
}

} // namespace keldra
