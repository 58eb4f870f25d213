// The C interface against the simulator on a real bus. The example programs walk through it in
// transcripts.
#include <TermsAPI.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "World.h"

namespace {

class CInterfaceTest : public testing::Test {
  protected:
    CInterfaceTest() { setenv("VERANTI_LOG", "off", 1); }
    ~CInterfaceTest() override { unsetenv("VERANTI_LOG"); }

    PrivateBus m_bus;
    TemporaryStore m_store;
};

TEST_F(CInterfaceTest, CallbacksMayBeNullOrCopy) {
    const Simulator simulator;
    GetDisclaimerDetail("privacy_policy", nullptr, nullptr);
    GetAllDisclaimerDetail(TERMS_REQUESTER_0, nullptr, nullptr);
    std::vector<TermsContentItem> copies;
    GetAllDisclaimerDetail(
        TERMS_REQUESTER_2,
        [](TermsContentItem** items, int count, void* data) {
            for (int i = 0; i < count; ++i) {
                static_cast<std::vector<TermsContentItem>*>(data)->push_back(*items[i]);
            }
        },
        &copies);
    ASSERT_EQ(copies.size(), 8U);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(copies[static_cast<std::size_t>(i)].nOrder, i);
    }
    bool called = false;
    GetDisclaimerDetail(
        "nobody's", [](TermsContentItem*, void* data) { *static_cast<bool*>(data) = true; },
        &called);
    EXPECT_FALSE(called);
}

/// Reads lines up to one with a text, and gives those of the log's system buffer from their message
/// on.
Arguments SystemLinesUntil(Program& program, const std::string& text) {
    Arguments system;
    std::string line;
    do {
        line = program.ReadLine();
        EXPECT_NE(line, "");
        if (line.compare(0, 16, "system E Veranti") == 0) {
            system.push_back(line.substr(line.find(" > ") + 3));
        }
    } while (!line.empty() && line.find(text) == std::string::npos);
    return system;
}

TEST_F(CInterfaceTest, ATriggerReturnsWithoutTheServicesAnswer) {
    std::optional<Simulator> simulator;
    simulator.emplace(Arguments{"--verbose", "--silent", "is service available"});
    setenv("VERANTI_LOG", "/dev/stdout", 1);
    Program trigger({TRIGGER_PATH});
    EXPECT_EQ(SystemLinesUntil(trigger, "returned"), Arguments{"Finish Trigger Terms Service"});
    SystemLinesUntil(*simulator, "-> (silent)");
    simulator.reset();  // the answer never comes
    EXPECT_EQ(SystemLinesUntil(trigger, "IsServiceAvailable false"),
              Arguments{"IsServiceAvailable false"});
}

}  // namespace
