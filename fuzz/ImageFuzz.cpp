// Image files from a skin folder: every header and every length.

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "gui/Image.h"
#include "platform/UriList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Dropped paths come from outside as well, and cost nothing beside an image.
    static_cast<void>(keldra::FirstPathOf({reinterpret_cast<const char*>(data), size}));

    static const int file = memfd_create("image", 0);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        return 0;
    keldra::CImage image;
    if (!image.Load("/proc/self/fd/" + std::to_string(file)) || !image.IsValid())
        return 0;
    const auto [height, width] = image.GetSize();
    keldra::CGraphicBuffer screen;
    if (screen.Create({64, 64})) {
        image.CopyTo(screen, {-5, -5, width, height}, {0, 0});
        image.DrawTo(screen, {0, 0, 64, 64}, {width - 64, height - 64}, 100);
    }
    return 0;
}
