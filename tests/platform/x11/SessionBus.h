#pragma once

#include <atomic>
#include <csignal>
#include <cstring>
#include <dbus/dbus.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {

/// A session bus of our own, while it lives.
class CSessionBus {
public:
    explicit CSessionBus(const CTemporaryFolder& folder)
        : address_("unix:path=" + folder.Path("bus"))
    {
        const std::string argument = "--address=" + address_;
        const char* const arguments[] = {"dbus-daemon", "--session",      "--nofork",
                                         "--nopidfile", argument.c_str(), nullptr};
        (void)::posix_spawn(&process_, "/usr/bin/dbus-daemon", nullptr, nullptr,
                            const_cast<char* const*>(arguments), environ);
        // The socket is there a moment before anybody listens at it.
        for (int i = 0; i < 500; ++i) {
            DBusConnection* const first = dbus_connection_open_private(address_.c_str(), nullptr);
            if (first != nullptr) {
                dbus_connection_close(first);
                dbus_connection_unref(first);
                break;
            }
            ::usleep(10000);
        }
    }
    ~CSessionBus()
    {
        Signal(SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    CSessionBus(const CSessionBus&) = delete;
    CSessionBus& operator=(const CSessionBus&) = delete;

    void Signal(int number) const { ::kill(process_, number); }
    [[nodiscard]] const std::string& Address() const { return address_; }

private:
    const std::string address_;
    pid_t process_ = 0;
};

/// A portal that behaves as told. Writes down the calls it gets, their arguments flattened to text.
class CMockPortal {
public:
    struct Behaviour {
        bool answersVersion = true;
        bool hasFileChooser = true;
        bool answersCall = true;
        bool choosesHandle = false; ///< another name of the request than the caller asked for
        bool responds = true;       ///< with the response signal, after the call's answer
        unsigned delayMs = 0;       ///< between the two
        dbus_uint32_t response = 0; ///< 0 chosen, 1 cancelled, 2 ended otherwise
        const char* uri = "";
    };

    CMockPortal(const CSessionBus& bus, Behaviour behaviour)
        : behaviour_(std::move(behaviour)),
          connection_(dbus_connection_open_private(bus.Address().c_str(), nullptr))
    {
        dbus_connection_set_exit_on_disconnect(connection_, FALSE);
        dbus_bus_register(connection_, nullptr);
        dbus_bus_request_name(connection_, "org.freedesktop.portal.Desktop", 0, nullptr);
        thread_ = std::thread([this] { Run(); });
    }
    ~CMockPortal()
    {
        stop_ = true;
        thread_.join();
        dbus_connection_close(connection_);
        dbus_connection_unref(connection_);
    }
    CMockPortal(const CMockPortal&) = delete;
    CMockPortal& operator=(const CMockPortal&) = delete;

    /// Everything it was asked so far, a call a line. Only once it is quiet.
    [[nodiscard]] std::string Calls() const { return calls_; }
    [[nodiscard]] int CallCount() const { return callCount_; }

private:
    static void Flatten(DBusMessageIter& iter, std::string& text)
    {
        for (;; dbus_message_iter_next(&iter)) {
            const int type = dbus_message_iter_get_arg_type(&iter);
            if (type == DBUS_TYPE_INVALID)
                return;
            DBusBasicValue value{};
            if (dbus_type_is_basic(type))
                dbus_message_iter_get_basic(&iter, &value);
            if (type == DBUS_TYPE_STRING)
                text.append(" ").append(value.str);
            else if (type == DBUS_TYPE_BYTE)
                text += value.byt != 0 ? static_cast<char>(value.byt) : '|';
            else if (type == DBUS_TYPE_BOOLEAN)
                text += value.bool_val ? " true" : " false";
            else if (type == DBUS_TYPE_UINT32)
                text += " " + std::to_string(value.u32);
            if (dbus_type_is_basic(type))
                continue;
            DBusMessageIter inner;
            dbus_message_iter_recurse(&iter, &inner);
            Flatten(inner, text);
        }
    }

    void Run()
    {
        while (!stop_) {
            dbus_connection_read_write(connection_, 10);
            while (DBusMessage* message = dbus_connection_pop_message(connection_)) {
                if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL)
                    OnCall(message);
                dbus_message_unref(message);
            }
        }
    }

    void OnCall(DBusMessage* call)
    {
        const std::string member = dbus_message_get_member(call);
        std::string arguments;
        DBusMessageIter iter;
        if (dbus_message_iter_init(call, &iter))
            Flatten(iter, arguments);
        calls_ += member + arguments + "\n";
        ++callCount_;
        if (member == "Get" && behaviour_.answersVersion)
            AnswerVersion(call);
        if ((member == "OpenFile" || member == "SaveFile") && behaviour_.answersCall)
            AnswerDialog(call, arguments);
    }

    void Send(DBusMessage* message)
    {
        dbus_connection_send(connection_, message, nullptr);
        dbus_connection_flush(connection_);
        dbus_message_unref(message);
    }

    void AnswerVersion(DBusMessage* call)
    {
        if (!behaviour_.hasFileChooser) {
            Send(dbus_message_new_error(call, DBUS_ERROR_UNKNOWN_INTERFACE, "no such interface"));
            return;
        }
        DBusMessage* reply = dbus_message_new_method_return(call);
        DBusMessageIter iter;
        DBusMessageIter inner;
        const dbus_uint32_t version = 3;
        dbus_message_iter_init_append(reply, &iter);
        dbus_message_iter_open_container(&iter, DBUS_TYPE_VARIANT, "u", &inner);
        dbus_message_iter_append_basic(&inner, DBUS_TYPE_UINT32, &version);
        dbus_message_iter_close_container(&iter, &inner);
        Send(reply);
    }

    void AnswerDialog(DBusMessage* call, const std::string& arguments)
    {
        std::string sender = dbus_message_get_sender(call) + 1;
        for (char& c : sender)
            c = c == '.' ? '_' : c;
        const std::size_t token = arguments.find("handle_token ") + std::strlen("handle_token ");
        std::string handle = "/org/freedesktop/portal/desktop/request/" + sender + "/" +
                             arguments.substr(token, arguments.find(' ', token) - token);
        if (behaviour_.choosesHandle)
            handle = "/org/freedesktop/portal/desktop/request/7";
        DBusMessage* reply = dbus_message_new_method_return(call);
        const char* path = handle.c_str();
        dbus_message_append_args(reply, DBUS_TYPE_OBJECT_PATH, &path, DBUS_TYPE_INVALID);
        Send(reply);
        if (!behaviour_.responds)
            return;
        ::usleep(behaviour_.delayMs * 1000);
        DBusMessage* signal =
            dbus_message_new_signal(path, "org.freedesktop.portal.Request", "Response");
        DBusMessageIter iter, results, entry, value, uris;
        const char* key = "uris";
        const char* uri = behaviour_.uri;
        dbus_message_iter_init_append(signal, &iter);
        dbus_message_iter_append_basic(&iter, DBUS_TYPE_UINT32, &behaviour_.response);
        dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, "{sv}", &results);
        if (behaviour_.response == 0) {
            dbus_message_iter_open_container(&results, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
            dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
            dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "as", &value);
            dbus_message_iter_open_container(&value, DBUS_TYPE_ARRAY, "s", &uris);
            dbus_message_iter_append_basic(&uris, DBUS_TYPE_STRING, &uri);
            dbus_message_iter_close_container(&value, &uris);
            dbus_message_iter_close_container(&entry, &value);
            dbus_message_iter_close_container(&results, &entry);
        }
        dbus_message_iter_close_container(&iter, &results);
        Send(signal);
    }

    const Behaviour behaviour_;
    DBusConnection* connection_;
    std::string calls_;
    std::atomic<int> callCount_{0};
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

} // namespace keldra::test
