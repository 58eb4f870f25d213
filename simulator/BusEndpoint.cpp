#include "BusEndpoint.h"

#include <systemd/sd-bus-vtable.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "Escape.h"

namespace {

namespace Wire = Corvane::Wire;

std::string BusAddress() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address != nullptr ? address : "the machine's system bus";
}

void Connect(Wire::BusHandle& bus) {
    sd_bus* opened = nullptr;
    const int r = sd_bus_open_system_with_description(&opened, "veranti-simulator");
    bus.reset(opened);
    if (r < 0) {
        throw BusError("No message bus at " + BusAddress() + ": " + std::strerror(-r) +
                       ". Start one, or set DBUS_SYSTEM_BUS_ADDRESS to the address of yours.");
    }
}

void TakeName(sd_bus* bus, const std::string& name) {
    const int r = sd_bus_request_name(bus, name.c_str(), 0);
    if (r == -EEXIST) {
        throw BusError("The name \"" + name + "\" is taken on " + BusAddress() +
                       ": stop the terms service that has it, or use another bus.");
    }
    if (r < 0) {
        throw BusError("The bus does not give the name \"" + name + "\": " + std::strerror(-r) +
                       ". Use a bus whose policy lets this user own it.");
    }
}

/// A reply that waits for its time.
struct DelayedReply {
    Wire::MessageHandle call;
    std::string text;
};

int SendDelayed(sd_event_source* timer, std::uint64_t /*now*/, void* userdata) {
    const auto* const reply = static_cast<const DelayedReply*>(userdata);
    const int r =
        sd_bus_reply_method_return(reply->call.get(), Wire::kReplyTypes, reply->text.c_str());
    sd_event_source_set_floating(timer, 0);  // ends the timer, and the reply with it
    return r;
}

int ReplyLater(sd_event* loop, sd_bus_message* call, const Response& response) {
    using std::chrono::microseconds;
    const microseconds delay = response.delay;
    sd_event_source* timer = nullptr;
    auto reply = std::make_unique<DelayedReply>(
        DelayedReply{Wire::MessageHandle(sd_bus_message_ref(call)), *response.text});
    int r = sd_event_add_time_relative(loop, &timer, CLOCK_MONOTONIC,
                                       static_cast<std::uint64_t>(delay.count()), 1, SendDelayed,
                                       reply.get());
    if (r < 0) {
        return r;
    }
    sd_event_source_set_destroy_callback(
        timer, [](void* userdata) { delete static_cast<DelayedReply*>(userdata); });
    static_cast<void>(reply.release());  // the timer's now
    r = sd_event_source_set_floating(timer, 1);
    sd_event_source_unref(timer);
    return r;
}

}  // namespace

BusEndpoint::BusEndpoint(sd_event* loop, const std::string& name, Handler handler)
    : m_loop(loop), m_handler(std::move(handler)) {
    static const sd_bus_vtable kMethods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(Wire::kMethod, Wire::kRequestTypes, Wire::kReplyTypes, OnCall,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    Connect(m_bus);
    const std::string path = Wire::ObjectPath(name);
    int r = sd_bus_add_object_vtable(m_bus.get(), nullptr, path.c_str(), Wire::kInterface,
                                     static_cast<const sd_bus_vtable*>(kMethods), this);
    if (r >= 0) {
        r = sd_bus_attach_event(m_bus.get(), m_loop, SD_EVENT_PRIORITY_NORMAL);
    }
    if (r >= 0) {
        r = sd_bus_set_exit_on_disconnect(m_bus.get(), 1);
    }
    if (r < 0) {
        throw BusError(std::string("Cannot serve on the bus: ") + std::strerror(-r) +
                       ". Start the simulator again.");
    }
    TakeName(m_bus.get(), name);
}

int BusEndpoint::OnCall(sd_bus_message* call, void* userdata, sd_bus_error* /*error*/) {
    try {
        return static_cast<const BusEndpoint*>(userdata)->Answer(call);
    } catch (const std::exception& error) {
        std::cerr << Escaped(error.what()) << std::endl;
        return -EIO;  // the caller gets an error; the service goes on
    }
}

int BusEndpoint::Answer(sd_bus_message* call) const {
    const char* protocol = nullptr;
    const char* text = nullptr;
    const int r = sd_bus_message_read(call, Wire::kRequestTypes, &protocol, &text);
    if (r < 0) {
        return r;
    }
    const Response response = m_handler(protocol, text);
    if (!response.text) {
        return 1;
    }
    if (response.delay.count() > 0) {
        return ReplyLater(m_loop, call, response);
    }
    return sd_bus_reply_method_return(call, Wire::kReplyTypes, response.text->c_str());
}
