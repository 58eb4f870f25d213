// What is read straight from the configuration store: agreements and titles. And the error
// descriptor.
#include <gtest/gtest.h>

#include "Cases.h"
#include "Doubles.h"
#include "TermsJsonParser.h"
#include "VerantiAPI.h"

namespace {

constexpr char kAgreements[] = "db/veranti/disclaimeragrees";
constexpr char kTitles[] = "db/veranti/terms_title";
constexpr int kUntouched = 7;

class StoredTest : public testing::Test {
  protected:
    StoredTest() { ThePlatform().Reset(); }
    ~StoredTest() override {
        // On every way out what was opened is closed, and the server is gone.
        EXPECT_EQ(ThePlatform().Count("close"),
                  ThePlatform().proxyOpens ? ThePlatform().Count("open") : 0);
        EXPECT_EQ(ThePlatform().Count("open"), ThePlatform().Count("destroy server"));
    }

    bool Exists(const std::string& product = "TV") {
        ThePlatform().journal.clear();
        return m_client.IsDisclaimerItemExist("id", product);
    }

    int Agreed(const std::string& product = "TV") {
        ThePlatform().journal.clear();
        int agreed = kUntouched;
        EXPECT_EQ(m_client.GetDisclaimerItemAgreement("id", &agreed, product), 0);
        return agreed;
    }

    /// The log lines without the file and the function.
    static Lines Logs() {
        Lines logs = ThePlatform().Logs();
        for (std::string& line : logs) {
            const std::size_t file = line.find(' ');
            line.erase(file + 1, line.find(": ") + 1 - file);
        }
        return logs;
    }

    CVerantiAPI m_client;
};

TEST_F(StoredTest, AgreementsAreReadFromTheStore) {
    for (const Json::Value& each : ReadCases("agreements")) {
        const std::string text = each[0].asString();
        SCOPED_TRACE(text);
        ThePlatform().store = {{kAgreements, text}};
        const auto expectLogs = [&text](const std::string& last) {
            const Lines logs = Logs();
            ASSERT_EQ(logs.size(), 3U);
            EXPECT_EQ(logs[0], "warning requested ID id");
            EXPECT_EQ(logs[1], "info Get vconf savedData: " + text);
            // What the JSON library says of an exception is its own.
            EXPECT_EQ(last.back() == ' ' ? logs[2].substr(0, last.size()) : logs[2], last);
            EXPECT_EQ(ThePlatform().journal.size(), 4U);  // and no request
        };
        EXPECT_EQ(Exists(), each[1].asBool());
        expectLogs(each[3].asString());
        EXPECT_EQ(Agreed(), each[2].asInt());
        expectLogs(each[4].asString());
    }
}

TEST_F(StoredTest, AgreementsThatCannotBeRead) {
    EXPECT_FALSE(Exists());
    EXPECT_EQ(Logs(), (Lines{"warning requested ID id", "warning vconf get str failed"}));
    EXPECT_EQ(Agreed(), 0);
    EXPECT_EQ(Logs(), (Lines{"warning requested ID id",
                             "warning vconf get str failed, agreement = false"}));
    ThePlatform().store = {{kAgreements, "{\"id\":\"\xff\"}"}};
    EXPECT_EQ(Agreed(), 0);
    EXPECT_EQ(Logs().back(), "info agreement \xff.");
    ThePlatform().store = {{kAgreements, std::string(2000, '[')}};
    EXPECT_FALSE(Exists());
    EXPECT_EQ(Agreed(), kUntouched);
    EXPECT_EQ(Logs().back(), "system Exception Handled by Exceeded stackLimit in readValue().");
}

TEST_F(StoredTest, TheServicesAgreementIsLoggedAndTheStoredOneCounts) {
    const std::string unknown = "notice disclaimer id is not exist!";
    const struct {
        const char* reply;
        bool opens;
        Lines logs;
    } cases[] = {
        {R"({"result":true,"is_agreed":true})", true, {"info get value : 1"}},
        {R"({"result":true})", true, {"info get value : 0"}},
        {R"({"result":false,"is_agreed":true})", true, {unknown, "info get value : 0"}},
        {"down", true, {unknown, "info get value : 0"}},
        {R"({"result":true,"is_agreed":true})", false, {"info get value : 7"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.reply);
        ThePlatform().proxyOpens = each.opens;
        ThePlatform().store = {{kAgreements, R"({"id":"false"})"}};
        ServeReplies({{"get disclaimer agreement", each.reply}});
        EXPECT_EQ(Agreed(""), 0);
        Lines expected = each.logs;
        for (const char* line :
             {"warning requested ID id", R"(info Get vconf savedData: {"id":"false"})",
              "info agreement false."}) {
            expected.push_back(line);
        }
        EXPECT_EQ(Logs(), expected);
        EXPECT_EQ(ThePlatform().Count(R"({"product_type":"","request_item":"id",)"
                                      R"("request_type":"get disclaimer agreement"})"),
                  each.opens ? 1 : 0);
        EXPECT_EQ(ThePlatform().Count("send request to com.velmora.tv.termsclient for reply sync "
                                      "-1 common_protocol"),
                  each.opens ? 1 : 0);
        EXPECT_EQ(ThePlatform().Count("close"), each.opens ? 2 : 0);
        EXPECT_EQ(ThePlatform().Count("destroy server"), 2);
    }
    ThePlatform().proxyOpens = true;
    ThePlatform().service = [](const Json::Value&, Json::Value& reply) {
        reply["result"] = reply["is_agreed"] = true;
        return false;  // the reply is read all the same
    };
    EXPECT_EQ(Agreed("phone"), 0);
    EXPECT_EQ(Logs().front(), "info get value : 1");
    ThePlatform().store = {{kAgreements, "5"}};  // nothing to overwrite the service's answer
    EXPECT_EQ(Agreed("phone"), 1);
    ServeReplies({{"get disclaimer agreement", "[1]"}});
    ThePlatform().journal.clear();
    int agreed = kUntouched;
    EXPECT_THROW(m_client.GetDisclaimerItemAgreement("id", &agreed, "phone"), Json::Exception);
}

TEST_F(StoredTest, TitlesAreReadFromTheStore) {
    for (const Json::Value& each : ReadCases("titles")) {
        const std::string found = each[2].asString();
        SCOPED_TRACE(each[0].asString() + ' ' + each[1].asString());
        ThePlatform().store = {{kTitles, each[0].asString()}};
        ThePlatform().journal.clear();
        std::string title = "old";
        EXPECT_EQ(m_client.GetDisclaimerTitle(title, each[1].asInt()), found.empty() ? -1 : 0);
        EXPECT_EQ(title, found.empty() ? "old" : found);
        Lines expected = {"info GetDisclaimerTitle called for index: " + each[1].asString()};
        for (const Json::Value& line : each[3]) {
            expected.push_back(line.asString());
        }
        if (!found.empty()) {
            expected.push_back("trace Title is = " + title);
        }
        EXPECT_EQ(Logs(), expected);
    }
    ThePlatform().store = {{kTitles, std::string(2000, '[')}};
    std::string title;
    EXPECT_EQ(m_client.GetDisclaimerTitle(title, 0), -1);
    EXPECT_EQ(ThePlatform().Logs().back(),
              "warning TermsJsonParser.cpp GetMenuTitleFromVconf: Json Error e = Exceeded "
              "stackLimit in readValue().");
    ThePlatform().Reset();
    EXPECT_EQ(CTermsJsonParser::GetMenuTitleFromVconf("", 3), "");
    EXPECT_EQ(CTermsJsonParser::GetMenuTitleFromVconf("missing", 0), "");
    EXPECT_EQ(Logs(), (Lines{"warning parameter  Error : [][3]", "warning vconf get str failed"}));
}

TEST_F(StoredTest, TheLanguageIsKorean) {
    std::string language = "en";
    EXPECT_EQ(m_client.GetDisclaimerOsdLanguage(language), 0);
    EXPECT_EQ(language, "ko");
    EXPECT_TRUE(ThePlatform().journal.empty());
}

TEST_F(StoredTest, ErrorDescriptorsTravelAsText) {
    using Descriptor = CVerantiAPI::CErrorDescriptor;
    const Descriptor nothing;
    EXPECT_EQ(nothing.ToString(), R"({"error_code":0,"error_reason":0})");
    EXPECT_EQ(Descriptor(-1, 2).ToString(), R"({"error_code":-1,"error_reason":2})");
    const struct {
        const char* text;
        int code;
        int reason;
        bool warns;
    } cases[] = {
        {R"({"error_code":-1,"error_reason":2})", -1, 2, false},
        {R"({"error_code":5})", 5, 0, false},
        {R"({"error_reason":-2147483648})", 0, INT32_MIN, false},
        {"{}", 0, 0, false},
        {"null", 0, 0, false},
        {R"({"error_code":true,"error_reason":3.7})", 1, 3, false},
        {"", 0, 0, true},
        {"not JSON", 0, 0, true},
        {R"({"error_code":5)", 0, 0, true},
    };
    for (const auto& each : cases) {
        ThePlatform().journal.clear();
        const Descriptor read = Descriptor::FromString(each.text);
        EXPECT_EQ(read.m_ErrorCode, each.code) << each.text;
        EXPECT_EQ(read.m_ErrorReason, each.reason) << each.text;
        EXPECT_EQ(ThePlatform().Logs(),
                  each.warns ? Lines{"warning VerantiAPI.cpp FromString: <<WARN: NOT JSON TYPE "
                                     "MESSAGE>>"}
                             : Lines{})
            << each.text;
        const Descriptor again = Descriptor::FromString(read.ToString());
        EXPECT_EQ(again.m_ErrorCode, each.code);
        EXPECT_EQ(again.m_ErrorReason, each.reason);
    }
    for (const char* text : {"[1]", "5", R"({"error_code":"x"})", R"({"error_code":2147483648})",
                             R"({"error_code":99999999999999999999999})"}) {
        EXPECT_THROW(Descriptor::FromString(text), Json::Exception) << text;
    }
}

}  // namespace
