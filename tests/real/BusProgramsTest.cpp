// The examples of the bus server toolkit and the command's subcommands for it, with one another.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "World.h"

namespace {

constexpr char kName[] = "com.example.One";
const std::string kExamples = EXAMPLES_PATH;

/// With the example's server, and with the command that waits for a signal.
class BusProgramsTest : public testing::Test {
  protected:
    void SetUp() override {
        EXPECT_EQ(m_server.ReadLine(), "com.example.One is ours");
        EXPECT_EQ(m_listener.ReadLine(), R"({"event":"listening"})");
    }

    PrivateBus m_bus;
    TemporaryFolder m_folder;
    std::string m_file = m_folder.Write("bytes", "abc");
    Program m_server{{kExamples + "/c-bus-server", kName}};
    Program m_listener{{COMMAND_PATH, "bus", "listen", kName, "--count", "1", "--json"}};
};

TEST_F(BusProgramsTest, ExamplesTalk) {
    const Outcome caller = RunProgram({kExamples + "/c-bus-caller", "com.example.Other", kName});
    EXPECT_EQ(caller.output + caller.errors,
              "com.example.One answers: hello\n"
              "com.example.One answers: these bytes ff fe 01 00\n"
              "com.example.One answers: tell them all\n");
    m_server.Signal(SIGTERM);
    EXPECT_EQ(m_server.ReadAll(),
              "SendMessage from caller: hello, 0 bytes\n"
              "SendMessageWithBuffer from caller: these bytes, 4 bytes\n"
              "SendMessage from caller: tell them all, 0 bytes\n");
    EXPECT_EQ(m_server.Wait(), 0);
}

TEST_F(BusProgramsTest, ListenShowsSignals) {
    RunCommand("bus call com.example.One hi --type announce");
    EXPECT_EQ(m_listener.ReadAll(), R"({"buffer":null,"code":0,"from":"veranti","message":"hi",)"
                                    R"("signal":"Announcement","type":"announce"})"
                                    "\n{\"result\":true}\n");
    EXPECT_EQ(m_listener.Wait(), 0);
}

TEST_F(BusProgramsTest, BytesOfAnotherTypeHarmNeitherEnd) {
    const auto call = [] {
        return RunProgram(Words("busctl call com.example.One /com/example/One com.example.One "
                                "SendMessageWithBuffer sussay me 3 t m 1 7"))
            .output;
    };
    EXPECT_EQ(call(),
              R"(sussa(y) "" 0 "" "{\"dbus_result\":\"fail\",\"errmsg\":\"error handling\"}" 1 0)"
              "\n");
    Program second({COMMAND_PATH, "bus", "serve", kName, "--json"});
    EXPECT_EQ(second.ReadLine(), R"({"event":"acquired"})");
    EXPECT_EQ(call(), "sussa(y) \"com.example.One\" 0 \"\" \"\" 1 0\n");
}

TEST_F(BusProgramsTest, TheNameMovesToOtherOwnersAndBack) {
    {
        Program second({COMMAND_PATH, "bus", "serve", kName});
        EXPECT_EQ(second.ReadLine(), "Serving com.example.One.");
        EXPECT_EQ(m_server.ReadLine(), "com.example.One is another's");
        {
            Program third({COMMAND_PATH, "bus", "serve", kName});
            EXPECT_EQ(second.ReadLine(),
                      "Lost com.example.One to another program: waiting for its end.");
        }
        EXPECT_EQ(second.ReadLine(), "Serving com.example.One.");
    }
    EXPECT_EQ(m_server.ReadLine(), "com.example.One is ours");
}

TEST_F(BusProgramsTest, ASingleZeroByteIsNotSent) {
    const std::string file = m_folder.Write("zero", std::string(1, '\0'));
    for (const std::string line : {"bus call com.example.One hi --buffer ",
                                   "bus signal com.example.One Ping hi --buffer "}) {
        const Outcome refused = RunCommand(line + file);
        EXPECT_EQ(refused.status, 2);
        EXPECT_EQ(refused.errors, "--buffer: \"" + file +
                                      "\" is no file to send: a single zero byte stands for none "
                                      "on the bus. Add a byte, or leave the file out.\n"
                                      "Run with --help for more information.\n");
    }
}

/// What a system bus allows, which is little, and what the guide adds to it.
TEST_F(BusProgramsTest, TheGuidesPolicyIsEnough) {
    const auto guide = std::filesystem::path(BUS_CONFIGURATION_PATH).parent_path().parent_path() /
                       "docs/guide-bus-server.md";
    std::string policy = ReadFile(guide);
    policy.erase(0, policy.find("<busconfig>"));
    policy.erase(policy.find("```"));
    policy.replace(policy.find("\"me\""), 4, '"' + std::to_string(getuid()) + '"');
    m_folder.Write("guide.conf", policy);
    const std::string system = m_folder.Write(
        "system.conf",
        "<busconfig><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
        "<policy context=\"default\"><allow user=\"*\"/><deny own=\"*\"/>"
        "<deny send_type=\"method_call\"/><allow send_type=\"signal\"/>"
        "<allow send_requested_reply=\"true\"/><allow receive_requested_reply=\"true\"/>"
        "<allow receive_type=\"method_call\"/><allow receive_type=\"signal\"/>"
        "<allow send_destination=\"org.freedesktop.DBus\"/></policy>"
        "<include>guide.conf</include></busconfig>");
    const Descriptor nothing{open("/dev/null", O_WRONLY | O_CLOEXEC)};
    Program bus({"dbus-daemon", "--config-file=" + system, "--nofork", "--print-address=1"},
                nothing.number);
    const Arguments there = {"env", "DBUS_SYSTEM_BUS_ADDRESS=" + bus.ReadLine()};
    Program server(there + Arguments{kExamples + "/c-bus-server", "com.example.Server"});
    EXPECT_EQ(server.ReadLine(), "com.example.Server is ours");
    for (const auto& [caller, answers] :
         {std::pair(Arguments{kExamples + "/c-bus-caller", "com.example.Caller"} +
                        Arguments{"com.example.Server"},
                    3),
          std::pair(Arguments{COMMAND_PATH} + Words("bus call com.example.Server hello"), 1)}) {
        const Outcome call = RunProgram(there + caller);
        EXPECT_EQ(call.status, 0);
        EXPECT_EQ(std::count(call.output.begin(), call.output.end(), '\n'), answers) << call.output;
        EXPECT_EQ(call.errors, "");
    }
}

TEST_F(BusProgramsTest, CallSendsAFile) {
    const Outcome call = RunCommand("bus call com.example.One hi --code 4 --buffer " + m_file);
    EXPECT_EQ(call.output + call.errors, "com.example.One (answer, code 5, 3 bytes): hi\n");
    EXPECT_EQ(m_server.ReadLine(), "SendMessageWithBuffer from veranti: hi, 3 bytes");
}

TEST_F(BusProgramsTest, SignalSendsAFileAndGivesTheNameBack) {
    const Outcome signal = RunCommand("bus signal com.example.One Ping hello --buffer " + m_file);
    EXPECT_EQ(signal.output + signal.errors, "Sent Ping from com.example.One.\n");
    EXPECT_EQ(m_server.ReadLine(), "com.example.One is another's");
    EXPECT_EQ(m_server.ReadLine(), "com.example.One is ours");
    EXPECT_EQ(m_listener.ReadLine(), R"({"buffer":"YWJj","code":0,"from":"veranti",)"
                                     R"("message":"hello","signal":"Ping","type":"text"})");
}

}  // namespace
