#include "CSharpBridgeAPI.h"

#include <cstdint>

#include "Cancellation.h"
#include "Log.h"
#include "TermsProtocol.h"

// The bridge's lines name the place once more, in the message itself.
#define VERANTI_LOG_BRIDGE(text, ...)                                                           \
    VERANTI_LOG_INFO(" [%s %s:%d]" text, "CSharpBridgeAPI", static_cast<const char*>(__func__), \
                     __LINE__ __VA_OPT__(, ) __VA_ARGS__)

CVerantiAPI* pThis = nullptr;

void* CSharpGetInstance(void) {
    const Cancellation::CHold hold;
    VERANTI_LOG_BRIDGE("CVerantiAPI::GetInstance");
    pThis = CVerantiAPI::GetInstance();
    return pThis;
}

void CSharpDestroy(void) {
    const Cancellation::CHold hold;
    VERANTI_LOG_BRIDGE("CVerantiAPI::Destroy");
    CVerantiAPI::Destroy();
}

int CSharpIsServiceAvailable(void) {
    const Cancellation::CHold hold;
    const int available = pThis->IsServiceAvailable() ? 1 : 0;
    VERANTI_LOG_BRIDGE("%d", available);
    return available;
}

int CSharpSetDisclaimerItemAgreement(const char* strItemId, int isAgreed, const char* productType) {
    const Cancellation::CHold hold;
    VERANTI_LOG_BRIDGE("strItemId, =%s, isagreed =%d", strItemId, isAgreed);
    return pThis->SetDisclaimerItemAgreement(strItemId, isAgreed, productType) ? 1 : 0;
}

int CSharpGetDisclaimerItemAgreement(const char* strItemId, int* pIsAgreed) {
    const Cancellation::CHold hold;
    const int result = pThis->GetDisclaimerItemAgreement(strItemId, pIsAgreed, kTelevision);
    // Where the answer went, not the answer: the address, as far as an int shows it.
    VERANTI_LOG_BRIDGE("strItemId, =%s, isagreed =%d", strItemId,
                       static_cast<int>(reinterpret_cast<std::intptr_t>(pIsAgreed)));
    return result;
}
