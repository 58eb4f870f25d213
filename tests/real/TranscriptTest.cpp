// Sessions in a terminal, word for word. A line "# simulator OPTION..." or "# no simulator" says
// who serves from there on; a line "$ veranti ..." (or an example's name) is a command, the lines
// behind it are all that it prints, standard error last, and "[1]" at their end is an exit status.
// A line "> ..." is the next that the simulator prints. A backslash in a command stands for what it
// does in C, variables may come first and ">/dev/full" last.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <optional>

#include "World.h"

namespace {

/// The program that a command names.
Arguments ProgramOf(const std::string& name) {
    const std::string examples = std::string(EXAMPLES_PATH) + '/';
    if (name == "csharp-wizard") {
        return {"env", "LC_ALL=C.UTF-8", std::string("LD_LIBRARY_PATH=") + LIBRARY_PATH, "mono",
                examples + name + ".exe"};
    }
    if (name == "veranti-simulator") {
        return {SIMULATOR_PATH};
    }
    return {name == "veranti" ? COMMAND_PATH : name == "busctl" ? name : examples + name};
}

Outcome RunLine(const std::string& command) {
    g_autofree char* meant = g_strcompress(command.c_str());
    const Arguments words = Words(meant);
    const auto name = std::find_if(words.begin(), words.end(), [](const std::string& word) {
        return word.find('=') == std::string::npos;
    });
    const bool full = words.back() == ">/dev/full";
    return RunProgram(Arguments{"env"} + Arguments(words.begin(), name) +
                      (full ? Words("sh -c 'exec \"$@\" >/dev/full' sh") : Arguments()) +
                      ProgramOf(*name) + Arguments(name + 1, words.end() - (full ? 1 : 0)));
}

/// What a command prints, with names for what is another in each run.
std::string Perform(const PrivateBus& bus, const TemporaryStore& store,
                    const std::string& command) {
    const Outcome run = RunLine(command);
    std::string seen = run.output + run.errors;
    for (const auto& [place, name] :
         {std::pair(bus.Address(), "ADDRESS"), std::pair(store.Path(), "STORE")}) {
        for (std::size_t at = 0; (at = seen.find(place)) != std::string::npos;) {
            seen.replace(at, place.size(), name);
        }
    }
    return seen + (run.status != 0 ? '[' + std::to_string(run.status) + "]\n" : "");
}

class TranscriptTest : public testing::TestWithParam<std::string> {
  protected:
    /// Starts the simulator that a line asks for.
    void Serve(const std::string& line) {
        m_simulator.reset();
        if (line != "# no simulator") {
            const Arguments words = Words(line.substr(2));
            ASSERT_EQ(words.front(), "simulator") << line;
            m_simulator.emplace(Arguments(words.begin() + 1, words.end()));
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
            EXPECT_EQ(Perform(m_bus, m_store, command), expected) << command;
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
        } else if (line.compare(0, 2, "> ") == 0) {
            perform();
            EXPECT_EQ(m_simulator.value().ReadLine(), line.substr(2));
        } else {
            expected += line + '\n';
        }
    }
    perform();
    EXPECT_GT(commands, 0);
}

INSTANTIATE_TEST_SUITE_P(Sessions, TranscriptTest, testing::ValuesIn(Words(TRANSCRIPTS)),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
