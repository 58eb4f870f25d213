// Sessions in a terminal, word for word. A line "# simulator OPTION...", "# service REPLY" or "# no
// simulator" says who serves from there on; a line "$ veranti ..." (or an example's name) is a
// command, the lines behind it are all that it prints, standard error last, and "[1]" at their end
// is an exit status. A line "> ..." is the next that the simulator prints. A command with "&" last
// runs on as a job; "%1 ..." is the next line that the first job prints, "$ end %1" ends it and
// "$ wait %1" waits for its own end. A backslash in a command stands for what it does in C,
// variables may come first and ">/dev/full" last. The folder has the files "abc", of these letters,
// and "zero", of a single zero byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include "BusPeer.h"

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

/// The words of a command, with the program that it names.
Arguments WordsOf(const std::string& command) {
    g_autofree char* meant = g_strcompress(command.c_str());
    const Arguments words = Words(meant);
    const auto name = std::find_if(words.begin(), words.end(), [](const std::string& word) {
        return word.find('=') == std::string::npos;
    });
    const bool full = words.back() == ">/dev/full";
    return Arguments{"env"} + Arguments(words.begin(), name) +
           (full ? Words("sh -c 'exec \"$@\" >/dev/full' sh") : Arguments()) + ProgramOf(*name) +
           Arguments(name + 1, words.end() - (full ? 1 : 0));
}

class TranscriptTest : public testing::TestWithParam<std::string> {
  protected:
    TranscriptTest() {
        m_folder.Write("zero", std::string(1, '\0'));
        std::filesystem::current_path(m_folder.Path());
    }
    ~TranscriptTest() override { std::filesystem::current_path("/"); }

    /// Starts the simulator or the service that a line asks for.
    void Serve(const std::string& line) {
        m_simulator.reset();
        m_service.reset();
        const std::size_t end = line.find(' ', 2);
        if (line.compare(2, end - 2, "service") == 0) {
            m_service.emplace("com.velmora.tv.termsclient", BusPeer::SaysText(line.substr(end)));
        } else if (line != "# no simulator") {
            const Arguments words = Words(line.substr(2));
            ASSERT_EQ(words.front(), "simulator") << line;
            m_simulator.emplace(Arguments(words.begin() + 1, words.end()));
        }
    }

    /// What a command prints, with names for what is another in each run.
    std::string Perform(const std::string& command) {
        if (command.back() == '&') {
            m_jobs.try_emplace('%' + std::to_string(m_jobs.size() + 1),
                               WordsOf(command.substr(0, command.size() - 1)));
            return "";
        }
        const bool ends = command.compare(0, 4, "end ") == 0;
        if (ends || command.compare(0, 5, "wait ") == 0) {
            Program& job = m_jobs.at(command.substr(command.find('%')));
            if (ends) {
                job.Signal(SIGTERM);
            }
            return (job.Wait() != 0 ? "failed\n" : "") + job.Errors();
        }
        const Outcome run = RunProgram(WordsOf(command));
        std::string seen = run.output + run.errors;
        for (const auto& [place, name] :
             {std::pair(m_bus.Address(), "ADDRESS"), std::pair(m_store.Path(), "STORE")}) {
            for (std::size_t at = 0; (at = seen.find(place)) != std::string::npos;) {
                seen.replace(at, place.size(), name);
            }
        }
        return seen + (run.status != 0 ? '[' + std::to_string(run.status) + "]\n" : "");
    }

    PrivateBus m_bus;
    TemporaryStore m_store;
    TemporaryFolder m_folder;
    std::optional<Simulator> m_simulator;
    std::optional<BusPeer> m_service;
    std::map<std::string, Program> m_jobs;
};

TEST_P(TranscriptTest, HappensAsWritten) {
    std::ifstream file(std::string(TRANSCRIPTS_PATH) + '/' + GetParam() + ".txt");
    std::string line;
    std::string command;
    std::string expected;
    int commands = 0;
    const auto perform = [&] {
        if (!command.empty()) {
            EXPECT_EQ(Perform(command), expected) << command;
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
        } else if (line.compare(0, 2, "= ") == 0) {
            perform();
            const std::size_t end = line.find(' ', 2);
            g_autofree char* text = g_strcompress(line.c_str() + end + 1);
            m_folder.Write(line.substr(2, end - 2), text);
        } else if (line[0] == '%') {
            perform();
            EXPECT_EQ(m_jobs.at(line.substr(0, 2)).ReadLine(), line.substr(3));
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
