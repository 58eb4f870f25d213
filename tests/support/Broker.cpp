// Runs dbus-broker as the tests run dbus-daemon, for one user, who may do everything. Its last
// argument is --address=ADDRESS; one that is not abstract only asks for any. It prints the address.
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

constexpr char kAbstract[] = "unix:abstract=";

int Try(const char* what, int result) {
    if (result < 0) {
        std::perror(what);
        std::exit(1);
    }
    return result;
}

/// Listens at an abstract address, which leaves no file behind.
int Listen(const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(static_cast<char*>(address.sun_path) + 1, sizeof address.sun_path - 1);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int listener = Try("socket", socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
    Try("bind", bind(listener, reinterpret_cast<const sockaddr*>(&address), length));
    Try("listen", listen(listener, SOMAXCONN));
    return listener;
}

/// @return the socket by which the broker is controlled.
int StartBroker() {
    int ends[2] = {-1, -1};
    Try("socketpair", socketpair(AF_UNIX, SOCK_STREAM, 0, static_cast<int*>(ends)));
    if (Try("fork", fork()) == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execlp("dbus-broker", "dbus-broker", "--controller", std::to_string(ends[1]).c_str(),
               "--machine-id", "00000000000000000000000000000001", "--max-bytes", "1000000000",
               "--max-objects", "1000000", nullptr);
        _exit(127);
    }
    close(ends[1]);
    return ends[0];
}

/// Lets the broker serve a socket, with a policy that allows everything.
void Serve(sd_bus* control, int listener) {
    const std::uint64_t priority = 1;
    const std::uint64_t noLimit = UINT64_MAX;
    Try("AddListener",
        sd_bus_call_method(control, nullptr, "/org/bus1/DBus/Broker", "org.bus1.DBus.Broker",
                           "AddListener", nullptr, nullptr, "ohv", "/org/bus1/DBus/Listener/0",
                           listener,
                           "(a(u(bta(btbs)a(btssssuutt)a(btssssuutt)))"
                           "a(buu(bta(btbs)a(btssssuutt)a(btssssuutt)))a(ss)bs)",
                           // Of every user: may connect, own every name, send and receive all.
                           1, UINT32_MAX, 1, priority,                                      //
                           1, 1, priority, 1, "",                                           //
                           1, 1, priority, "", "", "", "", 0, 0, std::uint64_t{}, noLimit,  //
                           1, 1, priority, "", "", "", "", 0, 0, std::uint64_t{}, noLimit,  //
                           0, 0, 0, "system"));
}

}  // namespace

int main(int argc, char** argv) {
    const std::string wanted = argv[argc - 1];
    const std::size_t known = wanted.find(kAbstract);
    const std::string name = known != std::string::npos
                                 ? wanted.substr(known + std::strlen(kAbstract))
                                 : "veranti-bus-" + std::to_string(getpid());
    const int listener = Listen(name);
    const int broker = StartBroker();
    sd_bus* control = nullptr;
    Try("new", sd_bus_new(&control));
    Try("set", sd_bus_set_fd(control, broker, broker));
    Try("negotiate", sd_bus_negotiate_fds(control, 1));
    Try("start", sd_bus_start(control));
    Serve(control, listener);
    close(listener);
    std::cout << kAbstract << name << std::endl;
    while (sd_bus_wait(control, UINT64_MAX) >= 0 && sd_bus_process(control, nullptr) >= 0) {
    }
    return 1;
}
