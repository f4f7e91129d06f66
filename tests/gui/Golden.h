#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "gui/Image.h"
#include "platform/headless/HeadlessWindow.h"
#include "tests/gui/Tga.h"

namespace keldra {

inline void WriteTga(const CGraphicBuffer& picture, const std::string& path)
{
    const auto [height, width] = picture.GetSize();
    std::string bytes = test::TgaHeader({height, width}, 24);
    for (int y = height - 1; y >= 0; --y)
        for (int x = 0; x < width; ++x) {
            const Color color = picture.GetPixel(x, y);
            for (const unsigned channel : {BlueOf(color), GreenOf(color), RedOf(color)})
                bytes += static_cast<char>(channel);
        }
    EXPECT_TRUE(std::ofstream(path, std::ios::binary) << bytes) << path;
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

/// The same for a part of what the user sees.
inline void ExpectGolden(const CHeadlessWindow& window, const PixelRect& area,
                         const std::string& name)
{
    CGraphicBuffer seen;
    ASSERT_TRUE(seen.Create({area.height, area.width}));
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            seen.SetPixel(x, y, window.PixelAt(area.x + x, area.y + y));
    ExpectGolden(seen, name);
}

} // namespace keldra
