// Writes the program's icon: a picture file for desktops, or pixels for the window of a program to
// compile in.
//
//   keldra_make_icon PIXELS OUTPUT.png|OUTPUT.inc

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "skin/Pictures.h"

namespace {

using keldra::skin::Picture;

bool WritePng(Picture& icon, const char* path)
{
    cairo_surface_t* const surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(icon.pixels.data()), CAIRO_FORMAT_ARGB32, icon.width,
        icon.height, icon.width * 4);
    const cairo_status_t written = cairo_surface_write_to_png(surface, path);
    cairo_surface_destroy(surface);
    return written == CAIRO_STATUS_SUCCESS;
}

/// 0xAARRGGBB a pixel, the colours as they are before alpha.
bool WritePixels(const Picture& icon, const char* path)
{
    std::FILE* const file = std::fopen(path, "w");
    if (file == nullptr)
        return false;
    for (const std::uint32_t pixel : icon.pixels) {
        const std::uint32_t alpha = pixel >> 24;
        const auto colour = [&](int shift) {
            const std::uint32_t covered = (pixel >> shift) & 0xff;
            return alpha == 0 ? 0u : std::min((covered * 255 + alpha / 2) / alpha, 255u) << shift;
        };
        std::fprintf(file, "0x%08x,\n", alpha << 24 | colour(16) | colour(8) | colour(0));
    }
    return std::fclose(file) == 0;
}

} // namespace

int main(int count, char** arguments)
{
    const int size = count == 3 ? std::atoi(arguments[1]) : 0;
    if (size < 16 || size > 1024) {
        std::fprintf(stderr, "usage: %s PIXELS OUTPUT.png|OUTPUT.inc\n", arguments[0]);
        return 2;
    }
    Picture icon = keldra::skin::DrawIcon(size);
    const bool written = std::string(arguments[2]).ends_with(".inc")
                             ? WritePixels(icon, arguments[2])
                             : WritePng(icon, arguments[2]);
    if (!written)
        std::fprintf(stderr, "can't write %s\n", arguments[2]);
    return written ? 0 : 1;
}
