// The seam to the platform: what the library takes of the store and the bus framework, and the
// details that are the framework's own. To build against another platform, give its header folders
// to the build and, where its messages spell a member differently, change it here; the framework's
// calls are in TermsExchange.cpp. (The log is one function, declared where it is used: Log.h.)
#pragma once

#include <TCMessage.h>
#include <TCServer.h>
#include <vconf.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

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

/// The protocol that a framework message belongs to.
inline std::string& Protocol(Corvane::TCMessage& message) {
    return message.m_Protocol;
}

/// The text of a key of the configuration store, or nothing when it cannot be read.
inline std::optional<std::string> StoredText(const char* key) {
    const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), &std::free);
    return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

}  // namespace Platform
