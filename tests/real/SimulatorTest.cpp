// The simulator and the command, as a person and a script meet them.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "World.h"

namespace {

constexpr char kAgreements[] = "/db/veranti/disclaimeragrees";
constexpr char kTitles[] = "/db/veranti/terms_title";

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

TEST_F(SimulatorTest, TheCommandAsksForEverything) {
    const Simulator simulator;
    Expect({
        {{"status"}, 0, "The terms service is up.\n", ""},
        {{"status", "--json"}, 0, "{\"result\":true}\n", ""},
        {{"header", "--json"},
         0,
         "{\"header\":{\"country_code\":\"\",\"description\":\"Please read the terms below. The "
         "television needs your agreement to those marked as required.\",\"language\":\"en\","
         "\"title\":\"Terms and conditions\"},\"result\":true}\n",
         ""},
        {{"country", "KR"}, 0, "The country is set to KR.\n", ""},
        {{"country", "XX"}, 1, "", "does not take the country \"XX\""},
        {{"country", "XX", "--json"}, 1, "{\"result\":false}\n", "\"XX\""},
        {{"web-header"},
         0,
         "country_code  KR\n"
         "description   아래 약관을 읽어 주십시오. 필수로 표시된 항목은 동의가 필요합니다.\n"
         "language      ko\ntitle         이용 약관\n",
         ""},
        {{"count"}, 0, "7 terms for requester 0.\n", ""},
        {{"count", "--requester", "2", "--json"}, 0, "{\"number\":8,\"result\":true}\n", ""},
        {{"check"}, 0, "code    0\nreason  0\n", ""},
        {{"last-error"}, 0, "code     0\nmessage  no error\nreason   0\n", ""},
        {{"countries"}, 0, "The list of countries was fetched.\n", ""},
        {{"fetch", "all", "--from", "test"}, 0, "The terms were fetched.\n", ""},
        {{"fetch-ids", "--other-page"}, 0, "The ids were fetched.\n", ""},
        {{"update"}, 0, "The terms are up to date.\n", ""},
        {{"reset-nimbra"}, 0, "The reset was accepted.\n", ""},
        {{"copy-to-usb", "a", "b"}, 0, "Copying from a to b.\n", ""},
        {{"copy-from-usb", "a", ""}, 1, "", "refused to copy"},
        {{"agree", "newsletter"}, 0, "Agreed to newsletter.\n", ""},
        {{"agree", "energy_notice"}, 1, "", "\"energy_notice\""},
        {{"agree", "nothing"}, 1, "", "\"nothing\""},
    });
    const std::string titles = ReadFile(m_store.Path() + kTitles);
    EXPECT_EQ(titles.compare(0, 39, R"([{"title":"\uc774\uc6a9 \uc57d\uad00"},)"), 0) << titles;
}

TEST_F(SimulatorTest, TheCommandShowsDisclaimers) {
    const Simulator simulator;
    Expect({
        {{"list"},
         0,
         "ID                    ORDER  TITLE                         STATE\n"
         "terms_of_use          0      Terms of use                  not agreed\n"
         "privacy_policy        1      Privacy policy                not agreed\n"
         "viewing_information   2      Viewing information services  not agreed\n"
         "voice_recognition     3      Voice recognition             not agreed\n"
         "personal_advertising  4      Personal advertising          not agreed\n"
         "newsletter            5      News by e-mail                not agreed\n"
         "energy_notice         6      Energy and safety notice      notice\n",
         ""},
        {{"show", "privacy_policy"},
         0,
         "Privacy policy\n(privacy_policy, version 5.0)\n\n"
         "What the television stores about you, and why. Required.\n\n"
         "What is stored\n"
         "  The country, the language and the version of the software, and the agreements\n"
         "  you give.\n\n"
         "For how long\n"
         "  Until you reset the television or withdraw your agreement, whichever comes\n"
         "  first.\n\n"
         "[Agree] [Later]\nState: not agreed\n",
         ""},
        {{"show", "--index", "3", "--requester", "1"},
         0,
         "Voice recognition\n(voice_recognition, version 1.8)\n\n"
         "Speak to the television. Optional; needs the privacy policy.\n\n"
         "  When you press the microphone button, what you say is sent to a server that\n"
         "  turns it into text. Nothing is recorded at other times. You can switch this\n"
         "  off in the settings whenever you like.\n\n"
         "[Agree] [Do not agree]\nState: not agreed, depends on privacy_policy\n",
         ""},
        {{"show", "nothing"}, 1, "", "\"nothing\""},
        {{"show", "--index", "7"}, 1, "", "index 7"},
        {{"show", "--index", "7", "--requester", "3", "--json"},
         0,
         R"({"agree_dependency":"","buttons":["Agree","Leave the store"],"details":"[{\"data\":)"
         R"(\"A purchase is made when you confirm it with your PIN.\",\"title\":\"Purchases\"},)"
         R"({\"data\":\"An application that does not start is refunded within seven days.\",)"
         R"(\"title\":\"Refunds\"}]","id":"store_application","intro":"The rules of the store. )"
         R"(Shown when you open it for the first time.","is_agreed":false,"only_notice":false,)"
         R"("order":7,"ppused":false,"reverse":false,"sections":[{"data":"A purchase is made when )"
         R"(you confirm it with your PIN.","title":"Purchases"},{"data":"An application that does )"
         R"(not start is refunded within seven days.","title":"Refunds"}],)"
         R"("title":"Application store","version":"4.2"})"
         "\n",
         ""},
        {{"exists", "newsletter"}, 0, "newsletter exists.\n", ""},
        {{"exists", "newsletter", "--product", "phone"}, 0, "newsletter exists.\n", ""},
        {{"exists", "nothing", "--json"}, 1, "{\"result\":false}\n", "\"nothing\""},
        {{"agreed", "newsletter"}, 1, "", "veranti agree newsletter"},
        {{"agree", "newsletter"}, 0, "Agreed to newsletter.\n", ""},
        {{"agreed", "newsletter", "--product", "phone"}, 0, "newsletter is agreed to.\n", ""},
        {{"country", "KR"}, 0, "The country is set to KR.\n", ""},
        {{"revised"},
         0,
         "ID                   TITLE              STATE\n"
         "privacy_policy       개인정보 처리방침  not agreed\n"
         "viewing_information  시청 정보 서비스   not agreed\n",
         ""},
        {{"revised", "--terms", "newsletter"}, 0, "No terms were revised.\n", ""},
        {{"show", "terms_of_use"},
         0,
         "이용 약관\n(terms_of_use, version 3.1)\n\n"
         "이 텔레비전과 서비스를 이용하기 위한 규칙입니다. 필수 항목입니다.\n\n"
         "1. 계약\n  본 약관은 동의하신 때부터 귀하와 서비스 제공자 사이에 적용됩니다.\n\n"
         "2. 이용\n"
         "  서비스는 가정 내 이용을 위한 것입니다. 재판매하거나 분해하거나 타인을 방해하는\n"
         "  데 이용할 수 없습니다.\n\n"
         "3. 변경\n  약관이 중요하게 변경되면 적용하기 전에 다시 동의를 구합니다.\n\n"
         "[동의] [나중에] [소리 내어 읽기]\nState: not agreed\n",
         ""},
        {{"title", "2"}, 0, "시청 정보 서비스\n", ""},
        {{"title", "99"}, 1, "", "index 99"},
        {{"language", "--json"}, 0, "{\"language\":\"ko\",\"result\":true}\n", ""},
    });
}

TEST_F(SimulatorTest, WhatTheServiceSaysCannotHarmTheTerminal) {
    const TemporaryFolder folder;
    const Simulator simulator(
        {"--catalogue",
         folder.Write("catalogue.json",
                      R"({"languages":{"en":{"title":"T","description":"D"}},)"
                      R"("default_language":"en","countries":{"US":"en"},"terms":[)"
                      R"({"id":"a","texts":{"en":{"title":"\u001b[2Jx\u0007","intro":")" +
                          std::string(100, 'y') + R"("}}}]})")});
    Expect({{{"show", "a"},
             0,
             "\ufffd[2Jx\ufffd\n(a, version 1.0)\n\n" + std::string(80, 'y') + '\n' +
                 std::string(20, 'y') + "\n\nState: not agreed\n",
             ""}});
}

TEST_F(SimulatorTest, AgreementsReachTheStoreAllOrNone) {
    const auto agreed = [this](const char* id) {
        const std::string cache = ReadFile(m_store.Path() + kAgreements);
        return cache.find('"' + std::string(id) + R"(":"true")") != std::string::npos;
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

TEST_F(SimulatorTest, WrongUsageExitsWithTwo) {
    Expect({
        {{}, 2, "", "A subcommand is required"},
        {{"bogus"}, 2, "", "bogus"},
        {{"country"}, 2, "", "CODE is required"},
        {{"count", "--requester", "7"}, 2, "", "7 not in range 0 to 4"},
        {{"show"}, 2, "", "ID"},
        {{"show", "a", "--index", "1"}, 2, "", "--index"},
        {{"title", "x"}, 2, "", "x"},
        {{"agree"}, 2, "", "ID"},
        {{"agree", "x", "--all"}, 2, "", "--all"},
        {{"set-agreements", "3"}, 2, "", "JSON object"},
    });
    EXPECT_EQ(RunCommand({"--help"}).status, 0);
}

TEST_F(SimulatorTest, WithoutAServiceOrABusTheCommandSaysWhatToDo) {
    const char* advice = "start veranti-simulator there";
    Expect({{{"status"}, 1, "", advice},
            {{"count", "--json"}, 1, "{\"number\":0,\"result\":false}\n", advice},
            {{"list"}, 1, "", advice},
            {{"show", "a"}, 1, "", advice},
            {{"exists", "a", "--product", "phone"}, 1, "", advice},
            {{"exists", "a"}, 1, "", "There is no term"},
            {{"header"}, 1, "", advice}});
    m_bus.Stop();
    Expect({{{"country", "KR"}, 1, "", advice}});
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
        first.Signal(SIGTERM);
        EXPECT_EQ(first.Wait(), 0);
    }
    const std::string cache = ReadFile(m_store.Path() + kAgreements);
    std::remove((m_store.Path() + kAgreements).c_str());
    const Simulator second;
    EXPECT_EQ(ReadFile(m_store.Path() + kAgreements), cache);
}

TEST_F(SimulatorTest, EndsWithTheBus) {
    Simulator simulator;
    m_bus.Stop();
    EXPECT_EQ(simulator.Wait(), 1);
}

TEST_F(SimulatorTest, MisbehavesOnRequest) {
    const Simulator simulator({"--fail", "set country code", "--garbage", "dravik check", "--delay",
                               "request reset nimbra=1", "--fail", "dravik get error info"});
    Expect({{{"country", "KR"}, 1, "", "\"KR\""},
            {{"check"}, 1, "", "reports an error"},
            {{"last-error"}, 1, "", "fails on request"},
            {{"reset-nimbra"}, 0, "The reset was accepted.\n", ""}});
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
        expectRefused({}, 1, "The name \"com.velmora.tv.termsclient\" is taken");
    }
    m_store.Write("db/veranti/simulator_state", "{\"agreed\":[3]}");
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
    EXPECT_EQ(ReadFile(m_store.Path() + kTitles), R"([{"title":"A"},{"title":"B"}])");
    catalogue("broken");
    Expect({{{"update"}, 1, "", "could not update"},
            {{"count"}, 0, "2 terms for requester 0.\n", ""}});
}

}  // namespace
