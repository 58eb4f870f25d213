// What the C interface is made of. These have C++ linkage and are exported, because programs exist
// that link against them; new callers use TermsAPI.h.
#pragma once

#include <string>

#include "TermsAPI.h"
#include "TermsDbusServer.h"
#include "VerantiAPI.h"

/// The client's requester for a C caller's: 0 to 3 as they are, everything else the catch-all.
VERANTI_API EHomeDisclaimerRequester GetRequesterType(TermsRequester requester);

/// Copies a text for a C caller.
/// @return a new array of the text's length and one more byte, which delete[] releases; null for
///   an empty text. The last byte is written only with VERANTI_TERMINATE_TEXTS.
VERANTI_API char* ConvertChar(std::string text);

/// Fills a C record. What @p dst points to is overwritten without being released, and without
/// sections its ppDetailData is not written.
VERANTI_API void ConvertTermItem(TermsContentItem* dst, STHomeDisclaimerContentItem* src);

/// Releases what a record points to, not the record. A list of sections with a count below 1 is
/// left as it is.
VERANTI_API void DestroyTermItem(TermsContentItem* item);

/// What the thread of TriggerTermsService() does.
VERANTI_API void m_TriggerTermsServiceAsync();

/// The process's bus server, or null.
extern VERANTI_API TermsDbusServer* g_DbusServer;

/// Finds the server by its bus name or its handle name.
/// @return null for any other name, and when there is no server.
VERANTI_API TermsDbusServer* m_GetTermsDbusServerInstance(std::string name);

/// Deletes a server, which may be null, and forgets the process's server, whichever was given.
VERANTI_API void m_ReleaseTermsDbusServerInstance(TermsDbusServer* server);
