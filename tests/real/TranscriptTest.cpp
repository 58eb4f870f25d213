// Sessions in a terminal, word for word. A transcript's first line gives the simulator's options
// ("# simulator ..." or "# no simulator"); a line "$ veranti ..." is a command, the lines behind it
// are all that it prints, standard error last, and "[1]" at their end is an exit status.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

#include "World.h"

namespace {

Arguments Words(const std::string& line) {
    g_auto(GStrv) words = nullptr;
    if (g_shell_parse_argv(line.c_str(), nullptr, &words, nullptr) == FALSE) {
        return {};
    }
    return {words, words + g_strv_length(words)};
}

std::string Perform(const PrivateBus& bus, const std::string& command) {
    Arguments arguments = Words(command);
    EXPECT_EQ(arguments.at(0), "veranti") << command;
    arguments.erase(arguments.begin());
    const Outcome run = RunCommand(arguments);
    std::string seen = run.output + run.errors;
    const std::size_t at = seen.find(bus.Address());
    if (at != std::string::npos) {
        seen.replace(at, bus.Address().size(), "ADDRESS");
    }
    return seen + (run.status != 0 ? '[' + std::to_string(run.status) + "]\n" : "");
}

class TranscriptTest : public testing::TestWithParam<const char*> {
  protected:
    PrivateBus m_bus;
    TemporaryStore m_store;
};

TEST_P(TranscriptTest, HappensAsWritten) {
    std::ifstream file(std::string(TRANSCRIPTS_PATH) + '/' + GetParam() + ".txt");
    std::string line;
    ASSERT_TRUE(std::getline(file, line));
    std::optional<Simulator> simulator;
    if (line != "# no simulator") {
        ASSERT_EQ(line.compare(0, 11, "# simulator"), 0);
        simulator.emplace(line.size() > 11 ? Words(line.substr(11)) : Arguments());
    }
    std::string command;
    std::string expected;
    int commands = 0;
    const auto perform = [&] {
        if (!command.empty()) {
            EXPECT_EQ(Perform(m_bus, command), expected) << command;
            ++commands;
        }
        expected.clear();
    };
    while (std::getline(file, line)) {
        if (line.compare(0, 2, "$ ") == 0) {
            perform();
            command = line.substr(2);
        } else {
            expected += line + '\n';
        }
    }
    perform();
    EXPECT_GT(commands, 0);
}

INSTANTIATE_TEST_SUITE_P(All, TranscriptTest,
                         testing::Values("everyday", "disclaimers", "usage", "no-service",
                                         "misbehaving", "not-ready"),
                         [](const auto& test) {
                             std::string name = test.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

}  // namespace
