#include "skin/TgaFile.h"

#include <cstdio>
#include <memory>

namespace keldra::skin {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

constexpr unsigned char kUncompressedTrueColour = 2;

/// Channels as they were before they were multiplied by alpha. Where nothing shows there is black.
unsigned char Straight(std::uint32_t channel, std::uint32_t alpha)
{
    if (alpha == 0)
        return 0;
    const std::uint32_t value = (channel * 255 + alpha / 2) / alpha;
    return static_cast<unsigned char>(value > 255 ? 255 : value);
}

} // namespace

bool WriteTga(const Picture& picture, int bitsPerPixel, const std::string& path)
{
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file)
        return false;

    const auto low = [](int number) { return static_cast<unsigned char>(number & 255); };
    const auto high = [](int number) { return static_cast<unsigned char>(number >> 8 & 255); };
    std::vector<unsigned char> bytes(18, 0);
    bytes[2] = kUncompressedTrueColour;
    bytes[12] = low(picture.width);
    bytes[13] = high(picture.width);
    bytes[14] = low(picture.height);
    bytes[15] = high(picture.height);
    bytes[16] = low(bitsPerPixel);
    bytes[17] = bitsPerPixel == 32 ? 8 : 0; // bits of alpha; bit 5 clear: origin at the bottom

    for (int y = picture.height - 1; y >= 0; --y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::uint32_t pixel = picture.At(x, y);
            const std::uint32_t alpha = bitsPerPixel == 32 ? pixel >> 24 : 255;
            for (int shift = 0; shift < 24; shift += 8)
                bytes.push_back(Straight(pixel >> shift & 255, alpha));
            if (bitsPerPixel == 32)
                bytes.push_back(static_cast<unsigned char>(alpha));
        }
    }
    return std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() &&
           std::fflush(file.get()) == 0;
}

} // namespace keldra::skin
