// The bus server toolkit on a real bus: what it answers callers that do not know it, how it calls
// servers that do not, and what it does when a peer or the bus dies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <csignal>
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
        for (const auto type : {TERMS_DBUS_CALLBACK_NAME_ACQUIRED, TERMS_DBUS_CALLBACK_NAME_LOST}) {
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

Lines Server(const char* look, const char* function, const Lines& messages) {
    Lines lines;
    for (const std::string& message : messages) {
        lines.push_back(std::string(look) + " TermsDbusServer.cpp " + function + ": " + message);
    }
    return lines;
}

Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

TEST_F(BusServerTest, CallersThatKnowNothingOfItAreAnswered) {
    const std::map<std::string, TermsDbusMessageCallback> callbacks = {
        {"echo", &Echo}, {"refuse", &Refuse}, {"leave", &Leave}, {"nobody", nullptr}};
    const std::string path = "/com/example/One";
    const std::string object = std::string(kName) + ' ' + path + ' ' + kName;
    Create();
    for (const Json::Value& each : ReadCases("foreign-callers")) {
        SCOPED_TRACE(each[1].asString() + ' ' + each[2].asString());
        RegisterTermsDbusCallback(kName, TERMS_DBUS_CALLBACK_MESSAGE,
                                  Function(callbacks.at(each[0].asString())), nullptr);
        const std::string tool = each[1].asString();
        const std::string address = "--address=" + m_bus.Address();
        Arguments command;
        if (tool == "busctl") {
            command = {tool, address};
        } else if (tool == "gdbus") {
            command = {tool, "call", "--address", m_bus.Address(), "-d", kName, "-o", path, "-m"};
        } else {
            command = {tool, "--bus=" + m_bus.Address(), "--print-reply=literal",
                       std::string("--dest=") + kName, path};
        }
        std::istringstream words(each[2].asString());
        for (std::string word; words >> word;) {
            if (word == "OBJECT") {
                command.insert(command.end(), {kName, path, kName});
            } else {
                const bool method = tool != "busctl" && word == "SendMessage";
                command.push_back((method ? std::string(kName) + '.' : "") + word);
            }
        }
        const Outcome run = WhileServing([&] { return RunProgram(command); });
        EXPECT_EQ(run.output + run.errors, each[3].asString());
    }
}

TEST_F(BusServerTest, EachStepOfCreationIsLoggedUpToTheOneThatFails) {
    const struct {
        const char* name;
        const char* address;
        Lines steps;
        Lines failure;
    } cases[] = {
        {"", nullptr, {}, {"get serviceName is empty"}},
        {"com.example.NoBus",
         "unix:path=/dev/null/none",
         {"get dbus name: com.example.NoBus", "get dbus connection fail!"},
         {"(Could not connect: Not a directory 4)"}},
        {"nodots",
         nullptr,
         {"get dbus name: nodots", "Get dbus connection success"},
         {"Request bus name fail!"}},
        {"com.example.a-b",
         nullptr,
         {"get dbus name: com.example.a-b", "Get dbus connection success",
          "RequestName(com.example.a-b) success", "Register Obj Path: /com/example/a-b",
          "Get register id"},
         {"Register Obj Path Fail!"}},
        {kName,
         nullptr,
         {"get dbus name: com.example.One", "Get dbus connection success",
          "RequestName(com.example.One) success", "Register Obj Path: /com/example/One",
          "Get register id"},
         {}},
    };
    for (const auto& each : cases) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS",
               each.address != nullptr ? each.address : m_bus.Address().c_str(), 1);
        TakeLogs();
        const bool created = each.failure.empty();
        EXPECT_EQ(CreateTermsDbusServer(each.name), created ? 1 : 0);
        EXPECT_EQ(g_DbusServer->getDbusServiceName(), each.name);
        EXPECT_EQ(TakeLogs(), Server("bus", "CreateDbusServer", each.steps) +
                                  Server("bus-error", "CreateDbusServer", each.failure) +
                                  Lines{std::string("system TermsAPI.cpp CreateTermsDbusServer: "
                                                    "CreateTermsDbusServer ") +
                                        (created ? "Sucess" : "Fail")});
    }
    EXPECT_TRUE(g_DbusServer->CloseDbusServer());
    EXPECT_TRUE(g_DbusServer->CloseDbusServer());
}

TEST_F(BusServerTest, AnIncomingCallIsLoggedStepByStep) {
    const Lines decoded = {"bus TermsDbusServer.cpp m_ObjectCallback: get message",
                           "bus TermsDbusUtil.cpp MakeParamsToMsgInput: methodName: SendMessage",
                           "bus TermsDbusUtil.cpp MakeParamsToMessage: (suss)"};
    const Lines called = Server("bus", "m_ObjectCallback", {"start to callback func"});
    const Lines answered = Server("bus", "m_ObjectCallback", {"dbus return response"});
    const std::pair<TermsDbusMessageCallback, Lines> cases[] = {
        {&Echo, called + answered}, {&Refuse, called}, {nullptr, answered}};
    Create();
    for (const auto& [callback, rest] : cases) {
        RegisterTermsDbusCallback(kName, TERMS_DBUS_CALLBACK_MESSAGE, Function(callback), nullptr);
        TakeLogs();
        WhileServing([&] {
            return RunProgram({"busctl", "--address=" + m_bus.Address(), "call", kName,
                               "/com/example/One", kName, "SendMessage", "suss", "me", "3", "t",
                               "m"});
        });
        EXPECT_EQ(TakeLogs(), decoded + rest);
    }
}

TEST_F(BusServerTest, WhatCannotBeDecodedIsNotAnswered) {
    GVariant* arguments = g_variant_ref_sink(g_variant_new("(suss)", "", 0U, "", ""));
    const auto call = [](const char* method, GVariant* parameters, void* server) {
        TakeLogs();
        TermsDbusServer::m_ObjectCallback(nullptr, nullptr, nullptr, nullptr, method, parameters,
                                          nullptr, server);
        return TakeLogs();
    };
    const Lines got = Server("bus", "m_ObjectCallback", {"get message"});
    EXPECT_EQ(call("SendMessageX", arguments, g_DbusServer),
              got +
                  Lines{"bus-error TermsDbusUtil.cpp MakeParamsToMsgInput: error method name : "
                        "SendMessageX"} +
                  Server("bus-error", "m_ObjectCallback", {"Error, MakeParamsToMsgInput fail "}));
    for (const bool withServer : {true, false}) {
        const Lines logs = call("SendMessage", withServer ? nullptr : arguments,
                                withServer ? g_DbusServer : nullptr);
        ASSERT_EQ(logs.size(), 2U);
        EXPECT_EQ(logs[1].substr(0, 67),
                  "bus-error TermsDbusServer.cpp m_ObjectCallback: ERROR, parameters [");
    }
    g_variant_unref(arguments);
}

TEST_F(BusServerTest, ItCallsServersThatAreNotItsOwn) {
    const auto say = [](const char* reply) -> BusPeer::Script {
        return [reply](GDBusMethodInvocation* invocation, GVariant*) {
            BusPeer::Reply(invocation, g_variant_new_parsed(reply));
        };
    };
    const Lines success =
        Server("bus", "SendDbusSyncMessage", {"g_dbus_connection_call_sync Success"});
    const auto failure = [](const std::string& error) {
        return Server("bus-error", "SendDbusSyncMessage",
                      {"Fail to invoking sync message call(" + error + ')',
                       "Fail of g_dbus_connection_call_sync"});
    };
    const std::string decoded = "bus TermsDbusUtil.cpp MakeParamsToMessage: ";
    const struct {
        BusPeer::Script script;
        int result;
        Lines logs;
        const char* message;
        std::uint32_t size;
    } cases[] = {
        {say("('you', uint32 9, 't', 'plain')"), 1, Lines{decoded + "(suss)"} + success, "plain",
         0},
        {say("('you', uint32 9, 't', 'more', [(byte 1,), (2,)])"), 1,
         Lines{decoded + "(sussa(y))", decoded + "get data of (sussa(y))"} + success, "more", 2},
        {say("(1, 2)"), 1, Lines{decoded + "(ii)"} + success, nullptr, 0},
        {[](GDBusMethodInvocation* invocation, GVariant*) {
             g_dbus_method_invocation_return_dbus_error(invocation, "com.example.Bad", "no");
         },
         0, failure("GDBus.Error:com.example.Bad: no 36"), nullptr, 0},
        // The peer dies with the call in its hands.
        {[](GDBusMethodInvocation* invocation, GVariant*) {
             g_dbus_connection_close_sync(g_dbus_method_invocation_get_connection(invocation),
                                          nullptr, nullptr);
             g_object_unref(invocation);
         },
         0,
         failure("GDBus.Error:org.freedesktop.DBus.Error.NoReply: Message recipient disconnected "
                 "from message bus without replying 4"),
         nullptr, 0},
    };
    Create();
    for (const auto& each : cases) {
        const BusPeer peer(kOther, each.script);
        TermsDbusMessage request = Message("hello");
        Received reply;
        TakeLogs();
        EXPECT_EQ(SendTermsDbusSyncMessage(kName, kOther, &request, &reply, -1), each.result);
        const std::string result =
            "trace TermsAPI.cpp SendTermsDbusSyncMessage: SendTermsDbusSyncMessage result: [";
        EXPECT_EQ(TakeLogs(), Server("bus", "SendDbusSyncMessage",
                                     {"from[me] to [com.example.Other] [hello]"}) +
                                  each.logs + Lines{result + std::to_string(each.result) + ']'});
        EXPECT_STREQ(reply.message, each.message);
        EXPECT_EQ(reply.buffer_size, each.size);
    }
}

/// Sends bytes to a mirror and compares what comes back.
void ExpectMirrored(std::vector<std::uint8_t> bytes) {
    const BusPeer mirror(kOther, [](GDBusMethodInvocation* invocation, GVariant* arguments) {
        BusPeer::Reply(invocation, arguments);
    });
    TermsDbusMessage request = Message("m", bytes.data(), bytes.size());
    Received reply;
    EXPECT_EQ(SendTermsDbusSyncMessage(kHandle, kOther, &request, &reply, -1), 1);
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
                  Server("bus", "SendDbusSignal", {"Send Signal [Changed] : [success]."}) +
                      Lines{"trace TermsAPI.cpp SendTermsDbusSignal: SendTermsDbusSignal result: "
                            "[1]"});
    }
    TermsDbusMessage message = Message("m");
    EXPECT_EQ(SendTermsDbusSignal(kName, "no name", &message), 0);
    EXPECT_EQ(TakeLogs().front(),
              "bus TermsDbusServer.cpp SendDbusSignal: Send Signal [no name] "
              ": [fail].");
}

TEST_F(BusServerTest, ANameMovesToASecondOwnerAndBack) {
    Create();
    TakeLogs();
    {
        Program second({COMMAND_PATH, "bus", "serve", kName});
        WaitFor(m_lost, 1);
        EXPECT_EQ(TakeLogs(), Server("bus", "m_OnNameLost", {"", "start to callback func"}));
        EXPECT_EQ(second.ReadLine(), "Serving com.example.One.");
    }
    WaitFor(m_acquired, 2);
    EXPECT_EQ(TakeLogs(), Server("bus", "m_OnNameAcquired", {"", "start to callback func"}));
}

TEST_F(BusServerTest, ABusThatDiesFailsCallsAndANewOneServesAgain) {
    const Lines closed = {"dbus connection is not open"};
    TermsDbusMessage message = Message("m");
    Received reply;
    const auto fails = [&] {
        TakeLogs();
        EXPECT_EQ(SendTermsDbusSignal(kHandle, "S", &message), 0);
        EXPECT_EQ(SendTermsDbusSyncMessage(kHandle, kName, &message, &reply, -1), 0);
        const Lines logs = TakeLogs();
        EXPECT_EQ(Lines({logs[0], logs[2]}),
                  Server("bus-error", "SendDbusSignal", closed) +
                      Server("bus-error", "SendDbusSyncMessage", closed));
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
    const auto log = [](const std::string& function, const std::string& message) {
        return "system TermsAPI.cpp " + function + ": " + message;
    };
    const std::string null = "ERROR! service or signal name, char string is NULL";
    const auto missing = [&](const std::string& name) {
        return log("m_GetTermsDbusServerInstance",
                   "Failed to get TermsDbusServerInstance, serviceName: " + name);
    };
    const auto registered = [&](const char* name, int type) {
        TakeLogs();
        RegisterTermsDbusCallback(name, static_cast<TermsDbusCallbackType>(type), nullptr, nullptr);
        return TakeLogs();
    };
    const std::string finish = "RegisterTermsDbusCallback Finish, type [";
    Create();
    for (const char* name : {kHandle, kName}) {
        EXPECT_EQ(registered(name, 3), Lines{log("RegisterTermsDbusCallback", finish + "3]")});
        EXPECT_EQ(registered(name, -1), Lines{log("RegisterTermsDbusCallback", finish + "-1]")});
    }
    EXPECT_EQ(registered("x", 2), (Lines{missing("x"), log("RegisterTermsDbusCallback",
                                                           "RegisterTermsDbusCallback fail !!! "
                                                           "type [2]")}));
    EXPECT_EQ(registered(nullptr, 2), Lines{log("RegisterTermsDbusCallback", null)});

    TermsDbusMessage message = Message("m");
    Received reply;
    const struct {
        int result;
        Lines logs;
    } nothing[] = {
        {InitiateTermsDbusServer(nullptr), {log("InitiateTermsDbusServer", null)}},
        {CreateTermsDbusServer(nullptr), {log("CreateTermsDbusServer", null)}},
        {SendTermsDbusSignal(nullptr, "S", &message), {log("SendTermsDbusSignal", null)}},
        {SendTermsDbusSignal(kName, nullptr, &message), {log("SendTermsDbusSignal", null)}},
        {SendTermsDbusSignal("x", "S", &message), {missing("x")}},
        {SendTermsDbusSignal(kName, "S", nullptr), {}},
        {SendTermsDbusSyncMessage(nullptr, kOther, &message, &reply, 1),
         {log("SendTermsDbusSyncMessage", null)}},
        {SendTermsDbusSyncMessage(kName, nullptr, &message, &reply, 1),
         {log("SendTermsDbusSyncMessage", null)}},
        {SendTermsDbusSyncMessage("", kOther, &message, &reply, 1), {missing("")}},
        {SendTermsDbusSyncMessage(kName, kOther, nullptr, &reply, 1), {}},
        {SendTermsDbusSyncMessage(kName, kOther, &message, nullptr, 1), {}},
        {CloseTermsDbusServer(nullptr), {log("CloseTermsDbusServer", null)}},
        {CloseTermsDbusServer("x"),
         {missing("x"),
          log("CloseTermsDbusServer", "CloseTermsDbusServer fail !!! service name [x]")}},
    };
    Lines expected;
    for (const auto& each : nothing) {
        EXPECT_EQ(each.result, 0);
        expected = expected + each.logs;
    }
    EXPECT_EQ(TakeLogs(), expected);

    EXPECT_EQ(CloseTermsDbusServer(kName), 1);
    EXPECT_EQ(g_DbusServer, nullptr);
    EXPECT_EQ(TakeLogs(),
              (Lines{log("CloseTermsDbusServer",
                         "CloseTermsDbusServer Finish, service name [com.example.One]"),
                     "trace TermsAPI.cpp m_ReleaseTermsDbusServerInstance: Delete TermsDbusServer "
                     "instance",
                     "bus TermsDbusServer.cpp ~TermsDbusServer: "}));
    EXPECT_EQ(CloseTermsDbusServer(kName), 0);
    EXPECT_EQ(CreateTermsDbusServer(kName), 0);
    EXPECT_EQ(TakeLogs().back(), log("CreateTermsDbusServer", "CreateTermsDbusServer Fail"));
    EXPECT_EQ(InitiateTermsDbusServer("h"), 1);
    EXPECT_EQ(TakeLogs(), Lines{log("InitiateTermsDbusServer",
                                    "Success to new TermsDbusServer, original Name: h")});
    EXPECT_EQ(CloseTermsDbusServer("h"), 1);
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
