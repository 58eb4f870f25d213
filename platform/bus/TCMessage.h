/// @file
/// A message of the bus framework.
#pragma once

#include <json/value.h>

#include <string>

#pragma GCC visibility push(default)

namespace Corvane {

/// What TCServer sends and receives: a JSON body and the name of the protocol it belongs to.
/// A plain value; it may be used by one thread at a time.
class TCMessage {
  public:
    /// A message with a null body and an empty protocol text.
    TCMessage();
    ~TCMessage();
    TCMessage(const TCMessage&) = default;
    TCMessage& operator=(const TCMessage&) = default;

    /// Sent as JSON text; in a reply, what was received.
    Json::Value m_JsonBody;
    /// Sent beside the body as it is.
    std::string m_Protocol;
};

}  // namespace Corvane

#pragma GCC visibility pop
