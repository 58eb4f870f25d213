// veranti-simulator: a terms service for machines that have none.
#include <systemd/sd-event.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>

#include "BusEndpoint.h"
#include "CommandLine.h"
#include "Escape.h"
#include "Misbehaviour.h"
#include "TermsProtocol.h"
#include "TermsService.h"

namespace {

constexpr int kFailure = 1;
constexpr std::size_t kLargestRequest = 1'000'000;

struct Options {
    std::string catalogue;
    bool verbose = false;
    MisbehaviourPlan plan;
};

struct EventRelease {
    void operator()(sd_event* loop) const { sd_event_unref(loop); }
};
using EventLoop = std::unique_ptr<sd_event, EventRelease>;

/// An event loop that SIGTERM and SIGINT end. A file limit is a full disk, which ends nobody.
EventLoop MakeLoop() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGXFSZ);
    sigprocmask(SIG_BLOCK, &signals, nullptr);

    sd_event* made = nullptr;
    if (sd_event_new(&made) < 0) {
        throw std::bad_alloc();
    }
    EventLoop loop(made);
    for (const int signal : {SIGTERM, SIGINT}) {
        sd_event_add_signal(made, nullptr, signal, nullptr, nullptr);
    }
    return loop;
}

/// Refuses a request that would take seconds and a gigabyte to read.
Response RefuseLarge(const Options& options, std::size_t size) {
    Response response;
    response.text = R"({"result":false})";
    std::cerr << "Refused a request of " << size << " bytes: at most " << kLargestRequest
              << " are read." << std::endl;
    if (options.verbose) {
        std::cout << "(" << size << " bytes)\n  -> " << *response.text << std::endl;
    }
    return response;
}

Response Respond(TermsService& service, const Options& options, std::string_view protocol,
                 std::string_view text) {
    const std::size_t size = protocol.size() + text.size();
    if (size > kLargestRequest) {
        return RefuseLarge(options, size);
    }
    Json::Value request;
    Corvane::Wire::FromText(text, request);
    const std::string method = TermsService::MethodOf(protocol, request);
    const Misbehaviour planned = options.plan.Of(method);

    Response response;
    response.delay = planned.delay;
    if (planned.garbage) {
        response.text = "{\"result\": tru";
    } else if (planned.fails) {
        response.text = R"({"result":false,"errorcode":1,"errorreason":1,)"
                        R"("errormessage":"fails on request"})";
    } else if (!planned.silent) {
        response.text = Corvane::Wire::ToText(service.Answer(method, request));
    }
    if (options.verbose) {
        std::cout << Escaped(text) << "\n  -> " << Escaped(response.text.value_or("(silent)"))
                  << std::endl;
    }
    return response;
}

int Serve(const Options& options) {
    Catalogue catalogue = ReadCatalogue(options.catalogue);
    const EventLoop loop = MakeLoop();
    // The store is not touched before the name is ours: it may be another simulator's. Calls arrive
    // when the loop runs.
    std::optional<TermsService> service;
    const BusEndpoint endpoint(loop.get(), kTermsService,
                               [&](std::string_view protocol, std::string_view text) {
                                   return Respond(*service, options, protocol, text);
                               });
    service.emplace(std::move(catalogue), options.catalogue);
    std::cout << "Serving " << service->NumberOfTerms() << " terms as " << kTermsService
              << ". SIGTERM or Ctrl-C ends it." << std::endl;
    const int ended = sd_event_loop(loop.get());
    if (ended < 0) {
        throw BusError(std::string("Cannot wait for requests: ") + std::strerror(-ended) +
                       ". Start the simulator again.");
    }
    if (ended > 0) {
        throw BusError("The message bus went away. Start the simulator again when it is back.");
    }
    return EXIT_SUCCESS;
}

void AddOptions(const Command& program, Options& options) {
    MisbehaviourPlan& plan = options.plan;
    const auto planned = [&plan](bool Misbehaviour::*what) -> Argument::Take {
        return [&plan, what](const auto& methods) { plan.Plan(what, methods); };
    };
    const Argument::Take delayed = [&plan](const auto& methods) { plan.Delay(methods); };
    program.Add({{"--catalogue FILE", &options.catalogue, "Serve the terms of this JSON file"},
                 {"--verbose", &options.verbose, "Print every request and its reply"},
                 {"--fail METHOD", planned(&Misbehaviour::fails),
                  "Answer this request with \"result\" false"},
                 {"--delay METHOD=MS", delayed, "Answer this request so many milliseconds later"},
                 {"--silent METHOD", planned(&Misbehaviour::silent), "Never answer this request"},
                 {"--garbage METHOD", planned(&Misbehaviour::garbage),
                  "Answer this request with something that is not JSON"}});
}

int Run(int argc, char** argv) {
    Options options;
    const Command program(
        "veranti-simulator",
        "A terms service for machines that have none. It answers as " + std::string(kTermsService) +
            " on the system bus\n(DBUS_SYSTEM_BUS_ADDRESS) and keeps what it is told in the "
            "configuration store (VERANTI_STORE,\nelse the machine's if it has one, else your "
            "own).\n--fail, --delay, --silent and --garbage may be given several times.");
    AddOptions(program, options);
    return program.Run(argc, argv, [&] { return Serve(options); });
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << Escaped(error.what()) << std::endl;
        return kFailure;
    }
}
