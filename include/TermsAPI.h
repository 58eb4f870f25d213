/// @file
/// The C interface of the terms-and-conditions client.
///
/// Every function speaks for the television itself (product type "TV") through the process's one
/// client, which the first call makes, so let that return before other threads call. CVerantiAPI in
/// VerantiAPI.h says what each request sends and reads. Calls run on the caller's thread and return
/// with the service's answer, however long the service takes; they may be made from any thread.
///
/// Unless a function says otherwise:
/// - a result of 1 means yes or done, 0 means no, refused or no answer, which are not told apart;
/// - texts are UTF-8, end with a NUL and are copied; nothing that is passed in has to outlive the
///   call; an id must not be null: a null id raises std::logic_error;
/// - nothing is caught: what the standard library and the JSON library raise (std::logic_error,
///   std::bad_alloc, Json::Exception for a reply that is shaped otherwise) passes through the
///   function. A C++ caller can catch it; in a C program it ends the process.
///
/// pthread_cancel() gives a call up. The thread ends while it waits for an answer, or in a callback
/// of its own, and nowhere else in a call: the connection is closed, no lock stays taken, and what
/// the service was asked may be done or not. A request that comes later than the answer ends the
/// thread at the call's next wait, else behind the call. A thread that has cancellation disabled
/// keeps its call, and the asynchronous type of cancellation must not be set. On a set it is the
/// set's framework that decides where in its wait a thread ends, and what it then leaves.
///
/// Once loaded the library stays so: the client, and the thread of TriggerTermsService(), live on
/// over dlclose() and dlopen().
///
/// What the library logs is listed in [docs/log.md](docs/log.md).
#pragma once

#include "VerantiExport.h"

#ifdef __cplusplus
extern "C" {
#endif

// NOLINTBEGIN(modernize-use-using): this is C

/// Who asks for disclaimers. The terms service decides what each of the first four stands for.
/// Every other value counts as TERMS_REQUESTER_OTHER.
typedef enum TermsRequester VERANTI_ANY_INT {
    TERMS_REQUESTER_0 = 0,
    TERMS_REQUESTER_1 = 1,
    TERMS_REQUESTER_2 = 2,
    TERMS_REQUESTER_3 = 3,
    TERMS_REQUESTER_OTHER = 4  ///< everybody else
} TermsRequester;

/// One disclaimer. Each member names the reply member that it comes from.
///
/// An empty text is a null pointer, so every text may be null. The byte behind a text is a NUL only
/// with a library that is built with VERANTI_TERMINATE_TEXTS. One that is built without it (the
/// default, for a set) leaves that byte as the allocator delivered it; as a text carries no length,
/// nobody can then tell where it ends. `pkg-config --variable=terminate_texts capi-veranti-service`
/// tells which (0 or 1), and so does VERANTI_TERMINATE_TEXTS, which its flags and the CMake target
/// define.
typedef struct TermsContentItem {
    char* strItemId;           ///< "id": the key of requests for this disclaimer
    int nOrder;                ///< "order": its position in the service's list
    char* strVersion;          ///< "version"
    char* strTitle;            ///< "title"
    char* strIntro;            ///< "intro"
    char* strDetails;          ///< "details": prose, or a JSON array of sections
    char* strButton1;          ///< "button1": the label of a button
    char* strButton2;          ///< "button2": the label of a button
    char* strButton3;          ///< "button3": the label of a button
    char* strButton4;          ///< "button4": the label of a button
    char* strButton5;          ///< "button5": the label of a button
    char* strButton6;          ///< "button6": the label of a button
    char* strButton7;          ///< "button7": the label of a button
    char* strButton8;          ///< "button8": the label of a button
    char* strButton9;          ///< "button9": the label of a button
    char* strButton10;         ///< "button10": the label of a button
    int bIsAgreed;             ///< "is_agreed", 0 or 1
    int bOnlyNotice;           ///< "only_notice", 0 or 1: there is nothing to agree to
    char* strAgreeDependency;  ///< "agree_dependency": passed through
    int bPPUsed;               ///< "ppused", 0 or 1: passed through
    int bReverse;              ///< "reverse", 0 or 1: passed through
    /// The sections of the details: title, text, title, text and so on, each null when it is empty.
    /// Read it only when nDetailDataCount is greater than 0: without sections it is not written.
    char** ppDetailData;
    int nDetailDataCount;  ///< the number of entries of ppDetailData
} TermsContentItem;

/// Receives one disclaimer. The record and all that it points to belong to the library and end with
/// the call; copy what is needed later, and change or release nothing. A callback may call every
/// function of the library.
/// @param user_data what the caller passed.
typedef void (*TermsItemCallback)(TermsContentItem* item, void* user_data);

/// Receives a list of disclaimers, which belongs to the library as above.
/// @param items @p count records in the order of the service's list.
/// @param count at least 1.
/// @param user_data what the caller passed.
typedef void (*TermsItemListCallback)(TermsContentItem** items, int count, void* user_data);

/// Sets all members of a record to null or 0, for callers that hold records of their own. What the
/// record pointed to is not released.
/// @param item not null.
VERANTI_API void InitailizeTermsContentItem(TermsContentItem* item);

/// Asks the service whether it is up.
/// @return 1 when it answered that it is.
VERANTI_API int IsServiceAvailable(void);

/// Starts the service by asking it whether it is up, on a thread that nobody waits for. The answer
/// reaches the log only.
/// @throws std::system_error when no thread can be started. On that thread nothing is caught: an
///   answer that is shaped otherwise ends the process.
VERANTI_API void TriggerTermsService(void);

/// Asks the service to bring its terms up to date.
/// @param requester sent as the request's "product_type", where the service expects it; null gives
///   0 without a request.
/// @return 1 when the reply's "result" is true.
VERANTI_API int RequestUpdateDisclaimers(const char* requester);

/// Records one agreement. Whether the service took it is not told;
/// GetDisclaimerItemAgreement() shows what is stored then.
/// @param id not null.
/// @param agreed 0 withdraws, anything else agrees.
VERANTI_API void SetDisclaimerItemAgreement(const char* id, int agreed);

/// Tells whether a disclaimer exists, from the agreements in the configuration store, without a
/// request. Only a null id raises an exception: what reading the store raises gives 0.
/// @param id not null.
/// @return 1 when the stored member is there and neither null nor an empty array or object.
VERANTI_API int IsDisclaimerItemExist(const char* id);

/// Tells whether the user has agreed to a disclaimer, from the agreements in the configuration
/// store, without a request. Exceptions as for IsDisclaimerItemExist().
/// @param id not null.
/// @return 1 when the stored member is the text "true".
VERANTI_API int GetDisclaimerItemAgreement(const char* id);

/// Records several agreements in one request.
/// @param agreements a JSON object in the service's own layout; its members go to the top level of
///   the request as they are. Null, or a text that the JSON library's reader does not take, gives
///   0 without a request; the reader takes remarks, and whatever stands behind the object.
/// @return 1 when the reply's "result" is true.
/// @throws Json::Exception for JSON other than an object or null, and for more than 1000 levels.
VERANTI_API int SetDisclaimerItemsAgreements(const char* agreements);

/// Fetches the header of the disclaimer web view.
/// @return the reply's "headerData" as JSON text on one line, which the caller releases with
///   free(); the text null when there is none or no reply came; a null pointer only when there is
///   no memory for the copy.
VERANTI_API char* GetInfoForDisclaimerWebView(void);

/// Fetches one disclaimer and shows it to the callback, once.
/// @param id not null.
/// @param callback null is allowed: the disclaimer is fetched for the log only. Not called when the
///   reply has no "id": the service does not know the id, refused or gave no answer.
/// @param user_data passed to the callback.
VERANTI_API void GetDisclaimerDetail(const char* id, TermsItemCallback callback, void* user_data);

/// Fetches all disclaimers of a requester and shows them to the callback, once.
///
/// The client's own records behind the list, one for each disclaimer, are never released: each call
/// leaves that many behind, one that is given up those that it had. A process that asks often uses
/// CVerantiAPI::GetDisclaimerDetails(), whose caller owns the records.
/// @param requester whose list.
/// @param callback null is allowed. Not called for an empty list.
/// @param user_data passed to the callback.
VERANTI_API void GetAllDisclaimerDetail(TermsRequester requester, TermsItemListCallback callback,
                                        void* user_data);

// NOLINTEND(modernize-use-using)

#ifdef __cplusplus
}
#endif
