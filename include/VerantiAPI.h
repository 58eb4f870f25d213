/// @file
/// The class interface of the terms-and-conditions client.
///
/// A caller takes the one instance from CVerantiAPI::GetInstance() and calls its methods from any
/// thread. Every method is synchronous: it opens a connection of its own to the system message
/// bus, sends one JSON request to the terms service ("com.velmora.tv.termsclient"), waits for the
/// reply without a time limit and closes the connection before it returns.
///
/// Unless a method says otherwise:
/// - it first calls IsServiceAvailable(), ignores the answer and goes on, so that each request
///   leaves the service's state in the log at the price of one more exchange;
/// - it returns true only when a reply came and its member "result" is true; a request that could
///   not be delivered and a refusal of the service are not told apart;
/// - it writes its lines to the main log buffer with the tag "Veranti" at info priority;
/// - nothing is caught: a reply member of a kind that cannot be converted raises Json::Exception,
///   which passes to the caller after the connection has been closed;
/// - texts are UTF-8 and are copied; nothing that is passed in has to outlive the call.
#pragma once

#include <json/value.h>

#include <string>

#include "VerantiExport.h"

/// Who asks for disclaimers. The terms service decides what each of the first four stands for and
/// which disclaimers it lists for it.
enum EHomeDisclaimerRequester {
    HOME_DISCLAIMER_REQUESTER_0 = 0,
    HOME_DISCLAIMER_REQUESTER_1 = 1,
    HOME_DISCLAIMER_REQUESTER_2 = 2,
    HOME_DISCLAIMER_REQUESTER_3 = 3,
    HOME_DISCLAIMER_REQUESTER_OTHER = 4,  ///< everybody else
};

/// The client of the terms service. It holds no data: calls do not influence each other.
class VERANTI_API CVerantiAPI {
  public:
    /// For the instance getters only.
    CVerantiAPI();
    virtual ~CVerantiAPI();

    /// @name Lifetime
    /// @{

    /// Returns the one instance and makes it on first use.
    /// @return never null; owned by the library until Destroy().
    /// Logs "CVerantiAPI GetInstance" (debug) on each call, "CVerantiAPI m_InitProxy" (debug) when
    /// it makes the instance.
    static CVerantiAPI* GetInstance();

    /// As GetInstance(), without a log line and without the hook that runs after creation.
    static CVerantiAPI* GetInstanceUT();

    /// Deletes the instance, if there is one; the next getter makes a new one. Does not wait for
    /// requests that other threads have in progress.
    /// Logs "CVerantiAPI Destroy" (debug).
    static void Destroy();

    /// The instance, or null. Read it through the getters.
    static CVerantiAPI* m_pInstance;

    /// @}
    /// @name The service itself
    /// @{

    /// Asks the service whether it is up. Sends "is service available"; makes no other exchange.
    /// @return true when the service answered with "result" true.
    /// Logs "IsServiceAvailable" and "IsServiceAvailable result : true" (or "false").
    bool IsServiceAvailable();

    /// Runs the service's own check. Sends "dravik check".
    /// @param[out] errorCode the reply's "errorcode"; untouched when no reply came.
    /// @param[out] errorReason the reply's "errorreason"; untouched when no reply came.
    /// @return the reply's "result"; the outputs are written also when it is false.
    /// Logs an empty line.
    bool DravikCheck(int& errorCode, int& errorReason);

    /// Reads the service's last error. Sends "dravik get error info".
    /// @param[out] errorCode as above.
    /// @param[out] errorReason as above.
    /// @param[out] errorMessage the reply's "errormessage"; untouched when no reply came.
    /// @return as above. Logs an empty line.
    bool DravikCheck(int& errorCode, int& errorReason, std::string& errorMessage);

    /// Asks the service to reset Nimbra, the set's content service. Sends "request reset nimbra".
    /// Logs an empty line, then "RequestResetNimbra called".
    bool RequestResetNimbra();

    /// @}
    /// @name Country and supply of terms
    /// @{

    /// Sets the country whose terms apply. Sends "set country code".
    /// @param countryCode sent as "country_code"; an empty text is sent too.
    /// Logs an empty line.
    bool SetCountryCode(const std::string& countryCode);

    /// Asks the service to fetch its list of countries. Sends "request country code list".
    /// Logs an empty line.
    bool RequestCountryCodeList();

    /// Asks the service to fetch terms from its server. Sends "request disclaimer api" for the
    /// product type "TV".
    /// @param requestFrom who asks, sent as "request_from".
    /// @param terms which terms, sent as "terms".
    /// Logs an empty debug line just before sending.
    bool RequestDisclaimersRESTAPI(std::string requestFrom, std::string terms);

    /// Asks the service to fetch the ids of the terms. Sends "request disclaimerid" with
    /// "request_from" "wizard-terms".
    /// @param productType sent as "product_type"; "TV" is the set itself.
    /// @param otherPage sent as "other_page": whether a page other than the wizard asks.
    /// Logs an empty line.
    bool RequestDisclaimerID(std::string productType, bool otherPage);

    /// Asks the service to bring its terms up to date. Sends "request update disclaimers" with
    /// "request_from" "wizard-terms".
    /// @param productType sent as "product_type".
    /// Logs an empty line.
    bool RequestUpdateDisclaimers(std::string productType);

    /// @}
    /// @name What the disclaimer screens show
    /// @{

    /// Fetches the header of the disclaimer screen. Sends "get information for disclaimer".
    /// @param[out] header the reply's "headerData"; null when there is none or no reply came.
    /// Logs an empty line.
    void GetInformationForDisclaimer(Json::Value& header);

    /// Fetches the header of the disclaimer web view. Sends "get information for web view
    /// disclaimer". Otherwise as GetInformationForDisclaimer().
    void GetInformationForDisclaimerWebView(Json::Value& header);

    /// Counts the disclaimers of a requester. Sends "get disclaimer number".
    /// @param requester sent as the integer "requester".
    /// @param productType sent as "product_type".
    /// @return the reply's "number" when "result" is true, else 0.
    /// Logs "GetDisclaimerNum called with requester: N" and "GetDisclaimerNum N".
    int GetDisclaimerNum(EHomeDisclaimerRequester requester, std::string productType);

    /// @}
    /// @name Agreements
    /// @{

    /// Records several agreements in one request. Sends "set agreements" with the members of
    /// @p agreements at the top level of the request.
    /// @param[in,out] agreements a JSON object in the service's own layout. It is taken over: after
    ///   the call it holds the request's former empty body. Keep a copy if you need it again.
    /// @param unused part of the signature only.
    /// @param productType sent as "product_type".
    /// Logs an empty line.
    bool SetDisclaimersAgreement(Json::Value& agreements, bool unused, std::string productType);

    /// Records one agreement. Sends "set one agreement".
    /// @param item the id, sent as "request_item".
    /// @param agreed 0 withdraws, anything else agrees; sent as the boolean "is_agreed".
    /// @param productType sent as "product_type".
    /// Logs "Model P try to set I agreement to true." (or "false") after the availability check.
    bool SetDisclaimerItemAgreement(const std::string& item, const int& agreed,
                                    std::string productType);

    /// Records the agreement to a revised disclaimer. Sends "set one agreement", as
    /// SetDisclaimerItemAgreement() does.
    /// Logs "SetRevisedTermAgreement called".
    bool SetRevisedTermAgreement(std::string item, bool agreed, std::string productType);

    /// Agrees to all disclaimers or withdraws all agreements. Sends "set all agreement".
    /// @param agreed 0 withdraws, anything else agrees; sent as the boolean "is_agreed".
    /// @param productType sent as "product_type".
    /// Logs "Model P try to set all agreement to true." (or "false").
    bool SetAllDisclaimerItemAgreement(int agreed, std::string productType);

    /// @}
    /// @name Clone data on a USB device
    /// @{

    /// Starts copying clone data. Sends "Copy Clone Data TV to USB" or "Copy Clone Data USB to TV".
    /// @param src where from, sent as "src" as it is.
    /// @param dest where to, sent as "dest" as it is.
    /// @param toUsb the direction.
    /// Logs nothing of its own.
    bool CloneData(std::string src, std::string dest, bool toUsb);

    /// CloneData() from the device to the set. Logs "CopyCloneDataUSBtoTV called".
    bool CopyCloneDataUSBtoTV(std::string src, std::string dest);

    /// CloneData() from the set to the device. Logs "CopyCloneDataTVtoUSB called".
    bool CopyCloneDataTVtoUSB(std::string src, std::string dest);

    /// @}

  private:
    [[gnu::visibility("hidden")]] void m_InitProxy();
    [[gnu::visibility("hidden")]] void m_FinalProxy();
};
