#include "Doubles.h"

#include <TCServer.h>
#include <dlog.h>
#include <pthread.h>
#include <vconf.h>

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "../support/Limit.h"
#include "Wire.h"

namespace {

std::map<const Corvane::TCMessage*, std::string> g_messageNames;

std::mutex g_mutex;
std::condition_variable g_noted;

bool Cancellable() {
    int state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    pthread_setcancelstate(state, nullptr);
    return state == PTHREAD_CANCEL_ENABLE;
}

/// The client's threads can be cancelled in the platform's wait, and nowhere else.
void Note(const std::string& line, bool cancellable = false) {
    const std::string wrong = Cancellable() == cancellable ? "" : " (wrong state of cancellation)";
    const std::lock_guard lock(g_mutex);
    ThePlatform().journal.push_back(line + wrong);
    g_noted.notify_all();
}

/// Tag, buffer, priority and colour in one word, as the library pairs them; anything else is shown
/// as it is and matches no expectation.
std::string Look(const std::string& tag, int logId, int priority, const std::string& colour) {
    static const std::map<std::string, std::string> known = {
        {"Veranti 0 3 \033[37m", "trace"},        {"Veranti 0 4 \033[32m", "info"},
        {"Veranti 0 5 \033[31m", "warning"},      {"Veranti 0 5 \033[33m", "notice"},
        {"Veranti 2 6 \033[31m", "system"},       {"dterms-dbus 0 4 \033[37m", "bus"},
        {"dterms-dbus 0 6 \033[31m", "bus-error"}};
    const std::string raw =
        tag + ' ' + std::to_string(logId) + ' ' + std::to_string(priority) + ' ' + colour;
    const auto found = known.find(raw);
    return found != known.end() ? found->second : raw;
}

}  // namespace

std::string Journal(const Lines& lines) {
    std::string journal;
    for (const std::string& line : lines) {
        journal += (journal.empty() || line.empty() ? "" : "\n") + line;
    }
    return journal;
}

PlatformDouble& ThePlatform() {
    static PlatformDouble platform;
    return platform;
}

void PlatformDouble::Reset() {
    *this = PlatformDouble();
    service = [](const Json::Value&, Json::Value&) { return false; };
}

std::string PlatformDouble::TakeJournal() {
    return Journal(std::exchange(journal, {}));
}

long PlatformDouble::Count(const std::string& line) const {
    return std::count(journal.begin(), journal.end(), line);
}

void PlatformDouble::WaitFor(const std::string& line) const {
    std::unique_lock lock(g_mutex);
    if (!g_noted.wait_for(lock, kHang, [&] { return Count(line) > 0; })) {
        throw std::runtime_error("waited for \"" + line + "\", but what came is:\n" +
                                 Journal(journal));
    }
}

void Serve(const std::string& answer) {
    ThePlatform().service = [answer](const Json::Value& request, Json::Value& reply) {
        const bool up = Corvane::Wire::FromText(answer, reply);
        if (up && request["method"] == "is service available") {
            reply = Json::objectValue;
            reply["result"] = true;
        }
        return up;
    };
}

char* vconf_get_str(const char* key) {
    Note(std::string("read ") + key);
    const auto& store = ThePlatform().store;
    const auto found = store.find(key);
    return found != store.end() ? strdup(found->second.c_str()) : nullptr;
}

int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...) {
    const std::string prefix = "%s: %s(%d) > ";
    const std::string suffix = "\033[0m\n";
    const std::string text = format;
    const std::size_t rest = prefix.size() + 5;
    if (text.compare(0, prefix.size(), prefix) != 0 || text.size() < rest + suffix.size() ||
        text.substr(text.size() - suffix.size()) != suffix) {
        Note("malformed log line: " + std::string(tag) + " " + text);
        return -1;
    }
    const std::string message = text.substr(rest, text.size() - rest - suffix.size());

    va_list arguments;
    va_start(arguments, format);
    const std::string file = va_arg(arguments, const char*);
    const std::string function = va_arg(arguments, const char*);
    const int line = va_arg(arguments, int);
    char formatted[4096];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::vsnprintf(formatted, sizeof formatted, message.c_str(), arguments);
#pragma GCC diagnostic pop
    va_end(arguments);
    std::string shown = formatted;
    const std::string number = ':' + std::to_string(line) + ']';
    if (shown.find(number) != std::string::npos) {
        shown.replace(shown.find(number), number.size(), ":LINE]");
    }
    const std::string look = Look(tag, log_id, priority, text.substr(prefix.size(), 5));
    Note(look + ' ' + file + ' ' + function + (line > 0 ? ": " : ": no line ") + shown,
         std::strcmp(tag, "dterms-dbus") == 0 && Cancellable());
    return 0;
}

namespace Corvane {

TCMessage::TCMessage() {
    // An exchange has two messages, the request made first.
    g_messageNames[this] = g_messageNames.empty() ? "request" : "reply";
    Note("make " + g_messageNames[this]);
}

TCMessage::~TCMessage() {
    Note("destroy " + g_messageNames[this]);
    g_messageNames.erase(this);
}

TCServer::TCServer(std::string name, TCServerType type) : m_Name(std::move(name)) {
    Note("make server " + m_Name + ' ' + std::to_string(type));
}

TCServer::~TCServer() {
    static_cast<void>(m_pBus);  // a double has no connection
    Note("destroy server");
}

bool TCServer::CreateDBusProxy() {
    Note("open");
    return ThePlatform().proxyOpens;
}

bool TCServer::SendMessage(const char* destination, const TCMessage* request, bool synchronous,
                           TCMessage* reply, int timeLimit) {
    if (!request->m_Protocol.empty()) {
        Note("protocol " + request->m_Protocol, true);
    }
    Note("send " + g_messageNames[request] + " to " + destination + " for " +
             g_messageNames[reply] + (synchronous ? " sync " : " async ") +
             std::to_string(timeLimit),
         true);
    Note(Wire::ToText(request->m_JsonBody), true);
    return ThePlatform().service(request->m_JsonBody, reply->m_JsonBody);
}

bool TCServer::CloseDBusProxy() {
    Note("close");
    return true;
}

}  // namespace Corvane
