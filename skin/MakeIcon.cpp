// Writes the program's icon.
//
//   keldra_make_icon PIXELS OUTPUT.png

#include <cstdio>
#include <cstdlib>

#include "skin/Pictures.h"

int main(int count, char** arguments)
{
    const int size = count == 3 ? std::atoi(arguments[1]) : 0;
    if (size < 16 || size > 1024) {
        std::fprintf(stderr, "usage: %s PIXELS OUTPUT.png\n", arguments[0]);
        return 2;
    }
    keldra::skin::Picture icon = keldra::skin::DrawIcon(size);
    cairo_surface_t* const surface =
        cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(icon.pixels.data()),
                                            CAIRO_FORMAT_ARGB32, size, size, size * 4);
    const cairo_status_t written = cairo_surface_write_to_png(surface, arguments[2]);
    cairo_surface_destroy(surface);
    if (written != CAIRO_STATUS_SUCCESS)
        std::fprintf(stderr, "can't write %s: %s\n", arguments[2], cairo_status_to_string(written));
    return written == CAIRO_STATUS_SUCCESS ? 0 : 1;
}
