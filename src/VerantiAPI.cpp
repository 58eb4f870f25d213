#include "VerantiAPI.h"

#include <glib.h>

#include "Log.h"
#include "TermsExchange.h"

namespace {

// Read without the mutex and without atomic operations on the getters' fast path: the established
// behaviour of the getters, which callers on sets rely on for their speed.
bool s_bInitialised = false;

GMutex s_Mutex;  // zero is its initial state

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
    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "set one agreement";
    request["product_type"] = productType;
    request["request_item"] = item;
    request["is_agreed"] = agreed;
    return exchange.Succeeds();
}

}  // namespace

CVerantiAPI* CVerantiAPI::m_pInstance = nullptr;

CVerantiAPI::CVerantiAPI() = default;

CVerantiAPI::~CVerantiAPI() = default;

CVerantiAPI* CVerantiAPI::GetInstance() {
    LOG_DEBUG("CVerantiAPI GetInstance");
    if (s_bInitialised) {
        return m_pInstance;
    }
    const CInstanceLock lock;
    if (!s_bInitialised) {
        m_pInstance = new CVerantiAPI();
        m_pInstance->m_InitProxy();
        s_bInitialised = true;
    }
    return m_pInstance;
}

CVerantiAPI* CVerantiAPI::GetInstanceUT() {
    if (s_bInitialised) {
        return m_pInstance;
    }
    const CInstanceLock lock;
    if (!s_bInitialised) {
        auto* instance = new CVerantiAPI();
        // The flag first, the other way round than GetInstance(): this getter has always
        // announced the instance before it stores it.
        s_bInitialised = true;
        m_pInstance = instance;
    }
    return m_pInstance;
}

void CVerantiAPI::Destroy() {
    LOG_DEBUG("CVerantiAPI Destroy");
    const CInstanceLock lock;
    if (m_pInstance != nullptr) {
        m_pInstance->m_FinalProxy();
        delete m_pInstance;
        m_pInstance = nullptr;
    }
    s_bInitialised = false;
}

void CVerantiAPI::m_InitProxy() {
    LOG_DEBUG("CVerantiAPI m_InitProxy");
}

void CVerantiAPI::m_FinalProxy() {}

bool CVerantiAPI::IsServiceAvailable() {
    LOG_INFO("IsServiceAvailable");
    CTermsExchange exchange;
    exchange.RequestBody()["method"] = "is service available";
    const bool available = exchange.Succeeds();
    LOG_INFO("IsServiceAvailable result : %s", BoolText(available));
    return available;
}

bool CVerantiAPI::DravikCheck(int& errorCode, int& errorReason) {
    LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    exchange.RequestBody()["method"] = "dravik check";
    return exchange.m_SendTermsRequest() &&
           ReadCheckResult(exchange.ReplyBody(), errorCode, errorReason);
}

bool CVerantiAPI::DravikCheck(int& errorCode, int& errorReason, std::string& errorMessage) {
    LOG_INFO("");
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
    LOG_INFO("");
    IsServiceAvailable();
    LOG_INFO("RequestResetNimbra called");

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "request reset nimbra";
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

bool CVerantiAPI::SetCountryCode(const std::string& countryCode) {
    LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "set country code";
    request["country_code"] = countryCode;
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

bool CVerantiAPI::RequestCountryCodeList() {
    LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "request country code list";
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

bool CVerantiAPI::RequestDisclaimersRESTAPI(std::string requestFrom, std::string terms) {
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "request disclaimer api";
    request["data"] = Json::nullValue;
    request["product_type"] = "TV";
    request["terms"] = terms;
    request["request_from"] = requestFrom;
    LOG_DEBUG("");
    // The second test never decides: looking "result" up has put it into the body. It is kept as
    // this request's own condition.
    return exchange.Succeeds() && !exchange.ReplyBody().empty();
}

bool CVerantiAPI::RequestDisclaimerID(std::string productType, bool otherPage) {
    LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "request disclaimerid";
    request["product_type"] = productType;
    request["request_from"] = "wizard-terms";
    request["other_page"] = otherPage;
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

bool CVerantiAPI::RequestUpdateDisclaimers(std::string productType) {
    LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "request update disclaimers";
    request["product_type"] = productType;
    request["request_from"] = "wizard-terms";
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

void CVerantiAPI::GetInformationForDisclaimer(Json::Value& header) {
    LOG_INFO("");
    IsServiceAvailable();
    header = FetchHeader("get information for disclaimer");
}

void CVerantiAPI::GetInformationForDisclaimerWebView(Json::Value& header) {
    LOG_INFO("");
    IsServiceAvailable();
    header = FetchHeader("get information for web view disclaimer");
}

int CVerantiAPI::GetDisclaimerNum(EHomeDisclaimerRequester requester, std::string productType) {
    LOG_INFO("GetDisclaimerNum called with requester: %d", static_cast<int>(requester));
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "get disclaimer number";
    request["data"] = Json::nullValue;
    request["product_type"] = productType;
    request["requester"] = static_cast<int>(requester);
    const int number = exchange.Succeeds() ? exchange.ReplyBody()["number"].asInt() : 0;
    LOG_INFO("GetDisclaimerNum %d", number);
    return number;
}

bool CVerantiAPI::SetDisclaimersAgreement(Json::Value& agreements, bool /*unused*/,
                                          std::string productType) {
    LOG_INFO("");
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request.swap(agreements);
    request["product_type"] = productType;
    request["method"] = "set agreements";
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

bool CVerantiAPI::SetDisclaimerItemAgreement(const std::string& item, const int& agreed,
                                             std::string productType) {
    IsServiceAvailable();
    LOG_INFO("Model %s try to set %s agreement to %s.", productType.c_str(), item.c_str(),
             BoolText(agreed != 0));
    return SendOneAgreement(item, agreed != 0, productType);
}

bool CVerantiAPI::SetRevisedTermAgreement(std::string item, bool agreed, std::string productType) {
    LOG_INFO("SetRevisedTermAgreement called");
    IsServiceAvailable();
    return SendOneAgreement(item, agreed, productType);
}

bool CVerantiAPI::SetAllDisclaimerItemAgreement(int agreed, std::string productType) {
    LOG_INFO("Model %s try to set all agreement to %s.", productType.c_str(),
             BoolText(agreed != 0));
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = "set all agreement";
    request["product_type"] = productType;
    request["is_agreed"] = agreed != 0;
    return exchange.Succeeds();
}

bool CVerantiAPI::CloneData(std::string src, std::string dest, bool toUsb) {
    IsServiceAvailable();

    CTermsExchange exchange;
    Json::Value& request = exchange.RequestBody();
    request["method"] = toUsb ? "Copy Clone Data TV to USB" : "Copy Clone Data USB to TV";
    request["src"] = src;
    request["dest"] = dest;
    request["data"] = Json::nullValue;
    return exchange.Succeeds();
}

bool CVerantiAPI::CopyCloneDataUSBtoTV(std::string src, std::string dest) {
    LOG_INFO("CopyCloneDataUSBtoTV called");
    return CloneData(src, dest, false);
}

bool CVerantiAPI::CopyCloneDataTVtoUSB(std::string src, std::string dest) {
    LOG_INFO("CopyCloneDataTVtoUSB called");
    return CloneData(src, dest, true);
}
