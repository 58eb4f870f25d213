// What the main of all test executables offers the tests. It fails a test in which GLib warns, and
// ends one that hangs with a sentence.
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

inline char g_test[256];
inline char g_lastWords[4096];  // of a test that hangs, or is told to end

/// Notes what the test waits for from now on.
inline void NoteWait(const std::string& what) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::snprintf(g_lastWords, sizeof g_lastWords,
                  "%s hangs, or is told to end. What it waited for last: %s\n", g_test,
                  what.c_str());
}

/// A warning of GLib's that the test provokes while this lives; that it does not come is a failure,
/// too. There is one at a time.
class ExpectedWarning {
  public:
    explicit ExpectedWarning(const std::string& part);
    ~ExpectedWarning();
    ExpectedWarning(const ExpectedWarning&) = delete;
    ExpectedWarning& operator=(const ExpectedWarning&) = delete;
};
