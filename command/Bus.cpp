// The bus server toolkit at hand: serve a name, call one, send a signal, listen to signals.
#include <TermsDbusUtil.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "BusLoop.h"
#include "BusMessages.h"
#include "BusServer.h"

namespace {

constexpr std::uintmax_t kLargestPayload = 4000000;  // on the bus eight times as many: 32 MB
constexpr int kLongestWait = 3600000;                // an hour

Answer NoBus() {
    return Local(false, "",
                 "There is no system bus, or it has gone: start it, or set DBUS_SYSTEM_BUS_ADDRESS "
                 "to the address of one.");
}

/// A server, and whether the bus gives it its name. That shows when the loop runs.
class Owner {
  public:
    explicit Owner(const std::string& name, unsigned count = 0)
        : server(name), loop(std::in_place, count) {
        server.On(TERMS_DBUS_CALLBACK_NAME_ACQUIRED, &Owner::OnAcquired, this);
        server.On(TERMS_DBUS_CALLBACK_NAME_LOST, &Owner::OnLost, this);
    }
    virtual ~Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    /// Runs the loop until the bus refuses the name or something else ends it.
    /// @return false when there is no bus.
    bool Run() { return server.Create() && loop->Run(); }

    BusServer server;
    std::optional<BusLoop> loop;
    bool wasOurs = false;

  private:
    /// Hears of the name from when it is ours.
    virtual void Note(bool /*isOurs*/) { loop->Quit(); }

    static void OnAcquired(void* owner) {
        static_cast<Owner*>(owner)->wasOurs = true;
        static_cast<Owner*>(owner)->Note(true);
    }
    static void OnLost(void* owner) {
        auto& self = *static_cast<Owner*>(owner);
        if (self.wasOurs) {
            self.Note(false);
        } else {
            self.loop->Quit();
        }
    }
};

Answer NotOurs(const std::string& name) {
    return Local(
        false, "",
        "The name " + name +
            " is another's or not for this user to own: end the program that has it, let the "
            "bus's policy allow it, or use another name.");
}

class Serving : public Owner {
  public:
    explicit Serving(const Options& given)
        : Owner(given.name, given.count.value_or(0)), m_given(given) {
        server.On(TERMS_DBUS_CALLBACK_MESSAGE, &Serving::OnMessage, this);
    }

  private:
    void Note(bool isOurs) override {
        const bool busIsGone = g_dbus_connection_is_closed(loop->Connection()) != FALSE;
        PrintEvent(m_given, isOurs ? "acquired" : "lost",
                   (isOurs ? "Serving " : "Lost ") + m_given.name +
                       (isOurs || busIsGone ? "." : " to another program: waiting for its end."));
    }
    static int OnMessage(const char* /*method*/, TermsDbusMessage* request, TermsDbusMessage* reply,
                         void* serving) {
        auto& self = *static_cast<Serving*>(serving);
        Print(self.m_given, ToJson(*request), ToText(*request));
        auto* bytes = static_cast<std::uint8_t*>(AllocateTermsDbusBuffer(request->buffer_size));
        std::copy_n(request->buffer, bytes != nullptr ? request->buffer_size : 0, bytes);
        InitiateTermsDbusMessage(reply, DuplicateTermsDbusText(self.m_given.name.c_str()),
                                 request->code, DuplicateTermsDbusText(request->type),
                                 DuplicateTermsDbusText(request->message), bytes,
                                 request->buffer_size);
        self.loop->Count();
        return 1;
    }

    const Options& m_given;
};

struct Listening {
    const Options& given;
    BusLoop loop{given.count.value_or(0)};

    static void OnSignal(GDBusConnection* /*connection*/, const char* /*sender*/,
                         const char* /*path*/, const char* /*interface*/, const char* signal,
                         GVariant* body, void* listening) {
        auto& self = *static_cast<Listening*>(listening);
        TermsDbusUtil::OwnedMessage message;
        TermsDbusUtil::MakeParamsToMessage(body, message);
        if (message.from == nullptr) {
            return;  // some other program's
        }
        Json::Value json = ToJson(message);
        json["signal"] = signal;
        Print(self.given, json, std::string(signal) + ": " + ToText(message));
        self.loop.Count();
    }
};

/// Serves a name: shows each message and sends it back.
Answer Serve(CVerantiAPI& /*client*/, const Options& given) {
    Serving serving{given};
    if (!serving.Run()) {
        return NoBus();
    }
    return serving.wasOurs ? Local(true, "Stopped serving " + given.name + '.', "")
                           : NotOurs(given.name);
}

Answer Call(CVerantiAPI& /*client*/, const Options& given) {
    // A caller is a server too, but needs no name. A bus that refuses it has to be heard, else GLib
    // warns when the name is given back.
    Owner owner("com.velmora.tv.veranti.pid" + std::to_string(getpid()));
    if (!owner.Run()) {
        return NoBus();
    }
    owner.loop.reset();  // from here on SIGINT ends the program
    OutgoingMessage request(given);
    TermsDbusUtil::OwnedMessage reply;
    if (SendTermsDbusSyncMessage(owner.server.Name(), given.name.c_str(), &request, &reply,
                                 given.timeout) == 0 ||
        reply.message == nullptr) {
        return Local(false, "",
                     "No server " + given.name +
                         " answered with a message: start one, such as veranti bus serve " +
                         given.name + ", or give it more time with --timeout.");
    }
    Json::Value content;
    const bool refused =
        ReadJson(reply.message, content) && content.isObject() && content["dbus_result"] == "fail";
    Answer answer = Local(!refused, ToText(reply),
                          "The server " + given.name + " could not handle the message.");
    answer.json = ToJson(reply);
    return answer;
}

/// Sends a signal from a name, which has to be the sender's for the time.
Answer Signal(CVerantiAPI& /*client*/, const Options& given) {
    Owner owner(given.name);
    if (!owner.Run()) {
        return NoBus();
    }
    if (!owner.wasOurs) {
        return NotOurs(given.name);
    }
    OutgoingMessage message(given);
    const bool sent = SendTermsDbusSignal(owner.server.Name(), given.signal.c_str(), &message) != 0;
    return Local(sent, "Sent " + given.signal + " from " + given.name + '.',
                 "The bus did not take the signal: see that it is up, and try again.");
}

Answer Listen(CVerantiAPI& /*client*/, const Options& given) {
    Listening listening{given};
    GDBusConnection* connection = listening.loop.Connection();
    if (connection == nullptr) {
        return NoBus();
    }
    const unsigned subscription = g_dbus_connection_signal_subscribe(
        connection, given.name.c_str(), given.name.c_str(), nullptr, nullptr, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, &Listening::OnSignal, &listening, nullptr);
    // When the bus has answered anything, it knows of the subscription.
    g_autoptr(GVariant) answer = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetId", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    bool done = answer != nullptr;
    if (done) {
        PrintEvent(given, "listening", "Listening to " + given.name + '.');
        done = listening.loop.Run();
    }
    g_dbus_connection_signal_unsubscribe(connection, subscription);
    return done ? Local(true, "Stopped listening to " + given.name + '.', "") : NoBus();
}

std::string Fault(bool valid, const std::string& value, const std::string& advice) {
    return valid ? "" : '"' + value + "\" is no " + advice;
}

/// A name whose object has a path, too.
std::string CheckName(const std::string& name) {
    const bool valid = g_dbus_is_name(name.c_str()) != FALSE && name[0] != ':' &&
                       name.find('-') == std::string::npos;
    return Fault(valid, name,
                 "name for a server: use two or more words of letters, digits and _ with dots "
                 "between them.");
}

std::string CheckFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::file_size(path, error) == 1 && std::ifstream(path).get() == 0) {
        return Fault(false, path,
                     "file to send: a single zero byte stands for none on the bus. Add a byte, or "
                     "leave the file out.");
    }
    const bool valid = std::filesystem::is_regular_file(path, error) &&
                       std::filesystem::file_size(path, error) <= kLargestPayload && !error;
    return Fault(
        valid, path,
        "file to send: give one of at most " + std::to_string(kLargestPayload) + " bytes.");
}

std::string CheckSignal(const std::string& signal) {
    return Fault(g_dbus_is_member_name(signal.c_str()) != FALSE, signal,
                 "name for a signal: use letters, digits and _.");
}

}  // namespace

void AddBus(const Subcommands& add) {
    Options& given = add.given;
    const Subcommands addToBus{
        add.command.AddSubcommand("bus", "Talk to other programs as a bus server does", nullptr),
        given, add.chosen};
    const Argument name = {"NAME", &given.name, "A bus name", kRequired, {&CheckName}};
    const Argument signal = {
        "SIGNAL", &given.signal, "The signal's name", kRequired, {&CheckSignal}};
    const Argument text = {"TEXT", &given.text, "The message's text", kRequired};
    const Argument buffer = {
        "--buffer", &given.file, "A file whose bytes go with it", kOptional, {&CheckFile}};
    const Argument type = {"--type", &given.type, "The message's type"};
    const Argument code = {"--code", &given.code, "The message's code"};
    const Argument timeout = {"--timeout", &given.timeout, "How long to wait, in milliseconds",
                              kOptional, InRange(1, kLongestWait)};
    const Argument count = {"--count", &given.count, "Stop after so many messages"};
    addToBus("serve", "Own a name; show each message and send it back", &Serve, {name, count});
    addToBus("call", "Send a message to the owner of a name and show the answer", &Call,
             {name, text, buffer, type, code, timeout});
    addToBus("signal", "Own a name for a moment and send a signal from it", &Signal,
             {name, signal, text, buffer, type, code});
    addToBus("listen", "Show the signals from a name", &Listen, {name, count});
}
