// The toolkit on a real window: what the user does with the mouse, and how soon it is seen.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "platform/UiThread.h"
#include "tests/gallery/GalleryPort.h"
#include "tests/platform/window/XHost.h"

namespace keldra {
namespace {

using namespace std::chrono_literals;
using CClock = std::chrono::steady_clock;

/// The gallery, with the time of each present and the balance of gestures.
class CWatchedPort : public CGalleryPort {
public:
    ~CWatchedPort() override { Close(); }
    void PresentRegion(const PixelRect& area) override
    {
        CGalleryPort::PresentRegion(area);
        ++presents;
    }
    bool OnControlPressed(CControl*) override
    {
        EXPECT_EQ(++held, 1);
        ++gestures;
        return true;
    }
    void OnControlReleased(CControl*) override { EXPECT_EQ(--held, 0); }
    bool OnControlChanged(CControl*, float) override
    {
        EXPECT_EQ(held, 1);
        return true;
    }

    std::atomic<int> presents{0};
    std::atomic<int> gestures{0};
    int held = 0;
};

class EditorWindow : public testing::Test {
protected:
    EditorWindow()
    {
        EXPECT_TRUE(port_.Open(host_.Window()));
        host_.Show({100, 100}, {340, 480});
        host_.MoveTo({100, 100});
        EXPECT_TRUE(Eventually([&] { return host_.PixelAt(Window(), 28, 28) != 0; }));
    }

    xcb_window_t Window()
    {
        const CUiLock lock;
        return static_cast<xcb_window_t>(port_.Handle());
    }
    float KnobValue()
    {
        const CUiLock lock;
        return port_.Knob().GetValue();
    }

    CXHost host_;
    CWatchedPort port_;
};

TEST_F(EditorWindow, DragsAKnobAndShowsItSoon)
{
    host_.MoveTo({128, 128});
    host_.Press(1);
    EXPECT_TRUE(Eventually([&] { return port_.gestures == 1; }));
    std::this_thread::sleep_for(200ms); // the pop-up has faded in: ticks present no more
    std::vector<double> milliseconds;
    for (int i = 0; i < 100; ++i) {
        const int before = port_.presents;
        const auto start = CClock::now();
        host_.MoveBy(0, -2);
        while (port_.presents == before && CClock::now() - start < 500ms)
            std::this_thread::sleep_for(100us);
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(CClock::now() - start).count());
    }
    host_.Release(1);
    EXPECT_TRUE(Eventually([&] {
        const CUiLock lock;
        return port_.held == 0;
    }));
    EXPECT_NEAR(KnobValue(), 0.5f, 1e-4f); // 200 pixels, none lost
    std::sort(milliseconds.begin(), milliseconds.end());
    RecordProperty("p95_us", static_cast<int>(milliseconds[94] * 1000.0));
    EXPECT_LT(milliseconds[94], 20.0) << "median " << milliseconds[49];
}

TEST_F(EditorWindow, BalancesEveryGestureOfARandomSession)
{
    std::uint32_t random = 2222;
    const auto next = [&random](int limit) {
        random = random * 196314165u + 907633515u;
        return static_cast<int>(random >> 8) % limit;
    };
    for (int i = 0; i < 600; ++i) {
        host_.MoveTo({100 + next(480), 100 + next(340)});
        const int button = 1 + next(7);
        host_.Press(button);
        if (next(3) == 0)
            host_.MoveBy(next(80) - 40, next(80) - 40);
        if (next(40) == 0) {
            const CUiLock lock;
            port_.Close();
            EXPECT_EQ(port_.held, 0);
            EXPECT_TRUE(port_.Open(host_.Window()));
        }
        host_.Release(button);
        if (next(10) == 0)
            host_.Type(host_.KeycodeOf(next(2) == 0 ? 0xff0d : 0xff1b)); // Enter, Escape
    }
    port_.Close();
    EXPECT_EQ(port_.held, 0);
    EXPECT_GT(port_.gestures, 50);
}

} // namespace
} // namespace keldra
