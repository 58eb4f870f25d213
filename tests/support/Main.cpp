#include "Main.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "Limit.h"

namespace {

std::mutex g_mutex;
std::string g_expected;  // a part of a warning; empty when it has come

GLogWriterOutput FailAtWarnings(GLogLevelFlags level, const GLogField* fields, gsize count,
                                void* data) {
    if ((level & (G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL)) == 0) {
        return g_log_writer_default(level, fields, count, data);
    }
    g_autofree char* text = g_log_writer_format_fields(level, fields, count, FALSE);
    const std::lock_guard lock(g_mutex);
    if (!g_expected.empty() && std::string(text).find(g_expected) != std::string::npos) {
        g_expected.clear();
    } else {
        ADD_FAILURE() << text;
    }
    return G_LOG_WRITER_HANDLED;
}

/// Starts the clock for each test.
class Watchdog : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& test) override {
        std::snprintf(g_test, sizeof g_test, "%s.%s", test.test_suite_name(), test.name());
        NoteWait("nothing");
        alarm(4 * kHang.count());
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { alarm(0); }
};

/// Ends the process, and with it what it started: a call that hangs cannot be ended alone.
void EndTest(int /*signal*/) {
    _exit(write(STDERR_FILENO, g_lastWords, std::strlen(g_lastWords)) > 0 ? 1 : 2);
}

}  // namespace

ExpectedWarning::ExpectedWarning(const std::string& part) {
    const std::lock_guard lock(g_mutex);
    g_expected = part;
}

ExpectedWarning::~ExpectedWarning() {
    const std::lock_guard lock(g_mutex);
    EXPECT_EQ(g_expected, "") << "GLib did not warn.";
    g_expected.clear();
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    std::signal(SIGALRM, EndTest);
    std::signal(SIGTERM, EndTest);  // as GDBus sends it to a process that outlives its bus
    g_log_set_writer_func(FailAtWarnings, nullptr, nullptr);
    setenv("G_DEBUG", "fatal-warnings", 1);  // for the programs that tests start
    return RUN_ALL_TESTS();
}
