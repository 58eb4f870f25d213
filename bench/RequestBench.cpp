// One request through the library, its availability exchange included, and a list of fifty terms,
// against peers that make the same connections, send the same texts and parse the same answers; and
// what the library's connection and availability exchange for each request cost.
// request-bench [ROUNDS]
#include <TCServer.h>

#include <cstdlib>

#include "Interleaved.h"
#include "Requests.h"
#include "VerantiAPI.h"
#include "World.h"

namespace {

constexpr int kTerms = 50;

void Compare(const char* what, const std::function<void()>& library, const Requests& requests,
             int rounds) {
    std::vector<Contender> contenders = {{"the library", library}};
    for (const Peer& peer : {kSdBus, kSdBusQueued, kSdbusCpp, kLibDbus, kGDBus}) {
        contenders.push_back({peer.name, [&requests, peer] { Ask(peer, requests); }});
    }
    RunInterleaved(contenders, rounds);
    PrintRatios(what, contenders);
}

void MeasureDesign(int rounds) {
    Corvane::TCServer open("bench", Corvane::TCServer::TC_SERVER_CLIENT);
    Check(open.CreateDBusProxy(), "no connection");
    Corvane::TCMessage available;
    available.m_JsonBody["method"] = "is service available";
    std::vector<Contender> contenders = {
        {"as it is", [] { CountThroughTheLibrary(kTerms); }},
        {"without the availability exchange",
         [] { Check(CVerantiAPI::GetInstance()->IsServiceAvailable(), "not available"); }},
        {"without a connection either", [&] {
             Corvane::TCMessage reply;
             Check(open.SendMessage(Terms::kName, &available, true, &reply, -1), "no answer");
         }}};
    RunInterleaved(contenders, rounds);
    PrintRatios("the design of a request", contenders);
}

void Measure(int rounds) {
    setenv("VERANTI_LOG", "off", 1);
    const PrivateBus bus;
    const TemporaryStore store;
    const TemporaryFolder folder;
    const Simulator simulator({"--catalogue", folder.Write("catalogue.json", Catalogue(kTerms))});
    Compare(
        "one request", [] { CountThroughTheLibrary(kTerms); }, CountRequests(), rounds);
    Compare(
        "a list of 50 terms", [] { ListThroughTheLibrary(kTerms); }, ListRequests(kTerms),
        rounds / 50 + 1);
    MeasureDesign(rounds);
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 2000, Measure);
}
