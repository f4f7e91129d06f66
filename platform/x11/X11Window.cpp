#include "platform/x11/X11Window.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace keldra {

namespace {

constexpr xcb_timestamp_t kDoubleClickMs = 400;
constexpr int kTicksUntilLoss = 2;
constexpr int kDoubleClickPixels = 4;
constexpr int kEdgePixels = 200; // farther than a hand gets between two events

constexpr std::uint32_t kPointerEvents =
    XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;

unsigned ModifiersOf(unsigned state)
{
    return ((state & XCB_MOD_MASK_CONTROL) != 0 ? kModifierCtrl : 0u) |
           ((state & XCB_MOD_MASK_SHIFT) != 0 ? kModifierShift : 0u) |
           ((state & XCB_MOD_MASK_1) != 0 ? kModifierAlt : 0u);
}

bool IsSamePlace(PixelPoint a, PixelPoint b)
{
    return std::abs(a.x - b.x) <= kDoubleClickPixels && std::abs(a.y - b.y) <= kDoubleClickPixels;
}

/// A cursor of no pixels: servers take it for none at all, and under Wayland that is what lets a
/// window move the pointer.
xcb_cursor_t MakeNoCursor(xcb_connection_t* connection, xcb_window_t window)
{
    const xcb_pixmap_t nothing = xcb_generate_id(connection);
    const xcb_gcontext_t gc = xcb_generate_id(connection);
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    xcb_create_pixmap(connection, 1, nothing, window, 1, 1);
    xcb_create_gc(connection, gc, nothing, 0, nullptr);
    const xcb_rectangle_t whole{0, 0, 1, 1};
    xcb_poly_fill_rectangle(connection, nothing, gc, 1, &whole); // with 0
    xcb_create_cursor(connection, cursor, nothing, nothing, 0, 0, 0, 0, 0, 0, 0, 0);
    xcb_free_gc(connection, gc);
    xcb_free_pixmap(connection, nothing);
    return cursor;
}

} // namespace

struct CX11Window::Parent {
    CXcbConnection connection;
    xcb_window_t root;
    xcb_window_t window;
    XVisual visual;
};

std::unique_ptr<CNativeWindow> CNativeWindow::Open(NativeHandle parent, PixelSize size,
                                                   CWindowClient& client)
{
    return CX11Window::Make(parent, size, client);
}

std::unique_ptr<CX11Window> CX11Window::Make(NativeHandle parent, PixelSize size,
                                             CWindowClient& client)
{
    int screenNumber = 0;
    CXcbConnection connection(xcb_connect(nullptr, &screenNumber));
    if (connection == nullptr || xcb_connection_has_error(connection.get()) != 0)
        return nullptr;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber)
        xcb_screen_next(&screens);
    if (screens.rem == 0)
        return nullptr;
    xcb_window_t root = screens.data->root;
    const auto parentWindow = parent != 0 ? static_cast<xcb_window_t>(parent) : root;
    const CXcbReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(
        connection.get(), xcb_get_geometry(connection.get(), parentWindow), nullptr));
    if (geometry == nullptr)
        return nullptr; // no such window
    root = geometry->root;
    const xcb_screen_t* screen = ScreenOf(connection.get(), root);
    const XVisual visual = screen != nullptr ? FindVisual(connection.get(), *screen) : XVisual{};
    if (visual.id == 0)
        return nullptr;
    std::unique_ptr<CX11Window> window(
        new CX11Window({std::move(connection), root, parentWindow, visual}, size, client));
    if (xcb_connection_has_error(window->connection_.get()) != 0)
        return nullptr;
    return window;
}

CX11Window::CX11Window(Parent parent, PixelSize size, CWindowClient& client)
    : connection_(std::move(parent.connection)),
      root_(parent.root),
      parent_(parent.window),
      window_(xcb_generate_id(connection_.get())),
      noCursor_(0),
      atoms_(InternAtoms(connection_.get())),
      client_(client),
      drop_(connection_.get(), window_, atoms_),
      scroll_(connection_.get(), root_)
{
    xcb_connection_t* connection = connection_.get();
    const xcb_colormap_t colormap = xcb_generate_id(connection);
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colormap, root_, parent.visual.id);
    // Border and colours are named: taken from a parent of another depth they would be an error. No
    // background: what the server clears would flicker.
    const std::uint32_t values[] = {
        0, XCB_GRAVITY_NORTH_WEST,
        kPointerEvents | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
            XCB_EVENT_MASK_ENTER_WINDOW | XCB_EVENT_MASK_LEAVE_WINDOW | XCB_EVENT_MASK_EXPOSURE |
            XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_FOCUS_CHANGE,
        colormap};
    xcb_create_window(
        connection, parent.visual.depth, window_, parent_, 0, 0,
        static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(size.height), 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, parent.visual.id,
        XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
    SetProperties(size, parent_ == root_);
    noCursor_ = MakeNoCursor(connection, window_);
    pixels_ = std::make_unique<CWindowPixels>(connection, window_, parent.visual.depth);
    pixels_->Resize(size);
    keys_.Load(connection);
    xcb_map_window(connection, window_);
    SyncWithServer(connection); // the host's own connection is to see it on return
    CWindowLoop::Add(*this);
}

void CX11Window::SetProperties(PixelSize size, bool onDesktop)
{
    xcb_connection_t* connection = connection_.get();
    const std::uint32_t embedded[] = {0, 1}; // protocol version; wants to be mapped
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, atoms_[kXembedInfo],
                        atoms_[kXembedInfo], 32, 2, embedded);
    constexpr char kTitle[] = "Window";
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, sizeof kTitle - 1, kTitle);
    drop_.Announce();
    if (!onDesktop)
        return;
    const xcb_atom_t closing = atoms_[kWmDeleteWindow];
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, atoms_[kWmProtocols],
                        XCB_ATOM_ATOM, 32, 1, &closing);
    // Smallest and largest size, in the order of the window managers' conventions.
    const auto width = static_cast<std::uint32_t>(size.width);
    const auto height = static_cast<std::uint32_t>(size.height);
    const std::uint32_t hints[18] = {1 << 4 | 1 << 5, 0, 0, 0, 0, width, height, width, height};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
}

CX11Window::~CX11Window()
{
    life_.reset();
    CWindowLoop::Remove(*this);
    pixels_.reset();
    if (!lost_) {
        EndCapture();
        xcb_destroy_window(connection_.get(), window_);
        SyncWithServer(connection_.get()); // gone on return, for the host to see
    }
}

void CX11Window::Present(const PixelView& pixels, const PixelRect& area)
{
    if (!lost_)
        pixels_->Present(pixels, area);
}

void CX11Window::Resize(PixelSize size)
{
    if (lost_)
        return;
    const std::uint32_t values[] = {static_cast<std::uint32_t>(size.width),
                                    static_cast<std::uint32_t>(size.height)};
    xcb_configure_window(connection_.get(), window_,
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    pixels_->Resize(size);
    xcb_flush(connection_.get());
}

void CX11Window::Move(PixelPoint at)
{
    if (lost_)
        return;
    const std::uint32_t values[] = {static_cast<std::uint32_t>(at.x),
                                    static_cast<std::uint32_t>(at.y)};
    xcb_configure_window(connection_.get(), window_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         values);
    xcb_flush(connection_.get());
}

// Capture. The server already sends the moves of a held button here; a grab of our own adds what
// happens without one (an open menu), and the cursor.
//
// A hidden cursor is put back to one place after every move, so it never meets an edge. A move that
// the server made before it put the cursor back counts from where the cursor had been then; from
// the first event after that (its sequence number tells) moves count from the place it was put to.
// Moves are measured on the screen, since hosts move their windows. The cursor is put to places of
// our window: of those of the screen XWayland obeys only some.

void CX11Window::BeginCapture(ECaptureCursor cursor)
{
    if (lost_ || captured_)
        return;
    captured_ = true;
    hidden_ = cursor == ECaptureCursor::Hidden;
    warping_ = false;
    if (hidden_) {
        virtual_ = pointer_;
        home_ = onScreen_;
        anchor_ = AwayFromEdges(onScreen_);
    }
    // When another program has the pointer this fails, and the drag lives on the button's own grab.
    const xcb_grab_pointer_cookie_t cookie =
        xcb_grab_pointer(connection_.get(), 0, window_, static_cast<std::uint16_t>(kPointerEvents),
                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE,
                         hidden_ ? noCursor_ : xcb_cursor_t{XCB_CURSOR_NONE}, time_);
    xcb_discard_reply(connection_.get(), cookie.sequence);
    if (hidden_) // also without the grab
        xcb_change_window_attributes(connection_.get(), window_, XCB_CW_CURSOR, &noCursor_);
    xcb_flush(connection_.get());
}

void CX11Window::EndCapture()
{
    if (lost_ || !captured_)
        return;
    captured_ = false;
    if (std::exchange(hidden_, false)) {
        WarpTo(home_);
        const xcb_cursor_t parents = XCB_CURSOR_NONE;
        xcb_change_window_attributes(connection_.get(), window_, XCB_CW_CURSOR, &parents);
        pointer_.x += home_.x - onScreen_.x;
        pointer_.y += home_.y - onScreen_.y;
        onScreen_ = home_;
        movePending_ = false;
    }
    xcb_ungrab_pointer(connection_.get(), XCB_CURRENT_TIME);
    xcb_flush(connection_.get());
}

/// The nearest place from which a move in any direction is not cut off by the screen's edge.
PixelPoint CX11Window::AwayFromEdges(PixelPoint onScreen) const
{
    // The connection knows the screen as it was when it was made.
    const CXcbReply<xcb_get_geometry_reply_t> screen(xcb_get_geometry_reply(
        connection_.get(), xcb_get_geometry(connection_.get(), root_), nullptr));
    if (screen == nullptr)
        return onScreen;
    const auto kept = [](int place, int size) {
        const int margin = std::min(kEdgePixels, size / 2);
        return std::clamp(place, margin, size - margin);
    };
    return {kept(onScreen.x, screen->width), kept(onScreen.y, screen->height)};
}

void CX11Window::WarpTo(PixelPoint onScreen)
{
    warpTarget_ = {pointer_.x + onScreen.x - onScreen_.x, pointer_.y + onScreen.y - onScreen_.y};
    const xcb_void_cookie_t cookie = xcb_warp_pointer(
        connection_.get(), XCB_WINDOW_NONE, window_, 0, 0, 0, 0,
        static_cast<std::int16_t>(warpTarget_.x), static_cast<std::int16_t>(warpTarget_.y));
    warpSequence_ = cookie.sequence;
}

void CX11Window::WarpBack()
{
    if (!hidden_ || warping_ || onScreen_ == anchor_)
        return;
    WarpTo(anchor_);
    warping_ = true;
    xcb_flush(connection_.get());
}

void CX11Window::TakeFocus()
{
    if (lost_)
        return;
    // An error when the window isn't seen; it comes as an event and is forgotten.
    xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_PARENT, window_, time_);
    xcb_flush(connection_.get());
}

// Events

int CX11Window::File() const
{
    return lost_ ? -1 : xcb_get_file_descriptor(connection_.get());
}

void CX11Window::ProcessEvents()
{
    const std::weak_ptr<const bool> life = life_;
    while (!lost_) {
        const CXcbReply<xcb_generic_event_t> event(xcb_poll_for_event(connection_.get()));
        if (event == nullptr)
            break;
        pixels_->Done(event->full_sequence);
        const int type = event->response_type & 0x7f;
        if (movePending_ && type != XCB_MOTION_NOTIFY && type != XCB_GE_GENERIC) {
            SendMove();
            if (life.expired())
                return;
        }
        OnEvent(*event);
        if (life.expired())
            return;
    }
    if (movePending_ && !lost_) {
        SendMove();
        if (life.expired())
            return;
    }
    WarpBack();
    if (!lost_ && xcb_connection_has_error(connection_.get()) != 0)
        Lose();
}

void CX11Window::OnEvent(const xcb_generic_event_t& event)
{
    switch (event.response_type & 0x7f) {
    case XCB_EXPOSE: {
        const auto& expose = reinterpret_cast<const xcb_expose_event_t&>(event);
        client_.OnExpose({expose.x, expose.y, expose.width, expose.height});
        break;
    }
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE:
        OnButton(reinterpret_cast<const xcb_button_press_event_t&>(event), event.full_sequence,
                 (event.response_type & 0x7f) == XCB_BUTTON_PRESS);
        break;
    case XCB_MOTION_NOTIFY:
        OnMotion(reinterpret_cast<const xcb_motion_notify_event_t&>(event), event.full_sequence);
        break;
    case XCB_ENTER_NOTIFY:
    case XCB_LEAVE_NOTIFY:
        OnCrossing(reinterpret_cast<const xcb_enter_notify_event_t&>(event),
                   (event.response_type & 0x7f) == XCB_LEAVE_NOTIFY);
        break;
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE:
        OnKey(reinterpret_cast<const xcb_key_press_event_t&>(event),
              (event.response_type & 0x7f) == XCB_KEY_PRESS);
        break;
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT: {
        const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
        const bool passes = focus.mode == XCB_NOTIFY_MODE_GRAB ||
                            focus.mode == XCB_NOTIFY_MODE_UNGRAB ||
                            focus.detail == XCB_NOTIFY_DETAIL_POINTER;
        if (!passes)
            OnFocus((event.response_type & 0x7f) == XCB_FOCUS_IN);
        break;
    }
    case XCB_UNMAP_NOTIFY:
        OnUnseen();
        break;
    case XCB_REPARENT_NOTIFY:
        parent_ = reinterpret_cast<const xcb_reparent_notify_event_t&>(event).parent;
        break;
    case XCB_DESTROY_NOTIFY: // by the host, with its own window
        Lose();
        break;
    case XCB_MAPPING_NOTIFY:
        keys_.Load(connection_.get());
        break;
    case XCB_CLIENT_MESSAGE:
        OnMessage(reinterpret_cast<const xcb_client_message_event_t&>(event));
        break;
    case XCB_SELECTION_NOTIFY:
        OnSelection(reinterpret_cast<const xcb_selection_notify_event_t&>(event));
        break;
    case XCB_GE_GENERIC: {
        WheelEvent wheel;
        if (scroll_.OnEvent(event, wheel)) {
            // Raw events don't tell place and modifiers.
            AskForPointer();
            wheel.at = hidden_ ? virtual_ : pointer_;
            wheel.modifiers = moveModifiers_;
            client_.OnWheelTurn(wheel);
        }
        break;
    }
    default: // 0 is an error: of a request to a window that is gone, as a rule
        break;
    }
}

// A click on a window that isn't active has the window manager give it the focus, and the host
// takes it, a moment after our control has. That isn't the user going elsewhere, so what the click
// began (a drag, a menu, a text) goes on, and the focus comes back. Once a press: a host may
// insist.
//
// Others focus the outer window at every press, just before they let the press through. So a loss
// is told a little later, unless a press comes first.
void CX11Window::OnFocus(bool in)
{
    if (in) {
        lossDue_ = 0;
        client_.OnFocus(true);
    } else if (std::exchange(keepsFocus_, false) && IsViewable()) {
        TakeFocusBack();
    } else {
        lossDue_ = kTicksUntilLoss;
    }
}

void CX11Window::TakeFocusBack()
{
    xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_PARENT, window_, XCB_CURRENT_TIME);
    xcb_flush(connection_.get());
}

/// The server ends a grab of a window that isn't seen, and where its button goes up isn't told.
void CX11Window::OnUnseen()
{
    keepsFocus_ = false;
    if (!captured_)
        return;
    EndCapture();
    client_.OnCaptureLost();
}

bool CX11Window::IsDoubleClick(const xcb_button_press_event_t& event)
{
    const PixelPoint at{event.event_x, event.event_y};
    const bool isDouble = event.detail == lastClick_.button &&
                          event.time - lastClick_.time <= kDoubleClickMs &&
                          IsSamePlace(at, lastClick_.at);
    // A third press begins anew.
    lastClick_ = isDouble ? Click{} : Click{event.detail, event.time, at};
    return isDouble;
}

void CX11Window::OnButton(const xcb_button_press_event_t& event, std::uint32_t sequence, bool down)
{
    time_ = event.time;
    FollowPointer({event.event_x, event.event_y}, {event.root_x, event.root_y}, sequence);
    const PixelPoint at = hidden_ ? virtual_ : pointer_;
    const unsigned modifiers = moveModifiers_ = ModifiersOf(event.state);
    if (event.detail >= 4 && event.detail <= 7) {
        // A device that scrolls smoothly has said it better already.
        if (down && !scroll_.HasSaid(event.time))
            client_.OnWheelTurn({at, modifiers, event.detail >= 6,
                                 event.detail == 4 || event.detail == 6 ? 1.0f : -1.0f});
        return;
    }
    if (event.detail < 1 || event.detail > 3)
        return;
    keepsFocus_ = down && event.detail == 1; // the one that takes it
    if (down && std::exchange(lossDue_, 0) != 0)
        TakeFocusBack();
    constexpr EMouseButton kButtons[] = {EMouseButton::Left, EMouseButton::Middle,
                                         EMouseButton::Right};
    auto kind = PointerEvent::EKind::Up;
    if (down)
        kind = IsDoubleClick(event) ? PointerEvent::EKind::DoubleClick : PointerEvent::EKind::Down;
    client_.OnPointer({kind, kButtons[event.detail - 1], modifiers, at});
}

/// Takes over what an event says of the pointer's place.
void CX11Window::FollowPointer(PixelPoint at, PixelPoint onScreen, std::uint32_t sequence)
{
    if (hidden_) {
        if (warping_ && static_cast<std::int32_t>(sequence - warpSequence_) >= 0) {
            warping_ = false;
            onScreen_ = {onScreen.x - at.x + warpTarget_.x, onScreen.y - at.y + warpTarget_.y};
        }
        virtual_.x += onScreen.x - onScreen_.x;
        virtual_.y += onScreen.y - onScreen_.y;
    }
    pointer_ = at;
    onScreen_ = onScreen;
}

bool CX11Window::AskForPointer()
{
    const CXcbReply<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
        connection_.get(), xcb_query_pointer(connection_.get(), window_), nullptr));
    if (reply == nullptr)
        return false;
    moveModifiers_ = ModifiersOf(reply->mask);
    const PixelPoint at{reply->win_x, reply->win_y};
    if (hidden_ || reply->same_screen == 0) // a hidden one's moves are counted by their events
        return false;
    onScreen_ = {reply->root_x, reply->root_y};
    return std::exchange(pointer_, at) != at;
}

void CX11Window::Tick()
{
    const std::weak_ptr<const bool> life = life_;
    if (away_ && !captured_ && !lost_ && AskForPointer())
        SendMove();
    if (!life.expired() && lossDue_ > 0 && --lossDue_ == 0)
        client_.OnFocus(false);
    if (!life.expired())
        client_.OnTick();
}

void CX11Window::SendMove()
{
    movePending_ = false;
    client_.OnPointer({PointerEvent::EKind::Move, EMouseButton::Left, moveModifiers_,
                       hidden_ ? virtual_ : pointer_});
}

void CX11Window::OnMotion(const xcb_motion_notify_event_t& event, std::uint32_t sequence)
{
    time_ = event.time;
    FollowPointer({event.event_x, event.event_y}, {event.root_x, event.root_y}, sequence);
    moveModifiers_ = ModifiersOf(event.state);
    movePending_ = true;
    // A drag is no click, though a hidden cursor is back where it began when it ends.
    if (!IsSamePlace(hidden_ ? virtual_ : pointer_, lastClick_.at))
        lastClick_ = {};
}

bool CX11Window::IsViewable() const
{
    const CXcbReply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
        connection_.get(), xcb_get_window_attributes(connection_.get(), window_), nullptr));
    return reply != nullptr && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

void CX11Window::OnCrossing(const xcb_enter_notify_event_t& event, bool leaves)
{
    scroll_.Follow(!leaves);
    // When the host hides a window above this one, the server tells no more than that the pointer
    // left.
    if ((captured_ || keepsFocus_) && leaves && !IsViewable()) {
        OnUnseen();
        return;
    }
    if (hidden_)
        return;
    // A host's open menu, as a rule. What the end of a grab tells is where the pointer is then, if
    // that is in this window.
    away_ = leaves && event.mode == XCB_NOTIFY_MODE_GRAB && !captured_;
    if (away_)
        return;
    pointer_ = {event.event_x, event.event_y};
    onScreen_ = {event.root_x, event.root_y};
    moveModifiers_ = ModifiersOf(event.state);
    SendMove();
}

void CX11Window::OnKey(const xcb_key_press_event_t& event, bool down)
{
    time_ = event.time;
    if ((event.response_type & 0x80) != 0)
        return; // sent by another program, perhaps our own key coming back
    const int code = keys_.CodeOf(event.detail, event.state);
    const std::weak_ptr<const bool> life = life_;
    const bool handled = code != 0 && client_.OnKey({code, ModifiersOf(event.state), down});
    if (life.expired())
        return;
    // A key goes up where it went down, whatever has been opened or closed between: the host may
    // play it as a note.
    if (down)
        ownKeys_[event.detail] = handled;
    if (ownKeys_[event.detail] || parent_ == root_)
        return;
    // To whoever made the window that people see as the host's. The nearest one that listens would
    // be another: hosts embed editors in windows that take keys and do nothing with them.
    const xcb_window_t host = TopLevelOf(connection_.get(), atoms_, parent_);
    xcb_key_press_event_t passedOn = event;
    passedOn.event = host;
    passedOn.child = XCB_WINDOW_NONE;
    xcb_send_event(connection_.get(), 0, host, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&passedOn));
    xcb_flush(connection_.get());
}

void CX11Window::OnMessage(const xcb_client_message_event_t& event)
{
    if (drop_.OnMessage(event))
        return;
    if (event.type == atoms_[kWmProtocols] && event.data.data32[0] == atoms_[kWmDeleteWindow]) {
        xcb_destroy_window(connection_.get(), window_);
        xcb_flush(connection_.get());
        Lose();
    }
}

void CX11Window::OnSelection(const xcb_selection_notify_event_t& event)
{
    std::string path;
    PixelPoint root;
    if (!drop_.OnSelection(event, path, root))
        return;
    const CXcbReply<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        connection_.get(),
        xcb_translate_coordinates(connection_.get(), root_, window_,
                                  static_cast<std::int16_t>(root.x),
                                  static_cast<std::int16_t>(root.y)),
        nullptr));
    if (place != nullptr)
        client_.OnFileDrop(path, {place->dst_x, place->dst_y});
}

void CX11Window::Lose()
{
    lost_ = true;
    lossDue_ = 0;
    captured_ = hidden_ = movePending_ = false;
    client_.OnWindowLost();
}

} // namespace keldra
