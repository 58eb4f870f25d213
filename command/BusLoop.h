/// @file
/// The process's main loop.
#pragma once

#include <gio/gio.h>
#include <glib-unix.h>

#include <csignal>

/// A loop that ends with SIGINT, SIGTERM, the bus or enough messages.
class BusLoop {
  public:
    /// @param count after how many messages to end; 0 for never.
    explicit BusLoop(unsigned count = 0) : m_left(count) {
        m_connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
        if (m_connection != nullptr) {
            g_dbus_connection_set_exit_on_close(m_connection, FALSE);
            m_closed = g_signal_connect_swapped(m_connection, "closed",
                                                G_CALLBACK(&BusLoop::OnClosed), this);
        }
    }
    ~BusLoop() {
        g_source_remove(m_interrupted);
        g_source_remove(m_terminated);
        if (m_connection != nullptr) {
            g_signal_handler_disconnect(m_connection, m_closed);
            g_object_unref(m_connection);
        }
        g_main_loop_unref(m_loop);
    }
    BusLoop(const BusLoop&) = delete;
    BusLoop& operator=(const BusLoop&) = delete;

    /// The system bus; null when there is none.
    GDBusConnection* Connection() const { return m_connection; }
    /// @return false when the bus ended it.
    bool Run() {
        g_main_loop_run(m_loop);
        return !m_busIsGone;
    }
    void Quit() { g_main_loop_quit(m_loop); }
    /// Notes that a message was handled.
    void Count() {
        if (m_left > 0 && --m_left == 0) {
            Quit();
        }
    }

  private:
    static gboolean OnSignal(void* loop) {
        static_cast<BusLoop*>(loop)->Quit();
        return G_SOURCE_CONTINUE;
    }
    static void OnClosed(BusLoop* loop) {
        loop->m_busIsGone = true;
        loop->Quit();
    }

    GMainLoop* m_loop = g_main_loop_new(nullptr, FALSE);
    GDBusConnection* m_connection = nullptr;
    unsigned long m_closed = 0;
    unsigned m_interrupted = g_unix_signal_add(SIGINT, &BusLoop::OnSignal, this);
    unsigned m_terminated = g_unix_signal_add(SIGTERM, &BusLoop::OnSignal, this);
    unsigned m_left;
    bool m_busIsGone = false;
};
