// The bus server toolkit on a real bus: what it answers callers that do not know it, how it calls
// servers that do not, and what it does when a peer or the bus dies. What a call gives is compared
// as a text: its result, and the log's lines.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <future>
#include <numeric>
#include <thread>

#include "BusPeer.h"
#include "Doubles.h"
#include "Limit.h"
#include "Main.h"
#include "TermsAPIInternal.h"
#include "TermsDbusUtil.h"

/// The function that this program's own one stands in front of.
template <typename Function>
static Function* Real(Function* /*own*/, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

static bool g_closedUnseen = false;

#pragma GCC visibility push(default)

/// Fails for an object that is not registered, of which GDBus makes nothing.
gboolean g_dbus_connection_unregister_object(GDBusConnection* connection, unsigned id) {
    EXPECT_TRUE(Real(&g_dbus_connection_unregister_object, __func__)(connection, id)) << id;
    return TRUE;
}

/// Has a connection close just after it was looked at.
gboolean g_dbus_connection_is_closed(GDBusConnection* connection) {
    return g_closedUnseen ? FALSE : Real(&g_dbus_connection_is_closed, __func__)(connection);
}

#pragma GCC visibility pop

namespace {

constexpr char kHandle[] = "handle";
constexpr char kName[] = "com.example.One";
constexpr char kOther[] = "com.example.Other";

// Lines that the log has in more than one case.
const std::string kMessageCame = R"(bus TermsDbusServer.cpp m_ObjectCallback: get message
bus TermsDbusUtil.cpp MakeParamsToMsgInput: methodName: SendMessage
bus TermsDbusUtil.cpp MakeParamsToMessage: (suss)
)";
const std::string kCalledBack =
    "bus TermsDbusServer.cpp m_ObjectCallback: start to callback func\n";
const std::string kAnswered = "bus TermsDbusServer.cpp m_ObjectCallback: dbus return response\n";
const std::string kFailure =
    R"(('', uint32 0, '', '{"dbus_result":"fail","errmsg":"error handling"}', [(byte 0x00,)]))"
    "\n";
const std::string kClosed =
    R"(system TermsAPI.cpp CloseTermsDbusServer: CloseTermsDbusServer Finish, service name [handle]
trace TermsAPI.cpp m_ReleaseTermsDbusServerInstance: Delete TermsDbusServer instance
bus TermsDbusServer.cpp ~TermsDbusServer: )"
    "\n";
const std::string kCalled =
    "bus TermsDbusServer.cpp SendDbusSyncMessage: from[me] to [com.example.Other] [hello]\n";
const std::string kReplied =
    R"(bus TermsDbusServer.cpp SendDbusSyncMessage: g_dbus_connection_call_sync Success
trace TermsAPI.cpp SendTermsDbusSyncMessage: SendTermsDbusSyncMessage result: [1]
)";
const std::string kNotReplied =
    R"(bus-error TermsDbusServer.cpp SendDbusSyncMessage: Fail of g_dbus_connection_call_sync
trace TermsAPI.cpp SendTermsDbusSyncMessage: SendTermsDbusSyncMessage result: [0]
)";

std::string Replace(const std::string& text, const char* pattern, const char* word) {
    g_autoptr(GRegex) regex = g_regex_new(pattern, GRegexCompileFlags{}, {}, nullptr);
    g_autofree char* replaced =
        g_regex_replace_literal(regex, text.c_str(), -1, 0, word, {}, nullptr);
    return replaced;
}

/// The log's lines since the last call, with words for addresses and ids.
std::string TakeLogs() {
    std::string lines;
    for (const std::string& line : std::exchange(ThePlatform().journal, {})) {
        lines += line + '\n';
    }
    return Replace(Replace(lines, "0x[0-9a-f]+", "ADDRESS"), " : [1-9][0-9]*\n", " : ID\n");
}

std::string Of(int result) {
    return std::to_string(result) + '\n' + TakeLogs();
}

void Serve() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

/// Serves while a thread works.
template <typename Work>
auto ServeDuring(Work work) {
    auto result = std::async(std::launch::async, work);
    while (result.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        Serve();
    }
    return result.get();
}

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
    return -1;  // all but 0 is success
}

/// Fills the reply, and has it thrown away.
int Refuse(const char* method, TermsDbusMessage* request, TermsDbusMessage* reply, void* data) {
    return Echo(method, request, reply, data) + 1;
}

/// Closes its own server, and succeeds when there is data.
int Close(const char* method, TermsDbusMessage* request, TermsDbusMessage* reply, void* data) {
    CloseTermsDbusServer(kHandle);
    return data != nullptr ? Echo(method, request, reply, data) : 0;
}

void Count(void* counter) {
    ++*static_cast<int*>(counter);
}

template <typename Callback>
void Register(TermsDbusCallbackType type, Callback* callback, void* data = nullptr) {
    RegisterTermsDbusCallback(kHandle, type, reinterpret_cast<void*>(callback), data);
    TakeLogs();
}

class BusServerTest : public testing::Test {
  protected:
    BusServerTest() {
        ThePlatform().Reset();
        Initiate();
    }
    ~BusServerTest() override {
        if (g_DbusServer != nullptr) {
            CloseTermsDbusServer(kHandle);
        }
        Serve();
    }

    void Initiate() {
        InitiateTermsDbusServer(kHandle);
        Register(TERMS_DBUS_CALLBACK_NAME_ACQUIRED, &Count, &m_acquired);
        Register(TERMS_DBUS_CALLBACK_NAME_LOST, &Count, &m_lost);
    }
    /// Serves with Echo().
    void Create() {
        Register(TERMS_DBUS_CALLBACK_MESSAGE, &Echo);
        ASSERT_EQ(CreateTermsDbusServer(kName), 1);
        WaitFor(m_acquired, "the name");
        TakeLogs();
    }
    /// Serves until a callback is called.
    static void WaitFor(int& calls, const std::string& what) {
        const auto limit = std::chrono::steady_clock::now() + kHang;
        while (std::exchange(calls, 0) == 0) {
            if (std::chrono::steady_clock::now() > limit) {
                throw std::runtime_error("Waited in vain for " + what + ". The log: " + TakeLogs());
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            Serve();
        }
    }

    PrivateBus m_bus;
    int m_acquired = 0;
    int m_lost = 0;
};

const std::string kGdbusCall =
    "gdbus call --system -d com.example.One -o /com/example/One -m com.example.One.SendMessage ";

/// What a program writes while it is served, and the log.
std::string OutputOf(const std::string& line) {
    const Outcome run = ServeDuring([&line] { return RunProgram(Words(line)); });
    return run.output + run.errors + TakeLogs();
}

TEST_F(BusServerTest, ProgramsThatDoNotKnowItAreAnswered) {
    Create();
    EXPECT_EQ(OutputOf(kGdbusCall + "약관 3 t hello"),
              "('약관', uint32 4, 'SendMessage', 'hello', [(byte 0x00,)])\n" + kMessageCame +
                  kCalledBack + kAnswered);
    EXPECT_EQ(OutputOf("busctl call com.example.One /com/example/One com.example.One "
                       "SendMessageWithBuffer sussa(y) me 3 t hello 3 1 0 255"),
              R"(sussa(y) "me" 4 "SendMessageWithBuffer" "hello" 3 1 0 255
bus TermsDbusServer.cpp m_ObjectCallback: get message
bus TermsDbusUtil.cpp MakeParamsToMsgInput: methodName: SendMessageWithBuffer
bus TermsDbusUtil.cpp MakeParamsToMessage: (sussa(y))
bus TermsDbusUtil.cpp MakeParamsToMessage: get data of (sussa(y))
)" + kCalledBack + kAnswered);
    Register(TERMS_DBUS_CALLBACK_MESSAGE, &Refuse);
    EXPECT_EQ(OutputOf(kGdbusCall + "me 3 t hello"), kFailure + kMessageCame + kCalledBack);
    Register(TERMS_DBUS_CALLBACK_MESSAGE, static_cast<TermsDbusMessageCallback>(nullptr));
    EXPECT_EQ(OutputOf(kGdbusCall + "me 3 t hello"),
              "('', uint32 0, '', '', [(byte 0x00,)])\n" + kMessageCame + kAnswered);

    const std::string interface = Replace(
        OutputOf("gdbus introspect --system -d com.example.One -o /com/example/One"), "\\s+", " ");
    EXPECT_NE(interface.find("interface com.example.One { methods: "
                             "SendMessage(in s from, in u code, in s type, in s message, "
                             "out s from, out u code, out s type, out s message, out a* buffer); "
                             "SendMessageWithBuffer("
                             "in s from, in u code, in s type, in s message, in a* buffer, "
                             "out s from, out u code, out s type, out s message, out a* buffer); "
                             "signals: properties: }; };"),
              std::string::npos)
        << interface;
}

TEST_F(BusServerTest, ACallbackThatClosesItsServerIsAnswered) {
    const std::string answer = "('me', uint32 4, 'SendMessage', 'hello', [(byte 0x00,)])\n";
    for (int round = 0; round < 40; ++round) {  // half of the answers may arrive by luck
        const bool succeeds = round % 2 != 0;
        Create();
        Register(TERMS_DBUS_CALLBACK_MESSAGE, &Close, succeeds ? this : nullptr);
        EXPECT_EQ(OutputOf(kGdbusCall + "me 3 t hello"), (succeeds ? answer : kFailure) +
                                                             kMessageCame + kCalledBack + kClosed +
                                                             (succeeds ? kAnswered : ""));
        Initiate();
    }
}

TEST_F(BusServerTest, EachStepOfCreationIsLoggedUpToTheOneThatFails) {
    const auto creation = [](const std::string& name) {
        const int created = CreateTermsDbusServer(name.c_str());
        EXPECT_EQ(g_DbusServer->getDbusServiceName(), name);
        return Of(created);
    };
    EXPECT_EQ(creation(""), R"(0
bus-error TermsDbusServer.cpp CreateDbusServer: get serviceName is empty
system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer Fail
)");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/dev/null/none", 1);
    EXPECT_EQ(creation("com.example.NoBus"), R"(0
bus TermsDbusServer.cpp CreateDbusServer: get dbus name: com.example.NoBus
bus TermsDbusServer.cpp CreateDbusServer: get dbus connection fail!
bus-error TermsDbusServer.cpp CreateDbusServer: (Could not connect: Not a directory 4)
system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer Fail
)");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.Address().c_str(), 1);
    EXPECT_EQ(creation(kName), R"(1
bus TermsDbusServer.cpp CreateDbusServer: get dbus name: com.example.One
bus TermsDbusServer.cpp CreateDbusServer: Get dbus connection success : ADDRESS
bus TermsDbusServer.cpp CreateDbusServer: RequestName(com.example.One) success : ID
bus TermsDbusServer.cpp CreateDbusServer: Register Obj Path: /com/example/One
bus TermsDbusServer.cpp CreateDbusServer: Get register id : ID
system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer Sucess
)");
    {
        const ExpectedWarning warning("g_bus_own_name_on_connection");
        EXPECT_EQ(creation("nodots"), R"(0
bus TermsDbusServer.cpp CreateDbusServer: get dbus name: nodots
bus TermsDbusServer.cpp CreateDbusServer: Get dbus connection success : ADDRESS
bus-error TermsDbusServer.cpp CreateDbusServer: Request bus name fail!
system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer Fail
)");
    }
    const ExpectedWarning warning("g_variant_is_object_path");
    EXPECT_EQ(creation("com.example.a-b"), R"(0
bus TermsDbusServer.cpp CreateDbusServer: get dbus name: com.example.a-b
bus TermsDbusServer.cpp CreateDbusServer: Get dbus connection success : ADDRESS
bus TermsDbusServer.cpp CreateDbusServer: RequestName(com.example.a-b) success : ID
bus TermsDbusServer.cpp CreateDbusServer: Register Obj Path: /com/example/a-b
bus TermsDbusServer.cpp CreateDbusServer: Get register id : 0
bus-error TermsDbusServer.cpp CreateDbusServer: Register Obj Path Fail!
system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer Fail
)");
    EXPECT_EQ(CreateTermsDbusServer(("com." + std::string(251, 'x')).c_str()), 1);  // the longest
}

TEST_F(BusServerTest, NothingIsLeftOfAServerThatIsClosed) {
    Create();
    EXPECT_EQ(Of(g_DbusServer->CloseDbusServer()), "1\n");
    EXPECT_EQ(Of(g_DbusServer->CloseDbusServer()), "1\n");
    EXPECT_EQ(g_DbusServer->getDbusServiceName(), kName);
    Create();
    TermsDbusServer* const server = g_DbusServer;
    m_ReleaseTermsDbusServerInstance(new TermsDbusServer("another"));
    EXPECT_EQ(g_DbusServer, nullptr);  // whichever server was given
    g_DbusServer = server;
    CloseTermsDbusServer(kName);
    const Handle<GDBusConnection> shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    g_autoptr(GError) error = nullptr;
    g_dbus_connection_call_sync(shared.get(), g_dbus_connection_get_unique_name(shared.get()),
                                "/com/example/One", kName, "SendMessage", nullptr, nullptr,
                                G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    EXPECT_STREQ(error->message,
                 "GDBus.Error:org.freedesktop.DBus.Error.UnknownMethod: "
                 "Object does not exist at path “/com/example/One”");
}

TEST_F(BusServerTest, WhatCannotBeDecodedIsNotAnswered) {
    g_autoptr(GVariant) arguments = g_variant_ref_sink(g_variant_new("(suss)", "", 0U, "", ""));
    const auto call = [](const char* method, GVariant* parameters, void* server) {
        TermsDbusServer::m_ObjectCallback(nullptr, nullptr, nullptr, nullptr, method, parameters,
                                          nullptr, server);
        return TakeLogs();
    };
    EXPECT_EQ(
        call("SendMessageX", arguments, g_DbusServer),
        "bus TermsDbusServer.cpp m_ObjectCallback: get message\n"
        "bus-error TermsDbusUtil.cpp MakeParamsToMsgInput: error method name : SendMessageX\n"
        "bus-error TermsDbusServer.cpp m_ObjectCallback: Error, MakeParamsToMsgInput fail \n");
    const std::string refused = R"(bus TermsDbusServer.cpp m_ObjectCallback: get message
bus-error TermsDbusServer.cpp m_ObjectCallback: ERROR, parameters )";
    EXPECT_EQ(call("SendMessage", nullptr, g_DbusServer),
              refused + "[(nil)] or dbusServer [ADDRESS] is NULL!\n");
    EXPECT_EQ(call("SendMessage", arguments, nullptr),
              refused + "[ADDRESS] or dbusServer [(nil)] is NULL!\n");
}

TEST_F(BusServerTest, ItCallsServersThatAreNotItsOwn) {
    const auto answer = [](const BusPeer::Script& script, int limit = -1) {
        const BusPeer peer(kOther, script);
        TermsDbusMessage request = Message("hello");
        TermsDbusUtil::OwnedMessage reply;
        SendTermsDbusSyncMessage(kName, kOther, &request, &reply, limit);
        return (reply.message != nullptr ? reply.message : "nothing") +
               (", " + std::to_string(reply.buffer_size)) + " bytes\n" + TakeLogs();
    };
    Create();
    EXPECT_EQ(answer(BusPeer::Says("('you', uint32 9, 't', 'plain')")),
              "plain, 0 bytes\n" + kCalled + "bus TermsDbusUtil.cpp MakeParamsToMessage: (suss)\n" +
                  kReplied);
    EXPECT_EQ(answer(BusPeer::Says("('you', uint32 9, 't', 'more', [(byte 1,), (2,)])")),
              "more, 2 bytes\n" + kCalled + R"(bus TermsDbusUtil.cpp MakeParamsToMessage: (sussa(y))
bus TermsDbusUtil.cpp MakeParamsToMessage: get data of (sussa(y))
)" + kReplied);
    EXPECT_EQ(answer(BusPeer::Says("(1, 2)")),
              "nothing, 0 bytes\n" + kCalled + "bus TermsDbusUtil.cpp MakeParamsToMessage: (ii)\n" +
                  kReplied);
    const std::string failed = "nothing, 0 bytes\n" + kCalled +
                               "bus-error TermsDbusServer.cpp SendDbusSyncMessage: "
                               "Fail to invoking sync message call(";
    EXPECT_EQ(answer(&BusPeer::Call::Refuse),
              failed + "GDBus.Error:com.example.Bad: {} 36)\n" + kNotReplied);
    EXPECT_EQ(
        Replace(answer(&BusPeer::Call::Leave), "NoReply: .* 4", "NoReply: <the bus's> 4"),
        failed + "GDBus.Error:org.freedesktop.DBus.Error.NoReply: <the bus's> 4)\n" + kNotReplied);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(answer([](const BusPeer::Call&) {}, 20),
              failed + "Timeout was reached 24)\n" + kNotReplied);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(25));  // GDBus's own
    TermsDbusMessage empty{};
    TermsDbusUtil::OwnedMessage reply;
    const ExpectedWarning warning("g_dbus_is_name");
    EXPECT_EQ(
        Of(SendTermsDbusSyncMessage(kName, "no name", &empty, &reply, -1)),
        "0\nbus TermsDbusServer.cpp SendDbusSyncMessage: from[] to [no name] []\n" + kNotReplied);
}

/// Sends bytes to a mirror and compares what comes back.
void ExpectMirrored(std::size_t size) {
    const BusPeer mirror(kOther, [](const BusPeer::Call& call) { call.Reply(call.Body()); });
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    TermsDbusMessage request = Message("m", bytes.data(), size);
    TermsDbusUtil::OwnedMessage reply;
    NoteWait("a mirror of " + std::to_string(size) + " bytes");
    EXPECT_EQ(SendTermsDbusSyncMessage(kHandle, kOther, &request, &reply, INT_MAX), 1);
    bytes.resize(size > 1 ? size : 0);  // a single 0 stands for nothing
    EXPECT_EQ(std::vector<std::uint8_t>(reply.buffer, reply.buffer + reply.buffer_size), bytes);
}

TEST_F(BusServerTest, PayloadsGoBothWays) {
    Create();
    for (const std::size_t size : {0U, 1U, 65536U}) {
        ExpectMirrored(size);
    }
}

TEST_F(BusServerTest, TheLargestPayloadGoesBothWays) {
    Create();
    ExpectMirrored(4000000);  // eight times as many on the bus, which ends at 32 MiB
}

TEST_F(BusServerTest, SignalsReachEverybodyWhoListens) {
    Create();
    BusPeer listener(kName);
    std::uint8_t bytes[] = {0, 5};
    const std::pair<TermsDbusMessage, std::string> cases[] = {
        {Message("hello"), "('me', uint32 3, 't', 'hello')"},
        {Message("m", bytes, 2), "('me', uint32 3, 't', 'm', [(byte 0x00,), (0x05,)])"}};
    for (auto [message, body] : cases) {
        EXPECT_EQ(Of(SendTermsDbusSignal(kName, "Changed", &message)), R"(1
bus TermsDbusServer.cpp SendDbusSignal: Send Signal [Changed] : [success].
trace TermsAPI.cpp SendTermsDbusSignal: SendTermsDbusSignal result: [1]
)");
        EXPECT_EQ(listener.Next(), "/com/example/One com.example.One Changed " + body);
    }
    TermsDbusMessage message = Message("m");
    const ExpectedWarning warning("g_dbus_is_member_name");
    EXPECT_EQ(Of(SendTermsDbusSignal(kName, "no name", &message)), R"(0
bus TermsDbusServer.cpp SendDbusSignal: Send Signal [no name] : [fail].
trace TermsAPI.cpp SendTermsDbusSignal: SendTermsDbusSignal result: [0]
)");
}

TEST_F(BusServerTest, ANameMovesToASecondOwnerAndBack) {
    Create();
    {
        const BusPeer second(kName, &BusPeer::Call::Refuse);
        WaitFor(m_lost, "the loss of the name");
        EXPECT_EQ(TakeLogs(),
                  "bus TermsDbusServer.cpp m_OnNameLost: \n"
                  "bus TermsDbusServer.cpp m_OnNameLost: start to callback func\n");
    }
    WaitFor(m_acquired, "the name");
    EXPECT_EQ(TakeLogs(),
              "bus TermsDbusServer.cpp m_OnNameAcquired: \n"
              "bus TermsDbusServer.cpp m_OnNameAcquired: start to callback func\n");
}

TEST_F(BusServerTest, ABusThatDiesFailsCallsAndANewOneServesAgain) {
    TermsDbusMessage message = Message("m");
    TermsDbusUtil::OwnedMessage reply;
    const auto expectNotOpen = [&] {
        TakeLogs();
        EXPECT_EQ(Of(g_DbusServer->SendDbusSignal("S", message)),
                  "0\nbus-error TermsDbusServer.cpp SendDbusSignal: dbus connection is not open\n");
        EXPECT_EQ(
            Of(g_DbusServer->SendDbusSyncMessage(kName, message, reply, -1)),
            "0\nbus-error TermsDbusServer.cpp SendDbusSyncMessage: dbus connection is not open\n");
    };
    expectNotOpen();  // never created
    Create();
    m_bus.Stop();
    WaitFor(m_lost, "the loss of the bus");
    expectNotOpen();
    g_closedUnseen = true;
    EXPECT_EQ(Of(g_DbusServer->SendDbusSignal("S", message)),
              "0\nbus-error TermsDbusServer.cpp SendDbusSignal: "
              "faile to  invoking emit signal(The connection is closed 18)\n"
              "bus TermsDbusServer.cpp SendDbusSignal: Send Signal [S] : [fail].\n");
    g_closedUnseen = false;
    const PrivateBus another;
    Create();  // closes what is left of the first
    ServeDuring([&] { return SendTermsDbusSyncMessage(kHandle, kName, &message, &reply, -1); });
    EXPECT_STREQ(reply.message, "m");
    g_DbusServer->CloseDbusServer();
    expectNotOpen();
}

TEST_F(BusServerTest, TheServerIsFoundByItsTwoNamesOnly) {
    TermsDbusMessage message = Message("m");
    TermsDbusUtil::OwnedMessage reply;
    const auto registers = [](const char* name, int type) {
        RegisterTermsDbusCallback(name, static_cast<TermsDbusCallbackType>(type), nullptr, nullptr);
        return 0;
    };
    const auto nullName = [](const std::string& function) {
        return "0\nsystem TermsAPI.cpp " + function +
               ": ERROR! service or signal name, char string is NULL\n";
    };
    const std::string unknown =
        "0\nsystem TermsAPI.cpp m_GetTermsDbusServerInstance: "
        "Failed to get TermsDbusServerInstance, serviceName: ";
    Create();
    EXPECT_EQ(Of(registers(nullptr, 2)), nullName("RegisterTermsDbusCallback"));
    EXPECT_EQ(Of(InitiateTermsDbusServer(nullptr)), nullName("InitiateTermsDbusServer"));
    EXPECT_EQ(Of(CreateTermsDbusServer(nullptr)), nullName("CreateTermsDbusServer"));
    EXPECT_EQ(Of(SendTermsDbusSignal(nullptr, "S", &message)), nullName("SendTermsDbusSignal"));
    EXPECT_EQ(Of(SendTermsDbusSignal(kName, nullptr, &message)), nullName("SendTermsDbusSignal"));
    EXPECT_EQ(Of(SendTermsDbusSyncMessage(nullptr, kOther, &message, &reply, 1)),
              nullName("SendTermsDbusSyncMessage"));
    EXPECT_EQ(Of(SendTermsDbusSyncMessage(kName, nullptr, &message, &reply, 1)),
              nullName("SendTermsDbusSyncMessage"));
    EXPECT_EQ(Of(CloseTermsDbusServer(nullptr)), nullName("CloseTermsDbusServer"));

    EXPECT_EQ(Of(SendTermsDbusSignal(kName, "S", nullptr)), "0\n");
    EXPECT_EQ(Of(SendTermsDbusSyncMessage(kName, kOther, nullptr, &reply, 1)), "0\n");
    EXPECT_EQ(Of(SendTermsDbusSyncMessage(kName, kOther, &message, nullptr, 1)), "0\n");

    EXPECT_EQ(Of(registers("x", 2)), unknown + R"(x
system TermsAPI.cpp RegisterTermsDbusCallback: RegisterTermsDbusCallback fail !!! type [2]
)");
    EXPECT_EQ(Of(SendTermsDbusSignal("x", "S", &message)), unknown + "x\n");
    EXPECT_EQ(Of(SendTermsDbusSyncMessage("", kOther, &message, &reply, 1)), unknown + '\n');
    EXPECT_EQ(Of(CloseTermsDbusServer("x")), unknown + R"(x
system TermsAPI.cpp CloseTermsDbusServer: CloseTermsDbusServer fail !!! service name [x]
)");

    EXPECT_EQ(Of(registers(kName, -1)), R"(0
system TermsAPI.cpp RegisterTermsDbusCallback: RegisterTermsDbusCallback Finish, type [-1]
)");
    EXPECT_EQ(Of(CloseTermsDbusServer(kHandle)), "1\n" + kClosed);
    EXPECT_EQ(g_DbusServer, nullptr);
    EXPECT_EQ(Of(SendTermsDbusSignal(kName, "S", &message)), unknown + kName + '\n');
    EXPECT_EQ(Of(CreateTermsDbusServer(kName)), R"(0
system TermsAPI.cpp CreateTermsDbusServer: CreateTermsDbusServer Fail
)");
    EXPECT_EQ(Of(InitiateTermsDbusServer("h")), R"(1
system TermsAPI.cpp InitiateTermsDbusServer: Success to new TermsDbusServer, original Name: h
)");
    EXPECT_EQ(CloseTermsDbusServer("h"), 1);
}

}  // namespace
