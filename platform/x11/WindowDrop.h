#pragma once

#include <string>

#include "platform/x11/WindowConnection.h"

namespace keldra {

/// The receiving side of drag and drop between programs (XDND): takes a list of files.
class CWindowDrop {
public:
    CWindowDrop(xcb_connection_t* connection, xcb_window_t window, const XAtoms& atoms)
        : connection_(connection), window_(window), atoms_(atoms)
    {
    }

    void Announce(); ///< says on the window that things may be dropped there
    /// @return whether the message belonged to drag and drop
    bool OnMessage(const xcb_client_message_event_t& message);
    /// The other program's answer. @param path  receives the first file's path
    /// @param root  receives where on the screen it was dropped. @return whether there is one
    bool OnSelection(const xcb_selection_notify_event_t& event, std::string& path,
                     PixelPoint& root);

private:
    [[nodiscard]] bool OffersFiles(const xcb_client_message_event_t& message) const;
    void Answer(EXAtom type, std::uint32_t flags, std::uint32_t third, std::uint32_t fourth);

    xcb_connection_t* connection_;
    xcb_window_t window_;
    const XAtoms& atoms_;
    xcb_window_t source_ = 0; ///< the other program's window; 0: nothing is over us
    bool hasFiles_ = false;
    PixelPoint root_;
};

} // namespace keldra
