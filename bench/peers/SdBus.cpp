#include <systemd/sd-bus.h>

#include <cstring>
#include <thread>

#include "../Interleaved.h"
#include "Peers.h"

namespace {

constexpr char kName[] = "com.example.SdBus";
constexpr char kPath[] = "/com/example/SdBus";
constexpr char kStop[] = "Stop";

struct Release {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, Release>;
using Message = std::unique_ptr<sd_bus_message, Release>;

void Good(int result) {
    Check(result >= 0, "sd-bus: an error");
}

Bus Open() {
    sd_bus* bus = nullptr;
    Good(sd_bus_open_system(&bus));
    return Bus(bus);
}

void ProcessOrWait(sd_bus* bus) {
    const int done = sd_bus_process(bus, nullptr);
    Good(done != 0 ? done : sd_bus_wait(bus, UINT64_MAX));
}

/// On a connection that opens, this waits for the answer to the greeting before it sends the call.
Message Call(sd_bus* bus, const Message& call) {
    sd_bus_message* reply = nullptr;
    Good(sd_bus_call(bus, call.get(), UINT64_MAX, nullptr, &reply));
    return Message(reply);
}

/// And this sends the call behind the greeting.
Message CallQueued(sd_bus* bus, const Message& call) {
    Message reply;
    const auto keep = [](sd_bus_message* message, void* kept, sd_bus_error* /*error*/) {
        static_cast<Message*>(kept)->reset(sd_bus_message_ref(message));
        return 1;
    };
    Good(sd_bus_call_async(bus, nullptr, call.get(), keep, &reply, UINT64_MAX));
    while (!reply) {
        ProcessOrWait(bus);
    }
    Good(-sd_bus_message_get_errno(reply.get()));
    return reply;
}

std::string Ask(const std::string& request, Message (*send)(sd_bus* bus, const Message& call)) {
    const Bus bus = Open();
    sd_bus_message* call = nullptr;
    Good(sd_bus_message_new_method_call(bus.get(), &call, Terms::kName, Terms::kPath,
                                        Terms::kInterface, Terms::kMethod));
    const Message owned(call);
    Good(sd_bus_message_append(call, "ss", "", request.c_str()));
    const Message reply = send(bus.get(), owned);
    const char* text = nullptr;
    Good(sd_bus_message_read(reply.get(), "s", &text));
    return text;
}

void AppendBytes(sd_bus_message* message, const Bytes& bytes) {
    Good(sd_bus_message_open_container(message, 'a', "(y)"));
    for (const std::uint8_t byte : bytes) {
        Good(sd_bus_message_append(message, "(y)", byte));
    }
    Good(sd_bus_message_close_container(message));
}

Bytes ReadBytes(sd_bus_message* message) {
    Bytes bytes;
    Good(sd_bus_message_enter_container(message, 'a', "(y)"));
    std::uint8_t byte = 0;
    while (sd_bus_message_read(message, "(y)", &byte) > 0) {
        bytes.push_back(byte);
    }
    Good(sd_bus_message_exit_container(message));
    return bytes;
}

int Answer(sd_bus_message* call, void* stopped, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_call(call, nullptr, kStop) > 0) {
        *static_cast<bool*>(stopped) = true;
        return 1;
    }
    const char* from = nullptr;
    const char* type = nullptr;
    const char* text = nullptr;
    std::uint32_t code = 0;
    Good(sd_bus_message_read(call, "suss", &from, &code, &type, &text));
    const bool plain = std::strcmp(sd_bus_message_get_member(call), kPlainMethod) == 0;
    sd_bus_message* reply = nullptr;
    Good(sd_bus_message_new_method_return(call, &reply));
    const Message owned(reply);
    Good(sd_bus_message_append(reply, "suss", from, code, type, text));
    AppendBytes(reply, plain ? kNoBytes : ReadBytes(call));
    return sd_bus_send(nullptr, reply, nullptr);
}

class SdBusEcho : public Echo {
  public:
    SdBusEcho() {
        Good(sd_bus_add_object(m_server.get(), nullptr, kPath, Answer, &m_stopped));
        Good(sd_bus_request_name(m_server.get(), kName, 0));
        m_thread = std::thread([this] {
            while (!m_stopped) {
                ProcessOrWait(m_server.get());
            }
        });
    }
    ~SdBusEcho() override {
        sd_bus_call_method_async(m_caller.get(), nullptr, kName, kPath, kName, kStop, nullptr,
                                 nullptr, "");
        sd_bus_flush(m_caller.get());
        m_thread.join();
    }
    Bytes Call(const Bytes& bytes) override {
        sd_bus_message* call = nullptr;
        Good(sd_bus_message_new_method_call(m_caller.get(), &call, kName, kPath, kName,
                                            bytes.empty() ? kPlainMethod : kBufferMethod));
        const Message owned(call);
        Good(sd_bus_message_append(call, "suss", Greeting::kFrom, Greeting::kCode, Greeting::kType,
                                   Greeting::kText));
        if (!bytes.empty()) {
            AppendBytes(call, bytes);
        }
        const Message reply = ::Call(m_caller.get(), owned);
        Good(sd_bus_message_skip(reply.get(), "suss"));
        return ReadBytes(reply.get());
    }

  private:
    const Bus m_server = Open();
    const Bus m_caller = Open();
    bool m_stopped = false;  // read and written by the thread alone
    std::thread m_thread;
};

}  // namespace

const Peer kSdBus = {"sd-bus", [](const std::string& request) { return Ask(request, Call); },
                     []() -> std::unique_ptr<Echo> { return std::make_unique<SdBusEcho>(); }};
const Peer kSdBusQueued = {
    "sd-bus, queued", [](const std::string& request) { return Ask(request, CallQueued); }, nullptr};
