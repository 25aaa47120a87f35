// Initialize, finalize and copy of described samples, and every allocation
// failure on the way.
#include <cstddef>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "engine_test_support.h"
#include "heap_check.h"
#include "log_capture.h"
#include "engine_types.h"
#include "vurncore/sequence.h"

namespace typetest {
namespace {

class TypeMemoryTest : public zeltest::HeapCheckedTest {};

void fill(Appendable &s) {
    setText(s.name, "name");
    const DDS_Long values[] = {4, 5, 6};
    ASSERT_TRUE(DDS_LongSeq_from_array(&s.values, values, 3));
    const char *tags[] = {"tag", "tag"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&s.tags, tags, 2));
    ASSERT_TRUE(ZELSequence_ensure_length(reinterpret_cast<ZELSequence *>(&s.points), Point_g_desc.sequenceElementType,
                                          2, 2, "test"));
    s.points._contiguous_buffer[1] = Point{3, 4};
    replaceText(&s.notes, "longer than the empty string it replaces");
}

TEST_F(TypeMemoryTest, InitializeHandsTheAllocationParametersToSequences) {
    // Without memory: no strings, and the sequences make their elements so.
    Appendable sample;
    const DDS_TypeAllocationParams_t noMemory = {DDS_BOOLEAN_TRUE, DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE};
    ASSERT_TRUE(ZELCdrType_initializeSample(&Appendable_g_desc, &sample, &noMemory));
    EXPECT_EQ(sample.name, nullptr);
    EXPECT_EQ(sample.notes, nullptr);
    ASSERT_TRUE(DDS_StringSeq_ensure_length(&sample.tags, 1, 1));
    EXPECT_EQ(sample.tags._contiguous_buffer[0], nullptr);
    ZELCdrType_finalizeSample(&Appendable_g_desc, &sample, nullptr);
}

// A string nested in a struct member gets its bound like a top-level one.
TEST_F(TypeMemoryTest, InitializeMakesEveryNestedStringWhereverItLies) {
    const std::pair<const ZELCdrTypeDesc *, size_t> strings[] = {
            {&OuterMutable_g_desc, offsetof(OuterMutable, inner) + offsetof(InnerMutable, label)},
            {&TopicLike_g_desc, offsetof(TopicLike, name)}};
    for (const auto &[type, offset] : strings) {
        SCOPED_TRACE(type->name);
        std::vector<unsigned char> sample(type->size);
        ASSERT_TRUE(ZELCdrType_initializeSample(type, sample.data(), nullptr));
        char *string = nullptr;
        std::memcpy(&string, sample.data() + offset, sizeof string);
        EXPECT_NE(string, nullptr);
        ZELCdrType_finalizeSample(type, sample.data(), nullptr);
    }
}

TEST_F(TypeMemoryTest, CopyIsDeepAndKeepsTheBoundsAllocation) {
    Sample<Appendable> source(&Appendable_g_desc);
    fill(source.value);
    Sample<Appendable> copy(&Appendable_g_desc);
    char *boundedBuffer = copy.value.name;
    ASSERT_TRUE(ZELCdrType_copySample(&Appendable_g_desc, &copy.value, &source.value));
    EXPECT_EQ(copy.value.name, boundedBuffer);
    EXPECT_NE(copy.value.notes, source.value.notes);
    EXPECT_EQ(serialized(&Appendable_g_desc, &copy.value, 0), serialized(&Appendable_g_desc, &source.value, 0));
    // A source string above the bound is refused.
    replaceText(&source.value.name, "123456789");
    EXPECT_FALSE(ZELCdrType_copySample(&Appendable_g_desc, &copy.value, &source.value));
}

// Whatever allocation fails, the result says so and the sample finalizes
// without a leak.
TEST_F(TypeMemoryTest, EveryAllocationFailureOfInitializeCopyAndDeserializeIsUndone) {
    Sample<Appendable> source(&Appendable_g_desc);
    fill(source.value);
    const Octets octets = serialized(&Appendable_g_desc, &source.value, 1);
    zeltest::LogCapture sequenceReports;  // the sequences report their own out-of-heap
    struct Operation {
        const char *name;
        bool onInitializedSample;
        std::function<DDS_Boolean(Appendable *)> run;
    };
    const Operation operations[] = {
            {"initialize", false,
             [](Appendable *target) { return ZELCdrType_initializeSample(&Appendable_g_desc, target, nullptr); }},
            {"copy", true,
             [&](Appendable *target) { return ZELCdrType_copySample(&Appendable_g_desc, target, &source.value); }},
            {"deserialize", true,
             [&](Appendable *target) {
                 Buffer buffer(octets);
                 return ZELCdrType_deserializeSample(&Appendable_g_desc, target, &buffer.stream, DDS_BOOLEAN_TRUE,
                                                     DDS_BOOLEAN_TRUE);
             }},
    };
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        const long allocations = zeltest::forEachAllocationFailure([&](long n) {
            Appendable target;
            if (operation.onInitializedSample) {
                ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
                ASSERT_TRUE(ZELCdrType_initializeSample(&Appendable_g_desc, &target, nullptr));
                ZELOsapiHeap_failAllocation(n, ZEL_TRUE);
            }
            const bool ok = operation.run(&target);
            EXPECT_EQ(ok, ZELOsapiHeap_isFailurePending() != ZEL_FALSE);
            ZELCdrType_finalizeSample(&Appendable_g_desc, &target, nullptr);
        });
        EXPECT_GT(allocations, 1);
    }
}

}  // namespace
}  // namespace typetest
