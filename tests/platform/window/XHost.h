#pragma once

#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/xtest.h>

#include "platform/Window.h"
#include "platform/x11/WindowConnection.h"

namespace keldra {

/// An X server without a screen, for all tests here, or for one that needs another kind.
class CXvfb : public testing::Environment {
public:
    explicit CXvfb(const char* withoutExtension = nullptr) : without_(withoutExtension) {}
    [[nodiscard]] static pid_t Newest() { return newest_; } ///< its process

    void SetUp() override
    {
        before_ = std::getenv("DISPLAY") != nullptr ? std::getenv("DISPLAY") : "";
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        process_ = fork();
        if (process_ == 0) {
            close(ends[0]);
            const std::string file = std::to_string(ends[1]);
            execlp("Xvfb", "Xvfb", "-displayfd", file.c_str(), "-screen", "0", "1000x700x24",
                   "-nolisten", "tcp", "-noreset", without_ != nullptr ? "-extension" : nullptr,
                   without_, nullptr);
            _exit(127);
        }
        newest_ = process_;
        close(ends[1]);
        std::string number;
        for (char c; read(ends[0], &c, 1) == 1 && c != '\n';)
            number += c;
        close(ends[0]);
        ASSERT_FALSE(number.empty()) << "Xvfb did not start";
        setenv("DISPLAY", std::string(":").append(number).c_str(), 1);
    }
    void TearDown() override
    {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
        setenv("DISPLAY", before_.c_str(), 1);
    }

private:
    inline static pid_t newest_ = -1;
    const char* const without_;
    std::string before_;
    pid_t process_ = -1;
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

/// A host: a window of its own on a connection of its own, and XTest for the user's hands.
class CXHost {
public:
    CXHost() : connection_(xcb_connect(nullptr, nullptr))
    {
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
        window_ = xcb_generate_id(connection_.get());
        const std::uint32_t values[] = {0, 1, XCB_EVENT_MASK_KEY_PRESS};
        xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, screen_->root, 0, 0, 1,
                          1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        Sync();
    }

    [[nodiscard]] NativeHandle Window() const { return window_; }
    [[nodiscard]] xcb_connection_t* Connection() { return connection_.get(); }
    [[nodiscard]] const xcb_screen_t& Screen() const { return *screen_; }
    void Sync() { SyncWithServer(connection_.get()); }

    void Show(PixelPoint at, PixelSize size = {200, 300})
    {
        const std::uint32_t values[] = {
            static_cast<std::uint32_t>(at.x), static_cast<std::uint32_t>(at.y),
            static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height)};
        xcb_configure_window(connection_.get(), window_, 15, values);
        xcb_map_window(connection_.get(), window_);
        Sync();
    }
    /// Another window of the host's, shown at once.
    NativeHandle AddWindow(const XVisual& visual, const PixelRect& place)
    {
        const xcb_colormap_t colormap = xcb_generate_id(connection_.get());
        const xcb_window_t window = xcb_generate_id(connection_.get());
        xcb_create_colormap(connection_.get(), XCB_COLORMAP_ALLOC_NONE, colormap, screen_->root,
                            visual.id);
        const std::uint32_t values[] = {0, 1, colormap};
        xcb_create_window(connection_.get(), visual.depth, window, screen_->root,
                          static_cast<std::int16_t>(place.x), static_cast<std::int16_t>(place.y),
                          static_cast<std::uint16_t>(place.width),
                          static_cast<std::uint16_t>(place.height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, visual.id,
                          XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);
        xcb_map_window(connection_.get(), window);
        Sync();
        return window;
    }
    /// The root's visual, another one as deep, and one with alpha.
    std::vector<XVisual> Visuals()
    {
        std::vector<XVisual> visuals{{screen_->root_visual, screen_->root_depth}};
        for (auto depth = xcb_screen_allowed_depths_iterator(screen_); depth.rem != 0;
             xcb_depth_next(&depth))
            for (auto each = xcb_depth_visuals_iterator(depth.data); each.rem != 0;
                 xcb_visualtype_next(&each))
                if ((depth.data->depth == 24 || depth.data->depth == 32) &&
                    each.data->visual_id != screen_->root_visual) {
                    visuals.push_back({each.data->visual_id, depth.data->depth});
                    break;
                }
        return visuals;
    }
    void Fake(std::uint8_t type, int detail, PixelPoint at = {})
    {
        xcb_test_fake_input(connection_.get(), type, static_cast<std::uint8_t>(detail), 0,
                            screen_->root, static_cast<std::int16_t>(at.x),
                            static_cast<std::int16_t>(at.y), 0);
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
            connection_.get(), xcb_query_pointer(connection_.get(), screen_->root), nullptr));
        return {reply->root_x, reply->root_y};
    }
    std::uint32_t PixelAt(xcb_window_t window, int x, int y)
    {
        const CXcbReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            connection_.get(),
            xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window,
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
        const xcb_setup_t* setup = xcb_get_setup(connection_.get());
        const CXcbReply<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
            connection_.get(),
            xcb_get_keyboard_mapping(
                connection_.get(), setup->min_keycode,
                static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)),
            nullptr));
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
        for (int code = setup->min_keycode; code <= setup->max_keycode; ++code)
            if (keysyms[(code - setup->min_keycode) * reply->keysyms_per_keycode] == keysym)
                return code;
        return 0;
    }
    int KeysReceived() // by the host's own window
    {
        int count = 0;
        Sync();
        while (const CXcbReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
            count += (event->response_type & 0x7f) == XCB_KEY_PRESS ? 1 : 0;
        return count;
    }

private:
    CXcbConnection connection_;
    const xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = 0;
};

} // namespace keldra
