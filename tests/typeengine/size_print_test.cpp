// Serialized sizes against what is written, the per-type cache under
// concurrent first use, and printing.
#include <string>
#include <thread>

#include "engine_test_support.h"
#include "heap_check.h"
#include "log_capture.h"
#include "engine_types.h"
#include "vurncore/cdr_print.h"

namespace typetest {
namespace {

class TypeSizeTest : public zeltest::HeapCheckedTest {};

// Sizes with the encapsulation header (a mutable type's 0 becomes 2).
uint32_t maxSize(const ZELCdrTypeDesc *type) {
    return ZELCdrType_getSerializedSampleMaxSize(type, DDS_BOOLEAN_TRUE, 0, 0);
}
uint32_t minSize(const ZELCdrTypeDesc *type) {
    return ZELCdrType_getSerializedSampleMinSize(type, DDS_BOOLEAN_TRUE, 0, 0);
}
uint32_t sampleSize(const ZELCdrTypeDesc *type, const void *sample) {
    return ZELCdrType_getSerializedSampleSize(type, DDS_BOOLEAN_TRUE, 0, 0, sample);
}

TEST_F(TypeSizeTest, SizesMatchWhatIsWritten) {
    EXPECT_EQ(maxSize(&FinalAll_g_desc), 68u);
    EXPECT_EQ(minSize(&FinalAll_g_desc), 68u);
    // From an odd alignment the padding differs; the result is the new alignment.
    EXPECT_EQ(ZELCdrType_getSerializedSampleMaxSize(&FinalAll_g_desc, DDS_BOOLEAN_FALSE, 0, 3), 72u);
    EXPECT_EQ(ZELCdrType_getSerializedSampleMaxSize(&FinalAll_g_desc, DDS_BOOLEAN_TRUE, 0, 3), 71u);
    EXPECT_EQ(ZELCdrType_getSerializedSampleMaxSize(&InnerMutable_g_desc, DDS_BOOLEAN_FALSE, 0, 0), 32u);
    EXPECT_EQ(maxSize(&OuterMutable_g_desc), 60u);

    Sample<OuterMutable> outer(&OuterMutable_g_desc);
    Sample<TopicLike> topic(&TopicLike_g_desc);
    Sample<Appendable> appendable(&Appendable_g_desc);
    Sample<Big> big(&Big_g_desc);
    const std::pair<const ZELCdrTypeDesc *, const void *> samples[] = {{&OuterMutable_g_desc, &outer.value},
                                                                       {&TopicLike_g_desc, &topic.value},
                                                                       {&Appendable_g_desc, &appendable.value},
                                                                       {&Big_g_desc, &big.value}};
    for (const auto &[type, sample] : samples) {  // an initialized sample is the smallest
        EXPECT_EQ(minSize(type), serialized(type, sample, 0).size()) << type->name;
    }
    setText(outer.value.inner.label, "12345678");
    setText(topic.value.name, std::string(256, 'x').c_str());
    const DDS_Long values[] = {1, 2, 3};
    ASSERT_TRUE(DDS_LongSeq_from_array(&appendable.value.values, values, 3));
    replaceText(&appendable.value.notes, "unbounded");
    const DDS_Octet blob[] = {1, 2, 3, 4, 5};
    ASSERT_TRUE(DDS_OctetSeq_from_array(&big.value.blob, blob, 5));
    for (const auto &[type, sample] : samples) {
        const auto written = static_cast<uint32_t>(serialized(type, sample, 0).size());
        EXPECT_EQ(sampleSize(type, sample), written) << type->name;
        EXPECT_GE(maxSize(type), written) << type->name;
    }
    EXPECT_EQ(maxSize(&TopicLike_g_desc), sampleSize(&TopicLike_g_desc, &topic.value));
    // Extended headers from 64 KiB on; a type without cache computes the same.
    EXPECT_GE(maxSize(&Big_g_desc), ZEL_CDR_EXTENDED_HEADER_THRESHOLD);
    ZELCdrTypeDesc uncached = Big_g_desc;
    uncached.cache = nullptr;
    EXPECT_EQ(maxSize(&uncached), maxSize(&Big_g_desc));
    EXPECT_EQ(minSize(&uncached), minSize(&Big_g_desc));
    EXPECT_EQ(serialized(&uncached, &big.value, 0), serialized(&Big_g_desc, &big.value, 0));
}

TEST_F(TypeSizeTest, ConcurrentFirstUseComputesOneAnswer) {
    ZELCdrTypeCache cache{};
    ZELCdrTypeDesc fresh = OuterMutable_g_desc;
    fresh.cache = &cache;
    uint32_t results[4] = {};
    std::thread threads[4];
    for (int i = 0; i < 4; ++i) {
        threads[i] = std::thread([&, i] { results[i] = maxSize(&fresh); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const uint32_t result : results) {
        EXPECT_EQ(result, 60u);
    }
    EXPECT_EQ(cache.maxSerializedSize, 56u);
}

std::string printed(const zeltest::LogCapture &capture) {
    std::string text;
    for (const zeltest::CapturedLine &line : capture.lines()) {
        EXPECT_EQ(line.context, "");
        text += line.text;
    }
    return text;
}

TEST_F(TypeSizeTest, PrintShowsEveryMemberByNameOneLevelDeeper) {
    Sample<Appendable> appendable(&Appendable_g_desc);
    setText(appendable.value.name, "abc");
    const DDS_Long values[] = {1, -2};
    ASSERT_TRUE(DDS_LongSeq_from_array(&appendable.value.values, values, 2));
    Sample<OuterMutable> outer(&OuterMutable_g_desc);
    outer.value.id = 12;
    setText(outer.value.inner.label, "ok");
    outer.value.flag = 0x5a;

    zeltest::LogCapture capture;
    ZELCdrType_printSample(&Appendable_g_desc, &appendable.value, "appendable", 0);
    EXPECT_EQ(printed(capture),
              "appendable:\n"
              "   name: \"abc\"\n"
              "   values:\n"
              "      [0]: 1\n"
              "      [1]: -2\n"
              "   tags:\n"
              "   points:\n"
              "   tail: 0\n"
              "   notes: \"\"\n");
    capture.clear();
    ZELCdrType_printSample(&OuterMutable_g_desc, &outer.value, "outer", 1);
    ZELCdrType_printSample(&OuterMutable_g_desc, nullptr, "none", 1);
    EXPECT_EQ(printed(capture),
              "   outer:\n"
              "      id: 12\n"
              "      inner:\n"
              "         a: 0\n"
              "         label: \"ok\"\n"
              "      flag: 0x5a\n"
              "   none:\n"
              "   NULL\n");
}

}  // namespace
}  // namespace typetest
