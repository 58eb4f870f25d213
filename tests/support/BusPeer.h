// The other end of the bus: a service that does with a call whatever a test wants, also what no
// good one does, or a listener. It is written on GDBus alone, with a connection of its own.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <set>
#include <string>

#include "World.h"

class BusPeer {
  public:
    /// A call that came in. What a script does not answer stays unanswered.
    struct Call {
        GDBusConnection* connection;
        GDBusMessage* message;

        GVariant* Body() const { return g_dbus_message_get_body(message); }
        /// Answers with any value, also one that the interface does not describe.
        void Reply(GVariant* body) const;
        /// Answers with an error whose text is JSON.
        void Refuse() const;
        /// Goes away from the bus.
        void Leave() const;
    };
    /// Does with a call what a test wants; runs on a thread of GDBus's.
    using Script = std::function<void(const Call& call)>;

    /// Owns a name and plays the script for each call that is right in the bus framework's
    /// interface or in the bus server toolkit's. Without a script it listens to the name's signals.
    explicit BusPeer(const std::string& name, Script script = nullptr);
    ~BusPeer();
    BusPeer(const BusPeer&) = delete;
    BusPeer& operator=(const BusPeer&) = delete;

    /// Answers with a value in GVariant's own text form.
    static Script Says(const std::string& value);
    /// Answers with a text, as a service of the bus framework does.
    static Script SaysText(const std::string& text);

    /// Waits for the next call or signal: its path, interface, member and body as text.
    std::string Next();

  private:
    void CallBus(const char* method, GVariant* arguments);
    bool Take(GDBusMessage* message);

    std::string m_name;
    Script m_script;
    std::set<std::string> m_calls;  // path, interface, method and types of what is served
    GAsyncQueue* m_seen = g_async_queue_new_full(g_object_unref);
    Handle<GDBusConnection> m_connection;
};
