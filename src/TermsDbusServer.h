// A server on the system bus: one name, one object, one interface of two methods.
#pragma once

#include <gio/gio.h>

#include <string>

#include "TermsDbusAPI.h"

/// What GDBus reports arrives in the thread-default main context of CreateDbusServer()'s caller, so
/// that a loop must run there. Nothing is locked.
class VERANTI_API TermsDbusServer {
  public:
    /// @param name the handle by which the process knows the server.
    explicit TermsDbusServer(std::string name);
    /// Closes nothing: CloseDbusServer() comes first.
    ~TermsDbusServer();

    TermsDbusServer(const TermsDbusServer&) = delete;
    TermsDbusServer& operator=(const TermsDbusServer&) = delete;

    /// Connects, requests the bus name and registers the object. The name callbacks tell later
    /// whether the name was acquired. A created server is closed first.
    /// @return false at the first step that fails; what was obtained before stays until
    ///   CloseDbusServer().
    bool CreateDbusServer(std::string serviceName);

    /// Gives up what CreateDbusServer() obtained; the names and the callbacks stay.
    /// @return always true.
    bool CloseDbusServer();

    /// Fills the slot of a type; a type without a slot changes nothing.
    void RegisterCallabck(TermsDbusCallbackType type, void* callback, void* userData);

    /// Emits a signal to every listener.
    bool SendDbusSignal(std::string signalName, const TermsDbusMessage& msg);

    /// Calls the server that owns @p destination.
    /// @param[in,out] reply an empty record; filled when the result is true.
    /// @param timeout in milliseconds; -1 is GDBus's own limit.
    bool SendDbusSyncMessage(std::string destination, const TermsDbusMessage& request,
                             TermsDbusMessage& reply, int timeout);

    std::string getDbusOrginalName() const;
    std::string getDbusServiceName() const;

    /// @name What GDBus calls, with the server as user data
    /// @{
    static void m_OnNameAcquired(GDBusConnection* connection, const char* name, void* userData);
    static void m_OnNameLost(GDBusConnection* connection, const char* name, void* userData);
    /// Takes the invocation over. A call that cannot be decoded gets no answer.
    static void m_ObjectCallback(GDBusConnection* connection, const char* sender,
                                 const char* objectPath, const char* interfaceName,
                                 const char* methodName, GVariant* parameters,
                                 GDBusMethodInvocation* invocation, void* userData);
    /// @}

  private:
    [[gnu::visibility("hidden")]] static GDBusNodeInfo* m_GetInterfaceInfo(
        const std::string& interfaceName);
    [[gnu::visibility("hidden")]] bool m_IsConnectionOpen() const;

    GDBusConnection* m_pConnection = nullptr;
    unsigned m_nOwnerId = 0;
    unsigned m_nRegistrationId = 0;
    GDBusNodeInfo* m_pNodeInfo = nullptr;
    std::string m_strOrginalName;
    std::string m_strServiceName;
    std::string m_strObjectPath;
    void* m_pNameAcquiredData = nullptr;
    TermsDbusNameCallback m_fnNameAcquired = nullptr;
    void* m_pNameLostData = nullptr;
    TermsDbusNameCallback m_fnNameLost = nullptr;
    void* m_pMessageData = nullptr;
    TermsDbusMessageCallback m_fnMessage = nullptr;

    static const GDBusInterfaceVTable m_gVTable;
};
