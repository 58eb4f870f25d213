#include "TCServer.h"

#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

#include "Wire.h"

namespace Corvane {

namespace {

using Wire::MessageHandle;

MessageHandle NewCall(sd_bus* bus, const char* destination, const TCMessage& request) {
    const std::string path = Wire::ObjectPath(destination);
    const std::string text = Wire::ToText(request.m_JsonBody);
    sd_bus_message* call = nullptr;
    int r = sd_bus_message_new_method_call(bus, &call, destination, path.c_str(), Wire::kInterface,
                                           Wire::kMethod);
    MessageHandle handle(call);
    if (r >= 0) {
        r = sd_bus_message_append(call, Wire::kRequestTypes, request.m_Protocol.c_str(),
                                  text.c_str());
    }
    return r >= 0 ? std::move(handle) : nullptr;
}

/// The bus's own unit, with 0 as no limit at all rather than its default.
std::uint64_t Microseconds(int milliseconds) {
    if (milliseconds < 0) {
        return UINT64_MAX;
    }
    return milliseconds == 0 ? 1 : static_cast<std::uint64_t>(milliseconds) * 1000;
}

int TakeReply(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/) {
    static_cast<MessageHandle*>(userdata)->reset(sd_bus_message_ref(message));
    return 1;
}

/// Waits for the reply to a call. Not sd_bus_call(), which gives up when a signal interrupts its
/// wait: applications with a garbage collector send themselves signals all the time.
MessageHandle Call(sd_bus* bus, sd_bus_message* call, int timeLimit) {
    MessageHandle reply;
    sd_bus_slot* pending = nullptr;
    if (sd_bus_call_async(bus, &pending, call, TakeReply, &reply, Microseconds(timeLimit)) < 0) {
        return nullptr;
    }
    const Wire::SlotHandle forgetWhenDone(pending);
    while (!reply) {
        int r = sd_bus_process(bus, nullptr);
        if (r == 0) {
            r = sd_bus_wait(bus, UINT64_MAX);
        }
        if (r < 0 && r != -EINTR) {
            break;
        }
    }
    return reply;
}

/// Hands a call over to the bus; sent without a cookie, it says that it wants no reply.
bool Post(sd_bus* bus, sd_bus_message* call) {
    int r = sd_bus_send(bus, call, nullptr);
    while (r >= 0 || r == -EINTR) {
        r = sd_bus_flush(bus);
        if (r >= 0) {
            return true;
        }
    }
    return false;
}

/// The JSON value of a reply; none when the reply is an error or not JSON text.
std::optional<Json::Value> ReadReply(sd_bus_message* reply) {
    const char* text = nullptr;
    Json::Value body;
    if (sd_bus_message_is_method_error(reply, nullptr) != 0 ||
        sd_bus_message_has_signature(reply, Wire::kReplyTypes) == 0 ||
        sd_bus_message_read(reply, Wire::kReplyTypes, &text) < 0 || !Wire::FromText(text, body)) {
        return std::nullopt;
    }
    return body;
}

}  // namespace

TCServer::TCServer(std::string name, TCServerType /*type*/) : m_Name(std::move(name)) {}

TCServer::~TCServer() {
    CloseDBusProxy();
}

bool TCServer::CreateDBusProxy() {
    return m_pBus != nullptr || sd_bus_open_system_with_description(&m_pBus, m_Name.c_str()) >= 0;
}

bool TCServer::SendMessage(const char* destination, const TCMessage* request, bool synchronous,
                           TCMessage* reply, int timeLimit) {
    if (m_pBus == nullptr || destination == nullptr || request == nullptr) {
        return false;
    }
    const MessageHandle call = NewCall(m_pBus, destination, *request);
    if (!call) {
        return false;
    }
    if (!synchronous) {
        return Post(m_pBus, call.get());
    }
    const MessageHandle answer = Call(m_pBus, call.get(), timeLimit);
    std::optional<Json::Value> body = answer ? ReadReply(answer.get()) : std::nullopt;
    if (body && reply != nullptr) {
        reply->m_JsonBody.swap(*body);
    }
    return body.has_value();
}

bool TCServer::CloseDBusProxy() {
    if (m_pBus == nullptr) {
        return false;
    }
    m_pBus = sd_bus_close_unref(m_pBus);
    return true;
}

}  // namespace Corvane
