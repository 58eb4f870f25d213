// Counts what a call leaves behind in memory on its thread, and gives it back: the C interface's
// list leaves its client's records behind. The program's operators new and delete stand in front of
// the standard library's.
#pragma once

#include <cstddef>

/// While it lives, the thread's allocations with new are noted until they are deleted; what is left
/// of them ends with it. One at a time on a thread.
class LeftBehind {
  public:
    LeftBehind();
    ~LeftBehind();
    LeftBehind(const LeftBehind&) = delete;
    LeftBehind& operator=(const LeftBehind&) = delete;

    /// How many allocations are left.
    static std::size_t Count();
};
