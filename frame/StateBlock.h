#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "frame/EngineChanges.h"
#include "frame/ParameterTable.h"

namespace keldra {

/// The 692 bytes that hold a program: hosts keep them in songs, program files on disk.
/// Little-endian: a tag, 156 floats in index order, a name of 64 bytes.
inline constexpr std::size_t kStateNameSize = 64;
inline constexpr std::size_t kStateValuesOffset = 4;
inline constexpr std::size_t kStateNameOffset = kStateValuesOffset + 4 * kParameterCount;
inline constexpr std::size_t kStateSize = kStateNameOffset + kStateNameSize;
static_assert(kStateSize == 692);

/// Writes a block. @param block  kStateSize bytes. @param name  cut after 63 characters
void WriteStateBlock(std::span<const float, kParameterCount> values, std::string_view name,
                     std::span<std::byte, kStateSize> block);

/// What a block holds, as far as it goes.
struct StateBlockContent {
    bool tagAccepted = false; ///< at least 4 bytes, and one of the two tags
    int valueCount = 0;       ///< values that are there, 0 .. 156; 0 without an accepted tag
    std::array<float, kParameterCount> values{};
    bool hasName = false; ///< 64 bytes follow the values
    std::array<char, kStateNameSize + 1> name{};

    [[nodiscard]] bool Accepted() const { return tagAccepted && valueCount == kParameterCount; }
};

/// Reads whatever bytes are there; never beyond them. Values are taken as they stand, NaN included.
[[nodiscard]] StateBlockContent ReadStateBlock(std::span<const std::byte> block);

} // namespace keldra
