#include "gui/Image.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

namespace keldra {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

constexpr std::size_t kHeaderSize = 18;

/// A cut file may still promise this many pixels: ten times the panel, 16 MiB.
constexpr std::uint64_t kMostMissingPixels = std::uint64_t{1} << 22;

struct TgaHeader {
    int idLength = 0;
    PixelSize size;
    int bytesPerPixel = 0; ///< 3 or 4
};

/// @return false for anything but an uncompressed true-colour picture of 24 or 32 bits
bool ReadHeader(std::FILE* file, TgaHeader& header)
{
    std::array<unsigned char, kHeaderSize> bytes{};
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size())
        return false;
    const auto word = [&bytes](std::size_t at) { return bytes[at] | bytes[at + 1] << 8; };
    const int colorMapType = bytes[1];
    const int imageType = bytes[2]; // 2: true colour, not compressed
    const int depth = bytes[16];
    if (colorMapType != 0 || imageType != 2 || (depth != 24 && depth != 32))
        return false;
    header = {bytes[0], {word(14), word(12)}, depth / 8};
    return true;
}

} // namespace

bool CImage::Load(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path file(path);
    // A pipe would wait for its other end, a device might never end.
    if (!std::filesystem::is_regular_file(file, error))
        return false;
    const std::uint64_t length = std::filesystem::file_size(file, error);
    if (error)
        return false;
    const FilePointer stream(std::fopen(path.c_str(), "rb"));
    TgaHeader header;
    if (stream == nullptr || !ReadHeader(stream.get(), header) ||
        std::fseek(stream.get(), header.idLength, SEEK_CUR) != 0)
        return false;

    const auto width = static_cast<std::size_t>(header.size.width);
    const auto bytesPerPixel = static_cast<std::size_t>(header.bytesPerPixel);
    const std::uint64_t pixels = std::uint64_t{width} * static_cast<unsigned>(header.size.height);
    if (pixels > kMostMissingPixels && pixels * bytesPerPixel > length)
        return false;

    Free(); // also a picture of the same size: what this file lacks is to be black
    if (!Create(header.size))
        return false;
    SetHasAlpha(header.bytesPerPixel == 4);
    std::vector<unsigned char> rowBytes(width * bytesPerPixel);
    for (int y = GetSize().height - 1; y >= 0; --y) { // none at all for a width of 0
        if (std::fread(rowBytes.data(), 1, rowBytes.size(), stream.get()) != rowBytes.size())
            break;
        std::uint32_t* row = Row(y);
        const unsigned char* from = rowBytes.data();
        for (std::size_t x = 0; x < width; ++x, from += bytesPerPixel)
            row[x] = Rgba(from[2], from[1], from[0], bytesPerPixel == 4 ? from[3] : 0u);
    }
    path_ = path;
    return true;
}

} // namespace keldra
