// log-writer THREADS: writes 200 log lines from each of its threads; a line of each priority when
// there are none. Its own syslog() stands in front of the machine's and shows what would have gone
// there.
#include <dlog.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <future>
#include <string>
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

int main(int /*argc*/, char** argv) {
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
