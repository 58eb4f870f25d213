/// @file
/// The command line of a program: what it takes, its help, and what it says about wrong usage.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
}

/// What a value has to be.
struct Check {
    std::function<std::string(const std::string& value)> fault;  ///< what is wrong, or nothing
    std::string help{};                                          ///< says it beside the value
};
/// A number from @p least to @p most.
Check InRange(int least, int most);
/// A position in a list, from 0 on.
Check NotNegative();

/// Whether an argument has to be given.
enum Need { kOptional, kRequired };

/// An option or a flag, which has dashes in front, or a positional argument.
struct Argument {
    /// Takes all values of an option that may be given several times.
    /// @throws std::invalid_argument saying what is wrong with one.
    using Take = std::function<void(const std::vector<std::string>& values)>;

    std::string name;  ///< and, behind a blank, what the help calls the value
    /// What is filled, and holds the default until then. A bool makes a flag; null a flag that has
    /// only to be there.
    std::variant<std::nullptr_t, bool*, std::string*, int*, unsigned*, std::optional<int>*,
                 std::optional<unsigned>*, Take>
        target;
    std::string help;
    Need need = kOptional;
    Check check{};
};

/// A program or one of its subcommands. What its arguments fill has to live as long.
class Command {
  public:
    /// A program, which takes at most one of its subcommands.
    Command(const std::string& name, const std::string& description);

    /// @param chosen called when the command line has the subcommand; null when it has subcommands
    ///   itself, one of which is required.
    Command AddSubcommand(const std::string& name, const std::string& help,
                          const std::function<void()>& chosen) const;
    /// Adds arguments, in the order of the help.
    void Add(const std::vector<Argument>& arguments) const;
    /// Adds arguments exactly one of which is required.
    void AddChoice(const std::vector<Argument>& arguments) const;

    /// Parses the program's command line and works, or prints the help, the version or what is
    /// wrong.
    /// @param work gives the exit status; it throws std::invalid_argument for wrong usage, and what
    ///   else it throws is shown.
    /// @return the exit status: 2 for wrong usage, 1 for what was thrown or cannot be printed.
    int Run(int argc, char** argv, const std::function<int()>& work) const;

  private:
    explicit Command(std::shared_ptr<CLI::App> app) : m_app(std::move(app)) {}

    std::shared_ptr<CLI::App> m_app;  ///< keeps the whole program's
};
