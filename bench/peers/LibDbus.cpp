#include <dbus/dbus.h>

#include <thread>

#include "../Interleaved.h"
#include "Peers.h"

namespace {

constexpr char kName[] = "com.example.LibDbus";
constexpr char kPath[] = "/com/example/LibDbus";
constexpr char kStop[] = "Stop";

struct Release {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Connection = std::unique_ptr<DBusConnection, Release>;
using Message = std::unique_ptr<DBusMessage, Release>;

void Good(dbus_bool_t result) {
    Check(result != FALSE, "libdbus: an error");
}

Connection Open() {
    Connection connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr));
    Check(connection != nullptr, "libdbus: no bus");
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    return connection;
}

Message Call(const Connection& connection, const Message& call) {
    Message reply(dbus_connection_send_with_reply_and_block(connection.get(), call.get(),
                                                            DBUS_TIMEOUT_INFINITE, nullptr));
    Check(reply != nullptr, "libdbus: no reply");
    return reply;
}

std::string Ask(const std::string& request) {
    const Connection connection = Open();
    const Message call(dbus_message_new_method_call(Terms::kName, Terms::kPath, Terms::kInterface,
                                                    Terms::kMethod));
    const char* protocol = "";
    const char* body = request.c_str();
    Good(dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &protocol, DBUS_TYPE_STRING, &body,
                                  DBUS_TYPE_INVALID));
    const Message reply = Call(connection, call);
    const char* text = nullptr;
    Good(dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID));
    return text;
}

void AppendHead(DBusMessage* message, const char* from, std::uint32_t code, const char* type,
                const char* text) {
    Good(dbus_message_append_args(message, DBUS_TYPE_STRING, &from, DBUS_TYPE_UINT32, &code,
                                  DBUS_TYPE_STRING, &type, DBUS_TYPE_STRING, &text,
                                  DBUS_TYPE_INVALID));
}

void AppendBytes(DBusMessage* message, const Bytes& bytes) {
    DBusMessageIter all;
    DBusMessageIter array;
    DBusMessageIter wrapped;
    dbus_message_iter_init_append(message, &all);
    Good(dbus_message_iter_open_container(&all, DBUS_TYPE_ARRAY, "(y)", &array));
    for (const std::uint8_t byte : bytes) {
        Good(dbus_message_iter_open_container(&array, DBUS_TYPE_STRUCT, nullptr, &wrapped));
        Good(dbus_message_iter_append_basic(&wrapped, DBUS_TYPE_BYTE, &byte));
        Good(dbus_message_iter_close_container(&array, &wrapped));
    }
    Good(dbus_message_iter_close_container(&all, &array));
}

/// The fifth of a message's arguments.
Bytes ReadBytes(DBusMessage* message) {
    Bytes bytes;
    DBusMessageIter all;
    DBusMessageIter array;
    DBusMessageIter wrapped;
    Good(dbus_message_iter_init(message, &all));
    for (int i = 0; i < 4; ++i) {
        dbus_message_iter_next(&all);
    }
    for (dbus_message_iter_recurse(&all, &array);
         dbus_message_iter_get_arg_type(&array) == DBUS_TYPE_STRUCT;
         dbus_message_iter_next(&array)) {
        dbus_message_iter_recurse(&array, &wrapped);
        std::uint8_t byte = 0;
        dbus_message_iter_get_basic(&wrapped, &byte);
        bytes.push_back(byte);
    }
    return bytes;
}

DBusHandlerResult Answer(DBusConnection* connection, DBusMessage* call, void* stopped) {
    if (dbus_message_is_method_call(call, kName, kStop) != FALSE) {
        *static_cast<bool*>(stopped) = true;
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    const char* from = nullptr;
    const char* type = nullptr;
    const char* text = nullptr;
    std::uint32_t code = 0;
    Good(dbus_message_get_args(call, nullptr, DBUS_TYPE_STRING, &from, DBUS_TYPE_UINT32, &code,
                               DBUS_TYPE_STRING, &type, DBUS_TYPE_STRING, &text,
                               DBUS_TYPE_INVALID));
    const Message reply(dbus_message_new_method_return(call));
    AppendHead(reply.get(), from, code, type, text);
    const bool plain = dbus_message_has_member(call, kPlainMethod) != FALSE;
    AppendBytes(reply.get(), plain ? kNoBytes : ReadBytes(call));
    Good(dbus_connection_send(connection, reply.get(), nullptr));
    return DBUS_HANDLER_RESULT_HANDLED;
}

class LibDbusEcho : public Echo {
  public:
    LibDbusEcho() {
        static const DBusObjectPathVTable vtable = {nullptr, Answer,  nullptr,
                                                    nullptr, nullptr, nullptr};
        Good(dbus_connection_register_object_path(m_server.get(), kPath, &vtable, &m_stopped));
        Check(dbus_bus_request_name(m_server.get(), kName, 0, nullptr) > 0, "libdbus: no name");
        m_thread = std::thread([this] {
            while (!m_stopped) {
                Good(dbus_connection_read_write_dispatch(m_server.get(), -1));
            }
        });
    }
    ~LibDbusEcho() override {
        const Message stop(dbus_message_new_method_call(kName, kPath, kName, kStop));
        dbus_connection_send(m_caller.get(), stop.get(), nullptr);
        dbus_connection_flush(m_caller.get());
        m_thread.join();
    }
    LibDbusEcho(const LibDbusEcho&) = delete;
    LibDbusEcho& operator=(const LibDbusEcho&) = delete;

    Bytes Call(const Bytes& bytes) override {
        const Message call(dbus_message_new_method_call(
            kName, kPath, kName, bytes.empty() ? kPlainMethod : kBufferMethod));
        AppendHead(call.get(), Greeting::kFrom, Greeting::kCode, Greeting::kType, Greeting::kText);
        if (!bytes.empty()) {
            AppendBytes(call.get(), bytes);
        }
        return ReadBytes(::Call(m_caller, call).get());
    }

  private:
    const Connection m_server = Open();
    const Connection m_caller = Open();
    bool m_stopped = false;  // read and written by the thread alone
    std::thread m_thread;
};

}  // namespace

const Peer kLibDbus = {"libdbus", Ask,
                       []() -> std::unique_ptr<Echo> { return std::make_unique<LibDbusEcho>(); }};
