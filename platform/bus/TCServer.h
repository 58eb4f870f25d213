/// @file
/// An endpoint of the bus framework.
#pragma once

#include <string>

#include "TCMessage.h"

struct sd_bus;

#pragma GCC visibility push(default)

namespace Corvane {

/// A client of the system message bus with a connection of its own.
///
/// The system bus is the one of DBUS_SYSTEM_BUS_ADDRESS, else the machine's. A message travels as a
/// call of the method "Exchange" (protocol text and JSON text in, JSON text out) of the interface
/// "com.corvane.Message1" at the path that is made of the destination's name: "/" in front, each
/// "." a "/".
///
/// The JSON text of a request is compact and in ASCII: other characters are "\u" escapes, and bytes
/// that are no UTF-8 are U+FFFD. That of a reply may be written in any way but holds one value: no
/// comments, no comma behind a last element, nothing behind the value, and at most 100 levels:
/// what is in an array or object is one level deeper than it. Everything else counts as no reply.
///
/// An endpoint may be handed from thread to thread but is used by one at a time; different
/// endpoints do not know of each other.
///
/// A thread that waits for a reply can be cancelled there, and nowhere else in here.
class TCServer {
  public:
    enum TCServerType {
        /// A client that connects to the bus by itself.
        TC_SERVER_CLIENT = 2,
    };

    /// Makes an endpoint that is not connected.
    /// @param name a name for people, not a bus name; shown by the bus's own tools.
    /// @param type what the endpoint is; only clients exist on this host.
    TCServer(std::string name, TCServerType type);

    /// Closes the connection if it is open.
    virtual ~TCServer();

    TCServer(const TCServer&) = delete;
    TCServer& operator=(const TCServer&) = delete;

    /// Connects to the system bus.
    /// @return true when the connection is open, also when it was before.
    bool CreateDBusProxy();

    /// Sends a message.
    /// @param destination the bus name of the receiver.
    /// @param request what to send.
    /// @param synchronous whether to wait for the reply.
    /// @param[out] reply receives the reply; untouched when the result is false. May be null.
    /// @param timeLimit how long to wait for the reply, in milliseconds; -1 for ever.
    /// @return synchronous: true when a reply came whose text is JSON; false at once when there is
    ///   no connection or no receiver, when the receiver answers with an error or with something
    ///   else than JSON, or when it goes away. Otherwise: true when the bus took the message.
    bool SendMessage(const char* destination, const TCMessage* request, bool synchronous,
                     TCMessage* reply, int timeLimit);

    /// Closes the connection.
    /// @return true when it was open.
    bool CloseDBusProxy();

  private:
    std::string m_Name;
    sd_bus* m_pBus = nullptr;
};

}  // namespace Corvane

#pragma GCC visibility pop
