#include <gio/gio.h>

#include <cstdlib>

#include "../Interleaved.h"
#include "../ServerThread.h"
#include "Peers.h"
#include "World.h"

namespace {

constexpr char kName[] = "com.example.GDBus";
constexpr char kPath[] = "/com/example/GDBus";
constexpr char kXml[] =
    "<node><interface name='com.example.GDBus'>"
    "<method name='SendMessage'>"
    "<arg type='s' direction='in'/><arg type='u' direction='in'/>"
    "<arg type='s' direction='in'/><arg type='s' direction='in'/>"
    "<arg type='s' direction='out'/><arg type='u' direction='out'/>"
    "<arg type='s' direction='out'/><arg type='s' direction='out'/>"
    "<arg type='a(y)' direction='out'/></method>"
    "<method name='SendMessageWithBuffer'>"
    "<arg type='s' direction='in'/><arg type='u' direction='in'/>"
    "<arg type='s' direction='in'/><arg type='s' direction='in'/>"
    "<arg type='a(y)' direction='in'/>"
    "<arg type='s' direction='out'/><arg type='u' direction='out'/>"
    "<arg type='s' direction='out'/><arg type='s' direction='out'/>"
    "<arg type='a(y)' direction='out'/></method></interface></node>";

std::string Ask(const std::string& request) {
    const Handle<GDBusConnection> bus(g_dbus_connection_new_for_address_sync(
        std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
    Check(bus != nullptr, "GDBus: no bus");
    g_autoptr(GVariant) reply = g_dbus_connection_call_sync(
        bus.get(), Terms::kName, Terms::kPath, Terms::kInterface, Terms::kMethod,
        g_variant_new("(ss)", "", request.c_str()), G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE,
        G_MAXINT, nullptr, nullptr);
    Check(reply != nullptr, "GDBus: no reply");
    const char* text = nullptr;
    g_variant_get(reply, "(&s)", &text);
    g_dbus_connection_close_sync(bus.get(), nullptr, nullptr);
    return text;
}

GVariant* Wrap(const Bytes& bytes) {
    return g_variant_new_from_data(G_VARIANT_TYPE("a(y)"), bytes.data(), bytes.size(), TRUE,
                                   nullptr, nullptr);
}

Bytes Unwrap(GVariant* payload) {
    const auto* data = static_cast<const std::uint8_t*>(g_variant_get_data(payload));
    return {data, data + g_variant_get_size(payload)};
}

void Answer(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/,
            const char* /*interface*/, const char* /*method*/, GVariant* arguments,
            GDBusMethodInvocation* invocation, void* /*data*/) {
    const char* from = nullptr;
    const char* type = nullptr;
    const char* text = nullptr;
    std::uint32_t code = 0;
    Bytes bytes = kNoBytes;
    if (g_variant_n_children(arguments) == 5) {
        g_autoptr(GVariant) payload = nullptr;
        g_variant_get(arguments, "(&su&s&s@a(y))", &from, &code, &type, &text, &payload);
        bytes = Unwrap(payload);
    } else {
        g_variant_get(arguments, "(&su&s&s)", &from, &code, &type, &text);
    }
    g_dbus_method_invocation_return_value(
        invocation, g_variant_new("(suss@a(y))", from, code, type, text, Wrap(bytes)));
}

/// Both ends have the process's shared connection, as the toolkit's have.
class GDBusEcho : public Echo {
  public:
    Bytes Call(const Bytes& bytes) override {
        using namespace Greeting;
        g_autoptr(GVariant) reply = g_dbus_connection_call_sync(
            m_connection.get(), kName, kPath, kName, bytes.empty() ? kPlainMethod : kBufferMethod,
            bytes.empty() ? g_variant_new("(suss)", kFrom, kCode, kType, kText)
                          : g_variant_new("(suss@a(y))", kFrom, kCode, kType, kText, Wrap(bytes)),
            nullptr, G_DBUS_CALL_FLAGS_NONE, G_MAXINT, nullptr, nullptr);
        Check(reply != nullptr, "GDBus: no reply");
        g_autoptr(GVariant) payload = g_variant_get_child_value(reply, 4);
        return Unwrap(payload);
    }

  private:
    void Start() {
        static const GDBusInterfaceVTable vtable = {&Answer, nullptr, nullptr, {}};
        g_autoptr(GDBusNodeInfo) node = g_dbus_node_info_new_for_xml(kXml, nullptr);
        m_object = g_dbus_connection_register_object(m_connection.get(), kPath, node->interfaces[0],
                                                     &vtable, nullptr, nullptr, nullptr);
        // At once, where g_bus_own_name() would do it later.
        g_autoptr(GVariant) owned = g_dbus_connection_call_sync(
            m_connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
            "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", kName, 0U), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        Check(m_object != 0 && owned != nullptr, "GDBus: no server");
    }
    void Stop() { g_dbus_connection_unregister_object(m_connection.get(), m_object); }

    const Handle<GDBusConnection> m_connection{g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr)};
    unsigned m_object = 0;
    const ServerThread m_serving{[this] { Start(); }, [this] { Stop(); }};
};

}  // namespace

const Peer kGDBus = {"GDBus", Ask,
                     []() -> std::unique_ptr<Echo> { return std::make_unique<GDBusEcho>(); }};
