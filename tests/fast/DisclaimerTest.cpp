// Disclaimer records: which reply members they take, how details become sections, and what is left
// behind when the service sends something else.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "DisclaimerFields.h"
#include "Journal.h"
#include "VerantiAPI.h"
#include "Wire.h"

namespace {

using Item = STHomeDisclaimerContentItem;
using Members = std::map<std::string, std::string>;

Lines Words(const char* text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

/// The members of a disclaimer in the order in which they are read.
const Lines kAll = Words(
    "id order version title intro details button1 button2 button3 button4 button5 button6 button7 "
    "button8 button9 button10 is_agreed only_notice agree_dependency ppused reverse");
/// The same for revised ones.
const Lines kRevised = Words(
    "id title intro details button1 button2 button3 button4 button5 button6 button7 button8 "
    "agree_dependency is_agreed reverse ppused");

/// A record's members by the reply's names, without those at their defaults. "sections" has all
/// entries, a bar behind each.
Members Held(const Item& item) {
    const auto flag = [](bool value) { return value ? "true" : ""; };
    const std::string order = item.nOrder != 0 ? Text(item.nOrder) : "";
    const Lines values = {item.strItemId,          order,
                          item.strVersion,         item.strTitle,
                          item.strIntro,           item.strDetails,
                          item.strButton1,         item.strButton2,
                          item.strButton3,         item.strButton4,
                          item.strButton5,         item.strButton6,
                          item.strButton7,         item.strButton8,
                          item.strButton9,         item.strButton10,
                          flag(item.bIsAgreed),    flag(item.bOnlyNotice),
                          item.strAgreeDependency, flag(item.bPPUsed),
                          flag(item.bReverse)};
    Members held;
    for (std::size_t i = 0; i < kAll.size(); ++i) {
        if (!values.at(i).empty()) {
            held[kAll[i]] = values[i];
        }
    }
    for (const std::string& entry : item.vecDetailData) {
        held["sections"] += entry + '|';
    }
    return held;
}

/// A disclaimer as the service sends it: flags are true, texts their member's name.
Json::Value Full() {
    Json::Value disclaimer;
    for (const std::string& name : kAll) {
        disclaimer[name] = name;
    }
    disclaimer["order"] = 4;
    for (const char* flag : {"is_agreed", "only_notice", "ppused", "reverse"}) {
        disclaimer[flag] = true;
    }
    return disclaimer;
}

TEST(DisclaimerFieldsTest, MembersAreReadInTheirOrder) {
    for (const auto& [names, read] :
         {std::pair(kAll, &ReadAllFields), std::pair(kRevised, &ReadRevisedFields)}) {
        Members before;
        for (const std::string& name : names) {
            Json::Value reply = Full();
            // What cannot be converted: an array, and too large a number.
            reply[name] = name == "order" ? Json::Value(1e10) : Json::arrayValue;
            Item item;
            EXPECT_THROW(read(reply, item), Json::Exception) << name;
            EXPECT_EQ(Held(item), before) << name;
            before[name] = Full()[name].asString();
        }
        Json::Value reply = Full();
        Item item;
        read(reply, item);
        EXPECT_EQ(Held(item), before);
    }
}

constexpr char kRule[] = "trace VerantiAPI.cpp GetDisclaimerInfo: It is new RULE";
constexpr char kPush[] = "warning VerantiAPI.cpp GetDisclaimerInfo: push back";

class DisclaimerTest : public testing::Test {
  protected:
    DisclaimerTest() { ThePlatform().Reset(); }
    ~DisclaimerTest() override {
        for (const Item* item : m_items) {
            delete item;
        }
    }

    /// Serves a disclaimer with a good result.
    static void ServeGood(Json::Value disclaimer) {
        disclaimer["result"] = true;
        Serve(Corvane::Wire::ToText(disclaimer));
    }

    CVerantiAPI m_client;
    std::vector<Item*> m_items;  // what lists have handed out
};

TEST_F(DisclaimerTest, MembersAreConvertedOrResetButSectionsAreKept) {
    Item item;
    EXPECT_EQ(Held(item), Members{});
    ServeGood(Full());
    EXPECT_EQ(m_client.GetDisclaimerDetail("i", item, "TV"), 0);
    EXPECT_EQ(Held(item).size(), kAll.size());
    item.vecDetailData = {"kept", "too"};
    Serve(R"({"result":1,"order":true,"version":7,"details":"[{}]","only_notice":3.7})");
    EXPECT_EQ(m_client.GetDisclaimerDetail("i", item, "TV"), 0);
    EXPECT_EQ(Held(item), (Members{{"order", "1"},
                                   {"version", "7"},
                                   {"details", "[{}]"},
                                   {"only_notice", "true"},
                                   {"sections", "kept|too|||"}}));
}

TEST_F(DisclaimerTest, DetailsBecomeSections) {
    const std::string id = "trace VerantiAPI.cpp GetDisclaimerInfo: id ";
    const struct {
        std::string details;
        const char* sections;
        Lines read;
        bool throws = false;
    } cases[] = {
        {"", "", {id, kProse}},
        {"prose", "", {id, kProse}},
        {"[1", "", {id, kProse}},
        {R"({"a":1})", "", {id}},
        {"5", "", {id}},
        {R"("text")", "", {id}},
        {"null", "", {id}},
        {"[]", "", {id, kRule}},
        {R"([{"title":"T","data":"D"}])", "T|D|", {id, kRule, kPush}},
        {R"([{"data":"D"},null,{"title":5}])", "|D|||5||", {id, kRule, kPush, kPush, kPush}},
        {"[ ] // remark", "", {id, kRule}},
        {"[] behind", "", {id, kRule}},
        {R"([{"title":"T"},3])", "T||", {id, kRule, kPush}, true},
        {R"(["T"])", "", {id, kRule}, true},
        {std::string(2000, '['), "", {id}, true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.details);
        Json::Value disclaimer;
        disclaimer["details"] = each.details;
        ServeGood(disclaimer);
        Item item;
        try {
            EXPECT_EQ(m_client.GetDisclaimerDetail("i", item, "TV"), 0);
            EXPECT_FALSE(each.throws);
        } catch (const Json::Exception&) {
            EXPECT_TRUE(each.throws);
        }
        EXPECT_EQ(item.strDetails, each.details);
        EXPECT_EQ(Held(item)["sections"], each.sections);
        EXPECT_EQ(ThePlatform().TakeJournal(), FetchedById(each.read));
    }
}

TEST_F(DisclaimerTest, AListSkipsWhatFailsAndKeepsWhatCameBeforeAnException) {
    ThePlatform().service = [](const Json::Value& request, Json::Value& reply) {
        reply["result"] = request["request_index"] != 1;
        reply["number"] = 5;
        reply["id"] = request["request_index"];
        reply["title"] = request["request_index"] == 3 ? Json::Value(Json::arrayValue) : "t";
        return true;
    };
    Item mine;  // is left alone
    m_items = {&mine};
    EXPECT_THROW(m_client.GetDisclaimerDetails(m_items, HOME_DISCLAIMER_REQUESTER_OTHER, "phone"),
                 Json::Exception);
    ASSERT_EQ(m_items.size(), 2U);
    EXPECT_EQ(m_items[0]->strItemId, "0");
    EXPECT_EQ(m_items[1]->strItemId, "2");
    const std::string system = "system VerantiAPI.cpp GetDisclaimerDetails: ";
    EXPECT_EQ(
        ThePlatform().TakeJournal(),
        Journal(
            {"info VerantiAPI.cpp GetDisclaimerDetails: GetDisclaimerDetails called for req: 4",
             Counted("4", "5"), system, system, system + '0',
             FetchedByOrder("0", "phone", {"trace VerantiAPI.cpp GetDisclaimerInfo: id 0", kProse}),
             system + '1', FetchedByOrder("1", "phone", {}), system + '2',
             FetchedByOrder("2", "phone", {"trace VerantiAPI.cpp GetDisclaimerInfo: id 2", kProse}),
             system + '3', FetchedByOrder("3", "phone", {})}));
}

TEST_F(DisclaimerTest, AnEmptyListIsLeftAsItIs) {
    for (const char* reply : {R"({"result":true,"number":0})", R"({"result":true,"number":-3})",
                              R"({"result":false,"number":3})", "down"}) {
        Serve(reply);
        Item mine;
        std::vector<Item*> list = {&mine};
        EXPECT_EQ(m_client.GetDisclaimerDetails(list, HOME_DISCLAIMER_REQUESTER_0, "TV"), 0);
        EXPECT_EQ(list, std::vector<Item*>{&mine}) << reply;
    }
}

const std::string kRevision = " VerantiAPI.cpp GetRevisedDisclaimers: ";

/// Fetching revised disclaimers.
std::string RevisedFetched(const Lines& read) {
    return Journal({"info" + kRevision + "GetRevisedDisclaimers called", Check(),
                    Exchange(R"({"data":null,"method":"get revised disclaimers",)"
                             R"("product_type":"phone","terms":"all"})",
                             read)});
}

TEST_F(DisclaimerTest, RevisedDisclaimersAreAppended) {
    Json::Value reply;
    reply["disclaimers"].append(Full());
    reply["disclaimers"][1]["details"] = R"([{"title":"T","data":"D"}])";
    ServeGood(reply);
    EXPECT_TRUE(m_client.GetRevisedDisclaimers(m_items, "phone", "all"));
    ASSERT_EQ(m_items.size(), 2U);
    EXPECT_EQ(Held(*m_items[0]).size(), kRevised.size());
    EXPECT_EQ(Held(*m_items[1]),
              (Members{{"details", R"([{"title":"T","data":"D"}])"}, {"sections", "T|D|"}}));
    EXPECT_EQ(
        ThePlatform().TakeJournal(),
        RevisedFetched(
            {"warning" + kRevision + "id id", "trace" + kRevision + "datailData=details",
             "trace" + kRevision + "<<WARN: NOT JSON TYPE MESSAGE>>", "warning" + kRevision + "id ",
             "trace" + kRevision + R"(datailData=[{"title":"T","data":"D"}])",
             "trace" + kRevision + "It is new RULE", "warning" + kRevision + "push back"}));
    Serve(R"({"result":true,"disclaimers":[{"id":"last"}]})");
    EXPECT_TRUE(m_client.GetRevisedDisclaimers(m_items, "phone", "all"));
    ASSERT_EQ(m_items.size(), 3U);
    EXPECT_EQ(m_items[2]->strItemId, "last");
}

TEST_F(DisclaimerTest, RevisedDisclaimersBeforeAnExceptionAreKept) {
    const std::string first =
        Journal({"warning" + kRevision + "id ", "trace" + kRevision + "datailData=",
                 "trace" + kRevision + "<<WARN: NOT JSON TYPE MESSAGE>>"});
    // A reply's list, the result, the records, and the lines while the list is read.
    const std::tuple<std::string, std::string, std::size_t, Lines> cases[] = {
        {R"("text")", "true", 0, {}},
        {"[]", "true", 0, {}},
        {R"({"a":1})", "exception", 0, {}},
        {R"([null,{"title":[]},{}])", "exception", 1, {first}},
        {R"([{},{"details":")" + std::string(2000, '[') + "\"}]",
         "exception",
         1,
         {first, "warning" + kRevision + "id "}},
        {R"([{},{"details":"[3]"}])",
         "exception",
         1,
         {first, "warning" + kRevision + "id ", "trace" + kRevision + "datailData=[3]",
          "trace" + kRevision + "It is new RULE"}},
    };
    for (const auto& [list, result, kept, read] : cases) {
        SCOPED_TRACE(list);
        Serve(R"({"result":true,"disclaimers":)" + list + '}');
        const std::size_t before = m_items.size();
        try {
            EXPECT_EQ(Text(m_client.GetRevisedDisclaimers(m_items, "phone", "all")), result);
        } catch (const Json::Exception&) {
            EXPECT_EQ(result, "exception");
        }
        EXPECT_EQ(m_items.size() - before, kept);
        EXPECT_EQ(ThePlatform().TakeJournal(), RevisedFetched(read));
    }
}

}  // namespace
