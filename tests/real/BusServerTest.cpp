// The bus server toolkit on a real bus: what it answers callers that do not know it, how it calls
// servers that do not, and what it does when a peer or the bus dies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <csignal>
#include <iterator>
#include <numeric>
#include <sstream>

#include "BusPeer.h"
#include "Cases.h"
#include "Doubles.h"
#include "TermsAPIInternal.h"

namespace {

constexpr char kHandle[] = "handle";
constexpr char kName[] = "com.example.One";
constexpr char kOther[] = "com.example.Other";
const std::string kCreated =
    "log system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer ";

/// Runs the main loop while a thread works.
template <typename Work>
auto WhileServing(Work work) {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    auto result = std::async(std::launch::async, [&] {
        auto value = work();
        g_idle_add([](void* data) { return g_main_loop_quit(static_cast<GMainLoop*>(data)), 0; },
                   loop);
        return value;
    });
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    return result.get();
}

/// A record that is received into.
struct Received : TermsDbusMessage {
    Received() : TermsDbusMessage() {}
    ~Received() { ReleaseTermsDbusMessage(this); }
    Received(const Received&) = delete;
    Received& operator=(const Received&) = delete;
};

TermsDbusMessage Message(const char* text, std::uint8_t* bytes = nullptr, std::size_t size = 0) {
    static char from[] = "me";
    static char type[] = "t";
    TermsDbusMessage message;
    InitiateTermsDbusMessage(&message, from, 3, type, const_cast<char*>(text), bytes,
                             static_cast<std::uint32_t>(size));
    return message;
}

/// Answers with the request, its code and one more, and the method for a type.
int Echo(const char* method, TermsDbusMessage* request, TermsDbusMessage* reply, void* /*data*/) {
    auto* bytes = static_cast<std::uint8_t*>(AllocateTermsDbusBuffer(request->buffer_size));
    std::copy_n(request->buffer, request->buffer_size, bytes);
    InitiateTermsDbusMessage(reply, DuplicateTermsDbusText(request->from), request->code + 1,
                             DuplicateTermsDbusText(method),
                             DuplicateTermsDbusText(request->message), bytes, request->buffer_size);
    return 1;
}

/// Fills the reply, and has it thrown away.
int Refuse(const char* method, TermsDbusMessage* request, TermsDbusMessage* reply, void* data) {
    return Echo(method, request, reply, data) - 1;
}

int Leave(const char* /*method*/, TermsDbusMessage* /*request*/, TermsDbusMessage* /*reply*/,
          void* /*data*/) {
    return -1;
}

void* Function(TermsDbusMessageCallback callback) {
    return reinterpret_cast<void*>(callback);
}

class BusServerTest : public testing::Test {
  protected:
    BusServerTest() {
        ThePlatform().Reset();
        InitiateTermsDbusServer(kHandle);
        for (const auto type : {TERMS_DBUS_CALLBACK_NAME_LOST, TERMS_DBUS_CALLBACK_NAME_ACQUIRED}) {
            const TermsDbusNameCallback count = [](void* counter) {
                ++*static_cast<int*>(counter);
            };
            RegisterTermsDbusCallback(
                kHandle, type, reinterpret_cast<void*>(count),
                type == TERMS_DBUS_CALLBACK_NAME_LOST ? &m_lost : &m_acquired);
        }
    }
    ~BusServerTest() override {
        if (g_DbusServer != nullptr) {
            CloseTermsDbusServer(kHandle);
        }
        while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
        }
    }

    /// Serves with Echo().
    void Create() const {
        RegisterTermsDbusCallback(kHandle, TERMS_DBUS_CALLBACK_MESSAGE, Function(&Echo), nullptr);
        ASSERT_EQ(CreateTermsDbusServer(kName), 1);
        WaitFor(m_acquired, 1);
    }
    static void WaitFor(const int& counter, int value) {
        while (counter < value) {
            g_main_context_iteration(nullptr, TRUE);
        }
    }
    /// The journal's log lines since the last call, without the addresses and ids behind " : ".
    static Lines TakeLogs() {
        Lines logs;
        for (const std::string& line : ThePlatform().journal) {
            const std::size_t colon = line.find(" : ");
            const bool number = colon != std::string::npos && std::isdigit(line[colon + 3]) != 0;
            logs.push_back(line.substr(4, number ? colon - 4 : std::string::npos));
        }
        ThePlatform().journal.clear();
        return logs;
    }

    PrivateBus m_bus;
    int m_acquired = 0;
    int m_lost = 0;
};

TEST_F(BusServerTest, CallersThatKnowNothingOfItAreAnswered) {
    const std::map<std::string, TermsDbusMessageCallback> callbacks = {
        {"echo", &Echo}, {"refuse", &Refuse}, {"leave", &Leave}, {"nobody", nullptr}};
    Create();
    for (const Json::Value& each : ReadCases("foreign-callers")) {
        SCOPED_TRACE(each[1].asString());
        RegisterTermsDbusCallback(kName, TERMS_DBUS_CALLBACK_MESSAGE,
                                  Function(callbacks.at(each[0].asString())), nullptr);
        std::string line = each[1].asString();
        line.replace(line.find("ADDRESS"), 7, m_bus.Address());
        std::istringstream words(line);
        const Arguments command{std::istream_iterator<std::string>(words), {}};
        TakeLogs();
        const Outcome run = WhileServing([&] { return RunProgram(command); });
        EXPECT_EQ(run.output + run.errors, each[2].asString());
        EXPECT_EQ(TakeLogs(), ToTexts(each[3]));
    }
}

TEST_F(BusServerTest, EachStepOfCreationIsLoggedUpToTheOneThatFails) {
    for (const Json::Value& each : ReadCases("creations")) {
        const char* name = each[0].asCString();
        SCOPED_TRACE(name);
        const char* address = each[1].isNull() ? m_bus.Address().c_str() : each[1].asCString();
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address, 1);
        TakeLogs();
        CreateTermsDbusServer(name);
        EXPECT_EQ(TakeLogs(), ToTexts(each[2]));
        EXPECT_EQ(g_DbusServer->getDbusServiceName(), name);
    }
    EXPECT_TRUE(g_DbusServer->CloseDbusServer());
    EXPECT_TRUE(g_DbusServer->CloseDbusServer());
    EXPECT_EQ(g_DbusServer->getDbusServiceName(), kName);
}

TEST_F(BusServerTest, NothingIsLeftOfAServerThatIsClosed) {
    Create();
    const Handle<GDBusConnection> shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    const std::string owner = g_dbus_connection_get_unique_name(shared.get());
    TermsDbusServer* const server = g_DbusServer;
    m_ReleaseTermsDbusServerInstance(new TermsDbusServer("another"));
    EXPECT_EQ(g_DbusServer, nullptr);  // whichever server was given
    g_DbusServer = server;
    CloseTermsDbusServer(kName);
    const Outcome run = WhileServing([&] {
        return RunProgram({"busctl", "--address=" + m_bus.Address(), "call", owner,
                           "/com/example/One", kName, "SendMessage", "suss", "", "0", "", ""});
    });
    EXPECT_EQ(run.errors, "Call failed: Object does not exist at path “/com/example/One”\n");
}

TEST_F(BusServerTest, WhatCannotBeDecodedIsNotAnswered) {
    GVariant* arguments = g_variant_ref_sink(g_variant_new("(suss)", "", 0U, "", ""));
    const auto call = [](const char* method, GVariant* parameters, void* server) {
        TakeLogs();
        TermsDbusServer::m_ObjectCallback(nullptr, nullptr, nullptr, nullptr, method, parameters,
                                          nullptr, server);
        return TakeLogs();
    };
    const std::string server = " TermsDbusServer.cpp m_ObjectCallback: ";
    EXPECT_EQ(call("SendMessageX", arguments, g_DbusServer),
              (Lines{"bus" + server + "get message",
                     "bus-error TermsDbusUtil.cpp MakeParamsToMsgInput: error method name : "
                     "SendMessageX",
                     "bus-error" + server + "Error, MakeParamsToMsgInput fail "}));
    for (const bool withServer : {true, false}) {
        const std::string line = call("SendMessage", withServer ? nullptr : arguments,
                                      withServer ? g_DbusServer : nullptr)
                                     .back();
        EXPECT_EQ(line.substr(0, line.find('[')), "bus-error" + server + "ERROR, parameters ");
        EXPECT_NE(line.find(withServer ? "[(nil)] or dbusServer [0x"
                                       : "] or dbusServer [(nil)] is "
                                         "NULL!"),
                  std::string::npos);
    }
    g_variant_unref(arguments);
}

/// Answers with a value in GVariant's own text, with an error, or by dying with the call in hand.
BusPeer::Script Says(const std::string& reply) {
    return [reply](GDBusMethodInvocation* invocation, GVariant*) {
        if (reply == "error") {
            g_dbus_method_invocation_return_dbus_error(invocation, "com.example.Bad", "no");
        } else if (reply == "death") {
            g_dbus_connection_close_sync(g_dbus_method_invocation_get_connection(invocation),
                                         nullptr, nullptr);
            g_object_unref(invocation);
        } else {
            BusPeer::Reply(invocation, g_variant_new_parsed(reply.c_str()));
        }
    };
}

TEST_F(BusServerTest, ItCallsServersThatAreNotItsOwn) {
    Create();
    for (const Json::Value& each : ReadCases("foreign-servers")) {
        const BusPeer peer(kOther, Says(each[0].asString()));
        TermsDbusMessage request = Message("hello");
        Received reply;
        TakeLogs();
        SendTermsDbusSyncMessage(kName, each[4].asCString(), &request, &reply, -1);
        EXPECT_EQ(TakeLogs(), ToTexts(each[3]));
        EXPECT_STREQ(reply.message, TextOrNull(each[1]));
        EXPECT_EQ(reply.buffer_size, each[2].asUInt());
    }
}

/// Sends bytes to a mirror and compares what comes back.
void ExpectMirrored(std::vector<std::uint8_t> bytes) {
    const BusPeer mirror(kOther, [](GDBusMethodInvocation* invocation, GVariant* arguments) {
        BusPeer::Reply(invocation, arguments);
    });
    TermsDbusMessage request = Message("m", bytes.data(), bytes.size());
    Received reply;
    EXPECT_EQ(SendTermsDbusSyncMessage(kHandle, kOther, &request, &reply, INT_MAX), 1);
    if (bytes == std::vector<std::uint8_t>{0}) {  // stands for nothing
        bytes.clear();
    }
    EXPECT_EQ(std::vector<std::uint8_t>(reply.buffer, reply.buffer + reply.buffer_size), bytes);
}

std::vector<std::uint8_t> Bytes(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

TEST_F(BusServerTest, PayloadsGoBothWays) {
    Create();
    for (const std::vector<std::uint8_t>& bytes : {Bytes(0), Bytes(1), {1}, Bytes(65536)}) {
        ExpectMirrored(bytes);
    }
}

TEST_F(BusServerTest, TheLargestPayloadGoesBothWays) {
    Create();
    ExpectMirrored(Bytes(4000000));  // eight times as many on the bus, which ends at 32 MiB
}

TEST_F(BusServerTest, SignalsReachEverybodyWhoListens) {
    Create();
    std::uint8_t bytes[] = {0, 5};
    const std::pair<TermsDbusMessage, std::string> cases[] = {
        {Message("hello"), "('me', uint32 3, 't', 'hello')"},
        {Message("m", bytes, 2), "('me', uint32 3, 't', 'm', [(byte 0x00,), (0x05,)])"}};
    for (auto [message, body] : cases) {
        BusPeer listener(kName);
        TakeLogs();
        EXPECT_EQ(SendTermsDbusSignal(kName, "Changed", &message), 1);
        EXPECT_EQ(listener.FirstSignal(), "/com/example/One com.example.One Changed " + body);
        EXPECT_EQ(TakeLogs(),
                  (Lines{"bus TermsDbusServer.cpp SendDbusSignal: Send Signal [Changed] : "
                         "[success].",
                         "trace TermsAPI.cpp SendTermsDbusSignal: SendTermsDbusSignal result: "
                         "[1]"}));
    }
    TermsDbusMessage message = Message("m");
    EXPECT_EQ(SendTermsDbusSignal(kName, "no name", &message), 0);
    EXPECT_EQ(TakeLogs().front(),
              "bus TermsDbusServer.cpp SendDbusSignal: Send Signal [no name] "
              ": [fail].");
}

Lines NameLogs(const std::string& function) {
    const std::string server = "bus TermsDbusServer.cpp " + function + ": ";
    return {server, server + "start to callback func"};
}

TEST_F(BusServerTest, ANameMovesToASecondOwnerAndBack) {
    Create();
    TakeLogs();
    {
        Program second({COMMAND_PATH, "bus", "serve", kName});
        WaitFor(m_lost, 1);
        EXPECT_EQ(TakeLogs(), NameLogs("m_OnNameLost"));
        EXPECT_EQ(second.ReadLine(), "Serving com.example.One.");
    }
    WaitFor(m_acquired, 2);
    EXPECT_EQ(TakeLogs(), NameLogs("m_OnNameAcquired"));
}

TEST_F(BusServerTest, ABusThatDiesFailsCallsAndANewOneServesAgain) {
    TermsDbusMessage message = Message("m");
    Received reply;
    const auto fails = [&] {
        TakeLogs();
        EXPECT_FALSE(g_DbusServer->SendDbusSignal("S", message));
        EXPECT_FALSE(g_DbusServer->SendDbusSyncMessage(kName, message, reply, -1));
        const std::string server = "bus-error TermsDbusServer.cpp ";
        EXPECT_EQ(TakeLogs(), (Lines{server + "SendDbusSignal: dbus connection is not open",
                                     server + "SendDbusSyncMessage: dbus connection is not open"}));
    };
    fails();  // never created
    Create();
    m_bus.Stop();
    WaitFor(m_lost, 1);
    fails();
    const PrivateBus another;
    m_acquired = 0;
    Create();  // closes what is left of the first
    const Outcome run = WhileServing([] {
        return RunProgram({COMMAND_PATH, "bus", "call", kName, "hello"});
    });
    EXPECT_EQ(run.output, "veranti (SendMessage, code 1): hello\n");
    g_DbusServer->CloseDbusServer();
    fails();
}

TEST_F(BusServerTest, TheServerIsFoundByItsTwoNamesOnly) {
    TermsDbusMessage message = Message("m");
    Received reply;
    const auto registers = [](int type) {
        return [type](const char* name) {
            RegisterTermsDbusCallback(name, static_cast<TermsDbusCallbackType>(type), nullptr,
                                      nullptr);
            return 0;
        };
    };
    const auto signals = [](const char* signal, TermsDbusMessage* body) {
        return [=](const char* name) { return SendTermsDbusSignal(name, signal, body); };
    };
    const auto calls = [](const char* to, TermsDbusMessage* request, TermsDbusMessage* answer) {
        return [=](const char* name) {
            return SendTermsDbusSyncMessage(name, to, request, answer, 1);
        };
    };
    const std::map<std::string, std::function<int(const char*)>> functions = {
        {"Initiate", &InitiateTermsDbusServer},
        {"Create", &CreateTermsDbusServer},
        {"Close", &CloseTermsDbusServer},
        {"Register 2", registers(2)},
        {"Register 3", registers(3)},
        {"Register -1", registers(-1)},
        {"Signal", signals("S", &message)},
        {"Signal null", signals(nullptr, &message)},
        {"Signal nothing", signals("S", nullptr)},
        {"Sync", calls(kOther, &message, &reply)},
        {"Sync null", calls(nullptr, &message, &reply)},
        {"Sync nothing", calls(kOther, nullptr, &reply)},
        {"Sync into nothing", calls(kOther, &message, nullptr)},
    };
    Create();
    for (const Json::Value& each : ReadCases("bus-names")) {
        SCOPED_TRACE(each[0].asString());
        TakeLogs();
        EXPECT_EQ(functions.at(each[0].asString())(TextOrNull(each[1])), each[2].asInt());
        EXPECT_EQ(TakeLogs(), ToTexts(each[3]));
    }
    EXPECT_EQ(g_DbusServer, nullptr);
}

TEST(BusRecordTest, RecordsAreReleasedOnce) {
    TermsDbusMessage record;
    InitiateTermsDbusMessage(&record, DuplicateTermsDbusText("f"), 7, DuplicateTermsDbusText("t"),
                             DuplicateTermsDbusText("m"),
                             static_cast<std::uint8_t*>(AllocateTermsDbusBuffer(3)), 3);
    EXPECT_STREQ(record.message, "m");
    for (int i = 0; i < 2; ++i) {
        ReleaseTermsDbusMessage(&record);
        EXPECT_EQ(record.from, nullptr);
        EXPECT_EQ(record.type, nullptr);
        EXPECT_EQ(record.message, nullptr);
        EXPECT_EQ(record.buffer, nullptr);
        EXPECT_EQ(record.code, 7U);
        EXPECT_EQ(record.buffer_size, 3U);
    }
    ReleaseTermsDbusMessage(nullptr);
    InitiateTermsDbusMessage(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(DuplicateTermsDbusText(nullptr), nullptr);
}

TEST(BusProgramsTest, ExamplesAndCommandsTalk) {
    const PrivateBus bus;
    const std::string examples = EXAMPLES_PATH;
    Program server({examples + "/c-bus-server", kName});
    EXPECT_EQ(server.ReadLine(), "com.example.One is ours");
    Program listener({COMMAND_PATH, "bus", "listen", kName, "--count", "2", "--json"});
    EXPECT_EQ(listener.ReadLine(), R"({"event":"listening"})");
    const Outcome caller = RunProgram({examples + "/c-bus-caller", kOther, kName});
    EXPECT_EQ(caller.output + caller.errors,
              "com.example.One answers: hello\n"
              "com.example.One answers: these bytes ff fe 01 00\n"
              "com.example.One answers: tell them all\n");
    EXPECT_EQ(server.ReadLine(), "SendMessage from caller: hello, 0 bytes");
    EXPECT_EQ(server.ReadLine(), "SendMessageWithBuffer from caller: these bytes, 4 bytes");
    EXPECT_EQ(server.ReadLine(), "SendMessage from caller: tell them all, 0 bytes");
    EXPECT_EQ(listener.ReadLine(), R"({"buffer":null,"code":1,"from":"caller","message":"tell )"
                                   R"(them all","signal":"Announcement","type":"announce"})");

    // Bytes of another type are nothing that either end of the toolkit stumbles over.
    const auto callWrongly = [&bus] {
        return RunProgram({"busctl", "--address=" + bus.Address(), "call", kName,
                           "/com/example/One", kName, "SendMessageWithBuffer", "sussay", "me", "3",
                           "t", "m", "1", "7"})
            .output;
    };
    EXPECT_EQ(callWrongly(),
              "sussa(y) \"\" 0 \"\" \"{\\\"dbus_result\\\":\\\"fail\\\",\\\"errmsg\\\":"
              "\\\"error handling\\\"}\" 1 0\n");
    {
        Program second({COMMAND_PATH, "bus", "serve", kName, "--json"});
        EXPECT_EQ(second.ReadLine(), R"({"event":"acquired"})");
        EXPECT_EQ(callWrongly(), "sussa(y) \"com.example.One\" 0 \"\" \"\" 1 0\n");
    }
    EXPECT_EQ(server.ReadLine(), "com.example.One is another's");
    EXPECT_EQ(server.ReadLine(), "com.example.One is ours");

    const TemporaryFolder folder;
    const std::string file = folder.Write("bytes", "abc");
    const Outcome call = RunCommand({"bus", "call", kName, "hi", "--buffer", file, "--code", "4"});
    EXPECT_EQ(call.output + call.errors, "com.example.One (answer, code 5, 3 bytes): hi\n");
    EXPECT_EQ(server.ReadLine(), "SendMessageWithBuffer from veranti: hi, 3 bytes");
    const Outcome signal = RunCommand({"bus", "signal", kName, "Ping", "hello", "--buffer", file});
    EXPECT_EQ(signal.output + signal.errors, "Sent Ping from com.example.One.\n");
    EXPECT_EQ(server.ReadLine(), "com.example.One is another's");
    EXPECT_EQ(server.ReadLine(), "com.example.One is ours");
    EXPECT_EQ(listener.ReadLine(), R"({"buffer":"YWJj","code":0,"from":"veranti","message":)"
                                   R"("hello","signal":"Ping","type":"text"})");
    EXPECT_EQ(listener.ReadLine(), R"({"result":true})");
    EXPECT_EQ(listener.Wait(), 0);
    server.Signal(SIGTERM);
    EXPECT_EQ(server.Wait(), 0);
}

}  // namespace
