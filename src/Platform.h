// The seam to the platform: the only file of the library that names the headers of the store and
// the bus framework and the details that are the framework's own. To build against another
// platform, give its header folders to the build and, where its framework spells a member
// differently, change it here. (The log is one function, declared where it is used: Log.h.)
#pragma once

#include <TCMessage.h>
#include <TCServer.h>
#include <vconf.h>

namespace Platform {

/// The name and the kind that the framework wants of a client that connects by itself. Only the
/// value of the kind is part of the framework's interface.
constexpr char kClientName[] = "CAutoConnect";
constexpr auto kClientType = static_cast<Corvane::TCServer::TCServerType>(2);

/// The time limit that makes the framework wait for as long as the service takes.
constexpr int kNoTimeLimit = -1;

/// The JSON body of a framework message.
inline Json::Value& JsonBody(Corvane::TCMessage& message) {
    return message.m_JsonBody;
}

}  // namespace Platform
