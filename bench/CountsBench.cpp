// What is counted, not timed: the heap that a request takes and a list needs at its peak, and how
// often the toolkit copies a payload. counts-bench
#include <malloc.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "Interleaved.h"
#include "Requests.h"
#include "TermsDbusUtil.h"
#include "World.h"

namespace {

constexpr std::size_t kPayload = 1 << 20;
constexpr int kTerms = 1000;

std::atomic<long> g_copies{0};
std::atomic<long> g_allocations{0};
std::atomic<long> g_used{0};
std::atomic<long> g_peak{0};

void* Count(void* block) {
    if (block != nullptr) {
        ++g_allocations;
        const long used = g_used += static_cast<long>(malloc_usable_size(block));
        long peak = g_peak;
        while (used > peak && !g_peak.compare_exchange_weak(peak, used)) {
        }
    }
    return block;
}

void Uncount(void* block) {
    g_used -= block != nullptr ? static_cast<long>(malloc_usable_size(block)) : 0;
}

}  // namespace

// These stand in front of the C library's, with its names for their parameters. memcpy()'s loop is
// kept from becoming a call of itself.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t __size) noexcept {
    return Count(__libc_malloc(__size));
}
void* calloc(std::size_t __nmemb, std::size_t __size) noexcept {
    return Count(__libc_calloc(__nmemb, __size));
}
void* realloc(void* __ptr, std::size_t __size) noexcept {
    Uncount(__ptr);
    return Count(__libc_realloc(__ptr, __size));
}
void free(void* __ptr) noexcept {
    Uncount(__ptr);
    __libc_free(__ptr);
}
__attribute__((optimize("no-tree-loop-distribute-patterns"))) void* memcpy(
    void* __dest, const void* __src, std::size_t __n) noexcept {
    g_copies += __n == kPayload ? 1 : 0;
    for (std::size_t i = 0; i < __n; ++i) {
        static_cast<char*>(__dest)[i] = static_cast<const char*>(__src)[i];
    }
    return __dest;
}
}

namespace {

struct Heap {
    long allocations;
    long peak;
};

/// What a second run takes: the first makes what is made once.
Heap Measured(const std::function<void()>& run) {
    run();
    const long before = g_used;
    g_allocations = 0;
    g_peak = before;
    run();
    return {g_allocations, g_peak - before};
}

void PrintHeap(const char* name, const Heap& heap) {
    std::printf("| %s | %ld | %.1f KB |\n", name, heap.allocations,
                static_cast<double>(heap.peak) / 1024);
}

void MeasureRequest() {
    std::printf("\n| the heap for one request | allocations | peak |\n|---|---:|---:|\n");
    PrintHeap("the library", Measured([] { CountThroughTheLibrary(kTerms); }));
    const Requests requests = CountRequests();
    for (const Peer& peer : {kSdBus, kSdBusQueued, kSdbusCpp, kLibDbus, kGDBus}) {
        PrintHeap(peer.name, Measured([&] { Ask(peer, requests); }));
    }
}

/// What the list needs beside its records goes when it returns; the records are the caller's.
void MeasureList() {
    const Heap list = Measured([] { ListThroughTheLibrary(kTerms); });
    const long before = g_used;
    const Records records = ListThroughTheLibrary(kTerms);
    const Heap kept = {static_cast<long>(records.size()), g_used - before};
    std::printf("\n| the heap for a list of %d terms | number | size |\n|---|---:|---:|\n", kTerms);
    PrintHeap("allocations, and their peak", list);
    PrintHeap("records, and what they keep", kept);
}

void MeasureCopies() {
    Bytes bytes(kPayload, 7);
    TermsDbusMessage message{};
    message.buffer = bytes.data();
    message.buffer_size = kPayload;
    std::string method;

    g_copies = 0;
    GVariant* sent = g_variant_ref_sink(TermsDbusUtil::MakeMsgInputToParams(method, message));
    std::printf("\n| a payload | copies |\n|---|---:|\n| outgoing | %ld |\n", g_copies.load());

    GVariant* received = g_variant_get_normal_form(sent);
    g_variant_get_data(received);
    TermsDbusMessage copy{};
    g_copies = 0;
    TermsDbusUtil::MakeParamsToMessage(received, copy);
    std::printf("| incoming | %ld |\n", g_copies.load());

    Check(Bytes(copy.buffer, copy.buffer + copy.buffer_size) == bytes, "not what was sent");
    ReleaseTermsDbusMessage(&copy);
    g_variant_unref(received);
    g_variant_unref(sent);
}

void Measure(int /*rounds*/) {
    setenv("VERANTI_LOG", "off", 1);
    const PrivateBus bus;
    const TemporaryStore store;
    const TemporaryFolder folder;
    const Simulator simulator({"--catalogue", folder.Write("catalogue.json", Catalogue(kTerms))});
    MeasureRequest();
    MeasureList();
    MeasureCopies();
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 1, Measure);
}
