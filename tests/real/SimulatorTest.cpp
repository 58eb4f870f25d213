// The simulator: what it answers, what it stores, and what it does when things go wrong. What the
// command prints for it is in the transcripts.
#include <TCServer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "Cases.h"
#include "ScriptedService.h"
#include "Store.h"

namespace {

constexpr char kAgreements[] = "db/veranti/disclaimeragrees";
constexpr char kTitles[] = "db/veranti/terms_title";

class SimulatorTest : public testing::Test {
  protected:
    PrivateBus m_bus;
    TemporaryStore m_store;
};

struct CommandCase {
    Arguments arguments;
    int status;
    std::string output;  // whole, with its line feed
    std::string errors;  // a part
};

void Expect(const std::vector<CommandCase>& cases) {
    for (const CommandCase& each : cases) {
        std::string line = "veranti";
        for (const std::string& argument : each.arguments) {
            line += ' ' + argument;
        }
        SCOPED_TRACE(line);
        const Outcome run = RunCommand(each.arguments);
        EXPECT_EQ(run.status, each.status);
        EXPECT_EQ(run.output, each.output);
        EXPECT_NE(run.errors.find(each.errors), std::string::npos) << run.errors;
        EXPECT_EQ(run.errors.empty(), each.errors.empty()) << run.errors;
    }
}

TEST_F(SimulatorTest, EachSubcommandSendsItsRequest) {
    Simulator simulator({"--verbose"});
    for (const Json::Value& each : ReadCases("requests")) {
        Arguments arguments;
        for (const Json::Value& argument : each[0]) {
            arguments.push_back(argument.asString());
        }
        RunCommand(arguments);
        std::vector<std::string> lines(
            4);  // the availability check, the request, and the answer to each
        for (std::string& line : lines) {
            line = simulator.ReadLine();
        }
        EXPECT_EQ(lines[2], Corvane::Wire::ToText(each[1]));
    }
}

TEST_F(SimulatorTest, EveryRequestIsAnswered) {
    const TemporaryFolder folder;
    const Simulator simulator({"--catalogue", folder.Write("catalogue.json", R"({
        "languages": {"en": {"title": "T", "description": "D"}}, "default_language": "en",
        "countries": {"US": "en"}, "terms": [
        {"id": "a", "revised": true, "requesters": [0], "texts": {"en": {"title": "A"}}},
        {"id": "n", "only_notice": true, "version": "2", "texts": {"en":
         {"title": "N", "intro": "I", "details": "prose", "buttons": ["OK"]}}}]})")});
    Corvane::TCServer client("CAutoConnect", Corvane::TCServer::TC_SERVER_CLIENT);
    ASSERT_TRUE(client.CreateDBusProxy());
    for (const Json::Value& each : ReadCases("replies")) {
        Corvane::TCMessage request;
        Corvane::TCMessage reply;
        request.m_Protocol = each[0].asString();
        request.m_JsonBody = each[1];
        EXPECT_TRUE(client.SendMessage("com.velmora.tv.termsclient", &request, true, &reply, -1));
        EXPECT_EQ(Corvane::Wire::ToText(reply.m_JsonBody), Corvane::Wire::ToText(each[2]))
            << Corvane::Wire::ToText(each[1]);
    }
}

TEST_F(SimulatorTest, WhatCannotBeStoredHasNotChanged) {
    const Simulator simulator;
    const std::string before = Stored(kAgreements);
    std::filesystem::remove(FileOf(m_store, kTitles));
    std::filesystem::create_directory(FileOf(m_store, kTitles));
    Expect({{{"agree", "newsletter"}, 1, "", "\"newsletter\""},
            {{"country", "KR"}, 1, "", "\"KR\""},
            {{"update"}, 1, "", "could not update"}});
    EXPECT_EQ(Stored(kAgreements), before);
    std::filesystem::remove(FileOf(m_store, kTitles));
    Expect({{{"header"},
             0,
             "country_code  \n"
             "description   Please read the terms below. The television needs your agreement to "
             "those marked as required.\nlanguage      en\ntitle         Terms and conditions\n",
             ""}});
}

TEST_F(SimulatorTest, AReplyThatCannotBeReadIsExplained) {
    const ScriptedService service("com.velmora.tv.termsclient",
                                  ScriptedService::Says(R"({"result":true,"number":"x",)"
                                                        R"("disclaimers":[{},{"title":{}}]})"));
    const char* advice = "answer cannot be read";
    Expect(
        {{{"count"}, 1, "", advice}, {{"revised", "--json"}, 1, "{\"result\":false}\n", advice}});
}

TEST_F(SimulatorTest, AListThatIsNotWholeSaysSo) {
    const ScriptedService service(
        "com.velmora.tv.termsclient", [](sd_bus_message* call, const auto&, const auto& text) {
            const bool fails = text.find("\"request_index\":1") != std::string::npos;
            sd_bus_reply_method_return(call, "s",
                                       fails ? "{}" : R"({"result":true,"number":3,"id":"a"})");
        });
    Expect(
        {{{"list"},
          0,
          "ID  ORDER  TITLE  STATE\na   0             not agreed\na   0             not agreed\n",
          "gave 2 of 3 terms"}});
}

TEST_F(SimulatorTest, AnAnswerThatCannotBeWrittenIsNoSuccess) {
    const Simulator simulator;
    const Outcome run = RunProgram({"sh", "-c", "exec \"$0\" status >/dev/full", COMMAND_PATH});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "Cannot write the answer: what the output goes to is full or closed.\n");
}

TEST_F(SimulatorTest, WhatTheServiceSaysCannotHarmTheTerminal) {
    const TemporaryFolder folder;
    const Simulator simulator(
        {"--catalogue",
         folder.Write("catalogue.json",
                      R"({"languages":{"en":{"title":"T","description":"D"}},)"
                      R"("default_language":"en","countries":{"US":"en"},"terms":[)"
                      R"({"id":"a","texts":{"en":{"title":"\u001b[2Jx\u0007\ny","intro":")" +
                          std::string(100, 'y') + R"(","details":"[Note]\tone\r\ntwo"}}}]})")});
    Expect({{{"show", "a"},
             0,
             "\ufffd[2Jx\ufffd\ny\n(a, version 1.0)\n\n" + std::string(80, 'y') + '\n' +
                 std::string(20, 'y') + "\n\n  [Note] one\n  two\n\nState: not agreed\n",
             ""},
            {{"list"},
             0,
             "ID  ORDER  TITLE     STATE\na   0      \ufffd[2Jx\ufffd y  not agreed\n",
             ""}});
}

TEST_F(SimulatorTest, AgreementsReachTheStoreAllOrNone) {
    const auto agreed = [](const std::string& id) {
        return Stored(kAgreements).find('"' + id + R"(":"true")") != std::string::npos;
    };
    const Simulator simulator;
    EXPECT_FALSE(agreed("newsletter"));
    Expect({{{"agree", "--all"}, 0, "Agreed to all terms.\n", ""}});
    EXPECT_TRUE(agreed("newsletter"));
    EXPECT_FALSE(agreed("energy_notice"));
    Expect({{{"withdraw", "newsletter"}, 0, "Withdrew the agreement to newsletter.\n", ""},
            {{"withdraw", "voice_recognition", "--product", "phone"},
             0,
             "Withdrew the agreement to voice_recognition.\n",
             ""}});
    EXPECT_FALSE(agreed("newsletter"));
    EXPECT_TRUE(agreed("voice_recognition"));  // the set's, not the phone's
    Expect({{{"set-agreements", R"({"newsletter":true,"nothing":true})"}, 1, "", "none of"}});
    EXPECT_FALSE(agreed("newsletter"));
    Expect({{{"set-agreements", R"({"newsletter":"true","terms_of_use":false})"},
             0,
             "The agreements are recorded.\n",
             ""},
            {{"agree-revised", "privacy_policy", "--withdraw"},
             0,
             "Withdrew the agreement to privacy_policy.\n",
             ""}});
    EXPECT_TRUE(agreed("newsletter"));
    EXPECT_FALSE(agreed("terms_of_use"));
    EXPECT_FALSE(agreed("privacy_policy"));
}

TEST_F(SimulatorTest, WithoutABusBothSayWhatToDo) {
    m_bus.Stop();
    Expect({{{"country", "KR"}, 1, "", "No terms service is ready on the bus at unix:"}});
    const Outcome run = RunProgram({SIMULATOR_PATH});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("No message bus at unix:"), std::string::npos) << run.errors;
}

TEST_F(SimulatorTest, TheLogCanBeWatched) {
    const Simulator simulator;
    const Outcome run = RunCommand({"status", "--log"});
    EXPECT_EQ(run.output, "The terms service is up.\n");
    EXPECT_NE(run.errors.find(") > IsServiceAvailable result : true\n"), std::string::npos);
}

TEST_F(SimulatorTest, AgreementsSurviveARestart) {
    {
        Simulator first;
        EXPECT_EQ(RunCommand({"agree", "newsletter"}).status, 0);
        EXPECT_EQ(RunCommand({"country", "KR"}).status, 0);
        first.Signal(SIGTERM);
        EXPECT_EQ(first.Wait(), 0);
    }
    const std::string agreements = Stored(kAgreements);
    const std::string titles = Stored(kTitles);
    vconf_unset(kAgreements);
    vconf_unset(kTitles);
    const Simulator second;
    EXPECT_EQ(Stored(kAgreements), agreements);
    EXPECT_EQ(Stored(kTitles), titles);
}

TEST_F(SimulatorTest, EndsWithTheBus) {
    Simulator simulator;
    m_bus.Stop();
    EXPECT_EQ(simulator.Wait(), 1);
}

TEST_F(SimulatorTest, ABadStartIsExplained) {
    const TemporaryFolder folder;
    const std::string head =
        "{\"languages\":{\"en\":{\"title\":\"\",\"description\":\"\"}},\"default_language\":\"en\","
        "\"countries\":{\"US\":\"en\"},\n\"terms\":[\n";
    const struct {
        std::string text;
        const char* error;
    } cases[] = {
        {"", ":1:1: Syntax error"},
        {"{\n\"terms\": [,]}", ":2:"},
        {"[]", ":1: the catalogue must be an object."},
        {"{\n}", ":1: the catalogue needs the member \"languages\"."},
        {head + "3]}", ":3: an element of \"terms\" must be an object."},
        {head + "{\n\"id\": 5}]}", ":4: \"id\" must be a text."},
        {head + "{\"id\":\"a\",\n\"requesters\":[9]}]}",
         ":4: an element of \"requesters\" must be a number from 0 to 4."},
        {head + "{\"id\":\"a\",\"texts\":\n{}}]}", ":4: \"texts\" needs the member \"en\"."},
    };
    for (const auto& each : cases) {
        const std::string path = folder.Write("catalogue.json", each.text);
        const Outcome run = RunProgram({SIMULATOR_PATH, "--catalogue", path});
        EXPECT_EQ(run.status, 1) << each.error;
        EXPECT_NE(run.errors.find(path + each.error), std::string::npos) << run.errors;
    }
    const auto expectRefused = [](const Arguments& options, int status, const char* error) {
        Arguments all{SIMULATOR_PATH};
        all.insert(all.end(), options.begin(), options.end());
        const Outcome run = RunProgram(all);
        EXPECT_EQ(run.status, status);
        EXPECT_NE(run.errors.find(error), std::string::npos) << run.errors;
    };
    expectRefused({"--catalogue", "/nowhere"}, 1, "\"/nowhere\": No such file");
    expectRefused({"--catalogue", folder.Path()}, 1, "Cannot read the catalogue");
    expectRefused({"--fail", "bogus"}, 2, "\"bogus\" is no request");
    expectRefused({"--delay", "set country code"}, 2, "METHOD=MILLISECONDS");
    {
        const Simulator first;
        const std::string agreements = Stored(kAgreements);
        const std::string other =
            folder.Write("other.json", head + R"({"id":"a","texts":{"en":{"title":"A"}}}]})");
        expectRefused({"--catalogue", other}, 1, "\"com.velmora.tv.termsclient\" is taken");
        EXPECT_EQ(Stored(kAgreements), agreements);
    }
    vconf_set_str("db/veranti/simulator_state", "{\"agreed\":[3]}");
    expectRefused({}, 1, "is not the simulator's");
    setenv("VERANTI_STORE", (folder.Path() + "/catalogue.json").c_str(), 1);
    expectRefused({}, 1, "VERANTI_STORE");
}

TEST_F(SimulatorTest, AnUpdateReadsTheCatalogueAgainAndKeepsTheOldOneWhenItIsBroken) {
    const TemporaryFolder folder;
    const auto catalogue = [&folder](const std::string& terms) {
        return folder.Write("catalogue.json",
                            R"({"languages":{"en":{"title":"T","description":"D"}},)"
                            R"("default_language":"en","countries":{"US":"en"},"terms":[)" +
                                terms + "]}");
    };
    const char* one = R"({"id":"a","texts":{"en":{"title":"A"}}})";
    const char* two = R"({"id":"b","texts":{"en":{"title":"B"}}})";
    const Simulator simulator({"--catalogue", catalogue(one)});
    Expect({{{"count"}, 0, "1 terms for requester 0.\n", ""}});
    catalogue(std::string(one) + ',' + two);
    Expect({{{"update"}, 0, "The terms are up to date.\n", ""},
            {{"count"}, 0, "2 terms for requester 0.\n", ""}});
    EXPECT_EQ(Stored(kTitles), R"([{"title":"A"},{"title":"B"}])");
    catalogue("broken");
    Expect({{{"update"}, 1, "", "could not update"},
            {{"count"}, 0, "2 terms for requester 0.\n", ""}});
}

}  // namespace
