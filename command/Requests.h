/// @file
/// The subcommands of `veranti`: one for each request of the client.
#pragma once

#include <json/value.h>

#include <CLI/App.hpp>
#include <functional>
#include <string>

#include "VerantiAPI.h"

/// What came of a request.
struct Answer {
    bool done = false;
    Json::Value json;     ///< for scripts; an object
    std::string text;     ///< for people, when done
    std::string refusal;  ///< for people, when the service said no: why that may be
};

/// A request that was chosen on the command line and waits to be sent.
using Action = std::function<Answer(CVerantiAPI& client)>;

/// JSON on one line, with every letter as it is.
std::string JsonLine(const Json::Value& value);

/// Adds every subcommand to the application.
/// @param[out] chosen receives the action of the subcommand that is parsed.
void AddRequests(CLI::App& app, Action& chosen);
