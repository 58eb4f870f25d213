// A service on the bus that does with a call whatever a test wants, also what no good service does.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "Wire.h"

class ScriptedService {
  public:
    /// Answers a call of the message interface; runs on the service's thread. What it does not
    /// answer stays unanswered.
    using Script = std::function<void(sd_bus_message* call, const std::string& protocol,
                                      const std::string& text)>;

    /// Takes the name and serves until it is destroyed.
    ScriptedService(const std::string& name, Script script);
    ~ScriptedService();
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;

    /// A script that answers every call with a text.
    static Script Says(const std::string& text);

  private:
    static int OnMessage(sd_bus_message* call, void* userdata, sd_bus_error* error);
    void Run();

    Script m_script;
    Corvane::Wire::BusHandle m_bus;
    int m_stop;  // an event that ends the thread
    std::thread m_thread;
};
