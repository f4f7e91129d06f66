#pragma once

#include <dbus/dbus.h>

namespace keldra {

/// The functions of libdbus that we call, found at run time: the module loads on machines without
/// it. Each is what its name says in libdbus.
struct DBusFunctions {
    decltype(&::dbus_connection_open_private) connectionOpenPrivate;
    decltype(&::dbus_connection_close) connectionClose;
    decltype(&::dbus_connection_unref) connectionUnref;
    decltype(&::dbus_connection_set_exit_on_disconnect) connectionSetExitOnDisconnect;
    decltype(&::dbus_connection_set_max_message_size) connectionSetMaxMessageSize;
    decltype(&::dbus_connection_send) connectionSend;
    decltype(&::dbus_connection_read_write) connectionReadWrite;
    decltype(&::dbus_connection_pop_message) connectionPopMessage;
    decltype(&::dbus_connection_set_change_sigpipe) connectionSetChangeSigpipe;
    decltype(&::dbus_message_new_method_call) messageNewMethodCall;
    decltype(&::dbus_message_unref) messageUnref;
    decltype(&::dbus_message_set_no_reply) messageSetNoReply;
    decltype(&::dbus_message_get_type) messageGetType;
    decltype(&::dbus_message_get_reply_serial) messageGetReplySerial;
    decltype(&::dbus_message_get_path) messageGetPath;
    decltype(&::dbus_message_is_signal) messageIsSignal;
    decltype(&::dbus_message_iter_init) iterInit;
    decltype(&::dbus_message_iter_next) iterNext;
    decltype(&::dbus_message_iter_get_arg_type) iterGetArgType;
    decltype(&::dbus_message_iter_get_basic) iterGetBasic;
    decltype(&::dbus_message_iter_recurse) iterRecurse;
    decltype(&::dbus_message_iter_init_append) iterInitAppend;
    decltype(&::dbus_message_iter_append_basic) iterAppendBasic;
    decltype(&::dbus_message_iter_append_fixed_array) iterAppendFixedArray;
    decltype(&::dbus_message_iter_open_container) iterOpenContainer;
    decltype(&::dbus_message_iter_close_container) iterCloseContainer;
};

/// Null when the library isn't installed or lacks something. Loaded once and kept: it isn't made
/// for being unloaded.
[[nodiscard]] const DBusFunctions* LoadDBus();

} // namespace keldra
