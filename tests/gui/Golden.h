#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "gui/Image.h"

namespace keldra {

inline void WriteTga(const CGraphicBuffer& picture, const std::string& path)
{
    const auto [height, width] = picture.GetSize();
    std::vector<unsigned char> bytes(18);
    bytes[2] = 2;
    bytes[12] = static_cast<unsigned char>(width & 255);
    bytes[13] = static_cast<unsigned char>(width >> 8);
    bytes[14] = static_cast<unsigned char>(height & 255);
    bytes[15] = static_cast<unsigned char>(height >> 8);
    bytes[16] = 24;
    for (int y = height - 1; y >= 0; --y)
        for (int x = 0; x < width; ++x) {
            const Color color = picture.GetPixel(x, y);
            for (const unsigned channel : {BlueOf(color), GreenOf(color), RedOf(color)})
                bytes.push_back(static_cast<unsigned char>(channel));
        }
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr) << path;
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
    std::fclose(file);
}

/// Compares a picture's colours with tests/golden/<name>.tga, exactly. What differs is left in
/// build/<preset>/golden/ to be looked at; KELDRA_UPDATE_GOLDEN=1 takes it as the new one.
inline void ExpectGolden(const CGraphicBuffer& picture, const std::string& name)
{
    const std::string golden = std::string(KELDRA_SOURCE_DIR "/tests/golden/") + name + ".tga";
    if (std::getenv("KELDRA_UPDATE_GOLDEN") != nullptr)
        WriteTga(picture, golden);
    CImage expected;
    ASSERT_TRUE(expected.Load(golden)) << golden;
    int different = expected.GetSize() == picture.GetSize() ? 0 : 1;
    const auto [height, width] = expected.GetSize();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (((expected.GetPixel(x, y) ^ picture.GetPixel(x, y)) & 0x00ffffffu) != 0)
                ++different;
    EXPECT_EQ(different, 0) << "pixels differ from " << golden;
    if (different != 0) {
        std::filesystem::create_directories(KELDRA_BINARY_DIR "/golden");
        WriteTga(picture, std::string(KELDRA_BINARY_DIR "/golden/") + name + ".tga");
    }
}

} // namespace keldra
