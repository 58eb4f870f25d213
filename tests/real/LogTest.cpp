// The host's log, written by a program of its own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Limit.h"
#include "World.h"

namespace {

Arguments Writer(const std::string& sink, const std::string& level, const char* threads = "0") {
    return {"env", "VERANTI_LOG=" + sink, "VERANTI_LOG_LEVEL=" + level, LOG_WRITER_PATH, threads};
}

/// Without the "[pid]".
std::string WithoutPid(std::string text) {
    for (std::size_t at = text.find('['); at != std::string::npos; at = text.find('[', at)) {
        text.erase(at, text.find(']', at) - at + 1);
    }
    return text;
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
    for (const auto& each : cases) {
        const Outcome run = RunProgram(Writer(each.sink, each.level));
        EXPECT_EQ(run.output, each.output) << each.sink;
        EXPECT_EQ(WithoutPid(run.errors), each.errors) << each.sink;
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

TEST(LogTest, ATerminalGetsEveryLineWithItsColours) {
    for (const bool byPath : {false, true}) {
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_EQ(grantpt(terminal), 0);
        ASSERT_EQ(unlockpt(terminal), 0);
        const std::string path = ptsname(terminal);
        Program writer(Writer(byPath ? path : "stderr", "debug", "1"),
                       byPath ? -1 : open(path.c_str(), O_RDWR | O_NOCTTY));
        const std::string text = ReadToTheEnd(terminal);
        close(terminal);
        EXPECT_EQ(writer.Wait(), 0);
        EXPECT_NE(text.find("]: \033[32m<"), std::string::npos) << path;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 200) << path;
    }
}

/// Every line is whole: one letter throughout, between its brackets, or cut with dots.
void ExpectWholeLines(std::istream& lines, int expected) {
    int seen = 0;
    for (std::string line; std::getline(lines, line); ++seen) {
        const std::size_t begin = line.find('<') + 1;
        const std::size_t end = std::min(line.find_first_not_of(line[begin], begin), line.size());
        const std::string rest = line.substr(end);
        EXPECT_TRUE(rest == ">" || rest == "..." || line.substr(begin) == ">") << line;
    }
    EXPECT_EQ(seen, expected);
}

TEST(LogTest, LinesOfThreadsAndProcessesDoNotMix) {
    const TemporaryFolder folder;
    const std::string file = folder.Path() + "/log";
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    Program first(Writer(file, "debug", "4"));
    Program second(Writer(file, "debug", "4"));
    Program third(Writer("stderr", "debug", "4"), dup(ends[1]));
    Program fourth(Writer("stderr", "debug", "4"), ends[1]);
    std::istringstream inPipe(ReadToTheEnd(ends[0]));
    close(ends[0]);
    EXPECT_EQ(first.Wait() + second.Wait() + third.Wait() + fourth.Wait(), 0);
    std::ifstream inFile(file);
    ExpectWholeLines(inFile, 1600);
    ExpectWholeLines(inPipe, 1600);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

}  // namespace
