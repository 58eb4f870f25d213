// The whole client and the bus server toolkit under load, while the simulator and the bus are
// killed and started again, replies are late, refused, garbled or missing, and the store is
// rewritten. What counts is that nothing answers wrongly, crashes or leaves anything behind. (The C
// interface's list is left out: it leaves its records behind.) soak [SECONDS [THREADS]]
#include <TermsAPI.h>
#include <malloc.h>
#include <vconf.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <set>
#include <thread>

#include "CSharpBridgeAPI.h"
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
constexpr std::size_t kTitleSize = 20000;  // more than one write's worth
constexpr long kKept = 1 << 20;            // what GLib's and the C library's caches may keep

const std::set<std::string> kTerms = {
    "terms_of_use",         "privacy_policy", "viewing_information", "voice_recognition",
    "personal_advertising", "newsletter",     "energy_notice"};

std::atomic<bool> g_stop{false};
std::atomic<long> g_answered{0};
std::atomic<long> g_failed{0};
std::atomic<long> g_wrong{0};

enum class Result { Answered, Failed, Wrong };

Result Judge(bool answered, bool right) {
    return !answered ? Result::Failed : right ? Result::Answered : Result::Wrong;
}

void Count(Result result) {
    ++(result == Result::Answered ? g_answered : result == Result::Failed ? g_failed : g_wrong);
}

/// One of the threads that ask.
struct Caller {
    Random random;
    std::string own;             ///< the term that nobody else agrees to; empty: none
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

/// Whether each record is of another known term; releases them.
bool Known(std::vector<STHomeDisclaimerContentItem*>& items) {
    std::set<std::string> ids;
    const std::size_t count = items.size();
    for (const STHomeDisclaimerContentItem* item : items) {
        if (kTerms.count(item->strItemId) == 1) {
            ids.insert(item->strItemId);
        }
        delete item;
    }
    items.clear();
    return ids.size() == count;
}

template <typename Fetch>
Result List(const Fetch& fetch) {
    std::vector<STHomeDisclaimerContentItem*> items;
    try {
        fetch(items);
    } catch (...) {
        Known(items);
        throw;
    }
    const bool answered = !items.empty();
    return Judge(answered, Known(items));
}

Result Listed(Caller& caller) {
    return List([&caller](std::vector<STHomeDisclaimerContentItem*>& items) {
        caller.client.GetDisclaimerDetails(items, HOME_DISCLAIMER_REQUESTER_0, "TV");
    });
}

Result Revised(Caller& caller) {
    return List([&caller](std::vector<STHomeDisclaimerContentItem*>& items) {
        caller.client.GetRevisedDisclaimers(items, "TV", "all");
    });
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

void Call(Caller caller) {
    Result (*const calls[])(Caller&) = {Available, Number, Detail, Shown,  Listed, Revised,
                                        Agree,     Agreed, Title,  Header, Checked};
    while (!g_stop) {
        try {
            Count(calls[caller.random() % std::size(calls)](caller));
        } catch (const Json::Exception&) {  // a garbled reply
            Count(Result::Failed);
        }
    }
}

/// Calls an echo over and over, and comes back on each new bus.
void CallEcho() {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    {
        TermsDbusServer caller("caller");
        char text[] = "hello";
        std::uint8_t bytes[] = {1, 2, 3};
        const TermsDbusMessage request = {text, 7, text, text, bytes, sizeof bytes};
        bool open = caller.CreateDbusServer("com.example.Caller");
        while (!g_stop) {
            TermsDbusMessage reply{};
            const bool answered = open && caller.SendDbusSyncMessage(kEcho, request, reply, 1000);
            Count(Judge(answered, reply.buffer_size == sizeof bytes && reply.code == 7));
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
    }

    std::string m_address;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Program> m_echo;
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
    switch (random() % 8) {
        case 0:
            services.RestartBus();
            break;
        case 1:
            services.RestartSimulator({});
            break;
        case 2:
        case 3: {
            const std::string title(kTitleSize, random() % 2 == 0 ? 'a' : 'b');
            vconf_set_str(kTitlesKey, ("[{\"title\":\"" + title + "\"}]").c_str());
            break;
        }
        default:
            services.RestartSimulator(Misbehaviour(random));
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
        callers.emplace_back(
            Call,
            Caller{Random(static_cast<unsigned>(i + 1)), own != kTerms.end() ? *own++ : "", {}});
    }
    callers.emplace_back(CallEcho);
    Random random(static_cast<unsigned>(seconds));  // the same faults each time
    int injected = 0;
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    while (Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
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

int Soak(int seconds, int threads) {
    const TemporaryFolder folder;
    const TemporaryStore store;
    const std::string address = "unix:path=" + folder.Path() + "/bus";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    setenv("VERANTI_LOG", "off", 1);
    CSharpGetInstance();
    Services services(address);
    Run(services, 2, threads, false);  // what is made once is made here
    const Left before;
    const int faults = Run(services, seconds, threads, true);
    const Left after;
    const auto descriptors = static_cast<long>(after.descriptors - before.descriptors);
    const auto memory = static_cast<long>(after.memory - before.memory);
    std::printf(
        "seconds        %d\nthreads        %d\nanswered       %ld\nfailed         %ld\n"
        "faults         %d\nwrong answers  %ld\ncrashes        %d\ndescriptors    %+ld\n"
        "memory         %+ld KB\n",
        seconds, threads, g_answered.load(), g_failed.load(), faults, g_wrong.load(),
        services.Crashes(), descriptors, memory / 1024);
    const bool clean =
        g_wrong == 0 && services.Crashes() == 0 && descriptors == 0 && memory < kKept;
    return clean ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    const long seconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 60;
    const long threads = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 32;
    if (seconds < 1 || threads < 1) {
        std::fputs("Give how many seconds and how many threads, both 1 or more.\n", stderr);
        return 2;
    }
    return Soak(static_cast<int>(seconds), static_cast<int>(threads));
}
