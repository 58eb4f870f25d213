// The host's log, written by a program of its own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "Limit.h"
#include "World.h"

namespace {

Arguments Writer(const std::string& sink, const std::string& level, const Arguments& what = {"0"}) {
    return Arguments{"env", "VERANTI_LOG=" + sink, "VERANTI_LOG_LEVEL=" + level,
                     CALLERS_PATH "/log-writer"} +
           what;
}

/// All that comes out of a pipe or a terminal until nobody can write to it any more.
std::string ReadToTheEnd(int descriptor) {
    std::string text;
    pollfd input{descriptor, POLLIN, 0};
    while (poll(&input, 1, std::chrono::milliseconds(kHang).count()) == 1) {
        char part[65536];
        const ssize_t got = read(descriptor, part, sizeof part);
        if (got <= 0) {
            return text;
        }
        text.append(part, static_cast<std::size_t>(got));
    }
    ADD_FAILURE() << "waited for the writers to end; they had written:\n" << text;
    return text;
}

TEST(LogTest, SinksAndLevels) {
    const struct {
        const char* sink;
        const char* level;
        const char* output;
        const char* errors;
    } cases[] = {
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
    };
    const std::regex pid("\\[[0-9]+\\]");
    for (const auto& each : cases) {
        const Outcome run = RunProgram(Writer(each.sink, each.level));
        EXPECT_EQ(run.output, each.output) << each.sink;
        EXPECT_EQ(std::regex_replace(run.errors, pid, ""), each.errors) << each.sink;
    }
}

TEST(LogTest, AnythingButAFileOrATerminalIsLeftAlone) {
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    pollfd reader{open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), POLLIN, 0};
    const char* other = "neither a regular file nor a terminal";
    const std::pair<std::string, const char*> cases[] = {{"/dev/null/x", "Not a directory"},
                                                         {"/dev/null", other},
                                                         {folder.Path(), other},
                                                         {pipe, other}};
    for (const auto& [sink, cause] : cases) {
        const Outcome run = RunProgram(Writer(sink, "error"));
        EXPECT_EQ(run.output, "syslog 3 system T: error\n");
        EXPECT_EQ(run.errors, "VERANTI_LOG: cannot append to \"" + sink + "\" (" + cause +
                                  "); set it to stderr, off or the path of a writable file. "
                                  "Logging to syslog.\n");
    }
    EXPECT_EQ(poll(&reader, 1, 0), 0) << "the pipe's reader has noticed";
    close(reader.fd);
}

/// What a writer shows on a terminal.
std::string OnTerminal(bool byPath, const Arguments& what) {
    const Descriptor terminal{posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    EXPECT_EQ(grantpt(terminal.number), 0);
    EXPECT_EQ(unlockpt(terminal.number), 0);
    const std::string path = ptsname(terminal.number);
    Program writer(Writer(byPath ? path : "stderr", "debug", what),
                   byPath ? -1 : open(path.c_str(), O_RDWR | O_NOCTTY));
    std::string text = ReadToTheEnd(terminal.number);
    EXPECT_EQ(writer.Wait(), 0);
    return text;
}

TEST(LogTest, ATerminalGetsEveryLineWithItsColours) {
    for (const bool byPath : {false, true}) {
        const std::string text = OnTerminal(byPath, {"1"});
        EXPECT_NE(text.find("]: \033[32m<"), std::string::npos) << byPath;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 200) << byPath;
    }
}

TEST(LogTest, NoTextForgesALineOrCommandsATerminal) {
    const std::pair<const char*, const char*> cases[] = {
        {"a\nmain I T[1]: b", R"(a\nmain I T[1]: b)"},
        {"end\n", R"(end\n)"},
        {"\033[31mred\033[0m\a\r\t\x7f", R"(\x1b[31mred\x1b[0m\x07\r\t\x7f)"},
        {"\u0080\u009b31m\u00a0\u00e9", "\\u0080\\u009b31m\u00a0\u00e9"},
        {"\u061c\u200d\u200e\u200f\u2010", "\\u061c\u200d\\u200e\\u200f\u2010"},
        {"\u2027\u2028\u202e\u202c\u202f", "\u2027\\u2028\\u202e\\u202c\u202f"},
        {"\u2065\u2066\u2069\u206a", "\u2065\\u2066\\u2069\u206a"},
        {"\U0001f600 \U0010ffff \\ %s", "\U0001f600 \U0010ffff \\ %s"},
        {"\x9b \xc0\x8a \xe2\x80", R"(\x9b \xc0\x8a \xe2\x80)"},
        {"\xed\xa0\x80 \xf4\x90\x80\x80 \xf8", R"(\xed\xa0\x80 \xf4\x90\x80\x80 \xf8)"},
    };
    Arguments say{"say"};
    for (const auto& [text, shown] : cases) {
        say.emplace_back(text);
    }
    std::istringstream inSyslog(RunProgram(Writer("", "", say)).output);
    std::istringstream inFile(RunProgram(Writer("stderr", "", say)).errors);
    std::istringstream onTerminal(OnTerminal(false, say));
    const auto expectLine = [](std::istream& lines, const std::string& message) {
        std::string line;
        std::getline(lines, line);
        EXPECT_EQ(line.erase(0, line.find(": F")), ": F.cpp: f(7) > " + message);
    };
    for (const auto& [text, shown] : cases) {
        expectLine(inSyslog, shown);
        expectLine(inFile, shown);
        expectLine(onTerminal, std::string("\033[37m") + shown + "\033[0m\r");
    }
}

/// A socket or pipe to write to, and the end to read from.
std::array<int, 2> Connected(bool socket) {
    std::array<int, 2> ends{};
    if (socket) {
        const int little = 1;
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &little, sizeof little);
    } else {
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    }
    return ends;
}

TEST(LogTest, ASinkThatFailsIsAnErrorAndNoSignal) {
    const TemporaryFolder folder;
    enum Broken { kNothing, kPipe, kSocket };
    const struct {
        Broken standardError;
        std::string sink;
        const char* output;
    } cases[] = {{kPipe, "stderr", "-32 same\n"},
                 {kSocket, "stderr", "-32 same\n"},
                 {kNothing, folder.Path() + "/log", "-27 same\n"},
                 {kPipe, "/dev/null/x", "syslog 6 main T: F.cpp: f(7) > text\n18 same\n"}};
    for (const auto& [standardError, sink, output] : cases) {
        for (const char* pending : {"0", "1"}) {
            std::array<int, 2> ends{-1, -1};
            if (standardError != kNothing) {
                ends = Connected(standardError == kSocket);
                close(ends[0]);
            }
            Program writer(
                Arguments{"prlimit", "--fsize=10"} + Writer(sink, "", {"state", pending}), ends[1]);
            EXPECT_EQ(writer.Wait(), 0) << standardError << sink << pending;
            EXPECT_EQ(writer.ReadAll(), output) << standardError << sink << pending;
        }
    }
}

TEST(LogTest, AForkedChildWritesThoughAThreadWasStuck) {
    const std::array<int, 2> ends = Connected(true);
    const Descriptor reader{ends[0]};
    EXPECT_EQ(Program(Writer("stderr", "", {"fork"}), ends[1]).Wait(), 0)
        << "the child waits for a thread that it does not have";
}

/// Every line is whole: one letter throughout, between its brackets, or cut with dots.
/// @return how many there are.
int WholeLines(std::istream&& lines) {
    int seen = 0;
    for (std::string line; std::getline(lines, line); ++seen) {
        const std::size_t begin = line.find('<') + 1;
        const std::size_t end = std::min(line.find_first_not_of(line[begin], begin), line.size());
        const std::string rest = line.substr(end);
        EXPECT_TRUE(rest == ">" || rest == "..." || line.substr(begin) == ">") << line;
    }
    return seen;
}

TEST(LogTest, LinesOfThreadsAndProcessesDoNotMix) {
    const TemporaryFolder folder;
    const std::string file = folder.Path() + "/log";
    const std::array<int, 2> ends = Connected(false);
    const Descriptor reader{ends[0]};
    Program first(Writer(file, "debug", {"4"}));
    Program second(Writer(file, "debug", {"4"}));
    Program third(Writer("stderr", "debug", {"4"}), dup(ends[1]));
    Program fourth(Writer("stderr", "debug", {"4"}), ends[1]);
    EXPECT_EQ(WholeLines(std::istringstream(ReadToTheEnd(reader.number))), 1600);
    EXPECT_EQ(first.Wait() + second.Wait() + third.Wait() + fourth.Wait(), 0);
    EXPECT_EQ(WholeLines(std::ifstream(file)), 1600);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

TEST(LogTest, LinesOfThreadsDoNotMixOnASocket) {
    for (const bool waits : {true, false}) {  // else what finds no room is lost, whole
        const std::array<int, 2> ends = Connected(true);
        const Descriptor reader{ends[0]};
        fcntl(ends[1], F_SETFL, waits ? 0 : O_NONBLOCK);
        Program writer(Writer("stderr", "debug", {"4"}), ends[1]);
        const int lines = WholeLines(std::istringstream(ReadToTheEnd(reader.number)));
        EXPECT_GE(lines, waits ? 800 : 1);
        EXPECT_EQ(writer.Wait(), 0);
    }
}

}  // namespace
