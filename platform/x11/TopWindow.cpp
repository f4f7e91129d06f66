#include "platform/TopWindow.h"

#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <span>
#include <string_view>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/posix/FileDescriptor.h"
#include "platform/x11/WindowConnection.h"

namespace keldra {

namespace {

enum EAtom : unsigned {
    kProtocols,
    kDeleteWindow,
    kPing,
    kNetName,
    kNetIcon,
    kNetPid,
    kNetIsNormal,
    kNetType,
    kUtf8,
    kClientMachine,
    kAtomCount,
};
constexpr const char* kAtomNames[kAtomCount] = {
    "WM_PROTOCOLS",
    "WM_DELETE_WINDOW",
    "_NET_WM_PING",
    "_NET_WM_NAME",
    "_NET_WM_ICON",
    "_NET_WM_PID",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE",
    "UTF8_STRING",
    "WM_CLIENT_MACHINE",
};

/// Servers on Linux number keys as the kernel does, and that as PC keyboards do, plus 8.
constexpr int kFirstKeycode = 8;

unsigned ModifiersOf(unsigned state)
{
    return ((state & XCB_MOD_MASK_CONTROL) != 0 ? kModifierCtrl : 0u) |
           ((state & XCB_MOD_MASK_SHIFT) != 0 ? kModifierShift : 0u) |
           ((state & (XCB_MOD_MASK_1 | XCB_MOD_MASK_4)) != 0 ? kModifierAlt : 0u);
}

class CX11TopWindow final : public CTopWindow {
public:
    CX11TopWindow(CXcbConnection connection, const xcb_screen_t& screen, const TopWindowLook& look,
                  CTopWindowClient& client)
        : connection_(std::move(connection)),
          root_(screen.root),
          window_(xcb_generate_id(connection_.get())),
          client_(client),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        LearnAtoms();
        const std::uint32_t values[] = {
            screen.black_pixel, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                    XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
        xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, root_, 0, 0,
                          static_cast<std::uint16_t>(look.size.width),
                          static_cast<std::uint16_t>(look.size.height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
        Describe(look);
        SyncWithServer(connection_.get()); // what is embedded comes on a connection of its own
    }
    ~CX11TopWindow() override
    {
        xcb_destroy_window(connection_.get(), window_);
        xcb_flush(connection_.get());
    }

    NativeHandle Handle() const override { return window_; }

    void Show() override
    {
        xcb_map_window(connection_.get(), window_);
        xcb_flush(connection_.get());
    }

    void Wait(std::chrono::milliseconds atMost) override
    {
        // Replies read by other calls may have brought events along: those first.
        if (!ProcessEvents()) {
            pollfd files[] = {{wake_.Get(), POLLIN, 0},
                              {xcb_get_file_descriptor(connection_.get()), POLLIN, 0}};
            static_cast<void>(poll(files, lost_ ? 1 : 2, static_cast<int>(atMost.count())));
            ProcessEvents();
        }
        ReleaseLostKeys();
        std::uint64_t count;
        static_cast<void>(!read(wake_.Get(), &count, sizeof count));
    }

    void WakeUp() override
    {
        const std::uint64_t one = 1;
        static_cast<void>(!write(wake_.Get(), &one, sizeof one));
    }

private:
    struct Key {
        bool down = false;      ///< as the client knows it
        bool mayRepeat = false; ///< a release came while it was held
        bool seemsLost = false; ///< the server says that it is up, and no event has said so yet
        xcb_timestamp_t releasedAt = 0;
    };

    void LearnAtoms()
    {
        xcb_intern_atom_cookie_t cookies[kAtomCount];
        for (unsigned i = 0; i < kAtomCount; ++i)
            cookies[i] = xcb_intern_atom(connection_.get(), 0,
                                         static_cast<std::uint16_t>(std::strlen(kAtomNames[i])),
                                         kAtomNames[i]);
        for (unsigned i = 0; i < kAtomCount; ++i) {
            const CXcbReply<xcb_intern_atom_reply_t> reply(
                xcb_intern_atom_reply(connection_.get(), cookies[i], nullptr));
            atoms_[i] = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
        }
    }

    void SetText(xcb_atom_t property, xcb_atom_t type, std::string_view text)
    {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window_, property, type, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    }
    void SetWords(xcb_atom_t property, xcb_atom_t type, std::span<const std::uint32_t> words)
    {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window_, property, type, 32,
                            static_cast<std::uint32_t>(words.size()), words.data());
    }

    void Describe(const TopWindowLook& look)
    {
        SetText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, look.title);
        SetText(atoms_[kNetName], atoms_[kUtf8], look.title);
        // The program's name in small letters, the class with a capital: two strings, each with its
        // NUL.
        std::string programClass = look.program;
        if (!programClass.empty() && programClass[0] >= 'a' && programClass[0] <= 'z')
            programClass[0] = static_cast<char>(programClass[0] - 'a' + 'A');
        SetText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                look.program + std::string(1, '\0') + programClass + std::string(1, '\0'));
        const std::uint32_t protocols[] = {atoms_[kDeleteWindow], atoms_[kPing]};
        SetWords(atoms_[kProtocols], XCB_ATOM_ATOM, protocols);
        const std::uint32_t type[] = {atoms_[kNetIsNormal]};
        SetWords(atoms_[kNetType], XCB_ATOM_ATOM, type);
        char machine[256] = {};
        if (gethostname(machine, sizeof machine - 1) == 0) { // the process id counts only with it
            SetText(atoms_[kClientMachine], XCB_ATOM_STRING, machine);
            const std::uint32_t process[] = {static_cast<std::uint32_t>(getpid())};
            SetWords(atoms_[kNetPid], XCB_ATOM_CARDINAL, process);
        }
        const std::uint32_t wantsKeys[9] = {1, 1};
        SetWords(XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, wantsKeys);
        // Smallest and largest size, in the order of the window managers' conventions.
        const auto width = static_cast<std::uint32_t>(look.size.width);
        const auto height = static_cast<std::uint32_t>(look.size.height);
        const std::uint32_t sizes[18] = {1 << 4 | 1 << 5, 0, 0, 0, 0, width, height, width, height};
        SetWords(XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, sizes);
        SetIcon(look.icon);
    }

    void SetIcon(const PixelView& icon)
    {
        if (icon.pixels == nullptr)
            return;
        std::vector<std::uint32_t> words = {static_cast<std::uint32_t>(icon.size.width),
                                            static_cast<std::uint32_t>(icon.size.height)};
        for (int row = icon.size.height - 1; row >= 0; --row) { // the desktop's are top down
            const std::uint32_t* const pixels = icon.pixels + std::ptrdiff_t{row} * icon.size.width;
            words.insert(words.end(), pixels, pixels + icon.size.width);
        }
        SetWords(atoms_[kNetIcon], XCB_ATOM_CARDINAL, words);
    }

    /// @return whether there were any
    bool ProcessEvents()
    {
        bool any = false;
        while (const CXcbReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
            any = true;
            OnEvent(*event);
        }
        if (xcb_connection_has_error(connection_.get()) != 0)
            OnLost();
        return any;
    }

    void OnLost()
    {
        if (!std::exchange(lost_, true))
            client_.OnTopWindowLost();
    }

    void OnEvent(const xcb_generic_event_t& event)
    {
        // Keys that the embedded window didn't want come as sent ones (with the highest bit).
        switch (event.response_type & 0x7f) {
        case XCB_KEY_PRESS:
        case XCB_KEY_RELEASE:
            OnKey(reinterpret_cast<const xcb_key_press_event_t&>(event),
                  (event.response_type & 0x7f) == XCB_KEY_PRESS);
            break;
        case XCB_FOCUS_IN:
        case XCB_FOCUS_OUT:
            OnFocus(reinterpret_cast<const xcb_focus_in_event_t&>(event),
                    (event.response_type & 0x7f) == XCB_FOCUS_IN);
            break;
        case XCB_DESTROY_NOTIFY: // of what is embedded, too
            if (reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == window_)
                OnLost();
            break;
        case XCB_CLIENT_MESSAGE:
            OnMessage(reinterpret_cast<const xcb_client_message_event_t&>(event));
            break;
        default: // 0 is an error: of a window that is embedded and just gone, as a rule
            break;
        }
    }

    /// A held key repeats as releases with presses of the same time: it is still down while it is
    /// told to be up.
    bool IsHeld(xcb_keycode_t keycode)
    {
        const CXcbReply<xcb_query_keymap_reply_t> reply(xcb_query_keymap_reply(
            connection_.get(), xcb_query_keymap(connection_.get()), nullptr));
        return reply != nullptr && (reply->keys[keycode / 8] >> (keycode % 8) & 1) != 0;
    }

    void OnKey(const xcb_key_press_event_t& event, bool down)
    {
        Key& key = keys_[event.detail];
        key.seemsLost = false;
        if (down && key.down && key.mayRepeat && event.time != key.releasedAt)
            Tell(event, false); // no repeat, but a finger that was quicker than we looked
        key.mayRepeat = !down && IsHeld(event.detail);
        key.releasedAt = event.time;
        if (key.down != down && !key.mayRepeat)
            Tell(event, down);
    }
    void Tell(const xcb_key_press_event_t& event, bool down)
    {
        keys_[event.detail].down = down;
        client_.OnPlacedKey({event.detail - kFirstKeycode, ModifiersOf(event.state), down});
    }

    /// Without a window manager keys go where the pointer is, and with it where nobody tells us of
    /// their end.
    void ReleaseLostKeys()
    {
        bool any = false;
        for (std::size_t keycode = kFirstKeycode; keycode < std::size(keys_); ++keycode) {
            Key& key = keys_[keycode];
            key.seemsLost = key.down && !IsHeld(static_cast<xcb_keycode_t>(keycode));
            any = any || key.seemsLost;
        }
        if (!any)
            return;
        ProcessEvents(); // what went before the answer has come with it, its release perhaps
        for (std::size_t keycode = kFirstKeycode; keycode < std::size(keys_); ++keycode)
            if (keys_[keycode].seemsLost) {
                keys_[keycode] = {};
                client_.OnPlacedKey({static_cast<int>(keycode) - kFirstKeycode, 0, false});
            }
    }

    void OnFocus(const xcb_focus_in_event_t& event, bool in)
    {
        // Between this window and what is embedded in it nothing is lost or won.
        if (event.detail == XCB_NOTIFY_DETAIL_INFERIOR || event.detail == XCB_NOTIFY_DETAIL_POINTER)
            return;
        if (in) {
            FocusEmbedded();
            return;
        }
        for (Key& key : keys_)
            key = {};
        client_.OnKeysLost();
    }

    void FocusEmbedded()
    {
        const CXcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            connection_.get(), xcb_query_tree(connection_.get(), window_), nullptr));
        if (tree == nullptr || xcb_query_tree_children_length(tree.get()) == 0)
            return;
        xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_PARENT,
                            xcb_query_tree_children(tree.get())[0], XCB_CURRENT_TIME);
        xcb_flush(connection_.get());
    }

    void OnMessage(const xcb_client_message_event_t& event)
    {
        if (event.type != atoms_[kProtocols])
            return;
        if (event.data.data32[0] == atoms_[kDeleteWindow]) {
            client_.OnCloseWanted();
        } else if (event.data.data32[0] == atoms_[kPing]) { // are we still alive?
            xcb_client_message_event_t answer = event;
            answer.window = root_;
            xcb_send_event(connection_.get(), 0, root_,
                           XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY |
                               XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                           reinterpret_cast<const char*>(&answer));
            xcb_flush(connection_.get());
        }
    }

    const CXcbConnection connection_;
    const xcb_window_t root_;
    const xcb_window_t window_;
    CTopWindowClient& client_;
    const CFileDescriptor wake_;
    xcb_atom_t atoms_[kAtomCount] = {};
    Key keys_[256] = {}; ///< by keycode
    bool lost_ = false;
};

} // namespace

std::unique_ptr<CTopWindow> CTopWindow::Open(const TopWindowLook& look, CTopWindowClient& client,
                                             std::string& error)
{
    int screenNumber = 0;
    CXcbConnection connection(xcb_connect(nullptr, &screenNumber));
    if (connection == nullptr || xcb_connection_has_error(connection.get()) != 0) {
        const char* const display = std::getenv("DISPLAY");
        error = display == nullptr || *display == '\0'
                    ? "no display: DISPLAY is not set"
                    : std::string("the display ").append(display).append(" can't be reached");
        return nullptr;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber)
        xcb_screen_next(&screens);
    if (screens.rem == 0) {
        error = "the display has no screen";
        return nullptr;
    }
    return std::make_unique<CX11TopWindow>(std::move(connection), *screens.data, look, client);
}

} // namespace keldra
