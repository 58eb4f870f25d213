#include "World.h"

#include <fcntl.h>
#include <sys/prctl.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

std::string TakeText(char* text) {
    const std::unique_ptr<char, decltype(&g_free)> owned(text, &g_free);
    return text != nullptr ? text : "";
}

std::vector<const char*> Pointers(const Arguments& arguments) {
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(argument.c_str());
    }
    pointers.push_back(nullptr);
    return pointers;
}

Handle<GSubprocess> Spawn(const Arguments& arguments, GSubprocessFlags flags, int standardError) {
    const Handle<GSubprocessLauncher> launcher(g_subprocess_launcher_new(flags));
    g_subprocess_launcher_set_child_setup(
        launcher.get(), [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGTERM); }, nullptr, nullptr);
    if (standardError >= 0) {
        g_subprocess_launcher_take_stderr_fd(launcher.get(), standardError);
    }
    g_autoptr(GError) error = nullptr;
    GSubprocess* process =
        g_subprocess_launcher_spawnv(launcher.get(), Pointers(arguments).data(), &error);
    if (process == nullptr) {
        throw std::runtime_error(error->message);
    }
    return Handle<GSubprocess>(process);
}

int Status(GSubprocess* process) {
    return g_subprocess_get_if_exited(process) != FALSE ? g_subprocess_get_exit_status(process)
                                                        : -g_subprocess_get_term_sig(process);
}

}  // namespace

PrivateBus::PrivateBus() : PrivateBus("unix:tmpdir=/tmp") {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", m_address.c_str(), 1);
}

PrivateBus::PrivateBus(const std::string& address)
    : Program({"dbus-daemon", std::string("--config-file=") + BUS_CONFIGURATION_PATH, "--nofork",
               "--nopidfile", "--print-address=1", "--address=" + address},
              open("/dev/null", O_WRONLY | O_CLOEXEC)),
      m_address(ReadLine()) {}

void PrivateBus::Stop() {
    Signal(SIGTERM);
    Wait();
}

TemporaryFolder::TemporaryFolder() {
    g_autoptr(GError) error = nullptr;
    m_path = TakeText(g_dir_make_tmp("veranti-XXXXXX", &error));
    if (error != nullptr) {
        throw std::runtime_error(error->message);
    }
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

Program::Program(const Arguments& arguments, int standardError)
    : m_process(Spawn(arguments, G_SUBPROCESS_FLAGS_STDOUT_PIPE, standardError)),
      m_output(g_data_input_stream_new(g_subprocess_get_stdout_pipe(m_process.get()))) {}

Program::~Program() {
    Signal(SIGTERM);
    Wait();
}

std::string Program::ReadLine() {
    return TakeText(g_data_input_stream_read_line(m_output.get(), nullptr, nullptr, nullptr));
}

void Program::Signal(int signal) {
    g_subprocess_send_signal(m_process.get(), signal);
}

int Program::Wait() {
    g_subprocess_wait(m_process.get(), nullptr, nullptr);
    return Status(m_process.get());
}

Simulator::Simulator(const Arguments& options)
    : Program([&options] {
          Arguments all{SIMULATOR_PATH};
          all.insert(all.end(), options.begin(), options.end());
          return all;
      }()) {
    if (ReadLine().compare(0, 8, "Serving ") != 0) {
        throw std::runtime_error("the simulator does not serve");
    }
}

Outcome RunProgram(const Arguments& arguments) {
    const Handle<GSubprocess> process =
        Spawn(arguments,
              static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                            G_SUBPROCESS_FLAGS_STDERR_PIPE),
              -1);
    char* output = nullptr;
    char* errors = nullptr;
    g_subprocess_communicate_utf8(process.get(), nullptr, nullptr, &output, &errors, nullptr);
    Outcome run{0, TakeText(output), TakeText(errors)};
    run.status = Status(process.get());
    return run;
}

Outcome RunCommand(const Arguments& arguments) {
    Arguments all{COMMAND_PATH};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return RunProgram(all);
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
