// Writes log lines from several threads: log-writer THREADS LINES. Its own syslog() stands in front
// of the machine's and shows what would have gone there.
#include <dlog.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
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

int main(int argc, char** argv) {
    const int threads = argc > 1 ? std::stoi(argv[1]) : 0;
    const int lines = argc > 2 ? std::stoi(argv[2]) : 0;
    if (threads == 0) {
        __dlog_print(0, 3, "T", "\033[37mdebug\033[0m\n");
        __dlog_print(0, 4, "T", "\033[32minfo %d\033[0m\n", 7);
        __dlog_print(2, 5, "T", "\033[31mwarning\033[0m");
        __dlog_print(2, 6, "T", "\033[31merror\033[0m\n");
    }
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back([thread, lines] {
            for (int line = 0; line < lines; ++line) {
                const std::string filling(static_cast<std::size_t>(line * 37 % 6000),
                                          static_cast<char>('a' + thread));
                __dlog_print(0, 4, "T", "<%s>\n", filling.c_str());
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    return 0;
}
