#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/Pixels.h"

namespace keldra {

/// The system's name for a window (an X11 window id); 0 is none.
using NativeHandle = std::uintptr_t;

enum class EMouseButton : std::uint8_t { Left, Right, Middle };

/// Keys held down during an event, any sum of them.
enum EModifier : unsigned { kModifierCtrl = 1, kModifierShift = 2, kModifierAlt = 4 };

/// A key code is the character that the key writes, as a Unicode number, or one of these.
enum EKey : int {
    kKeyEnter = 0x110000, ///< beyond the last character; the keypad's Enter as well
    kKeyEscape,
    kKeyBackspace,
    kKeyDelete,
    kKeyTab,
    kKeyLeft,
    kKeyRight,
    kKeyUp,
    kKeyDown,
    kKeyHome,
    kKeyEnd,
    kKeyPageUp,
    kKeyPageDown,
};

struct PointerEvent {
    enum class EKind {
        Down,
        DoubleClick, ///< stands in for the second Down of two quick ones without a drag between
        Up,
        Move, ///< also when the pointer leaves: the place then lies outside
    };
    EKind kind = EKind::Move;
    EMouseButton button = EMouseButton::Left; ///< of all but Move
    unsigned modifiers = 0;
    /// In the window; outside it while captured. With a hidden cursor it runs on in every
    /// direction, as if the screen had no edges.
    PixelPoint at;
};

struct WheelEvent {
    PixelPoint at;
    unsigned modifiers = 0;
    bool horizontal = false;
    float steps = 0.0f; ///< notches, fractions on smooth devices; positive is away from the user
};

struct KeyEvent {
    int key = 0; ///< a character or an EKey
    unsigned modifiers = 0;
    bool down = false; ///< also each time a held key repeats
};

/// What a window reports. Implemented in gui/, called with the UI lock held (UiThread.h).
class CWindowClient {
public:
    virtual void OnPointer(const PointerEvent& event) = 0;
    virtual void OnWheelTurn(const WheelEvent& event) = 0;
    /// @return false hands the key on to the host's window
    [[nodiscard]] virtual bool OnKey(const KeyEvent& event) = 0;
    virtual void OnFocus(bool focused) = 0;
    virtual void OnTick() = 0;                        ///< every 30 ms; late ticks are left out
    virtual void OnExpose(const PixelRect& area) = 0; ///< has to be presented again
    /// @param utf8Path  absolute path of the first of the dropped files
    virtual void OnFileDrop(std::string_view utf8Path, PixelPoint at) = 0;
    /// The system ended a capture: the window was hidden or another program took the pointer.
    virtual void OnCaptureLost() = 0;
    /// The window is gone without having been closed: its parent was destroyed or the connection
    /// died. Nothing can be shown any more; the object still waits to be deleted.
    virtual void OnWindowLost() = 0;

protected:
    ~CWindowClient() = default; // nobody owns a client through this interface
};

enum class ECaptureCursor { Shown, Hidden };

/// A window of the system's. All calls with the UI lock held; none waits for another program, and
/// none fails aloud: a window that is lost takes calls and does nothing.
class CNativeWindow {
public:
    /// A visible child of the host's window at (0, 0), or a window on the desktop without parent.
    /// Null when the system refuses. The client must outlive the window.
    [[nodiscard]] static std::unique_ptr<CNativeWindow> Open(NativeHandle parent, PixelSize size,
                                                             CWindowClient& client);

    CNativeWindow() = default;
    CNativeWindow(const CNativeWindow&) = delete;
    CNativeWindow& operator=(const CNativeWindow&) = delete;
    virtual ~CNativeWindow() = default; ///< closes it; the client hears nothing any more

    /// Copies the area to the same place on the screen; limited to the window and the pixels.
    virtual void Present(const PixelView& pixels, const PixelRect& area) = 0;

    virtual void Resize(PixelSize size) = 0; ///< both positive; the place stays
    virtual void Move(PixelPoint at) = 0;    ///< inside the parent

    /// Sends all pointer events here until EndCapture, wherever the pointer is. Hidden: the cursor
    /// is not seen, is never stopped by an edge, and is where it began when the capture ends.
    virtual void BeginCapture(ECaptureCursor cursor) = 0;
    virtual void EndCapture() = 0;

    virtual void TakeFocus() = 0;                          ///< asks for the keyboard
    [[nodiscard]] virtual NativeHandle Handle() const = 0; ///< 0 when lost
};

} // namespace keldra
