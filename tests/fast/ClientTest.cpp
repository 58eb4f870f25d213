// The client against recording doubles: every request's JSON, every platform call and every log
// line, in their order, on every way out.
#include <gtest/gtest.h>

#include <future>

#include "Cases.h"
#include "Doubles.h"
#include "VerantiAPI.h"
#include "Wire.h"

namespace {

Json::Value Parse(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(Corvane::Wire::FromText(text, value)) << text;
    return value;
}

std::string Text(bool value) {
    return value ? "true" : "false";
}

Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::string Header(CVerantiAPI& api, void (CVerantiAPI::*getter)(Json::Value&)) {
    Json::Value header = "old";
    (api.*getter)(header);
    return Corvane::Wire::ToText(header);
}

std::string Agreements(CVerantiAPI& api) {
    Json::Value agreements = Parse(R"({"a":"true","method":"x","b":{"c":1}})");
    const bool result = api.SetDisclaimersAgreement(agreements, false, "TV");
    EXPECT_TRUE(agreements.empty());
    return Text(result);
}

std::string Detail(CVerantiAPI& api, bool byId) {
    STHomeDisclaimerContentItem item;
    const int result = byId
                           ? api.GetDisclaimerDetail("i", item, "phone")
                           : api.GetDisclaimerDetail(item, 3, HOME_DISCLAIMER_REQUESTER_1, "phone");
    return std::to_string(result) + item.strItemId;
}

std::string Revised(CVerantiAPI& api) {
    std::vector<STHomeDisclaimerContentItem*> items;
    const bool result = api.GetRevisedDisclaimers(items, "phone", "all");
    EXPECT_TRUE(items.empty());
    return Text(result);
}

std::string Check(CVerantiAPI& api) {
    int code = -1;
    int reason = -1;
    const bool result = api.DravikCheck(code, reason);
    return Text(result) + ' ' + std::to_string(code) + ' ' + std::to_string(reason);
}

std::string ErrorInfo(CVerantiAPI& api) {
    int code = -1;
    int reason = -1;
    std::string message = "old";
    const bool result = api.DravikCheck(code, reason, message);
    return Text(result) + ' ' + std::to_string(code) + ' ' + std::to_string(reason) + message;
}

using Call = std::function<std::string(CVerantiAPI&)>;

const std::map<std::string, Call>& Calls() {
    using Api = CVerantiAPI&;
    static const std::map<std::string, Call> calls = {
        {"IsServiceAvailable", [](Api api) { return Text(api.IsServiceAvailable()); }},
        {"GetInformationForDisclaimer",
         [](Api api) { return Header(api, &CVerantiAPI::GetInformationForDisclaimer); }},
        {"GetInformationForDisclaimerWebView",
         [](Api api) { return Header(api, &CVerantiAPI::GetInformationForDisclaimerWebView); }},
        {"DravikCheck", Check},
        {"DravikCheck with message", ErrorInfo},
        {"RequestDisclaimersRESTAPI",
         [](Api api) { return Text(api.RequestDisclaimersRESTAPI("me", "all")); }},
        {"RequestDisclaimerID", [](Api api) { return Text(api.RequestDisclaimerID("TV", false)); }},
        {"RequestDisclaimerID otherwise",
         [](Api api) { return Text(api.RequestDisclaimerID("phone", true)); }},
        {"SetDisclaimersAgreement", Agreements},
        {"SetCountryCode", [](Api api) { return Text(api.SetCountryCode("")); }},
        {"RequestUpdateDisclaimers",
         [](Api api) { return Text(api.RequestUpdateDisclaimers("phone")); }},
        {"RequestCountryCodeList", [](Api api) { return Text(api.RequestCountryCodeList()); }},
        {"CloneData", [](Api api) { return Text(api.CloneData("a", "b", true)); }},
        {"CopyCloneDataUSBtoTV",
         [](Api api) { return Text(api.CopyCloneDataUSBtoTV("/usb", "/tv")); }},
        {"CopyCloneDataTVtoUSB",
         [](Api api) { return Text(api.CopyCloneDataTVtoUSB("/tv", "/usb")); }},
        {"RequestResetNimbra", [](Api api) { return Text(api.RequestResetNimbra()); }},
        {"GetDisclaimerNum",
         [](Api api) {
             return std::to_string(api.GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_3, "phone"));
         }},
        {"GetDisclaimerDetail", [](Api api) { return Detail(api, false); }},
        {"GetDisclaimerDetail by id", [](Api api) { return Detail(api, true); }},
        {"GetRevisedDisclaimers", Revised},
        {"IsDisclaimerItemExist",
         [](Api api) { return Text(api.IsDisclaimerItemExist("i", "tv")); }},
        {"SetAllDisclaimerItemAgreement",
         [](Api api) { return Text(api.SetAllDisclaimerItemAgreement(5, "TV")); }},
        {"SetAllDisclaimerItemAgreement withdrawn",
         [](Api api) { return Text(api.SetAllDisclaimerItemAgreement(0, "phone")); }},
        {"SetRevisedTermAgreement",
         [](Api api) { return Text(api.SetRevisedTermAgreement("t1", true, "TV")); }},
        {"SetRevisedTermAgreement withdrawn",
         [](Api api) { return Text(api.SetRevisedTermAgreement("t1", false, "TV")); }},
        {"SetDisclaimerItemAgreement",
         [](Api api) { return Text(api.SetDisclaimerItemAgreement("t1", -1, "TV")); }},
        {"SetDisclaimerItemAgreement withdrawn",
         [](Api api) { return Text(api.SetDisclaimerItemAgreement("", 0, "")); }},
    };
    return calls;
}

enum class Scenario { Answered, Refused, Empty, Misshapen, Unsent, ProxyClosed, NotAvailable };

/// One request of the table of cases in one scenario.
class RequestTest : public testing::TestWithParam<std::tuple<std::string, Scenario>> {
  protected:
    RequestTest() {
        for (const Json::Value& each : ReadCases("client")) {
            if (each["call"] == m_Call) {
                m_Case = each;
            }
        }
    }

    const std::string m_Call = std::get<std::string>(GetParam());
    const Scenario m_Scenario = std::get<Scenario>(GetParam());
    const std::string m_Function = m_Call.substr(0, m_Call.find(' '));
    const bool m_Open = m_Scenario != Scenario::ProxyClosed;
    const bool m_Available = m_Scenario != Scenario::NotAvailable;
    Json::Value m_Case;

    /// Plays the service in the scenario. What the availability check that other requests make is
    /// answered with, is none of theirs.
    bool Serve(const Json::Value& sent, Json::Value& reply) const {
        if (sent != m_Case["sends"]) {
            reply["result"] = m_Available;
            return true;
        }
        if (m_Scenario == Scenario::Misshapen) {
            reply.append(1);
        } else if (m_Scenario != Scenario::Empty && m_Scenario != Scenario::Unsent) {
            reply = m_Case.get("reply", Parse(R"({"result":true})"));
        }
        if (m_Scenario == Scenario::Refused) {
            reply["result"] = false;
        }
        return m_Scenario != Scenario::Unsent;
    }

    std::string ExpectedOutcome() const {
        switch (m_Scenario) {
            case Scenario::Refused:
                return m_Case.get("refused", "false").asString();
            case Scenario::Empty:
                return m_Case.get("empty", "false").asString();
            case Scenario::Misshapen:
                return "exception";
            case Scenario::Unsent:
                return m_Case.get("unsent", "false").asString();
            default:
                return m_Case.get("answered", "true").asString();
        }
    }

    /// The log line that the case has for a moment, if any.
    Lines ExpectedLog(const char* moment, const char* look = "info",
                      const std::string& more = "") const {
        if (!m_Case.isMember(moment)) {
            return {};
        }
        return {LogLine(look, m_Function, m_Case[moment].asString() + more)};
    }

    /// What is logged between the send and the end.
    Lines ExpectedReading(const std::string& outcome) const {
        if (m_Scenario == Scenario::Misshapen) {
            return {};
        }
        Lines lines = ExpectedLog("result", "info", outcome);
        if (ExpectedOutcome() != m_Case.get("answered", "true").asString()) {
            return lines;
        }
        for (const Json::Value& line : m_Case["read"]) {
            const std::string text = line.asString();
            const std::size_t blank = text.find(' ');
            lines.push_back("log " + text.substr(0, blank) + " VerantiAPI.cpp" +
                            text.substr(blank));
        }
        return lines;
    }

    Lines ExpectedExchange(const Lines& filled, const std::string& json, const Lines& read) const {
        return Lines{"make server CAutoConnect 2", "open", "make request", "make reply"} + filled +
               Lines{"send request to com.velmora.tv.termsclient for reply sync -1", json} + read +
               Lines{"destroy reply", "destroy request"} + (m_Open ? Lines{"close"} : Lines{}) +
               Lines{"destroy server"};
    }

    Lines ExpectedAvailabilityCheck() const {
        if (m_Call == "IsServiceAvailable") {
            return {};
        }
        const auto info = [](const std::string& message) {
            return Lines{LogLine("info", "IsServiceAvailable", message)};
        };
        return info("IsServiceAvailable") +
               ExpectedExchange({}, R"({"method":"is service available"})",
                                info("IsServiceAvailable result : " + Text(m_Available)));
    }
};

TEST_P(RequestTest, SendsReadsLogsAndCloses) {
    PlatformDouble& platform = ThePlatform();
    platform.Reset();
    platform.proxyOpens = m_Open;
    platform.service = [this](const Json::Value& sent, Json::Value& reply) {
        return Serve(sent, reply);
    };

    CVerantiAPI api;
    std::string outcome;
    try {
        outcome = Calls().at(m_Call)(api);
    } catch (const Json::LogicError&) {
        outcome = "exception";
    }

    EXPECT_EQ(outcome, ExpectedOutcome());
    EXPECT_EQ(
        platform.journal,
        ExpectedLog("entry") + ExpectedAvailabilityCheck() + ExpectedLog("checked") +
            ExpectedExchange(ExpectedLog("filled", "trace"), Corvane::Wire::ToText(m_Case["sends"]),
                             ExpectedReading(outcome)));
}

std::vector<std::string> AllCases() {
    std::vector<std::string> calls;
    for (const Json::Value& each : ReadCases("client")) {
        calls.push_back(each["call"].asString());
    }
    return calls;
}

TEST(RequestTableTest, HasEveryCall) {
    EXPECT_EQ(AllCases().size(), Calls().size());
}

INSTANTIATE_TEST_SUITE_P(AllRequests, RequestTest,
                         testing::Combine(testing::ValuesIn(AllCases()),
                                          testing::Values(Scenario::Answered, Scenario::Refused,
                                                          Scenario::Empty, Scenario::Misshapen,
                                                          Scenario::Unsent, Scenario::ProxyClosed,
                                                          Scenario::NotAvailable)));

class LifetimeTest : public testing::Test {
  protected:
    LifetimeTest() {
        CVerantiAPI::Destroy();
        ThePlatform().journal.clear();
    }
    ~LifetimeTest() override { CVerantiAPI::Destroy(); }

    const std::string m_Get = LogLine("trace", "GetInstance", "CVerantiAPI GetInstance");
    const std::string m_Init = LogLine("trace", "m_InitProxy", "CVerantiAPI m_InitProxy");
    const std::string m_Destroy = LogLine("trace", "Destroy", "CVerantiAPI Destroy");
};

TEST_F(LifetimeTest, OneInstanceUntilDestroyed) {
    CVerantiAPI* const first = CVerantiAPI::GetInstance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(CVerantiAPI::GetInstance(), first);
    EXPECT_EQ(CVerantiAPI::GetInstanceUT(), first);
    EXPECT_EQ(CVerantiAPI::m_pInstance, first);
    CVerantiAPI::Destroy();
    EXPECT_EQ(CVerantiAPI::m_pInstance, nullptr);
    CVerantiAPI::Destroy();
    EXPECT_NE(CVerantiAPI::GetInstance(), nullptr);
    EXPECT_EQ(ThePlatform().journal,
              (Lines{m_Get, m_Init, m_Get, m_Destroy, m_Destroy, m_Get, m_Init}));
}

TEST_F(LifetimeTest, ManyThreadsMakeOneInstance) {
    for (int round = 0; round < 100; ++round) {
        CVerantiAPI::Destroy();
        ThePlatform().journal.clear();
        std::promise<void> gate;
        const std::shared_future<void> open = gate.get_future().share();
        std::vector<std::future<CVerantiAPI*>> callers;
        for (int i = 0; i < 8; ++i) {
            callers.push_back(std::async(std::launch::async, [open] {
                open.wait();
                return CVerantiAPI::GetInstance();
            }));
        }
        gate.set_value();
        for (auto& caller : callers) {
            EXPECT_EQ(caller.get(), CVerantiAPI::GetInstance());
        }
        EXPECT_EQ(ThePlatform().Count(m_Init), 1);
    }
}

TEST_F(LifetimeTest, TheSecondGetterIsSilentAndRunsNoHook) {
    CVerantiAPI* const first = CVerantiAPI::GetInstanceUT();
    EXPECT_EQ(CVerantiAPI::GetInstance(), first);
    EXPECT_EQ(ThePlatform().journal, Lines{m_Get});
}

}  // namespace
