// What is read straight from the configuration store: agreements and titles. And the error
// descriptor.
#include <gtest/gtest.h>

#include "Journal.h"
#include "TermsJsonParser.h"
#include "VerantiAPI.h"

namespace {

constexpr char kAgreements[] = "db/veranti/disclaimeragrees";
constexpr int kUntouched = 7;
const std::string kExist = "VerantiAPI.cpp IsDisclaimerItemExist: ";
const std::string kAgreement = "VerantiAPI.cpp GetDisclaimerItemAgreement: ";

class StoredTest : public testing::Test {
  protected:
    StoredTest() { ThePlatform().Reset(); }

    bool Exists() { return m_client.IsDisclaimerItemExist("id", "TV"); }

    int Agreed(const std::string& product = "TV") {
        int agreed = kUntouched;
        EXPECT_EQ(m_client.GetDisclaimerItemAgreement("id", &agreed, product), 0);
        return agreed;
    }

    CVerantiAPI m_client;
};

TEST_F(StoredTest, AgreementsAreReadFromTheStore) {
    const std::string exists = "warning " + kExist + "id  exist";
    const std::string missing = "warning " + kExist + "id does not exist";
    const std::string noText = "warning " + kAgreement + "id is not string type";
    const std::string noObject =
        "Exception Handled by in Json::Value::resolveReference(key, end): requires objectValue";
    const std::string tooDeep = "Exception Handled by Exceeded stackLimit in readValue().";
    const struct {
        std::string stored;
        bool exists;
        std::string existence;  // the last line of one query
        int agreed;
        std::string agreement;  // and of the other
    } cases[] = {
        {R"({"id":"true"})", true, exists, 1, "info " + kAgreement + "agreement true."},
        {R"({"id":"false"})", true, exists, 0, "info " + kAgreement + "agreement false."},
        {R"({"id":"TRUE"})", true, exists, 0, "info " + kAgreement + "agreement TRUE."},
        {R"({"id":""})", true, exists, 0, "info " + kAgreement + "agreement ."},
        {"{\"id\":\"\xff\"}", true, exists, 0, "info " + kAgreement + "agreement \xff."},
        {R"({"id":true})", true, exists, 0, noText},
        {R"({"id":5})", true, exists, 0, noText},
        {R"({"id":{"a":1}})", true, exists, 0, noText},
        {R"({"id":null})", false, missing, 0, noText},
        {R"({"id":[]})", false, missing, 0, noText},
        {R"({"id":{}})", false, missing, 0, noText},
        {R"({"other":"true"})", false, missing, 0, noText},
        {R"({"id\u0000":"true"})", false, missing, 0, noText},
        {"null", false, missing, 0, noText},
        {"abc", false, "warning " + kExist + "parser failed : \n abc", 0,
         "warning " + kAgreement + "parser failed : \n abc , agreement = false"},
        {"", false, "warning " + kExist + "Empty Data", 0,
         "warning " + kAgreement + "Empty Data, agreement = false"},
        {"5", false, "system " + kExist + noObject, kUntouched, "system " + kAgreement + noObject},
        {R"(["id"])", false, "system " + kExist + noObject, kUntouched,
         "system " + kAgreement + noObject},
        {std::string(2000, '['), false, "system " + kExist + tooDeep, kUntouched,
         "system " + kAgreement + tooDeep},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.stored);
        ThePlatform().store = {{kAgreements, each.stored}};
        EXPECT_EQ(Exists(), each.exists);
        EXPECT_EQ(ThePlatform().TakeJournal(),
                  Journal({Query("IsDisclaimerItemExist", "id", each.stored), each.existence}));
        EXPECT_EQ(Agreed(), each.agreed);
        EXPECT_EQ(
            ThePlatform().TakeJournal(),
            Journal({Query("GetDisclaimerItemAgreement", "id", each.stored), each.agreement}));
    }
}

TEST_F(StoredTest, AgreementsThatCannotBeRead) {
    EXPECT_FALSE(Exists());
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({"warning " + kExist + "requested ID id", "read db/veranti/disclaimeragrees",
                       "warning " + kExist + "vconf get str failed"}));
    EXPECT_EQ(Agreed(), 0);
    EXPECT_EQ(
        ThePlatform().TakeJournal(),
        Journal({"warning " + kAgreement + "requested ID id", "read db/veranti/disclaimeragrees",
                 "warning " + kAgreement + "vconf get str failed, agreement = false"}));
}

TEST_F(StoredTest, TheServicesAgreementIsLoggedAndTheStoredOneCounts) {
    const std::string request =
        R"({"product_type":"","request_item":"id","request_type":"get disclaimer agreement"})";
    const std::string unknown = "notice " + kAgreement + "disclaimer id is not exist!";
    const std::string value = "info " + kAgreement + "get value : ";
    const std::string stored = R"({"id":"false"})";
    const std::string query = Journal({Query("GetDisclaimerItemAgreement", "id", stored),
                                       "info " + kAgreement + "agreement false."});
    const std::tuple<const char*, Lines> cases[] = {
        {R"({"result":true,"is_agreed":true})", {value + '1'}},
        {R"({"result":true})", {value + '0'}},
        {R"({"result":false,"is_agreed":true})", {unknown, value + '0'}},
    };
    for (const auto& [reply, read] : cases) {
        SCOPED_TRACE(reply);
        ThePlatform().store = {{kAgreements, stored}};
        Serve(reply);
        EXPECT_EQ(Agreed(""), 0);
        EXPECT_EQ(ThePlatform().TakeJournal(),
                  Journal({Check(), Exchange(request, read, {"protocol common_protocol"}), query}));
    }

    ThePlatform().proxyOpens = false;  // then nothing is asked
    EXPECT_EQ(Agreed(""), 0);
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({Check(), "make server CAutoConnect 2", "open", "make request", "make reply",
                       value + '7', "destroy reply", "destroy request", "destroy server", query}));
}

TEST_F(StoredTest, TheServicesReplyIsReadWhateverBecameOfTheSend) {
    ThePlatform().service = [](const Json::Value&, Json::Value& reply) {
        reply["result"] = reply["is_agreed"] = true;
        return false;
    };
    ThePlatform().store = {{kAgreements, "5"}};  // nothing to overwrite the service's answer
    EXPECT_EQ(Agreed("phone"), 1);
    ThePlatform().TakeJournal();
    Serve("[1]");
    EXPECT_THROW(Agreed("phone"), Json::Exception);
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({Check(), Exchange(R"({"product_type":"phone","request_item":"id",)"
                                         R"("request_type":"get disclaimer agreement"})",
                                         {}, {"protocol common_protocol"})}));
}

TEST_F(StoredTest, TitlesAreReadFromTheStore) {
    const std::string reader = " TermsJsonParser.cpp GetMenuTitleFromVconf: ";
    const auto size = [&](const char* number) { return "trace" + reader + "array size " + number; };
    const auto title = [&](const std::string& text) {
        return "trace" + reader + "Title is = " + text;
    };
    const auto wrong = [&](const std::string& text) { return "warning" + reader + text; };
    const std::string noTitle = wrong("Json Error e = Type is not convertible to string");
    const std::string tooDeep = wrong("Json Error e = Exceeded stackLimit in readValue().");
    // What is stored, the position, the reader's lines, and the title if there is one.
    const std::tuple<std::string, int, Lines, const char*> cases[] = {
        {R"([{"title":"A"},{"title":"B"}])", 1, {size("2"), title("B")}, "B"},
        {R"([{"title":"A"},{"title":"B"}])", 2, {size("2"), wrong("order is over length ")}, ""},
        {"[]", 0, {wrong("Parsing Error : [[]]")}, ""},
        {"{}", 0, {wrong("Parsing Error : [{}]")}, ""},
        {"null", 0, {wrong("Parsing Error : [null]")}, ""},
        {"", 0, {wrong("Parsing Error : []")}, ""},
        {"[{", 0, {wrong("Parsing Error : [[{]")}, ""},
        {"5", 0, {size("0"), wrong("order is over length ")}, ""},
        {R"([{"name":"A"}])", 0, {size("1"), title("")}, ""},
        {R"(["A"])", 0, {size("1"), title("")}, ""},
        {R"([{"title":5}])", 0, {size("1"), title("5")}, "5"},
        {R"([{"title":null}])", 0, {size("1"), title("")}, ""},
        {R"({"a":1,"b":2})", 1, {size("2"), title("")}, ""},
        {R"(/* remark */[{"title":"A"}])", 0, {size("1"), title("A")}, "A"},
        {R"([{"title":[1]}])", 0, {size("1"), noTitle}, ""},
        {std::string(2000, '['), 0, {tooDeep}, ""},
    };
    for (const auto& [stored, index, lines, found] : cases) {
        SCOPED_TRACE(stored);
        ThePlatform().store = {{"db/veranti/terms_title", stored}};
        std::string text = "old";
        const bool none = std::string(found).empty();
        EXPECT_EQ(m_client.GetDisclaimerTitle(text, index), none ? -1 : 0);
        EXPECT_EQ(text, none ? "old" : found);
        const std::string client = " VerantiAPI.cpp GetDisclaimerTitle: ";
        EXPECT_EQ(ThePlatform().TakeJournal(),
                  Journal({"info" + client + "GetDisclaimerTitle called for index: " + Text(index),
                           "read db/veranti/terms_title", Journal(lines),
                           none ? "" : "trace" + client + "Title is = " + found}));
    }
    EXPECT_EQ(CTermsJsonParser::GetMenuTitleFromVconf("", 3), "");
    EXPECT_EQ(CTermsJsonParser::GetMenuTitleFromVconf("key", -1), "");
    EXPECT_EQ(CTermsJsonParser::GetMenuTitleFromVconf("missing", 0), "");
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({wrong("parameter  Error : [][3]"), wrong("parameter  Error : [key][-1]"),
                       "read missing", wrong("vconf get str failed")}));
}

TEST_F(StoredTest, TheLanguageIsKorean) {
    std::string language = "en";
    EXPECT_EQ(m_client.GetDisclaimerOsdLanguage(language), 0);
    EXPECT_EQ(language, "ko");
    EXPECT_EQ(ThePlatform().TakeJournal(), "");
}

TEST_F(StoredTest, ErrorDescriptorsTravelAsText) {
    using Descriptor = CVerantiAPI::CErrorDescriptor;
    EXPECT_EQ(Descriptor().ToString(), R"({"error_code":0,"error_reason":0})");
    EXPECT_EQ(Descriptor(-1, 2).ToString(), R"({"error_code":-1,"error_reason":2})");
    const char* const warning =
        "warning VerantiAPI.cpp FromString: <<WARN: NOT JSON TYPE MESSAGE>>";
    const std::tuple<const char*, int, int, const char*> cases[] = {
        {R"({"error_code":-1,"error_reason":2})", -1, 2, ""},
        {R"({"error_code":5})", 5, 0, ""},
        {R"({"error_reason":-2147483648})", 0, INT32_MIN, ""},
        {"{}", 0, 0, ""},
        {"null", 0, 0, ""},
        {R"({"error_code":true,"error_reason":3.7})", 1, 3, ""},
        {"", 0, 0, warning},
        {"not JSON", 0, 0, warning},
        {R"({"error_code":5)", 0, 0, warning},
    };
    for (const auto& [text, code, reason, journal] : cases) {
        const Descriptor read = Descriptor::FromString(text);
        EXPECT_EQ(read.m_ErrorCode, code) << text;
        EXPECT_EQ(read.m_ErrorReason, reason) << text;
        EXPECT_EQ(ThePlatform().TakeJournal(), journal) << text;
    }
    for (const char* text : {"[1]", R"({"error_code":"x"})", R"({"error_reason":2147483648})"}) {
        EXPECT_THROW(Descriptor::FromString(text), Json::Exception) << text;
    }
}

}  // namespace
