// What the simulator says to have recorded is in the store, and nothing else is, also when it is
// killed while it saves, or when the disk is full.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <random>
#include <thread>

#include "Main.h"
#include "Store.h"
#include "VerantiAPI.h"

namespace {

constexpr std::array kKeys = {"db/veranti/disclaimeragrees", "db/veranti/terms_title",
                              "db/veranti/simulator_state"};
using Texts = std::array<std::string, kKeys.size()>;

class SaveTest : public testing::Test {
  protected:
    SaveTest() { setenv("VERANTI_LOG", "off", 1); }
    ~SaveTest() override { unsetenv("VERANTI_LOG"); }

    /// The texts of the keys.
    static Texts Read() {
        Texts texts;
        std::transform(kKeys.begin(), kKeys.end(), texts.begin(), Stored);
        return texts;
    }

    /// How many files are in the store besides those of the keys.
    long Leftovers() const {
        const std::filesystem::directory_iterator files(m_store.Path());
        return std::distance(begin(files), end(files)) - static_cast<long>(kKeys.size());
    }

    bool Agree(bool agreed, const std::string& product) const {
        return m_client.SetAllDisclaimerItemAgreement(agreed ? 1 : 0, product);
    }

    /// What is recorded: a bit for the set's agreements, one for the phone's, one for the country.
    using Record = std::size_t;
    static constexpr Record kBits = 3;

    /// Has one bit recorded as it is in a record.
    bool Change(std::size_t bit, Record record) const {
        const bool on = (record >> bit) % 2 == 1;
        return bit < 2 ? Agree(on, bit == 0 ? "TV" : "phone")
                       : m_client.SetCountryCode(on ? "KR" : "US");
    }

    PrivateBus m_bus;
    TemporaryStore m_store;
    CVerantiAPI& m_client = *CVerantiAPI::GetInstance();
};

TEST_F(SaveTest, KillsLoseNothing) {
    std::array<Texts, 1 << kBits> texts;
    Record recorded = 0;
    for (const Simulator simulator; recorded < texts.size(); ++recorded) {
        EXPECT_TRUE(Change(0, recorded) && Change(1, recorded) && Change(2, recorded));
        texts.at(recorded) = Read();
    }
    --recorded;

    std::minstd_rand random(std::random_device{}());
    unsigned saves = 0;
    unsigned hits = 0;
    unsigned misses = 0;
    while (hits < 80 && !HasFailure()) {
        NoteWait("a kill in a save, after " + std::to_string(hits) + " of them");
        Simulator simulator;
        EXPECT_EQ(Read(), texts.at(recorded));
        EXPECT_EQ(Leftovers(), 0);
        // Where nothing is saved so soon, the kills come later and later.
        const std::chrono::microseconds moment(random() % (20000 + 1000 * misses));
        std::thread killer([&] {
            std::this_thread::sleep_for(moment);
            simulator.Signal(SIGKILL);
        });
        Record wanted = recorded;
        for (bool answered = true; answered && !HasFailure(); saves += answered ? 1 : 0) {
            recorded = wanted;
            EXPECT_EQ(Read(), texts.at(recorded));
            const std::size_t bit = random() % kBits;
            wanted = recorded ^ (Record(1) << bit);
            answered = Change(bit, wanted);
        }
        killer.join();
        EXPECT_EQ(simulator.Wait(), -SIGKILL);

        // What had no answer may be on its way, key by key; the next start has it whole, or not.
        const Texts found = Read();
        for (std::size_t key = 0; key < kKeys.size(); ++key) {
            EXPECT_TRUE(found.at(key) == texts.at(recorded).at(key) ||
                        found.at(key) == texts.at(wanted).at(key))
                << kKeys.at(key) << ": " << found.at(key);
        }
        ++(Leftovers() > 0 || found != texts.at(recorded) ? hits : misses);
        recorded = found.back() == texts.at(wanted).back() ? wanted : recorded;
    }
    std::cout << hits + misses << " kills, " << hits << " of them in a save, after " << saves
              << " saves; " << (HasFailure() ? "the last one lost something." : "none lost.")
              << std::endl;
}

TEST_F(SaveTest, AFullDiskIsNoSuccessAndChangesNothing) {
    Program simulator({"prlimit", "--fsize=1000", SIMULATOR_PATH});
    ASSERT_EQ(simulator.ReadLine().find("Serving "), 0);
    Texts before;
    int products = -1;
    do {
        before = Read();
    } while (Agree(true, "product " + std::to_string(++products)));
    EXPECT_FALSE(Agree(true, "TV"));
    EXPECT_EQ(Read(), before);
    EXPECT_EQ(Leftovers(), 0);
    EXPECT_NE(simulator.Errors().find("\": File too large. Set VERANTI_STORE"), std::string::npos);
    EXPECT_TRUE(Agree(false, "product 0"));
    EXPECT_TRUE(Agree(true, "TV"));
}

}  // namespace
