// The C interface and the exports for C#: what each call answers, logs and sends, and what becomes
// of the memory that it hands out.
#include <gtest/gtest.h>

#include <cstring>
#include <future>

#include "Allocations.h"
#include "CSharpBridgeAPI.h"
#include "Cases.h"
#include "Doubles.h"
#include "TermsAPIInternal.h"
#include "Wire.h"

namespace {

using Record = TermsContentItem;
using Item = STHomeDisclaimerContentItem;
using Allocations::kPoison;

#ifdef VERANTI_TERMINATE_TEXTS
constexpr unsigned char kLastByte = 0;
#else
constexpr unsigned char kLastByte = kPoison;
#endif

/// A text that may end without a NUL: its length must be known.
std::string Bytes(const char* text, std::size_t size) {
    return text != nullptr ? std::string(text, size) : "(null)";
}

/// A service that answers every request so, or not at all when it is no JSON.
void ServeAlways(const std::string& answer) {
    ThePlatform().service = [answer](const Json::Value&, Json::Value& reply) {
        return Corvane::Wire::FromText(answer, reply);
    };
}

/// The journal's requests, but for availability checks, and its log lines of the two doors. Texts
/// of records have a test of their own.
Lines Seen() {
    Lines seen;
    for (const std::string& line : ThePlatform().journal) {
        const auto has = [&line](const char* part) { return line.find(part) != std::string::npos; };
        const bool request = line[0] == '{' && !has("is service available");
        const bool log = has("TermsAPI.cpp") || has("CSharpBridgeAPI.cpp") || has("GetInstance");
        if (request || (log && !has("ConvertChar"))) {
            seen.push_back(line);
        }
    }
    return seen;
}

class CInterfaceTest : public testing::Test {
  protected:
    CInterfaceTest() {
        ThePlatform().Reset();
        Allocations::Reset({sizeof(Item), 'I'}, {sizeof(Record), 'R'});
    }
    ~CInterfaceTest() override {
        const Allocations::Count arrays = Allocations::Arrays();
        EXPECT_EQ(arrays.made, arrays.released);
        CVerantiAPI::Destroy();
    }
};

std::string WebViewHeader() {
    const std::unique_ptr<char, decltype(&std::free)> text(GetInfoForDisclaimerWebView(),
                                                           &std::free);
    return text ? text.get() : "(null)";
}

std::string DetailShown(const char* id) {
    std::string shown;
    GetDisclaimerDetail(
        id,
        [](Record* record, void* data) {
            *static_cast<std::string*>(data) += Bytes(record->strItemId, 1);
        },
        &shown);
    return shown;
}

std::string ListShown(int requester) {
    std::string shown;
    GetAllDisclaimerDetail(
        static_cast<TermsRequester>(requester),
        [](Record** records, int count, void* data) {
            for (int i = 0; i < count; ++i) {
                *static_cast<std::string*>(data) += Bytes(records[i]->strItemId, 1);
            }
        },
        &shown);
    return shown;
}

std::string BridgeAgreement(const char* id) {
    int agreed = 0;
    const int result = CSharpGetDisclaimerItemAgreement(id, &agreed);
    // The address is in the log; here it gets a name.
    const auto address = static_cast<int>(reinterpret_cast<std::intptr_t>(&agreed));
    std::string& line = ThePlatform().journal.back();
    const std::size_t at = line.rfind('=') + 1;
    EXPECT_EQ(line.substr(at), std::to_string(address));
    line.replace(at, std::string::npos, "ADDRESS");
    return std::to_string(result) + ' ' + std::to_string(agreed);
}

/// What a caller passes for an id: "no" withdraws, everything else agrees.
int Agreement(const char* id) {
    return id != nullptr && std::strcmp(id, "no") == 0 ? 0 : 5;
}

using Call = std::function<std::string(const char*)>;

Call Number(int (*call)(const char*)) {
    return [call](const char* text) { return std::to_string(call(text)); };
}

Call Number(int (*call)()) {
    return [call](const char*) { return std::to_string(call()); };
}

std::string Perform(const std::string& name, const char* text) {
    static const std::map<std::string, Call> calls = {
        {"IsServiceAvailable", Number(&IsServiceAvailable)},
        {"RequestUpdateDisclaimers", Number(&RequestUpdateDisclaimers)},
        {"SetDisclaimerItemAgreement",
         [](const char* id) {
             SetDisclaimerItemAgreement(id, Agreement(id));
             return "";
         }},
        {"IsDisclaimerItemExist", Number(&IsDisclaimerItemExist)},
        {"GetDisclaimerItemAgreement", Number(&GetDisclaimerItemAgreement)},
        {"SetDisclaimerItemsAgreements", Number(&SetDisclaimerItemsAgreements)},
        {"GetInfoForDisclaimerWebView", [](const char*) { return WebViewHeader(); }},
        {"GetDisclaimerDetail", DetailShown},
        {"GetDisclaimerDetail to nobody",
         [](const char* id) {
             GetDisclaimerDetail(id, nullptr, nullptr);
             return "";
         }},
        {"CSharpSetDisclaimerItemAgreement for null",
         [](const char* id) {
             return std::to_string(CSharpSetDisclaimerItemAgreement(id, 1, nullptr));
         }},
        {"GetAllDisclaimerDetail",
         [](const char* requester) { return ListShown(std::stoi(requester)); }},
        {"CSharpGetInstance",
         [](const char*) {
             const bool kept = CSharpGetInstance() == pThis && pThis == CVerantiAPI::m_pInstance;
             return kept ? "kept" : "lost";
         }},
        {"CSharpDestroy",
         [](const char*) {
             CSharpDestroy();
             return pThis != nullptr && CVerantiAPI::m_pInstance == nullptr ? "stale" : "";
         }},
        {"CSharpIsServiceAvailable", Number(&CSharpIsServiceAvailable)},
        {"CSharpSetDisclaimerItemAgreement",
         [](const char* id) {
             const char* product = Agreement(id) != 0 ? "phone" : "TV";
             return std::to_string(CSharpSetDisclaimerItemAgreement(id, Agreement(id), product));
         }},
        {"CSharpGetDisclaimerItemAgreement", BridgeAgreement},
    };
    try {
        return calls.at(name)(text);
    } catch (const Json::Exception&) {
        return "JSON exception";
    } catch (const std::logic_error&) {
        return "logic error";
    }
}

TEST_F(CInterfaceTest, EachCallAnswersLogsAndSends) {
    for (const Json::Value& each : ReadCases("c-interface")) {
        const Json::Value& argument = each[1];
        SCOPED_TRACE(each[0].asString() + ' ' + Corvane::Wire::ToText(argument));
        CSharpGetInstance();
        ThePlatform().Reset();
        const std::string stored = each.get(5, R"({"yes":"true","no":"false"})").asString();
        ThePlatform().store = {{"db/veranti/disclaimeragrees", stored}};
        ServeAlways(each[2].asString());
        EXPECT_EQ(Perform(each[0].asString(), TextOrNull(argument)), each[3].asString());
        EXPECT_EQ(Seen(), ToTexts(each[4]));
    }
}

TEST_F(CInterfaceTest, ACopyWithoutMemoryIsReported) {
    Allocations::FailStrdup(true);
    EXPECT_EQ(GetInfoForDisclaimerWebView(), nullptr);
    Allocations::FailStrdup(false);
    EXPECT_EQ(Seen().back(),
              "log system TermsAPI.cpp GetInfoForDisclaimerWebView: Failed to "
              "allocate value");
}

TEST_F(CInterfaceTest, ATriggerDoesNotWaitForTheService) {
    std::promise<void> answer;
    ThePlatform().service = [&answer](const Json::Value&, Json::Value& reply) {
        answer.get_future().wait();
        reply["result"] = true;
        return true;
    };
    TriggerTermsService();  // returns while the service has not answered
    answer.set_value();
    ThePlatform().WaitFor(
        "log system TermsAPI.cpp m_TriggerTermsServiceAsync: IsServiceAvailable true");
    for (const char* line :
         {"log system TermsAPI.cpp TriggerTermsService: Finish Trigger Terms Service",
          "log trace TermsAPI.cpp m_TriggerTermsServiceAsync: ",
          "log info TermsAPI.cpp IsServiceAvailable: "}) {
        EXPECT_EQ(ThePlatform().Count(line), 1) << line;
    }
}

TEST_F(CInterfaceTest, RequestersOutsideTheListBecomeTheCatchAll) {
    for (const auto& [requester, expected] :
         std::map<int, int>{{-1, 4}, {0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 4}, {100, 4}}) {
        EXPECT_EQ(GetRequesterType(static_cast<TermsRequester>(requester)), expected);
        EXPECT_EQ(Seen().back(),
                  "log info TermsAPI.cpp GetRequesterType: " + std::to_string(requester));
    }
}

TEST_F(CInterfaceTest, TextsAreCopiedByteForByte) {
    for (const std::string& text : {std::string("x"), std::string("ab\0c", 4), std::string("\0", 1),
                                    std::string(1 << 20, 'm')}) {
        const std::unique_ptr<char[]> copy(ConvertChar(text));
        EXPECT_EQ(std::memcmp(copy.get(), text.data(), text.size()), 0);
        EXPECT_EQ(static_cast<unsigned char>(copy[text.size()]), kLastByte);
    }
    EXPECT_EQ(ThePlatform().journal[1], "log info TermsAPI.cpp ConvertChar: [ab]");
    ThePlatform().journal.clear();
    EXPECT_EQ(ConvertChar(""), nullptr);
    EXPECT_EQ(ThePlatform().journal, (Lines{"log info TermsAPI.cpp ConvertChar: []",
                                            "log warning TermsAPI.cpp ConvertChar: empty"}));
}

/// A client's record whose texts are their own names, in the order of the members.
Item NamedItem(const Lines& names) {
    Item item;
    std::string* const texts[] = {
        &item.strItemId,  &item.strVersion, &item.strTitle,    &item.strIntro,
        &item.strDetails, &item.strButton1, &item.strButton2,  &item.strButton3,
        &item.strButton4, &item.strButton5, &item.strButton6,  &item.strButton7,
        &item.strButton8, &item.strButton9, &item.strButton10, &item.strAgreeDependency};
    for (std::size_t i = 0; i < names.size(); ++i) {
        *texts[i] = names[i];
    }
    return item;
}

const Lines kNames = {"id", "ve", "ti", "in", "de", "b1", "b2", "b3",
                      "b4", "b5", "b6", "b7", "b8", "b9", "bt", "ad"};

/// The 16 texts in the order of NamedItem(), two bytes each.
Lines TextsOf(const Record& record) {
    Lines texts;
    for (const char* text :
         {record.strItemId, record.strVersion, record.strTitle, record.strIntro, record.strDetails,
          record.strButton1, record.strButton2, record.strButton3, record.strButton4,
          record.strButton5, record.strButton6, record.strButton7, record.strButton8,
          record.strButton9, record.strButton10, record.strAgreeDependency}) {
        texts.push_back(Bytes(text, 2));
    }
    return texts;
}

/// The numbers and flags of a record and its sections, in their order.
std::vector<long> NumbersOf(const Record& record) {
    return {record.nOrder,
            record.bIsAgreed,
            record.bOnlyNotice,
            record.bPPUsed,
            record.bReverse,
            record.nDetailDataCount,
            record.ppDetailData != nullptr ? 1 : 0};
}

TEST_F(CInterfaceTest, ARecordIsFilledInItsOrderAndReleasedInAnother) {
    Item item = NamedItem(kNames);
    item.nOrder = 7;
    item.bReverse = true;
    Record record{};
    ConvertTermItem(&record, &item);
    EXPECT_EQ(TextsOf(record), kNames);
    Lines expected = {"log info TermsAPI.cpp ConvertTermItem: [id]"};
    for (const std::string& name : kNames) {
        expected.push_back("log info TermsAPI.cpp ConvertChar: [" + name + ']');
    }
    expected.emplace_back("log info TermsAPI.cpp ConvertTermItem: 0");
    EXPECT_EQ(ThePlatform().journal, expected);

    DestroyTermItem(&record);
    EXPECT_EQ(TextsOf(record), Lines(16, "(null)"));
    EXPECT_EQ(NumbersOf(record), (std::vector<long>{7, 0, 0, 0, 1, 0, 0}));
    DestroyTermItem(&record);  // nothing is left to release
    EXPECT_EQ(Allocations::Trace(),
              " A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 A10 A11 A12 A13 A14 A15"
              " a5 a6 a7 a8 a9 a10 a11 a12 a13 a14 a4 a0 a3 a2 a1 a15");
}

TEST_F(CInterfaceTest, EachFlagHasItsOwnSource) {
    std::size_t position = 1;  // behind the order
    for (bool Item::*const source :
         {&Item::bIsAgreed, &Item::bOnlyNotice, &Item::bPPUsed, &Item::bReverse}) {
        Item item;
        item.*source = true;
        Record record{};
        ConvertTermItem(&record, &item);
        std::vector<long> expected(7, 0);
        expected[position++] = 1;
        EXPECT_EQ(NumbersOf(record), expected);
    }
}

TEST_F(CInterfaceTest, AnInitialisedRecordIsAllZero) {
    Record record;
    std::memset(&record, kPoison, sizeof record);
    InitailizeTermsContentItem(&record);
    EXPECT_EQ(TextsOf(record), Lines(16, "(null)"));
    EXPECT_EQ(NumbersOf(record), std::vector<long>(7, 0));
    EXPECT_EQ(Seen(), Lines{"log info TermsAPI.cpp InitailizeTermsContentItem: "});
}

TEST_F(CInterfaceTest, AnEmptyRecordHasNullTextsOnly) {
    Item item;
    Record record{};
    ConvertTermItem(&record, &item);
    EXPECT_EQ(TextsOf(record), Lines(16, "(null)"));
    EXPECT_EQ(ThePlatform().Count("log warning TermsAPI.cpp ConvertChar: empty"), 16);
}

TEST_F(CInterfaceTest, SectionsAreCopiedEntryByEntry) {
    for (const std::size_t count : {0U, 1U, 4U, 1000U}) {
        Item item;
        for (std::size_t i = 0; i < count; ++i) {
            item.vecDetailData.emplace_back(i % 3 == 2 ? "" : "entry");
        }
        char* none = nullptr;
        Record record;
        record.ppDetailData = &none;
        ConvertTermItem(&record, &item);
        EXPECT_EQ(record.nDetailDataCount, static_cast<int>(count));
        EXPECT_EQ(record.ppDetailData == &none, count == 0);  // not written without sections
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(Bytes(record.ppDetailData[i], 5), i % 3 == 2 ? "(null)" : "entry");
        }
        DestroyTermItem(&record);
        // A list without a count is not the library's.
        EXPECT_EQ(record.ppDetailData, count == 0 ? &none : nullptr);
        EXPECT_EQ(record.nDetailDataCount, 0);
        record.nDetailDataCount = -1;
        DestroyTermItem(&record);
        EXPECT_EQ(record.nDetailDataCount, -1);
    }
}

TEST_F(CInterfaceTest, RecordsForACallbackAreNotZeroed) {
    ServeAlways(R"({"result":true,"number":1,"id":"i"})");
    char* poison = nullptr;
    std::memset(&poison, kPoison, sizeof poison);
    char* seen[2] = {};
    const auto note = [](Record* record, void* data) {
        *static_cast<char***>(data) = record->ppDetailData;
    };
    GetDisclaimerDetail("i", note, &seen[0]);
    GetAllDisclaimerDetail(
        TERMS_REQUESTER_0,
        [](Record** records, int, void* data) {
            *static_cast<char***>(data) = records[0]->ppDetailData;
        },
        &seen[1]);
    EXPECT_EQ(seen[0], poison);
    EXPECT_EQ(seen[1], poison);
}

TEST_F(CInterfaceTest, OnlyTheClientsRecordsOfAListStayBehind) {
    const auto throws = [](Record**, int, void*) { throw std::runtime_error("the callback's"); };
    for (const TermsItemListCallback callback :
         {TermsItemListCallback(nullptr), TermsItemListCallback(throws)}) {
        ServeAlways(R"({"result":true,"number":2,"id":"i","details":"[{\"title\":\"T\"}]"})");
        Allocations::Reset({sizeof(Item), 'I'}, {sizeof(Record), 'R'});
        try {
            GetAllDisclaimerDetail(TERMS_REQUESTER_1, callback, nullptr);
            EXPECT_EQ(callback, nullptr);
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "the callback's");
        }
        // The client's two records; the array and its two; for each the id, the details, the
        // sections and their only text. All go but the client's: the texts first, then the records,
        // then the array.
        EXPECT_EQ(Allocations::Trace(),
                  " I I A0 R R A1 A2 A3 A4 A5 A6 A7 A8 a2 a1 a4 a3 a6 a5 a8 a7 r r a0");
    }
}

TEST_F(CInterfaceTest, ACallbacksExceptionPasses) {
    ServeAlways(R"({"result":true,"id":"i"})");
    const auto throws = [](Record*, void*) { throw std::runtime_error("the callback's"); };
    EXPECT_THROW(GetDisclaimerDetail("i", throws, nullptr), std::runtime_error);
    EXPECT_EQ(Allocations::Trace(), " R A0 a0 r");
}

}  // namespace
