#include "World.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "Limit.h"
#include "Main.h"

Arguments operator+(Arguments first, const Arguments& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Arguments Words(const std::string& line) {
    g_auto(GStrv) words = nullptr;
    g_shell_parse_argv(line.c_str(), nullptr, &words, nullptr);
    return {words, words + g_strv_length(words)};
}

Program::Program(const Arguments& arguments, int standardError)
    : m_errors{memfd_create("errors", MFD_CLOEXEC)} {
    const Descriptor elsewhere{standardError};
    std::vector<char*> words;
    for (const std::string& argument : arguments) {
        m_line += argument + ' ';
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    constexpr auto kFlags =
        static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH);
    g_autoptr(GError) error = nullptr;
    g_spawn_async_with_pipes_and_fds(
        nullptr, words.data(), nullptr, kFlags, [](void*) { prctl(PR_SET_PDEATHSIG, SIGKILL); },
        nullptr, -1, -1, standardError >= 0 ? standardError : m_errors.number, nullptr, nullptr, 0,
        &m_process, nullptr, &m_output.number, nullptr, &error);
    if (error != nullptr) {
        throw std::runtime_error(error->message);
    }
}

Program::~Program() {
    try {
        const bool runs = m_process != 0;
        Signal(SIGTERM);
        const int status = Wait();
        if (runs && status != 0 && status != -SIGTERM) {
            g_warning("%sended with %d", m_line.c_str(), status);
        }
    } catch (const std::exception& hang) {
        g_warning("%s", hang.what());
    }
    std::fputs(Errors().c_str(), stderr);
}

std::string Program::ReadLine() {
    std::size_t end = 0;
    while ((end = m_printed.find('\n', m_printedRead)) == std::string::npos) {
        if (!ReadMore("to print a line")) {
            return m_printed.substr(std::exchange(m_printedRead, m_printed.size()));
        }
    }
    const std::size_t begin = std::exchange(m_printedRead, end + 1);
    return m_printed.substr(begin, end - begin);
}

void Program::Signal(int signal) const {
    if (m_process != 0) {
        kill(m_process, signal);
    }
}

int Program::Wait() {
    while (m_process != 0 && ReadMore("to end")) {
    }
    int status = 0;
    if (m_process != 0) {
        waitpid(std::exchange(m_process, 0), &status, 0);
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    return m_status;
}

std::string Program::ReadAll() {
    Wait();
    return m_printed.substr(std::exchange(m_printedRead, m_printed.size()));
}

std::string Program::Errors() {
    const std::string all = ReadFile("/proc/self/fd/" + std::to_string(m_errors.number));
    return all.substr(std::exchange(m_errorsRead, all.size()));
}

/// Waits for output, or kills the program when none comes.
/// @return false at the end of the output.
bool Program::ReadMore(const char* what) {
    NoteWait(m_line + what);
    pollfd wait{m_output.number, POLLIN, 0};
    if (TEMP_FAILURE_RETRY(poll(&wait, 1, std::chrono::milliseconds(kHang).count())) == 0) {
        Signal(SIGKILL);
        Wait();
        throw std::runtime_error("Waited in vain for " + m_line + what + ". It printed: \"" +
                                 m_printed + "\" and \"" + Errors() + '"');
    }
    char part[4096];
    const ssize_t size = TEMP_FAILURE_RETRY(read(m_output.number, part, sizeof part));
    m_printed.append(part, size > 0 ? static_cast<std::size_t>(size) : 0);
    return size > 0;
}

static std::string BusDaemon() {
    const char* other = std::getenv("VERANTI_TEST_BUS");
    return other != nullptr ? other : "dbus-daemon";
}

PrivateBus::PrivateBus() : PrivateBus("unix:tmpdir=/tmp") {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", m_address.c_str(), 1);
}

PrivateBus::PrivateBus(const std::string& address)
    : Program({BusDaemon(), std::string("--config-file=") + BUS_CONFIGURATION_PATH, "--nofork",
               "--nopidfile", "--print-address=1", "--address=" + address},
              open("/dev/null", O_WRONLY | O_CLOEXEC)),
      m_address(ReadLine()) {}

void PrivateBus::Stop() {
    Signal(SIGTERM);
    Wait();
}

TemporaryFolder::TemporaryFolder() {
    std::string path = std::filesystem::temp_directory_path() / "veranti-XXXXXX";
    m_path = mkdtemp(path.data());
}

TemporaryFolder::~TemporaryFolder() {
    std::filesystem::remove_all(m_path);
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& text) const {
    std::string path = m_path + '/' + name;
    std::ofstream(path) << text;
    return path;
}

TemporaryStore::TemporaryStore() {
    setenv("VERANTI_STORE", Path().c_str(), 1);
}

Simulator::Simulator(const Arguments& options) : Program(Arguments{SIMULATOR_PATH} + options) {
    const std::string line = ReadLine();
    if (line.compare(0, 8, "Serving ") != 0) {
        throw std::runtime_error("the simulator does not serve but says: " + line);
    }
}

Outcome RunProgram(const Arguments& arguments) {
    Program program(arguments);
    return {program.Wait(), program.ReadAll(), program.Errors()};
}

Outcome RunCommand(const std::string& line) {
    return RunProgram(Arguments{COMMAND_PATH} + Words(line));
}

std::size_t OpenDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

std::string ReadFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}
