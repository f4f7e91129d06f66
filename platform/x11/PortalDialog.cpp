// The conversation with the portal, one step per answer, nobody waiting in between:
//
//   Hello                       the bus tells our name on it
//   Get FileChooser "version"   is there a portal, and is it awake?
//   OpenFile or SaveFile        the portal names the request, shows the dialog
//   signal Response             0 chosen, 1 cancelled, 2 ended otherwise; the files as URIs
//
// Ended otherwise is a dialog that couldn't be shown, but also, with GTK's portal, one whose window
// the user has closed.
//
// The request's name follows from our name and a token of ours, so that we can listen for the
// response before we ask: it might come before the answer to the call. All messages are taken from
// the connection's queue one by one; libdbus's own call tracking and main loop aren't needed.
// Tested against a portal of our own on a bus of our own: FileDialogTest.

#include "platform/x11/PortalDialog.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <utility>

#include "platform/Folders.h"
#include "platform/UriList.h"
#include "platform/x11/DBusLibrary.h"
#include "platform/x11/ProgramDialog.h"

namespace keldra {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(2);
constexpr long kMaxMessageSize = 1 << 20; // bytes

constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kFileChooser = "org.freedesktop.portal.FileChooser";
constexpr const char* kRequest = "org.freedesktop.portal.Request";

/// The session bus's address when it is a socket of this machine. Others could make us wait for a
/// network, or start a program.
std::string SessionBusAddress()
{
    const char* given = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    std::string_view rest = given != nullptr ? given : "";
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        if (rest.substr(0, end).starts_with("unix:"))
            return std::string(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (given != nullptr || runtime == nullptr || *runtime != kPathSeparator)
        return {};
    const std::string socket = JoinPath(runtime, "bus");
    return ::access(socket.c_str(), W_OK) == 0 ? "unix:path=" + socket : std::string();
}

std::string UniqueToken()
{
    static std::atomic<unsigned> counter{0};
    return "keldra" + std::to_string(::getpid()) + "_" + std::to_string(counter.fetch_add(1)) +
           "_" + std::to_string(Clock::now().time_since_epoch().count() & 0xFFFFFF);
}

/// libdbus aborts the process when it is given text that isn't UTF-8.
std::string AsUtf8(std::string text)
{
    if (!IsUtf8(text))
        std::replace_if(
            text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; },
            '?');
    return text.substr(0, text.find('\0'));
}

/// A message that is being written or read. Null when there was no memory for it.
class CMessage {
public:
    CMessage(const DBusFunctions& dbus, DBusMessage* message) : dbus_(dbus), message_(message) {}
    ~CMessage()
    {
        if (message_ != nullptr)
            dbus_.messageUnref(message_);
    }
    CMessage(const CMessage&) = delete;
    CMessage& operator=(const CMessage&) = delete;
    [[nodiscard]] DBusMessage* Get() const { return message_; }

private:
    const DBusFunctions& dbus_;
    DBusMessage* message_;
};

/// Appends values to a message, container by container. Once memory has run out it does nothing.
class CAppender {
public:
    CAppender(const DBusFunctions& dbus, DBusMessage* message)
        : dbus_(dbus), good_(message != nullptr)
    {
        if (good_)
            dbus_.iterInitAppend(message, &iter_);
    }

    void String(const std::string& text) { Text(DBUS_TYPE_STRING, text); }
    void Bool(bool value)
    {
        const dbus_bool_t word = value ? TRUE : FALSE;
        good_ = good_ && dbus_.iterAppendBasic(&iter_, DBUS_TYPE_BOOLEAN, &word);
    }
    void Word(std::uint32_t value)
    {
        good_ = good_ && dbus_.iterAppendBasic(&iter_, DBUS_TYPE_UINT32, &value);
    }
    void Bytes(const std::string& bytes) ///< as portals want paths: with the NUL behind
    {
        Inside(DBUS_TYPE_ARRAY, "y", [&](CAppender& array) {
            const char* data = bytes.c_str();
            array.good_ =
                array.good_ && dbus_.iterAppendFixedArray(&array.iter_, DBUS_TYPE_BYTE, &data,
                                                          static_cast<int>(bytes.size() + 1));
        });
    }
    template <typename Content>
    void Array(const char* signature, Content&& content)
    {
        Inside(DBUS_TYPE_ARRAY, signature, content);
    }
    template <typename Content>
    void Struct(Content&& content)
    {
        Inside(DBUS_TYPE_STRUCT, nullptr, content);
    }
    template <typename Content>
    void Entry(const char* key, const char* signature, Content&& content)
    {
        Inside(DBUS_TYPE_DICT_ENTRY, nullptr, [&](CAppender& entry) {
            entry.String(key);
            entry.Inside(DBUS_TYPE_VARIANT, signature, content);
        });
    }
    [[nodiscard]] bool IsGood() const { return good_; }

private:
    explicit CAppender(const DBusFunctions& dbus) : dbus_(dbus), good_(true) {}
    void Text(int type, const std::string& text)
    {
        const std::string utf8 = AsUtf8(text);
        const char* data = utf8.c_str();
        good_ = good_ && dbus_.iterAppendBasic(&iter_, type, &data);
    }
    template <typename Content>
    void Inside(int type, const char* signature, Content&& content)
    {
        CAppender inner(dbus_);
        if (!good_ || !dbus_.iterOpenContainer(&iter_, type, signature, &inner.iter_)) {
            good_ = false;
            return;
        }
        content(inner);
        // Closed in any case: an open container can't be freed.
        good_ = dbus_.iterCloseContainer(&iter_, &inner.iter_) && inner.good_;
    }

    const DBusFunctions& dbus_;
    DBusMessageIter iter_{};
    bool good_;
};

class CPortalDialog final : public CFileDialog {
public:
    explicit CPortalDialog(const FileDialogRequest& request);
    ~CPortalDialog() override;
    CPortalDialog(const CPortalDialog&) = delete;
    CPortalDialog& operator=(const CPortalDialog&) = delete;

    EState Poll() override;
    const std::string& Path() const override { return path_; }

private:
    enum class EStep { Hello, Version, Call, Shown };

    using Arguments = void (*)(CAppender&, const CPortalDialog&);
    bool Call(const char* service, const char* path, const char* interface, const char* method,
              Arguments arguments, bool wantsReply = true);
    void Listen();
    void OnMessage(DBusMessage* message);
    void OnReply(DBusMessage* message);
    void OnResponse(DBusMessage* message);
    void CloseRequest();
    void GoOn(EStep step, bool sent);
    std::string FirstUri(DBusMessageIter& results) const;

    static void AppendRequest(CAppender& call, const CPortalDialog& dialog);

    const FileDialogRequest request_;
    const std::string token_ = UniqueToken();
    const DBusFunctions* dbus_ = nullptr;
    DBusConnection* connection_ = nullptr;
    EStep step_ = EStep::Hello;
    dbus_uint32_t serial_ = 0; ///< of the call whose reply the step waits for
    Clock::time_point deadline_ = Clock::now() + kPatience;
    Clock::time_point shownAt_;
    std::string requestPath_; ///< known as soon as we have a name
    std::string listenPath_;
    EState state_ = EState::Open;
    std::string path_;
};

CPortalDialog::CPortalDialog(const FileDialogRequest& request) : request_(request)
{
    const std::string address = SessionBusAddress();
    dbus_ = address.empty() ? nullptr : LoadDBus();
    if (dbus_ != nullptr)
        connection_ = dbus_->connectionOpenPrivate(address.c_str(), nullptr);
    if (connection_ == nullptr) {
        state_ = EState::Unavailable;
        return;
    }
    dbus_->connectionSetExitOnDisconnect(connection_, FALSE);
    dbus_->connectionSetMaxMessageSize(connection_, kMaxMessageSize);
    GoOn(EStep::Hello, Call(kBus, kBusPath, kBus, "Hello", nullptr));
}

CPortalDialog::~CPortalDialog()
{
    if (connection_ == nullptr)
        return;
    if (state_ == EState::Open)
        CloseRequest();
    dbus_->connectionClose(connection_);
    dbus_->connectionUnref(connection_);
}

void CPortalDialog::GoOn(EStep step, bool sent)
{
    step_ = step;
    if (!sent)
        state_ = EState::Unavailable;
}

bool CPortalDialog::Call(const char* service, const char* path, const char* interface,
                         const char* method, Arguments arguments, bool wantsReply)
{
    const CMessage message(*dbus_, dbus_->messageNewMethodCall(service, path, interface, method));
    if (message.Get() == nullptr)
        return false;
    if (arguments != nullptr) {
        CAppender appender(*dbus_, message.Get());
        arguments(appender, *this);
        if (!appender.IsGood())
            return false;
    }
    dbus_->messageSetNoReply(message.Get(), wantsReply ? FALSE : TRUE);
    dbus_uint32_t serial = 0;
    if (!dbus_->connectionSend(connection_, message.Get(), &serial))
        return false;
    if (wantsReply)
        serial_ = serial;
    return true;
}

void CPortalDialog::Listen()
{
    listenPath_ = "type='signal',interface='" + std::string(kRequest) +
                  "',member='Response',path='" + requestPath_ + "'";
    (void)Call(
        kBus, kBusPath, kBus, "AddMatch",
        [](CAppender& call, const CPortalDialog& dialog) { call.String(dialog.listenPath_); },
        false);
}

void CPortalDialog::CloseRequest()
{
    if (step_ != EStep::Call && step_ != EStep::Shown)
        return;
    (void)Call(kPortal, requestPath_.c_str(), kRequest, "Close", nullptr, false);
    (void)dbus_->connectionReadWrite(connection_, 0);
}

void CPortalDialog::AppendRequest(CAppender& call, const CPortalDialog& dialog)
{
    const FileDialogRequest& request = dialog.request_;
    const auto appendFilter = [](CAppender& list, const FileDialogRequest::Filter& filter) {
        list.Struct([&](CAppender& item) {
            item.String(filter.description);
            item.Array("(us)", [&](CAppender& patterns) {
                for (const std::string& pattern : SplitPatterns(filter.patterns))
                    patterns.Struct([&](CAppender& one) {
                        one.Word(0); // a shell pattern, not a media type
                        one.String(pattern);
                    });
            });
        });
    };
    char owner[32] = "";
    if (request.owner != 0)
        std::snprintf(owner, sizeof owner, "x11:%llx",
                      static_cast<unsigned long long>(request.owner));
    call.String(owner);
    call.String(request.title);
    call.Array("{sv}", [&](CAppender& options) {
        options.Entry("handle_token", "s", [&](CAppender& v) { v.String(dialog.token_); });
        options.Entry("modal", "b", [](CAppender& v) { v.Bool(true); });
        if (!request.filters.empty())
            options.Entry("filters", "a(sa(us))", [&](CAppender& value) {
                value.Array("(sa(us))", [&](CAppender& list) {
                    for (const FileDialogRequest::Filter& filter : request.filters)
                        appendFilter(list, filter);
                });
            });
        if (!request.folder.empty())
            options.Entry("current_folder", "ay", [&](CAppender& v) { v.Bytes(request.folder); });
        if (request.kind == FileDialogRequest::EKind::Save && !request.name.empty())
            options.Entry("current_name", "s", [&](CAppender& v) { v.String(request.name); });
    });
}

CFileDialog::EState CPortalDialog::Poll()
{
    if (state_ != EState::Open)
        return state_;
    // Signing in to the bus takes a few exchanges; each call here moves it on by one.
    for (int turn = 0; turn < 4 && state_ == EState::Open; ++turn) {
        const bool connected = dbus_->connectionReadWrite(connection_, 0) != FALSE;
        while (state_ == EState::Open) {
            const CMessage message(*dbus_, dbus_->connectionPopMessage(connection_));
            if (message.Get() == nullptr)
                break;
            OnMessage(message.Get());
        }
        if (!connected && state_ == EState::Open)
            state_ = step_ == EStep::Shown ? EState::Cancelled : EState::Unavailable;
    }
    if (state_ == EState::Open && step_ != EStep::Shown && Clock::now() >= deadline_) {
        CloseRequest(); // should the portal wake up later, nobody would be there for its dialog
        state_ = EState::Unavailable;
    }
    return state_;
}

void CPortalDialog::OnMessage(DBusMessage* message)
{
    const char* path = dbus_->messageGetPath(message);
    const int type = dbus_->messageGetType(message);
    if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN || type == DBUS_MESSAGE_TYPE_ERROR) {
        if (step_ != EStep::Shown && dbus_->messageGetReplySerial(message) == serial_)
            OnReply(message);
    } else if (dbus_->messageIsSignal(message, kRequest, "Response") && path != nullptr &&
               path == requestPath_) {
        OnResponse(message);
    }
}

void CPortalDialog::OnReply(DBusMessage* message)
{
    DBusMessageIter arguments;
    const bool filled = dbus_->iterInit(message, &arguments) != FALSE;
    if (dbus_->messageGetType(message) == DBUS_MESSAGE_TYPE_ERROR || !filled) {
        state_ = EState::Unavailable;
        return;
    }
    const int type = dbus_->iterGetArgType(&arguments);
    const char* text = nullptr;
    if (type == DBUS_TYPE_STRING || type == DBUS_TYPE_OBJECT_PATH)
        dbus_->iterGetBasic(&arguments, &text);

    switch (step_) {
    case EStep::Hello: {
        std::string name = text != nullptr && *text == ':' ? text + 1 : "";
        std::replace(name.begin(), name.end(), '.', '_');
        requestPath_ = std::string(kPortalPath) + "/request/" + name + "/" + token_;
        Listen();
        GoOn(EStep::Version,
             !name.empty() && Call(kPortal, kPortalPath, "org.freedesktop.DBus.Properties", "Get",
                                   [](CAppender& call, const CPortalDialog&) {
                                       call.String(kFileChooser);
                                       call.String("version");
                                   }));
        break;
    }
    case EStep::Version:
        deadline_ = Clock::now() + kPatience;
        GoOn(EStep::Call,
             Call(kPortal, kPortalPath, kFileChooser,
                  request_.kind == FileDialogRequest::EKind::Save ? "SaveFile" : "OpenFile",
                  AppendRequest));
        break;
    case EStep::Call:
        step_ = EStep::Shown;
        shownAt_ = Clock::now();
        if (text != nullptr && requestPath_ != text) { // portals before 0.9 chose the name
            requestPath_ = text;
            Listen();
        }
        break;
    case EStep::Shown:
        break;
    }
}

void CPortalDialog::OnResponse(DBusMessage* message)
{
    constexpr dbus_uint32_t kChosen = 0;
    constexpr dbus_uint32_t kCancelled = 1;
    DBusMessageIter arguments;
    dbus_uint32_t code = 2;
    if (dbus_->iterInit(message, &arguments) &&
        dbus_->iterGetArgType(&arguments) == DBUS_TYPE_UINT32)
        dbus_->iterGetBasic(&arguments, &code);
    if (code == kChosen && dbus_->iterNext(&arguments))
        path_ = FirstPathOf(FirstUri(arguments));
    const bool wasShown = step_ == EStep::Shown && Clock::now() - shownAt_ >= kSoonestCancel;
    state_ = !path_.empty()                                      ? EState::Chosen
             : code == kChosen || code == kCancelled || wasShown ? EState::Cancelled
                                                                 : EState::Unavailable;
}

std::string CPortalDialog::FirstUri(DBusMessageIter& results) const
{
    if (dbus_->iterGetArgType(&results) != DBUS_TYPE_ARRAY)
        return {};
    DBusMessageIter entries;
    dbus_->iterRecurse(&results, &entries);
    for (; dbus_->iterGetArgType(&entries) == DBUS_TYPE_DICT_ENTRY; dbus_->iterNext(&entries)) {
        DBusMessageIter entry;
        DBusMessageIter value;
        DBusMessageIter list;
        const char* text = nullptr;
        dbus_->iterRecurse(&entries, &entry);
        if (dbus_->iterGetArgType(&entry) != DBUS_TYPE_STRING)
            continue;
        dbus_->iterGetBasic(&entry, &text);
        if (std::strcmp(text, "uris") != 0 || !dbus_->iterNext(&entry) ||
            dbus_->iterGetArgType(&entry) != DBUS_TYPE_VARIANT)
            continue;
        dbus_->iterRecurse(&entry, &value);
        if (dbus_->iterGetArgType(&value) != DBUS_TYPE_ARRAY)
            continue;
        dbus_->iterRecurse(&value, &list);
        if (dbus_->iterGetArgType(&list) != DBUS_TYPE_STRING)
            continue;
        dbus_->iterGetBasic(&list, &text);
        return text;
    }
    return {};
}

} // namespace

std::unique_ptr<CFileDialog> OpenPortalDialog(const FileDialogRequest& request)
{
    return std::make_unique<CPortalDialog>(request);
}

} // namespace keldra
