// Counts and poisons what the program and the libraries under it allocate with new: its operators
// stand in front of the standard library's.
#pragma once

#include <cstddef>

namespace Allocations {

constexpr unsigned char kPoison = 0xa5;

struct Count {
    long made = 0;
    long released = 0;
};

/// All arrays since the last Reset(). Their bytes are kPoison until they are written.
Count Arrays();

/// The objects of a size since the last Reset(), poisoned too. Only the two sizes of the last
/// Reset() are counted.
Count Objects(std::size_t size);

/// Starts counting from 0, and counts objects of these sizes.
void Reset(std::size_t size, std::size_t otherSize);

/// Whether strdup() finds no memory.
void FailStrdup(bool fails);

}  // namespace Allocations
