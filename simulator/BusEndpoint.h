/// @file
/// The simulator's place on the message bus.
#pragma once

#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Wire.h"

/// The bus cannot be reached, or does not give the name; says in one sentence what to do.
class BusError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What to send for a request, and when.
struct Response {
    std::optional<std::string> text;  ///< nothing is ever sent when there is none
    std::chrono::milliseconds delay{0};
};

/// Owns a bus name and answers the method calls that arrive for it.
class BusEndpoint {
  public:
    using Handler = std::function<Response(std::string_view protocol, std::string_view text)>;

    /// Connects to the system bus and takes the name. Calls arrive while the loop runs; the loop
    /// ends with a failure when the bus goes away.
    /// @throws BusError
    BusEndpoint(sd_event* loop, const std::string& name, Handler handler);

  private:
    static int OnCall(sd_bus_message* call, void* userdata, sd_bus_error* error);
    int Answer(sd_bus_message* call) const;

    sd_event* m_loop;
    Handler m_handler;
    Corvane::Wire::BusHandle m_bus;
};
