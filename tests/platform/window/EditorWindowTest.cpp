// The toolkit on a real window: what the user does with the mouse, and how soon it is seen.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "gui/gallery/GalleryPort.h"
#include "platform/UiThread.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/platform/window/XHost.h"

namespace keldra {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

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
        const auto start = Clock::now();
        host_.MoveBy(0, -2);
        while (port_.presents == before && Clock::now() - start < 500ms)
            std::this_thread::sleep_for(100us);
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(Clock::now() - start).count());
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

// As plugs and sockets do.
TEST_F(EditorWindow, IsDraggedInAWindowThatItsHostMovedIntoAnother)
{
    const xcb_window_t socket = xcb_generate_id(host_.Connection());
    xcb_create_window(host_.Connection(), XCB_COPY_FROM_PARENT, socket,
                      static_cast<xcb_window_t>(host_.Window()), 30, 20, 480, 340, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, host_.Screen().root_visual, 0, nullptr);
    xcb_map_window(host_.Connection(), socket);
    xcb_reparent_window(host_.Connection(), Window(), socket, 0, 0);
    host_.Show({100, 100}, {400, 560});
    CControlList* list = nullptr;
    const auto until = [&](const std::function<bool()>& condition) {
        return Eventually([&] {
            const CUiLock lock;
            return condition();
        });
    };

    host_.MoveTo({130 + 28, 120 + 28});
    host_.Press(1);
    for (int i = 0; i < 8; ++i) {
        host_.MoveBy(0, -10);
        std::this_thread::sleep_for(10ms); // several at once would be one long move
    }
    host_.Release(1);
    EXPECT_TRUE(until([&] { return std::abs(port_.Knob().GetValue() - 0.2f) < 1e-4f; }))
        << KnobValue();

    {
        const CUiLock lock;
        for (CControl* c = port_.GetRootGroup()->GetFirstControl(); list == nullptr;
             c = c->GetNext())
            list = dynamic_cast<CControlList*>(c);
    }
    const PixelPoint thumb{340, 190};
    EXPECT_TRUE(until([&] { // once more where the server puts the knob's cursor back later
        host_.MoveTo({130 + thumb.x, 120 + thumb.y});
        return port_.held == 0 && port_.GetMousePosition() == thumb;
    }));
    host_.Press(1);
    for (int i = 0; i < 60; ++i)
        host_.MoveBy(5, 5); // outside of every window
    EXPECT_TRUE(until([&] { return list->GetScrollOffset() == 8.0f; })) << list->GetScrollOffset();
    host_.Release(1);
    EXPECT_TRUE(until([&] { return !port_.IsCapturing(); }));
}

TEST_F(EditorWindow, LetsGoWhenItIsTakenAwayInMidDrag)
{
    struct Case {
        const char* what;
        std::function<void()> end;
    };
    const Case kCases[] = {
        {"the connection is cut", [&] { xcb_kill_client(host_.Connection(), Window()); }},
        {"the host destroys the editor's window",
         [&] { xcb_destroy_window(host_.Connection(), Window()); }},
        {"the host hides its own",
         [&] { xcb_unmap_window(host_.Connection(), static_cast<xcb_window_t>(host_.Window())); }},
    };
    for (const Case& c : kCases) {
        const int before = port_.gestures;
        host_.MoveTo({128, 128});
        host_.Press(1);
        host_.MoveBy(0, -10);
        EXPECT_TRUE(Eventually([&] { return port_.gestures == before + 1; })) << c.what;
        c.end();
        host_.Sync();
        host_.MoveBy(0, -10);
        EXPECT_TRUE(Eventually([&] {
            const CUiLock lock;
            return port_.held == 0 && !port_.IsCapturing();
        })) << c.what;
        host_.Release(1);
        port_.Close();
        EXPECT_TRUE(port_.Open(host_.Window())) << c.what;
        host_.Show({100, 100}, {340, 480});
        EXPECT_TRUE(Eventually([&] { return host_.PixelAt(Window(), 28, 28) != 0; })) << c.what;
    }
}

// The host's own thread is the first to meet it, in whatever it asks of the editor.
TEST(EditorWindowServer, MayDieInMidDragBeforeAnybodyHasSeenIt)
{
    CXvfb server;
    server.SetUp();
    CXHost host;
    CWatchedPort port;
    EXPECT_TRUE(port.Open(host.Window()));
    host.Show({100, 100}, {340, 480});
    host.MoveTo({128, 128});
    host.Press(1);
    EXPECT_TRUE(Eventually([&] { return port.gestures == 1; }));
    {
        const CUiLock lock; // the window's thread has to wait
        kill(CXvfb::Newest(), SIGKILL);
        siginfo_t ended;
        waitid(P_PID, static_cast<id_t>(CXvfb::Newest()), &ended, WEXITED | WNOWAIT);
        port.RedrawAll();
        port.PresentAll();
        port.Close();
        EXPECT_EQ(port.held, 0);
    }
    EXPECT_FALSE(port.Open(host.Window()));
    server.TearDown();
}

/// Memory of this process that is in use, and of the server's process all that it has, in KiB.
long UsedHere()
{
    return static_cast<long>(mallinfo2().uordblks / 1024);
}
long UsedByServer()
{
    std::ifstream file("/proc/" + std::to_string(CXvfb::Newest()) + "/statm");
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return resident * 4;
}
/// What is mapped that has a name: files, and memory shared with the server. (What has none is the
/// allocator's, a sanitizer's above all.)
long MappedWithAName()
{
    std::istringstream maps(test::Slurp("/proc/self/maps"));
    long count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find('/') != std::string::npos ? 1 : 0;
    return count;
}

TEST_F(EditorWindow, IsOpenedAndClosedAThousandTimesWithoutATrace)
{
#ifdef KELDRA_SANITIZED
    constexpr int kRounds = 200; // each takes ten times as long, and a leak shows at the end
#else
    constexpr int kRounds = 500;
#endif
    CWatchedPort other;
    long before[3] = {};
    std::size_t filesBefore = 0;
    std::size_t threadsBefore = 0;
    for (int round = 0; round <= kRounds; ++round) {
        if (round == 100) {
            before[0] = UsedHere();
            before[1] = UsedByServer();
            before[2] = MappedWithAName();
            filesBefore = test::NamesIn("/proc/self/fd").size();
            threadsBefore = test::NamesIn("/proc/self/task").size();
        }
        EXPECT_TRUE(other.Open(host_.Window())); // two at once, the first to go first or last
        port_.Close();
        if (round % 2 == 0)
            other.Close();
        EXPECT_TRUE(port_.Open(host_.Window()));
        other.Close();
    }
    EXPECT_LT(UsedHere() - before[0], 64);
    EXPECT_LT(UsedByServer() - before[1], 1024);
    EXPECT_EQ(MappedWithAName(), before[2]);
    EXPECT_EQ(test::NamesIn("/proc/self/fd").size(), filesBefore);
    EXPECT_EQ(test::NamesIn("/proc/self/task").size(), threadsBefore);
    EXPECT_TRUE(Eventually([&] { return host_.PixelAt(Window(), 28, 28) != 0; }));
}

/// Pixels come through in every kind of window, shared with the server or sent.
TEST(EditorWindowPixels, AreRightOnEveryVisualWithAndWithoutSharedMemory)
{
    for (const char* without : {static_cast<const char*>(nullptr), "MIT-SHM"}) {
        CXvfb server(without);
        server.SetUp();
        {
            CGalleryPort port;
            for (const XVisual& visual : CXHost().Visuals()) {
                CXHost host(visual);
                host.Show({10, 10}, {340, 480});
                EXPECT_TRUE(port.Open(host.Window()));
                const xcb_window_t window = [&] {
                    const CUiLock lock;
                    return static_cast<xcb_window_t>(port.Handle());
                }();
                for (const PixelPoint at : {PixelPoint{3, 3}, PixelPoint{28, 20}, {470, 330}}) {
                    std::uint32_t expected = 0;
                    {
                        const CUiLock lock;
                        expected = port.GetBackBuffer()->GetPixel(at.x, at.y) & 0xffffff;
                    }
                    EXPECT_TRUE(Eventually([&] {
                        return host.PixelAt(window, at.x, at.y) == expected;
                    })) << int{visual.depth}
                        << (without != nullptr ? " bits deep, without shared memory"
                                               : " bits deep");
                }
                port.Close();
            }
        }
        server.TearDown();
    }
}

} // namespace
} // namespace keldra
