/// @file
/// What the subcommands of `veranti` are made of.
#pragma once

#include <TermsProtocol.h>
#include <VerantiAPI.h>
#include <json/value.h>

#include <functional>
#include <optional>
#include <string>

#include "CommandLine.h"

/// What the command line gives. Only one subcommand is chosen, so that all share it.
struct Options {
    bool json = false;         ///< print JSON
    bool log = false;          ///< show the library's log
    std::string id;            ///< a term's; empty for all terms
    std::optional<int> index;  ///< a term's or a title's position
    int requester = 0;
    std::string product = kTelevision;
    std::string terms = "all";
    std::string from = "veranti";
    std::string country;
    std::string agreements;  ///< JSON
    std::string source;
    std::string destination;
    bool otherPage = false;
    bool withdraw = false;

    std::string name;  ///< a server's
    std::string signal;
    std::string text;
    std::string file;  ///< whose bytes go with the text
    std::string type = "text";
    unsigned code = 0;
    int timeout = 25000;            ///< milliseconds
    std::optional<unsigned> count;  ///< after how many messages to stop; 0 for never

    EHomeDisclaimerRequester WhoAsks() const {
        return static_cast<EHomeDisclaimerRequester>(requester);
    }
};

/// What came of a request.
struct Answer {
    bool done = false;
    Json::Value json;     ///< for scripts; an object or an array
    std::string text;     ///< for people, when done
    std::string refusal;  ///< for people, when not: what that means and what to do
    std::string warning;  ///< for people, when it is done but not whole
    /// Whether the service had to answer. When it did not, its absence is no excuse.
    bool needsService = true;
};

/// A request that was chosen on the command line and waits to be sent.
using Action = std::function<Answer(CVerantiAPI& client, const Options& given)>;

/// The answer to a request that says yes or no; its JSON is {"result": done}.
Answer Plain(bool done, const std::string& text, const std::string& refusal);

/// The same for one that needs no service.
Answer Local(bool done, const std::string& text, const std::string& refusal);

/// JSON on one line, in valid UTF-8 with every letter as it is and control characters escaped.
std::string JsonLine(const Json::Value& value);

/// Reads JSON text.
/// @return false when the text is not one JSON value and nothing else.
bool ReadJson(const std::string& text, Json::Value& value);

/// Adds subcommands to a command.
struct Subcommands {
    Command command;
    Options& given;  ///< what their options fill
    Action& chosen;  ///< becomes the action of the subcommand that is given

    Command operator()(const std::string& name, const std::string& help, const Action& action,
                       const std::vector<Argument>& arguments = {}) const;
};

/// @name Arguments that several subcommands have
/// @{
Argument Id(Options& given);
Argument Product(Options& given);
Argument Requester(Options& given);
/// @}

/// The plain requests: the service, the country, headers, agreements, clone data.
void AddRequests(const Subcommands& add);

/// Disclaimers with their texts, and what is read from the configuration store.
void AddDisclaimers(const Subcommands& add);

/// The bus server toolkit.
void AddBus(const Subcommands& add);
