// Shows the gallery in a window on the desktop until it is closed. Not installed.

#include <chrono>
#include <cstdio>
#include <thread>

#include "gui/gallery/GalleryPort.h"
#include "platform/UiThread.h"

int main()
{
    keldra::CGalleryPort port;
    if (!port.Open(0)) {
        std::fputs("no window: is there a display of 24 or 32 bits?\n", stderr);
        return 1;
    }
    for (bool shown = true; shown;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const keldra::CUiLock lock;
        shown = port.Handle() != 0; // until it is closed
    }
    port.Close();
    return 0;
}
