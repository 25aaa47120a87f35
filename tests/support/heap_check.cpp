#include "heap_check.h"

namespace zeltest {

void HeapCheckedTest::SetUp() { liveBlocksAtStart_ = ZELOsapiHeap_getLiveBlockCount(); }

void HeapCheckedTest::TearDown() {
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), liveBlocksAtStart_) << "heap blocks leaked by the test";
}

long forEachAllocationFailure(const std::function<void(long n)> &attempt, bool callingThreadOnly, long limit) {
    for (long n = 1; n <= limit; ++n) {
        const long before = ZELOsapiHeap_getLiveBlockCount();
        ZELOsapiHeap_failAllocation(n, callingThreadOnly ? ZEL_TRUE : ZEL_FALSE);
        attempt(n);
        const bool reached = !ZELOsapiHeap_isFailurePending();
        ZELOsapiHeap_failAllocation(0, ZEL_FALSE);
        EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), before) << "leak when allocation " << n << " fails";
        if (!reached) {
            return n;
        }
    }
    ADD_FAILURE() << "operation still allocating after " << limit << " allocations";
    return limit;
}

}  // namespace zeltest
