#include "platform/x11/WindowConnection.h"

#include <cstring>

namespace keldra {

namespace {

constexpr const char* kAtomNames[kXAtomCount] = {
    "_XEMBED_INFO",  "WM_PROTOCOLS", "WM_DELETE_WINDOW", "XdndAware",     "XdndEnter",
    "XdndPosition",  "XdndStatus",   "XdndLeave",        "XdndDrop",      "XdndFinished",
    "XdndSelection", "XdndTypeList", "XdndActionCopy",   "text/uri-list", "WM_STATE",
};

/// Pixels as 32-bit words in this machine's byte order.
bool HasWordPixels(const xcb_setup_t& setup, std::uint8_t depth)
{
    if (setup.image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return false;
    for (auto format = xcb_setup_pixmap_formats_iterator(&setup); format.rem != 0;
         xcb_format_next(&format))
        if (format.data->depth == depth)
            return format.data->bits_per_pixel == 32;
    return false;
}

} // namespace

XAtoms InternAtoms(xcb_connection_t* connection)
{
    xcb_intern_atom_cookie_t cookies[kXAtomCount];
    for (unsigned i = 0; i < kXAtomCount; ++i)
        cookies[i] = xcb_intern_atom(
            connection, 0, static_cast<std::uint16_t>(std::strlen(kAtomNames[i])), kAtomNames[i]);
    XAtoms atoms;
    for (unsigned i = 0; i < kXAtomCount; ++i) {
        const CXcbReply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection, cookies[i], nullptr));
        atoms.atoms[i] = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
    return atoms;
}

XVisual FindVisual(xcb_connection_t* connection, const xcb_screen_t& screen)
{
    const xcb_setup_t& setup = *xcb_get_setup(connection);
    XVisual found;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem != 0;
         xcb_depth_next(&depth)) {
        const std::uint8_t bits = depth.data->depth;
        if ((bits != 24 && bits != 32) || !HasWordPixels(setup, bits))
            continue;
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem != 0;
             xcb_visualtype_next(&visual)) {
            const xcb_visualtype_t& type = *visual.data;
            if (type._class != XCB_VISUAL_CLASS_TRUE_COLOR || type.red_mask != 0xff0000 ||
                type.green_mask != 0xff00 || type.blue_mask != 0xff)
                continue;
            if (type.visual_id == screen.root_visual)
                return {type.visual_id, bits};
            if (found.id == 0 || (found.depth == 32 && bits == 24))
                found = {type.visual_id, bits}; // 24 rather than 32: nothing shines through
        }
    }
    return found;
}

const xcb_screen_t* ScreenOf(xcb_connection_t* connection, xcb_window_t root)
{
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection)); screen.rem != 0;
         xcb_screen_next(&screen))
        if (screen.data->root == root)
            return screen.data;
    return nullptr;
}

xcb_window_t TopLevelOf(xcb_connection_t* connection, const XAtoms& atoms, xcb_window_t window)
{
    for (;;) {
        const xcb_get_property_cookie_t asked =
            xcb_get_property(connection, 0, window, atoms[kWmState], XCB_ATOM_ANY, 0, 0);
        const CXcbReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        const CXcbReply<xcb_get_property_reply_t> state(
            xcb_get_property_reply(connection, asked, nullptr));
        const bool managed = state != nullptr && state->type != XCB_ATOM_NONE;
        if (managed || tree == nullptr || tree->parent == tree->root ||
            tree->parent == XCB_WINDOW_NONE)
            return window;
        window = tree->parent;
    }
}

void SyncWithServer(xcb_connection_t* connection)
{
    const CXcbReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

} // namespace keldra
