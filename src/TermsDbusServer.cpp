#include "TermsDbusServer.h"

#include <array>
#include <cstdio>
#include <memory>

#include "Log.h"
#include "TermsDbusUtil.h"

namespace {

// Kept to the character: its length decides which names still fit into the document. "a*" is on
// purpose: GDBus checks "a(y)" against it.
constexpr char kInterfaceTemplate[] =
    "<node>"
    "\t <interface name='%s'>"
    "\t     <method name='SendMessage'>"
    "\t         <arg type='s' name='from' direction='in'/>"
    "            <arg type='u' name='code' direction='in'/>"
    "\t         <arg type='s' name='type' direction='in'/>"
    "\t         <arg type='s' name='message' direction='in'/>"
    "\t         <arg type='s' name='from' direction='out'/>"
    "\t         <arg type='u' name='code' direction='out'/>"
    "\t         <arg type='s' name='type' direction='out'/>"
    "\t         <arg type='s' name='message' direction='out'/>"
    "\t         <arg type='a*' name='buffer' direction='out'/>"
    "\t     </method>"
    "\t     <method name='SendMessageWithBuffer'>"
    "\t         <arg type='s' name='from' direction='in'/>"
    "            <arg type='u' name='code' direction='in'/>"
    "\t         <arg type='s' name='type' direction='in'/>"
    "\t         <arg type='s' name='message' direction='in'/>"
    "\t         <arg type='a*' name='buffer' direction='in'/>"
    "\t         <arg type='s' name='from' direction='out'/>"
    "            <arg type='u' name='code' direction='out'/>"
    "\t         <arg type='s' name='type' direction='out'/>"
    "\t         <arg type='s' name='message' direction='out'/>"
    "\t         <arg type='a*' name='buffer' direction='out'/>"
    "\t     </method>"
    "\t </interface></node>";
constexpr std::size_t kDocumentSize = 2048;

/// A value that GDBus borrows, so that it is also released when GDBus refuses the call.
using Value = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

Value Keep(GVariant* floating) {
    return {g_variant_ref_sink(floating), &g_variant_unref};
}

/// How often a server gave its connection up on this thread. A callback's own server cannot be
/// asked when it is gone, and another one may be at its address.
thread_local unsigned t_nClosings = 0;

/// Waits until the bus has read what was sent before: it answers in order. A bus that stalls is
/// waited for as long as in any call; g_dbus_connection_flush_sync() has no limit.
void AwaitDelivery(GDBusConnection* connection) {
    [[maybe_unused]] g_autoptr(GVariant) id = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetId", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
}

/// The log's form of a text that may be null; it is sent as an empty one.
const char* Shown(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

const GDBusInterfaceVTable TermsDbusServer::m_gVTable = {
    &TermsDbusServer::m_ObjectCallback, nullptr, nullptr, {}};

TermsDbusServer::TermsDbusServer(std::string name) : m_strOrginalName(std::move(name)) {}

TermsDbusServer::~TermsDbusServer() {
    VERANTI_LOG_BUS("");
}

bool TermsDbusServer::CreateDbusServer(std::string serviceName) {
    if (serviceName.empty()) {
        VERANTI_LOG_BUS_ERROR("get serviceName is empty");
        return false;
    }
    CloseDbusServer();  // nothing is open the first time
    m_strServiceName = serviceName;
    VERANTI_LOG_BUS("get dbus name: %s", m_strServiceName.c_str());

    g_autoptr(GError) error = nullptr;
    m_pConnection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (m_pConnection == nullptr) {
        VERANTI_LOG_BUS("get dbus connection fail!");  // the error is the next line
        if (error != nullptr) {
            VERANTI_LOG_BUS_ERROR("(%s %d)", error->message, error->code);
        }
        return false;
    }
    g_dbus_connection_set_exit_on_close(m_pConnection, FALSE);
    VERANTI_LOG_BUS("Get dbus connection success : %p", static_cast<void*>(m_pConnection));

    constexpr auto kFlags = static_cast<GBusNameOwnerFlags>(
        G_BUS_NAME_OWNER_FLAGS_ALLOW_REPLACEMENT | G_BUS_NAME_OWNER_FLAGS_REPLACE);
    m_nOwnerId = g_bus_own_name_on_connection(m_pConnection, m_strServiceName.c_str(), kFlags,
                                              &m_OnNameAcquired, &m_OnNameLost, this, nullptr);
    if (m_nOwnerId == 0) {
        VERANTI_LOG_BUS_ERROR("Request bus name fail!");
        return false;
    }
    VERANTI_LOG_BUS("RequestName(%s) success : %u", m_strServiceName.c_str(), m_nOwnerId);

    m_pNodeInfo = m_GetInterfaceInfo(m_strServiceName);
    if (m_pNodeInfo == nullptr) {
        VERANTI_LOG_BUS_ERROR("parse interface xml fail!");
        return false;
    }
    m_strObjectPath = TermsDbusUtil::GetObjectPath(m_strServiceName);
    VERANTI_LOG_BUS("Register Obj Path: %s", m_strObjectPath.c_str());
    m_nRegistrationId = g_dbus_connection_register_object(m_pConnection, m_strObjectPath.c_str(),
                                                          m_pNodeInfo->interfaces[0], &m_gVTable,
                                                          this, nullptr, nullptr);
    VERANTI_LOG_BUS("Get register id : %u", m_nRegistrationId);
    if (m_nRegistrationId == 0) {
        VERANTI_LOG_BUS_ERROR("Register Obj Path Fail!");
        return false;
    }
    return true;
}

bool TermsDbusServer::CloseDbusServer() {
    if (m_nOwnerId != 0) {
        g_bus_unown_name(m_nOwnerId);
        m_nOwnerId = 0;
    }
    if (m_pConnection != nullptr && m_nRegistrationId != 0) {
        g_dbus_connection_unregister_object(m_pConnection, m_nRegistrationId);
        m_nRegistrationId = 0;
    }
    g_clear_pointer(&m_pNodeInfo, g_dbus_node_info_unref);
    if (m_pConnection != nullptr) {
        g_clear_object(&m_pConnection);
        ++t_nClosings;
    }
    return true;
}

void TermsDbusServer::RegisterCallabck(TermsDbusCallbackType type, void* callback, void* userData) {
    switch (type) {
        case TERMS_DBUS_CALLBACK_NAME_ACQUIRED:
            m_fnNameAcquired = reinterpret_cast<TermsDbusNameCallback>(callback);
            m_pNameAcquiredData = userData;
            break;
        case TERMS_DBUS_CALLBACK_NAME_LOST:
            m_fnNameLost = reinterpret_cast<TermsDbusNameCallback>(callback);
            m_pNameLostData = userData;
            break;
        case TERMS_DBUS_CALLBACK_MESSAGE:
            m_fnMessage = reinterpret_cast<TermsDbusMessageCallback>(callback);
            m_pMessageData = userData;
            break;
    }
}

bool TermsDbusServer::SendDbusSignal(std::string signalName, const TermsDbusMessage& msg) {
    if (!m_IsConnectionOpen()) {
        VERANTI_LOG_BUS_ERROR("dbus connection is not open");
        return false;
    }
    const Value body = Keep(TermsDbusUtil::MakeSignalDataToParams(msg));
    g_autoptr(GError) error = nullptr;
    const bool sent = g_dbus_connection_emit_signal(m_pConnection, nullptr, m_strObjectPath.c_str(),
                                                    m_strServiceName.c_str(), signalName.c_str(),
                                                    body.get(), &error) != FALSE;
    if (error != nullptr) {
        VERANTI_LOG_BUS_ERROR("faile to  invoking emit signal(%s %d)", error->message, error->code);
    }
    VERANTI_LOG_BUS("Send Signal [%s] : [%s].", signalName.c_str(), sent ? "success" : "fail");
    return sent;
}

bool TermsDbusServer::SendDbusSyncMessage(std::string destination, const TermsDbusMessage& request,
                                          TermsDbusMessage& reply, int timeout) {
    if (!m_IsConnectionOpen()) {
        VERANTI_LOG_BUS_ERROR("dbus connection is not open");
        return false;
    }
    const std::string path = TermsDbusUtil::GetObjectPath(destination);
    std::string method;
    const Value arguments = Keep(TermsDbusUtil::MakeMsgInputToParams(method, request));
    VERANTI_LOG_BUS("from[%s] to [%s] [%s]", Shown(request.from), destination.c_str(),
                    Shown(request.message));

    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) answer = g_dbus_connection_call_sync(
        m_pConnection, destination.c_str(), path.c_str(), destination.c_str(), method.c_str(),
        arguments.get(), nullptr, G_DBUS_CALL_FLAGS_NONE, timeout, nullptr, &error);
    if (answer == nullptr) {
        if (error != nullptr) {
            VERANTI_LOG_BUS_ERROR("Fail to invoking sync message call(%s %d)", error->message,
                                  error->code);
        }
        VERANTI_LOG_BUS_ERROR("Fail of g_dbus_connection_call_sync");
        return false;
    }
    if (!TermsDbusUtil::MakeParamsToMessage(answer, reply)) {
        VERANTI_LOG_BUS_ERROR("Error, MakeParamsToMessage Fail ");
        return false;
    }
    VERANTI_LOG_BUS("g_dbus_connection_call_sync Success");
    return true;
}

std::string TermsDbusServer::getDbusOrginalName() const {
    return m_strOrginalName;
}

std::string TermsDbusServer::getDbusServiceName() const {
    return m_strServiceName;
}

void TermsDbusServer::m_OnNameAcquired(GDBusConnection* /*connection*/, const char* /*name*/,
                                       void* userData) {
    const auto* server = static_cast<const TermsDbusServer*>(userData);
    VERANTI_LOG_BUS("");
    if (server->m_fnNameAcquired != nullptr) {
        VERANTI_LOG_BUS("start to callback func");
        server->m_fnNameAcquired(server->m_pNameAcquiredData);
    }
}

void TermsDbusServer::m_OnNameLost(GDBusConnection* /*connection*/, const char* /*name*/,
                                   void* userData) {
    const auto* server = static_cast<const TermsDbusServer*>(userData);
    VERANTI_LOG_BUS("");
    if (server->m_fnNameLost != nullptr) {
        VERANTI_LOG_BUS("start to callback func");
        server->m_fnNameLost(server->m_pNameLostData);
    }
}

void TermsDbusServer::m_ObjectCallback(GDBusConnection* connection, const char* /*sender*/,
                                       const char* /*objectPath*/, const char* /*interfaceName*/,
                                       const char* methodName, GVariant* parameters,
                                       GDBusMethodInvocation* invocation, void* userData) {
    // Answering takes the invocation over; without an answer it ends here.
    g_autoptr(GDBusMethodInvocation) unanswered = invocation;
    const auto* server = static_cast<const TermsDbusServer*>(userData);
    VERANTI_LOG_BUS("get message");
    if (parameters == nullptr || server == nullptr) {
        VERANTI_LOG_BUS_ERROR("ERROR, parameters [%p] or dbusServer [%p] is NULL!",
                              static_cast<void*>(parameters), userData);
        return;
    }
    const TermsDbusMessageCallback callback = server->m_fnMessage;
    void* const callbackData = server->m_pMessageData;
    TermsDbusUtil::OwnedMessage request;
    if (!TermsDbusUtil::MakeParamsToMsgInput(methodName, parameters, request)) {
        VERANTI_LOG_BUS_ERROR("Error, MakeParamsToMsgInput fail ");
        return;
    }
    // The callback may close the server. The connection's last reference drops what is not written.
    g_autoptr(GDBusConnection) kept = g_object_ref(connection);
    const unsigned closings = t_nClosings;
    TermsDbusUtil::OwnedMessage reply;
    bool succeeded = true;
    if (callback != nullptr) {
        VERANTI_LOG_BUS("start to callback func");
        succeeded = callback(methodName, &request, &reply, callbackData) != 0;
    }
    g_dbus_method_invocation_return_value(g_steal_pointer(&unanswered),
                                          succeeded
                                              ? TermsDbusUtil::MakeMsgOutputResponseToParams(reply)
                                              : TermsDbusUtil::MakeFailResponseToParams());
    if (succeeded) {
        VERANTI_LOG_BUS("dbus return response");
    }
    if (closings != t_nClosings) {
        AwaitDelivery(kept);
    }
}

GDBusNodeInfo* TermsDbusServer::m_GetInterfaceInfo(const std::string& interfaceName) {
    std::array<char, kDocumentSize> document{};
    std::snprintf(document.data(), document.size(), kInterfaceTemplate, interfaceName.c_str());
    g_autoptr(GError) error = nullptr;
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(document.data(), &error);
    if (node == nullptr) {
        g_autofree char* name = g_dbus_error_encode_gerror(error);
        VERANTI_LOG_BUS_ERROR(
            "g_dbus_node_info_new_for_xml fail, err return %s, detail[message:%s, "
            "code:%d] ",
            name, error->message, error->code);
    }
    return node;
}

bool TermsDbusServer::m_IsConnectionOpen() const {
    return m_pConnection != nullptr && g_dbus_connection_is_closed(m_pConnection) == FALSE;
}
