#include "VerantiAPI.h"

#include <glib.h>

#include <atomic>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

#include "Cancellation.h"
#include "DisclaimerFields.h"
#include "JsonText.h"
#include "Log.h"
#include "TermsExchange.h"
#include "TermsJsonParser.h"
#include "TermsProtocol.h"

namespace {

// A plain flag that the getters read before they lock, so that a call costs nothing. Who needs more
// makes the instance before starting threads.
bool s_bInitialised = false;

GMutex s_Mutex;  // zero is its initial state

/// Stands between a getter's two stores. A getter on another thread reads them without the mutex,
/// so their order shows, and a compiler exchanges stores that do not depend on each other. It is
/// for the compiler only: no instruction, no atomic operation.
void KeepStoresInOrder() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

/// Holds the mutex while it lives.
class CInstanceLock {
  public:
    CInstanceLock() { g_mutex_lock(&s_Mutex); }
    ~CInstanceLock() { g_mutex_unlock(&s_Mutex); }
    CInstanceLock(const CInstanceLock&) = delete;
    CInstanceLock& operator=(const CInstanceLock&) = delete;
};

const char* BoolText(bool value) {
    return value ? "true" : "false";
}

using Text = std::reference_wrapper<const std::string>;

/// The members of a request; they become JSON when the connection is there.
using Members = std::initializer_list<
    std::pair<const char*, std::variant<Json::ValueType, bool, const char*, Text>>>;

/// Sends a request whose reply says nothing but "result", and waits for it.
/// @return true when a reply came whose "result" is true.
bool SendAndCheck(const char* method, Members members) {
    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = method;
    for (const auto& [name, value] : members) {
        std::visit([&member = request[name]](const auto& each) { member = Json::Value(each); },
                   value);
    }
    return exchange.SendAndCheck();
}

/// Asks for a screen header. Whether a reply came makes no difference: without one the header is
/// null.
Json::Value FetchHeader(const char* method) {
    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = method;
    request["data"] = Json::nullValue;
    exchange.m_SendTermsRequest();
    return exchange.ReplyBody()["headerData"];
}

/// Reads what both service checks answer with.
bool ReadCheckResult(Json::Value& reply, int& errorCode, int& errorReason) {
    const bool result = reply["result"].asBool();
    errorCode = reply["errorcode"].asInt();
    errorReason = reply["errorreason"].asInt();
    return result;
}

/// Both ways of recording one agreement are this request.
bool SendOneAgreement(const std::string& item, bool agreed, const std::string& productType) {
    return SendAndCheck(
        "set one agreement",
        {{"product_type", productType}, {"request_item", item}, {"is_agreed", agreed}});
}

/// Asks the service for an agreement, over a connection that is open. Whether a reply came makes no
/// difference: without one there is no "result".
/// @return the agreement; none when the service does not say that it has the disclaimer.
std::optional<bool> AskForAgreement(CTermsExchange& exchange, const std::string& item,
                                    const std::string& productType) {
    exchange.Protocol() = "common_protocol";
    Json::Value& request = exchange.RequestBody();
    request["request_type"] = "get disclaimer agreement";
    request["product_type"] = productType;
    request["request_item"] = item;
    exchange.m_SendTermsRequest();
    Json::Value& reply = exchange.ReplyBody();
    return reply["result"].asBool() ? std::optional<bool>(reply["is_agreed"].asBool())
                                    : std::nullopt;
}

/// Cuts parsed details into sections and appends them to what the record has. The lines carry the
/// name of the function that asked for the disclaimer.
void AppendSections(const char* function, bool parsed, Json::Value& details,
                    STHomeDisclaimerContentItem& item) {
    if (!parsed) {
        VERANTI_LOG_AS(function, Log::kClient, Log::kMain, Log::kDebug, VERANTI_LOG_WHITE,
                       "<<WARN: NOT JSON TYPE MESSAGE>>");
        return;
    }
    if (!details.isArray()) {
        return;
    }
    VERANTI_LOG_AS(function, Log::kClient, Log::kMain, Log::kDebug, VERANTI_LOG_WHITE,
                   "It is new RULE");
    for (Json::Value& section : details) {
        std::string title = section["title"].asString();
        std::string data = section["data"].asString();
        VERANTI_LOG_AS(function, Log::kClient, Log::kMain, Log::kWarning, VERANTI_LOG_RED,
                       "push back");
        item.vecDetailData.push_back(std::move(title));
        item.vecDetailData.push_back(std::move(data));
    }
}

/// Fills a record from the reply to a request for one disclaimer; an empty reply leaves it alone.
void GetDisclaimerInfo(Json::Value& reply, STHomeDisclaimerContentItem& item) {
    if (reply.empty()) {
        return;
    }
    ReadAllFields(reply, item);
    VERANTI_LOG_DEBUG("id %s", item.strItemId.c_str());
    Json::Value details;
    const bool parsed = ParseJson(item.strDetails, details);
    AppendSections(__func__, parsed, details, item);
}

/// Sends a request for one disclaimer and fills the record.
int FetchDisclaimer(CTermsExchange& exchange, STHomeDisclaimerContentItem& item) {
    if (!exchange.SendAndCheck()) {
        return -1;
    }
    GetDisclaimerInfo(exchange.ReplyBody(), item);
    return 0;
}

/// Appends a record to a list that hands its records to the caller; nothing is lost when there is
/// no memory for the entry.
void HandOver(std::unique_ptr<STHomeDisclaimerContentItem> item,
              std::vector<STHomeDisclaimerContentItem*>& items) {
    items.push_back(item.get());
    static_cast<void>(item.release());
}

}  // namespace

// From here on under the headings of the header, in its order.

CVerantiAPI::CErrorDescriptor::CErrorDescriptor() : CErrorDescriptor(0, 0) {}

CVerantiAPI::CErrorDescriptor::CErrorDescriptor(int code, int reason)
    : m_ErrorCode(code), m_ErrorReason(reason) {}

CVerantiAPI::CErrorDescriptor CVerantiAPI::CErrorDescriptor::FromString(std::string text) {
    const Cancellation::CHold hold;
    CErrorDescriptor descriptor;
    Json::Value value;
    if (!ParseJson(text, value)) {
        VERANTI_LOG_WARNING("<<WARN: NOT JSON TYPE MESSAGE>>");
        return descriptor;
    }
    descriptor.m_ErrorCode = value["error_code"].asInt();
    descriptor.m_ErrorReason = value["error_reason"].asInt();
    return descriptor;
}

std::string CVerantiAPI::CErrorDescriptor::ToString() const {
    Json::Value value;
    value["error_code"] = m_ErrorCode;
    value["error_reason"] = m_ErrorReason;
    return CompactJson(value);
}

// Lifetime

CVerantiAPI* CVerantiAPI::m_pInstance = nullptr;

CVerantiAPI::CVerantiAPI() = default;

CVerantiAPI::~CVerantiAPI() = default;

CVerantiAPI* CVerantiAPI::GetInstance() {
    const Cancellation::CHold hold;
    VERANTI_LOG_DEBUG("CVerantiAPI GetInstance");
    if (s_bInitialised) {
        return m_pInstance;
    }
    const CInstanceLock lock;
    if (!s_bInitialised) {
        m_pInstance = new CVerantiAPI();
        m_pInstance->m_InitProxy();
        KeepStoresInOrder();
        s_bInitialised = true;
    }
    return m_pInstance;
}

CVerantiAPI* CVerantiAPI::GetInstanceUT() {
    const Cancellation::CHold hold;
    if (s_bInitialised) {
        return m_pInstance;
    }
    const CInstanceLock lock;
    if (!s_bInitialised) {
        auto* instance = new CVerantiAPI();
        // The flag first, the other way round than GetInstance(): established on sets.
        s_bInitialised = true;
        KeepStoresInOrder();
        m_pInstance = instance;
    }
    return m_pInstance;
}

void CVerantiAPI::Destroy() {
    const Cancellation::CHold hold;
    VERANTI_LOG_DEBUG("CVerantiAPI Destroy");
    const CInstanceLock lock;
    if (m_pInstance != nullptr) {
        m_pInstance->m_FinalProxy();
        delete m_pInstance;
        m_pInstance = nullptr;
    }
    s_bInitialised = false;
}

void CVerantiAPI::m_InitProxy() {
    VERANTI_LOG_DEBUG("CVerantiAPI m_InitProxy");
}

void CVerantiAPI::m_FinalProxy() {}

// The service itself

bool CVerantiAPI::IsServiceAvailable() {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("IsServiceAvailable");
    CTermsExchange exchange;
    exchange.RequestBody()["method"] = "is service available";
    const bool available = exchange.SendAndCheck();
    VERANTI_LOG_INFO("IsServiceAvailable result : %s", BoolText(available));
    return available;
}

bool CVerantiAPI::DravikCheck(int& errorCode, int& errorReason) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    exchange.RequestBody()["method"] = "dravik check";
    return exchange.m_SendTermsRequest() &&
           ReadCheckResult(exchange.ReplyBody(), errorCode, errorReason);
}

bool CVerantiAPI::DravikCheck(int& errorCode, int& errorReason, std::string& errorMessage) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    exchange.RequestBody()["method"] = "dravik get error info";
    if (!exchange.m_SendTermsRequest()) {
        return false;
    }
    const bool result = ReadCheckResult(exchange.ReplyBody(), errorCode, errorReason);
    errorMessage = exchange.ReplyBody()["errormessage"].asString();
    return result;
}

bool CVerantiAPI::RequestResetNimbra() {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    VERANTI_LOG_INFO("RequestResetNimbra called");
    return SendAndCheck("request reset nimbra", {{"data", Json::nullValue}});
}

// Country and supply of terms

bool CVerantiAPI::SetCountryCode(const std::string& countryCode) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    return SendAndCheck("set country code",
                        {{"country_code", countryCode}, {"data", Json::nullValue}});
}

bool CVerantiAPI::RequestCountryCodeList() {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    return SendAndCheck("request country code list", {{"data", Json::nullValue}});
}

bool CVerantiAPI::RequestDisclaimersRESTAPI(std::string requestFrom, std::string terms) {
    const Cancellation::CHold hold;
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "request disclaimer api";
    request["data"] = Json::nullValue;
    request["product_type"] = kTelevision;
    request["terms"] = terms;
    request["request_from"] = requestFrom;
    VERANTI_LOG_DEBUG("");
    // The second test never decides: looking "result" up has put it into the body. It is kept as
    // this request's own condition.
    return exchange.SendAndCheck() && !exchange.ReplyBody().empty();
}

bool CVerantiAPI::RequestDisclaimerID(std::string productType, bool otherPage) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    return SendAndCheck("request disclaimerid", {{"product_type", productType},
                                                 {"request_from", "wizard-terms"},
                                                 {"other_page", otherPage},
                                                 {"data", Json::nullValue}});
}

bool CVerantiAPI::RequestUpdateDisclaimers(std::string productType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    return SendAndCheck("request update disclaimers", {{"product_type", productType},
                                                       {"request_from", "wizard-terms"},
                                                       {"data", Json::nullValue}});
}

// What the disclaimer screens show

void CVerantiAPI::GetInformationForDisclaimer(Json::Value& header) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    header = FetchHeader("get information for disclaimer");
}

void CVerantiAPI::GetInformationForDisclaimerWebView(Json::Value& header) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();
    header = FetchHeader("get information for web view disclaimer");
}

int CVerantiAPI::GetDisclaimerNum(EHomeDisclaimerRequester requester, std::string productType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("GetDisclaimerNum called with requester: %d", static_cast<int>(requester));
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "get disclaimer number";
    request["data"] = Json::nullValue;
    request["product_type"] = productType;
    request["requester"] = static_cast<int>(requester);
    const int number = exchange.SendAndCheck() ? exchange.ReplyBody()["number"].asInt() : 0;
    VERANTI_LOG_INFO("GetDisclaimerNum %d", number);
    return number;
}

int CVerantiAPI::GetDisclaimerDetail(STHomeDisclaimerContentItem& item, int index,
                                     EHomeDisclaimerRequester requester,
                                     std::string strProductType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("GetDisclaimerDetail called for index: %d and requester: %d", index,
                     static_cast<int>(requester));
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "get disclaimer by order";
    request["data"] = Json::nullValue;
    request["product_type"] = strProductType;
    request["requester"] = static_cast<int>(requester);
    request["request_index"] = index;
    return FetchDisclaimer(exchange, item);
}

int CVerantiAPI::GetDisclaimerDetail(const std::string& strItemId,
                                     STHomeDisclaimerContentItem& item,
                                     std::string strProductType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("GetDisclaimerDetail called for itemId: %s %s", strItemId.c_str(),
                     strProductType.c_str());
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "get disclaimer by term id";
    request["product_type"] = strProductType;
    request["data"] = Json::nullValue;
    request["request_item"] = strItemId;
    return FetchDisclaimer(exchange, item);
}

int CVerantiAPI::GetDisclaimerDetails(std::vector<STHomeDisclaimerContentItem*>& vecItems,
                                      EHomeDisclaimerRequester requester,
                                      std::string strProductType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("GetDisclaimerDetails called for req: %d", static_cast<int>(requester));
    // The count is the set's whatever the product: the service numbers its list for the set.
    const int count = GetDisclaimerNum(requester, kTelevision);
    if (count < 1) {
        return 0;
    }
    VERANTI_LOG_SYSTEM("");
    vecItems.clear();  // the records stay the caller's
    VERANTI_LOG_SYSTEM("");
    for (int index = 0; index < count; ++index) {
        VERANTI_LOG_SYSTEM("%d", index);
        auto item = std::make_unique<STHomeDisclaimerContentItem>();
        if (GetDisclaimerDetail(*item, index, requester, strProductType) != -1) {
            HandOver(std::move(item), vecItems);
        }
    }
    return 0;
}

bool CVerantiAPI::GetRevisedDisclaimers(std::vector<STHomeDisclaimerContentItem*>& vecItems,
                                        std::string strProductType, std::string strTerms) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("GetRevisedDisclaimers called");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "get revised disclaimers";
    request["product_type"] = strProductType;
    request["terms"] = strTerms;
    request["data"] = Json::nullValue;
    if (!exchange.SendAndCheck()) {
        return false;
    }
    Json::Value disclaimers = exchange.ReplyBody()["disclaimers"];
    const Json::ArrayIndex count = disclaimers.size();
    for (Json::ArrayIndex i = 0; i < count; ++i) {
        auto item = std::make_unique<STHomeDisclaimerContentItem>();
        ReadRevisedFields(disclaimers[i], *item);
        VERANTI_LOG_WARNING("id %s", item->strItemId.c_str());
        Json::Value details;
        const bool parsed = ParseJson(item->strDetails, details);  // what it throws comes first
        VERANTI_LOG_DEBUG("datailData=%s", item->strDetails.c_str());
        AppendSections(__func__, parsed, details, *item);
        HandOver(std::move(item), vecItems);
    }
    return true;
}

int CVerantiAPI::GetDisclaimerTitle(std::string& title, int index) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("GetDisclaimerTitle called for index: %d", index);
    std::string found = CTermsJsonParser::GetMenuTitleFromVconf(kTitlesKey, index);
    if (found.empty()) {
        return -1;
    }
    title = std::move(found);
    VERANTI_LOG_DEBUG("Title is = %s", title.c_str());
    return 0;
}

int CVerantiAPI::GetDisclaimerOsdLanguage(std::string& language) {
    language = "ko";  // the answer on every set, not a default
    return 0;
}

// Agreements

bool CVerantiAPI::SetDisclaimersAgreement(Json::Value& agreements, bool /*unused*/,
                                          std::string productType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request.swap(agreements);
    request["product_type"] = productType;
    request["method"] = "set agreements";
    request["data"] = Json::nullValue;
    return exchange.SendAndCheck();
}

bool CVerantiAPI::SetDisclaimerItemAgreement(const std::string& item, const int& agreed,
                                             std::string productType) {
    const Cancellation::CHold hold;
    IsServiceAvailable();
    VERANTI_LOG_INFO("Model %s try to set %s agreement to %s.", productType.c_str(), item.c_str(),
                     BoolText(agreed != 0));
    return SendOneAgreement(item, agreed != 0, productType);
}

bool CVerantiAPI::SetRevisedTermAgreement(std::string item, bool agreed, std::string productType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("SetRevisedTermAgreement called");
    IsServiceAvailable();
    return SendOneAgreement(item, agreed, productType);
}

bool CVerantiAPI::SetAllDisclaimerItemAgreement(int agreed, std::string productType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("Model %s try to set all agreement to %s.", productType.c_str(),
                     BoolText(agreed != 0));
    IsServiceAvailable();
    return SendAndCheck("set all agreement",
                        {{"product_type", productType}, {"is_agreed", agreed != 0}});
}

bool CVerantiAPI::IsDisclaimerItemExist(const std::string& strItemId, std::string productType) {
    const Cancellation::CHold hold;
    if (productType != kTelevision) {
        IsServiceAvailable();
        VERANTI_LOG_INFO("IsDisclaimerItemExist called for strItemId: %s", strItemId.c_str());
        return SendAndCheck("get disclaimer by term id", {{"data", Json::nullValue},
                                                          {"product_type", productType},
                                                          {"request_item", strItemId}});
    }
    try {
        VERANTI_LOG_WARNING("requested ID %s", strItemId.c_str());
        const std::optional<std::string> stored = Platform::StoredText(kAgreementsKey);
        if (!stored) {
            VERANTI_LOG_WARNING("vconf get str failed");
            return false;
        }
        VERANTI_LOG_INFO("Get vconf savedData: %s", stored->c_str());
        if (stored->empty()) {
            VERANTI_LOG_WARNING("Empty Data");
            return false;
        }
        Json::Value agreements;
        if (!ParseJson(*stored, agreements)) {
            VERANTI_LOG_WARNING("parser failed : \n %s", stored->c_str());
            return false;
        }
        if (agreements[strItemId].empty()) {
            VERANTI_LOG_WARNING("%s does not exist", strItemId.c_str());
            return false;
        }
        VERANTI_LOG_WARNING("%s  exist", strItemId.c_str());
        return true;
    } catch (const std::exception& error) {
        VERANTI_LOG_SYSTEM("Exception Handled by %s", error.what());
        return false;
    }
}

int CVerantiAPI::GetDisclaimerItemAgreement(const std::string& strItemId, int* pIsAgreed,
                                            std::string productType) {
    const Cancellation::CHold hold;
    if (productType != kTelevision) {
        IsServiceAvailable();
        CTermsExchange exchange;
        if (exchange.IsProxyOpen()) {
            const std::optional<bool> agreed = AskForAgreement(exchange, strItemId, productType);
            if (!agreed) {
                VERANTI_LOG(Log::kClient, Log::kMain, Log::kWarning, VERANTI_LOG_YELLOW,
                            "disclaimer %s is not exist!", strItemId.c_str());
            }
            *pIsAgreed = agreed.value_or(false) ? 1 : 0;
        }
        VERANTI_LOG_INFO("get value : %d", *pIsAgreed);
        // No return: what is stored decides for every product, and the service's answer is for the
        // log.
    }
    try {
        VERANTI_LOG_WARNING("requested ID %s", strItemId.c_str());
        const std::optional<std::string> stored = Platform::StoredText(kAgreementsKey);
        if (!stored) {
            VERANTI_LOG_WARNING("vconf get str failed, agreement = false");
            *pIsAgreed = 0;
            return 0;
        }
        VERANTI_LOG_INFO("Get vconf savedData: %s", stored->c_str());
        if (stored->empty()) {
            *pIsAgreed = 0;
            VERANTI_LOG_WARNING("Empty Data, agreement = false");
            return 0;
        }
        Json::Value agreements;
        if (!ParseJson(*stored, agreements)) {
            *pIsAgreed = 0;
            VERANTI_LOG_WARNING("parser failed : \n %s , agreement = false", stored->c_str());
            return 0;
        }
        const Json::Value& agreement = agreements[strItemId];
        if (!agreement.isString()) {
            VERANTI_LOG_WARNING("%s is not string type", strItemId.c_str());
            *pIsAgreed = 0;
            return 0;
        }
        const std::string text = agreement.asString();
        *pIsAgreed = text == "true" ? 1 : 0;
        VERANTI_LOG_INFO("agreement %s.", text.c_str());
    } catch (const std::exception& error) {
        VERANTI_LOG_SYSTEM("Exception Handled by %s", error.what());
    }
    return 0;
}

// Clone data on a USB device

bool CVerantiAPI::CloneData(std::string src, std::string dest, bool toUsb) {
    const Cancellation::CHold hold;
    IsServiceAvailable();
    return SendAndCheck(toUsb ? "Copy Clone Data TV to USB" : "Copy Clone Data USB to TV",
                        {{"src", src}, {"dest", dest}, {"data", Json::nullValue}});
}

bool CVerantiAPI::CopyCloneDataUSBtoTV(std::string src, std::string dest) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("CopyCloneDataUSBtoTV called");
    return CloneData(src, dest, false);
}

bool CVerantiAPI::CopyCloneDataTVtoUSB(std::string src, std::string dest) {
    const Cancellation::CHold hold;
    VERANTI_LOG_INFO("CopyCloneDataTVtoUSB called");
    return CloneData(src, dest, true);
}
