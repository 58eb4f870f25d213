// The whole client and the bus server toolkit under load, while the simulator and the bus are
// killed and started again, replies are late, refused, garbled or missing, and the store is
// rewritten. What counts is that nothing answers wrongly, crashes or leaves anything behind. soak
// [SECONDS [THREADS]]
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

#include "TermsDbusServer.h"
#include "VerantiAPI.h"
#include "World.h"

namespace {

using Clock = std::chrono::steady_clock;
using Random = std::minstd_rand;

constexpr char kEcho[] = "com.example.Echo";
constexpr char kTitles[] = "db/veranti/terms_title";
constexpr std::size_t kTitleSize = 20000;  // more than one write's worth

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

Result Available(Random& /*random*/) {
    return Judge(IsServiceAvailable() == 1, true);
}

Result Number(Random& random) {
    const auto requester = static_cast<EHomeDisclaimerRequester>(random() % 4);
    const int number = CVerantiAPI::GetInstance()->GetDisclaimerNum(requester, "TV");
    return Judge(number != 0, number == (requester < 2 ? 7 : 8));
}

Result Detail(Random& /*random*/) {
    STHomeDisclaimerContentItem item;
    const bool answered =
        CVerantiAPI::GetInstance()->GetDisclaimerDetail("privacy_policy", item, "TV") == 0;
    return Judge(answered, item.strTitle == "Privacy policy" && item.vecDetailData.size() == 4);
}

Result List(Random& /*random*/) {
    std::vector<STHomeDisclaimerContentItem*> items;
    std::set<std::string> ids;
    const auto release = [&] {
        for (const STHomeDisclaimerContentItem* item : items) {
            ids.insert(item->strItemId);
            delete item;
        }
        items.clear();
    };
    try {
        CVerantiAPI::GetInstance()->GetDisclaimerDetails(items, HOME_DISCLAIMER_REQUESTER_0, "TV");
    } catch (...) {
        release();
        throw;
    }
    const std::size_t size = items.size();
    release();
    return Judge(size > 0, size <= 7 && ids.size() == size && ids.count("") == 0);
}

Result Agree(Random& random) {
    const bool agreed = random() % 2 == 0;
    return Judge(
        CVerantiAPI::GetInstance()->SetDisclaimerItemAgreement("newsletter", agreed ? 1 : 0, "TV"),
        true);
}

Result Agreed(Random& /*random*/) {
    const int agreed = GetDisclaimerItemAgreement("newsletter");
    return Judge(true, agreed == 0 || agreed == 1);
}

/// A title is one letter many times: a mixture would be half of one write and half of another.
Result Title(Random& /*random*/) {
    std::string title;
    const bool answered = CVerantiAPI::GetInstance()->GetDisclaimerTitle(title, 0) == 0;
    const bool whole = title.find_first_not_of(title.substr(0, 1)) == std::string::npos;
    return Judge(answered, title == "Terms of use" || whole);
}

void Call(unsigned seed) {
    Random random(seed);
    Result (*const calls[])(Random&) = {Available, Number, Detail, List, Agree, Agreed, Title};
    while (!g_stop) {
        try {
            Count(calls[random() % std::size(calls)](random));
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
        m_crashes += service->Wait() >= 0 ? 1 : 0;
        service.reset();
    }
    void StartBus() {
        m_bus.emplace(Arguments{"dbus-daemon", std::string("--config-file=") + BUS_CONFIGURATION,
                                "--nofork", "--nopidfile", "--print-address=1",
                                "--address=" + m_address});
        m_bus->ReadLine();
        m_simulator.emplace();
        m_echo.emplace(Arguments{COMMAND_PATH, "bus", "serve", kEcho});
        m_echo->ReadLine();
    }

    std::string m_address;
    std::optional<Program> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Program> m_echo;
    int m_crashes = 0;
};

void Inject(Services& services, Random& random) {
    switch (random() % 8) {
        case 0:
            services.RestartBus();
            break;
        case 1:
            services.RestartSimulator({});
            break;
        case 2:
            services.RestartSimulator({"--delay", "is service available=20"});
            break;
        case 3:
            services.RestartSimulator({"--garbage", "get disclaimer by order"});
            break;
        case 4:
            services.RestartSimulator({"--silent", "get disclaimer number"});
            break;
        case 5:
            services.RestartSimulator({"--fail", "set one agreement"});
            break;
        default: {
            const std::string title(kTitleSize, random() % 2 == 0 ? 'a' : 'b');
            vconf_set_str(kTitles, ("[{\"title\":\"" + title + "\"}]").c_str());
        }
    }
}

struct Left {
    std::size_t descriptors = OpenDescriptors();
    std::size_t memory = mallinfo2().uordblks;
};

/// Runs callers for a time, with faults or without, and lets the last of them end.
int Run(Services& services, int seconds, int threads, bool faults) {
    g_stop = false;
    std::vector<std::thread> callers;
    for (int i = 0; i < threads; ++i) {
        callers.emplace_back(Call, static_cast<unsigned>(i + 1));
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
    Services services(address);
    Run(services, 2, threads, false);  // what is made once is made here
    const Left before;
    const int faults = Run(services, seconds, threads, true);
    malloc_trim(0);
    const Left after;
    const auto descriptors = static_cast<long>(after.descriptors - before.descriptors);
    const auto memory = static_cast<long>(after.memory - before.memory) / 1024;
    std::printf(
        "seconds        %d\nthreads        %d\nanswered       %ld\nfailed         %ld\n"
        "faults         %d\nwrong answers  %ld\ncrashes        %d\ndescriptors    %+ld\n"
        "memory         %+ld KB\n",
        seconds, threads, g_answered.load(), g_failed.load(), faults, g_wrong.load(),
        services.Crashes(), descriptors, memory);
    return g_wrong == 0 && services.Crashes() == 0 && descriptors == 0 ? EXIT_SUCCESS
                                                                       : EXIT_FAILURE;
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
