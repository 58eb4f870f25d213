// The client against the simulator on a real bus.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <csignal>
#include <future>

#include "Main.h"
#include "VerantiAPI.h"
#include "World.h"

namespace {

class ClientTest : public testing::Test {
  protected:
    ClientTest() { setenv("VERANTI_LOG", "off", 1); }
    ~ClientTest() override { unsetenv("VERANTI_LOG"); }

    PrivateBus m_bus;
    TemporaryStore m_store;
    CVerantiAPI& m_client = *CVerantiAPI::GetInstance();
};

TEST_F(ClientTest, ThirtyTwoThreadsLeaveNothingBehind) {
    const Simulator simulator;
    const auto run = [this](int threads, int requests) {
        std::atomic<int> answered{0};
        std::vector<std::future<void>> callers;
        for (int thread = 0; thread < threads; ++thread) {
            callers.push_back(std::async(std::launch::async, [this, requests, thread, &answered] {
                const auto requester = static_cast<EHomeDisclaimerRequester>(thread % 4);
                for (int i = 0; i < requests; ++i) {
                    const int number = m_client.GetDisclaimerNum(requester, "TV");
                    answered += number == (thread % 4 < 2 ? 7 : 8) ? 1 : 0;
                }
            }));
        }
        callers.clear();  // waits for them
        return answered.load();
    };
    NoteWait("the answers to all threads");
    ASSERT_EQ(run(2, 10), 20);  // what is made once is made here
    const std::size_t descriptors = OpenDescriptors();
    const std::size_t memory = mallinfo2().uordblks;
    EXPECT_EQ(run(32, 50), 1600);
    EXPECT_EQ(OpenDescriptors(), descriptors);
    // A leaked connection or message would be kilobytes for each of 3200 exchanges.
    EXPECT_LT(mallinfo2().uordblks, memory + (1 << 20));
}

TEST_F(ClientTest, CallsWhileTheProcessEndsAreAnsweredAlike) {
    const Simulator simulator;
    const Outcome caller = RunProgram({CALLERS_PATH "/late-caller"});
    EXPECT_EQ(caller.status, 0);
    EXPECT_EQ(caller.output, "1 0\n1 0\n");
}

TEST_F(ClientTest, CallsThatAreGivenUpLeaveNothingBehind) {
    const TemporaryFolder folder;
    setenv("VERANTI_LOG", (folder.Path() + "/log").c_str(), 1);
    const Simulator simulator;
    const Outcome caller = RunProgram({CALLERS_PATH "/cancelled-caller", "1000", m_store.Path()});
    EXPECT_EQ(caller.status, 0) << caller.errors;
    EXPECT_EQ(caller.output, "0 descriptors more, 0 files more, 1 1 -2 -3\n");
    simulator.Signal(SIGSTOP);  // nobody answers
    EXPECT_EQ(RunProgram({CALLERS_PATH "/cancelled-caller"}).output, "given up\n");
    simulator.Signal(SIGCONT);
}

TEST_F(ClientTest, LivesOnWhenItsLibraryIsClosed) {
    const Simulator simulator;
    simulator.Signal(SIGSTOP);  // no answer before the library is closed
    Program caller({CALLERS_PATH "/reload-caller"});
    EXPECT_EQ(caller.ReadLine(), "closed");
    simulator.Signal(SIGCONT);
    EXPECT_EQ(caller.Wait(), 0);
    EXPECT_EQ(caller.ReadAll(), "the same instance\n");
}

}  // namespace
