// The other end of the bus server toolkit, written on GDBus alone, with a connection and a thread
// of its own.
#pragma once

#include <functional>
#include <future>
#include <string>
#include <thread>

#include "World.h"

class BusPeer {
  public:
    /// Does with a call what a test wants; runs on the peer's thread and takes the invocation over.
    using Script = std::function<void(GDBusMethodInvocation* invocation, GVariant* arguments)>;

    /// Owns a name and answers calls of its interface.
    BusPeer(const std::string& name, Script script);
    /// Listens to the signals of a name.
    explicit BusPeer(const std::string& sender);
    ~BusPeer();
    BusPeer(const BusPeer&) = delete;
    BusPeer& operator=(const BusPeer&) = delete;

    /// Answers with any value, also one that the interface does not describe.
    static void Reply(GDBusMethodInvocation* invocation, GVariant* value);

    /// Waits for the first signal: its path, interface, name and body as text.
    std::string FirstSignal() { return m_signal.get_future().get(); }

  private:
    void Run(const std::string& name, std::promise<void>& ready);
    void Serve(const std::string& name);
    void Listen(const std::string& sender);

    Script m_script;
    std::promise<std::string> m_signal;
    GMainContext* m_context = g_main_context_new();
    GMainLoop* m_loop = g_main_loop_new(m_context, FALSE);
    GDBusConnection* m_connection = nullptr;
    std::thread m_thread;
};
