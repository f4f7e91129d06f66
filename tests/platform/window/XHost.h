#pragma once

#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <xcb/xtest.h>

#include "apps/validate/HostWindow.h"

namespace keldra {

/// The X server of all tests here, or of one that needs another kind.
class CXvfb : public testing::Environment {
public:
    explicit CXvfb(const char* withoutExtension = nullptr) : without_(withoutExtension) {}
    [[nodiscard]] static pid_t Newest() { return newest_; } ///< its process

    void SetUp() override
    {
        before_ = std::getenv("DISPLAY") != nullptr ? std::getenv("DISPLAY") : "";
        server_.emplace(without_);
        ASSERT_NE(server_->Display(), "") << "Xvfb did not start";
        newest_ = server_->Process();
        setenv("DISPLAY", server_->Display().c_str(), 1);
    }
    void TearDown() override
    {
        server_.reset();
        setenv("DISPLAY", before_.c_str(), 1);
    }

private:
    inline static pid_t newest_ = -1;
    const char* const without_;
    std::string before_;
    std::optional<validate::CXServer> server_;
};

inline bool Eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 1000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

/// A host's window, and XTest for the user's hands.
class CXHost : public validate::CHostWindow {
public:
    using CHostWindow::CHostWindow;

    void Show(PixelPoint at, PixelSize size = {200, 300}) { CHostWindow::Show(at, size); }
    void Fake(std::uint8_t type, int detail, PixelPoint at = {})
    {
        xcb_test_fake_input(Connection(), type, static_cast<std::uint8_t>(detail), 0, Screen().root,
                            static_cast<std::int16_t>(at.x), static_cast<std::int16_t>(at.y), 0);
        Sync();
    }
    void MoveTo(PixelPoint at) { Fake(XCB_MOTION_NOTIFY, 0, at); }
    void MoveBy(int dx, int dy) { Fake(XCB_MOTION_NOTIFY, 1, {dx, dy}); }
    void Press(int button) { Fake(XCB_BUTTON_PRESS, button); }
    void Release(int button) { Fake(XCB_BUTTON_RELEASE, button); }
    void Type(int keycode)
    {
        Fake(XCB_KEY_PRESS, keycode);
        Fake(XCB_KEY_RELEASE, keycode);
    }
    PixelPoint Pointer()
    {
        const CXcbReply<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
            Connection(), xcb_query_pointer(Connection(), Screen().root), nullptr));
        return {reply->root_x, reply->root_y};
    }
    std::uint32_t PixelAt(xcb_window_t window, int x, int y)
    {
        const CXcbReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            Connection(),
            xcb_get_image(Connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, window,
                          static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0u),
            nullptr));
        return reply == nullptr
                   ? 0xdeadbeef
                   : *reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(reply.get())) &
                         0xffffff;
    }
    /// The keycode that writes a character without modifiers.
    int KeycodeOf(xcb_keysym_t keysym)
    {
        const xcb_setup_t* setup = xcb_get_setup(Connection());
        const CXcbReply<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
            Connection(),
            xcb_get_keyboard_mapping(
                Connection(), setup->min_keycode,
                static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)),
            nullptr));
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
        for (int code = setup->min_keycode; code <= setup->max_keycode; ++code)
            if (keysyms[(code - setup->min_keycode) * reply->keysyms_per_keycode] == keysym)
                return code;
        return 0;
    }
    int KeysReceived() // by the host's own window, down and up
    {
        int count = 0;
        Sync();
        while (const CXcbReply<xcb_generic_event_t> event{xcb_poll_for_event(Connection())})
            count += (event->response_type & 0x7f) == XCB_KEY_PRESS ||
                             (event->response_type & 0x7f) == XCB_KEY_RELEASE
                         ? 1
                         : 0;
        return count;
    }
};

} // namespace keldra
