// The host's bus framework on a real bus, against services that answer well, badly or not at all.
#include <TCServer.h>
#include <gtest/gtest.h>
#include <json/value.h>
#include <pthread.h>

#include <csignal>
#include <future>

#include "ScriptedService.h"
#include "World.h"

namespace {

using Corvane::TCMessage;
using Corvane::TCServer;

constexpr char kName[] = "com.example.Service";

class BusTest : public testing::Test {
  protected:
    bool Send(const char* name, bool synchronous = true, int timeLimit = -1) {
        m_request.m_JsonBody["text"] = "\xea\xb0\x80 \xff";
        m_request.m_Protocol = "protocol";
        return m_client.CreateDBusProxy() &&
               m_client.SendMessage(name, &m_request, synchronous, &m_reply, timeLimit);
    }

    PrivateBus m_bus;
    TCMessage m_request;
    TCMessage m_reply;
    TCServer m_client{"CAutoConnect", TCServer::TC_SERVER_CLIENT};
};

TEST_F(BusTest, OnlyAReplyThatIsJsonCounts) {
    using Script = ScriptedService::Script;
    const auto says = ScriptedService::Says;
    const std::string large = "\"" + std::string(8 << 20, 'x') + "\"";
    const Script error = [](sd_bus_message* call, const auto&, const auto&) {
        sd_bus_reply_method_errorf(call, "com.example.Error", "no");
    };
    const Script number = [](sd_bus_message* call, const auto&, const auto&) {
        sd_bus_reply_method_return(call, "i", 1);
    };
    const Script leaves = [](sd_bus_message* call, const auto&, const auto&) {
        sd_bus_close(sd_bus_message_get_bus(call));
    };
    const struct {
        const char* what;
        Script script;
        bool sent;
    } cases[] = {
        {"an object", says(R"({"result":true})"), true},
        {"a bare value", says("null"), true},
        {"eight megabytes", says(large), true},
        {"no text", says(""), false},
        {"prose", says("not JSON"), false},
        {"half an object", says(R"({"result":tru)"), false},
        {"something behind it", says("{} {}"), false},
        {"a comment", says("{} // comment"), false},
        {"too many levels", says(std::string(2000, '[') + std::string(2000, ']')), false},
        {"an error", error, false},
        {"another type", number, false},
        {"a service that goes away", leaves, false},
    };
    for (const auto& each : cases) {
        const ScriptedService service(kName, each.script);
        m_reply.m_JsonBody = "untouched";
        EXPECT_EQ(Send(kName), each.sent) << each.what;
        EXPECT_EQ(m_reply.m_JsonBody != "untouched", each.sent) << each.what;
    }
}

TEST_F(BusTest, CarriesProtocolAndBodyBothWays) {
    std::promise<std::string> seen;
    const ScriptedService service(
        kName, [&seen](sd_bus_message* call, const auto& protocol, const auto& text) {
            seen.set_value(protocol + text);
            sd_bus_reply_method_return(call, "s", text.c_str());
        });
    EXPECT_TRUE(Send(kName));
    EXPECT_EQ(seen.get_future().get(), R"(protocol{"text":"\uac00 \ufffd"})");
    EXPECT_EQ(m_reply.m_JsonBody["text"], "\xea\xb0\x80 \xef\xbf\xbd");
}

TEST_F(BusTest, WithoutAServiceOrABusSendingFailsAtOnce) {
    EXPECT_FALSE(m_client.SendMessage(kName, &m_request, true, &m_reply, -1));  // not open
    EXPECT_FALSE(Send(kName));
    EXPECT_FALSE(Send("not a bus name"));
    EXPECT_FALSE(Send(nullptr));
    EXPECT_TRUE(m_client.CloseDBusProxy());
    EXPECT_FALSE(m_client.CloseDBusProxy());
    m_bus.Stop();
    EXPECT_FALSE(m_client.CreateDBusProxy());
    EXPECT_FALSE(m_client.SendMessage(kName, &m_request, true, &m_reply, -1));
}

TEST_F(BusTest, ABusThatGoesAwayEndsTheWait) {
    const ScriptedService service(
        kName, [this](sd_bus_message*, const auto&, const auto&) { m_bus.Stop(); });
    EXPECT_FALSE(Send(kName));
}

TEST_F(BusTest, ATimeLimitEndsTheWait) {
    const ScriptedService service(kName, [](sd_bus_message*, const auto&, const auto&) {});
    EXPECT_FALSE(Send(kName, true, 0));
    EXPECT_FALSE(Send(kName, true, 20));
}

TEST_F(BusTest, ASignalDoesNotEndTheWait) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t caller = pthread_self();
    const ScriptedService service(kName, [caller](sd_bus_message* call, const auto&, const auto&) {
        pthread_kill(caller, SIGUSR1);
        sd_bus_reply_method_return(call, "s", "{}");
    });
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(Send(kName)) << i;
    }
}

TEST_F(BusTest, AnAsynchronousMessageIsHandedOver) {
    std::promise<bool> wantsReply;
    const ScriptedService service(kName, [&](sd_bus_message* call, const auto&, const auto&) {
        wantsReply.set_value(sd_bus_message_get_expect_reply(call) > 0);
    });
    EXPECT_TRUE(Send(kName, false));
    EXPECT_FALSE(wantsReply.get_future().get());
}

}  // namespace
