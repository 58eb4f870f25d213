// The bus server toolkit at hand: serve a name, call one, send a signal, listen to signals.
#include <TermsDbusUtil.h>
#include <unistd.h>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "BusLoop.h"
#include "BusServer.h"
#include "Subcommands.h"
#include "Text.h"

namespace {

constexpr std::uintmax_t kLargestPayload = 4000000;  // on the bus eight times as many: 32 MB
constexpr int kLongestWait = 3600000;                // an hour

/// What the subcommands' options fill.
struct Options {
    std::string name;
    std::string signal;
    std::string text;
    std::string file;  ///< whose bytes go with the text
    std::string type = "text";
    unsigned code = 0;
    int timeout = 25000;  ///< milliseconds
    unsigned count = 0;   ///< after how many messages to stop; 0 for never
};

/// A record to send: it borrows what it is made of.
struct Outgoing : TermsDbusMessage {
    std::string from = "veranti";
    std::string typeText;
    std::string text;
    std::string bytes;

    explicit Outgoing(const Options& options) : TermsDbusMessage() {
        typeText = options.type;
        text = options.text;
        if (!options.file.empty()) {
            std::ostringstream content;
            std::ifstream stream(options.file, std::ios::binary);
            if (!stream) {
                throw std::runtime_error("cannot read \"" + options.file +
                                         "\": give a file that you may read.");
            }
            content << stream.rdbuf();
            bytes = content.str();
        }
        InitiateTermsDbusMessage(this, from.data(), options.code, typeText.data(), text.data(),
                                 reinterpret_cast<std::uint8_t*>(bytes.data()),
                                 static_cast<std::uint32_t>(bytes.size()));
    }
};

/// A text of a received record, which has none when the sender's bytes were of another type.
const char* Text(const char* text) {
    return text != nullptr ? text : "";
}

Json::Value ToJson(const TermsDbusMessage& message) {
    Json::Value json;
    json["from"] = Text(message.from);
    json["code"] = message.code;
    json["type"] = Text(message.type);
    json["message"] = Text(message.message);
    json["buffer"] = Json::nullValue;
    if (message.buffer != nullptr) {
        const std::unique_ptr<char, decltype(&g_free)> base64(
            g_base64_encode(message.buffer, message.buffer_size), &g_free);
        json["buffer"] = base64.get();
    }
    return json;
}

std::string ToText(const TermsDbusMessage& message) {
    std::string text = OneLine(Text(message.from)) + " (" + OneLine(Text(message.type)) +
                       ", code " + std::to_string(message.code);
    if (message.buffer != nullptr) {
        text += ", " + std::to_string(message.buffer_size) + " bytes";
    }
    return text + "): " + OneLine(Text(message.message));
}

/// Prints what happens, while it happens.
void Print(bool asJson, const Json::Value& json, const std::string& text) {
    std::cout << (asJson ? JsonLine(json) : text) << std::endl;
}

void PrintEvent(bool asJson, const std::string& event, const std::string& text) {
    Json::Value json;
    json["event"] = event;
    Print(asJson, json, text);
}

Answer Done(bool done, const std::string& text, const std::string& refusal) {
    Answer answer = Plain(done, text, refusal);
    answer.needsService = false;
    return answer;
}

Answer NoBus() {
    return Done(false, "",
                "There is no system bus, or it has gone: start it, or set DBUS_SYSTEM_BUS_ADDRESS "
                "to the address of one.");
}

/// Serves a name: shows each message and sends it back.
struct Serving {
    Options options;
    bool asJson;
    BusServer server;
    BusLoop loop;

    Serving(const Options& chosen, bool json)
        : options(chosen), asJson(json), server(chosen.name), loop(chosen.count) {}

    static void OnAcquired(void* serving) {
        const auto& self = *static_cast<Serving*>(serving);
        PrintEvent(self.asJson, "acquired", "Serving " + self.options.name + '.');
    }
    static void OnLost(void* serving) {
        const auto& self = *static_cast<Serving*>(serving);
        PrintEvent(self.asJson, "lost", "Lost " + self.options.name + '.');
    }
    static int OnMessage(const char* /*method*/, TermsDbusMessage* request, TermsDbusMessage* reply,
                         void* serving) {
        auto& self = *static_cast<Serving*>(serving);
        Print(self.asJson, ToJson(*request), ToText(*request));
        auto* bytes = static_cast<std::uint8_t*>(AllocateTermsDbusBuffer(request->buffer_size));
        std::copy_n(request->buffer, bytes != nullptr ? request->buffer_size : 0, bytes);
        InitiateTermsDbusMessage(reply, DuplicateTermsDbusText(self.options.name.c_str()),
                                 request->code, DuplicateTermsDbusText(request->type),
                                 DuplicateTermsDbusText(request->message), bytes,
                                 request->buffer_size);
        self.loop.Count();
        return 1;
    }

    Answer Run() {
        server.On(TERMS_DBUS_CALLBACK_NAME_ACQUIRED, &OnAcquired, this);
        server.On(TERMS_DBUS_CALLBACK_NAME_LOST, &OnLost, this);
        server.On(TERMS_DBUS_CALLBACK_MESSAGE, &OnMessage, this);
        if (!server.Create() || !loop.Run()) {
            return NoBus();
        }
        return Done(true, "Stopped serving " + options.name + '.', "");
    }
};

Answer Call(const Options& options) {
    // A caller has a name of its own, so that it is a server too.
    BusServer server("com.velmora.tv.veranti.pid" + std::to_string(getpid()));
    if (!server.Create()) {
        return NoBus();
    }
    Outgoing request(options);
    TermsDbusUtil::OwnedMessage reply;
    if (SendTermsDbusSyncMessage(server.Name(), options.name.c_str(), &request, &reply,
                                 options.timeout) == 0 ||
        reply.message == nullptr) {
        return Done(false, "",
                    "No server " + options.name +
                        " answered with a message: start one, such as veranti bus serve " +
                        options.name + ", or give it more time with --timeout.");
    }
    Json::Value content;
    const bool refused =
        ReadJson(reply.message, content) && content.isObject() && content["dbus_result"] == "fail";
    Answer answer = Done(!refused, ToText(reply),
                         "The server " + options.name + " could not handle the message.");
    answer.json = ToJson(reply);
    return answer;
}

/// Sends a signal from a name, which has to be the sender's for the time.
Answer Signal(const Options& options) {
    BusServer server(options.name);
    BusLoop loop;
    bool acquired = false;
    struct Waiting {
        BusLoop& loop;
        bool& acquired;
    } waiting{loop, acquired};
    server.On(
        TERMS_DBUS_CALLBACK_NAME_ACQUIRED,
        +[](void* data) {
            static_cast<Waiting*>(data)->acquired = true;
            static_cast<Waiting*>(data)->loop.Quit();
        },
        &waiting);
    server.On(
        TERMS_DBUS_CALLBACK_NAME_LOST,
        +[](void* data) { static_cast<Waiting*>(data)->loop.Quit(); }, &waiting);
    if (!server.Create() || !loop.Run()) {
        return NoBus();
    }
    if (!acquired) {
        return Done(
            false, "",
            "The name " + options.name +
                " is another's or not for this user to own: end the program that has it, let the "
                "bus's policy allow it, or send from another name.");
    }
    Outgoing message(options);
    const bool sent = SendTermsDbusSignal(server.Name(), options.signal.c_str(), &message) != 0;
    return Done(sent, "Sent " + options.signal + " from " + options.name + '.',
                "The bus did not take the signal: see that it is up, and try again.");
}

/// Shows the signals of a name.
struct Listening {
    bool asJson;
    BusLoop loop;

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
        Print(self.asJson, json, std::string(signal) + ": " + ToText(message));
        self.loop.Count();
    }
};

Answer Listen(const Options& options, bool asJson) {
    Listening listening{asJson, BusLoop(options.count)};
    GDBusConnection* connection = listening.loop.Connection();
    if (connection == nullptr) {
        return NoBus();
    }
    const unsigned subscription = g_dbus_connection_signal_subscribe(
        connection, options.name.c_str(), options.name.c_str(), nullptr, nullptr, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, &Listening::OnSignal, &listening, nullptr);
    // When the bus has answered anything, it knows of the subscription.
    g_autoptr(GVariant) answer = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetId", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    bool done = answer != nullptr;
    if (done) {
        PrintEvent(asJson, "listening", "Listening to " + options.name + '.');
        done = listening.loop.Run();
    }
    g_dbus_connection_signal_unsubscribe(connection, subscription);
    return done ? Done(true, "Stopped listening to " + options.name + '.', "") : NoBus();
}

/// A name whose object has a path, too.
std::string CheckName(const std::string& name) {
    const bool valid = g_dbus_is_name(name.c_str()) != FALSE && name[0] != ':' &&
                       name.find('-') == std::string::npos;
    return valid ? ""
                 : '"' + name +
                       "\" is no name for a server: use two or more words of letters, digits and _ "
                       "with dots between them.";
}

std::string CheckFile(const std::string& path) {
    std::error_code error;
    const bool valid = std::filesystem::is_regular_file(path, error) &&
                       std::filesystem::file_size(path, error) <= kLargestPayload && !error;
    return valid ? ""
                 : '"' + path + "\" is no file to send: give one of at most " +
                       std::to_string(kLargestPayload) + " bytes.";
}

std::string CheckSignal(const std::string& signal) {
    return g_dbus_is_member_name(signal.c_str()) != FALSE
               ? ""
               : '"' + signal + "\" is no name for a signal: use letters, digits and _.";
}

}  // namespace

void AddBus(CLI::App& app, Action& chosen, const bool& asJson) {
    CLI::App* bus = app.add_subcommand("bus", "Talk to other programs as a bus server does");
    bus->require_subcommand(1);
    bus->fallthrough();
    Registrar requests(*bus, chosen);
    const auto options = Argument<Options>();
    const auto add = [&](const std::string& name, const std::string& help, const Action& action) {
        CLI::App* command = requests.Add(name, help, action);
        command->add_option("NAME", options->name, "A bus name")->required()->check(CheckName);
        return command;
    };
    const auto addMessage = [&](CLI::App* command) {
        command->add_option("TEXT", options->text, "The message's text")->required();
        command->add_option("--buffer", options->file, "A file whose bytes go with it")
            ->check(CheckFile);
        command->add_option("--type", options->type, "The message's type")->capture_default_str();
        command->add_option("--code", options->code, "The message's code")->capture_default_str();
    };
    const auto addCount = [&](CLI::App* command) {
        command->add_option("--count", options->count, "Stop after so many messages");
    };

    addCount(add("serve", "Own a name; show each message and send it back",
                 [options, &asJson](CVerantiAPI&) { return Serving(*options, asJson).Run(); }));
    CLI::App* call = add("call", "Send a message to the owner of a name and show the answer",
                         [options](CVerantiAPI&) { return Call(*options); });
    addMessage(call);
    call->add_option("--timeout", options->timeout, "How long to wait, in milliseconds")
        ->check(CLI::Range(1, kLongestWait))
        ->capture_default_str();
    CLI::App* signal = add("signal", "Own a name for a moment and send a signal from it",
                           [options](CVerantiAPI&) { return Signal(*options); });
    signal->add_option("SIGNAL", options->signal, "The signal's name")
        ->required()
        ->check(CheckSignal);
    addMessage(signal);
    addCount(add("listen", "Show the signals from a name",
                 [options, &asJson](CVerantiAPI&) { return Listen(*options, asJson); }));
}
