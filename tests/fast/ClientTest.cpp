// The client against recording doubles: every request's JSON, every platform call and every log
// line, in their order, on every way out.
#include <gtest/gtest.h>

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

/// One request, what it must leave in the journal and what it must give back.
struct Request {
    std::string function;
    std::string json;  // as sent, members in alphabetical order
    std::function<std::string(CVerantiAPI&)> call;

    std::string reply = R"({"result":true})";  // a good answer of the service
    std::string answered = "true";             // what the call gives for it
    std::string refused = "false";             // ... for the same answer with "result" false
    std::string empty = "false";               // ... for a reply without any member
    std::string unsent = "false";              // ... when nothing was sent

    Lines entry{};         // logged before the availability check
    Lines checked{};       // logged after it
    Lines filled{};        // logged just before sending
    Lines read{};          // logged while a good answer is read
    std::string result{};  // logged at the end with the outcome behind it, if not empty

    Lines Info(const std::string& message) const { return {LogLine("info", function, message)}; }

    Request& Entry(const std::string& message) { return entry = Info(message), *this; }
    Request& Checked(const std::string& message) { return checked = Info(message), *this; }
    Request& Filled() { return filled = {LogLine("trace", function, "")}, *this; }
    Request& Read(const Lines& lines) { return read = lines, *this; }
    Request& Result(const std::string& message) { return result = message, *this; }
    Request& Answers(const std::string& good, const std::string& whenGood,
                     const std::string& whenRefused, const std::string& whenEmpty,
                     const std::string& whenUnsent) {
        reply = good;
        answered = whenGood;
        refused = whenRefused;
        empty = whenEmpty;
        unsent = whenUnsent;
        return *this;
    }
};

void PrintTo(const Request& request, std::ostream* out) {
    *out << request.function << ' ' << request.json;
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

std::vector<Request> AllRequests() {
    using Api = CVerantiAPI&;
    const Lines unnamed = {LogLine("trace", "GetDisclaimerInfo", "id "),
                           LogLine("trace", "AppendSections", "<<WARN: NOT JSON TYPE MESSAGE>>")};
    return {
        Request{"IsServiceAvailable", R"({"method":"is service available"})",
                [](Api api) { return Text(api.IsServiceAvailable()); }}
            .Entry("IsServiceAvailable")
            .Result("IsServiceAvailable result : "),
        Request{"GetInformationForDisclaimer",
                R"({"data":null,"method":"get information for disclaimer"})",
                [](Api api) { return Header(api, &CVerantiAPI::GetInformationForDisclaimer); }}
            .Entry("")
            .Answers(R"({"headerData":{"title":"T"}})", R"({"title":"T"})", R"({"title":"T"})",
                     "null", "null"),
        Request{
            "GetInformationForDisclaimerWebView",
            R"({"data":null,"method":"get information for web view disclaimer"})",
            [](Api api) { return Header(api, &CVerantiAPI::GetInformationForDisclaimerWebView); }}
            .Entry("")
            .Answers(R"({"headerData":["T"]})", R"(["T"])", R"(["T"])", "null", "null"),
        Request{"DravikCheck", R"({"method":"dravik check"})", Check}.Entry("").Answers(
            R"({"result":true,"errorcode":3,"errorreason":7})", "true 3 7", "false 3 7",
            "false 0 0", "false -1 -1"),
        Request{"DravikCheck", R"({"method":"dravik get error info"})", ErrorInfo}
            .Entry("")
            .Answers(R"({"result":true,"errorcode":3,"errorreason":7,"errormessage":"x"})",
                     "true 3 7x", "false 3 7x", "false 0 0", "false -1 -1old"),
        Request{"RequestDisclaimersRESTAPI",
                R"({"data":null,"method":"request disclaimer api","product_type":"TV",)"
                R"("request_from":"me","terms":"all"})",
                [](Api api) { return Text(api.RequestDisclaimersRESTAPI("me", "all")); }}
            .Filled(),
        Request{"RequestDisclaimerID",
                R"({"data":null,"method":"request disclaimerid","other_page":true,)"
                R"("product_type":"phone","request_from":"wizard-terms"})",
                [](Api api) { return Text(api.RequestDisclaimerID("phone", true)); }}
            .Entry(""),
        Request{"SetDisclaimersAgreement",
                R"({"a":"true","b":{"c":1},"data":null,"method":"set agreements",)"
                R"("product_type":"TV"})",
                Agreements}
            .Entry(""),
        Request{"SetCountryCode", R"({"country_code":"","data":null,"method":"set country code"})",
                [](Api api) { return Text(api.SetCountryCode("")); }}
            .Entry(""),
        Request{"RequestUpdateDisclaimers",
                R"({"data":null,"method":"request update disclaimers","product_type":"phone",)"
                R"("request_from":"wizard-terms"})",
                [](Api api) { return Text(api.RequestUpdateDisclaimers("phone")); }}
            .Entry(""),
        Request{"RequestCountryCodeList", R"({"data":null,"method":"request country code list"})",
                [](Api api) { return Text(api.RequestCountryCodeList()); }}
            .Entry(""),
        Request{"CloneData",
                R"({"data":null,"dest":"b","method":"Copy Clone Data TV to USB","src":"a"})",
                [](Api api) { return Text(api.CloneData("a", "b", true)); }},
        Request{"CopyCloneDataUSBtoTV",
                R"({"data":null,"dest":"/tv","method":"Copy Clone Data USB to TV","src":"/usb"})",
                [](Api api) { return Text(api.CopyCloneDataUSBtoTV("/usb", "/tv")); }}
            .Entry("CopyCloneDataUSBtoTV called"),
        Request{"CopyCloneDataTVtoUSB",
                R"({"data":null,"dest":"/usb","method":"Copy Clone Data TV to USB","src":"/tv"})",
                [](Api api) { return Text(api.CopyCloneDataTVtoUSB("/tv", "/usb")); }}
            .Entry("CopyCloneDataTVtoUSB called"),
        Request{"RequestResetNimbra", R"({"data":null,"method":"request reset nimbra"})",
                [](Api api) { return Text(api.RequestResetNimbra()); }}
            .Entry("")
            .Checked("RequestResetNimbra called"),
        Request{"GetDisclaimerNum",
                R"({"data":null,"method":"get disclaimer number","product_type":"phone",)"
                R"("requester":3})",
                [](Api api) {
                    return std::to_string(
                        api.GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_3, "phone"));
                }}
            .Entry("GetDisclaimerNum called with requester: 3")
            .Answers(R"({"result":true,"number":12})", "12", "0", "0", "0")
            .Result("GetDisclaimerNum "),
        Request{"GetDisclaimerDetail",
                R"({"data":null,"method":"get disclaimer by order","product_type":"phone",)"
                R"("request_index":3,"requester":1})",
                [](Api api) { return Detail(api, false); }}
            .Entry("GetDisclaimerDetail called for index: 3 and requester: 1")
            .Answers(R"({"result":true})", "0", "-1", "-1", "-1")
            .Read(unnamed),
        Request{"GetDisclaimerDetail",
                R"({"data":null,"method":"get disclaimer by term id","product_type":"phone",)"
                R"("request_item":"i"})",
                [](Api api) { return Detail(api, true); }}
            .Entry("GetDisclaimerDetail called for itemId: i phone")
            .Answers(R"({"result":true})", "0", "-1", "-1", "-1")
            .Read(unnamed),
        Request{"GetRevisedDisclaimers",
                R"({"data":null,"method":"get revised disclaimers","product_type":"phone",)"
                R"("terms":"all"})",
                Revised}
            .Entry("GetRevisedDisclaimers called"),
        Request{"IsDisclaimerItemExist",
                R"({"data":null,"method":"get disclaimer by term id","product_type":"tv",)"
                R"("request_item":"i"})",
                [](Api api) { return Text(api.IsDisclaimerItemExist("i", "tv")); }}
            .Checked("IsDisclaimerItemExist called for strItemId: i"),
        Request{"SetAllDisclaimerItemAgreement",
                R"({"is_agreed":false,"method":"set all agreement","product_type":"phone"})",
                [](Api api) { return Text(api.SetAllDisclaimerItemAgreement(0, "phone")); }}
            .Entry("Model phone try to set all agreement to false."),
        Request{"SetRevisedTermAgreement",
                R"({"is_agreed":false,"method":"set one agreement","product_type":"TV",)"
                R"("request_item":"t1"})",
                [](Api api) { return Text(api.SetRevisedTermAgreement("t1", false, "TV")); }}
            .Entry("SetRevisedTermAgreement called"),
        Request{"RequestDisclaimerID",
                R"({"data":null,"method":"request disclaimerid","other_page":false,)"
                R"("product_type":"TV","request_from":"wizard-terms"})",
                [](Api api) { return Text(api.RequestDisclaimerID("TV", false)); }}
            .Entry(""),
        Request{"SetAllDisclaimerItemAgreement",
                R"({"is_agreed":true,"method":"set all agreement","product_type":"TV"})",
                [](Api api) { return Text(api.SetAllDisclaimerItemAgreement(5, "TV")); }}
            .Entry("Model TV try to set all agreement to true."),
        Request{"SetRevisedTermAgreement",
                R"({"is_agreed":true,"method":"set one agreement","product_type":"TV",)"
                R"("request_item":"t1"})",
                [](Api api) { return Text(api.SetRevisedTermAgreement("t1", true, "TV")); }}
            .Entry("SetRevisedTermAgreement called"),
        Request{"SetDisclaimerItemAgreement",
                R"({"is_agreed":true,"method":"set one agreement","product_type":"TV",)"
                R"("request_item":"t1"})",
                [](Api api) { return Text(api.SetDisclaimerItemAgreement("t1", -1, "TV")); }}
            .Checked("Model TV try to set t1 agreement to true."),
        Request{"SetDisclaimerItemAgreement",
                R"({"is_agreed":false,"method":"set one agreement","product_type":"",)"
                R"("request_item":""})",
                [](Api api) { return Text(api.SetDisclaimerItemAgreement("", 0, "")); }}
            .Checked("Model  try to set  agreement to false."),
    };
}

enum class Scenario { Answered, Refused, Empty, Misshapen, Unsent, ProxyClosed, NotAvailable };

class RequestTest : public testing::TestWithParam<std::tuple<Request, Scenario>> {
  protected:
    const Request& m_Request = std::get<Request>(GetParam());
    const Scenario m_Scenario = std::get<Scenario>(GetParam());
    const bool m_Open = m_Scenario != Scenario::ProxyClosed;

    const bool m_IsCheck = m_Request.function == "IsServiceAvailable";
    const bool m_Available = m_Scenario != Scenario::NotAvailable;

    /// Plays the service in the scenario. What the availability check that other requests make is
    /// answered with, is none of theirs.
    bool Serve(const Json::Value& sent, Json::Value& reply) const {
        if (Corvane::Wire::ToText(sent) != m_Request.json) {
            reply["result"] = m_Available;
            return true;
        }
        if (m_Scenario == Scenario::Misshapen) {
            reply = Parse("[1]");
        } else if (m_Scenario != Scenario::Empty && m_Scenario != Scenario::Unsent) {
            reply = Parse(m_Request.reply);
        }
        if (m_Scenario == Scenario::Refused) {
            reply["result"] = false;
        }
        return m_Scenario != Scenario::Unsent;
    }

    std::string ExpectedOutcome() const {
        switch (m_Scenario) {
            case Scenario::Refused:
                return m_Request.refused;
            case Scenario::Empty:
                return m_Request.empty;
            case Scenario::Misshapen:
                return "exception";
            case Scenario::Unsent:
                return m_Request.unsent;
            default:
                return m_Request.answered;
        }
    }

    Lines ExpectedExchange(const Lines& filled, const std::string& json, const Lines& read) const {
        return Lines{"make server CAutoConnect 2", "open", "make request", "make reply"} + filled +
               Lines{"send request to com.velmora.tv.termsclient for reply sync -1", json} + read +
               Lines{"destroy reply", "destroy request"} + (m_Open ? Lines{"close"} : Lines{}) +
               Lines{"destroy server"};
    }

    Lines ExpectedAvailabilityCheck() const {
        if (m_IsCheck) {
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
        outcome = m_Request.call(api);
    } catch (const Json::LogicError&) {
        outcome = "exception";
    }

    EXPECT_EQ(outcome, ExpectedOutcome());
    Lines read;
    if (m_Scenario != Scenario::Misshapen && !m_Request.result.empty()) {
        read = m_Request.Info(m_Request.result + outcome);
    } else if (outcome == m_Request.answered) {
        read = m_Request.read;
    }
    EXPECT_EQ(platform.journal, m_Request.entry + ExpectedAvailabilityCheck() + m_Request.checked +
                                    ExpectedExchange(m_Request.filled, m_Request.json, read));
}

INSTANTIATE_TEST_SUITE_P(AllRequests, RequestTest,
                         testing::Combine(testing::ValuesIn(AllRequests()),
                                          testing::Values(Scenario::Answered, Scenario::Refused,
                                                          Scenario::Empty, Scenario::Misshapen,
                                                          Scenario::Unsent, Scenario::ProxyClosed)),
                         [](const auto& test) {
                             return std::get<Request>(test.param).function + '_' +
                                    std::to_string(test.index);
                         });

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

TEST_F(LifetimeTest, TheSecondGetterIsSilentAndRunsNoHook) {
    CVerantiAPI* const first = CVerantiAPI::GetInstanceUT();
    EXPECT_EQ(CVerantiAPI::GetInstance(), first);
    EXPECT_EQ(ThePlatform().journal, Lines{m_Get});
}

}  // namespace
