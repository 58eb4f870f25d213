// One request through the library, its availability exchange included, against programs written by
// hand on sd-bus and on GDBus that make the same connections, send the same texts and read the same
// member of the same answers. request-bench [ROUNDS]
#include <json/reader.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "Interleaved.h"
#include "VerantiAPI.h"
#include "Wire.h"
#include "World.h"

namespace {

constexpr char kName[] = "com.velmora.tv.termsclient";
constexpr char kPath[] = "/com/velmora/tv/termsclient";
constexpr char kInterface[] = "com.corvane.Message1";
constexpr char kMethod[] = "Exchange";
constexpr const char* kRequests[] = {
    R"({"method":"is service available"})",
    R"({"data":null,"method":"get disclaimer number","product_type":"TV","requester":0})"};

void ReadResult(const char* text) {
    static const Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value reply;
    if (!reader->parse(text, text + std::char_traits<char>::length(text), &reply, nullptr) ||
        !reply["result"].asBool()) {
        throw std::runtime_error("no good answer");
    }
}

void Check(bool good, const char* what) {
    if (!good) {
        throw std::runtime_error(what);
    }
}

void ThroughSdBus() {
    for (const char* request : kRequests) {
        sd_bus* opened = nullptr;
        Check(sd_bus_open_system(&opened) >= 0, "sd-bus: no bus");
        const Corvane::Wire::BusHandle bus(opened);
        sd_bus_message* reply = nullptr;
        const int r = sd_bus_call_method(opened, kName, kPath, kInterface, kMethod, nullptr, &reply,
                                         "ss", "", request);
        const Corvane::Wire::MessageHandle owned(reply);
        const char* text = nullptr;
        Check(r >= 0 && sd_bus_message_read(reply, "s", &text) >= 0, "sd-bus: no reply");
        ReadResult(text);
    }
}

void ThroughGDBus() {
    for (const char* request : kRequests) {
        const Handle<GDBusConnection> bus(g_dbus_connection_new_for_address_sync(
            std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr));
        Check(bus != nullptr, "GDBus: no bus");
        g_autoptr(GVariant) reply = g_dbus_connection_call_sync(
            bus.get(), kName, kPath, kInterface, kMethod, g_variant_new("(ss)", "", request),
            G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        Check(reply != nullptr, "GDBus: no reply");
        const char* text = nullptr;
        g_variant_get(reply, "(&s)", &text);
        ReadResult(text);
        g_dbus_connection_close_sync(bus.get(), nullptr, nullptr);
    }
}

void ThroughTheLibrary() {
    const int number =
        CVerantiAPI::GetInstance()->GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_0, "TV");
    Check(number > 0, "the library: no good answer");
}

int Measure(int rounds) {
    setenv("VERANTI_LOG", "off", 1);
    const PrivateBus bus;
    const TemporaryStore store;
    const Simulator simulator;
    std::vector<Contender> contenders = {{"the library", ThroughTheLibrary},
                                         {"sd-bus by hand", ThroughSdBus},
                                         {"GDBus by hand", ThroughGDBus}};
    RunInterleaved(contenders, rounds / 10);  // warms everything up
    for (Contender& each : contenders) {
        each.microseconds.clear();
    }
    RunInterleaved(contenders, rounds);
    const double library = contenders.front().Median();
    for (Contender& each : contenders) {
        std::printf("%-15s %8.1f us   library/this %.3f\n", each.name.c_str(), each.Median(),
                    library / each.Median());
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const int rounds = argc > 1 ? std::stoi(argv[1]) : 3000;
        Check(rounds >= 10, "ROUNDS must be a number from 10 on");
        return Measure(rounds);
    } catch (const std::exception& error) {
        std::cerr << "request-bench: " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
}
