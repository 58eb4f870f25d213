#include "TCServer.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

#include "Cancellation.h"
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

/// How long the bus can wait before a time limit is reached; none for as long as it takes.
std::optional<timespec> TimeLeft(sd_bus* bus) {
    using std::chrono::microseconds;
    std::uint64_t due = UINT64_MAX;  // of the clock that steady_clock is
    if (sd_bus_get_timeout(bus, &due) < 0 || due == UINT64_MAX) {
        return std::nullopt;
    }
    const auto now = std::chrono::duration_cast<microseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
    const auto left = std::max(microseconds(due) - now, microseconds::zero());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    return timespec{static_cast<std::time_t>(seconds.count()),
                    static_cast<long>(std::chrono::nanoseconds(left - seconds).count())};
}

/// Waits until the bus has something to do. Not sd_bus_wait(): a thread that is cancelled in there
/// leaves the bus as nobody expects it.
/// @return 0, or a negative error number.
int Wait(sd_bus* bus) {
    const int events = sd_bus_get_events(bus);
    pollfd socket{sd_bus_get_fd(bus), static_cast<short>(events), 0};
    if (events < 0 || socket.fd < 0) {
        return std::min(events, socket.fd);
    }
    const std::optional<timespec> left = TimeLeft(bus);
    const Cancellation::CRelease whileItWaits;
    return ppoll(&socket, 1, left ? &*left : nullptr, nullptr) < 0 ? -errno : 0;
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
            r = Wait(bus);
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
    const Cancellation::CHold hold;
    return m_pBus != nullptr || sd_bus_open_system_with_description(&m_pBus, m_Name.c_str()) >= 0;
}

bool TCServer::SendMessage(const char* destination, const TCMessage* request, bool synchronous,
                           TCMessage* reply, int timeLimit) {
    const Cancellation::CHold hold;
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
    const Cancellation::CHold hold;
    if (m_pBus == nullptr) {
        return false;
    }
    m_pBus = sd_bus_close_unref(m_pBus);
    return true;
}

}  // namespace Corvane
