// The C interface and the exports for C#: what each call answers, logs and sends, and what becomes
// of the memory that it hands out.
#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <sstream>

#include "Allocations.h"
#include "CSharpBridgeAPI.h"
#include "Journal.h"
#include "Limit.h"
#include "TermsAPIInternal.h"

namespace {

using Record = TermsContentItem;
using Item = STHomeDisclaimerContentItem;
using Allocations::kPoison;

constexpr unsigned char kLastByte = VERANTI_TERMINATE_TEXTS ? 0 : kPoison;

/// A text that may end without a NUL: its length must be known.
std::string Bytes(const char* text, std::size_t size) {
    return text != nullptr ? std::string(text, size) : "-";
}

class CInterfaceTest : public testing::Test {
  protected:
    CInterfaceTest() {
        CSharpGetInstance();
        ThePlatform().Reset();
        Allocations::Reset({sizeof(Item), 'I'}, {sizeof(Record), 'R'});
    }
    ~CInterfaceTest() override {
        EXPECT_EQ(Allocations::Arrays(), 0);
        CVerantiAPI::Destroy();
    }
};

std::string Agree(const char* id, int agreed) {
    SetDisclaimerItemAgreement(id, agreed);
    return "";
}

std::string WebViewHeader() {
    const std::unique_ptr<char, decltype(&std::free)> text(GetInfoForDisclaimerWebView(),
                                                           &std::free);
    return text ? text.get() : "(null)";
}

std::string WebViewHeaderWithoutMemory() {
    Allocations::Exhaust(true);
    std::string header = WebViewHeader();
    Allocations::Exhaust(false);
    return header;
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

int g_agreed = 0;
/// Its address as far as an int shows it, which is what the log has.
const std::string kAddress = Text(static_cast<int>(reinterpret_cast<std::intptr_t>(&g_agreed)));

std::string BridgeAgreement(const char* id) {
    g_agreed = 0;
    const int result = CSharpGetDisclaimerItemAgreement(id, &g_agreed);
    return Text(result) + ' ' + Text(g_agreed);
}

bool KeepsInstance() {
    return CSharpGetInstance() == pThis && pThis == CVerantiAPI::m_pInstance;
}

bool LeavesStaleInstance() {
    CSharpDestroy();
    return pThis != nullptr && CVerantiAPI::m_pInstance == nullptr;
}

/// A line of the exports for C#.
std::string Bridge(const std::string& function, const std::string& text) {
    return "info CSharpBridgeAPI.cpp " + function + ":  [CSharpBridgeAPI " + function + ":LINE]" +
           text;
}

/// The conversion of a record without sections whose first texts are these, and the others empty.
std::string Converted(Lines texts) {
    Lines lines = {"info TermsAPI.cpp ConvertTermItem: [" + texts.front() + ']'};
    texts.resize(16);
    for (const std::string& text : texts) {
        lines.push_back("info TermsAPI.cpp ConvertChar: [" + text + ']');
        lines.emplace_back(text.empty() ? "warning TermsAPI.cpp ConvertChar: empty" : "");
    }
    lines.emplace_back("info TermsAPI.cpp ConvertTermItem: 0");
    return Journal(lines);
}

const std::string kStored = R"({"no":"false","yes":"true"})";

/// A call, what it gives, its journal, and what the service answers (but availability checks).
struct Case {
    template <typename Call>
    Case(const char* title, Call function, const char* result, const Lines& lines,
         const char* reply = R"({"result":true})")
        : name(title),
          call([function] { return Text(function()); }),
          gives(result),
          journal(Journal(lines)),
          answer(reply) {}

    std::string name;
    std::function<std::string()> call;
    std::string gives;
    std::string journal;
    const char* answer;
};

const Case kCases[] = {
    Case("IsServiceAvailable", &IsServiceAvailable, "1",
         {"info TermsAPI.cpp IsServiceAvailable: ", kInstance, Check()}),
    Case("IsServiceAvailable_Down", &IsServiceAvailable, "0",
         {"info TermsAPI.cpp IsServiceAvailable: ", kInstance, Check(false)}, "down"),
    Case("RequestUpdateDisclaimers", [] { return RequestUpdateDisclaimers("phone"); }, "1",
         {"info TermsAPI.cpp RequestUpdateDisclaimers: requester = phone", kInstance,
          "info VerantiAPI.cpp RequestUpdateDisclaimers: ", Check(),
          Exchange(R"({"data":null,"method":"request update disclaimers",)"
                   R"("product_type":"phone","request_from":"wizard-terms"})")}),
    Case("RequestUpdateDisclaimers_Null", [] { return RequestUpdateDisclaimers(nullptr); }, "0",
         {"info TermsAPI.cpp RequestUpdateDisclaimers: empty requester"}),
    Case("SetDisclaimerItemAgreement", [] { return Agree("i", 5); }, "",
         {"info TermsAPI.cpp SetDisclaimerItemAgreement: ", kInstance, Agreed("TV", "true")}),
    Case("SetDisclaimerItemAgreement_Withdrawn", [] { return Agree("i", 0); }, "",
         {"info TermsAPI.cpp SetDisclaimerItemAgreement: ", kInstance, Agreed("TV", "false")}),
    Case("SetDisclaimerItemAgreement_Null", [] { return Agree(nullptr, 5); }, "logic error",
         {"info TermsAPI.cpp SetDisclaimerItemAgreement: ", kInstance}),
    Case("IsDisclaimerItemExist", [] { return IsDisclaimerItemExist("no"); }, "1",
         {"info TermsAPI.cpp IsDisclaimerItemExist: ", kInstance,
          Query("IsDisclaimerItemExist", "no", kStored),
          "warning VerantiAPI.cpp IsDisclaimerItemExist: no  exist"}),
    Case("IsDisclaimerItemExist_Unknown", [] { return IsDisclaimerItemExist("other"); }, "0",
         {"info TermsAPI.cpp IsDisclaimerItemExist: ", kInstance,
          Query("IsDisclaimerItemExist", "other", kStored),
          "warning VerantiAPI.cpp IsDisclaimerItemExist: other does not exist"}),
    Case("IsDisclaimerItemExist_Null", [] { return IsDisclaimerItemExist(nullptr); }, "logic error",
         {"info TermsAPI.cpp IsDisclaimerItemExist: ", kInstance}),
    Case("GetDisclaimerItemAgreement", [] { return GetDisclaimerItemAgreement("yes"); }, "1",
         {"info TermsAPI.cpp GetDisclaimerItemAgreement: ", kInstance,
          Query("GetDisclaimerItemAgreement", "yes", kStored),
          "info VerantiAPI.cpp GetDisclaimerItemAgreement: agreement true."}),
    Case("GetDisclaimerItemAgreement_Not", [] { return GetDisclaimerItemAgreement("no"); }, "0",
         {"info TermsAPI.cpp GetDisclaimerItemAgreement: ", kInstance,
          Query("GetDisclaimerItemAgreement", "no", kStored),
          "info VerantiAPI.cpp GetDisclaimerItemAgreement: agreement false."}),
    Case("GetDisclaimerItemAgreement_Null", [] { return GetDisclaimerItemAgreement(nullptr); },
         "logic error", {"info TermsAPI.cpp GetDisclaimerItemAgreement: ", kInstance}),
    Case("SetDisclaimerItemsAgreements",
         [] { return SetDisclaimerItemsAgreements(R"({"a":"b"})"); }, "1",
         {R"(system TermsAPI.cpp SetDisclaimerItemsAgreements: agreements:{"a":"b"})", kInstance,
          "info VerantiAPI.cpp SetDisclaimersAgreement: ", Check(),
          Exchange(R"({"a":"b","data":null,"method":"set agreements","product_type":"TV"})")}),
    Case("SetDisclaimerItemsAgreements_NoObject",
         [] { return SetDisclaimerItemsAgreements("[1]"); }, "JSON exception",
         {"system TermsAPI.cpp SetDisclaimerItemsAgreements: agreements:[1]", kInstance,
          "info VerantiAPI.cpp SetDisclaimersAgreement: ", Check(), "make server CAutoConnect 2",
          "open", "make request", "make reply", "destroy reply", "destroy request", "close",
          "destroy server"}),
    Case("SetDisclaimerItemsAgreements_NoJson", [] { return SetDisclaimerItemsAgreements("a"); },
         "0",
         {"system TermsAPI.cpp SetDisclaimerItemsAgreements: agreements:a",
          "system TermsAPI.cpp SetDisclaimerItemsAgreements: <<WARN: NOT JSON TYPE MESSAGE>>"}),
    Case("SetDisclaimerItemsAgreements_Null", [] { return SetDisclaimerItemsAgreements(nullptr); },
         "0", {"info TermsAPI.cpp SetDisclaimerItemsAgreements: empty agreements"}),
    Case(
        "GetInfoForDisclaimerWebView", &WebViewHeader, R"({"a":[true],"b":1})",
        {"info TermsAPI.cpp GetInfoForDisclaimerWebView: ", kInstance,
         "info VerantiAPI.cpp GetInformationForDisclaimerWebView: ", Check(),
         Exchange(R"({"data":null,"method":"get information for web view disclaimer"})"),
         R"(system TermsAPI.cpp GetInfoForDisclaimerWebView: GetWebDiscliamerHeaderData {{"a":[true],"b":1}})"},
        R"({"result":true,"headerData":{"b": 1, "a": [true]}})"),
    Case("GetInfoForDisclaimerWebView_NoMemory", &WebViewHeaderWithoutMemory, "(null)",
         {"info TermsAPI.cpp GetInfoForDisclaimerWebView: ", kInstance,
          "info VerantiAPI.cpp GetInformationForDisclaimerWebView: ", Check(),
          Exchange(R"({"data":null,"method":"get information for web view disclaimer"})"),
          "system TermsAPI.cpp GetInfoForDisclaimerWebView: GetWebDiscliamerHeaderData {null}",
          "system TermsAPI.cpp GetInfoForDisclaimerWebView: Failed to allocate value"}),
    Case(
        "GetDisclaimerDetail", [] { return DetailShown("i"); }, "k",
        {"info TermsAPI.cpp GetDisclaimerDetail: ", kInstance,
         FetchedById({"trace VerantiAPI.cpp GetDisclaimerInfo: id k", kProse}), Converted({"k"}),
         "info TermsAPI.cpp DestroyTermItem: "},
        R"({"result":true,"id":"k"})"),
    Case("GetDisclaimerDetail_NoId", [] { return DetailShown("i"); }, "",
         {"info TermsAPI.cpp GetDisclaimerDetail: ", kInstance,
          FetchedById({"trace VerantiAPI.cpp GetDisclaimerInfo: id ", kProse}),
          "warning TermsAPI.cpp GetDisclaimerDetail: There is no id[i]"}),
    Case("GetDisclaimerDetail_Null", [] { return DetailShown(nullptr); }, "logic error",
         {"info TermsAPI.cpp GetDisclaimerDetail: ", kInstance}),
    Case(
        "GetAllDisclaimerDetail", [] { return ListShown(9); }, "k",
        {"info TermsAPI.cpp GetAllDisclaimerDetail: ", "info TermsAPI.cpp GetRequesterType: 9",
         kInstance,
         "info VerantiAPI.cpp GetDisclaimerDetails: GetDisclaimerDetails called for req: 4",
         Counted("4", "1"), "system VerantiAPI.cpp GetDisclaimerDetails: ",
         "system VerantiAPI.cpp GetDisclaimerDetails: ",
         "system VerantiAPI.cpp GetDisclaimerDetails: 0",
         FetchedByOrder("0", "TV", {"trace VerantiAPI.cpp GetDisclaimerInfo: id k", kProse}),
         "info TermsAPI.cpp GetAllDisclaimerDetail: numofTerms[1]", Converted({"k"}),
         "info TermsAPI.cpp DestroyTermItem: "},
        R"({"result":true,"number":1,"id":"k"})"),
    Case("GetAllDisclaimerDetail_Empty", [] { return ListShown(0); }, "",
         {"info TermsAPI.cpp GetAllDisclaimerDetail: ", "info TermsAPI.cpp GetRequesterType: 0",
          kInstance,
          "info VerantiAPI.cpp GetDisclaimerDetails: GetDisclaimerDetails called for req: 0",
          Counted("0", "0"), "warning TermsAPI.cpp GetAllDisclaimerDetail: There is no Terms"}),
    Case("CSharpGetInstance", &KeepsInstance, "true",
         {Bridge("CSharpGetInstance", "CVerantiAPI::GetInstance"), kInstance}),
    Case("CSharpDestroy", &LeavesStaleInstance, "true",
         {Bridge("CSharpDestroy", "CVerantiAPI::Destroy"),
          "trace VerantiAPI.cpp Destroy: CVerantiAPI Destroy"}),
    Case("CSharpIsServiceAvailable", &CSharpIsServiceAvailable, "1",
         {Check(), Bridge("CSharpIsServiceAvailable", "1")}),
    Case("CSharpIsServiceAvailable_Down", &CSharpIsServiceAvailable, "0",
         {Check(false), Bridge("CSharpIsServiceAvailable", "0")}, "down"),
    Case("CSharpSetDisclaimerItemAgreement",
         [] { return CSharpSetDisclaimerItemAgreement("i", 5, "phone"); }, "1",
         {Bridge("CSharpSetDisclaimerItemAgreement", "strItemId, =i, isagreed =5"),
          Agreed("phone", "true")}),
    Case(
        "CSharpSetDisclaimerItemAgreement_Refused",
        [] { return CSharpSetDisclaimerItemAgreement("i", 0, "TV"); }, "0",
        {Bridge("CSharpSetDisclaimerItemAgreement", "strItemId, =i, isagreed =0"),
         Agreed("TV", "false")},
        R"({"result":false})"),
    Case("CSharpSetDisclaimerItemAgreement_Null",
         [] { return CSharpSetDisclaimerItemAgreement(nullptr, 1, "TV"); }, "logic error",
         {Bridge("CSharpSetDisclaimerItemAgreement", "strItemId, =(null), isagreed =1")}),
    Case("CSharpSetDisclaimerItemAgreement_NullProduct",
         [] { return CSharpSetDisclaimerItemAgreement("i", 1, nullptr); }, "logic error",
         {Bridge("CSharpSetDisclaimerItemAgreement", "strItemId, =i, isagreed =1")}),
    Case("CSharpGetDisclaimerItemAgreement", [] { return BridgeAgreement("yes"); }, "0 1",
         {Query("GetDisclaimerItemAgreement", "yes", kStored),
          "info VerantiAPI.cpp GetDisclaimerItemAgreement: agreement true.",
          Bridge("CSharpGetDisclaimerItemAgreement", "strItemId, =yes, isagreed =" + kAddress)}),
    Case("CSharpGetDisclaimerItemAgreement_Null", [] { return BridgeAgreement(nullptr); },
         "logic error", {}),
};

class FunctionTest : public CInterfaceTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(FunctionTest, AnswersLogsAndSends) {
    const Case& each = kCases[GetParam()];
    ThePlatform().store = {{"db/veranti/disclaimeragrees", kStored}};
    Serve(each.answer);
    std::string value;
    try {
        value = each.call();
    } catch (const Json::Exception&) {
        value = "JSON exception";
    } catch (const std::logic_error&) {
        value = "logic error";
    }
    EXPECT_EQ(value, each.gives);
    EXPECT_EQ(ThePlatform().TakeJournal(), each.journal);
}

INSTANTIATE_TEST_SUITE_P(Functions, FunctionTest, testing::Range<std::size_t>(0, std::size(kCases)),
                         [](const auto& test) { return kCases[test.param].name; });

TEST_F(CInterfaceTest, WhatIsRefusedOrCannotBeReadIsNone) {
    Serve(R"({"result":false})");
    EXPECT_EQ(RequestUpdateDisclaimers("phone"), 0);
    EXPECT_EQ(SetDisclaimerItemsAgreements("{}"), 0);
    ThePlatform().store = {{"db/veranti/disclaimeragrees", "[1]"}};
    EXPECT_EQ(GetDisclaimerItemAgreement("yes"), 0);
}

TEST_F(CInterfaceTest, ATriggerDoesNotWaitForTheService) {
    std::promise<void> asked;
    ThePlatform().service = [&asked](const Json::Value&, Json::Value& reply) {
        reply["result"] = asked.get_future().wait_for(kHang) == std::future_status::ready;
        return true;
    };
    TriggerTermsService();  // returns while the service has not answered
    asked.set_value();
    const std::string last =
        "system TermsAPI.cpp m_TriggerTermsServiceAsync: IsServiceAvailable true";
    ThePlatform().WaitFor(last);

    // The caller's line may stand anywhere among the thread's.
    const std::string own = "system TermsAPI.cpp TriggerTermsService: Finish Trigger Terms Service";
    Lines& journal = ThePlatform().journal;
    EXPECT_EQ(ThePlatform().Count(own), 1);
    journal.erase(std::remove(journal.begin(), journal.end(), own), journal.end());
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({"trace TermsAPI.cpp m_TriggerTermsServiceAsync: ",
                       "info TermsAPI.cpp IsServiceAvailable: ", kInstance, Check(), last}));
}

TEST_F(CInterfaceTest, RequestersOutsideTheListBecomeTheCatchAll) {
    for (const auto& [requester, expected] :
         std::map<int, int>{{-1, 4}, {0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 4}, {100, 4}}) {
        EXPECT_EQ(GetRequesterType(static_cast<TermsRequester>(requester)), expected);
        EXPECT_EQ(ThePlatform().TakeJournal(),
                  "info TermsAPI.cpp GetRequesterType: " + Text(requester));
    }
}

TEST_F(CInterfaceTest, TextsAreCopiedByteForByte) {
    for (const std::string& text : {std::string("x"), std::string("ab\0c", 4), std::string(1, 0)}) {
        const std::unique_ptr<char[]> copy(ConvertChar(text));
        EXPECT_EQ(Bytes(copy.get(), text.size()), text);
        EXPECT_EQ(static_cast<unsigned char>(copy[text.size()]), kLastByte);
    }
    EXPECT_EQ(ConvertChar(""), nullptr);
    EXPECT_EQ(ThePlatform().TakeJournal(),
              Journal({"info TermsAPI.cpp ConvertChar: [x]", "info TermsAPI.cpp ConvertChar: [ab]",
                       "info TermsAPI.cpp ConvertChar: []", "info TermsAPI.cpp ConvertChar: []",
                       "warning TermsAPI.cpp ConvertChar: empty"}));
}

/// A record's members in their order but the sections, two bytes of each text.
std::string Shown(const Record& record) {
    std::ostringstream shown;
    shown << Bytes(record.strItemId, 2) << ' ' << record.nOrder;
    for (const char* text :
         {record.strVersion, record.strTitle, record.strIntro, record.strDetails, record.strButton1,
          record.strButton2, record.strButton3, record.strButton4, record.strButton5,
          record.strButton6, record.strButton7, record.strButton8, record.strButton9,
          record.strButton10}) {
        shown << ' ' << Bytes(text, 2);
    }
    shown << ' ' << record.bIsAgreed << ' ' << record.bOnlyNotice << ' '
          << Bytes(record.strAgreeDependency, 2) << ' ' << record.bPPUsed << ' ' << record.bReverse;
    return shown.str();
}

TEST_F(CInterfaceTest, ARecordIsFilledInItsOrderAndReleasedInAnother) {
    const char* const flags[] = {"1 0 ad 0 0", "0 1 ad 0 0", "0 0 ad 1 0", "0 0 ad 0 1"};
    Record record;
    for (int set = 0; set < 4; ++set) {
        Item item = {"id",     7,        "ve", "ti",     "in",     "de", "b1", "b2",
                     "b3",     "b4",     "b5", "b6",     "b7",     "b8", "b9", "bt",
                     set == 0, set == 1, "ad", set == 2, set == 3, {}};
        std::memset(&record, kPoison, sizeof record);
        Allocations::Reset({sizeof(Item), 'I'}, {sizeof(Record), 'R'});
        ThePlatform().TakeJournal();
        ConvertTermItem(&record, &item);
        EXPECT_EQ(Shown(record),
                  std::string("id 7 ve ti in de b1 b2 b3 b4 b5 b6 b7 b8 b9 bt ") + flags[set]);
        EXPECT_EQ(ThePlatform().TakeJournal(),
                  Converted({"id", "ve", "ti", "in", "de", "b1", "b2", "b3", "b4", "b5", "b6", "b7",
                             "b8", "b9", "bt", "ad"}));
        DestroyTermItem(&record);
    }
    EXPECT_EQ(Shown(record), "- 7 - - - - - - - - - - - - - - 0 0 - 0 1");
    DestroyTermItem(&record);  // nothing is left to release
    EXPECT_EQ(Allocations::Trace(),
              " A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 A10 A11 A12 A13 A14 A15"
              " a5 a6 a7 a8 a9 a10 a11 a12 a13 a14 a4 a0 a3 a2 a1 a15");
    EXPECT_EQ(ThePlatform().TakeJournal(), Journal({"info TermsAPI.cpp DestroyTermItem: ",
                                                    "info TermsAPI.cpp DestroyTermItem: "}));
}

TEST_F(CInterfaceTest, AnInitialisedRecordIsAllZero) {
    Record record;
    std::memset(&record, kPoison, sizeof record);
    InitailizeTermsContentItem(&record);
    EXPECT_EQ(Shown(record), "- 0 - - - - - - - - - - - - - - 0 0 - 0 0");
    EXPECT_EQ(record.ppDetailData, nullptr);
    EXPECT_EQ(record.nDetailDataCount, 0);
    EXPECT_EQ(ThePlatform().TakeJournal(), "info TermsAPI.cpp InitailizeTermsContentItem: ");
}

TEST_F(CInterfaceTest, SectionsAreCopiedEntryByEntry) {
    char* none = nullptr;
    for (const Lines& sections :
         {Lines(), Lines{"T"}, Lines{"T", "", "U", "D"}, Lines(1000, "x")}) {
        Item item;
        item.vecDetailData = sections;
        Record record;
        record.ppDetailData = &none;
        ConvertTermItem(&record, &item);
        ASSERT_EQ(record.nDetailDataCount, static_cast<int>(sections.size()));
        for (std::size_t i = 0; i < sections.size(); ++i) {
            EXPECT_EQ(Bytes(record.ppDetailData[i], 1), sections[i].empty() ? "-" : sections[i]);
        }
        DestroyTermItem(&record);
        // Without sections the list is neither written nor released.
        EXPECT_EQ(record.ppDetailData, sections.empty() ? &none : nullptr);
        EXPECT_EQ(record.nDetailDataCount, 0);
        record.nDetailDataCount = -1;
        DestroyTermItem(&record);
        EXPECT_EQ(record.nDetailDataCount, -1);
    }
}

TEST_F(CInterfaceTest, RecordsForACallbackAreNotZeroed) {
    Serve(R"({"result":true,"number":1,"id":"i"})");
    std::vector<char**> seen;
    const auto note = [](Record* record, void* data) {
        static_cast<std::vector<char**>*>(data)->push_back(record->ppDetailData);
    };
    const auto noteFirst = [](Record** records, int /*count*/, void* data) {
        static_cast<std::vector<char**>*>(data)->push_back(records[0]->ppDetailData);
    };
    GetDisclaimerDetail("i", note, &seen);
    GetAllDisclaimerDetail(TERMS_REQUESTER_0, noteFirst, &seen);
    char** poison = nullptr;
    std::memset(&poison, kPoison, sizeof poison);
    EXPECT_EQ(seen, std::vector<char**>(2, poison));
}

TEST_F(CInterfaceTest, NothingIsLeftOfOneDisclaimer) {
    Serve(R"({"result":true,"id":"i"})");
    const auto throws = [](Record*, void*) { throw std::runtime_error("the callback's"); };
    EXPECT_THROW(GetDisclaimerDetail("i", throws, nullptr), std::runtime_error);
    EXPECT_EQ(Allocations::Trace(), " R A0 a0 r");
    GetDisclaimerDetail("i", nullptr, nullptr);
    EXPECT_EQ(Allocations::Trace(), " R A0 a0 r R A1 a1 r");
}

TEST_F(CInterfaceTest, OnlyTheClientsRecordsOfAListStayBehind) {
    Serve(R"({"result":true,"number":2,"id":"i","details":"[{\"title\":\"T\"}]"})");
    // The client's two records; the array and its two; for each the id, the details, the sections
    // and their only text. All go but the client's: the texts first, then the records, then the
    // array.
    const std::string trace = " I I A0 R R A1 A2 A3 A4 A5 A6 A7 A8 a2 a1 a4 a3 a6 a5 a8 a7 r r a0";
    const auto throws = [](Record**, int, void*) { throw std::runtime_error("the callback's"); };
    EXPECT_THROW(GetAllDisclaimerDetail(TERMS_REQUESTER_1, throws, nullptr), std::runtime_error);
    EXPECT_EQ(Allocations::Trace(), trace);
    Allocations::Reset({sizeof(Item), 'I'}, {sizeof(Record), 'R'});
    GetAllDisclaimerDetail(TERMS_REQUESTER_1, nullptr, nullptr);
    EXPECT_EQ(Allocations::Trace(), trace);
}

TEST_F(CInterfaceTest, AMessageIsReleasedOnceAndInItsOrder) {
    TermsDbusMessage message;
    auto* const buffer = static_cast<std::uint8_t*>(AllocateTermsDbusBuffer(3));
    char* const text = DuplicateTermsDbusText("m");
    char* const type = DuplicateTermsDbusText("t");
    InitiateTermsDbusMessage(&message, DuplicateTermsDbusText("f"), 7, type, text, buffer, 3);
    EXPECT_STREQ(message.from, "f");
    for (int i = 0; i < 2; ++i) {
        ReleaseTermsDbusMessage(&message);
        EXPECT_FALSE(message.from || message.type || message.message || message.buffer);
        EXPECT_EQ(message.code + message.buffer_size, 10U);  // as before
    }
    EXPECT_EQ(Allocations::Trace(), " A0 A1 A2 A3 a3 a2 a1 a0");
    ReleaseTermsDbusMessage(nullptr);
    InitiateTermsDbusMessage(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(DuplicateTermsDbusText(nullptr), nullptr);
}

TEST_F(CInterfaceTest, AServerWithoutMemoryIsNone) {
    TermsDbusServer earlier("name");
    g_DbusServer = &earlier;
    Allocations::Exhaust(true);
    EXPECT_EQ(InitiateTermsDbusServer("name"), 0);
    Allocations::Exhaust(false);
    EXPECT_EQ(g_DbusServer, nullptr);
    EXPECT_EQ(ThePlatform().TakeJournal(),
              "system TermsAPI.cpp InitiateTermsDbusServer: Failed to new TermsDbusServer, "
              "original Name: name");
}

}  // namespace
