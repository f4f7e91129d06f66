#include "platform/x11/DBusLibrary.h"

#include <dlfcn.h>
#include <optional>

namespace keldra {

namespace {

class CLoader {
public:
    CLoader() : library_(::dlopen("libdbus-1.so.3", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {}
    template <typename Function>
    void Find(const char* name, Function& function)
    {
        function =
            library_ != nullptr ? reinterpret_cast<Function>(::dlsym(library_, name)) : nullptr;
        complete_ = complete_ && function != nullptr;
    }
    [[nodiscard]] bool IsComplete() const { return complete_; }

private:
    void* library_;
    bool complete_ = true;
};

std::optional<DBusFunctions> Load()
{
    CLoader loader;
    DBusFunctions dbus{};
    loader.Find("dbus_connection_open_private", dbus.connectionOpenPrivate);
    loader.Find("dbus_connection_close", dbus.connectionClose);
    loader.Find("dbus_connection_unref", dbus.connectionUnref);
    loader.Find("dbus_connection_set_exit_on_disconnect", dbus.connectionSetExitOnDisconnect);
    loader.Find("dbus_connection_set_max_message_size", dbus.connectionSetMaxMessageSize);
    loader.Find("dbus_connection_send", dbus.connectionSend);
    loader.Find("dbus_connection_read_write", dbus.connectionReadWrite);
    loader.Find("dbus_connection_pop_message", dbus.connectionPopMessage);
    loader.Find("dbus_connection_set_change_sigpipe", dbus.connectionSetChangeSigpipe);
    loader.Find("dbus_message_new_method_call", dbus.messageNewMethodCall);
    loader.Find("dbus_message_unref", dbus.messageUnref);
    loader.Find("dbus_message_set_no_reply", dbus.messageSetNoReply);
    loader.Find("dbus_message_get_type", dbus.messageGetType);
    loader.Find("dbus_message_get_reply_serial", dbus.messageGetReplySerial);
    loader.Find("dbus_message_get_path", dbus.messageGetPath);
    loader.Find("dbus_message_is_signal", dbus.messageIsSignal);
    loader.Find("dbus_message_iter_init", dbus.iterInit);
    loader.Find("dbus_message_iter_next", dbus.iterNext);
    loader.Find("dbus_message_iter_get_arg_type", dbus.iterGetArgType);
    loader.Find("dbus_message_iter_get_basic", dbus.iterGetBasic);
    loader.Find("dbus_message_iter_recurse", dbus.iterRecurse);
    loader.Find("dbus_message_iter_init_append", dbus.iterInitAppend);
    loader.Find("dbus_message_iter_append_basic", dbus.iterAppendBasic);
    loader.Find("dbus_message_iter_append_fixed_array", dbus.iterAppendFixedArray);
    loader.Find("dbus_message_iter_open_container", dbus.iterOpenContainer);
    loader.Find("dbus_message_iter_close_container", dbus.iterCloseContainer);
    if (!loader.IsComplete())
        return std::nullopt;
    dbus.connectionSetChangeSigpipe(
        FALSE); // how the process takes that signal is the host's affair
    return dbus;
}

} // namespace

const DBusFunctions* LoadDBus()
{
    static const std::optional<DBusFunctions> dbus = Load();
    return dbus ? &*dbus : nullptr;
}

} // namespace keldra
