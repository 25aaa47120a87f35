// Heap checks: nothing leaks, and every allocation failure is handled.
#pragma once

#include <functional>

#include <gtest/gtest.h>

#include "vurncore/heap.h"

namespace zeltest {

// A fixture that fails the test when the live-block count at its end
// differs from the count at its start.
class HeapCheckedTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    long liveBlocksAtStart_ = 0;
};

// The fail-allocation-N loop: for n = 1, 2, ... makes the n-th allocation
// (of the calling thread only, or of every thread) fail and runs `attempt`,
// which must undo whatever it achieved, then checks that the live-block count
// is back where it was. Ends with the first n whose failure was not reached:
// `attempt` ran to the end without meeting it. Returns that n (the number of
// allocations the operation makes, plus one).
long forEachAllocationFailure(const std::function<void(long n)> &attempt, bool callingThreadOnly = true,
                              long limit = 10000);

}  // namespace zeltest
