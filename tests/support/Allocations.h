// Counts and poisons what the program and the libraries under it allocate with new, or notes what a
// call leaves behind: its operators stand in front of the standard library's.
#pragma once

#include <cstddef>
#include <string>

namespace Allocations {

constexpr unsigned char kPoison = 0xa5;

/// How many arrays more were made than released since the last Reset(). Their bytes are kPoison
/// until they are written.
long Arrays();

/// What was allocated and released since the last Reset(), one word each: "A0" for the first array
/// and "a0" for its release, and "I" and "i" (or whatever the letter) for objects of a watched
/// size, which are poisoned too. Ends where 4 KB are full.
std::string Trace();

/// Objects of a size that the trace shows.
struct Watched {
    std::size_t size;
    char letter;  ///< a capital one
};

/// Starts counting from 0, and watches objects of two sizes. Nothing is counted before the first
/// time.
void Reset(Watched one, Watched other);

/// Whether there is no memory for what can live without: strdup() and new (std::nothrow).
void Exhaust(bool exhausted);

/// While it lives, what its thread allocates with new is noted until it is deleted; what is left of
/// that ends with it. The C interface's list leaves its client's records behind. One at a time on a
/// thread.
class LeftBehind {
  public:
    LeftBehind();
    ~LeftBehind();
    LeftBehind(const LeftBehind&) = delete;
    LeftBehind& operator=(const LeftBehind&) = delete;

    /// How many allocations are left.
    static std::size_t Count();
};

}  // namespace Allocations
