// The host's bus framework on a real bus, against services that answer well, badly or not at all.
#include <TCServer.h>
#include <gtest/gtest.h>
#include <json/value.h>
#include <pthread.h>

#include <csignal>

#include "BusPeer.h"
#include "Main.h"

namespace {

using Corvane::TCMessage;
using Corvane::TCServer;

constexpr char kName[] = "com.example.Service";

class BusTest : public testing::Test {
  protected:
    bool Send(const char* name, bool synchronous = true, int timeLimit = -1) {
        m_request.m_JsonBody["text"] = "\xea\xb0\x80 \xff";
        m_request.m_Protocol = "protocol";
        NoteWait("the end of an exchange");
        return m_client.CreateDBusProxy() &&
               m_client.SendMessage(name, &m_request, synchronous, &m_reply, timeLimit);
    }

    PrivateBus m_bus;
    TCMessage m_request;
    TCMessage m_reply;
    TCServer m_client{"CAutoConnect", TCServer::TC_SERVER_CLIENT};
};

TEST_F(BusTest, OnlyAReplyThatIsJsonCounts) {
    const std::string large = "\"" + std::string(8 << 20, 'x') + "\"";
    const auto says = BusPeer::SaysText;
    const struct {
        const char* what;
        BusPeer::Script script;
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
        {"a hundred levels", says(std::string(99, '[') + '1' + std::string(99, ']')), true},
        {"one more", says(std::string(100, '[') + '1' + std::string(100, ']')), false},
        {"an error", &BusPeer::Call::Refuse, false},
        {"another type", BusPeer::Says("(1,)"), false},
        {"a service that goes away", &BusPeer::Call::Leave, false},
    };
    for (const auto& each : cases) {
        const BusPeer service(kName, each.script);
        m_reply.m_JsonBody = "untouched";
        EXPECT_EQ(Send(kName), each.sent) << each.what;
        EXPECT_EQ(m_reply.m_JsonBody != "untouched", each.sent) << each.what;
    }
}

TEST_F(BusTest, CarriesProtocolAndBodyBothWays) {
    BusPeer service(kName, [](const BusPeer::Call& call) {
        g_autoptr(GVariant) text = g_variant_get_child_value(call.Body(), 1);
        call.Reply(g_variant_new("(@s)", text));
    });
    m_request.m_JsonBody = Json::objectValue;  // a null one would lose the remark
    m_request.m_JsonBody.setComment(std::string("/* a remark */"), Json::commentBefore);
    EXPECT_TRUE(Send(kName));
    EXPECT_EQ(service.Next(),
              "/com/example/Service com.corvane.Message1 Exchange "
              R"(('protocol', '{"text":"\\uac00 \\ufffd"}'))");
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
    const BusPeer service(kName, [this](const BusPeer::Call&) { m_bus.Stop(); });
    EXPECT_FALSE(Send(kName));
}

TEST_F(BusTest, ATimeLimitEndsTheWait) {
    const BusPeer service(kName, [](const BusPeer::Call&) {});
    EXPECT_FALSE(Send(kName, true, 0));
    EXPECT_FALSE(Send(kName, true, 20));
}

TEST_F(BusTest, ASignalDoesNotEndTheWait) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t caller = pthread_self();
    const BusPeer service(kName, [caller](const BusPeer::Call& call) {
        pthread_kill(caller, SIGUSR1);
        BusPeer::SaysText("{}")(call);
    });
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(Send(kName)) << i;
    }
}

TEST_F(BusTest, AnAsynchronousMessageIsHandedOver) {
    BusPeer service(kName, [](const BusPeer::Call& call) {
        EXPECT_NE(g_dbus_message_get_flags(call.message) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED,
                  0);
    });
    EXPECT_TRUE(Send(kName, false));
    service.Next();
}

}  // namespace
