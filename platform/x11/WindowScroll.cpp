#include "platform/x11/WindowScroll.h"

#include <dlfcn.h>
#include <type_traits>
#include <xcb/xinput.h>

namespace keldra {

namespace {

/// The functions used of libxcb-xinput, which not every system has. Never unloaded.
struct XInputLibrary {
    xcb_extension_t* id = nullptr;
    decltype(&::xcb_input_xi_query_version) queryVersion = nullptr;
    decltype(&::xcb_input_xi_query_version_reply) queryVersionReply = nullptr;
    decltype(&::xcb_input_xi_select_events) selectEvents = nullptr;
    decltype(&::xcb_input_xi_query_device) queryDevice = nullptr;
    decltype(&::xcb_input_xi_query_device_reply) queryDeviceReply = nullptr;
    decltype(&::xcb_input_xi_query_device_infos_iterator) infos = nullptr;
    decltype(&::xcb_input_xi_device_info_next) nextInfo = nullptr;
    decltype(&::xcb_input_xi_device_info_classes_iterator) classes = nullptr;
    decltype(&::xcb_input_device_class_next) nextClass = nullptr;
    bool complete = false;
};

const XInputLibrary& Library()
{
    static const XInputLibrary library = [] {
        XInputLibrary found;
        void* handle = dlopen("libxcb-xinput.so.0", RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr)
            return found;
        bool complete = true;
        const auto find = [&](auto& function, const char* name) {
            function =
                reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(handle, name));
            complete = complete && function != nullptr;
        };
        find(found.id, "xcb_input_id");
        find(found.queryVersion, "xcb_input_xi_query_version");
        find(found.queryVersionReply, "xcb_input_xi_query_version_reply");
        find(found.selectEvents, "xcb_input_xi_select_events");
        find(found.queryDevice, "xcb_input_xi_query_device");
        find(found.queryDeviceReply, "xcb_input_xi_query_device_reply");
        find(found.infos, "xcb_input_xi_query_device_infos_iterator");
        find(found.nextInfo, "xcb_input_xi_device_info_next");
        find(found.classes, "xcb_input_xi_device_info_classes_iterator");
        find(found.nextClass, "xcb_input_device_class_next");
        found.complete = complete;
        return found;
    }();
    return library;
}

double NumberOf(const xcb_input_fp3232_t& fixed)
{
    return static_cast<double>(fixed.integral) + static_cast<double>(fixed.frac) / 4294967296.0;
}

} // namespace

CWindowScroll::CWindowScroll(xcb_connection_t* connection, xcb_window_t root)
    : connection_(connection), root_(root)
{
    const XInputLibrary& library = Library();
    if (!library.complete)
        return;
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, library.id);
    if (extension == nullptr || extension->present == 0)
        return;
    const CXcbReply<xcb_input_xi_query_version_reply_t> version(
        library.queryVersionReply(connection, library.queryVersion(connection, 2, 1), nullptr));
    if (version == nullptr || version->major_version < 2 ||
        (version->major_version == 2 && version->minor_version < 1))
        return;
    opcode_ = extension->major_opcode;
    ReadAxes();
}

void CWindowScroll::ReadAxes()
{
    const XInputLibrary& library = Library();
    axes_.clear();
    const CXcbReply<xcb_input_xi_query_device_reply_t> reply(library.queryDeviceReply(
        connection_, library.queryDevice(connection_, XCB_INPUT_DEVICE_ALL), nullptr));
    if (reply == nullptr)
        return;
    for (auto info = library.infos(reply.get()); info.rem != 0; library.nextInfo(&info))
        for (auto each = library.classes(info.data); each.rem != 0; library.nextClass(&each)) {
            if (each.data->type != XCB_INPUT_DEVICE_CLASS_TYPE_SCROLL)
                continue;
            const auto& scroll = *reinterpret_cast<const xcb_input_scroll_class_t*>(each.data);
            const double increment = NumberOf(scroll.increment);
            if (increment != 0.0)
                axes_.push_back({info.data->deviceid, scroll.number,
                                 scroll.scroll_type == XCB_INPUT_SCROLL_TYPE_HORIZONTAL,
                                 increment});
        }
}

void CWindowScroll::Follow(bool pointerIsOverWindow)
{
    if (opcode_ == 0 || pointerIsOverWindow == follows_)
        return;
    follows_ = pointerIsOverWindow;
    if (follows_)
        ReadAxes(); // devices come and go
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } events{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
             follows_ && !axes_.empty() ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_MOTION} : 0u};
    Library().selectEvents(connection_, root_, 1, &events.head);
    xcb_flush(connection_);
}

bool CWindowScroll::OnEvent(const xcb_generic_event_t& event, WheelEvent& wheel)
{
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (opcode_ == 0 || generic.extension != opcode_ ||
        generic.event_type != XCB_INPUT_RAW_MOTION || !follows_)
        return false;
    // A raw event: its head, a bit mask of axes (words), then a value for each bit that is set.
    const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    const auto* mask = reinterpret_cast<const std::uint32_t*>(&raw + 1);
    const auto* values = reinterpret_cast<const xcb_input_fp3232_t*>(mask + raw.valuators_len);
    float steps[2] = {};
    int index = 0;
    for (std::uint16_t axis = 0; axis < raw.valuators_len * 32; ++axis) {
        if ((mask[axis / 32] >> (axis % 32) & 1) == 0)
            continue;
        const double value = NumberOf(values[index++]);
        for (const Axis& known : axes_)
            if (known.device == raw.sourceid && known.number == axis)
                steps[known.horizontal ? 1 : 0] -= static_cast<float>(value / known.increment);
    }
    if (steps[0] == 0.0f && steps[1] == 0.0f)
        return false;
    hasSaid_ = true;
    saidAt_ = raw.time;
    wheel.horizontal = steps[0] == 0.0f;
    wheel.steps = steps[wheel.horizontal ? 1 : 0];
    return true;
}

} // namespace keldra
