/// @file
/// What the subcommands of `veranti` are made of.
#pragma once

#include <json/value.h>

#include <CLI/App.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "VerantiAPI.h"

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
using Action = std::function<Answer(CVerantiAPI& client)>;

/// The answer to a request that says yes or no; its JSON is {"result": done}.
Answer Plain(bool done, const std::string& text, const std::string& refusal);

/// JSON on one line, in valid UTF-8 with every letter as it is.
std::string JsonLine(const Json::Value& value);

/// Reads JSON text.
/// @return false when the text is not one JSON value and nothing else.
bool ReadJson(const std::string& text, Json::Value& value);

/// Adds subcommands to the application.
class Registrar {
  public:
    /// @param[out] chosen receives the action of the subcommand that is parsed.
    Registrar(CLI::App& app, Action& chosen) : m_app(app), m_chosen(chosen) {}

    /// Adds a subcommand whose action is taken when it is parsed.
    CLI::App* Add(const std::string& name, const std::string& help, const Action& action);

  private:
    CLI::App& m_app;
    Action& m_chosen;
};

/// A value that an option fills and an action reads; it lives as long as one of them.
template <typename Value>
std::shared_ptr<Value> Argument(Value initial = {}) {
    return std::make_shared<Value>(std::move(initial));
}

/// @name Options that several subcommands have
/// @{
void AddRequired(CLI::App* command, const std::string& name, const std::string& help,
                 const std::shared_ptr<std::string>& value);
void AddProduct(CLI::App* command, const std::shared_ptr<std::string>& product);
void AddRequester(CLI::App* command, const std::shared_ptr<int>& requester);
/// @}

/// The plain requests: the service, the country, headers, agreements, clone data.
void AddRequests(Registrar& requests);

/// Disclaimers with their texts, and what is read from the configuration store.
void AddDisclaimers(Registrar& requests);

/// The bus server toolkit.
/// @param asJson read when the action runs: whether to print JSON meanwhile.
void AddBus(CLI::App& app, Action& chosen, const bool& asJson);
