// The whole client and the bus server toolkit under load, while the simulator and the bus are
// killed and started again, replies are late, refused, garbled or missing, the store is rewritten,
// threads are cancelled in their calls, and servers close in their callbacks. What counts is that
// nothing answers wrongly, crashes or leaves anything behind. soak [SECONDS [THREADS]]
#include <TermsAPI.h>
#include <malloc.h>
#include <pthread.h>
#include <vconf.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <set>
#include <thread>

#include "Allocations.h"
#include "CSharpBridgeAPI.h"
#include "Store.h"
#include "TermsDbusServer.h"
#include "TermsProtocol.h"
#include "VerantiAPI.h"
#include "World.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers' allocators count themselves; not every compiler has the header that says so.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

using Clock = std::chrono::steady_clock;
using Random = std::minstd_rand;

constexpr char kEcho[] = "com.example.Echo";
constexpr char kClosing[] = "com.example.Closing";
constexpr std::size_t kTitleSize = 20000;  // more than one write's worth
#ifdef __SANITIZE_THREAD__
constexpr bool kCancels = false;  // it does not see what a thread closes while it is cancelled
#else
constexpr bool kCancels = true;
#endif
constexpr long kKept = 1 << 20;  // what GLib's and the C library's caches may keep

const std::set<std::string> kTerms = {
    "terms_of_use",         "privacy_policy", "viewing_information", "voice_recognition",
    "personal_advertising", "newsletter",     "energy_notice"};

std::atomic<bool> g_stop{false};

enum class Result { Answered, Failed, Wrong };

Result Judge(bool answered, bool right) {
    return !answered ? Result::Failed : right ? Result::Answered : Result::Wrong;
}

using Counts = std::array<std::atomic<long>, 3>;  // of each Result

void Count(Counts& counts, Result result) {
    ++counts.at(static_cast<std::size_t>(result));
}

/// One of the threads that ask.
struct Caller {
    Random random;
    std::string own;             ///< the term that nobody else agrees to; empty: none
    std::string key;             ///< the key that nobody else writes
    std::optional<bool> agreed;  ///< what is recorded for it, as far as the caller can know

    CVerantiAPI& client = *CVerantiAPI::GetInstance();
};

Result Available(Caller& /*caller*/) {
    const int one = IsServiceAvailable();
    const int other = CSharpIsServiceAvailable();
    return Judge(one == 1 && other == 1, true);
}

Result Number(Caller& caller) {
    const auto requester = static_cast<EHomeDisclaimerRequester>(caller.random() % 4);
    const int number = caller.client.GetDisclaimerNum(requester, "TV");
    return Judge(number != 0, number == (requester < 2 ? 7 : 8));
}

Result Detail(Caller& caller) {
    STHomeDisclaimerContentItem item;
    const bool answered = caller.client.GetDisclaimerDetail("privacy_policy", item, "TV") == 0;
    return Judge(answered, item.strTitle == "Privacy policy" && item.vecDetailData.size() == 4);
}

Result Shown(Caller& /*caller*/) {
    int sections = -1;
    GetDisclaimerDetail(
        "privacy_policy",
        [](TermsContentItem* item, void* found) {
            *static_cast<int*>(found) = item->nDetailDataCount;
        },
        &sections);
    return Judge(sections != -1, sections == 4);
}

/// The C interface's list. Its client's records are given back here.
Result ShownAll(Caller& /*caller*/) {
    const Allocations::LeftBehind records;
    int known = 0;
    try {
        GetAllDisclaimerDetail(
            TERMS_REQUESTER_0,
            [](TermsContentItem** items, int count, void* found) {
                int& number = *static_cast<int*>(found);
                for (int i = 0; i < count; ++i) {
                    number += kTerms.count(items[i]->strItemId) == 1 ? 1 : -count;
                }
            },
            &known);
    } catch (const Json::Exception&) {
        return Result::Failed;
    }
    return Judge(Allocations::LeftBehind::Count() > 0, known > 0);
}

/// Owns the records of a list.
struct Items {
    Items() = default;
    Items(const Items&) = delete;
    ~Items() {
        for (const STHomeDisclaimerContentItem* item : list) {
            delete item;
        }
    }
    std::vector<STHomeDisclaimerContentItem*> list;
};

/// Each record is of another known term.
Result Known(const Items& items) {
    std::set<std::string> ids;
    for (const STHomeDisclaimerContentItem* item : items.list) {
        ids.insert(kTerms.count(item->strItemId) == 1 ? item->strItemId : "");
    }
    return Judge(!ids.empty(), ids.size() == items.list.size() && ids.count("") == 0);
}

Result Listed(Caller& caller) {
    Items items;
    caller.client.GetDisclaimerDetails(items.list, HOME_DISCLAIMER_REQUESTER_0, "TV");
    return Known(items);
}

Result Revised(Caller& caller) {
    Items items;
    caller.client.GetRevisedDisclaimers(items.list, "TV", "all");
    return Known(items);
}

Result Agree(Caller& caller) {
    if (caller.own.empty()) {
        return Available(caller);
    }
    const bool agreed = caller.random() % 2 == 0;
    const bool recorded =
        caller.client.SetDisclaimerItemAgreement(caller.own, agreed ? 1 : 0, "TV");
    // Without an answer it may be recorded nevertheless.
    caller.agreed = recorded ? std::optional<bool>(agreed) : std::nullopt;
    return Judge(recorded, true);
}

Result Agreed(Caller& caller) {
    const std::string& id = caller.own.empty() ? *kTerms.begin() : caller.own;
    const int one = GetDisclaimerItemAgreement(id.c_str());
    int other = -1;
    CSharpGetDisclaimerItemAgreement(id.c_str(), &other);
    const bool possible = (one == 0 || one == 1) && (other == 0 || other == 1);
    return Judge(true, caller.agreed ? one == (*caller.agreed ? 1 : 0) && other == one : possible);
}

/// A title is one letter many times: a mixture would be half of one write and half of another.
Result Title(Caller& caller) {
    std::string title;
    const bool answered = caller.client.GetDisclaimerTitle(title, 0) == 0;
    const bool whole = title.find_first_not_of(title.substr(0, 1)) == std::string::npos;
    return Judge(answered, title == "Terms of use" || whole);
}

Result Header(Caller& /*caller*/) {
    const std::unique_ptr<char, decltype(&std::free)> text(GetInfoForDisclaimerWebView(),
                                                           &std::free);
    const std::string header = text ? text.get() : "";
    return Judge(header != "null", header.find("\"title\"") != std::string::npos);
}

Result Checked(Caller& caller) {
    int code = -1;
    int reason = -1;
    const bool answered = caller.client.DravikCheck(code, reason);
    return Judge(answered, code == 0 && reason == 0);
}

/// A key of its own is what its writer made of it.
Result Kept(Caller& caller) {
    const std::string text(caller.random() % kTitleSize, 'c');
    const char* const key = caller.key.c_str();
    const bool kept = vconf_set_str(key, text.c_str()) == 0 && Stored(key) == text;
    return Judge(true, kept && vconf_unset(key) == 0 && Stored(key) == "(null)");
}

/// Writes what all read.
Result Titled(Caller& caller) {
    if (caller.random() % 4 == 0) {
        return Judge(true, vconf_unset(kTitlesKey) == 0 || errno == ENOENT);
    }
    const std::string title(kTitleSize, caller.random() % 2 == 0 ? 'a' : 'b');
    return Judge(true, vconf_set_str(kTitlesKey, ("[{\"title\":\"" + title + "\"}]").c_str()) == 0);
}

struct Kind {
    const char* name;
    Result (*call)(Caller&);
    Counts counts{};
};
Kind g_calls[] = {{"available", Available}, {"number", Number},     {"detail", Detail},
                  {"detail in C", Shown},   {"list", Listed},       {"list in C", ShownAll},
                  {"revised", Revised},     {"agree", Agree},       {"agreed", Agreed},
                  {"title", Title},         {"header", Header},     {"check", Checked},
                  {"store", Kept},          {"write title", Titled}};
Counts g_echoes;
Counts g_closings;
Counts g_cancellations;

void Call(Caller caller) {
    while (!g_stop) {
        Kind& kind = g_calls[caller.random() % std::size(g_calls)];
        try {
            Count(kind.counts, kind.call(caller));
        } catch (const Json::Exception&) {  // a garbled reply
            Count(kind.counts, Result::Failed);
        }
    }
}

void* CallUntilCancelled(void* seed) {
    Call({Random(*static_cast<unsigned*>(seed)), "", "soak/cancelled", {}});
    return nullptr;
}

/// Gives calls up at any moment, one thread after the other.
void CancelCalls(unsigned first) {
    Random random(first);
    while (!g_stop) {
        auto seed = static_cast<unsigned>(random());
        pthread_t thread{};
        void* result = nullptr;
        pthread_create(&thread, nullptr, CallUntilCancelled, &seed);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
        pthread_cancel(thread);
        pthread_join(thread, &result);
        Count(g_cancellations, Judge(result == PTHREAD_CANCELED, true));
    }
}

std::uint32_t g_served = 0;

/// A process whose server closes in each call and comes back; each answer has the next number.
int ServeAndClose() {
    std::signal(SIGTERM, [](int) { std::_Exit(EXIT_SUCCESS); });
    for (std::uint32_t before = 0;; before = g_served) {
        TermsDbusServer server("closing");
        const TermsDbusMessageCallback answer = [](const char*, TermsDbusMessage*,
                                                   TermsDbusMessage* reply, void* closing) {
            static_cast<TermsDbusServer*>(closing)->CloseDbusServer();
            reply->code = ++g_served;
            return 1;
        };
        server.RegisterCallabck(TERMS_DBUS_CALLBACK_MESSAGE, reinterpret_cast<void*>(answer),
                                &server);
        if (!server.CreateDbusServer(kClosing)) {
            return EXIT_FAILURE;
        }
        if (before == 0) {
            std::puts("ready");
            std::fflush(stdout);
        }
        // What is pending refers to the connection, and another reference saves the answer.
        while (g_served == before || g_main_context_pending(nullptr) != FALSE) {
            g_main_context_iteration(nullptr, TRUE);
        }
    }
}

/// Calls an echo and a closing server over and over, and comes back on each new bus.
void CallEcho() {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    {
        TermsDbusServer caller("caller");
        char text[] = "hello";
        std::uint8_t bytes[] = {1, 2, 3};
        const TermsDbusMessage request = {text, 7, text, text, bytes, sizeof bytes};
        bool open = caller.CreateDbusServer("com.example.Caller");
        static std::uint32_t last = 0;  // a closing server that starts anew counts anew, too
        while (!g_stop) {
            TermsDbusMessage reply{};
            const bool answered = open && caller.SendDbusSyncMessage(kEcho, request, reply, 1000);
            Count(g_echoes, Judge(answered, reply.buffer_size == sizeof bytes && reply.code == 7));
            ReleaseTermsDbusMessage(&reply);
            const bool closed = open && caller.SendDbusSyncMessage(kClosing, request, reply, -1);
            Count(g_closings, Judge(closed, reply.code == last + 1 || reply.code == 1));
            last = closed ? reply.code : last;
            ReleaseTermsDbusMessage(&reply);
            while (g_main_context_iteration(context, FALSE) != FALSE) {
            }
            if (!answered) {
                caller.CloseDbusServer();
                open = caller.CreateDbusServer("com.example.Caller");
            }
        }
        caller.CloseDbusServer();
        while (g_main_context_iteration(context, FALSE) != FALSE) {
        }
    }
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
}

/// The bus and who serves on it.
class Services {
  public:
    explicit Services(std::string address) : m_address(std::move(address)) { StartBus(); }

    void RestartSimulator(const Arguments& misbehaviour) {
        Kill(m_simulator);
        m_simulator.emplace(misbehaviour);
    }
    void RestartBus() {
        Kill(m_simulator);
        Kill(m_echo);
        Kill(m_closing);
        Kill(m_bus);
        StartBus();
    }
    /// How many of them ended before they were killed.
    int Crashes() const { return m_crashes; }

  private:
    template <typename Service>
    void Kill(std::optional<Service>& service) {
        service->Signal(SIGKILL);
        m_crashes += service->Wait() != -SIGKILL ? 1 : 0;
        service.reset();
    }
    void StartBus() {
        m_bus.emplace(m_address);
        m_simulator.emplace();
        m_echo.emplace(Arguments{COMMAND_PATH, "bus", "serve", kEcho});
        m_echo->ReadLine();
        m_closing.emplace(Arguments{"/proc/self/exe", "serve"});
        m_closing->ReadLine();
    }

    std::string m_address;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Program> m_echo;
    std::optional<Program> m_closing;
    int m_crashes = 0;
};

/// What a simulator that starts anew does wrong.
Arguments Misbehaviour(Random& random) {
    static const char* const methods[] = {"is service available",
                                          "get disclaimer number",
                                          "get disclaimer by order",
                                          "get disclaimer by term id",
                                          "get revised disclaimers",
                                          "set one agreement",
                                          "dravik check",
                                          "get information for web view disclaimer"};
    static const char* const options[] = {"--delay", "--fail", "--garbage", "--silent"};
    const std::size_t option = random() % std::size(options);
    return {options[option],
            methods[random() % std::size(methods)] + std::string(option == 0 ? "=20" : "")};
}

void Inject(Services& services, Random& random) {
    const auto fault = random() % 6;
    if (fault == 0) {
        services.RestartBus();
    } else {
        services.RestartSimulator(fault == 1 ? Arguments() : Misbehaviour(random));
    }
}

std::size_t HeapInUse() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}

struct Left {
    std::size_t descriptors = OpenDescriptors();
    std::size_t memory = HeapInUse();
};

/// Runs callers for a time, with faults or without, and lets the last of them end.
int Run(Services& services, int seconds, int threads, bool faults) {
    g_stop = false;
    std::vector<std::thread> callers;
    auto own = kTerms.begin();
    for (int i = 0; i < threads; ++i) {
        callers.emplace_back(Call, Caller{Random(static_cast<unsigned>(i + 1)),
                                          own != kTerms.end() ? *own++ : "",
                                          "soak/" + std::to_string(i),
                                          {}});
    }
    callers.emplace_back(CallEcho);
    if (kCancels) {
        callers.emplace_back(CancelCalls, static_cast<unsigned>(seconds));
    }
    Random random(static_cast<unsigned>(seconds));  // the same faults each time
    int injected = 0;
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    while (Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));  // else hardly one answers
        if (faults) {
            Inject(services, random);
            ++injected;
        }
    }
    g_stop = true;
    services.RestartSimulator({});  // whoever waits for a silent one goes on
    for (std::thread& caller : callers) {
        caller.join();
    }
    return injected;
}

std::array<long, 3> Totals() {
    std::array<long, 3> totals{};
    const auto add = [&totals](const char* name, const Counts& counts) {
        std::printf("%-18s %9ld %9ld %9ld\n", name, counts[0].load(), counts[1].load(),
                    counts[2].load());
        for (std::size_t i = 0; i < totals.size(); ++i) {
            totals.at(i) += counts.at(i);
        }
    };
    std::puts("                    answered    failed     wrong");
    for (const Kind& kind : g_calls) {
        add(kind.name, kind.counts);
    }
    add("echo", g_echoes);
    add("close in callback", g_closings);
    add("cancel", g_cancellations);
    return totals;
}

int Soak(int seconds, int threads) {
    const TemporaryFolder folder;
    const TemporaryStore store;
    const std::string address = "unix:path=" + folder.Path() + "/bus";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    setenv("VERANTI_LOG", "off", 1);
    CSharpGetInstance();
    Services services(address);
    Caller first{Random(static_cast<unsigned>(threads)), "", "", {}};
    Detail(first);  // what is made once is made before records are counted,
    Header(first);
    Run(services, 2, threads, false);  // and the rest of it here
    const Left before;
    const int faults = Run(services, seconds, threads, true);
    const Left after;
    const auto descriptors = static_cast<long>(after.descriptors - before.descriptors);
    const auto memory = static_cast<long>(after.memory - before.memory);
    const auto [answered, failed, wrong] = Totals();
    std::printf(
        "seconds        %d\nthreads        %d\nanswered       %ld\nfailed         %ld\n"
        "faults         %d\nwrong answers  %ld\ncrashes        %d\ndescriptors    %+ld\n"
        "memory         %+ld KB\n",
        seconds, threads, answered, failed, faults, wrong, services.Crashes(), descriptors,
        memory / 1024);
    const bool clean = wrong == 0 && services.Crashes() == 0 && descriptors == 0 && memory < kKept;
    return clean ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "serve") {
        return ServeAndClose();
    }
    const long seconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 60;
    const long threads = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 32;
    if (seconds < 1 || threads < 1) {
        std::fputs("Give how many seconds and how many threads, both 1 or more.\n", stderr);
        return 2;
    }
    return Soak(static_cast<int>(seconds), static_cast<int>(threads));
}
