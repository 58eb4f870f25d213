#include "BusPeer.h"

#include <mutex>
#include <stdexcept>

#include "Limit.h"
#include "Main.h"
#include "Wire.h"

namespace {

std::mutex g_mutex;  // between the tests' thread and GDBus's
const std::string kBus = "org.freedesktop.DBus";
constexpr unsigned kAtOnce = 7;  // allow replacement, replace, do not queue
constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

GDBusConnection* Connect() {
    g_autoptr(GError) error = nullptr;
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        std::getenv("DBUS_SYSTEM_BUS_ADDRESS"), kFlags, nullptr, nullptr, &error);
    return connection != nullptr ? connection : throw std::runtime_error(error->message);
}

/// The path, interface and member of a call or a signal, each with a blank behind it.
std::string Subject(GDBusMessage* message) {
    return std::string(g_dbus_message_get_path(message)) + ' ' +
           g_dbus_message_get_interface(message) + ' ' + g_dbus_message_get_member(message) + ' ';
}

void Send(const BusPeer::Call& call, GDBusMessage* reply) {
    const Handle<GDBusMessage> owned(reply);
    g_dbus_connection_send_message(call.connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                   nullptr);
}

}  // namespace

void BusPeer::Call::Reply(GVariant* body) const {
    GDBusMessage* reply = g_dbus_message_new_method_reply(message);
    g_dbus_message_set_body(reply, body);
    Send(*this, reply);
}

void BusPeer::Call::Refuse() const {
    Send(*this, g_dbus_message_new_method_error_literal(message, "com.example.Bad", "{}"));
}

void BusPeer::Call::Leave() const {
    g_dbus_connection_close(connection, nullptr, nullptr, nullptr);
}

BusPeer::BusPeer(const std::string& name, Script script)
    : m_name(name), m_script(std::move(script)), m_connection(Connect()) {
    namespace Wire = Corvane::Wire;
    const std::string path = Wire::ObjectPath(name) + ' ';
    m_calls = {path + Wire::kInterface + ' ' + Wire::kMethod + ' ' + Wire::kRequestTypes,
               path + name + " SendMessage suss", path + name + " SendMessageWithBuffer sussa(y)"};
    {
        const std::lock_guard lock(g_mutex);
        g_dbus_connection_add_filter(
            m_connection.get(),
            [](GDBusConnection*, GDBusMessage* message, gboolean incoming, void* peer) {
                return incoming != FALSE && static_cast<BusPeer*>(peer)->Take(message)
                           ? (g_object_unref(message), nullptr)
                           : message;
            },
            this, nullptr);
    }
    if (m_script) {
        CallBus("RequestName", g_variant_new("(su)", name.c_str(), kAtOnce));
    } else {
        const std::string rule = "type='signal',sender='" + name + '\'';
        CallBus("AddMatch", g_variant_new("(s)", rule.c_str()));
    }
}

BusPeer::~BusPeer() {
    g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr);  // waits for the script
    const std::lock_guard lock(g_mutex);
    g_async_queue_unref(m_seen);
}

BusPeer::Script BusPeer::Says(const std::string& value) {
    return [value](const Call& call) { call.Reply(g_variant_new_parsed(value.c_str())); };
}

BusPeer::Script BusPeer::SaysText(const std::string& text) {
    return [text](const Call& call) { call.Reply(g_variant_new("(s)", text.c_str())); };
}

std::string BusPeer::Next() {
    constexpr std::chrono::microseconds kLimit = kHang;
    NoteWait("a message to or from " + m_name);
    const Handle<GDBusMessage> message(
        static_cast<GDBusMessage*>(g_async_queue_timeout_pop(m_seen, kLimit.count())));
    if (message == nullptr) {
        throw std::runtime_error("Waited in vain for a message to or from " + m_name);
    }
    g_autofree char* body = g_variant_print(g_dbus_message_get_body(message.get()), TRUE);
    return Subject(message.get()) + body;
}

/// Calls the bus itself, which knows then of everything that was sent before.
void BusPeer::CallBus(const char* method, GVariant* arguments) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) answer = g_dbus_connection_call_sync(
        m_connection.get(), kBus.c_str(), "/org/freedesktop/DBus", kBus.c_str(), method, arguments,
        nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (answer == nullptr) {
        throw std::runtime_error(std::string(method) + ": " + error->message);
    }
}

/// @return false for a message that is left to GDBus.
bool BusPeer::Take(GDBusMessage* message) {
    const std::lock_guard lock(g_mutex);
    const GDBusMessageType type = g_dbus_message_get_message_type(message);
    const bool served = type == G_DBUS_MESSAGE_TYPE_METHOD_CALL &&
                        m_calls.count(Subject(message) + g_dbus_message_get_signature(message)) > 0;
    if (served ||
        (type == G_DBUS_MESSAGE_TYPE_SIGNAL && g_dbus_message_get_sender(message) != kBus)) {
        g_async_queue_push(m_seen, g_object_ref(message));
    }
    if (served) {
        m_script({m_connection.get(), message});
    }
    return served;
}
