#pragma once

#include "tests/platform/window/XHost.h"

namespace keldra::test {

[[maybe_unused]] inline auto* const kXvfb = testing::AddGlobalTestEnvironment(new CXvfb);

/// A host's window at the top left of a real screen, and a hand that touches what is on top there.
class CScreen {
public:
    [[nodiscard]] void* Parent() { return reinterpret_cast<void*>(host_.Window()); }
    void Show() { host_.Show({0, 0}, {521, 855}); }
    void Touch(PixelPoint at, int what)
    {
        constexpr int kLeft = 1;
        switch (what) {
        case 0:
            return host_.Press(kLeft);
        case 1:
            return host_.Release(kLeft);
        case 2: // a wheel, or the right button
            host_.Press(3 + at.x % 3);
            return host_.Release(3 + at.x % 3);
        case 3:
            return host_.MoveBy(at.x % 40 - 20, at.y % 40 - 20);
        default:
            host_.MoveTo(at);
            host_.Press(kLeft);
            host_.MoveBy(0, at.y % 20 - 10);
            host_.Release(kLeft);
        }
    }

private:
    CXHost host_;
};

} // namespace keldra::test
