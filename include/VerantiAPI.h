/// @file
/// The class interface of the terms-and-conditions client.
///
/// A caller takes the one instance from CVerantiAPI::GetInstance(), for the first time before its
/// threads start or on one of them only, and calls its methods from any thread. Every request has
/// its own connection to the system message bus: it is one JSON object to the terms service
/// ("com.velmora.tv.termsclient"), and the call returns with the answer, however long the service
/// takes.
///
/// Unless a method says otherwise:
/// - it first calls IsServiceAvailable(), ignores the answer and goes on, so that each request
///   leaves the service's state in the log at the price of one more exchange;
/// - it returns true only when a reply came whose "result" reads as true; false may mean that the
///   request never arrived as well as that the service refused;
/// - a member that a reply lacks reads as the empty text, 0, false or null;
/// - nothing is caught: a reply that is shaped otherwise, such as a text in the place of a number,
///   raises Json::Exception, and the connection is closed when it reaches the caller;
/// - texts are UTF-8 and are copied; nothing that is passed in has to outlive the call.
///
/// pthread_cancel() gives a call up, as TermsAPI.h says. The thread then unwinds from the wait
/// through its caller, whose destructors run; a catch (...) on that way must throw it on.
///
/// Once loaded the library stays so: the instance lives on over dlclose() and dlopen().
///
/// What the library logs is listed in [docs/log.md](docs/log.md).
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

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

/// One disclaimer as the service describes it. Each member names the reply member that it is read
/// from. Texts are kept as received.
struct STHomeDisclaimerContentItem {
    std::string strItemId;           ///< "id": the key of requests for this disclaimer
    int nOrder = 0;                  ///< "order": its position in the service's list
    std::string strVersion;          ///< "version"
    std::string strTitle;            ///< "title"
    std::string strIntro;            ///< "intro"
    std::string strDetails;          ///< "details": prose, or a JSON array of sections
    std::string strButton1;          ///< "button1": the label of a button
    std::string strButton2;          ///< "button2": the label of a button
    std::string strButton3;          ///< "button3": the label of a button
    std::string strButton4;          ///< "button4": the label of a button
    std::string strButton5;          ///< "button5": the label of a button
    std::string strButton6;          ///< "button6": the label of a button
    std::string strButton7;          ///< "button7": the label of a button
    std::string strButton8;          ///< "button8": the label of a button
    std::string strButton9;          ///< "button9": the label of a button
    std::string strButton10;         ///< "button10": the label of a button
    bool bIsAgreed = false;          ///< "is_agreed"
    bool bOnlyNotice = false;        ///< "only_notice": there is nothing to agree to
    std::string strAgreeDependency;  ///< "agree_dependency": passed through
    bool bPPUsed = false;            ///< "ppused": passed through
    bool bReverse = false;           ///< "reverse": passed through
    /// The sections of strDetails when that is a JSON array of objects with "title" and "data":
    /// title, text, title, text and so on, empty where one is missing. Requests append to it and
    /// never clear it, so a record that is filled twice has its sections twice.
    std::vector<std::string> vecDetailData;
};

/// The client of the terms service. It holds no data: calls do not influence each other.
class VERANTI_API CVerantiAPI {
  public:
    /// An error as two numbers, and as the JSON text {"error_code":3,"error_reason":12} in which
    /// reports to and from the service carry it.
    class VERANTI_API CErrorDescriptor {
      public:
        /// Code 0, reason 0.
        CErrorDescriptor();
        /// An error as it is.
        CErrorDescriptor(int code, int reason);

        /// Reads a descriptor from JSON text.
        /// @return what the text holds, a missing member as 0; code 0 and reason 0 for a text that
        ///   is not JSON.
        /// @throws Json::Exception for JSON other than an object or null, for one that is nested
        ///   too deeply, and for a member that cannot be converted to an int.
        static CErrorDescriptor FromString(std::string text);

        /// The compact JSON text.
        std::string ToString() const;

        std::int32_t m_ErrorCode;    ///< "error_code"
        std::int32_t m_ErrorReason;  ///< "error_reason"
    };

    /// The getters' own; an instance beside theirs works alike.
    CVerantiAPI();
    /// Does nothing.
    virtual ~CVerantiAPI();

    /// @name Lifetime
    /// @{

    /// Returns the one instance and makes it on first use.
    /// @return the instance, owned by the library until Destroy(). The getters look before they
    ///   lock, so while another thread makes it with GetInstanceUT() the result may be null, and
    ///   while another destroys it null or already deleted.
    static CVerantiAPI* GetInstance();

    /// As GetInstance(), but logs nothing.
    static CVerantiAPI* GetInstanceUT();

    /// Deletes the instance, if there is one; the next getter makes a new one. Does not wait for
    /// requests that other threads have in progress.
    static void Destroy();

    /// The instance, or null. Read it through the getters.
    static CVerantiAPI* m_pInstance;

    /// @}
    /// @name The service itself
    /// @{

    /// Asks the service whether it is up. Sends "is service available"; makes no other exchange.
    /// @return true when the service answered with "result" true.
    bool IsServiceAvailable();

    /// Runs the service's own check. Sends "dravik check".
    /// @param[out] errorCode the reply's "errorcode"; untouched when no reply came.
    /// @param[out] errorReason the reply's "errorreason"; untouched when no reply came.
    /// @return the reply's "result"; the outputs are written also when it is false.
    bool DravikCheck(int& errorCode, int& errorReason);

    /// Reads an error of the service. Sends "dravik get error info".
    /// @param[out] errorCode as above.
    /// @param[out] errorReason as above.
    /// @param[out] errorMessage the reply's "errormessage"; untouched when no reply came.
    /// @return as above.
    bool DravikCheck(int& errorCode, int& errorReason, std::string& errorMessage);

    /// Asks the service to reset Nimbra, the set's content service. Sends "request reset nimbra".
    bool RequestResetNimbra();

    /// @}
    /// @name Country and supply of terms
    /// @{

    /// Sets the country whose terms apply. Sends "set country code".
    /// @param countryCode sent as "country_code"; an empty text is sent too.
    bool SetCountryCode(const std::string& countryCode);

    /// Asks the service to fetch its list of countries. Sends "request country code list".
    bool RequestCountryCodeList();

    /// Asks the service to request terms. Sends "request disclaimer api" for the product type "TV".
    /// @param requestFrom who asks, sent as "request_from".
    /// @param terms which terms, sent as "terms".
    bool RequestDisclaimersRESTAPI(std::string requestFrom, std::string terms);

    /// Asks the service to fetch the ids of the terms. Sends "request disclaimerid" with
    /// "request_from" "wizard-terms".
    /// @param productType sent as "product_type"; "TV" is the set itself.
    /// @param otherPage sent as "other_page": whether a page other than the wizard asks.
    bool RequestDisclaimerID(std::string productType, bool otherPage);

    /// Asks the service to bring its terms up to date. Sends "request update disclaimers" with
    /// "request_from" "wizard-terms".
    /// @param productType sent as "product_type".
    bool RequestUpdateDisclaimers(std::string productType);

    /// @}
    /// @name What the disclaimer screens show
    /// @{

    /// Fetches the header of the disclaimer screen. Sends "get information for disclaimer".
    /// @param[out] header the reply's "headerData", whatever its "result"; null when there is none
    ///   or no reply came.
    void GetInformationForDisclaimer(Json::Value& header);

    /// Fetches the header of the disclaimer web view. Sends "get information for web view
    /// disclaimer". Otherwise as GetInformationForDisclaimer().
    void GetInformationForDisclaimerWebView(Json::Value& header);

    /// Counts the disclaimers of a requester. Sends "get disclaimer number".
    /// @param requester sent as the integer "requester".
    /// @param productType sent as "product_type".
    /// @return the reply's "number" when "result" is true, else 0.
    int GetDisclaimerNum(EHomeDisclaimerRequester requester, std::string productType);

    /// Fetches the disclaimer at a position. Sends "get disclaimer by order".
    /// @param[in,out] item filled with every member of the reply and the sections of its details;
    ///   untouched when the result is -1. When an exception passes, what was read before it is in.
    /// @param index the position in the requester's list, from 0; sent as "request_index".
    /// @param requester sent as the integer "requester".
    /// @param strProductType sent as "product_type".
    /// @return 0 when the reply's "result" is true, else -1.
    int GetDisclaimerDetail(STHomeDisclaimerContentItem& item, int index,
                            EHomeDisclaimerRequester requester, std::string strProductType);

    /// Fetches the disclaimer with an id. Sends "get disclaimer by term id". Otherwise as by
    /// position.
    /// @param strItemId sent as "request_item".
    int GetDisclaimerDetail(const std::string& strItemId, STHomeDisclaimerContentItem& item,
                            std::string strProductType);

    /// Fetches all disclaimers of a requester: their number, then each by its position.
    /// @param[in,out] vecItems emptied without destroying what it points to, then filled with new
    ///   records that the caller owns and destroys with delete, in the order of their positions;
    ///   left as it is when the number is less than 1. Disclaimers whose request fails are left
    ///   out. When an exception passes, the records so far are in.
    /// @param requester whose list.
    /// @param strProductType of the requests for the disclaimers. Their number is always asked for
    ///   "TV".
    /// @return always 0.
    int GetDisclaimerDetails(std::vector<STHomeDisclaimerContentItem*>& vecItems,
                             EHomeDisclaimerRequester requester, std::string strProductType);

    /// Fetches the disclaimers that were revised. Sends "get revised disclaimers".
    /// @param[in,out] vecItems receives a new record for each element of the reply's "disclaimers",
    ///   behind what it holds. The caller owns them and destroys them with delete. nOrder,
    ///   strVersion, strButton9, strButton10 and bOnlyNotice keep their defaults. When an exception
    ///   passes, the records so far are in.
    /// @param strProductType sent as "product_type".
    /// @param strTerms which terms, sent as "terms".
    /// @return the reply's "result"; false when no reply came.
    bool GetRevisedDisclaimers(std::vector<STHomeDisclaimerContentItem*>& vecItems,
                               std::string strProductType, std::string strTerms);

    /// Reads the title of an entry of the terms menu from the configuration store, key
    /// "db/veranti/terms_title". Makes no request.
    /// @param[out] title the "title" of the stored array's element, a number or a boolean as its
    ///   text; untouched when the result is -1.
    /// @param index the position in the array, from 0.
    /// @return 0, or -1 when there is no such title or it is empty. Json exceptions are caught.
    int GetDisclaimerTitle(std::string& title, int index);

    /// Gives the language of the terms' screens. Makes no request.
    /// @param[out] language always "ko".
    /// @return always 0.
    int GetDisclaimerOsdLanguage(std::string& language);

    /// @}
    /// @name Agreements
    /// @{

    /// Records several agreements in one request. Sends "set agreements" with the members of
    /// @p agreements at the top level of the request.
    /// @param[in,out] agreements a JSON object in the service's own layout, or null for none;
    ///   "method", "product_type" and "data" are the request's own. It is taken over: after the
    ///   call it holds the request's former empty body. Keep a copy if you need it again.
    /// @param unused part of the signature only.
    /// @param productType sent as "product_type".
    /// @throws Json::Exception for other JSON, which is taken over too.
    bool SetDisclaimersAgreement(Json::Value& agreements, bool unused, std::string productType);

    /// Records one agreement. Sends "set one agreement".
    /// @param item the id, sent as "request_item".
    /// @param agreed 0 withdraws, anything else agrees; sent as the boolean "is_agreed".
    /// @param productType sent as "product_type".
    bool SetDisclaimerItemAgreement(const std::string& item, const int& agreed,
                                    std::string productType);

    /// Records the agreement to a revised disclaimer. Sends "set one agreement", as
    /// SetDisclaimerItemAgreement() does.
    bool SetRevisedTermAgreement(std::string item, bool agreed, std::string productType);

    /// Agrees to all disclaimers or withdraws all agreements. Sends "set all agreement".
    /// @param agreed 0 withdraws, anything else agrees; sent as the boolean "is_agreed".
    /// @param productType sent as "product_type".
    bool SetAllDisclaimerItemAgreement(int agreed, std::string productType);

    /// Tells whether a disclaimer exists. For the set itself (product type "TV") it is looked up in
    /// the agreements that the service keeps in the configuration store, key
    /// "db/veranti/disclaimeragrees", without a request; for any other product type the service is
    /// asked ("get disclaimer by term id").
    /// @param strItemId the id; sent as "request_item".
    /// @param productType sent as "product_type".
    /// @return true when the stored member is there and neither null nor an empty array or object,
    ///   or the reply's "result". A store that cannot be read gives false; an exception on the way
    ///   is caught for the set, but not while the service is asked.
    bool IsDisclaimerItemExist(const std::string& strItemId, std::string productType);

    /// Tells whether the user has agreed to a disclaimer, from the agreements in the configuration
    /// store (as IsDisclaimerItemExist()). For a product type other than "TV" the service is asked
    /// first (protocol "common_protocol", "request_type" "get disclaimer agreement"), unless there
    /// is no connection; its answer reaches the log, and what is stored replaces it.
    /// @param strItemId the id; sent as "request_item".
    /// @param[out] pIsAgreed not null; 1 when the stored member is the text "true", else 0. Set it
    ///   to 0 before: when looking the id up raises an exception (the stored JSON is neither an
    ///   object nor null, or is nested too deeply) what is stored writes nothing, and the caller's
    ///   value or, for other products, the service's answer stays.
    /// @param productType sent as "product_type".
    /// @return always 0. Exceptions are caught as above.
    int GetDisclaimerItemAgreement(const std::string& strItemId, int* pIsAgreed,
                                   std::string productType);

    /// @}
    /// @name Clone data on a USB device
    /// @{

    /// Starts copying clone data. Sends "Copy Clone Data TV to USB" or "Copy Clone Data USB to TV".
    /// @param src where from, sent as "src" as it is.
    /// @param dest where to, sent as "dest" as it is.
    /// @param toUsb the direction.
    bool CloneData(std::string src, std::string dest, bool toUsb);

    /// CloneData() from the device to the set.
    bool CopyCloneDataUSBtoTV(std::string src, std::string dest);

    /// CloneData() from the set to the device.
    bool CopyCloneDataTVtoUSB(std::string src, std::string dest);

    /// @}

  private:
    [[gnu::visibility("hidden")]] void m_InitProxy();
    [[gnu::visibility("hidden")]] void m_FinalProxy();
};
