// Counts and poisons what the program and the libraries under it allocate with new: its operators
// stand in front of the standard library's.
#pragma once

#include <cstddef>
#include <string>

namespace Allocations {

constexpr unsigned char kPoison = 0xa5;

struct Count {
    long made = 0;
    long released = 0;
};

/// All arrays since the last Reset(). Their bytes are kPoison until they are written.
Count Arrays();

/// What was allocated and released since the last Reset(), one word each: "A0" for the first array
/// and "a0" for its release, and "I" and "i" (or whatever the letter) for objects of a watched
/// size, which are poisoned too. Ends where 4 KB are full.
std::string Trace();

/// Objects of a size that the trace shows.
struct Watched {
    std::size_t size;
    char letter;  ///< a capital one
};

/// Starts counting from 0, and watches objects of two sizes.
void Reset(Watched one, Watched other);

/// Whether strdup() finds no memory.
void FailStrdup(bool fails);

}  // namespace Allocations
