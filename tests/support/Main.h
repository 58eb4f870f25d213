// What the main of all test executables offers the tests. It fails a test in which GLib warns, and
// ends one that hangs with a sentence.
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

inline char g_wait[4096];

/// Notes what the test waits for from now on: the sentence about a test that hangs names it.
inline void NoteWait(const std::string& what) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::snprintf(g_wait, sizeof g_wait, "%s", what.c_str());
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
