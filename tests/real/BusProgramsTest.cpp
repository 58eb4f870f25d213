// The examples of the bus server toolkit and the command's subcommands for it, on a system bus with
// the guide's policy. What they say to one another is in the transcripts.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "World.h"

namespace {

/// What a system bus allows, which is little, and what the guide adds to it.
TEST(BusProgramsTest, TheGuidesPolicyIsEnough) {
    const TemporaryFolder folder;
    const auto guide = std::filesystem::path(BUS_CONFIGURATION_PATH).parent_path().parent_path() /
                       "docs/guide-bus-server.md";
    std::string policy = ReadFile(guide);
    policy.erase(0, policy.find("<busconfig>"));
    policy.erase(policy.find("```"));
    policy.replace(policy.find("\"me\""), 4, '"' + std::to_string(getuid()) + '"');
    folder.Write("guide.conf", policy);
    const std::string system = folder.Write(
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
    Program server(there + Arguments{EXAMPLES_PATH "/c-bus-server", "com.example.Server"});
    EXPECT_EQ(server.ReadLine(), "com.example.Server is ours");
    for (const auto& [caller, answers] :
         {std::pair(Arguments{EXAMPLES_PATH "/c-bus-caller", "com.example.Caller"} +
                        Arguments{"com.example.Server"},
                    3),
          std::pair(Arguments{COMMAND_PATH} + Words("bus call com.example.Server hello"), 1)}) {
        const Outcome call = RunProgram(there + caller);
        EXPECT_EQ(call.status, 0);
        EXPECT_EQ(std::count(call.output.begin(), call.output.end(), '\n'), answers) << call.output;
        EXPECT_EQ(call.errors, "");
    }
}

}  // namespace
