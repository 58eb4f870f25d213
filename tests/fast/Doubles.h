// Recording doubles in the place of the platform's three libraries. The test program's own
// definitions stand in front of the libraries', so it is the shipped library that is tested.
#pragma once

#include <json/value.h>

#include <functional>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

/// What the doubles answer with, and what they saw.
struct PlatformDouble {
    bool proxyOpens = true;
    /// Plays the service: the result of the send, and the reply.
    std::function<bool(const Json::Value& request, Json::Value& reply)> service;
    /// Every call of the platform, in order.
    Lines journal;
};

PlatformDouble& ThePlatform();

/// The journal's line for a log line of the client's.
std::string LogLine(const std::string& look, const std::string& function,
                    const std::string& message);
