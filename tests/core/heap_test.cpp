// The platform heap: live-block counters and allocation failure injection.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <thread>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/heap.h"

namespace {

using HeapTest = zeltest::HeapCheckedTest;

TEST_F(HeapTest, CountsLiveBlocksAndOctetsAndGivesZeroFilledMemory) {
    const long blocks = ZELOsapiHeap_getLiveBlockCount();
    const size_t octets = ZELOsapiHeap_getLiveByteCount();
    auto *structure = static_cast<unsigned char *>(ZELOsapiHeap_allocateStructure(24, "TEST"));
    auto *array = static_cast<unsigned char *>(ZELOsapiHeap_allocateArray(5, 4, "TEST"));
    void *empty = ZELOsapiHeap_allocateArray(0, 8, "TEST");
    ASSERT_NE(structure, nullptr);
    ASSERT_NE(array, nullptr);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), blocks + 3);
    EXPECT_EQ(ZELOsapiHeap_getLiveByteCount(), octets + 24 + 20);
    EXPECT_EQ(std::count(structure, structure + 24, 0), 24);
    EXPECT_EQ(std::count(array, array + 20, 0), 20);
    // Blocks are aligned for any type.
    EXPECT_EQ(reinterpret_cast<uintptr_t>(structure) % alignof(std::max_align_t), 0u);

    ZELOsapiHeap_freeStructure(structure);
    ZELOsapiHeap_freeArray(array);
    ZELOsapiHeap_freeArray(empty);
    ZELOsapiHeap_freeArray(nullptr);
    ZELOsapiHeap_freeStructure(nullptr);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), blocks);
    EXPECT_EQ(ZELOsapiHeap_getLiveByteCount(), octets);

    EXPECT_EQ(ZELOsapiHeap_allocateArray(SIZE_MAX / 2, 4, "TEST"), nullptr);  // count * size overflows
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), blocks);
}

TEST_F(HeapTest, OnlyTheNthAllocationFailsAndOnlyOnce) {
    ZELOsapiHeap_failAllocation(3, ZEL_TRUE);
    void *first = ZELOsapiHeap_allocateStructure(8, "TEST");
    void *second = ZELOsapiHeap_allocateArray(2, 8, "TEST");
    EXPECT_TRUE(ZELOsapiHeap_isFailurePending());
    EXPECT_EQ(ZELOsapiHeap_allocateStructure(8, "TEST"), nullptr);
    EXPECT_FALSE(ZELOsapiHeap_isFailurePending());
    void *fourth = ZELOsapiHeap_allocateStructure(8, "TEST");
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(fourth, nullptr);
    ZELOsapiHeap_freeStructure(first);
    ZELOsapiHeap_freeArray(second);
    ZELOsapiHeap_freeStructure(fourth);

    // Re-arming replaces the countdown; 0 disarms.
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
    EXPECT_FALSE(ZELOsapiHeap_isFailurePending());
    void *block = ZELOsapiHeap_allocateStructure(8, "TEST");
    EXPECT_NE(block, nullptr);
    ZELOsapiHeap_freeStructure(block);
}

void *allocateOnAnotherThread() {
    void *block = nullptr;
    std::thread other([&block] { block = ZELOsapiHeap_allocateStructure(8, "TEST"); });
    other.join();
    return block;
}

TEST_F(HeapTest, CallingThreadOnlyFailureIgnoresOtherThreads) {
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    void *fromOther = allocateOnAnotherThread();
    EXPECT_NE(fromOther, nullptr);
    EXPECT_TRUE(ZELOsapiHeap_isFailurePending());
    EXPECT_EQ(ZELOsapiHeap_allocateStructure(8, "TEST"), nullptr);
    ZELOsapiHeap_freeStructure(fromOther);

    // Without the restriction another thread's allocation meets the failure.
    ZELOsapiHeap_failAllocation(1, ZEL_FALSE);
    EXPECT_EQ(allocateOnAnotherThread(), nullptr);
    EXPECT_FALSE(ZELOsapiHeap_isFailurePending());
}

}  // namespace
