// Disclaimer records: which reply members they take, how details become sections, and what is left
// behind when the service sends something else.
#include <gtest/gtest.h>

#include <memory>

#include "Cases.h"
#include "Doubles.h"
#include "VerantiAPI.h"
#include "Wire.h"

namespace {

using Item = STHomeDisclaimerContentItem;

/// Every member of a record in its order, on one line.
std::string Show(const Item& item) {
    std::string text = item.strItemId + '|' + std::to_string(item.nOrder);
    for (const auto& each :
         {item.strVersion, item.strTitle, item.strIntro, item.strDetails, item.strButton1,
          item.strButton2, item.strButton3, item.strButton4, item.strButton5, item.strButton6,
          item.strButton7, item.strButton8, item.strButton9, item.strButton10}) {
        text += '|' + each;
    }
    for (const bool flag : {item.bIsAgreed, item.bOnlyNotice}) {
        text += flag ? "|1" : "|0";
    }
    text += '|' + item.strAgreeDependency;
    for (const bool flag : {item.bPPUsed, item.bReverse}) {
        text += flag ? "|1" : "|0";
    }
    for (const std::string& entry : item.vecDetailData) {
        text += '|' + entry;
    }
    return text;
}

constexpr char kDefaults[] = "|0|||||||||||||||0|0||0|0";
const std::string kRest = std::string(10, '|') + "|0|0||0|0";  // behind the details
constexpr char kMembers[] =
    R"("id":"i","order":4,"version":"v","title":"t","intro":"n","details":"d","button1":"b1",)"
    R"("button2":"b2","button3":"b3","button4":"b4","button5":"b5","button6":"b6","button7":"b7",)"
    R"("button8":"b8","button9":"b9","button10":"b10","is_agreed":true,"only_notice":true,)"
    R"("agree_dependency":"a","ppused":true,"reverse":true)";

std::string Object(const std::string& members) {
    return '{' + members + '}';
}

std::string Good(const std::string& members) {
    return Object(R"("result":true)" + (members.empty() ? "" : ',' + members));
}

class DisclaimerTest : public testing::Test {
  protected:
    DisclaimerTest() { ThePlatform().Reset(); }
    ~DisclaimerTest() override {
        // On every way out whatever was opened is closed, and the server is gone.
        EXPECT_EQ(ThePlatform().Count("open"), ThePlatform().Count("close"));
        EXPECT_EQ(ThePlatform().Count("open"), ThePlatform().Count("destroy server"));
    }

    /// Fetches one disclaimer by its id from a service that answers so.
    int Fetch(const std::string& reply, Item& item) {
        ServeReplies({{"get disclaimer by term id", reply}});
        return m_client.GetDisclaimerDetail("i", item, "TV");
    }

    CVerantiAPI m_client;
};

/// Owns the records that a list request hands out.
struct Items {
    std::vector<Item*> list;
    ~Items() {
        for (const Item* item : list) {
            delete item;
        }
    }
    Lines Shown() const {
        Lines shown;
        for (const Item* item : list) {
            shown.push_back(Show(*item));
        }
        return shown;
    }
};

TEST_F(DisclaimerTest, EveryMemberIsReadAndWhatIsMissingIsReset) {
    Item item;
    EXPECT_EQ(Show(item), kDefaults);
    EXPECT_EQ(Fetch(Good(kMembers), item), 0);
    EXPECT_EQ(Show(item), "i|4|v|t|n|d|b1|b2|b3|b4|b5|b6|b7|b8|b9|b10|1|1|a|1|1");
    item.vecDetailData = {"kept", "too"};
    EXPECT_EQ(Fetch(Good(R"("details":"[{\"title\":\"T\"}]")"), item), 0);
    EXPECT_EQ(Show(item), "|0||||[{\"title\":\"T\"}]" + kRest + "|kept|too|T|");
}

TEST_F(DisclaimerTest, EachKindOfValueIsConvertedOrRefused) {
    const auto converted = [this](const std::string& member,
                                  const std::string& json) -> std::string {
        Item item;
        try {
            Fetch(Good('"' + member + "\":" + json), item);
        } catch (const Json::Exception&) {
            return "!";
        }
        const std::map<std::string, std::string> values = {
            {"version", item.strVersion},
            {"button10", item.strButton10},
            {"order", std::to_string(item.nOrder)},
            {"is_agreed", item.bIsAgreed ? "1" : "0"},
            {"reverse", item.bReverse ? "1" : "0"}};
        return values.at(member);
    };
    for (const Json::Value& kind : ReadCases("kinds")) {
        const std::string json = kind[0].asString();
        EXPECT_EQ(converted("version", json), kind[1].asString()) << json;
        EXPECT_EQ(converted("button10", json), kind[1].asString()) << json;
        EXPECT_EQ(converted("order", json), kind[2].asString()) << json;
        EXPECT_EQ(converted("is_agreed", json), kind[3].asString()) << json;
        EXPECT_EQ(converted("reverse", json), kind[3].asString()) << json;
    }
}

TEST_F(DisclaimerTest, WithoutAGoodAnswerTheRecordIsUntouched) {
    for (const std::string& reply : {Object(R"("result":false,)" + std::string(kMembers)),
                                     Object(kMembers), std::string("{}"), std::string("no")}) {
        Item item;
        item.strTitle = "old";
        ThePlatform().journal.clear();
        EXPECT_EQ(Fetch(reply, item), -1) << reply;
        EXPECT_EQ(Show(item), "|0||old||" + kRest) << reply;
        EXPECT_EQ(ThePlatform().Logs().size(), 1U) << reply;
    }
}

TEST_F(DisclaimerTest, DetailsBecomeSections) {
    const Lines rule = {"trace VerantiAPI.cpp GetDisclaimerInfo: It is new RULE"};
    const Lines prose = {"trace VerantiAPI.cpp GetDisclaimerInfo: <<WARN: NOT JSON TYPE MESSAGE>>"};
    const std::string push = "warning VerantiAPI.cpp GetDisclaimerInfo: push back";
    const struct {
        const char* details;
        Lines sections;
        Lines logs;
    } cases[] = {
        {"", {}, prose},
        {"prose", {}, prose},
        {"[1", {}, prose},
        {"{\"a\":1}", {}, {}},
        {"5", {}, {}},
        {"\"text\"", {}, {}},
        {"null", {}, {}},
        {"[]", {}, rule},
        {R"([{"title":"T","data":"D"}])", {"T", "D"}, {rule[0], push}},
        {R"([{"data":"D"},null,{"title":5}])",
         {"", "D", "", "", "5", ""},
         {rule[0], push, push, push}},
        {"[ ] // remark", {}, rule},
        {"[] behind", {}, rule},
    };
    for (const auto& each : cases) {
        Item item;
        ThePlatform().journal.clear();
        Json::Value reply;
        reply["result"] = true;
        reply["details"] = each.details;
        EXPECT_EQ(Fetch(Corvane::Wire::ToText(reply), item), 0);
        EXPECT_EQ(item.strDetails, each.details);
        EXPECT_EQ(item.vecDetailData, each.sections) << each.details;
        const Lines logs = ThePlatform().Logs();
        EXPECT_EQ(Lines(logs.begin() + 2, logs.end()), each.logs) << each.details;
    }
}

TEST_F(DisclaimerTest, WhatCannotBeConvertedPassesAndKeepsWhatCameBefore) {
    const std::string deep = std::string(2000, '[') + std::string(2000, ']');
    const struct {
        std::string reply;
        std::string left;
    } cases[] = {
        {R"([1])", kDefaults},
        {R"({"result":"yes"})", kDefaults},
        {Good(R"("id":"i","title":{"a":1})"), "i|0|||||||||||||||0|0||0|0"},
        {Good(R"("id":"i","order":"4")"), "i|0|||||||||||||||0|0||0|0"},
        {Good(R"("id":"i","order":99999999999)"), "i|0|||||||||||||||0|0||0|0"},
        {Good(R"("id":"i","is_agreed":[1])"), "i|0|||||||||||||||0|0||0|0"},
        {Good(R"("details":"[{\"title\":\"T\"},3]")"),
         "|0||||[{\"title\":\"T\"},3]" + kRest + "|T|"},
        {Good(R"("details":"[\"T\"]")"), "|0||||[\"T\"]" + kRest},
        {Good(R"("details":")" + deep + '"'), "|0||||" + deep + kRest},
    };
    for (const auto& each : cases) {
        Item item;
        EXPECT_THROW(Fetch(each.reply, item), Json::Exception) << each.reply;
        EXPECT_EQ(Show(item), each.left) << each.reply;
    }
}

TEST_F(DisclaimerTest, HostileTextsArriveAsTheyAre) {
    // Invalid UTF-8, an embedded NUL, a megabyte, a member twice.
    const struct {
        std::string members;
        std::string title;
    } cases[] = {
        {"\"title\":\"\xff\xfe\"", "\xff\xfe"},
        {R"("title":"a\u0000b")", std::string("a\0b", 3)},
        {"\"title\":\"" + std::string(1 << 20, 'x') + '"', std::string(1 << 20, 'x')},
        {R"("title":"first","title":"second")", "second"},
    };
    for (const auto& each : cases) {
        Item item;
        EXPECT_EQ(Fetch(Good(each.members), item), 0);
        EXPECT_EQ(item.strTitle, each.title);
    }
}

TEST_F(DisclaimerTest, AListSkipsWhatFailsAndLeavesTheOldRecordsAlone) {
    ThePlatform().service = [](const Json::Value& request, Json::Value& reply) {
        reply["result"] = request["request_index"] != 1;
        reply["number"] = 3;
        reply["id"] = request["request_index"];
        return true;
    };
    Item mine;
    Items items;
    items.list = {&mine};
    EXPECT_EQ(m_client.GetDisclaimerDetails(items.list, HOME_DISCLAIMER_REQUESTER_OTHER, "phone"),
              0);
    ASSERT_EQ(items.list.size(), 2U);
    EXPECT_EQ(items.list[0]->strItemId, "0");
    EXPECT_EQ(items.list[1]->strItemId, "2");
    EXPECT_EQ(ThePlatform().Count(R"({"data":null,"method":"get disclaimer number",)"
                                  R"("product_type":"TV","requester":4})"),
              1);
    EXPECT_EQ(ThePlatform().Count(R"({"data":null,"method":"get disclaimer by order",)"
                                  R"("product_type":"phone","request_index":2,"requester":4})"),
              1);
    Lines logs = ThePlatform().Logs();
    logs.resize(8);
    const std::string number = "info VerantiAPI.cpp GetDisclaimerNum: GetDisclaimerNum ";
    const std::string detail = "info VerantiAPI.cpp GetDisclaimerDetail: GetDisclaimerDetail ";
    const std::string details = " VerantiAPI.cpp GetDisclaimerDetails: ";
    EXPECT_EQ(logs, (Lines{"info" + details + "GetDisclaimerDetails called for req: 4",
                           number + "called with requester: 4", number + '3', "system" + details,
                           "system" + details, "system" + details + '0',
                           detail + "called for index: 0 and requester: 4",
                           "trace VerantiAPI.cpp GetDisclaimerInfo: id 0"}));
}

TEST_F(DisclaimerTest, AnEmptyListIsLeftAsItIs) {
    for (const char* reply : {R"({"result":true,"number":0})", R"({"result":true,"number":-3})",
                              R"({"result":false,"number":3})", "down"}) {
        ServeReplies({{"get disclaimer number", reply}});
        Item mine;
        std::vector<Item*> list = {&mine};
        EXPECT_EQ(m_client.GetDisclaimerDetails(list, HOME_DISCLAIMER_REQUESTER_0, "TV"), 0);
        EXPECT_EQ(list, std::vector<Item*>{&mine}) << reply;
    }
}

TEST_F(DisclaimerTest, AListKeepsTheRecordsBeforeAnException) {
    ThePlatform().service = [](const Json::Value& request, Json::Value& reply) {
        reply["result"] = true;
        reply["number"] = 3;
        reply["title"] =
            request["request_index"] == 1 ? Json::Value(Json::arrayValue) : Json::Value("t");
        return true;
    };
    Items items;
    EXPECT_THROW(m_client.GetDisclaimerDetails(items.list, HOME_DISCLAIMER_REQUESTER_0, "TV"),
                 Json::Exception);
    EXPECT_EQ(items.list.size(), 1U);
}

TEST_F(DisclaimerTest, RevisedDisclaimersAreAppended) {
    const std::string sections = R"("details":"[{\"title\":\"T\",\"data\":\"D\"}]")";
    ServeReplies({{"get revised disclaimers",
                   Good(R"("disclaimers":[)" + Object(kMembers) + ',' + Object(sections) + ']')}});
    const Lines expected = {"i|0||t|n|d|b1|b2|b3|b4|b5|b6|b7|b8|||1|0|a|1|1",
                            "|0||||[{\"title\":\"T\",\"data\":\"D\"}]" + kRest + "|T|D"};
    Items items;
    EXPECT_TRUE(m_client.GetRevisedDisclaimers(items.list, "phone", "all"));
    EXPECT_EQ(items.Shown(), expected);
    const std::string revised = " VerantiAPI.cpp GetRevisedDisclaimers: ";
    const std::string rule = " VerantiAPI.cpp GetRevisedDisclaimers: ";
    EXPECT_EQ(
        ThePlatform().Logs(),
        (Lines{"info" + revised + "GetRevisedDisclaimers called", "warning" + revised + "id i",
               "trace" + revised + "datailData=d",
               "trace" + rule + "<<WARN: NOT JSON TYPE MESSAGE>>", "warning" + revised + "id ",
               "trace" + revised + R"(datailData=[{"title":"T","data":"D"}])",
               "trace" + rule + "It is new RULE", "warning" + rule + "push back"}));
    ServeReplies({{"get revised disclaimers", Good(R"("disclaimers":[{"id":"last"}])")}});
    EXPECT_TRUE(m_client.GetRevisedDisclaimers(items.list, "phone", "all"));
    ASSERT_EQ(items.list.size(), 3U);
    EXPECT_EQ(items.list.back()->strItemId, "last");
}

TEST_F(DisclaimerTest, RevisedDisclaimersWithoutAList) {
    const struct {
        const char* reply;
        bool result;
        std::size_t records;
        bool throws;
    } cases[] = {
        {R"({"result":true})", true, 0, false},
        {R"({"result":true,"disclaimers":[]})", true, 0, false},
        {R"({"result":true,"disclaimers":"text"})", true, 0, false},
        {R"({"result":false,"disclaimers":[{}]})", false, 0, false},
        {R"({"disclaimers":[{}]})", false, 0, false},
        {"down", false, 0, false},
        {R"({"result":true,"disclaimers":{"a":1}})", false, 0, true},
        {R"({"result":true,"disclaimers":[null,{"title":{"a":1}},{}]})", false, 1, true},
        {R"({"result":true,"disclaimers":[{},{"details":"[3]"}]})", false, 1, true},
    };
    for (const auto& each : cases) {
        ServeReplies({{"get revised disclaimers", each.reply}});
        Items items;
        bool result = false;
        bool threw = false;
        try {
            result = m_client.GetRevisedDisclaimers(items.list, "TV", "");
        } catch (const Json::Exception&) {
            threw = true;
        }
        EXPECT_EQ(result, each.result) << each.reply;
        EXPECT_EQ(threw, each.throws) << each.reply;
        EXPECT_EQ(items.list.size(), each.records) << each.reply;
    }
}

}  // namespace
