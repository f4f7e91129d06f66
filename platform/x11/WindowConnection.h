#pragma once

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

#include "platform/Pixels.h"

namespace keldra {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
/// What the X server answered, or an event; freed with malloc's free.
template <typename Reply>
using CXcbReply = std::unique_ptr<Reply, FreeReply>;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
/// A connection to the X server. Each window has one of its own: its requests' errors come back as
/// events of this connection alone, and nothing of the process's is touched (Xlib would have one
/// error handler for the host and everybody else in it, and end the process when a server dies).
using CXcbConnection = std::unique_ptr<xcb_connection_t, Disconnect>;

enum EXAtom : unsigned {
    kXembedInfo,
    kWmProtocols,
    kWmDeleteWindow,
    kXdndAware,
    kXdndEnter,
    kXdndPosition,
    kXdndStatus,
    kXdndLeave,
    kXdndDrop,
    kXdndFinished,
    kXdndSelection,
    kXdndTypeList,
    kXdndActionCopy,
    kUriList,
    kWmState,
    kXAtomCount,
};
struct XAtoms {
    xcb_atom_t atoms[kXAtomCount] = {};
    xcb_atom_t operator[](EXAtom atom) const { return atoms[atom]; }
};
[[nodiscard]] XAtoms InternAtoms(xcb_connection_t* connection);

/// A way to draw: true colour in the pixel format of PixelView, 24 or 32 bits deep.
struct XVisual {
    xcb_visualid_t id = 0; ///< 0: the screen has none
    std::uint8_t depth = 0;
};
/// The root's own visual where it will do, else any other of the screen.
[[nodiscard]] XVisual FindVisual(xcb_connection_t* connection, const xcb_screen_t& screen);
/// @param root  null when the connection has no such screen
[[nodiscard]] const xcb_screen_t* ScreenOf(xcb_connection_t* connection, xcb_window_t root);

/// The window that the window manager knows, above this one; without a window manager the highest
/// below the root. The window itself when it is gone.
[[nodiscard]] xcb_window_t TopLevelOf(xcb_connection_t* connection, const XAtoms& atoms,
                                      xcb_window_t window);

/// Waits until the server has done all that it was asked.
void SyncWithServer(xcb_connection_t* connection);

} // namespace keldra
