#include "dlog.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Cancellation.h"
#include "Escape.h"
#include "Write.h"

// Formats are searched for colours before they are used.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace {

struct Level {
    const char* name;
    char letter;
    int syslogPriority;
};

constexpr int kLeastPriority = 3;
constexpr std::array<Level, 4> kLevels{{{"debug", 'D', LOG_DEBUG},
                                        {"info", 'I', LOG_INFO},
                                        {"warning", 'W', LOG_WARNING},
                                        {"error", 'E', LOG_ERR}}};

std::size_t LevelIndex(int priority) {
    constexpr int kLast = static_cast<int>(kLevels.size()) - 1;
    return static_cast<std::size_t>(std::clamp(priority - kLeastPriority, 0, kLast));
}

struct Sink {
    enum class Kind { Syslog, Descriptor, Off };
    Kind kind = Kind::Syslog;
    int descriptor = -1;
    bool terminal = false;
    std::size_t longestLine = SIZE_MAX;  // what one write carries in one piece
    std::size_t leastLevel = 0;
};

void OpenDescriptor(Sink& sink, int descriptor) {
    struct stat status {};
    sink.kind = Sink::Kind::Descriptor;
    sink.descriptor = descriptor;
    sink.terminal = isatty(descriptor) == 1;
    if (fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode)) {
        sink.longestLine = PIPE_BUF;
    }
}

/// Opens a regular file, which is made when it is missing, or a terminal.
/// @return why that cannot be done, or null.
const char* OpenFile(Sink& sink, const char* path) {
    constexpr const char* kOther = "neither a regular file nor a terminal";
    struct stat status {};
    if (stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode)) {
        return kOther;  // not even opened: a pipe's reader would notice
    }
    // Not blocking, should a pipe come in between.
    const int file =
        open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    if (file < 0) {
        return std::strerror(errno);
    }
    if (fstat(file, &status) != 0 || !(S_ISREG(status.st_mode) || isatty(file) == 1)) {
        close(file);
        return kOther;
    }
    fcntl(file, F_SETFL, O_APPEND);  // a terminal that is slow loses no line
    OpenDescriptor(sink, file);
    return nullptr;
}

void Complain(const char* what, const char* value, const std::string& mend) {
    Write(STDERR_FILENO, std::string(what) + " \"" + Escaped(value) + '"' + mend + '\n');
}

void ReadSinkName(Sink& sink) {
    const char* name = secure_getenv("VERANTI_LOG");
    if (name == nullptr || *name == '\0') {
        return;
    }
    if (std::strcmp(name, "off") == 0) {
        sink.kind = Sink::Kind::Off;
        return;
    }
    if (std::strcmp(name, "stderr") == 0) {
        OpenDescriptor(sink, STDERR_FILENO);
        return;
    }
    const char* const cause = OpenFile(sink, name);
    if (cause != nullptr) {
        Complain("VERANTI_LOG: cannot append to", name,
                 std::string(" (") + cause +
                     "); set it to stderr, off or the path of a writable file. Logging to syslog.");
    }
}

void ReadLeastLevel(Sink& sink) {
    const char* name = secure_getenv("VERANTI_LOG_LEVEL");
    if (name == nullptr || *name == '\0') {
        return;
    }
    const auto* const level = std::find_if(kLevels.begin(), kLevels.end(), [name](const Level& l) {
        return std::strcmp(l.name, name) == 0;
    });
    if (level != kLevels.end()) {
        sink.leastLevel = static_cast<std::size_t>(level - kLevels.begin());
        return;
    }
    Complain("VERANTI_LOG_LEVEL:", name,
             " is not a level; set it to debug, info, warning or error. Logging everything.");
}

std::mutex g_line;  // held while a line is written: a socket takes a line piece by piece

const Sink& TheSink() {
    static const Sink sink = [] {
        Sink made;
        // A thread that wrote at the fork is not in the child, and does not unlock there.
        pthread_atfork(nullptr, nullptr, [] { new (&g_line) std::mutex; });
        ReadSinkName(made);
        ReadLeastLevel(made);
        return made;
    }();
    return sink;
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list arguments) {
    std::string text(255, '\0');
    bool whole = false;
    while (!whole) {
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(text.data(), text.size() + 1, format, again);
        va_end(again);
        const auto size = static_cast<std::size_t>(std::max(length, 0));
        whole = size <= text.size();
        text.resize(size);
    }
    return text;
}

/// The bytes of "ESC [ digits and semicolons m" at a text's beginning, or 0.
std::size_t ColourBytes(std::string_view text) {
    if (text.substr(0, 2) != "\033[") {
        return 0;
    }
    const std::size_t end = text.find_first_not_of("0123456789;", 2);
    return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

/// The message, escaped. Only colours of the format are colours: what an argument has is text.
__attribute__((format(printf, 1, 0))) std::string Message(const char* format, va_list arguments,
                                                          bool coloured) {
    std::string plainFormat;
    std::vector<std::pair<std::size_t, std::string_view>> colours;  // each behind so many bytes
    for (std::string_view rest = format; !rest.empty();) {
        const std::size_t colour = ColourBytes(rest);
        if (colour == 0) {
            plainFormat += rest.front();
        } else if (coloured) {
            colours.emplace_back(Format(plainFormat.c_str(), arguments).size(),
                                 rest.substr(0, colour));
        }
        rest.remove_prefix(std::max<std::size_t>(colour, 1));
    }
    std::string text = Format(plainFormat.c_str(), arguments);
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    std::string message;
    std::size_t done = 0;
    for (const auto& [end, colour] : colours) {
        const std::size_t length = std::max(done, std::min(end, text.size())) - done;
        message += Escaped(std::string_view(text).substr(done, length));
        message += colour;
        done += length;
    }
    return message + Escaped(std::string_view(text).substr(done));
}

std::string BufferName(int logId) {
    switch (logId) {
        case 0:
            return "main";
        case 2:
            return "system";
        default:
            return std::to_string(logId);
    }
}

int WriteLine(const Sink& sink, std::string line) {
    if (line.size() > sink.longestLine) {
        std::size_t end = sink.longestLine - 4;
        while ((line[end] & 0xc0) == 0x80) {
            --end;  // not within a character
        }
        line.resize(end);
        line += "...\n";
    }
    const std::lock_guard lock(g_line);
    return Write(sink.descriptor, line);
}

int Print(const Sink& sink, int logId, int priority, const char* tag, const std::string& message) {
    const Level& level = kLevels.at(LevelIndex(priority));
    const std::string writer = Escaped(tag);
    if (sink.kind == Sink::Kind::Syslog) {
        syslog(level.syslogPriority, "%s %s: %s", BufferName(logId).c_str(), writer.c_str(),
               message.c_str());
        return static_cast<int>(message.size());
    }
    return WriteLine(sink, BufferName(logId) + ' ' + level.letter + ' ' + writer + '[' +
                               std::to_string(getpid()) + "]: " + message + '\n');
}

}  // namespace

int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...) {
    const Cancellation::CHold hold;
    const int savedErrno = errno;
    int result = 0;
    try {
        const Sink& sink = TheSink();
        if (sink.kind != Sink::Kind::Off && LevelIndex(priority) >= sink.leastLevel) {
            va_list arguments;
            va_start(arguments, format);
            const std::string message = Message(format, arguments, sink.terminal);
            va_end(arguments);
            result = Print(sink, log_id, priority, tag != nullptr ? tag : "", message);
        }
    } catch (const std::bad_alloc&) {
        result = -ENOMEM;
    }
    errno = savedErrno;
    return result;
}
