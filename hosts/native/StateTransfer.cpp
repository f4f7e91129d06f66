#include "hosts/native/StateTransfer.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace keldra::native {

namespace {

constexpr std::uint32_t kMagic = 0x444E5353; // "SSND"
constexpr std::size_t kMostAtOnce = 4096;

using Number = std::array<std::byte, 4>;

Number LittleEndian(std::uint32_t value)
{
    Number bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::byte>(value >> (8 * i));
    return bytes;
}

std::uint32_t FromLittleEndian(const Number& bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        value |= std::to_integer<std::uint32_t>(bytes[i]) << (8 * i);
    return value;
}

/// Moves bytes until all are through: a stream may take or give them in pieces.
/// @param move  moves `count` bytes from `offset` on, and says how many it did and whether it
/// failed
/// @return how many are through when the stream ended, failed, or claimed to have moved too many
template <typename Move>
std::size_t MoveAll(std::size_t size, Move&& move)
{
    std::size_t through = 0;
    while (through < size) {
        const auto count = static_cast<std::uint32_t>(std::min(size - through, kMostAtOnce));
        std::uint32_t done = 0;
        if (move(through, count, done) < 0 || done == 0 || done > count)
            break;
        through += done;
    }
    return through;
}

bool Write(StateStream& stream, std::span<const std::byte> bytes)
{
    return MoveAll(bytes.size(), [&](std::size_t offset, std::uint32_t count, std::uint32_t& done) {
               return stream.operations->Write(&stream, bytes.data() + offset, count, &done);
           }) == bytes.size();
}

std::size_t Read(StateStream& stream, std::span<std::byte> bytes)
{
    return MoveAll(bytes.size(), [&](std::size_t offset, std::uint32_t count, std::uint32_t& done) {
        return stream.operations->Read(&stream, bytes.data() + offset, count, &done);
    });
}

bool ReadNumber(StateStream& stream, std::uint32_t& value)
{
    Number bytes;
    if (Read(stream, bytes) != bytes.size())
        return false;
    value = FromLittleEndian(bytes);
    return true;
}

void SkipPast(StateStream& stream, std::size_t size)
{
    std::array<std::byte, kMostAtOnce> unused;
    MoveAll(size, [&](std::size_t, std::uint32_t count, std::uint32_t& done) {
        return stream.operations->Read(&stream, unused.data(), count, &done);
    });
}

} // namespace

void WriteState(StateStream& stream, std::span<const std::byte> block)
{
    if (Write(stream, LittleEndian(kMagic)) &&
        Write(stream, LittleEndian(static_cast<std::uint32_t>(block.size()))))
        Write(stream, block);
}

std::optional<std::vector<std::byte>> ReadState(StateStream& stream, std::size_t mostBytes)
{
    std::uint32_t magic = 0;
    std::uint32_t size = 0;
    if (!ReadNumber(stream, magic) || !ReadNumber(stream, size) || magic != kMagic || size == 0)
        return std::nullopt;
    std::vector<std::byte> block(std::min<std::size_t>(size, mostBytes));
    const std::size_t read = Read(stream, block);
    if (read == block.size())
        SkipPast(stream, size - read);
    block.resize(read);
    return block;
}

} // namespace keldra::native
