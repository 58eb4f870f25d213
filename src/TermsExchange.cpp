#include "TermsExchange.h"

#include "Cancellation.h"
#include "TermsProtocol.h"

CTermsProxyGuard::~CTermsProxyGuard() {
    if (m_bProxyOpen) {
        m_pServer->CloseDBusProxy();
        m_bProxyOpen = false;
    }
    delete m_pServer;
    m_pServer = nullptr;
}

void CTermsProxyGuard::OpenProxy() {
    m_bProxyOpen = m_pServer->CreateDBusProxy();
}

CTermsExchange::Connection::Connection()
    : m_pServer(new Corvane::TCServer(Platform::kClientName, Platform::kClientType)),
      m_Guard(m_pServer) {
    m_Guard.OpenProxy();
}

bool CTermsExchange::m_SendTermsRequest() {
    const Cancellation::CRelease whileItWaits;  // where in there is the framework's to decide
    return m_Connection.m_pServer->SendMessage(kTermsService, &m_Request, true, &m_Reply,
                                               Platform::kNoTimeLimit);
}

bool CTermsExchange::SendAndCheck() {
    return m_SendTermsRequest() && ReplyBody()["result"].asBool();
}
