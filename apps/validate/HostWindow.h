#pragma once

#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/Window.h"
#include "platform/x11/WindowConnection.h"

namespace keldra::validate {

/// An X server without a screen, so that editors open where nobody looks.
class CXServer {
public:
    /// @param without  an extension that it is to lack; null: none
    explicit CXServer(const char* without = nullptr)
    {
        int ends[2];
        if (::pipe(ends) != 0)
            return;
        process_ = ::fork();
        if (process_ == 0) {
            ::close(ends[0]);
            const std::string file = std::to_string(ends[1]);
            ::execlp("Xvfb", "Xvfb", "-displayfd", file.c_str(), "-screen", "0", "1600x1000x24",
                     "-nolisten", "tcp", "-noreset", without != nullptr ? "-extension" : nullptr,
                     without, nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        for (char c; ::read(ends[0], &c, 1) == 1 && c != '\n';)
            display_ += display_.empty() ? std::string{':', c} : std::string{c};
        ::close(ends[0]);
    }
    ~CXServer()
    {
        if (process_ <= 0)
            return;
        ::kill(process_, SIGTERM);
        ::waitpid(process_, nullptr, 0);
    }
    CXServer(const CXServer&) = delete;
    CXServer& operator=(const CXServer&) = delete;

    /// What DISPLAY has to be. Empty when it didn't start.
    [[nodiscard]] const std::string& Display() const { return display_; }
    [[nodiscard]] pid_t Process() const { return process_; }

private:
    pid_t process_ = -1;
    std::string display_;
};

/// A host's window on a connection of its own: a pixel large, and hidden, until Show.
class CHostWindow {
public:
    /// @param visual  its own; without an id the screen's
    explicit CHostWindow(XVisual visual = {}) : connection_(xcb_connect(nullptr, nullptr))
    {
        xcb_connection_t* const c = connection_.get();
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        if (visual.id == 0)
            visual = {screen_->root_visual, screen_->root_depth};
        const xcb_colormap_t colours = xcb_generate_id(c);
        xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colours, screen_->root, visual.id);
        window_ = xcb_generate_id(c);
        const std::uint32_t values[] = {0, 0, 1, XCB_EVENT_MASK_KEY_PRESS, colours};
        xcb_create_window(c, visual.depth, window_, screen_->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, visual.id,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                              XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          values);
        Sync();
    }

    [[nodiscard]] NativeHandle Window() const { return window_; }
    [[nodiscard]] void* Handle() const { return reinterpret_cast<void*>(Window()); }
    [[nodiscard]] xcb_connection_t* Connection() const { return connection_.get(); }
    [[nodiscard]] const xcb_screen_t& Screen() const { return *screen_; }
    void Sync() { SyncWithServer(connection_.get()); }

    void Show(PixelPoint at, PixelSize size)
    {
        const std::uint32_t values[] = {
            static_cast<std::uint32_t>(at.x), static_cast<std::uint32_t>(at.y),
            static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height)};
        xcb_configure_window(connection_.get(), window_, 15, values);
        xcb_map_window(connection_.get(), window_);
        Sync();
    }
    void Destroy()
    {
        xcb_destroy_window(connection_.get(), window_);
        Sync();
    }
    [[nodiscard]] std::vector<xcb_window_t> Children() const
    {
        const CXcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            connection_.get(), xcb_query_tree(connection_.get(), window_), nullptr));
        if (tree == nullptr)
            return {};
        const xcb_window_t* const first = xcb_query_tree_children(tree.get());
        return {first, first + xcb_query_tree_children_length(tree.get())};
    }
    /// The screen's visual, another one as deep, and one with alpha: those of them that it has.
    [[nodiscard]] std::vector<XVisual> Visuals() const
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

private:
    CXcbConnection connection_; // takes the window, and what is in it, with it
    const xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = 0;
};

} // namespace keldra::validate
