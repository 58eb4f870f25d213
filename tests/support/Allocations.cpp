#include "Allocations.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <set>
#include <utility>

namespace {

std::mutex g_mutex;
long g_arrays = 0;         // made and not released
std::size_t g_number = 0;  // of the next array
std::array<Allocations::Watched, 2> g_watched{};
std::array<const void*, 256> g_made{};  // the arrays that the trace shows
std::array<char, 4096> g_trace{};
std::size_t g_traceEnd = 0;
std::atomic<bool> g_counts{false};  // else there is no lock: it would order a program's threads
bool g_exhausted = false;

using Noted = std::set<void*>;
thread_local Noted* t_noted = nullptr;  // null, too, while the set itself allocates

void* Note(void* memory) {
    if (Noted* const noted = std::exchange(t_noted, nullptr)) {
        noted->insert(memory);
        t_noted = noted;
    }
    return memory;
}

void Release(void* memory) {
    if (Noted* const noted = std::exchange(t_noted, nullptr)) {
        noted->erase(memory);
        t_noted = noted;
    }
    std::free(memory);
}

void Trace(char letter, long number) {
    std::array<char, 16> word{};
    const int size = number < 0 ? std::snprintf(word.data(), word.size(), " %c", letter)
                                : std::snprintf(word.data(), word.size(), " %c%ld", letter, number);
    if (g_traceEnd + static_cast<std::size_t>(size) < g_trace.size()) {
        std::memcpy(g_trace.data() + g_traceEnd, word.data(), static_cast<std::size_t>(size));
        g_traceEnd += static_cast<std::size_t>(size);
    }
}

/// The letter of objects of a size, or 0.
char LetterOf(std::size_t size) {
    for (const Allocations::Watched& watched : g_watched) {
        if (watched.size == size) {
            return watched.letter;
        }
    }
    return 0;
}

void* AllocateObject(std::size_t size) {
    void* memory = Note(std::malloc(size));
    if (!g_counts) {
        return memory;
    }
    const std::lock_guard lock(g_mutex);
    const char letter = LetterOf(size);
    if (letter != 0 && memory != nullptr) {
        std::memset(memory, Allocations::kPoison, size);
        Trace(letter, -1);
    }
    return memory;
}

void* AllocateArray(std::size_t size) {
    void* memory = Note(std::malloc(size));
    if (g_counts && memory != nullptr) {
        std::memset(memory, Allocations::kPoison, size);
        const std::lock_guard lock(g_mutex);
        ++g_arrays;
        if (g_number < g_made.size()) {
            g_made.at(g_number) = memory;
            Trace('A', static_cast<long>(g_number++));
        }
    }
    return memory;
}

void* OrThrow(void* memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void ReleaseArray(void* memory) {
    if (g_counts && memory != nullptr) {
        const std::lock_guard lock(g_mutex);
        --g_arrays;
        auto* const found = std::find(g_made.begin(), g_made.end(), memory);
        if (found != g_made.end()) {
            Trace('a', found - g_made.begin());
            *found = nullptr;
        }
    }
    Release(memory);
}

}  // namespace

long Allocations::Arrays() {
    return g_arrays;
}

std::string Allocations::Trace() {
    return {g_trace.data(), g_traceEnd};
}

void Allocations::Reset(Watched one, Watched other) {
    const std::lock_guard lock(g_mutex);  // a detached thread may be ending
    g_counts = true;
    g_arrays = 0;
    g_number = 0;
    g_watched = {one, other};
    g_made = {};
    g_traceEnd = 0;
}

void Allocations::Exhaust(bool exhausted) {
    g_exhausted = exhausted;
}

Allocations::LeftBehind::LeftBehind() {
    t_noted = new Noted;
}

Allocations::LeftBehind::~LeftBehind() {
    const Noted* const noted = std::exchange(t_noted, nullptr);
    for (void* memory : *noted) {
        ::operator delete(memory);
    }
    delete noted;
}

std::size_t Allocations::LeftBehind::Count() {
    return t_noted->size();
}

void* operator new(std::size_t size) {
    return OrThrow(AllocateObject(size));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return g_exhausted ? nullptr : AllocateObject(size);
}

void* operator new[](std::size_t size) {
    return OrThrow(AllocateArray(size));
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return g_exhausted ? nullptr : AllocateArray(size);
}

void operator delete(void* memory) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::size_t size) noexcept {
    if (g_counts) {
        const std::lock_guard lock(g_mutex);
        if (const char letter = LetterOf(size)) {
            Trace(static_cast<char>(std::tolower(letter)), -1);
        }
    }
    Release(memory);
}

void operator delete[](void* memory) noexcept {
    ReleaseArray(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    ReleaseArray(memory);
}

// Its parameter has the name that it has in the C library's header.
char* strdup(const char* __s) noexcept {
    const std::size_t size = std::strlen(__s) + 1;
    void* copy = g_exhausted ? nullptr : std::malloc(size);
    return copy != nullptr ? static_cast<char*>(std::memcpy(copy, __s, size)) : nullptr;
}
