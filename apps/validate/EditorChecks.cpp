// The editor, in windows of its own X server.

#include <chrono>
#include <cstdlib>
#include <set>
#include <thread>

#include "apps/validate/HostWindow.h"
#include "apps/validate/Rig.h"

namespace keldra::validate {

namespace {

using namespace vst;
using Size = CVstHost::Size;

[[nodiscard]] Size SizeOf(const CHostWindow& host, xcb_window_t window)
{
    const CXcbReply<xcb_get_geometry_reply_t> is(xcb_get_geometry_reply(
        host.Connection(), xcb_get_geometry(host.Connection(), window), nullptr));
    return is ? Size{is->height, is->width} : Size{};
}

/// Of the window's inside, as it is on the screen.
[[nodiscard]] std::size_t Colours(const CHostWindow& host, Size size)
{
    const CXcbReply<xcb_get_image_reply_t> image(
        xcb_get_image_reply(host.Connection(),
                            xcb_get_image(host.Connection(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                          static_cast<xcb_window_t>(host.Window()), 0, 0,
                                          static_cast<std::uint16_t>(size.width),
                                          static_cast<std::uint16_t>(size.height), ~0u),
                            nullptr));
    if (image == nullptr)
        return 0;
    const auto* const pixels =
        reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
    return std::set<std::uint32_t>(pixels, pixels + size.width * size.height).size();
}

/// Makes room for the editor of an instance.
void Show(CHostWindow& host, CRig& rig)
{
    const Size size = rig.Host().EditorSize().value_or(Size{100, 100});
    host.Show({0, 0}, {size.height, size.width});
}

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
    if (CRig rig(module, report); !HasEditor(rig, report))
        return;
    for (const XVisual& visual : CHostWindow().Visuals()) {
        CRig rig(module, report);
        report.Step("opening it in a window of visual " + std::to_string(visual.id));
        CHostWindow parent(visual);
        if (!report.Require(rig.Host().OpenEditor(parent.Handle()), "the editor doesn't open"))
            return;
        const auto size = rig.Host().EditorSize();
        if (!report.Require(size && size->width > 1 && size->height > 1, "the editor has no size"))
            return;
        report.Step("showing it");
        Show(parent, rig);
        Idle(rig, 15);
        const auto children = parent.Children();
        report.Require(children.size() == 1,
                       "not one window in the host's, but " + std::to_string(children.size()));
        if (children.size() == 1) {
            const Size is = SizeOf(parent, children[0]);
            report.Require(is.width == size->width && is.height == size->height,
                           "its window has another size than it says");
        }
        report.Require(Colours(parent, *size) > 8, "it isn't painted");
        rig.Host().CloseEditor();
        report.Require(parent.Children().empty(), "its window stays after closing");
    }
}

void CheckReopened(const Module& module, CReport& report)
{
    CRig rig(module, report);
    if (!HasEditor(rig, report))
        return;
    CHostWindow othersParent;
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
        CHostWindow parent;
        report.Require(rig.Host().OpenEditor(parent.Handle()), "it doesn't open again");
        Show(parent, rig);
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
        CHostWindow parent;
        report.RudeStep("taking the host's window away under the editor");
        first.Host().OpenEditor(parent.Handle());
        Show(parent, first);
        Idle(first, 3);
        parent.Destroy();
        Idle(first, 3);
        first.Host().CloseEditor();
    }
    CHostWindow parent;
    auto rig = std::make_unique<CRig>(module, report);
    rig->Host().Dispatch(effEditOpen, 0, 0, parent.Handle()); // the host knows nothing of it
    Show(parent, *rig);
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
