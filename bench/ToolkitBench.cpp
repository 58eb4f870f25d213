// A message to a bus server and back through the toolkit, against peers that carry the same tuples,
// each with a caller and a server on a thread of its own. toolkit-bench [ROUNDS]
#include <cstdlib>
#include <optional>
#include <tuple>
#include <utility>

#include "Interleaved.h"
#include "ServerThread.h"
#include "TermsDbusServer.h"
#include "World.h"
#include "peers/Peers.h"

namespace {

constexpr char kName[] = "com.example.Toolkit";

int Answer(const char* /*method*/, TermsDbusMessage* request, TermsDbusMessage* reply,
           void* /*data*/) {
    // The request's own blocks do for the reply.
    std::swap(*request, *reply);
    return 1;
}

class ToolkitEcho : public Echo {
  public:
    ToolkitEcho() {
        m_server.RegisterCallabck(TERMS_DBUS_CALLBACK_MESSAGE, reinterpret_cast<void*>(&Answer),
                                  nullptr);
        m_serving.emplace([this] { Check(m_server.CreateDbusServer(kName), "no server"); },
                          [this] { m_server.CloseDbusServer(); });
        Check(m_caller.CreateDbusServer("com.example.Caller"), "no caller");
    }
    ~ToolkitEcho() override { m_caller.CloseDbusServer(); }
    ToolkitEcho(const ToolkitEcho&) = delete;
    ToolkitEcho& operator=(const ToolkitEcho&) = delete;

    Bytes Call(const Bytes& bytes) override {
        std::string from = Greeting::kFrom;
        std::string type = Greeting::kType;
        std::string text = Greeting::kText;
        Bytes payload = bytes;
        const TermsDbusMessage request = {from.data(),    Greeting::kCode,
                                          type.data(),    text.data(),
                                          payload.data(), static_cast<std::uint32_t>(bytes.size())};
        TermsDbusMessage reply{};
        Check(m_caller.SendDbusSyncMessage(kName, request, reply, -1), "the toolkit: no answer");
        Bytes answer(reply.buffer, reply.buffer + reply.buffer_size);
        ReleaseTermsDbusMessage(&reply);
        return answer;
    }

  private:
    TermsDbusServer m_server{"server"};
    TermsDbusServer m_caller{"caller"};
    std::optional<ServerThread> m_serving;
};

/// GDBus walks an a(y) byte by byte, on the way out and on the way in, for a call and its reply.
void MeasureDesign(ToolkitEcho& toolkit, const Bytes& bytes, int rounds) {
    const Handle<GDBusMessage> message(g_dbus_message_new_method_call(kName, "/a", kName, "A"));
    g_dbus_message_set_serial(message.get(), 1);
    g_dbus_message_set_body(
        message.get(),
        g_variant_new("(suss@a(y))", Greeting::kFrom, Greeting::kCode, Greeting::kType,
                      Greeting::kText,
                      g_variant_new_from_data(G_VARIANT_TYPE("a(y)"), bytes.data(), bytes.size(),
                                              TRUE, nullptr, nullptr)));
    const auto writeAndRead = [&message] {
        std::size_t size = 0;
        const std::unique_ptr<guchar, decltype(&g_free)> blob(
            g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr),
            &g_free);
        const Handle<GDBusMessage> read(
            g_dbus_message_new_from_blob(blob.get(), size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr));
        Check(read != nullptr, "GDBus does not read what it wrote");
    };
    std::vector<Contender> contenders = {{"as it is", [&] { toolkit.Call(bytes); }},
                                         {"GDBus's writing and reading of it alone", [&] {
                                              writeAndRead();  // the call
                                              writeAndRead();  // the reply
                                          }}};
    RunInterleaved(contenders, rounds);
    PrintRatios("the design of a message, 64 KB", contenders);
}

void Measure(int rounds) {
    setenv("VERANTI_LOG", "off", 1);
    const PrivateBus bus;
    const Handle<GDBusConnection> connection(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);

    ToolkitEcho toolkit;
    std::vector<std::pair<const char*, std::unique_ptr<Echo>>> echoes;
    for (const Peer& peer : {kSdBus, kSdbusCpp, kLibDbus, kGDBus}) {
        echoes.emplace_back(peer.name, peer.makeEcho());
    }
    const std::tuple<const char*, int, int> messages[] = {{"a message", 0, 1},
                                                          {"a message, 64 KB", 64 << 10, 100},
                                                          {"a message, 1 MB", 1 << 20, 500}};
    for (const auto& [what, size, share] : messages) {
        const Bytes bytes(static_cast<std::size_t>(size), 7);
        const auto call = [&bytes](Echo& echo) {
            const Bytes answer = echo.Call(bytes);
            Check(answer == bytes || bytes.empty(), "not what was sent");
        };
        std::vector<Contender> contenders = {{"the library", [&] { call(toolkit); }}};
        for (const auto& [name, echo] : echoes) {
            contenders.push_back({name, [&call, peer = echo.get()] { call(*peer); }});
        }
        RunInterleaved(contenders, rounds / share + 1);
        PrintRatios(what, contenders);
    }
    MeasureDesign(toolkit, Bytes(64 << 10, 7), rounds / 100 + 1);
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 5000, Measure);
}
