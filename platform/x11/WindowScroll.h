#pragma once

#include <vector>

#include "platform/Window.h"
#include "platform/x11/WindowConnection.h"

namespace keldra {

/// Scrolling in fractions of a notch, from devices that can (X Input extension 2.1). Its raw events
/// are asked for only while the pointer is over the window: they come for the whole screen. The
/// library is looked for at run time; without it the wheel goes by notches.
class CWindowScroll {
public:
    CWindowScroll(xcb_connection_t* connection, xcb_window_t root);

    void Follow(bool pointerIsOverWindow);
    /// @return whether it was a turn: axis and steps are filled in
    bool OnEvent(const xcb_generic_event_t& event, WheelEvent& wheel);
    /// Whether a turn at this time has come already: the server also makes notches of it.
    [[nodiscard]] bool HasSaid(xcb_timestamp_t time) const { return hasSaid_ && time == saidAt_; }

private:
    /// A device's axis that scrolls.
    struct Axis {
        std::uint16_t device;
        std::uint16_t number;
        bool horizontal;
        double increment; ///< of one notch, down or to the right; never 0
    };

    void ReadAxes();

    xcb_connection_t* connection_;
    xcb_window_t root_;
    std::uint8_t opcode_ = 0; ///< 0: not to be had
    bool follows_ = false;
    std::vector<Axis> axes_;
    bool hasSaid_ = false;
    xcb_timestamp_t saidAt_ = 0;
};

} // namespace keldra
