#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/Window.h"

namespace keldra {

/// A key by its place on the keyboard, whatever is printed on it: what plays notes.
struct PlacedKey {
    int scanCode =
        0; ///< as PC keyboards number their keys: 1 Escape, 16 right of Tab, 44 Z's place
    unsigned modifiers = 0; ///< EModifier
    bool down = false;      ///< told once, however long the key is held
};

/// What a program's own window reports, from within its Wait.
class CTopWindowClient {
public:
    virtual void OnCloseWanted() = 0; ///< by the user; the window stays until it is destroyed
    /// A key that nothing inside the window wanted.
    virtual void OnPlacedKey(const PlacedKey& key) = 0;
    /// The keyboard went elsewhere: keys that are down now won't be seen to go up.
    virtual void OnKeysLost() = 0;
    virtual void OnTopWindowLost() = 0; ///< the window system is gone

protected:
    ~CTopWindowClient() = default; // nobody owns a client through this interface
};

struct TopWindowLook {
    std::string title;   ///< UTF-8
    std::string program; ///< by which the desktop knows the program; ASCII
    PixelSize size;      ///< fixed
    PixelView icon;      ///< read while the window is opened; empty: the desktop's own
};

/// A program's window on the desktop, of a fixed size, in which an editor is embedded as in a
/// host's. All calls on one thread, but for WakeUp.
class CTopWindow {
public:
    /// Not yet shown. @param client  must outlive the window
    /// @param error  receives one line when the answer is null: there is no display, mostly
    [[nodiscard]] static std::unique_ptr<CTopWindow>
    Open(const TopWindowLook& look, CTopWindowClient& client, std::string& error);

    CTopWindow() = default;
    CTopWindow(const CTopWindow&) = delete;
    CTopWindow& operator=(const CTopWindow&) = delete;
    virtual ~CTopWindow() = default;

    [[nodiscard]] virtual NativeHandle Handle() const = 0; ///< for what is embedded
    virtual void Show() = 0; ///< with what was embedded; from now on that gets the keyboard

    /// Waits until something happens, WakeUp was called or the time is over, and tells the client
    /// what has happened.
    virtual void Wait(std::chrono::milliseconds atMost) = 0;
    /// Ends a Wait, or the next one. Any thread, and signal handlers.
    virtual void WakeUp() = 0;
};

} // namespace keldra
