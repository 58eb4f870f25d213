// Counts and poisons what the program and the libraries under it allocate with new: its operators
// stand in front of the standard library's.
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

/// Starts counting from 0, and watches objects of two sizes.
void Reset(Watched one, Watched other);

/// Whether there is no memory for what can live without: strdup() and new (std::nothrow).
void Exhaust(bool exhausted);

}  // namespace Allocations
