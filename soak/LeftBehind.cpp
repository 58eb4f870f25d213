#include "LeftBehind.h"

#include <cstdlib>
#include <new>
#include <set>
#include <utility>

namespace {

using Noted = std::set<void*>;
thread_local Noted* t_noted =
    nullptr;  // null: nobody counts, or it is the set itself that allocates

template <typename Change>
void Note(const Change& change) {
    if (Noted* const noted = std::exchange(t_noted, nullptr)) {
        change(*noted);
        t_noted = noted;
    }
}

}  // namespace

LeftBehind::LeftBehind() {
    t_noted = new Noted;
}

LeftBehind::~LeftBehind() {
    const Noted* const noted = std::exchange(t_noted, nullptr);
    for (void* memory : *noted) {
        ::operator delete(memory);
    }
    delete noted;
}

std::size_t LeftBehind::Count() {
    return t_noted->size();
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    void* const memory = std::malloc(size);
    Note([memory](Noted& noted) { noted.insert(memory); });
    return memory;
}

void* operator new(std::size_t size) {
    void* const memory = ::operator new(size, std::nothrow);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    Note([memory](Noted& noted) { noted.erase(memory); });
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    ::operator delete(memory);
}
