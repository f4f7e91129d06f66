// The editor, in windows of its own X server.

#include <chrono>
#include <cstdlib>
#include <thread>
#include <xcb/xcb.h>

#include "apps/validate/Rig.h"

namespace keldra::validate {

namespace {

using namespace vst;
using Size = CVstHost::Size;

/// Waits for the server's answer, which may be null.
template <typename Reply, typename Cookie>
std::unique_ptr<Reply, decltype(&std::free)> Answer(Reply* (*read)(xcb_connection_t*, Cookie,
                                                                   xcb_generic_error_t**),
                                                    xcb_connection_t* to, Cookie cookie)
{
    return {read(to, cookie, nullptr), &std::free};
}

/// A host's window: small and not shown until an editor is in it.
class CParent {
public:
    /// @param ownVisual  one that isn't the root's, if the screen has such a one
    explicit CParent(bool ownVisual = false) : connection_(xcb_connect(nullptr, nullptr))
    {
        const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        std::uint8_t depth = XCB_COPY_FROM_PARENT;
        xcb_visualid_t visual = screen.root_visual;
        for (auto depths = xcb_screen_allowed_depths_iterator(&screen); ownVisual && depths.rem;
             xcb_depth_next(&depths))
            for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem;
                 xcb_visualtype_next(&visuals))
                if (visuals.data->visual_id != screen.root_visual && depths.data->depth >= 24) {
                    depth = depths.data->depth;
                    visual = visuals.data->visual_id;
                }
        const xcb_colormap_t colours = xcb_generate_id(connection_);
        xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, colours, screen.root, visual);
        window_ = xcb_generate_id(connection_);
        const std::uint32_t values[] = {0, 0, 1, colours};
        xcb_create_window(connection_, depth, window_, screen.root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                              XCB_CW_COLORMAP,
                          values);
        Sync();
    }
    ~CParent() { xcb_disconnect(connection_); } // takes the window, and what is in it, with it
    CParent(const CParent&) = delete;
    CParent& operator=(const CParent&) = delete;

    [[nodiscard]] void* Handle() const
    {
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(window_));
    }
    void Sync()
    {
        Answer(xcb_get_input_focus_reply, connection_, xcb_get_input_focus(connection_));
    }
    void Show(Size size)
    {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(size.width),
                                        static_cast<std::uint32_t>(size.height)};
        xcb_configure_window(connection_, window_,
                             XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
        xcb_map_window(connection_, window_);
        Sync();
    }
    void Destroy()
    {
        xcb_destroy_window(connection_, window_);
        Sync();
    }
    [[nodiscard]] std::vector<xcb_window_t> Children()
    {
        const auto tree =
            Answer(xcb_query_tree_reply, connection_, xcb_query_tree(connection_, window_));
        const xcb_window_t* const first = xcb_query_tree_children(tree.get());
        return {first, first + xcb_query_tree_children_length(tree.get())};
    }
    [[nodiscard]] Size SizeOf(xcb_window_t window)
    {
        const auto is =
            Answer(xcb_get_geometry_reply, connection_, xcb_get_geometry(connection_, window));
        return is ? Size{is->height, is->width} : Size{};
    }
    /// Of the window's inside, as it is on the screen.
    [[nodiscard]] std::size_t Colours(Size size)
    {
        const auto image = Answer(xcb_get_image_reply, connection_,
                                  xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, 0,
                                                0, static_cast<std::uint16_t>(size.width),
                                                static_cast<std::uint16_t>(size.height), ~0u));
        if (!image)
            return 0;
        const auto* const pixels =
            reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
        return std::set<std::uint32_t>(pixels, pixels + size.width * size.height).size();
    }

private:
    xcb_connection_t* connection_;
    xcb_window_t window_ = 0;
};

void Idle(CRig& rig, int times)
{
    for (int i = 0; i < times; ++i) {
        rig.Host().Dispatch(effEditIdle);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

bool HasEditor(CRig& rig, CReport& report)
{
    if (!rig.Host().HasEditor())
        report.Skip("it has no editor");
    else if (std::getenv("DISPLAY") == nullptr)
        report.Skip("there is no Xvfb");
    else
        return true;
    return false;
}

void CheckSize(const Module& module, CReport& report)
{
    ::unsetenv("DISPLAY"); // as in a scanner
    CRig rig(module, report);
    if (!rig.Host().HasEditor())
        return report.Skip("it has no editor");
    report.RudeStep("asking for the editor's size without a display");
    const auto size = rig.Host().EditorSize();
    report.Advise(size && size->width > 1 && size->height > 1,
                  "it knows no size of its editor before that is open");
    rig.Host().Dispatch(effEditIdle);
    rig.Host().Dispatch(effEditClose);
}

void CheckPainted(const Module& module, CReport& report)
{
    for (const bool ownVisual : {false, true}) {
        CRig rig(module, report);
        if (!HasEditor(rig, report))
            return;
        report.Step(ownVisual ? "opening it in a window of another visual" : "opening it");
        CParent parent(ownVisual);
        if (!report.Require(rig.Host().OpenEditor(parent.Handle()), "the editor doesn't open"))
            return;
        const auto size = rig.Host().EditorSize();
        if (!report.Require(size && size->width > 1 && size->height > 1, "the editor has no size"))
            return;
        report.Step("showing it");
        parent.Show(*size);
        Idle(rig, 15);
        const auto children = parent.Children();
        report.Require(children.size() == 1,
                       "not one window in the host's, but " + std::to_string(children.size()));
        if (children.size() == 1) {
            const Size is = parent.SizeOf(children[0]);
            report.Require(is.width == size->width && is.height == size->height,
                           "its window has another size than it says");
        }
        report.Require(parent.Colours(*size) > 8, "it isn't painted");
        rig.Host().CloseEditor();
        report.Require(parent.Children().empty(), "its window stays after closing");
    }
}

void CheckReopened(const Module& module, CReport& report)
{
    CRig rig(module, report);
    if (!HasEditor(rig, report))
        return;
    CParent othersParent;
    CRig other(module, report);
    other.Host().OpenEditor(othersParent.Handle());
    rig.Start();
    std::atomic<bool> stop{false};
    std::thread audio([&] {
        for (int i = 0; !stop; ++i) {
            rig.NoteOn(48 + i % 24);
            rig.Render(CRig::kBlock);
        }
    });
    for (int i = 0; i < 20; ++i) {
        report.Step("opening it the " + std::to_string(i + 1) + "th time, while it plays");
        CParent parent;
        report.Require(rig.Host().OpenEditor(parent.Handle()), "it doesn't open again");
        parent.Show(rig.Host().EditorSize().value_or(Size{100, 100}));
        rig.Scramble(static_cast<unsigned>(i + 1));
        Idle(rig, 2);
        Idle(other, 1);
        rig.Host().Dispatch(effEditClose);
        if (i % 5 == 0)
            rig.Host().Dispatch(effEditClose);
    }
    stop = true;
    audio.join();
}

void CheckLeftOpen(const Module& module, CReport& report)
{
    {
        CRig first(module, report);
        if (!HasEditor(first, report))
            return;
        CParent parent;
        report.RudeStep("taking the host's window away under the editor");
        first.Host().OpenEditor(parent.Handle());
        parent.Show(first.Host().EditorSize().value_or(Size{100, 100}));
        Idle(first, 3);
        parent.Destroy();
        Idle(first, 3);
        first.Host().CloseEditor();
    }
    CParent parent;
    auto rig = std::make_unique<CRig>(module, report);
    rig->Host().Dispatch(effEditOpen, 0, 0, parent.Handle()); // the host knows nothing of it
    parent.Show(rig->Host().EditorSize().value_or(Size{100, 100}));
    Idle(*rig, 3);
    report.RudeStep("closing the instance with its editor open");
    rig.reset();
    report.Advise(parent.Children().empty(), "the window stays after the instance");
}

constexpr Check kChecks[] = {
    {"editor-size", "The editor's size is known without a display", CheckSize},
    {"editor-painted", "One window of the right size, painted, in any visual", CheckPainted},
    {"editor-reopened", "Two editors at once, opened and closed while it plays", CheckReopened},
    {"editor-left-open", "The host's window or the instance goes under the editor", CheckLeftOpen},
};

} // namespace

std::span<const Check> EditorChecks()
{
    return kChecks;
}

} // namespace keldra::validate
