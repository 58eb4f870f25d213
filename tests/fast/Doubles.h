// Recording doubles in the place of the platform's three libraries. The test program's own
// definitions stand in front of the libraries', so it is the shipped library that is tested.
#pragma once

#include <json/value.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

/// Lines, or runs of lines, one below the other; empty ones are left out.
std::string Journal(const Lines& lines);

/// What the doubles answer with, and what they saw.
struct PlatformDouble {
    bool proxyOpens = true;
    /// Plays the service: the result of the send, and the reply.
    std::function<bool(const Json::Value& request, Json::Value& reply)> service;
    /// The configuration store's texts by key; what is not here cannot be read.
    std::map<std::string, std::string> store;
    /// Every call of the platform, in order. A log line is "LOOK FILE FUNCTION: MESSAGE", and a
    /// message that ends a part with the line's own number, as in ":12]", has ":LINE]" there.
    Lines journal;

    /// Forgets everything and answers as a platform without a service.
    void Reset();
    /// The journal since the last call, as Journal() joins it.
    std::string TakeJournal();
    /// How often the journal has a line.
    long Count(const std::string& line) const;
    /// Waits until another thread's work has put a line into the journal.
    /// @throws std::runtime_error with the journal when it does not come.
    void WaitFor(const std::string& line) const;
};

PlatformDouble& ThePlatform();

/// Plays a service that answers each request with a JSON text but the availability check well. With
/// a text that is no JSON it is down.
void Serve(const std::string& answer);
