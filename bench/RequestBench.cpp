// One request through the library, its availability exchange included, and a list of fifty terms,
// against programs written by hand on sd-bus and on GDBus that make the same connections, send the
// same texts and parse the same answers. request-bench [ROUNDS]
#include <json/reader.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "Interleaved.h"
#include "VerantiAPI.h"
#include "Wire.h"
#include "World.h"

namespace {

constexpr char kName[] = "com.velmora.tv.termsclient";
constexpr char kPath[] = "/com/velmora/tv/termsclient";
constexpr char kInterface[] = "com.corvane.Message1";
constexpr char kMethod[] = "Exchange";
constexpr int kTerms = 50;

using Requests = std::vector<std::string>;

const std::string kAvailable = R"({"method":"is service available"})";
const std::string kNumber =
    R"({"data":null,"method":"get disclaimer number","product_type":"TV","requester":0})";

/// What the library sends to count the terms.
Requests CountRequests() {
    return {kAvailable, kNumber};
}

/// What the library sends to list them.
Requests ListRequests() {
    Requests requests = CountRequests();
    for (int i = 0; i < kTerms; ++i) {
        requests.push_back(kAvailable);
        requests.push_back(R"({"data":null,"method":"get disclaimer by order","product_type":"TV",)"
                           R"("request_index":)" +
                           std::to_string(i) + R"(,"requester":0})");
    }
    return requests;
}

std::string Catalogue() {
    std::string text = R"({"languages":{"en":{"title":"","description":""}},)"
                       R"("default_language":"en","countries":{"US":"en"},"terms":[)";
    for (int i = 0; i < kTerms; ++i) {
        text += (i > 0 ? "," : "") + std::string(R"({"id":"term_)") + std::to_string(i) +
                R"(","texts":{"en":{"title":"Title","intro":"Intro","sections":[)"
                R"({"title":"One","data":"Some text"},{"title":"Two","data":"More text"}],)"
                R"("buttons":["Agree","Later"]}}})";
    }
    return text + "]}";
}

void ReadResult(const char* text) {
    static const Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value reply;
    const char* end = text + std::char_traits<char>::length(text);
    Check(reader->parse(text, end, &reply, nullptr) && reply["result"].asBool(), "no good answer");
}

void ThroughSdBus(const Requests& requests) {
    for (const std::string& request : requests) {
        sd_bus* opened = nullptr;
        Check(sd_bus_open_system(&opened) >= 0, "sd-bus: no bus");
        const Corvane::Wire::BusHandle bus(opened);
        sd_bus_message* reply = nullptr;
        const int r = sd_bus_call_method(opened, kName, kPath, kInterface, kMethod, nullptr, &reply,
                                         "ss", "", request.c_str());
        const Corvane::Wire::MessageHandle owned(reply);
        const char* text = nullptr;
        Check(r >= 0 && sd_bus_message_read(reply, "s", &text) >= 0, "sd-bus: no reply");
        ReadResult(text);
    }
}

void ThroughGDBus(const Requests& requests) {
    for (const std::string& request : requests) {
        const Handle<GDBusConnection> bus(g_dbus_connection_new_for_address_sync(
            std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr));
        Check(bus != nullptr, "GDBus: no bus");
        g_autoptr(GVariant) reply = g_dbus_connection_call_sync(
            bus.get(), kName, kPath, kInterface, kMethod,
            g_variant_new("(ss)", "", request.c_str()), G_VARIANT_TYPE("(s)"),
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        Check(reply != nullptr, "GDBus: no reply");
        const char* text = nullptr;
        g_variant_get(reply, "(&s)", &text);
        ReadResult(text);
        g_dbus_connection_close_sync(bus.get(), nullptr, nullptr);
    }
}

void CountThroughTheLibrary() {
    const int number =
        CVerantiAPI::GetInstance()->GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_0, "TV");
    Check(number == kTerms, "the library: no good answer");
}

void ListThroughTheLibrary() {
    std::vector<STHomeDisclaimerContentItem*> items;
    CVerantiAPI::GetInstance()->GetDisclaimerDetails(items, HOME_DISCLAIMER_REQUESTER_0, "TV");
    Check(items.size() == kTerms && items.back()->vecDetailData.size() == 4,
          "the library: no good answer");
    for (const STHomeDisclaimerContentItem* item : items) {
        delete item;
    }
}

void Compare(const char* what, const std::function<void()>& library, const Requests& requests,
             int rounds) {
    std::vector<Contender> contenders = {
        {"the library", library},
        {"sd-bus by hand", [&requests] { ThroughSdBus(requests); }},
        {"GDBus by hand", [&requests] { ThroughGDBus(requests); }}};
    RunInterleaved(contenders, rounds);
    std::printf("%s\n", what);
    PrintRatios(contenders);
}

void Measure(int rounds) {
    setenv("VERANTI_LOG", "off", 1);
    const PrivateBus bus;
    const TemporaryStore store;
    const TemporaryFolder folder;
    const Simulator simulator({"--catalogue", folder.Write("catalogue.json", Catalogue())});
    Compare("one request", CountThroughTheLibrary, CountRequests(), rounds);
    Compare("a list of 50 terms", ListThroughTheLibrary, ListRequests(), rounds / 50 + 1);
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 3000, Measure);
}
