#pragma once

#include <bitset>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/Window.h"
#include "platform/x11/WindowConnection.h"
#include "platform/x11/WindowDrop.h"
#include "platform/x11/WindowKeys.h"
#include "platform/x11/WindowLoop.h"
#include "platform/x11/WindowPixels.h"
#include "platform/x11/WindowScroll.h"

namespace keldra {

/// A window on an X display. It never waits for its parent to be sized or mapped, takes moves and
/// sizes from outside as they come, and outlives both its parent and its connection.
class CX11Window final : public CNativeWindow, private CWindowLoopMember {
public:
    /// Null when there is no display, no such parent or no visual to draw with.
    static std::unique_ptr<CX11Window> Make(NativeHandle parent, PixelSize size,
                                            CWindowClient& client);
    ~CX11Window() override;

    void Present(const PixelView& pixels, const PixelRect& area) override;
    void Resize(PixelSize size) override;
    void Move(PixelPoint at) override;
    void BeginCapture(ECaptureCursor cursor) override;
    void EndCapture() override;
    void TakeFocus() override;
    [[nodiscard]] NativeHandle Handle() const override { return lost_ ? 0 : window_; }

private:
    struct Parent; ///< the window to be in, its connection and screen, and a way to draw there

    CX11Window(Parent parent, PixelSize size, CWindowClient& client);
    void SetProperties(PixelSize size, bool onDesktop);

    // CWindowLoopMember
    [[nodiscard]] int File() const override;
    void ProcessEvents() override;
    void Tick() override;

    void OnEvent(const xcb_generic_event_t& event);
    void OnButton(const xcb_button_press_event_t& event, std::uint32_t sequence, bool down);
    void OnMotion(const xcb_motion_notify_event_t& event, std::uint32_t sequence);
    void OnCrossing(const xcb_enter_notify_event_t& event, bool leaves);
    void OnKey(const xcb_key_press_event_t& event, bool down);
    void OnFocus(bool in);
    void TakeFocusBack();
    void OnUnseen();
    void OnMessage(const xcb_client_message_event_t& event);
    void OnSelection(const xcb_selection_notify_event_t& event);
    [[nodiscard]] bool IsViewable() const;
    [[nodiscard]] bool IsDoubleClick(const xcb_button_press_event_t& event);
    void FollowPointer(PixelPoint at, PixelPoint onScreen, std::uint32_t sequence);
    bool AskForPointer(); ///< where it is and what is held; @return whether it is elsewhere
    void SendMove();
    void WarpTo(PixelPoint onScreen);
    void WarpBack();
    [[nodiscard]] PixelPoint AwayFromEdges(PixelPoint onScreen) const;
    void Lose();

    CXcbConnection connection_;
    xcb_window_t root_;
    xcb_window_t parent_;
    xcb_window_t window_;
    xcb_cursor_t noCursor_;
    XAtoms atoms_;
    CWindowClient& client_;
    std::unique_ptr<CWindowPixels> pixels_;
    CWindowKeys keys_;
    std::bitset<256> ownKeys_; ///< by keycode: its last press was handled here
    CWindowDrop drop_;
    CWindowScroll scroll_;
    /// Ends with this object: an event may lead to that.
    std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
    bool lost_ = false;
    xcb_timestamp_t time_ = XCB_CURRENT_TIME; ///< of the last event by the user

    struct Click {
        xcb_button_t button = 0;
        xcb_timestamp_t time = 0;
        PixelPoint at;
    };
    Click lastClick_;
    bool keepsFocus_ = false; ///< a button has gone down, and nobody has taken the focus since
    int lossDue_ = 0;         ///< ticks until a loss of the focus is told; 0: none to tell

    bool captured_ = false;
    bool hidden_ = false;
    PixelPoint pointer_;    ///< in the window, as last seen
    PixelPoint onScreen_;   ///< the same place, on the screen
    PixelPoint virtual_;    ///< in the window, where it would be if it weren't held
    PixelPoint home_;       ///< on the screen, where a hidden cursor is shown again
    PixelPoint anchor_;     ///< on the screen, where it is held until then
    bool warping_ = false;  ///< on its way back there
    PixelPoint warpTarget_; ///< in the window
    std::uint32_t warpSequence_ = 0;
    bool away_ = false;        ///< another program has the pointer: nobody tells where it goes
    bool movePending_ = false; ///< moves are told together, before the next other event
    unsigned moveModifiers_ = 0;
};

} // namespace keldra
