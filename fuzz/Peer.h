// A message bus for one thread. It stands where the framework opens its connection: that gets a
// socket at whose other end the bus has already said all that it ever says, and has closed its
// side. All of the framework reads it, and so does all of libsystemd; nothing can wait for ever.
#pragma once

#include <string>
#include <vector>

namespace Peer {

/// What the bus says behind the authentication to one connection after the other, and no more to
/// later ones. After kMostConnections it fails as if memory had run out: no list of a lying
/// service's length takes longer.
void Say(std::vector<std::string> streams);
constexpr std::size_t kMostConnections = 24;

/// The reply to the bus's greeting, which every connection's first call is.
std::string Greeting();
/// The reply with a text to a connection's second call, its own first.
std::string Reply(const std::string& text);

/// What each of the connections since Say() wrote. A connection that is still open ends the run.
std::vector<std::string> TakeWritten();

}  // namespace Peer
