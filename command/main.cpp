// veranti: the client's requests, for people and scripts.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>

#include "Subcommands.h"

namespace {

constexpr int kRefused = 1;
constexpr int kUsage = 2;

std::string BusAddress() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address != nullptr ? std::string("the bus at ") + address : "the machine's system bus";
}

/// Why a request was not done, and what to do about it.
std::string Excuse(CVerantiAPI& client, const Answer& answer) {
    if (!answer.needsService || client.IsServiceAvailable()) {
        return answer.refusal;
    }
    return "No terms service answers on " + BusAddress() +
           ": start veranti-simulator there, or set DBUS_SYSTEM_BUS_ADDRESS to the address of a "
           "bus that has one.";
}

int Report(CVerantiAPI& client, const Answer& answer, bool asJson) {
    if (asJson) {
        std::cout << JsonLine(answer.json) << std::endl;
    } else if (answer.done) {
        std::cout << answer.text << std::endl;
    }
    if (!answer.done) {
        std::cerr << Excuse(client, answer) << std::endl;
    }
    return answer.done ? EXIT_SUCCESS : kRefused;
}

int Run(int argc, char** argv) {
    CLI::App app(
        "Asks the terms service of this machine.\nExits with 0 when it is done, 1 when the service "
        "said no or is not there, 2 for wrong usage.",
        "veranti");
    bool asJson = false;
    bool showLog = false;
    Action chosen;
    app.fallthrough();
    app.add_flag("--json", asJson, "Print one line of JSON");
    app.add_flag("--log", showLog, "Show the library's log lines while it runs");
    Registrar requests(app, chosen);
    AddDisclaimers(requests);
    AddRequests(requests);
    try {
        app.parse(argc, argv);
        if (!chosen) {
            throw CLI::RequiredError("A subcommand");
        }
        if (showLog) {
            setenv("VERANTI_LOG", "stderr", 1);
        }
        CVerantiAPI& client = *CVerantiAPI::GetInstance();
        const int status = Report(client, chosen(client), asJson);
        CVerantiAPI::Destroy();
        return status;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : kUsage;
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "The terms service's answer cannot be read (" << error.what()
                  << "): make sure that it is a terms service that has the name." << std::endl;
        return kRefused;
    }
}
