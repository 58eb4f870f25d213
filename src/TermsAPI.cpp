#include "TermsAPI.h"

#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "Cancellation.h"
#include "JsonText.h"
#include "Log.h"
#include "TermsAPIInternal.h"
#include "TermsDbusUtil.h"
#include "TermsProtocol.h"

namespace {

using Record = TermsContentItem;
using Item = STHomeDisclaimerContentItem;

// Releasing has an order of its own.
constexpr char* Record::*kReleased[] = {
    &Record::strButton1, &Record::strButton2,  &Record::strButton3, &Record::strButton4,
    &Record::strButton5, &Record::strButton6,  &Record::strButton7, &Record::strButton8,
    &Record::strButton9, &Record::strButton10, &Record::strDetails, &Record::strItemId,
    &Record::strIntro,   &Record::strTitle,    &Record::strVersion, &Record::strAgreeDependency};

}  // namespace

// What the C interface is made of, as in TermsAPIInternal.h

EHomeDisclaimerRequester GetRequesterType(TermsRequester requester) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("%d", static_cast<int>(requester));
    const bool known = requester >= TERMS_REQUESTER_0 && requester <= TERMS_REQUESTER_3;
    return known ? static_cast<EHomeDisclaimerRequester>(requester)
                 : HOME_DISCLAIMER_REQUESTER_OTHER;
}

char* ConvertChar(std::string text) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("[%s]", text.c_str());
    if (text.empty()) {
        VERANTI_LOG_WARNING("empty");
        return nullptr;
    }
    auto* copy = new char[text.size() + 1];
    text.copy(copy, text.size());
#if VERANTI_TERMINATE_TEXTS
    copy[text.size()] = '\0';
#endif
    // Without the option the last byte stays as the allocator delivered it: established behaviour
    // on sets, and so not for the library to change by itself.
    return copy;
}

void ConvertTermItem(TermsContentItem* dst, STHomeDisclaimerContentItem* src) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("[%s]", src->strItemId.c_str());
    // In the record's order, which is the order of the texts in the log.
    dst->strItemId = ConvertChar(src->strItemId);
    dst->nOrder = src->nOrder;
    dst->strVersion = ConvertChar(src->strVersion);
    dst->strTitle = ConvertChar(src->strTitle);
    dst->strIntro = ConvertChar(src->strIntro);
    dst->strDetails = ConvertChar(src->strDetails);
    dst->strButton1 = ConvertChar(src->strButton1);
    dst->strButton2 = ConvertChar(src->strButton2);
    dst->strButton3 = ConvertChar(src->strButton3);
    dst->strButton4 = ConvertChar(src->strButton4);
    dst->strButton5 = ConvertChar(src->strButton5);
    dst->strButton6 = ConvertChar(src->strButton6);
    dst->strButton7 = ConvertChar(src->strButton7);
    dst->strButton8 = ConvertChar(src->strButton8);
    dst->strButton9 = ConvertChar(src->strButton9);
    dst->strButton10 = ConvertChar(src->strButton10);
    dst->bIsAgreed = src->bIsAgreed ? 1 : 0;
    dst->bOnlyNotice = src->bOnlyNotice ? 1 : 0;
    dst->strAgreeDependency = ConvertChar(src->strAgreeDependency);
    dst->bPPUsed = src->bPPUsed ? 1 : 0;
    dst->bReverse = src->bReverse ? 1 : 0;
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
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    for (const auto text : kReleased) {
        TermsDbusUtil::ReleaseArray(item->*text);
    }
    // A list with a count below 1 was not made by ConvertTermItem() and is not released either.
    if (item->ppDetailData == nullptr || item->nDetailDataCount < 1) {
        return;
    }
    for (int i = 0; i < item->nDetailDataCount; ++i) {
        TermsDbusUtil::ReleaseArray(item->ppDetailData[i]);
    }
    TermsDbusUtil::ReleaseArray(item->ppDetailData);
    item->nDetailDataCount = 0;
}

// The terms, as in TermsAPI.h

void InitailizeTermsContentItem(TermsContentItem* item) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    *item = TermsContentItem();
}

int IsServiceAvailable(void) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    return CVerantiAPI::GetInstance()->IsServiceAvailable() ? 1 : 0;
}

void m_TriggerTermsServiceAsync() {
    const Cancellation::CHold hold;
    VERANTI_LOG_DEBUG("");
    const int available = IsServiceAvailable();
    VERANTI_LOG_SYSTEM("IsServiceAvailable %s", available != 0 ? "true" : "false");
}

void TriggerTermsService(void) {
    const Cancellation::CHold hold;
    std::thread(m_TriggerTermsServiceAsync).detach();
    VERANTI_LOG_SYSTEM("Finish Trigger Terms Service");
}

int RequestUpdateDisclaimers(const char* requester) {
    const Cancellation::CHold hold;
    if (requester == nullptr) {
        VERANTI_LOG_INFO("empty requester");
        return 0;
    }
    VERANTI_LOG_INFO("requester = %s", requester);
    // The client takes it for the product type: that pairing is the interface as callers know it.
    return CVerantiAPI::GetInstance()->RequestUpdateDisclaimers(requester) ? 1 : 0;
}

void SetDisclaimerItemAgreement(const char* id, int agreed) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    CVerantiAPI::GetInstance()->SetDisclaimerItemAgreement(id, agreed, kTelevision);
}

int IsDisclaimerItemExist(const char* id) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    return CVerantiAPI::GetInstance()->IsDisclaimerItemExist(id, kTelevision) ? 1 : 0;
}

int GetDisclaimerItemAgreement(const char* id) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    int agreed = 0;
    CVerantiAPI::GetInstance()->GetDisclaimerItemAgreement(id, &agreed, kTelevision);
    return agreed;
}

int SetDisclaimerItemsAgreements(const char* agreements) {
    const Cancellation::CHold hold;
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
    return CVerantiAPI::GetInstance()->SetDisclaimersAgreement(parsed, true, kTelevision) ? 1 : 0;
}

char* GetInfoForDisclaimerWebView(void) {
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    Item item;
    CVerantiAPI::GetInstance()->GetDisclaimerDetail(id, item, kTelevision);
    if (item.strItemId.empty()) {
        VERANTI_LOG_WARNING("There is no id[%s]", id);
        return;
    }
    const std::unique_ptr<Record> record(new Record);  // not zeroed, as in a list
    ConvertTermItem(record.get(), &item);
    const std::unique_ptr<Record, decltype(&DestroyTermItem)> contents(record.get(),
                                                                       &DestroyTermItem);
    if (callback != nullptr) {
        const Cancellation::CRelease whileItRuns;
        callback(record.get(), user_data);
    }
}

namespace {

/// The records of a list for the time of a callback; they end also when it throws.
class CTermsRecords {
  public:
    explicit CTermsRecords(std::size_t count)
        : m_nCount(count), m_ppRecords(new Record*[count]()) {}
    ~CTermsRecords();
    CTermsRecords(const CTermsRecords&) = delete;
    CTermsRecords& operator=(const CTermsRecords&) = delete;

    /// Allocates a record for each slot. They are not zeroed: a count of 0 says that there is no
    /// list.
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

}  // namespace

void GetAllDisclaimerDetail(TermsRequester requester, TermsItemListCallback callback,
                            void* user_data) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    const EHomeDisclaimerRequester mapped = GetRequesterType(requester);
    // The client's records stay behind when the list goes: what this call gives back is settled on
    // sets, and the header tells who calls it often what to do.
    std::vector<Item*> items;
    CVerantiAPI::GetInstance()->GetDisclaimerDetails(items, mapped, kTelevision);
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
        const Cancellation::CRelease whileItRuns;
        callback(records.Array(), count, user_data);
    }
}

// The bus server, as in TermsDbusAPI.h

namespace {
constexpr char kNullName[] = "ERROR! service or signal name, char string is NULL";
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
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
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
    if (record != nullptr) {
        TermsDbusUtil::Release(*record);
    }
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
