// The client against recording doubles: every request's JSON, every platform call and every log
// line, in their order, on every way out; and the life of the instance.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <thread>

#include "Journal.h"
#include "Limit.h"
#include "VerantiAPI.h"
#include "Wire.h"

namespace {

using Api = CVerantiAPI&;

Json::Value Parse(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(Corvane::Wire::FromText(text, value)) << text;
    return value;
}

std::string Header(Api api, void (CVerantiAPI::*getter)(Json::Value&)) {
    Json::Value header = "old";
    (api.*getter)(header);
    return Corvane::Wire::ToText(header);
}

bool Agreements(Api api) {
    Json::Value agreements = Parse(R"({"a":"true","method":"x","b":{"c":1}})");
    const bool result = api.SetDisclaimersAgreement(agreements, false, "phone");
    EXPECT_TRUE(agreements.empty());
    return result;
}

std::string ServiceCheck(Api api, bool withMessage) {
    int code = -1;
    int reason = -1;
    std::string message = "old";
    const bool result =
        withMessage ? api.DravikCheck(code, reason, message) : api.DravikCheck(code, reason);
    return Text(result) + ' ' + Text(code) + ' ' + Text(reason) + ' ' + message;
}

std::string Detail(Api api, bool byId) {
    STHomeDisclaimerContentItem item;
    item.strItemId = "old";
    const int result = byId
                           ? api.GetDisclaimerDetail("i", item, "phone")
                           : api.GetDisclaimerDetail(item, 3, HOME_DISCLAIMER_REQUESTER_1, "phone");
    return Text(result) + ' ' + item.strItemId;
}

bool Revised(Api api) {
    std::vector<STHomeDisclaimerContentItem*> items;
    const bool result = api.GetRevisedDisclaimers(items, "phone", "all");
    EXPECT_TRUE(items.empty());
    return result;
}

/// What becomes of a request.
enum Scenario {
    kAnswered,      // with the good reply
    kRefused,       // with the good reply but "result" false
    kEmpty,         // with a reply without members
    kUnsent,        // with the good reply, but the send failed
    kMisshapen,     // with an array
    kProxyClosed,   // with the good reply, though the proxy did not open
    kNotAvailable,  // with the good reply, though the check before it was answered no
};
const char* const kScenarios[] = {"Answered",  "Refused",     "Empty",       "Unsent",
                                  "Misshapen", "ProxyClosed", "NotAvailable"};

/// Stands for the availability check among a request's lines.
constexpr char kCheck[] = "check";

/// What a call gives, and its lines between the send and the end.
struct Outcome {
    Outcome(const char* result, Lines log = {}) : value(result), lines(std::move(log)) {}
    std::string value;
    Lines lines;
};

/// A request of the client: its call, log, JSON and outcomes.
struct Request {
    template <typename Call>
    Request(const char* name, Call call)
        : m_Name(name), m_Call([call](Api api) { return Text(call(api)); }) {}

    /// The lines before the exchange, where these are not the usual ones below.
    Request Logs(const Lines& lines) {
        m_Before = lines;
        return *this;
    }
    /// The JSON, and the lines just before the send.
    Request Sends(const char* json, const Lines& filled = {}) {
        m_Json = json;
        m_Filled = filled;
        return *this;
    }
    /// The good reply and the outcomes, where these are not the usual ones below.
    Request Gives(const char* reply, const Outcome& answered, const Outcome& refused,
                  const Outcome& empty, const Outcome& unsent) {
        m_Reply = reply;
        m_Outcomes = {answered, refused, empty, unsent};
        return *this;
    }
    Request Gives(const char* reply, const Outcome& answered, const Outcome& otherwise) {
        return Gives(reply, answered, otherwise, otherwise, otherwise);
    }

    std::string m_Name;
    std::function<std::string(Api)> m_Call;
    Lines m_Before = {"info VerantiAPI.cpp " + m_Name + ": ", kCheck};
    const char* m_Json = nullptr;
    Lines m_Filled;
    const char* m_Reply = R"({"result":true})";
    std::array<Outcome, 4> m_Outcomes = {"true", "false", "false", "false"};
};

const Request kRequests[] = {
    Request("IsServiceAvailable", [](Api api) { return api.IsServiceAvailable(); })
        .Logs({"info VerantiAPI.cpp IsServiceAvailable: IsServiceAvailable"})
        .Sends(R"({"method":"is service available"})")
        .Gives(
            R"({"result":true})",
            {"true", {"info VerantiAPI.cpp IsServiceAvailable: IsServiceAvailable result : true"}},
            {"false",
             {"info VerantiAPI.cpp IsServiceAvailable: IsServiceAvailable result : false"}}),
    Request("GetInformationForDisclaimer",
            [](Api api) { return Header(api, &CVerantiAPI::GetInformationForDisclaimer); })
        .Sends(R"({"data":null,"method":"get information for disclaimer"})")
        .Gives(R"({"headerData":[1],"result":true})", "[1]", "[1]", "null", "[1]"),
    Request("GetInformationForDisclaimerWebView",
            [](Api api) { return Header(api, &CVerantiAPI::GetInformationForDisclaimerWebView); })
        .Sends(R"({"data":null,"method":"get information for web view disclaimer"})")
        .Gives(R"({"headerData":[1],"result":true})", "[1]", "[1]", "null", "[1]"),
    Request("DravikCheck", [](Api api) { return ServiceCheck(api, false); })
        .Sends(R"({"method":"dravik check"})")
        .Gives(R"({"errorcode":3,"errormessage":"m","errorreason":7,"result":true})",
               "true 3 7 old", "false 3 7 old", "false 0 0 old", "false -1 -1 old"),
    Request("DravikCheckWithMessage", [](Api api) { return ServiceCheck(api, true); })
        .Logs({"info VerantiAPI.cpp DravikCheck: ", kCheck})
        .Sends(R"({"method":"dravik get error info"})")
        .Gives(R"({"errorcode":3,"errormessage":"m","errorreason":7,"result":true})", "true 3 7 m",
               "false 3 7 m", "false 0 0 ", "false -1 -1 old"),
    Request("RequestDisclaimersRESTAPI",
            [](Api api) { return api.RequestDisclaimersRESTAPI("me", "all"); })
        .Logs({kCheck})
        .Sends(R"({"data":null,"method":"request disclaimer api","product_type":"TV",)"
               R"("request_from":"me","terms":"all"})",
               {"trace VerantiAPI.cpp RequestDisclaimersRESTAPI: "}),
    Request("RequestDisclaimerID", [](Api api) { return api.RequestDisclaimerID("TV", false); })
        .Sends(R"({"data":null,"method":"request disclaimerid","other_page":false,)"
               R"("product_type":"TV","request_from":"wizard-terms"})"),
    Request("RequestDisclaimerIDElsewhere",
            [](Api api) { return api.RequestDisclaimerID("phone", true); })
        .Logs({"info VerantiAPI.cpp RequestDisclaimerID: ", kCheck})
        .Sends(R"({"data":null,"method":"request disclaimerid","other_page":true,)"
               R"("product_type":"phone","request_from":"wizard-terms"})"),
    Request("SetDisclaimersAgreement", Agreements)
        .Sends(R"({"a":"true","b":{"c":1},"data":null,"method":"set agreements",)"
               R"("product_type":"phone"})"),
    Request("SetCountryCode", [](Api api) { return api.SetCountryCode(""); })
        .Sends(R"({"country_code":"","data":null,"method":"set country code"})"),
    Request("RequestUpdateDisclaimers",
            [](Api api) { return api.RequestUpdateDisclaimers("phone"); })
        .Sends(R"({"data":null,"method":"request update disclaimers","product_type":"phone",)"
               R"("request_from":"wizard-terms"})"),
    Request("RequestCountryCodeList", [](Api api) { return api.RequestCountryCodeList(); })
        .Sends(R"({"data":null,"method":"request country code list"})"),
    Request("CopyCloneDataUSBtoTV", [](Api api) { return api.CopyCloneDataUSBtoTV("/u", "/t"); })
        .Logs({"info VerantiAPI.cpp CopyCloneDataUSBtoTV: CopyCloneDataUSBtoTV called", kCheck})
        .Sends(R"({"data":null,"dest":"/t","method":"Copy Clone Data USB to TV","src":"/u"})"),
    Request("CopyCloneDataTVtoUSB", [](Api api) { return api.CopyCloneDataTVtoUSB("/t", "/u"); })
        .Logs({"info VerantiAPI.cpp CopyCloneDataTVtoUSB: CopyCloneDataTVtoUSB called", kCheck})
        .Sends(R"({"data":null,"dest":"/u","method":"Copy Clone Data TV to USB","src":"/t"})"),
    Request("RequestResetNimbra", [](Api api) { return api.RequestResetNimbra(); })
        .Logs({"info VerantiAPI.cpp RequestResetNimbra: ", kCheck,
               "info VerantiAPI.cpp RequestResetNimbra: RequestResetNimbra called"})
        .Sends(R"({"data":null,"method":"request reset nimbra"})"),
    Request("GetDisclaimerNum",
            [](Api api) { return api.GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_3, "phone"); })
        .Logs({"info VerantiAPI.cpp GetDisclaimerNum: GetDisclaimerNum called with requester: 3",
               kCheck})
        .Sends(R"({"data":null,"method":"get disclaimer number","product_type":"phone",)"
               R"("requester":3})")
        .Gives(R"({"number":12,"result":true})",
               {"12", {"info VerantiAPI.cpp GetDisclaimerNum: GetDisclaimerNum 12"}},
               {"0", {"info VerantiAPI.cpp GetDisclaimerNum: GetDisclaimerNum 0"}}),
    Request("GetDisclaimerDetail", [](Api api) { return Detail(api, false); })
        .Logs({"info VerantiAPI.cpp GetDisclaimerDetail: GetDisclaimerDetail called for index: 3 "
               "and requester: 1",
               kCheck})
        .Sends(R"({"data":null,"method":"get disclaimer by order","product_type":"phone",)"
               R"("request_index":3,"requester":1})")
        .Gives(R"({"details":"[]","id":"k","result":true})",
               {"0 k",
                {"trace VerantiAPI.cpp GetDisclaimerInfo: id k",
                 "trace VerantiAPI.cpp GetDisclaimerInfo: It is new RULE"}},
               "-1 old"),
    Request("GetDisclaimerDetailOfAnId", [](Api api) { return Detail(api, true); })
        .Logs({"info VerantiAPI.cpp GetDisclaimerDetail: GetDisclaimerDetail called for itemId: i "
               "phone",
               kCheck})
        .Sends(R"({"data":null,"method":"get disclaimer by term id","product_type":"phone",)"
               R"("request_item":"i"})")
        .Gives(R"({"details":"[]","id":"k","result":true})",
               {"0 k",
                {"trace VerantiAPI.cpp GetDisclaimerInfo: id k",
                 "trace VerantiAPI.cpp GetDisclaimerInfo: It is new RULE"}},
               "-1 old"),
    Request("GetRevisedDisclaimers", Revised)
        .Logs({"info VerantiAPI.cpp GetRevisedDisclaimers: GetRevisedDisclaimers called", kCheck})
        .Sends(R"({"data":null,"method":"get revised disclaimers","product_type":"phone",)"
               R"("terms":"all"})"),
    Request("IsDisclaimerItemExist", [](Api api) { return api.IsDisclaimerItemExist("i", "tv"); })
        .Logs({kCheck,
               "info VerantiAPI.cpp IsDisclaimerItemExist: IsDisclaimerItemExist called for "
               "strItemId: i"})
        .Sends(R"({"data":null,"method":"get disclaimer by term id","product_type":"tv",)"
               R"("request_item":"i"})"),
    Request("SetAllDisclaimerItemAgreement",
            [](Api api) { return api.SetAllDisclaimerItemAgreement(5, "TV"); })
        .Logs({"info VerantiAPI.cpp SetAllDisclaimerItemAgreement: Model TV try to set all "
               "agreement to true.",
               kCheck})
        .Sends(R"({"is_agreed":true,"method":"set all agreement","product_type":"TV"})"),
    Request("SetAllDisclaimerItemAgreementWithdrawn",
            [](Api api) { return api.SetAllDisclaimerItemAgreement(0, "phone"); })
        .Logs({"info VerantiAPI.cpp SetAllDisclaimerItemAgreement: Model phone try to set all "
               "agreement to false.",
               kCheck})
        .Sends(R"({"is_agreed":false,"method":"set all agreement","product_type":"phone"})"),
    Request("SetRevisedTermAgreement",
            [](Api api) { return api.SetRevisedTermAgreement("t", true, "TV"); })
        .Logs(
            {"info VerantiAPI.cpp SetRevisedTermAgreement: SetRevisedTermAgreement called", kCheck})
        .Sends(R"({"is_agreed":true,"method":"set one agreement","product_type":"TV",)"
               R"("request_item":"t"})"),
    Request("SetRevisedTermAgreementWithdrawn",
            [](Api api) { return api.SetRevisedTermAgreement("t", false, "phone"); })
        .Logs(
            {"info VerantiAPI.cpp SetRevisedTermAgreement: SetRevisedTermAgreement called", kCheck})
        .Sends(R"({"is_agreed":false,"method":"set one agreement","product_type":"phone",)"
               R"("request_item":"t"})"),
    Request("SetDisclaimerItemAgreement",
            [](Api api) { return api.SetDisclaimerItemAgreement("t", -1, "phone"); })
        .Logs({kCheck,
               "info VerantiAPI.cpp SetDisclaimerItemAgreement: Model phone try to set t agreement "
               "to true."})
        .Sends(R"({"is_agreed":true,"method":"set one agreement","product_type":"phone",)"
               R"("request_item":"t"})"),
};

class RequestTest : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {};

TEST_P(RequestTest, AnswersLogsAndCloses) {
    const Request& request = kRequests[std::get<0>(GetParam())];
    const std::size_t scenario = std::get<1>(GetParam());
    const Json::Value json = Parse(request.m_Json);
    ThePlatform().Reset();
    ThePlatform().proxyOpens = scenario != kProxyClosed;
    ThePlatform().service = [&](const Json::Value& sent, Json::Value& reply) {
        if (sent != json) {  // the check before it
            reply["result"] = scenario != kNotAvailable;
            return true;
        }
        reply = Parse(scenario == kEmpty ? "{}" : scenario == kMisshapen ? "[]" : request.m_Reply);
        if (scenario == kRefused) {
            reply["result"] = false;
        }
        return scenario != kUnsent;
    };

    CVerantiAPI api;
    Outcome expected = request.m_Outcomes[scenario < request.m_Outcomes.size() ? scenario : 0];
    if (scenario == kMisshapen) {
        EXPECT_THROW(request.m_Call(api), Json::LogicError);
        expected.lines.clear();
    } else {
        EXPECT_EQ(request.m_Call(api), expected.value);
    }
    Lines before = request.m_Before;
    std::replace(before.begin(), before.end(), std::string(kCheck),
                 Check(scenario != kNotAvailable));
    EXPECT_EQ(
        ThePlatform().TakeJournal(),
        Journal({Journal(before), Exchange(request.m_Json, expected.lines, request.m_Filled)}));
}

INSTANTIATE_TEST_SUITE_P(Requests, RequestTest,
                         testing::Combine(testing::Range<std::size_t>(0, std::size(kRequests)),
                                          testing::Range<std::size_t>(0, std::size(kScenarios))),
                         [](const auto& test) {
                             return kRequests[std::get<0>(test.param)].m_Name + '_' +
                                    kScenarios[std::get<1>(test.param)];
                         });

class LifetimeTest : public testing::Test {
  protected:
    LifetimeTest() {
        CVerantiAPI::Destroy();
        ThePlatform().Reset();
    }
    ~LifetimeTest() override { CVerantiAPI::Destroy(); }
};

constexpr char kInit[] = "trace VerantiAPI.cpp m_InitProxy: CVerantiAPI m_InitProxy";
constexpr char kDestroy[] = "trace VerantiAPI.cpp Destroy: CVerantiAPI Destroy";

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
    delete std::exchange(CVerantiAPI::m_pInstance, nullptr);
    CVerantiAPI::Destroy();  // forgets it all the same
    EXPECT_NE(CVerantiAPI::GetInstance(), nullptr);
    CVerantiAPI::Destroy();
    CVerantiAPI* const other = CVerantiAPI::GetInstanceUT();  // is silent and runs no hook
    EXPECT_EQ(CVerantiAPI::GetInstance(), other);
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({kInstance, kInit, kInstance, kDestroy, kDestroy, kInstance, kInit, kDestroy,
                       kInstance, kInit, kDestroy, kInstance}));
}

TEST_F(LifetimeTest, ManyThreadsMakeOneInstance) {
    for (int round = 0; round < 100; ++round) {
        CVerantiAPI::Destroy();
        ThePlatform().Reset();
        std::atomic<int> missing = 4;
        std::vector<std::future<CVerantiAPI*>> callers;
        while (callers.size() < 4) {
            std::packaged_task<CVerantiAPI*()> call([&missing] {
                for (--missing; missing > 0;) {  // all at once
                    std::this_thread::yield();
                }
                return CVerantiAPI::GetInstance();
            });
            callers.push_back(call.get_future());
            std::thread(std::move(call)).detach();
        }
        for (auto& caller : callers) {
            ASSERT_EQ(caller.wait_for(kHang), std::future_status::ready)
                << "waited for GetInstance(), but what came is:\n"
                << ThePlatform().TakeJournal();
            EXPECT_EQ(caller.get(), CVerantiAPI::GetInstance());
        }
        EXPECT_EQ(ThePlatform().Count(kInit), 1);
    }
}

}  // namespace
