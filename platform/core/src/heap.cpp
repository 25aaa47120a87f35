// The platform heap: malloc with a header that counts live blocks, tells
// structures from arrays, and lets tests fail the n-th allocation.
#include "vurncore/heap.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

enum class BlockKind : uint32_t { structure = 0x53545255u, array = 0x41525241u, freed = 0xDEADBEEFu };

// Keeps the payload aligned for any type.
struct alignas(std::max_align_t) BlockHeader {
    BlockKind kind;
    const char *tag;
    size_t size;
};

std::atomic<long> g_liveBlocks{0};
std::atomic<size_t> g_liveBytes{0};

// Fault injection. g_failCountdown counts the allocations still to pass
// before one fails (0: disarmed); with g_failThread set only that thread's
// allocations count.
std::atomic<long> g_failCountdown{0};
std::atomic<const void *> g_failThread{nullptr};
thread_local char t_threadIdentity;

bool allocationMustFail() {
    if (g_failCountdown.load(std::memory_order_relaxed) == 0) {
        return false;
    }
    const void *onlyThread = g_failThread.load(std::memory_order_relaxed);
    if (onlyThread != nullptr && onlyThread != &t_threadIdentity) {
        return false;
    }
    long remaining = g_failCountdown.load(std::memory_order_relaxed);
    while (remaining > 0) {
        if (g_failCountdown.compare_exchange_weak(remaining, remaining - 1)) {
            return remaining == 1;
        }
    }
    return false;
}

void *blockAllocate(size_t size, BlockKind kind, const char *tag) {
    if (allocationMustFail() || size > SIZE_MAX - sizeof(BlockHeader)) {
        return nullptr;
    }
    auto *header = static_cast<BlockHeader *>(std::calloc(1, sizeof(BlockHeader) + size));
    if (header == nullptr) {
        return nullptr;
    }
    header->kind = kind;
    header->tag = tag;
    header->size = size;
    g_liveBlocks.fetch_add(1, std::memory_order_relaxed);
    g_liveBytes.fetch_add(size, std::memory_order_relaxed);
    return header + 1;
}

void blockFree(void *block, BlockKind kind) {
    if (block == nullptr) {
        return;
    }
    BlockHeader *header = static_cast<BlockHeader *>(block) - 1;
    // Freeing with the wrong function or twice corrupts the counters that
    // every leak test relies on: stop at once rather than go on.
    if (header->kind != kind) {
        std::abort();
    }
    header->kind = BlockKind::freed;
    g_liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    g_liveBytes.fetch_sub(header->size, std::memory_order_relaxed);
    std::free(header);
}

}  // namespace

extern "C" {

void *ZELOsapiHeap_allocateStructure(size_t size, const char *tag) {
    return blockAllocate(size, BlockKind::structure, tag);
}

void ZELOsapiHeap_freeStructure(void *structure) { blockFree(structure, BlockKind::structure); }

void *ZELOsapiHeap_allocateArray(size_t count, size_t elementSize, const char *tag) {
    if (elementSize != 0 && count > SIZE_MAX / elementSize) {
        return nullptr;
    }
    return blockAllocate(count * elementSize, BlockKind::array, tag);
}

void ZELOsapiHeap_freeArray(void *array) { blockFree(array, BlockKind::array); }

long ZELOsapiHeap_getLiveBlockCount(void) { return g_liveBlocks.load(); }

size_t ZELOsapiHeap_getLiveByteCount(void) { return g_liveBytes.load(); }

void ZELOsapiHeap_failAllocation(long n, ZELBoolean callingThreadOnly) {
    g_failCountdown.store(0);
    g_failThread.store(callingThreadOnly ? &t_threadIdentity : nullptr);
    g_failCountdown.store(n > 0 ? n : 0);
}

ZELBoolean ZELOsapiHeap_isFailurePending(void) { return g_failCountdown.load() > 0 ? ZEL_TRUE : ZEL_FALSE; }

}  // extern "C"
