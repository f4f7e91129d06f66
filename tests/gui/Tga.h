#pragma once

#include <string>

#include "platform/Pixels.h"

namespace keldra::test {

/// What an uncompressed picture file begins with. Its rows follow, the lowest first, each pixel as
/// blue, green, red and, with a depth of 32 bits, alpha.
inline std::string TgaHeader(PixelSize size, int depth)
{
    std::string bytes(18, '\0');
    bytes[2] = 2; // colours, not packed
    std::size_t at = 12;
    for (const int number : {size.width, size.height}) {
        bytes[at++] = static_cast<char>(number & 255);
        bytes[at++] = static_cast<char>(number >> 8);
    }
    bytes[at] = static_cast<char>(depth);
    return bytes;
}

/// A whole picture, all of one grey.
inline std::string PlainTga(PixelSize size, int depth)
{
    const auto bytes = static_cast<std::size_t>(size.width * size.height * depth / 8);
    return TgaHeader(size, depth).append(bytes, '\x60');
}

} // namespace keldra::test
