// One exchange with the terms service, from connecting to closing.
#pragma once

#include "Platform.h"

/// Ends one exchange's connection on every way out of its scope. The process ends when that fails.
class CTermsProxyGuard {
  public:
    /// @param server the scope's server pointer; the guard sets it to null when it has deleted it.
    explicit CTermsProxyGuard(Corvane::TCServer*& server) : m_pServer(server) {}
    ~CTermsProxyGuard();

    CTermsProxyGuard(const CTermsProxyGuard&) = delete;
    CTermsProxyGuard& operator=(const CTermsProxyGuard&) = delete;

    /// Opens the server's proxy and remembers whether it is open.
    void OpenProxy();
    bool IsProxyOpen() const { return m_bProxyOpen; }

  private:
    Corvane::TCServer*& m_pServer;
    bool m_bProxyOpen = false;
};

/// A connection, a request and its reply. Construct it, fill RequestBody(), send, read
/// ReplyBody(); the destructor closes the connection after the messages are gone.
class CTermsExchange {
  public:
    CTermsExchange() = default;

    CTermsExchange(const CTermsExchange&) = delete;
    CTermsExchange& operator=(const CTermsExchange&) = delete;

    /// The request's JSON object, empty at first.
    Json::Value& RequestBody() { return Platform::JsonBody(m_Request); }

    /// The reply's JSON object; empty when none came. Not const: members are looked up with the
    /// inserting subscript, so that a missing one reads as null.
    Json::Value& ReplyBody() { return Platform::JsonBody(m_Reply); }

    /// The protocol that the request belongs to; most requests leave it empty.
    std::string& Protocol() { return Platform::Protocol(m_Request); }

    /// Whether the proxy could be opened.
    bool IsProxyOpen() const { return m_Connection.m_Guard.IsProxyOpen(); }

    /// Sends the request and waits for the reply, also through a proxy that did not open: only the
    /// framework can tell what becomes of that.
    /// @return true when the request was delivered and a reply came.
    bool m_SendTermsRequest();

    /// Sends the request and waits for the reply as m_SendTermsRequest() does.
    /// @return true when a reply came whose "result" is true.
    bool SendAndCheck();

  private:
    /// The server is made and its proxy opened before the messages exist.
    struct Connection {
        Connection();
        Corvane::TCServer* m_pServer;
        CTermsProxyGuard m_Guard;
    };

    Connection m_Connection;
    Corvane::TCMessage m_Request;
    Corvane::TCMessage m_Reply;
};
