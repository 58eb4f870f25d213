// The library's log lines: "file: function(line) > " in front, one colour, one line.
#pragma once

// Declared here rather than by the platform's header, so that the compiler checks every message's
// arguments on every platform.
extern "C" int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

namespace Log {

constexpr char kClient[] = "Veranti";
constexpr char kBusServer[] = "dterms-dbus";

enum Buffer { kMain = 0, kSystem = 2 };
enum Priority { kDebug = 3, kInfo = 4, kWarning = 5, kError = 6 };

/// The last component of a path; the compiler computes it for a literal.
constexpr const char* FileName(const char* path) {
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '/') {
            name = c + 1;
        }
    }
    return name;
}

}  // namespace Log

#define VERANTI_LOG_WHITE "\033[37m"
#define VERANTI_LOG_GREEN "\033[32m"
#define VERANTI_LOG_YELLOW "\033[33m"
#define VERANTI_LOG_RED "\033[31m"

/// A line of the function that is named.
#define VERANTI_LOG_AS(function, tag, buffer, priority, colour, message, ...)       \
    __dlog_print(buffer, priority, tag, "%s: %s(%d) > " colour message "\033[0m\n", \
                 Log::FileName(__FILE__), function, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
/// A line of the function that it stands in.
#define VERANTI_LOG(...) VERANTI_LOG_AS(static_cast<const char*>(__func__), __VA_ARGS__)

/// A trace.
#define VERANTI_LOG_DEBUG(...) \
    VERANTI_LOG(Log::kClient, Log::kMain, Log::kDebug, VERANTI_LOG_WHITE, __VA_ARGS__)
/// An entry or a result.
#define VERANTI_LOG_INFO(...) \
    VERANTI_LOG(Log::kClient, Log::kMain, Log::kInfo, VERANTI_LOG_GREEN, __VA_ARGS__)
/// Something that a reader of the log should see.
#define VERANTI_LOG_WARNING(...) \
    VERANTI_LOG(Log::kClient, Log::kMain, Log::kWarning, VERANTI_LOG_RED, __VA_ARGS__)
/// A line in the system buffer. It is an error by its priority only: successes go there too.
#define VERANTI_LOG_SYSTEM(...) \
    VERANTI_LOG(Log::kClient, Log::kSystem, Log::kError, VERANTI_LOG_RED, __VA_ARGS__)
/// What the bus server does.
#define VERANTI_LOG_BUS(...) \
    VERANTI_LOG(Log::kBusServer, Log::kMain, Log::kInfo, VERANTI_LOG_WHITE, __VA_ARGS__)
/// What the bus server could not do.
#define VERANTI_LOG_BUS_ERROR(...) \
    VERANTI_LOG(Log::kBusServer, Log::kMain, Log::kError, VERANTI_LOG_RED, __VA_ARGS__)
