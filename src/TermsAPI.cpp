#include "TermsAPI.h"

#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <variant>
#include <vector>

#include "JsonText.h"
#include "Log.h"
#include "TermsAPIInternal.h"

namespace {

using Record = TermsContentItem;
using Item = STHomeDisclaimerContentItem;

constexpr char kSet[] = "TV";  // the C interface always speaks for the set itself

/// A record's member and the client's member that it is filled from.
template <typename To, typename From>
struct Pair {
    To Record::*to;
    From Item::*from;
};
using Text = Pair<char*, std::string>;
using Number = Pair<int, int>;
using Flag = Pair<int, bool>;

// In the order of filling, which is the order of the texts in the log.
constexpr std::variant<Text, Number, Flag> kFields[] = {
    Text{&Record::strItemId, &Item::strItemId},
    Number{&Record::nOrder, &Item::nOrder},
    Text{&Record::strVersion, &Item::strVersion},
    Text{&Record::strTitle, &Item::strTitle},
    Text{&Record::strIntro, &Item::strIntro},
    Text{&Record::strDetails, &Item::strDetails},
    Text{&Record::strButton1, &Item::strButton1},
    Text{&Record::strButton2, &Item::strButton2},
    Text{&Record::strButton3, &Item::strButton3},
    Text{&Record::strButton4, &Item::strButton4},
    Text{&Record::strButton5, &Item::strButton5},
    Text{&Record::strButton6, &Item::strButton6},
    Text{&Record::strButton7, &Item::strButton7},
    Text{&Record::strButton8, &Item::strButton8},
    Text{&Record::strButton9, &Item::strButton9},
    Text{&Record::strButton10, &Item::strButton10},
    Flag{&Record::bIsAgreed, &Item::bIsAgreed},
    Flag{&Record::bOnlyNotice, &Item::bOnlyNotice},
    Text{&Record::strAgreeDependency, &Item::strAgreeDependency},
    Flag{&Record::bPPUsed, &Item::bPPUsed},
    Flag{&Record::bReverse, &Item::bReverse},
};

// Releasing has an order of its own.
constexpr char* Record::*kReleased[] = {
    &Record::strButton1, &Record::strButton2,  &Record::strButton3, &Record::strButton4,
    &Record::strButton5, &Record::strButton6,  &Record::strButton7, &Record::strButton8,
    &Record::strButton9, &Record::strButton10, &Record::strDetails, &Record::strItemId,
    &Record::strIntro,   &Record::strTitle,    &Record::strVersion, &Record::strAgreeDependency};

void Fill(Record& record, const Item& item, const Text& field) {
    record.*field.to = ConvertChar(item.*field.from);
}

template <typename From>
void Fill(Record& record, const Item& item, const Pair<int, From>& field) {
    record.*field.to = static_cast<int>(item.*field.from);
}

template <typename Element>
void Release(Element*& array) {
    delete[] array;
    array = nullptr;
}

/// The records of a list for the time of a callback; they end also when it throws.
class CTermsRecords {
  public:
    explicit CTermsRecords(std::size_t count)
        : m_nCount(count), m_ppRecords(new Record*[count]()) {}
    ~CTermsRecords();
    CTermsRecords(const CTermsRecords&) = delete;
    CTermsRecords& operator=(const CTermsRecords&) = delete;

    /// Allocates a record for each slot. They are not zeroed: callers have always received them so.
    void Allocate();
    /// Fills a record from each of the client's.
    void Fill(const std::vector<Item*>& items);
    Record** Array() const { return m_ppRecords.get(); }

  private:
    std::size_t m_nCount;
    std::size_t m_nFilled = 0;
    std::unique_ptr<Record*[]> m_ppRecords;
};

CTermsRecords::~CTermsRecords() {
    for (std::size_t i = 0; i < m_nFilled; ++i) {
        DestroyTermItem(m_ppRecords[i]);
    }
    for (std::size_t i = 0; i < m_nCount; ++i) {
        delete m_ppRecords[i];
        m_ppRecords[i] = nullptr;
    }
}

void CTermsRecords::Allocate() {
    for (std::size_t i = 0; i < m_nCount; ++i) {
        m_ppRecords[i] = new Record;
    }
}

void CTermsRecords::Fill(const std::vector<Item*>& items) {
    for (Item* item : items) {
        ConvertTermItem(m_ppRecords[m_nFilled], item);
        ++m_nFilled;
    }
}

constexpr char kNullName[] = "ERROR! service or signal name, char string is NULL";

}  // namespace

EHomeDisclaimerRequester GetRequesterType(TermsRequester requester) {
    VERANTI_LOG_INFO("%d", static_cast<int>(requester));
    const bool known = requester >= TERMS_REQUESTER_0 && requester <= TERMS_REQUESTER_3;
    return known ? static_cast<EHomeDisclaimerRequester>(requester)
                 : HOME_DISCLAIMER_REQUESTER_OTHER;
}

char* ConvertChar(std::string text) {
    VERANTI_LOG_INFO("[%s]", text.c_str());
    if (text.empty()) {
        VERANTI_LOG_WARNING("empty");
        return nullptr;
    }
    auto* copy = new char[text.size() + 1];
    text.copy(copy, text.size());
#ifdef VERANTI_TERMINATE_TEXTS
    copy[text.size()] = '\0';
#endif
    // Without the option the last byte stays as the allocator delivered it: established behaviour
    // on sets, and so not for the library to change by itself.
    return copy;
}

void ConvertTermItem(TermsContentItem* dst, STHomeDisclaimerContentItem* src) {
    VERANTI_LOG_INFO("[%s]", src->strItemId.c_str());
    for (const auto& field : kFields) {
        std::visit([&](const auto& pair) { Fill(*dst, *src, pair); }, field);
    }
    const std::size_t count = src->vecDetailData.size();
    VERANTI_LOG_INFO("%d", static_cast<int>(count));
    if (count > 0) {
        dst->ppDetailData = new char*[count];
        for (std::size_t i = 0; i < count; ++i) {
            dst->ppDetailData[i] = ConvertChar(src->vecDetailData[i]);
        }
    }
    dst->nDetailDataCount = static_cast<int>(count);
}

void DestroyTermItem(TermsContentItem* item) {
    VERANTI_LOG_INFO("");
    for (const auto text : kReleased) {
        Release(item->*text);
    }
    // A list with a count below 1 was not made by ConvertTermItem() and is not released either.
    if (item->ppDetailData == nullptr || item->nDetailDataCount < 1) {
        return;
    }
    for (int i = 0; i < item->nDetailDataCount; ++i) {
        Release(item->ppDetailData[i]);
    }
    Release(item->ppDetailData);
    item->nDetailDataCount = 0;
}

void m_TriggerTermsServiceAsync() {
    VERANTI_LOG_DEBUG("");
    const int available = IsServiceAvailable();
    VERANTI_LOG_SYSTEM("IsServiceAvailable %s", available != 0 ? "true" : "false");
}

void InitailizeTermsContentItem(TermsContentItem* item) {
    VERANTI_LOG_INFO("");
    *item = TermsContentItem();
}

int IsServiceAvailable(void) {
    VERANTI_LOG_INFO("");
    return CVerantiAPI::GetInstance()->IsServiceAvailable() ? 1 : 0;
}

void TriggerTermsService(void) {
    std::thread(m_TriggerTermsServiceAsync).detach();
    VERANTI_LOG_SYSTEM("Finish Trigger Terms Service");
}

int RequestUpdateDisclaimers(const char* requester) {
    if (requester == nullptr) {
        VERANTI_LOG_INFO("empty requester");
        return 0;
    }
    VERANTI_LOG_INFO("requester = %s", requester);
    // The client takes it for the product type: that pairing is the interface as callers know it.
    return CVerantiAPI::GetInstance()->RequestUpdateDisclaimers(requester) ? 1 : 0;
}

void SetDisclaimerItemAgreement(const char* id, int agreed) {
    VERANTI_LOG_INFO("");
    CVerantiAPI::GetInstance()->SetDisclaimerItemAgreement(id, agreed, kSet);
}

int IsDisclaimerItemExist(const char* id) {
    VERANTI_LOG_INFO("");
    return CVerantiAPI::GetInstance()->IsDisclaimerItemExist(id, kSet) ? 1 : 0;
}

int GetDisclaimerItemAgreement(const char* id) {
    VERANTI_LOG_INFO("");
    int agreed = 0;
    CVerantiAPI::GetInstance()->GetDisclaimerItemAgreement(id, &agreed, kSet);
    return agreed;
}

int SetDisclaimerItemsAgreements(const char* agreements) {
    if (agreements == nullptr) {
        VERANTI_LOG_INFO("empty agreements");
        return 0;
    }
    VERANTI_LOG_SYSTEM("agreements:%s", agreements);
    Json::Value parsed;
    if (!ParseJson(agreements, parsed)) {
        VERANTI_LOG_SYSTEM("<<WARN: NOT JSON TYPE MESSAGE>>");
        return 0;
    }
    return CVerantiAPI::GetInstance()->SetDisclaimersAgreement(parsed, true, kSet) ? 1 : 0;
}

char* GetInfoForDisclaimerWebView(void) {
    VERANTI_LOG_INFO("");
    Json::Value header;
    CVerantiAPI::GetInstance()->GetInformationForDisclaimerWebView(header);
    const std::string text = CompactJson(header);
    VERANTI_LOG_SYSTEM("GetWebDiscliamerHeaderData {%s}", text.c_str());
    if (text.empty()) {
        return nullptr;
    }
    char* copy = strdup(text.c_str());
    if (copy == nullptr) {
        VERANTI_LOG_SYSTEM("Failed to allocate value");
    }
    return copy;
}

void GetDisclaimerDetail(const char* id, TermsItemCallback callback, void* user_data) {
    VERANTI_LOG_INFO("");
    Item item;
    CVerantiAPI::GetInstance()->GetDisclaimerDetail(id, item, kSet);
    if (item.strItemId.empty()) {
        VERANTI_LOG_WARNING("There is no id[%s]", id);
        return;
    }
    const std::unique_ptr<Record> record(new Record);  // not zeroed, as in a list
    ConvertTermItem(record.get(), &item);
    const std::unique_ptr<Record, decltype(&DestroyTermItem)> contents(record.get(),
                                                                       &DestroyTermItem);
    if (callback != nullptr) {
        callback(record.get(), user_data);
    }
}

void GetAllDisclaimerDetail(TermsRequester requester, TermsItemListCallback callback,
                            void* user_data) {
    VERANTI_LOG_INFO("");
    const EHomeDisclaimerRequester mapped = GetRequesterType(requester);
    // The client's records stay behind when the list goes: what callers have always got, and the
    // header tells them.
    std::vector<Item*> items;
    CVerantiAPI::GetInstance()->GetDisclaimerDetails(items, mapped, kSet);
    if (items.empty()) {
        VERANTI_LOG_WARNING("There is no Terms");
        return;
    }
    CTermsRecords records(items.size());
    records.Allocate();
    const int count = static_cast<int>(items.size());
    VERANTI_LOG_INFO("numofTerms[%d]", count);
    records.Fill(items);
    if (callback != nullptr) {
        callback(records.Array(), count, user_data);
    }
}

TermsDbusServer* g_DbusServer = nullptr;

TermsDbusServer* m_GetTermsDbusServerInstance(std::string name) {
    if (g_DbusServer != nullptr && (name == g_DbusServer->getDbusServiceName() ||
                                    name == g_DbusServer->getDbusOrginalName())) {
        return g_DbusServer;
    }
    VERANTI_LOG_SYSTEM("Failed to get TermsDbusServerInstance, serviceName: %s", name.c_str());
    return nullptr;
}

void m_ReleaseTermsDbusServerInstance(TermsDbusServer* server) {
    if (server != nullptr) {
        VERANTI_LOG_DEBUG("Delete TermsDbusServer instance");
        delete server;
    }
    g_DbusServer = nullptr;
}

int InitiateTermsDbusServer(const char* name) {
    if (name == nullptr) {
        VERANTI_LOG_SYSTEM("%s", kNullName);
        return 0;
    }
    g_DbusServer = new (std::nothrow) TermsDbusServer(name);
    if (g_DbusServer == nullptr) {
        VERANTI_LOG_SYSTEM("Failed to new TermsDbusServer, original Name: %s", name);
        return 0;
    }
    VERANTI_LOG_SYSTEM("Success to new TermsDbusServer, original Name: %s", name);
    return 1;
}

void RegisterTermsDbusCallback(const char* service_name, TermsDbusCallbackType type, void* callback,
                               void* user_data) {
    if (service_name == nullptr) {
        VERANTI_LOG_SYSTEM("%s", kNullName);
        return;
    }
    TermsDbusServer* server = m_GetTermsDbusServerInstance(service_name);
    if (server == nullptr) {
        VERANTI_LOG_SYSTEM("RegisterTermsDbusCallback fail !!! type [%d]", static_cast<int>(type));
        return;
    }
    server->RegisterCallabck(type, callback, user_data);
    VERANTI_LOG_SYSTEM("RegisterTermsDbusCallback Finish, type [%d]", static_cast<int>(type));
}

int CreateTermsDbusServer(const char* name) {
    if (name == nullptr) {
        VERANTI_LOG_SYSTEM("%s", kNullName);
        return 0;
    }
    const bool created = g_DbusServer != nullptr && g_DbusServer->CreateDbusServer(name);
    VERANTI_LOG_SYSTEM("CreateTermsDbusServer %s", created ? "Sucess" : "Fail");
    return created ? 1 : 0;
}

int SendTermsDbusSignal(const char* service_name, const char* signal_name,
                        TermsDbusMessage* message) {
    if (service_name == nullptr || signal_name == nullptr) {
        VERANTI_LOG_SYSTEM("%s", kNullName);
        return 0;
    }
    TermsDbusServer* server = m_GetTermsDbusServerInstance(service_name);
    if (server == nullptr || message == nullptr) {
        return 0;
    }
    const int result = server->SendDbusSignal(signal_name, *message) ? 1 : 0;
    VERANTI_LOG_DEBUG("SendTermsDbusSignal result: [%d]", result);
    return result;
}

int SendTermsDbusSyncMessage(const char* service_name, const char* destination,
                             TermsDbusMessage* request, TermsDbusMessage* reply, int timeout_ms) {
    if (service_name == nullptr || destination == nullptr) {
        VERANTI_LOG_SYSTEM("%s", kNullName);
        return 0;
    }
    TermsDbusServer* server = m_GetTermsDbusServerInstance(service_name);
    if (server == nullptr || request == nullptr || reply == nullptr) {
        return 0;
    }
    const int result =
        server->SendDbusSyncMessage(destination, *request, *reply, timeout_ms) ? 1 : 0;
    VERANTI_LOG_DEBUG("SendTermsDbusSyncMessage result: [%d]", result);
    return result;
}

int CloseTermsDbusServer(const char* service_name) {
    if (service_name == nullptr) {
        VERANTI_LOG_SYSTEM("%s", kNullName);
        return 0;
    }
    TermsDbusServer* server = m_GetTermsDbusServerInstance(service_name);
    if (server == nullptr) {
        VERANTI_LOG_SYSTEM("CloseTermsDbusServer fail !!! service name [%s]", service_name);
        return 0;
    }
    server->CloseDbusServer();
    VERANTI_LOG_SYSTEM("CloseTermsDbusServer Finish, service name [%s]", service_name);
    m_ReleaseTermsDbusServerInstance(server);
    return 1;
}

void InitiateTermsDbusMessage(TermsDbusMessage* record, char* from, uint32_t code, char* type,
                              char* message, uint8_t* buffer, uint32_t buffer_size) {
    if (record != nullptr) {
        *record = {from, code, type, message, buffer, buffer_size};
    }
}

void ReleaseTermsDbusMessage(TermsDbusMessage* record) {
    if (record == nullptr) {
        return;
    }
    Release(record->from);
    Release(record->type);
    Release(record->message);
    Release(record->buffer);
}

char* DuplicateTermsDbusText(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    char* copy = new (std::nothrow) char[size];
    return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
}

void* AllocateTermsDbusBuffer(uint32_t size) {
    return new (std::nothrow) uint8_t[size];
}
