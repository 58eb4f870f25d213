// veranti: the client's requests, for people and scripts.
#include <cstdlib>

#include "Output.h"
#include "Subcommands.h"

namespace {

constexpr int kRefused = 1;

std::string BusAddress() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address != nullptr ? std::string("the bus at ") + address : "the machine's system bus";
}

/// Why a request was not done, and what to do about it. A service that is not there and one that
/// says that it is not ready look the same to the client.
std::string Excuse(CVerantiAPI& client, const Answer& answer) {
    if (!answer.needsService || client.IsServiceAvailable()) {
        return answer.refusal;
    }
    return "No terms service is ready on " + BusAddress() +
           ": start one there, such as veranti-simulator, wait until it is ready, or set "
           "DBUS_SYSTEM_BUS_ADDRESS to the address of a bus that has one.";
}

int Report(CVerantiAPI& client, const Answer& answer, bool asJson) {
    if ((asJson || answer.done) && !Say(asJson ? JsonLine(answer.json) : answer.text)) {
        return kRefused;
    }
    if (!answer.warning.empty()) {
        Complain(answer.warning);
    }
    if (!answer.done) {
        Complain(Excuse(client, answer));
    }
    return answer.done ? EXIT_SUCCESS : kRefused;
}

/// Sends the request. What the client cannot read of the reply is a refusal like any other.
Answer Ask(CVerantiAPI& client, const Action& action, const Options& given) {
    try {
        return action(client, given);
    } catch (const Json::Exception& error) {
        return Local(false, "",
                     std::string("The terms service's answer cannot be read (") + error.what() +
                         "): make sure that it is a terms service that has the name.");
    }
}

int Run(int argc, char** argv) {
    Options given;
    Action chosen;
    const Command program("veranti",
                          "Asks the terms service of this machine.\nExits with 0 when it is done, "
                          "1 when the service said no or is not there, 2 for wrong usage.");
    program.Add({{"--json", &given.json, "Print one line of JSON"},
                 {"--log", &given.log, "Show the library's log lines while it runs"}});
    const Subcommands add{program, given, chosen};
    AddDisclaimers(add);
    AddRequests(add);
    AddBus(add);
    return program.Run(argc, argv, [&] {
        if (!chosen) {
            throw std::invalid_argument("A subcommand is required");
        }
        if (given.log) {
            setenv("VERANTI_LOG", "stderr", 1);
        }
        CVerantiAPI& client = *CVerantiAPI::GetInstance();
        const int status = Report(client, Ask(client, chosen, given), given.json);
        CVerantiAPI::Destroy();
        return status;
    });
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        Complain(error.what());
        return kRefused;
    }
}
