// The host's log, written by a program of its own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "World.h"

namespace {

/// The log's settings while it lives.
class Environment {
  public:
    Environment(const std::string& sink, const std::string& level) {
        setenv("VERANTI_LOG", sink.c_str(), 1);
        setenv("VERANTI_LOG_LEVEL", level.c_str(), 1);
    }
    ~Environment() {
        unsetenv("VERANTI_LOG");
        unsetenv("VERANTI_LOG_LEVEL");
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
};

/// Without the "[pid]".
std::string WithoutPid(std::string text) {
    for (std::size_t at = text.find('['); at != std::string::npos; at = text.find('[', at)) {
        text.erase(at, text.find(']', at) - at + 1);
    }
    return text;
}

TEST(LogTest, SinksAndLevels) {
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";  // that nobody reads
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    struct Case {
        std::string sink;
        const char* level;
        const char* output;
        std::string errors;
    };
    const Case cases[] = {
        {"", "",
         "syslog 7 main T: debug\nsyslog 6 main T: info 7\nsyslog 4 system T: warning\n"
         "syslog 3 system T: error\n",
         ""},
        {"off", "", "", ""},
        {"stderr", "debug", "",
         "main D T: debug\nmain I T: info 7\nsystem W T: warning\nsystem E T: error\n"},
        {"stderr", "warning", "", "system W T: warning\nsystem E T: error\n"},
        {"off", "loud", "",
         "VERANTI_LOG_LEVEL: \"loud\" is not a level; set it to debug, info, warning or error. "
         "Logging everything.\n"},
        {"/dev/null/x", "error", "syslog 3 system T: error\n",
         "VERANTI_LOG: cannot append to \"/dev/null/x\" (Not a directory); set it to stderr, off "
         "or the path of a writable file. Logging to syslog.\n"},
        {pipe, "error", "syslog 3 system T: error\n",
         "VERANTI_LOG: cannot append to \"" + pipe +
             "\" (No such device or address); set it to stderr, off or the path of a writable "
             "file. Logging to syslog.\n"},
    };
    for (const Case& each : cases) {
        const Environment environment(each.sink, each.level);
        const Outcome run = RunProgram({LOG_WRITER_PATH});
        EXPECT_EQ(run.output, each.output) << each.sink;
        EXPECT_EQ(WithoutPid(run.errors), each.errors) << each.sink;
    }
}

TEST(LogTest, ATerminalKeepsItsColours) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const Environment environment("stderr", "error");
    Program writer({LOG_WRITER_PATH}, open(ptsname(terminal), O_RDWR | O_NOCTTY));
    EXPECT_EQ(writer.Wait(), 0);
    char text[256];
    const ssize_t length = read(terminal, text, sizeof text);
    close(terminal);
    ASSERT_GT(length, 0);
    EXPECT_EQ(WithoutPid(std::string(text, static_cast<std::size_t>(length)).substr(0, 11)),
              "system E T");
    EXPECT_NE(std::string(text, static_cast<std::size_t>(length)).find("\033[31merror\033[0m"),
              std::string::npos);
}

/// Every line is whole: one letter throughout, between its brackets, or cut with dots.
void ExpectWholeLines(std::istream& lines, int expected) {
    int seen = 0;
    for (std::string line; std::getline(lines, line); ++seen) {
        const std::size_t begin = line.find('<');
        ASSERT_NE(begin, std::string::npos) << line;
        const bool cut = line.size() > 3 && line.substr(line.size() - 3) == "...";
        const std::size_t end = line.size() - (cut ? 3 : 1);
        ASSERT_TRUE(cut || line.back() == '>') << line;
        const char letter = line[begin + 1];
        ASSERT_TRUE(std::all_of(line.begin() + static_cast<long>(begin) + 1,
                                line.begin() + static_cast<long>(end),
                                [letter](char c) { return c == letter; }))
            << line;
    }
    EXPECT_EQ(seen, expected);
}

TEST(LogTest, LinesOfThreadsAndProcessesDoNotMix) {
    const TemporaryFolder folder;
    const std::string file = folder.Path() + "/log";
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    std::string piped;
    {
        const Environment toFile(file, "debug");
        Program first({LOG_WRITER_PATH, "4", "200"});
        Program second({LOG_WRITER_PATH, "4", "200"});
        const Environment toPipe("stderr", "debug");
        Program third({LOG_WRITER_PATH, "4", "200"}, dup(ends[1]));
        Program fourth({LOG_WRITER_PATH, "4", "200"}, ends[1]);
        char part[65536];
        for (ssize_t got = 0; (got = read(ends[0], part, sizeof part)) > 0;) {
            piped.append(part, static_cast<std::size_t>(got));
        }
        EXPECT_EQ(first.Wait() + second.Wait() + third.Wait() + fourth.Wait(), 0);
    }
    close(ends[0]);
    std::ifstream inFile(file);
    ExpectWholeLines(inFile, 1600);
    std::istringstream inPipe(piped);
    ExpectWholeLines(inPipe, 1600);
}

}  // namespace
