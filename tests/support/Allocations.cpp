#include "Allocations.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct Counter {
    std::atomic<std::size_t> size{0};
    std::atomic<long> made{0};
    std::atomic<long> released{0};
};

Counter g_arrays;
std::array<Counter, 2> g_objects;
std::atomic<bool> g_strdupFails{false};

Counter* CounterOf(std::size_t size) {
    for (Counter& counter : g_objects) {
        if (counter.size == size) {
            return &counter;
        }
    }
    return nullptr;
}

Allocations::Count Read(const Counter& counter) {
    return {counter.made, counter.released};
}

void* Allocate(std::size_t size, Counter* counter) {
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (counter != nullptr) {
        ++counter->made;
        std::memset(memory, Allocations::kPoison, size);
    }
    return memory;
}

void Release(void* memory, Counter* counter) {
    if (memory != nullptr && counter != nullptr) {
        ++counter->released;
    }
    std::free(memory);
}

}  // namespace

Allocations::Count Allocations::Arrays() {
    return Read(g_arrays);
}

Allocations::Count Allocations::Objects(std::size_t size) {
    const Counter* counter = CounterOf(size);
    return counter != nullptr ? Read(*counter) : Count();
}

void Allocations::Reset(std::size_t size, std::size_t otherSize) {
    g_objects.front().size = size;
    g_objects.back().size = otherSize;
    for (Counter* counter : {&g_arrays, &g_objects.front(), &g_objects.back()}) {
        counter->made = 0;
        counter->released = 0;
    }
}

void Allocations::FailStrdup(bool fails) {
    g_strdupFails = fails;
}

void* operator new(std::size_t size) {
    return Allocate(size, CounterOf(size));
}

void operator delete(void* memory) noexcept {
    Release(memory, nullptr);
}

void operator delete(void* memory, std::size_t size) noexcept {
    Release(memory, CounterOf(size));
}

void* operator new[](std::size_t size) {
    return Allocate(size, &g_arrays);
}

void operator delete[](void* memory) noexcept {
    Release(memory, &g_arrays);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    Release(memory, &g_arrays);
}

// Its parameter has the name that it has in the C library's header.
char* strdup(const char* __s) noexcept {
    const std::size_t size = std::strlen(__s) + 1;
    void* copy = g_strdupFails ? nullptr : std::malloc(size);
    return copy != nullptr ? static_cast<char*>(std::memcpy(copy, __s, size)) : nullptr;
}
