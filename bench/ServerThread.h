// A main loop on a thread of its own, with what a function starts there.
#pragma once

#include <glib.h>

#include <functional>
#include <future>
#include <thread>

class ServerThread {
  public:
    ServerThread(const std::function<void()>& start, const std::function<void()>& stop) {
        std::promise<void> ready;
        m_thread = std::thread([this, &start, stop, &ready] {
            g_main_context_push_thread_default(m_context);
            start();
            ready.set_value();
            g_main_loop_run(m_loop);
            stop();
            g_main_context_pop_thread_default(m_context);
        });
        ready.get_future().wait();
    }
    ~ServerThread() {
        g_main_loop_quit(m_loop);
        m_thread.join();
        g_main_loop_unref(m_loop);
        g_main_context_unref(m_context);
    }
    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;

  private:
    GMainContext* m_context = g_main_context_new();
    GMainLoop* m_loop = g_main_loop_new(m_context, FALSE);
    std::thread m_thread;
};
