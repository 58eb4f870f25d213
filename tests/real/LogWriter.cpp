// log-writer THREADS: writes 200 log lines from each of its threads; a line of each priority when
// there are none.
// log-writer say TEXT...: a line for each text, as the library writes it.
// log-writer state PENDING: one line, and prints its result and whether the signals are as before;
// PENDING 1 has SIGPIPE and SIGXFSZ pending already.
// log-writer fork: a child's line while a thread is stuck in one; its standard error is a socket.
//
// Its own syslog() stands in front of the machine's and shows what would have gone there.
#include <dlog.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::printf("syslog %d ", priority);
    std::vprintf(format, arguments);
    std::printf("\n");
    va_end(arguments);
}

namespace {

int Say(const char* text) {
    return __dlog_print(0, 4, "T", "%s: %s(%d) > \033[37m%s\033[0m\n", "F.cpp", "f", 7, text);
}

/// The thread's signals: which are pending, blocked, ignored and caught.
std::string Signals() {
    std::ostringstream status;
    status << std::ifstream("/proc/thread-self/status").rdbuf();
    const std::size_t begin = status.str().find("SigPnd:");
    return status.str().substr(begin, status.str().find("CapInh:") - begin);
}

void ShowState(bool pending) {
    if (pending) {
        sigset_t both{};
        sigaddset(&both, SIGPIPE);
        sigaddset(&both, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &both, nullptr);
        raise(SIGPIPE);
        raise(SIGXFSZ);
    }
    const std::string before = Signals();
    const int result = Say("text");
    std::printf("%d %s\n", result, before == Signals() ? "same" : "changed");
}

int Fork() {
    std::thread([] { Say(std::string(1U << 20U, 'x').c_str()); }).detach();
    for (pollfd room{STDERR_FILENO, POLLOUT, 0}; poll(&room, 1, 0) == 1;) {
        std::this_thread::yield();
    }
    const pid_t child = fork();
    if (child == 0) {
        alarm(30);  // only a hang takes as long
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        _exit(Say("text") > 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    _exit(status == 0 ? 0 : 1);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argv[1];
    if (mode == "state") {
        ShowState(*argv[2] == '1');
        return 0;
    }
    if (mode == "fork") {
        return Fork();
    }
    if (mode == "say") {
        for (int i = 2; i < argc; ++i) {
            Say(argv[i]);
        }
        return 0;
    }
    const int threads = std::stoi(argv[1]);
    if (threads == 0) {
        __dlog_print(0, 3, "T", "\033[37mdebug\033[0m\n");
        __dlog_print(0, 4, "T", "\033[32minfo %d\033[0m\n", 7);
        __dlog_print(2, 5, "T", "\033[31mwarning\033[0m");
        __dlog_print(2, 6, "T", "\033[31merror\033[0m\n");
    }
    std::vector<std::future<void>> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.push_back(std::async(std::launch::async, [thread] {
            for (int line = 0; line < 200; ++line) {
                const std::string filling(static_cast<std::size_t>(line * 37 % 6000),
                                          static_cast<char>('a' + thread));
                __dlog_print(0, 4, "T", "\033[32m<%s>\033[0m\n", filling.c_str());
            }
        }));
    }
    return 0;
}
