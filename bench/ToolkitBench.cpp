// A message to a bus server and back through the toolkit, against a caller and a server written on
// GDBus by hand that carry the same tuples. Both have the process's shared connection and a thread
// for each server. toolkit-bench [ROUNDS]
#include <algorithm>
#include <cstdio>
#include <future>
#include <thread>

#include "Interleaved.h"
#include "TermsDbusServer.h"
#include "World.h"

namespace {

constexpr char kToolkitName[] = "com.example.Toolkit";
constexpr char kPlainName[] = "com.example.Plain";
constexpr char kPlainPath[] = "/com/example/Plain";
constexpr char kPlainXml[] =
    "<node><interface name='com.example.Plain'>"
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

/// A main loop on a thread of its own, with what a function starts there.
class ServerThread {
  public:
    ServerThread(const std::function<void()>& start, const std::function<void()>& stop) {
        std::promise<void> ready;
        m_thread = std::thread([this, &start, stop, &ready] {
            g_main_context_push_thread_default(m_context);
            start();
            ready.set_value();
            g_main_loop_run(m_loop);
            stop();
            g_main_context_pop_thread_default(m_context);
        });
        ready.get_future().wait();
    }
    ~ServerThread() {
        g_main_loop_quit(m_loop);
        m_thread.join();
        g_main_loop_unref(m_loop);
        g_main_context_unref(m_context);
    }
    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;

  private:
    GMainContext* m_context = g_main_context_new();
    GMainLoop* m_loop = g_main_loop_new(m_context, FALSE);
    std::thread m_thread;
};

int EchoThroughTheToolkit(const char* /*method*/, TermsDbusMessage* request,
                          TermsDbusMessage* reply, void* /*data*/) {
    // The request's own blocks do for the reply.
    std::swap(*request, *reply);
    return 1;
}

GVariant* Wrap(const std::vector<std::uint8_t>& bytes) {
    return g_variant_new_from_data(G_VARIANT_TYPE("a(y)"), bytes.data(), bytes.size(), TRUE,
                                   nullptr, nullptr);
}

void EchoByHand(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/,
                const char* /*interface*/, const char* /*method*/, GVariant* arguments,
                GDBusMethodInvocation* invocation, void* /*data*/) {
    static const std::vector<std::uint8_t> nothing = {0};
    const char* from = nullptr;
    const char* type = nullptr;
    const char* message = nullptr;
    std::uint32_t code = 0;
    std::vector<std::uint8_t> bytes;
    if (g_variant_n_children(arguments) == 5) {
        g_autoptr(GVariant) payload = nullptr;
        g_variant_get(arguments, "(&su&s&s@a(y))", &from, &code, &type, &message, &payload);
        const auto* data = static_cast<const std::uint8_t*>(g_variant_get_data(payload));
        bytes.assign(data, data + g_variant_get_size(payload));
    } else {
        g_variant_get(arguments, "(&su&s&s)", &from, &code, &type, &message);
    }
    g_dbus_method_invocation_return_value(invocation,
                                          g_variant_new("(suss@a(y))", from, code, type, message,
                                                        Wrap(bytes.empty() ? nothing : bytes)));
}

void CallThroughTheToolkit(TermsDbusServer& caller, std::vector<std::uint8_t>& bytes) {
    char from[] = "me";
    char type[] = "t";
    char text[] = "hello";
    const TermsDbusMessage request = {
        from, 7, type, text, bytes.data(), static_cast<std::uint32_t>(bytes.size())};
    TermsDbusMessage reply{};
    Check(caller.SendDbusSyncMessage(kToolkitName, request, reply, -1) &&
              reply.buffer_size == bytes.size(),
          "the toolkit: no good answer");
    ReleaseTermsDbusMessage(&reply);
}

void CallByHand(GDBusConnection* connection, const std::vector<std::uint8_t>& bytes) {
    g_autoptr(GVariant) reply = g_dbus_connection_call_sync(
        connection, kPlainName, kPlainPath, kPlainName,
        bytes.empty() ? "SendMessage" : "SendMessageWithBuffer",
        bytes.empty() ? g_variant_new("(suss)", "me", 7U, "t", "hello")
                      : g_variant_new("(suss@a(y))", "me", 7U, "t", "hello", Wrap(bytes)),
        nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    Check(reply != nullptr, "by hand: no reply");
    const char* texts[3] = {};
    std::uint32_t code = 0;
    g_autoptr(GVariant) payload = nullptr;
    g_variant_get(reply, "(&su&s&s@a(y))", &texts[0], &code, &texts[1], &texts[2], &payload);
    const auto* data = static_cast<const std::uint8_t*>(g_variant_get_data(payload));
    const std::vector<std::uint8_t> received(data, data + g_variant_get_size(payload));
    Check(bytes.empty() || received.size() == bytes.size(), "by hand: no good answer");
}

void Measure(int rounds) {
    setenv("VERANTI_LOG", "off", 1);
    const PrivateBus bus;
    const Handle<GDBusConnection> connection(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);

    TermsDbusServer server("server");
    server.RegisterCallabck(TERMS_DBUS_CALLBACK_MESSAGE,
                            reinterpret_cast<void*>(&EchoThroughTheToolkit), nullptr);
    const ServerThread serving([&] { Check(server.CreateDbusServer(kToolkitName), "no server"); },
                               [&] { server.CloseDbusServer(); });

    static const GDBusInterfaceVTable vtable = {&EchoByHand, nullptr, nullptr, {}};
    g_autoptr(GDBusNodeInfo) node = g_dbus_node_info_new_for_xml(kPlainXml, nullptr);
    const ServerThread plain(
        [&] {
            g_dbus_connection_register_object(connection.get(), kPlainPath, node->interfaces[0],
                                              &vtable, nullptr, nullptr, nullptr);
            g_bus_own_name_on_connection(connection.get(), kPlainName, G_BUS_NAME_OWNER_FLAGS_NONE,
                                         nullptr, nullptr, nullptr, nullptr);
        },
        [] {});

    TermsDbusServer caller("caller");
    Check(caller.CreateDbusServer("com.example.Caller"), "no caller");
    for (const auto& [what, size, share] : {std::tuple("a message", 0, 1),
                                            {"with 64 KB", 64 << 10, 50},
                                            {"with 1 MB", 1 << 20, 500}}) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size), 7);
        std::vector<Contender> contenders = {
            {"the toolkit", [&] { CallThroughTheToolkit(caller, bytes); }},
            {"GDBus by hand", [&] { CallByHand(connection.get(), bytes); }}};
        RunInterleaved(contenders, rounds / share);
        std::printf("%s\n", what);
        PrintRatios(contenders);
    }
    caller.CloseDbusServer();
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 5000, Measure);
}
