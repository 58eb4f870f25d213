// The simulator: what it stores, and what it does when things go wrong. What it answers, and what
// the command prints for it, is in the transcripts.
#include <TCServer.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "BusPeer.h"
#include "Store.h"
#include "VerantiAPI.h"

namespace {

constexpr char kAgreements[] = "db/veranti/disclaimeragrees";
constexpr char kTitles[] = "db/veranti/terms_title";
constexpr char kState[] = "db/veranti/simulator_state";

class SimulatorTest : public testing::Test {
  protected:
    PrivateBus m_bus;
    TemporaryStore m_store;
};

/// Runs `veranti` with a line's words.
/// @param output all of it; of the errors a part.
void Expect(const std::string& line, int status, const std::string& output,
            const std::string& errors = "") {
    const Outcome run = RunCommand(line);
    EXPECT_EQ(run.status, status) << line;
    EXPECT_EQ(run.output, output) << line;
    EXPECT_NE(run.errors.find(errors), std::string::npos) << line << run.errors;
    EXPECT_EQ(run.errors.empty(), errors.empty()) << line << run.errors;
}

TEST_F(SimulatorTest, WhatCannotBeStoredHasNotChanged) {
    Simulator simulator;
    const std::string before = Stored(kAgreements);
    std::filesystem::remove(FileOf(m_store, kTitles));
    std::filesystem::create_directory(FileOf(m_store, kTitles));
    Expect("agree newsletter", 1, "", "\"newsletter\"");
    Expect("country KR", 1, "", "\"KR\"");
    Expect("update", 1, "", "could not update");
    EXPECT_EQ(Stored(kAgreements), before);
    EXPECT_NE(simulator.Errors().find("\": Is a directory. Set VERANTI_STORE"), std::string::npos);
    std::filesystem::remove(FileOf(m_store, kTitles));
    EXPECT_EQ(RunCommand("header").output.find("country_code  \n"), 0);
}

TEST_F(SimulatorTest, AListThatIsNotWholeSaysSo) {
    const BusPeer service("com.velmora.tv.termsclient", [](const BusPeer::Call& call) {
        g_autofree char* request = g_variant_print(call.Body(), FALSE);
        const bool fails = std::strstr(request, "\"request_index\":1") != nullptr;
        BusPeer::SaysText(fails ? "{}" : R"({"result":true,"number":3,"id":"a"})")(call);
    });
    Expect("list", 0,
           "ID  ORDER  TITLE  STATE\na   0             not agreed\na   0             not agreed\n",
           "gave 2 of 3 terms");
}

/// Agrees to a term for a product type, or withdraws that.
bool Agree(const std::string& product, bool agreed = true) {
    setenv("VERANTI_LOG", "off", 1);
    CVerantiAPI& client = *CVerantiAPI::GetInstance();
    const bool done = client.SetDisclaimerItemAgreement("newsletter", agreed ? 1 : 0, product);
    unsetenv("VERANTI_LOG");
    return done;
}

TEST_F(SimulatorTest, NobodyCanMakeItsStateGrowWithoutEnd) {
    Simulator simulator;
    for (int i = 0; i < 32; ++i) {
        EXPECT_TRUE(Agree(std::to_string(i)));
    }
    const std::string longest(64, 'x');
    const struct {
        std::string product;
        bool agreed, recorded;
        const char* error;
    } cases[] = {
        {"33rd", true, false, "Refused an agreement: 32 product types have some already. "},
        {"33rd", false, true, ""},
        {"TV", true, true, ""},
        {"0", true, true, ""},
        {longest, true, false, "Refused an agreement: 32 product types have some already. "},
        {"0", false, true, ""},
        {longest + 'x', true, false, "Refused an agreement: its product type has 65 bytes. "},
        {longest, true, true, ""},
        {std::string(1'000'000, 'x'), true, false, "Refused a request of 10000"},
    };
    for (const auto& [product, agreed, recorded, error] : cases) {
        RunCommand("show newsletter --product asked");  // takes no place
        EXPECT_EQ(Agree(product, agreed), recorded) << product.substr(0, 70);
        const std::string errors = simulator.Errors();
        EXPECT_EQ(errors.find(error), 0) << errors;
        EXPECT_EQ(errors.empty(), recorded) << errors;
    }
    EXPECT_LT(Stored(kState).size(), 1000);
}

TEST_F(SimulatorTest, WhatIsStoredBeyondTheLimitsIsKept) {
    std::string state = R"({"agreed":{"none":[],")" + std::string(65, 'x') + R"(":["newsletter"])";
    for (int i = 0; i < 40; ++i) {
        state += ",\"" + std::to_string(i) + R"(":["newsletter"])";
    }
    vconf_set_str(kState, (state + R"(},"country":""})").c_str());
    Simulator simulator;
    EXPECT_EQ(Stored(kState).find("none"), std::string::npos);
    EXPECT_NE(RunCommand("show newsletter --product 39").output.find("State: agreed"),
              std::string::npos);
    EXPECT_TRUE(Agree(std::string(65, 'x')));
    EXPECT_TRUE(Agree(std::string(65, 'x'), false));
    EXPECT_FALSE(Agree("new"));
    EXPECT_TRUE(Agree("TV"));
    EXPECT_NE(simulator.Errors(), "");
}

TEST_F(SimulatorTest, AMillionBytesAreTheLargestRequestThatIsRead) {
    constexpr std::size_t kRest =
        sizeof R"(protocol{"data":"","method":"is service available"})" - 1;
    Corvane::TCServer client("CAutoConnect", Corvane::TCServer::TC_SERVER_CLIENT);
    Corvane::TCMessage request;
    Corvane::TCMessage reply;
    request.m_Protocol = "protocol";
    request.m_JsonBody["method"] = "is service available";
    ASSERT_TRUE(client.CreateDBusProxy());
    const auto answer = [&](std::size_t size) {
        request.m_JsonBody["data"] = std::string(size - kRest, 'x');
        client.SendMessage("com.velmora.tv.termsclient", &request, true, &reply, -1);
        return reply.m_JsonBody["result"];
    };
    {
        Simulator simulator;
        EXPECT_EQ(answer(1'000'000), true);
        ASSERT_EQ(answer(1'000'001), false);
        EXPECT_EQ(simulator.Errors(),
                  "Refused a request of 1000001 bytes: at most 1000000 are read.\n");
    }
    Simulator simulator({"--verbose"});
    EXPECT_EQ(answer(1'000'001), false);
    EXPECT_EQ(simulator.ReadLine(), "(1000001 bytes)");
    EXPECT_EQ(simulator.ReadLine(), R"(  -> {"result":false})");
    EXPECT_NE(simulator.Errors(), "");
}

TEST_F(SimulatorTest, TheLogCanBeWatched) {
    const Simulator simulator;
    const Outcome run = RunCommand("status --log");
    EXPECT_EQ(run.output, "The terms service is up.\n");
    EXPECT_NE(run.errors.find(") > IsServiceAvailable result : true\n"), std::string::npos);
}

TEST_F(SimulatorTest, AgreementsSurviveARestart) {
    {
        Simulator first;
        EXPECT_EQ(RunCommand("agree newsletter").status, 0);
        EXPECT_EQ(RunCommand("country KR").status, 0);
        first.Signal(SIGTERM);
        EXPECT_EQ(first.Wait(), 0);
    }
    const std::string agreements = Stored(kAgreements);
    const std::string titles = Stored(kTitles);
    std::filesystem::remove(FileOf(m_store, kAgreements));
    std::filesystem::remove(FileOf(m_store, kTitles));
    const Simulator second;
    EXPECT_EQ(Stored(kAgreements), agreements);
    EXPECT_EQ(Stored(kTitles), titles);
}

TEST_F(SimulatorTest, AStateThatIsNoneIsLeftAlone) {
    for (const std::string state : {R"({"agreed":[3]})", R"({"agreed":{"TV":"all"}})"}) {
        vconf_set_str(kState, state.c_str());
        const Outcome run = RunProgram({SIMULATOR_PATH});
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.errors.find("is not the simulator's"), std::string::npos) << run.errors;
        EXPECT_EQ(Stored(kState), state);
    }
}

TEST_F(SimulatorTest, EndsWithTheBus) {
    Simulator simulator;
    m_bus.Stop();
    EXPECT_EQ(simulator.Wait(), 1);
    EXPECT_EQ(simulator.Errors(),
              "The message bus went away. Start the simulator again when it is back.\n");
}

}  // namespace
