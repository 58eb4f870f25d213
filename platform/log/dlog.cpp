#include "dlog.h"

#include <fcntl.h>
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
#include <new>
#include <string>

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
        std::fprintf(stderr,
                     "VERANTI_LOG: cannot append to \"%s\" (%s); set it to stderr, off or the path "
                     "of a writable file. Logging to syslog.\n",
                     name, cause);
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
    std::fprintf(stderr,
                 "VERANTI_LOG_LEVEL: \"%s\" is not a level; set it to debug, info, warning or "
                 "error. Logging everything.\n",
                 name);
}

const Sink& TheSink() {
    static const Sink sink = [] {
        Sink made;
        ReadSinkName(made);
        ReadLeastLevel(made);
        return made;
    }();
    return sink;
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

/// Removes "ESC [ digits and semicolons m".
std::string WithoutColours(const std::string& text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\033[") == 0) {
            const std::size_t end = text.find_first_not_of("0123456789;", i + 2);
            if (end != std::string::npos && text[end] == 'm') {
                i = end;
                continue;
            }
        }
        plain += text[i];
    }
    return plain;
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
        line.replace(sink.longestLine - 4, std::string::npos, "...\n");
    }
    ssize_t written = -1;
    do {
        written = write(sink.descriptor, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    return written < 0 ? -errno : static_cast<int>(written);
}

int Print(const Sink& sink, int logId, int priority, const char* tag, std::string message) {
    const Level& level = kLevels.at(LevelIndex(priority));
    if (!sink.terminal) {
        message = WithoutColours(message);
    }
    if (!message.empty() && message.back() == '\n') {
        message.pop_back();
    }
    if (sink.kind == Sink::Kind::Syslog) {
        syslog(level.syslogPriority, "%s %s: %s", BufferName(logId).c_str(), tag, message.c_str());
        return static_cast<int>(message.size());
    }
    std::string line = BufferName(logId) + ' ' + level.letter + ' ' + tag + '[' +
                       std::to_string(getpid()) + "]: " + message + '\n';
    return WriteLine(sink, std::move(line));
}

}  // namespace

int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...) {
    const int savedErrno = errno;
    int result = 0;
    try {
        const Sink& sink = TheSink();
        if (sink.kind != Sink::Kind::Off && LevelIndex(priority) >= sink.leastLevel) {
            va_list arguments;
            va_start(arguments, format);
            std::string message = Format(format, arguments);
            va_end(arguments);
            result = Print(sink, log_id, priority, tag != nullptr ? tag : "", std::move(message));
        }
    } catch (const std::bad_alloc&) {
        result = -ENOMEM;
    }
    errno = savedErrno;
    return result;
}
