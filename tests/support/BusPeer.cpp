#include "BusPeer.h"

#include <algorithm>

namespace {

std::string Path(std::string name) {
    std::replace(name.begin(), name.end(), '.', '/');
    return '/' + name;
}

std::string Interface(const std::string& name) {
    const std::string arguments =
        "<arg type='s' direction='in'/><arg type='u' direction='in'/>"
        "<arg type='s' direction='in'/><arg type='s' direction='in'/>";
    return "<node><interface name='" + name + "'><method name='SendMessage'>" + arguments +
           "</method><method name='SendMessageWithBuffer'>" + arguments +
           "<arg type='a(y)' direction='in'/></method></interface></node>";
}

/// Calls the bus itself, and so waits until it knows what was sent before.
void CallBus(GDBusConnection* connection, const char* method, GVariant* arguments) {
    g_autoptr(GVariant) answer = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
        arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (answer == nullptr) {
        throw std::runtime_error(method);
    }
}

}  // namespace

BusPeer::BusPeer(const std::string& name, Script script) : m_script(std::move(script)) {
    std::promise<void> ready;
    m_thread = std::thread([this, name, &ready] { Run(name, ready); });
    ready.get_future().wait();
}

BusPeer::BusPeer(const std::string& sender) : BusPeer(sender, nullptr) {}

BusPeer::~BusPeer() {
    // A source of the peer's own, so that it ends also when its loop has yet to start.
    GSource* source = g_idle_source_new();
    g_source_set_callback(
        source, [](void* loop) { return g_main_loop_quit(static_cast<GMainLoop*>(loop)), 0; },
        m_loop, nullptr);
    g_source_attach(source, m_context);
    g_source_unref(source);
    m_thread.join();
    g_main_loop_unref(m_loop);
    g_main_context_unref(m_context);
}

void BusPeer::Reply(GDBusMethodInvocation* invocation, GVariant* value) {
    const Handle<GDBusMessage> reply(
        g_dbus_message_new_method_reply(g_dbus_method_invocation_get_message(invocation)));
    g_dbus_message_set_body(reply.get(), value);
    g_dbus_connection_send_message(g_dbus_method_invocation_get_connection(invocation), reply.get(),
                                   G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(invocation);
}

void BusPeer::Run(const std::string& name, std::promise<void>& ready) {
    g_main_context_push_thread_default(m_context);
    m_connection = g_dbus_connection_new_for_address_sync(
        std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    if (m_script) {
        Serve(name);
    } else {
        Listen(name);
    }
    ready.set_value();
    g_main_loop_run(m_loop);
    g_dbus_connection_close_sync(m_connection, nullptr, nullptr);
    g_object_unref(m_connection);
    g_main_context_pop_thread_default(m_context);
}

void BusPeer::Serve(const std::string& name) {
    static const GDBusInterfaceVTable vtable = {
        [](GDBusConnection*, const char*, const char*, const char*, const char*,
           GVariant* arguments, GDBusMethodInvocation* invocation,
           void* peer) { static_cast<BusPeer*>(peer)->m_script(invocation, arguments); },
        nullptr,
        nullptr,
        {}};
    g_autoptr(GDBusNodeInfo) node = g_dbus_node_info_new_for_xml(Interface(name).c_str(), nullptr);
    g_dbus_connection_register_object(m_connection, Path(name).c_str(), node->interfaces[0],
                                      &vtable, this, nullptr, nullptr);
    CallBus(m_connection, "RequestName", g_variant_new("(su)", name.c_str(), 0U));
}

void BusPeer::Listen(const std::string& sender) {
    g_dbus_connection_signal_subscribe(
        m_connection, sender.c_str(), nullptr, nullptr, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char* path, const char* interface,
           const char* signal, GVariant* body, void* peer) {
            g_autofree char* text = g_variant_print(body, TRUE);
            static_cast<BusPeer*>(peer)->m_signal.set_value(std::string(path) + ' ' + interface +
                                                            ' ' + signal + ' ' + text);
        },
        this, nullptr);
    CallBus(m_connection, "GetId", nullptr);
}
