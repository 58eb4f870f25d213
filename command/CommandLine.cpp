// The only source that includes CLI11, which takes long to compile.
#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

namespace {

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
    return ToCheck(CLI::NonNegativeNumber);
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
    try {
        m_app->parse(argc, argv);
        return work();
    } catch (const CLI::ParseError& error) {
        return m_app->exit(error) == 0 ? EXIT_SUCCESS : kUsage;
    } catch (const std::invalid_argument& error) {
        m_app->exit(CLI::ValidationError(error.what()));
        return kUsage;
    }
}
