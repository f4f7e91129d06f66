#pragma once

#include <cstdint>
#include <vector>

#include "platform/x11/WindowConnection.h"

namespace keldra {

/// Brings pixels into an X window: through memory shared with the server, or, where there is none
/// (a display on another machine), through the connection.
class CWindowPixels {
public:
    CWindowPixels(xcb_connection_t* connection, xcb_window_t window, std::uint8_t depth);
    ~CWindowPixels();
    CWindowPixels(const CWindowPixels&) = delete;
    CWindowPixels& operator=(const CWindowPixels&) = delete;

    void Resize(PixelSize size); ///< of the window
    /// Copies an area, limited to the window and the pixels. One copy here, and the server's.
    void Present(const PixelView& pixels, const PixelRect& area);
    /// The server has done the requests up to this one.
    void Done(std::uint32_t sequence);

private:
    /// An area that the server may still be reading.
    struct Reading {
        PixelRect area;
        std::uint32_t sequence;
    };

    void Share();
    void Unshare();
    void WaitUntilRead(const PixelRect& area);
    void PresentShared(const PixelView& pixels, const PixelRect& area);
    void PresentPlain(const PixelView& pixels, const PixelRect& area);

    xcb_connection_t* connection_;
    xcb_window_t window_;
    std::uint8_t depth_;
    xcb_gcontext_t gc_;
    PixelSize size_;
    bool hasSharing_ = false;
    std::uint32_t segment_ = 0;
    std::uint32_t* shared_ = nullptr; ///< rows from the top down
    std::size_t sharedBytes_ = 0;
    std::vector<Reading> reading_;
    std::vector<std::uint32_t> rows_; ///< of plain presents
};

} // namespace keldra
