// Recording doubles in the place of the platform's three libraries. The test program's own
// definitions stand in front of the libraries', so it is the shipped library that is tested.
#pragma once

#include <json/value.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

/// What the doubles answer with, and what they saw.
struct PlatformDouble {
    bool proxyOpens = true;
    /// Plays the service: the result of the send, and the reply.
    std::function<bool(const Json::Value& request, Json::Value& reply)> service;
    /// The configuration store's texts by key; what is not here cannot be read.
    std::map<std::string, std::string> store;
    /// Every call of the platform, in order.
    Lines journal;

    /// Forgets everything and answers as a platform without a service.
    void Reset();
    /// The journal's log lines without "log " and without those of the availability check.
    Lines Logs() const;
    /// How often the journal has a line.
    long Count(const std::string& line) const;
    /// Waits until another thread's work has put a line into the journal.
    void WaitFor(const std::string& line) const;
};

PlatformDouble& ThePlatform();

/// The journal's line for a log line of the client's. A message that ends a part with the line's
/// own number, as in ":12]", has ":LINE]" there.
std::string LogLine(const std::string& look, const std::string& function,
                    const std::string& message);

/// Plays a service that answers each request's "method" (or "request_type") with a JSON text, and
/// what it does not know not at all. The availability check is always answered well.
void ServeReplies(const std::map<std::string, std::string>& replies);
