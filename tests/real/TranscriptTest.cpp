// Sessions in a terminal, word for word. A line "# simulator OPTION..." or "# no simulator" says
// who serves from there on; a line "$ veranti ..." (or an example's name) is a command, the lines
// behind it are all that it prints, standard error last, and "[1]" at their end is an exit status.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "World.h"

namespace {

Arguments Words(const std::string& line) {
    g_auto(GStrv) words = nullptr;
    if (g_shell_parse_argv(line.c_str(), nullptr, &words, nullptr) == FALSE) {
        return {};
    }
    return {words, words + g_strv_length(words)};
}

/// The program that a command names.
Arguments ProgramOf(const std::string& name) {
    const std::string examples = EXAMPLES_PATH;
    if (name == "csharp-wizard") {
        return {"env", "LC_ALL=C.UTF-8", std::string("LD_LIBRARY_PATH=") + LIBRARY_PATH, "mono",
                examples + "/csharp-wizard.exe"};
    }
    return {name == "veranti" ? COMMAND_PATH : examples + '/' + name};
}

std::string Perform(const PrivateBus& bus, const std::string& command) {
    const Arguments words = Words(command);
    Arguments arguments = ProgramOf(words.at(0));
    arguments.insert(arguments.end(), words.begin() + 1, words.end());
    const Outcome run = RunProgram(arguments);
    std::string seen = run.output + run.errors;
    const std::size_t at = seen.find(bus.Address());
    if (at != std::string::npos) {
        seen.replace(at, bus.Address().size(), "ADDRESS");
    }
    return seen + (run.status != 0 ? '[' + std::to_string(run.status) + "]\n" : "");
}

class TranscriptTest : public testing::TestWithParam<std::string> {
  protected:
    /// Starts the simulator that a line asks for.
    void Serve(const std::string& line) {
        m_simulator.reset();
        if (line != "# no simulator") {
            ASSERT_EQ(line.compare(0, 11, "# simulator"), 0) << line;
            m_simulator.emplace(line.size() > 11 ? Words(line.substr(11)) : Arguments());
        }
    }

    PrivateBus m_bus;
    TemporaryStore m_store;
    std::optional<Simulator> m_simulator;
};

TEST_P(TranscriptTest, HappensAsWritten) {
    std::ifstream file(std::string(TRANSCRIPTS_PATH) + '/' + GetParam() + ".txt");
    std::string line;
    std::string command;
    std::string expected;
    int commands = 0;
    const auto perform = [&] {
        if (!command.empty()) {
            EXPECT_EQ(Perform(m_bus, command), expected) << command;
            ++commands;
        }
        command.clear();
        expected.clear();
    };
    while (std::getline(file, line)) {
        if (line.compare(0, 2, "$ ") == 0) {
            perform();
            command = line.substr(2);
        } else if (line.compare(0, 2, "# ") == 0) {
            perform();
            Serve(line);
        } else {
            expected += line + '\n';
        }
    }
    perform();
    EXPECT_GT(commands, 0);
}

std::vector<std::string> Transcripts() {
    std::istringstream list(TRANSCRIPTS);
    return {std::istream_iterator<std::string>(list), {}};
}

INSTANTIATE_TEST_SUITE_P(All, TranscriptTest, testing::ValuesIn(Transcripts()),
                         [](const auto& test) {
                             std::string name = test.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

}  // namespace
