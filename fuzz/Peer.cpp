#include "Peer.h"

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#include "Fuzz.h"

namespace {

const std::string kAuthenticated =
    "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";

std::vector<std::string> g_streams;
std::vector<int> g_sockets;  // the bus's ends

std::string Number(std::size_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(number >> shift & 0xff);
    }
    return bytes;
}

/// A reply in D-Bus's own encoding, in little endian: that a text can be anything is the point.
std::string ReplyTo(std::size_t serial, const std::string& text) {
    using namespace std::string_literals;
    const std::string body = Number(text.size()) + text + '\0';
    const std::string fields = "\5\1u\0"s + Number(serial) + "\10\1g\0\1s\0"s;
    return "l\2\1\1"s + Number(body.size()) + Number(serial) + Number(fields.size()) + fields +
           '\0' + body;
}

}  // namespace

void Peer::Say(std::vector<std::string> streams) {
    g_streams = std::move(streams);
    g_sockets.reserve(kMostConnections);  // nothing is allocated in calls that are counted
}

std::string Peer::Greeting() {
    return ReplyTo(1, ":1.1");
}

std::string Peer::Reply(const std::string& text) {
    return ReplyTo(2, text);
}

std::vector<std::string> Peer::TakeWritten() {
    std::vector<std::string> written;
    for (const int socket : g_sockets) {
        std::array<char, 4096> piece{};
        std::string all;
        ssize_t size = 0;
        while ((size = recv(socket, piece.data(), piece.size(), MSG_DONTWAIT)) > 0) {
            all.append(piece.data(), static_cast<std::size_t>(size));
        }
        Require(size == 0 || errno == ECONNRESET);  // or else it is open
        close(socket);
        written.push_back(std::move(all));
    }
    g_sockets.clear();
    return written;
}

void StartAnew() {
    setenv("VERANTI_LOG", "off", 0);
    setenv("VERANTI_STORE", "/nonexistent", 0);
    Peer::TakeWritten();
    Peer::Say({});
}

/// Stands in front of libsystemd's own.
extern "C" [[gnu::visibility("default")]] int sd_bus_open_system_with_description(
    sd_bus** ret, const char* description) {
    if (g_sockets.size() == Peer::kMostConnections) {
        throw std::bad_alloc();
    }
    std::array<int, 2> ends{};
    Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0);
    const std::string stream =
        kAuthenticated + (g_sockets.size() < g_streams.size() ? g_streams[g_sockets.size()] : "");
    g_sockets.push_back(ends[1]);
    send(ends[1], stream.data(), stream.size(), MSG_NOSIGNAL);
    shutdown(ends[1], SHUT_WR);
    sd_bus* bus = nullptr;
    Require(sd_bus_new(&bus) >= 0 && sd_bus_set_description(bus, description) >= 0 &&
            sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_set_fd(bus, ends[0], ends[0]) >= 0);
    *ret = bus;
    const int started = sd_bus_start(bus);
    if (started < 0) {
        *ret = sd_bus_close_unref(bus);
    }
    return started;
}
