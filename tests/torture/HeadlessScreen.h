#pragma once

#include "platform/UiThread.h"
#include "platform/headless/HeadlessWindow.h"

namespace keldra::test {

/// A window in memory, and a hand that touches the newest.
class CScreen {
public:
    [[nodiscard]] static void* Parent() { return reinterpret_cast<void*>(7); }
    static void Show() {}
    static void Touch(PixelPoint at, int what)
    {
        const CUiLock lock; // the window stays while it is told
        CHeadlessWindow* const window = CHeadlessWindow::Newest();
        if (window == nullptr)
            return;
        switch (what) {
        case 0:
            return window->Press();
        case 1:
            return window->Release();
        case 2:
            return window->Wheel(static_cast<float>(at.x % 5 - 2));
        case 3:
            return window->MoveBy(at.x % 40 - 20, at.y % 40 - 20);
        case 4:
            return window->Tick(at.x % 4);
        default:
            window->MoveTo(at);
            window->Press();
            window->MoveBy(0, at.y % 20 - 10);
            window->Release();
        }
    }
};

} // namespace keldra::test
