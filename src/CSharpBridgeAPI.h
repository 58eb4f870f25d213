// The exports that C# applications bind to: flat functions with texts and integers over one kept
// instance. A C# program declares them itself (examples/csharp), so this header is for the library
// and its tests.
//
// The order is CSharpGetInstance(), then the others from any thread, CSharpDestroy() last. pThis is
// not checked: without an instance the others call through a null or stale pointer. A null text
// raises std::logic_error, and nothing is caught. Once loaded the library stays so: the instance
// and pThis live on over dlclose() and dlopen(). All log at info priority with the tag "Veranti".
#pragma once

#include "VerantiAPI.h"

extern "C" {

/// The instance that the exports work on. Written by CSharpGetInstance() only; CSharpDestroy()
/// leaves it as it is.
extern VERANTI_API CVerantiAPI* pThis;

/// Makes the instance on first use and keeps it in pThis.
/// @return the instance, for no other use than a test for null.
VERANTI_API void* CSharpGetInstance(void);

/// Deletes the instance.
VERANTI_API void CSharpDestroy(void);

/// @return 1 when the service answered that it is up, else 0.
VERANTI_API int CSharpIsServiceAvailable(void);

/// Records one agreement.
/// @param strItemId the id.
/// @param isAgreed 0 withdraws, anything else agrees.
/// @param productType the request's "product_type"; "TV" is the set itself.
/// @return 1 when the reply's "result" is true, else 0.
VERANTI_API int CSharpSetDisclaimerItemAgreement(const char* strItemId, int isAgreed,
                                                 const char* productType);

/// Reads the set's own agreement from the configuration store.
/// @param[out] pIsAgreed not null; 1 when the user has agreed, else 0. Set it to 0 before: it stays
///   as it is when what is stored is JSON other than an object or null, or is nested too deeply.
/// @return always 0.
VERANTI_API int CSharpGetDisclaimerItemAgreement(const char* strItemId, int* pIsAgreed);
}
