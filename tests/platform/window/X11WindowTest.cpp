#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "platform/UiThread.h"
#include "platform/Window.h"
#include "platform/x11/WindowConnection.h"
#include "platform/x11/WindowLoop.h"
#include "tests/platform/window/XHost.h"

namespace keldra {
namespace {

[[maybe_unused]] auto* const kXvfb = testing::AddGlobalTestEnvironment(new CXvfb);

/// Writes down what a window reports. Its fields are read and written with the UI lock held.
class CRecorder : public CWindowClient {
public:
    void OnPointer(const PointerEvent& event) override
    {
        pointer.push_back(event);
        if (onPointer)
            onPointer(event);
    }
    void OnWheelTurn(const WheelEvent& event) override { wheel.push_back(event); }
    bool OnKey(const KeyEvent& event) override
    {
        keys.push_back(event);
        return event.key == wanted;
    }
    void OnFocus(bool focused) override { focus.push_back(focused); }
    void OnTick() override { ++ticks; }
    void OnExpose(const PixelRect& area) override
    {
        exposed.push_back(area);
        if (window != nullptr)
            window->Present({picture.data(), size}, area);
    }
    void OnFileDrop(std::string_view path, PixelPoint at) override
    {
        dropped = path;
        droppedAt = at;
    }
    void OnCaptureLost() override { ++capturesLost; }
    void OnWindowLost() override { ++windowsLost; }

    PixelSize size{120, 200};
    std::vector<std::uint32_t> picture = std::vector<std::uint32_t>(120 * 200, 0x00102030);
    std::unique_ptr<CNativeWindow> window;
    std::function<void(const PointerEvent&)> onPointer;
    std::vector<PointerEvent> pointer;
    std::vector<WheelEvent> wheel;
    int wanted = 'x'; ///< of the keys
    std::vector<KeyEvent> keys;
    std::vector<bool> focus;
    std::vector<PixelRect> exposed;
    std::string dropped;
    PixelPoint droppedAt;
    int ticks = 0;
    int capturesLost = 0;
    int windowsLost = 0;
};

class X11Window : public testing::Test {
protected:
    ~X11Window() override { Close(); }

    bool Open(NativeHandle parent)
    {
        const CUiLock lock;
        recorder_.window = CNativeWindow::Open(parent, recorder_.size, recorder_);
        return recorder_.window != nullptr;
    }
    void OpenShown()
    {
        ASSERT_TRUE(Open(host_.Window()));
        host_.Show({100, 100});
        host_.MoveTo({150, 150});
        EXPECT_TRUE(EventuallyLocked([&] { return !recorder_.exposed.empty(); }));
    }
    void Close()
    {
        const CUiLock lock;
        recorder_.window.reset();
    }
    bool EventuallyLocked(const std::function<bool()>& condition)
    {
        return Eventually([&] {
            const CUiLock lock;
            return condition();
        });
    }
    /// Whether so many pointer events of a kind have come.
    bool HasTold(PointerEvent::EKind kind, int count)
    {
        return EventuallyLocked([&] {
            return std::ranges::count(recorder_.pointer, kind, &PointerEvent::kind) == count;
        });
    }
    xcb_window_t Handle() const
    {
        const CUiLock lock;
        return static_cast<xcb_window_t>(recorder_.window->Handle());
    }

    CXHost host_;
    CRecorder recorder_;
};

TEST_F(X11Window, ShowsItsPictureInAParentThatWasNeitherSizedNorMapped)
{
    EXPECT_FALSE(Open(0x7fffff1));                 // no such parent
    recorder_.picture[119 * 200 + 5] = 0xff00aa55; // (5, 0): the rows begin at the bottom
    OpenShown();
    EXPECT_TRUE(Eventually([&] { return host_.PixelAt(Handle(), 5, 0) == 0x00aa55; }));
    EXPECT_EQ(host_.PixelAt(Handle(), 199, 119), 0x102030u);
    EXPECT_TRUE(EventuallyLocked([&] { return recorder_.ticks > 3; }));

    EXPECT_EQ(host_.Children(), std::vector{Handle()});
    {
        const CUiLock lock;
        recorder_.picture.assign(recorder_.picture.size(), 0x00ffffff);
        for (int i = 0; i < 50; ++i) // quicker than the server, over and over
            recorder_.window->Present({recorder_.picture.data(), recorder_.size}, {10, 10, 20, 5});
    }
    EXPECT_TRUE(Eventually([&] { return host_.PixelAt(Handle(), 29, 14) == 0xffffff; }));
    EXPECT_EQ(host_.PixelAt(Handle(), 30, 14), 0x102030u);
    EXPECT_EQ(host_.PixelAt(Handle(), 29, 15), 0x102030u);
}

TEST_F(X11Window, TellsButtonsWheelAndModifiers)
{
    OpenShown();
    const int shift = host_.KeycodeOf(0xffe1);
    const int control = host_.KeycodeOf(0xffe3);
    host_.Press(1);
    host_.Release(1);
    host_.Press(1); // at once and at the same place
    host_.Release(1);
    host_.Press(1);
    host_.Release(1);
    host_.Press(3);
    host_.Release(3);
    host_.Fake(XCB_KEY_PRESS, shift);
    host_.Fake(XCB_KEY_PRESS, control);
    host_.Press(2);
    host_.Release(2);
    for (const int button : {4, 5, 6, 7}) {
        host_.Press(button);
        host_.Release(button);
    }
    host_.Fake(XCB_KEY_RELEASE, shift);
    host_.Fake(XCB_KEY_RELEASE, control);
    ASSERT_TRUE(EventuallyLocked([&] { return recorder_.wheel.size() == 4; }));
    const CUiLock lock;
    std::string seen;
    for (const PointerEvent& event : recorder_.pointer) {
        if (event.kind == PointerEvent::EKind::Move)
            continue;
        seen += "UDd"[event.kind == PointerEvent::EKind::Up     ? 0
                      : event.kind == PointerEvent::EKind::Down ? 1
                                                                : 2];
        seen += "LRM"[static_cast<int>(event.button)];
        seen += event.modifiers == 3 ? "+ " : " ";
        EXPECT_EQ(event.at, (PixelPoint{50, 50}));
    }
    EXPECT_EQ(seen, "DL UL dL UL DL UL DR UR DM+ UM+ "); // the third press begins anew
    constexpr float kSteps[] = {1.0f, -1.0f, 1.0f, -1.0f};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(recorder_.wheel[i].steps, kSteps[i]);
        EXPECT_EQ(recorder_.wheel[i].horizontal, i >= 2);
        EXPECT_EQ(recorder_.wheel[i].modifiers, 3u);
    }
}

TEST_F(X11Window, DragsWithoutEndWhileTheCursorIsHidden)
{
    OpenShown();
    constexpr PixelPoint kStart{150, 0}; // the screen's first row
    host_.Show({100, -50});
    host_.MoveTo(kStart);
    recorder_.onPointer = [&](const PointerEvent& event) {
        if (event.kind == PointerEvent::EKind::Down)
            recorder_.window->BeginCapture(ECaptureCursor::Hidden);
        if (event.kind == PointerEvent::EKind::Up)
            recorder_.window->EndCapture();
    };
    const auto cursorIsHeld = [&] { return host_.Pointer() != kStart; }; // away from the edge
    host_.Press(1);
    EXPECT_TRUE(Eventually(cursorIsHeld));
    for (int i = 0; i < 300; ++i) { // 3000 pixels up on a screen of 1000, 600 to the right
        host_.MoveBy(2, -10);
        if (i == 150)
            host_.Show({130, -40}); // hosts move their windows
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // What is told is where the pointer would be; not a pixel is lost on the way.
    EXPECT_TRUE(EventuallyLocked([&] {
        return recorder_.pointer.back().at == PixelPoint{50 + 600, 50 - 3000};
    })) << recorder_.pointer.back().at.x
        << ", " << recorder_.pointer.back().at.y;
    host_.Release(1);
    EXPECT_TRUE(HasTold(PointerEvent::EKind::Up, 1));
    EXPECT_TRUE(Eventually([&] { return host_.Pointer() == kStart; }));
    host_.Show({100, -50});
    // A short one, and at once a press where the cursor has come back to: no double click.
    host_.Press(1);
    EXPECT_TRUE(HasTold(PointerEvent::EKind::Down, 2));
    EXPECT_TRUE(Eventually(cursorIsHeld));
    host_.MoveBy(0, -10);
    host_.Release(1);
    EXPECT_TRUE(HasTold(PointerEvent::EKind::Up, 2));
    EXPECT_TRUE(Eventually([&] { return host_.Pointer() == kStart; }));
    host_.Press(1);
    host_.Release(1);
    EXPECT_TRUE(HasTold(PointerEvent::EKind::Up, 3));
    EXPECT_TRUE(HasTold(PointerEvent::EKind::Down, 3));
    // The server may serve this move before the cursor is put back; a user's goes on.
    EXPECT_TRUE(Eventually([&] {
        host_.MoveTo({160, 0});
        const CUiLock lock;
        return recorder_.pointer.back().at == PixelPoint{60, 50};
    }));
}

TEST_F(X11Window, HearsAPressOutsideWhileItCaptures)
{
    OpenShown();
    {
        const CUiLock lock;
        recorder_.window->BeginCapture(ECaptureCursor::Shown);
    }
    // The server may serve the user's connection first, who is never so quick.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    host_.MoveTo({800, 600});
    host_.Press(1);
    host_.Release(1);
    EXPECT_TRUE(EventuallyLocked([&] {
        return !recorder_.pointer.empty() &&
               recorder_.pointer.back().kind == PointerEvent::EKind::Up &&
               recorder_.pointer.back().at == PixelPoint{700, 500};
    }));
    xcb_unmap_window(host_.Connection(), static_cast<xcb_window_t>(host_.Window()));
    xcb_unmap_window(host_.Connection(), Handle());
    host_.Sync();
    EXPECT_TRUE(EventuallyLocked([&] { return recorder_.capturesLost == 1; }));
}

TEST_F(X11Window, HandsKeysOnThatNobodyWants)
{
    OpenShown();
    // A host's embedding window, on a connection of its own, that takes keys and does nothing.
    CXHost embedding;
    const auto between = static_cast<xcb_window_t>(embedding.Window());
    embedding.Show({0, 0});
    xcb_reparent_window(host_.Connection(), between, static_cast<xcb_window_t>(host_.Window()), 0,
                        0);
    xcb_reparent_window(host_.Connection(), Handle(), between, 0, 0);
    host_.Sync();
    host_.Press(1);
    host_.Release(1);
    EXPECT_TRUE(EventuallyLocked([&] {
        recorder_.window->TakeFocus();
        return !recorder_.focus.empty() && recorder_.focus.back();
    }));
    host_.KeysReceived();
    host_.Type(host_.KeycodeOf('x'));
    host_.Type(host_.KeycodeOf(' '));
    host_.Type(host_.KeycodeOf(0xff0d));
    EXPECT_TRUE(EventuallyLocked([&] { return recorder_.keys.size() == 6; }));
    int received = 0;
    EXPECT_TRUE(Eventually([&] { return (received += host_.KeysReceived()) == 4; })) << received;
    // What opens while a key is down doesn't keep its end from the host, which may play it.
    host_.Fake(XCB_KEY_PRESS, host_.KeycodeOf(' '));
    EXPECT_TRUE(Eventually([&] { return (received += host_.KeysReceived()) == 5; })) << received;
    {
        const CUiLock lock;
        recorder_.wanted = ' ';
    }
    host_.Fake(XCB_KEY_RELEASE, host_.KeycodeOf(' '));
    EXPECT_TRUE(Eventually([&] { return (received += host_.KeysReceived()) == 6; })) << received;
    const CUiLock lock;
    EXPECT_EQ(recorder_.keys[0].key, 'x');
    EXPECT_EQ(recorder_.keys[2].key, ' ');
    EXPECT_EQ(recorder_.keys[4].key, kKeyEnter);
    EXPECT_FALSE(recorder_.keys[5].down);
}

TEST_F(X11Window, KeepsTheFocusThatItsClickHasTheWindowManagerTake)
{
    OpenShown();
    const auto host = static_cast<xcb_window_t>(host_.Window());
    const auto giveToHost = [&] {
        xcb_set_input_focus(host_.Connection(), XCB_INPUT_FOCUS_PARENT, host, XCB_CURRENT_TIME);
        host_.Sync();
    };
    const auto focused = [&] {
        const CXcbReply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
            host_.Connection(), xcb_get_input_focus(host_.Connection()), nullptr));
        return reply != nullptr && reply->focus == Handle();
    };
    host_.Press(1);
    EXPECT_TRUE(EventuallyLocked([&] { return !recorder_.pointer.empty(); }));
    EXPECT_TRUE(EventuallyLocked([&] {
        recorder_.window->TakeFocus();
        return !recorder_.focus.empty() && recorder_.focus.back();
    }));
    giveToHost();
    EXPECT_TRUE(Eventually(focused));
    {
        const CUiLock lock;
        EXPECT_EQ(std::ranges::count(recorder_.focus, false), 0);
    }
    giveToHost(); // insists
    EXPECT_TRUE(EventuallyLocked([&] { return !recorder_.focus.back(); }));
    EXPECT_FALSE(focused());
    host_.Release(1);

    // A window manager that focuses the outer window at every press, before it lets it through.
    for (const int button : {1, 3}) {
        host_.Press(1); // whoever takes the focus tells the time of an event
        host_.Release(1);
        EXPECT_TRUE(EventuallyLocked([&] {
            recorder_.window->TakeFocus();
            return recorder_.focus.back();
        }));
        {
            const CUiLock lock;
            recorder_.focus.assign(1, true);
        }
        giveToHost();
        host_.Press(button);
        EXPECT_TRUE(Eventually(focused)) << button;
        host_.Release(button);
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // would have been told by now
        {
            const CUiLock lock;
            EXPECT_EQ(std::ranges::count(recorder_.focus, false), 0) << button;
        }
        giveToHost();
        EXPECT_TRUE(EventuallyLocked([&] { return !recorder_.focus.back(); })) << button;
    }

    struct Case {
        const char* what;
        int held;
        std::function<void()> loses;
    };
    const Case kCases[] = {
        {"nothing is held: the user has gone", 0, giveToHost},
        {"the right button, which takes no focus: a menu of the host's", 3, giveToHost},
        {"the host hides its window under the user's hand", 1,
         [&] { xcb_unmap_window(host_.Connection(), host), host_.Sync(); }},
    };
    for (const Case& c : kCases) {
        host_.Press(1);
        host_.Release(1);
        if (c.held != 0)
            host_.Press(c.held);
        EXPECT_TRUE(EventuallyLocked([&] {
            using EKind = PointerEvent::EKind;
            const EKind last = recorder_.pointer.back().kind;
            recorder_.window->TakeFocus();
            return recorder_.focus.back() && (last == EKind::Up) == (c.held == 0);
        }));
        c.loses();
        EXPECT_TRUE(EventuallyLocked([&] { return !recorder_.focus.back(); })) << c.what;
        EXPECT_FALSE(focused()) << c.what;
        if (c.held != 0)
            host_.Release(c.held);
    }
}

TEST_F(X11Window, KnowsWhereThePointerIsThatAnotherProgramHad)
{
    OpenShown();
    CXHost other;
    const auto grab = [&] { // as an open menu does
        const CXcbReply<xcb_grab_pointer_reply_t> reply(xcb_grab_pointer_reply(
            other.Connection(),
            xcb_grab_pointer(other.Connection(), 0, other.Screen().root,
                             XCB_EVENT_MASK_POINTER_MOTION, XCB_GRAB_MODE_ASYNC,
                             XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE, XCB_CURSOR_NONE, 0),
            nullptr));
        EXPECT_EQ(reply->status, XCB_GRAB_STATUS_SUCCESS);
    };
    const auto letGo = [&] {
        xcb_ungrab_pointer(other.Connection(), XCB_CURRENT_TIME);
        other.Sync();
    };
    const auto isToldAt = [&](PixelPoint at) {
        return EventuallyLocked(
            [&] { return !recorder_.pointer.empty() && recorder_.pointer.back().at == at; });
    };
    EXPECT_TRUE(isToldAt({50, 50}));
    grab();
    host_.MoveTo({800, 600});
    letGo();
    EXPECT_TRUE(isToldAt({700, 500})) << "it left meanwhile";
    host_.MoveTo({150, 150});
    EXPECT_TRUE(isToldAt({50, 50}));
    host_.MoveTo({800, 600});
    EXPECT_TRUE(isToldAt({700, 500}));
    grab();
    host_.MoveTo({160, 140});
    letGo();
    EXPECT_TRUE(isToldAt({60, 40})) << "it came meanwhile";
}

TEST_F(X11Window, TakesADroppedFile)
{
    OpenShown();
    xcb_connection_t* c = host_.Connection();
    const XAtoms atoms = InternAtoms(c);
    const auto source = static_cast<xcb_window_t>(host_.Window());
    const auto send = [&](EXAtom type, std::uint32_t d1, std::uint32_t d2, std::uint32_t d3,
                          std::uint32_t d4) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = Handle();
        message.type = atoms[type];
        const std::uint32_t data[] = {source, d1, d2, d3, d4};
        std::copy(std::begin(data), std::end(data), message.data.data32);
        xcb_send_event(c, 0, Handle(), 0, reinterpret_cast<const char*>(&message));
        host_.Sync();
    };
    xcb_set_selection_owner(c, source, atoms[kXdndSelection], XCB_CURRENT_TIME);
    send(kXdndEnter, 5u << 24, atoms[kUriList], 0, 0);
    send(kXdndPosition, 0, 130u << 16 | 140u, XCB_CURRENT_TIME, atoms[kXdndActionCopy]);
    send(kXdndDrop, 0, XCB_CURRENT_TIME, 0, 0);
    bool accepted = false;
    bool finished = false;
    EXPECT_TRUE(Eventually([&] {
        while (const CXcbReply<xcb_generic_event_t> event{xcb_poll_for_event(c)}) {
            const int type = event->response_type & 0x7f;
            if (type == XCB_SELECTION_REQUEST) {
                const auto& request =
                    reinterpret_cast<const xcb_selection_request_event_t&>(*event);
                const std::string text = "# from a test\r\nfile:///tmp/My%20Lead.fxp\r\n";
                xcb_change_property(c, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                                    request.target, 8, static_cast<std::uint32_t>(text.size()),
                                    text.data());
                xcb_selection_notify_event_t notify{};
                notify.response_type = XCB_SELECTION_NOTIFY;
                notify.requestor = request.requestor;
                notify.selection = request.selection;
                notify.target = request.target;
                notify.property = request.property;
                xcb_send_event(c, 0, request.requestor, 0, reinterpret_cast<const char*>(&notify));
                xcb_flush(c);
            } else if (type == XCB_CLIENT_MESSAGE) {
                const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
                accepted =
                    accepted || (message.type == atoms[kXdndStatus] && message.data.data32[1] == 1);
                finished = finished ||
                           (message.type == atoms[kXdndFinished] && message.data.data32[1] == 1);
            }
        }
        return accepted && finished;
    }));
    EXPECT_TRUE(EventuallyLocked([&] { return recorder_.dropped == "/tmp/My Lead.fxp"; }));
    EXPECT_EQ(recorder_.droppedAt, (PixelPoint{30, 40}));
}

#ifndef KELDRA_SANITIZED // those look for leaks at the end
TEST_F(X11Window, LetsAHostsForkedChildEndAtOnce)
{
    OpenShown();
    const auto begun = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0)
        std::exit(0);
    waitpid(child, nullptr, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(900));
}
#endif

using X11WindowThreads = X11Window;

/// An editor as hosts see it: each move of the pointer is a call to the host.
struct Editor {
    Editor(NativeHandle parent, std::function<void()> call) : hostCall(std::move(call))
    {
        const CUiLock lock;
        recorder.onPointer = [this](const PointerEvent&) {
            calls->Post([this] {
                EXPECT_FALSE(finished.load());
                hostCall();
            });
        };
        recorder.window = CNativeWindow::Open(parent, recorder.size, recorder);
    }
    void Close()
    {
        {
            const CUiLock lock;
            recorder.window.reset();
        }
        calls->Finish();
        finished = true;
    }

    std::unique_ptr<CHostCalls> calls = std::make_unique<CHostCalls>();
    std::function<void()> hostCall;
    std::atomic<bool> finished{false};
    CRecorder recorder;
};

TEST_F(X11WindowThreads, ClosesInMidDragWithoutACallAfterwards)
{
    host_.Show({0, 0});
    std::atomic<bool> running{true};
    CXHost user;           // connected here: libXau is not made for two threads at a time
    std::thread hand([&] { // the user, all the time
        for (int i = 0; running; ++i) {
            user.MoveTo({10 + i % 100, 20 + i % 50});
            if (i % 7 == 0) {
                user.Press(1);
                user.Release(1);
            }
        }
    });
    std::atomic<int> calls{0};
    std::mutex hostLock;
    for (int round = 0; round < 150; ++round) {
        const int before = calls;
        Editor editor(host_.Window(), [&] {
            const std::lock_guard held(hostLock); // as hosts do
            ++calls;
        });
        EXPECT_TRUE(Eventually([&] { return calls > before; }));
        editor.Close();
    }
    {
        // The host closes while it keeps our call waiting: nobody waits for ever.
        std::atomic<bool> waiting{false};
        std::atomic<bool> returned{false};
        hostLock.lock();
        Editor editor(host_.Window(), [&] {
            if (waiting.exchange(true))
                return;
            const std::lock_guard held(hostLock);
            {
                const CUiLock lock;
                editor.calls->Post([] {}); // made here, within the call
            }
            returned = true;
        });
        EXPECT_TRUE(Eventually([&] { return waiting.load(); }));
        {
            const CUiLock lock;
            editor.recorder.window.reset();
        }
        editor.calls->Finish();
        EXPECT_FALSE(returned);
        hostLock.unlock();
        EXPECT_TRUE(Eventually([&] { return returned && !CWindowLoop::IsRunning(); }));

        // The next call is waited for as if nothing had been; work, which may be on a slow disk,
        // only by who destroys what it works on.
        for (const auto kind : {CHostCalls::EKind::Call, CHostCalls::EKind::Work}) {
            const bool isWork = kind == CHostCalls::EKind::Work;
            std::atomic<bool> underWay{false};
            std::atomic<bool> mayEnd{!isWork};
            std::thread other([&] {
                const CUiLock lock;
                editor.calls->Post(
                    [&] {
                        underWay = true;
                        EXPECT_TRUE(Eventually([&] { return mayEnd.load(); }));
                        std::this_thread::sleep_for(std::chrono::milliseconds(50));
                        underWay = false;
                    },
                    kind);
            });
            EXPECT_TRUE(Eventually([&] { return underWay.load(); }));
            editor.calls->Finish();
            EXPECT_EQ(underWay, isWork);
            mayEnd = true;
            editor.calls->FinishWork();
            EXPECT_FALSE(underWay);
            other.join();
        }
    }
    {
        // The host closes the editor from inside the call.
        std::atomic<bool> closed{false};
        std::atomic<Editor*> self{nullptr};
        Editor editor(host_.Window(), [&] {
            if (Editor* const made = self.exchange(nullptr)) {
                made->Close(); // makes what is left in the queue, which finds nothing to do
                closed = true;
            }
        });
        self = &editor;
        EXPECT_TRUE(Eventually([&] { return closed.load(); }));
        EXPECT_TRUE(Eventually([] { return !CWindowLoop::IsRunning(); }));
    }
    running = false;
    hand.join();
}

} // namespace
} // namespace keldra
