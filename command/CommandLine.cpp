// The only source that includes CLI11, which takes long to compile.
#include "CommandLine.h"

#include <Escape.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <limits>
#include <sstream>

#include "Output.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

Check ToCheck(const CLI::Validator& validator) {
    return {validator, validator.get_description()};
}

/// Adds an argument by the kind of its target.
struct Adding {
    CLI::App& app;
    std::string name;
    std::string help;

    CLI::Option* operator()(std::nullptr_t) const { return app.add_flag(name, help); }
    CLI::Option* operator()(bool* flag) const { return app.add_flag(name, *flag, help); }
    CLI::Option* operator()(const Argument::Take& take) const {
        return app.add_option_function(name, take, help)->expected(1)->take_all();
    }
    template <typename Value>
    CLI::Option* operator()(Value* value) const {
        return app.add_option(name, *value, help);
    }
};

}  // namespace

Check InRange(int least, int most) {
    return ToCheck(CLI::Range(least, most));
}

Check NotNegative() {
    constexpr int kMost = std::numeric_limits<int>::max();
    const auto fault = [](const std::string& value) {
        int number = -1;
        return CLI::detail::lexical_cast(value, number) && number >= 0
                   ? ""
                   : '"' + value + "\" is no position: give a whole number from 0 to " +
                         std::to_string(kMost) + '.';
    };
    return {fault, CLI::NonNegativeNumber.get_description()};
}

Command::Command(const std::string& name, const std::string& description)
    : m_app(std::make_shared<CLI::App>(description, name)) {
    m_app->set_version_flag("--version", name + " " VERANTI_VERSION, "Say which version this is");
    m_app->fallthrough();
    m_app->require_subcommand(0, 1);
}

Command Command::AddSubcommand(const std::string& name, const std::string& help,
                               const std::function<void()>& chosen) const {
    CLI::App* added = m_app->add_subcommand(name, help);
    added->callback(chosen);
    added->require_subcommand(chosen ? 0 : 1, 1);
    return Command({m_app, added});
}

void Command::Add(const std::vector<Argument>& arguments) const {
    for (const auto& [name, target, help, need, check] : arguments) {
        const std::size_t end = name.find(' ');
        CLI::Option* option = std::visit(Adding{*m_app, name.substr(0, end), help}, target);
        if (end != std::string::npos) {
            option->type_name(name.substr(end + 1));
        }
        if (check.fault) {
            option->check(check.fault, check.help);
        }
        if (need == kRequired) {
            option->required();
        } else {
            option->capture_default_str();
        }
    }
}

void Command::AddChoice(const std::vector<Argument>& arguments) const {
    CLI::App* added = m_app->add_option_group("which");
    added->require_option(1);
    Command({m_app, added}).Add(arguments);
}

int Command::Run(int argc, char** argv, const std::function<int()>& work) const {
    // The help and the version are errors, too.
    const auto show = [this](const CLI::Error& error) {
        std::ostringstream shown;
        const bool asked = m_app->exit(error, shown, shown) == 0;
        std::string text = shown.str();
        text.erase(text.find_last_not_of('\n') + 1);
        if (asked) {
            return Say(text) ? EXIT_SUCCESS : kFailure;
        }
        Complain(text);
        return kUsage;
    };
    try {
        m_app->parse(argc, argv);
        return work();
    } catch (const CLI::ParseError& error) {
        return show(error);
    } catch (const std::invalid_argument& error) {
        return show(CLI::ValidationError(error.what()));
    } catch (const std::exception& error) {
        Complain(Escaped(error.what()));  // one sentence, on one line
        return kFailure;
    }
}
