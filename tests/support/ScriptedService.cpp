#include "ScriptedService.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

namespace {

void Check(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(what);
    }
}

}  // namespace

ScriptedService::ScriptedService(const std::string& name, Script script)
    : m_script(std::move(script)), m_stop(eventfd(0, EFD_CLOEXEC)) {
    sd_bus* bus = nullptr;
    Check(sd_bus_open_system(&bus), "no bus");
    m_bus.reset(bus);
    const std::string path = Corvane::Wire::ObjectPath(name);
    Check(sd_bus_add_object(bus, nullptr, path.c_str(), OnMessage, this), "no object");
    Check(sd_bus_request_name(bus, name.c_str(), 0), "no name");
    m_thread = std::thread([this] { Run(); });
}

ScriptedService::~ScriptedService() {
    const std::uint64_t one = 1;
    if (write(m_stop, &one, sizeof one) == sizeof one) {
        m_thread.join();
    }
    close(m_stop);
}

ScriptedService::Script ScriptedService::Says(const std::string& text) {
    return [text](sd_bus_message* call, const std::string&, const std::string&) {
        sd_bus_reply_method_return(call, Corvane::Wire::kReplyTypes, text.c_str());
    };
}

int ScriptedService::OnMessage(sd_bus_message* call, void* userdata, sd_bus_error* /*error*/) {
    namespace Wire = Corvane::Wire;
    const char* protocol = nullptr;
    const char* text = nullptr;
    if (sd_bus_message_is_method_call(call, Wire::kInterface, Wire::kMethod) <= 0 ||
        sd_bus_message_read(call, Wire::kRequestTypes, &protocol, &text) < 0) {
        return 0;
    }
    static_cast<ScriptedService*>(userdata)->m_script(call, protocol, text);
    return 1;
}

void ScriptedService::Run() {
    pollfd waits[] = {{m_stop, POLLIN, 0}, {sd_bus_get_fd(m_bus.get()), POLLIN, 0}};
    while ((waits[0].revents & POLLIN) == 0) {
        int r = 0;
        do {
            r = sd_bus_process(m_bus.get(), nullptr);
        } while (r > 0);
        if (r == 0) {
            sd_bus_flush(m_bus.get());
        }
        // A script may have closed the connection; then only the end is waited for.
        waits[1].fd = r < 0 ? -1 : waits[1].fd;
        poll(waits, 2, -1);
    }
}
