// Sequences: the rules and their exact messages, ownership and loans, and
// that no failure changes a sequence or leaks.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "vurncore/sequence_define.hpp"

extern "C" {
ZEL_SEQUENCE_DECLARE(, TestLongSeq, DDS_Long);
ZEL_SEQUENCE_DECLARE(, TestStringSeq, char *);
}

ZEL_SEQUENCE_DEFINE(, TestLongSeq, DDS_Long, &zel::plainSequenceElementType<DDS_Long>);
ZEL_SEQUENCE_DEFINE(, TestStringSeq, char *, &zel::stringSequenceElementType);

namespace {

using zeltest::expectedLine;

using SequenceTest = zeltest::HeapCheckedTest;

TestLongSeq longsOf(const std::vector<DDS_Long> &values) {
    TestLongSeq seq = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_TRUE(TestLongSeq_from_array(&seq, values.data(), static_cast<DDS_Long>(values.size())));
    return seq;
}

DDS_Boolean fromTexts(TestStringSeq *seq, std::vector<const char *> texts) {
    return TestStringSeq_from_array(seq, texts.data(), static_cast<DDS_Long>(texts.size()));
}

std::vector<DDS_Long> valuesOf(const TestLongSeq &seq) {
    std::vector<DDS_Long> values;
    for (DDS_Long i = 0; i < TestLongSeq_get_length(&seq); ++i) {
        values.push_back(TestLongSeq_get(&seq, i));
    }
    return values;
}

std::vector<std::string> textsOf(const TestStringSeq &seq) {
    std::vector<std::string> texts;
    for (DDS_Long i = 0; i < TestStringSeq_get_length(&seq); ++i) {
        const char *text = TestStringSeq_get(&seq, i);
        texts.push_back(text == nullptr ? "<null>" : text);
    }
    return texts;
}

TEST_F(SequenceTest, ZeroFilledOrGarbageSequenceInitializesItselfOnFirstUse) {
    TestLongSeq zeroed;
    std::memset(&zeroed, 0, sizeof zeroed);
    EXPECT_EQ(TestLongSeq_get_length(&zeroed), 0);
    EXPECT_TRUE(TestLongSeq_has_ownership(&zeroed));
    ASSERT_TRUE(TestLongSeq_ensure_length(&zeroed, 2, 4));
    EXPECT_EQ(zeroed._sequence_init, ZEL_SEQUENCE_MAGIC_NUMBER);
    EXPECT_EQ(TestLongSeq_get_maximum(&zeroed), 4);
    DDS_TypeAllocationParams_t params{};
    ASSERT_TRUE(TestLongSeq_get_element_allocation_params(&zeroed, &params));
    EXPECT_TRUE(params.allocate_memory);
    EXPECT_TRUE(TestLongSeq_finalize(&zeroed));

    // Memory never initialized reads as empty and is not trusted once written.
    TestStringSeq garbage;
    std::memset(&garbage, 0xA5, sizeof garbage);
    EXPECT_EQ(TestStringSeq_get_maximum(&garbage), 0);
    EXPECT_EQ(TestStringSeq_get_contiguous_bufferI(&garbage), nullptr);
    ASSERT_TRUE(TestStringSeq_set_maximum(&garbage, 2));
    EXPECT_EQ(TestStringSeq_get_length(&garbage), 0);
    EXPECT_TRUE(TestStringSeq_finalize(&garbage));
}

TEST_F(SequenceTest, MaximumChangesKeepLeadingElementsAndCutTheLength) {
    TestLongSeq seq = longsOf({1, 2, 3});
    ASSERT_TRUE(TestLongSeq_set_maximum(&seq, 8));
    EXPECT_EQ(valuesOf(seq), (std::vector<DDS_Long>{1, 2, 3}));
    ASSERT_TRUE(TestLongSeq_set_length(&seq, 5));
    EXPECT_EQ(valuesOf(seq), (std::vector<DDS_Long>{1, 2, 3, 0, 0}));

    ASSERT_TRUE(TestLongSeq_set_maximum(&seq, 2));
    EXPECT_EQ(TestLongSeq_get_maximum(&seq), 2);
    EXPECT_EQ(valuesOf(seq), (std::vector<DDS_Long>{1, 2}));

    // Growing to fit keeps the elements and takes `max` as the new maximum;
    // a length within the maximum leaves the maximum alone.
    ASSERT_TRUE(TestLongSeq_ensure_length(&seq, 3, 10));
    EXPECT_EQ(TestLongSeq_get_maximum(&seq), 10);
    EXPECT_EQ(valuesOf(seq), (std::vector<DDS_Long>{1, 2, 0}));
    ASSERT_TRUE(TestLongSeq_ensure_length(&seq, 1, 1));
    EXPECT_EQ(TestLongSeq_get_maximum(&seq), 10);

    ASSERT_TRUE(TestLongSeq_set_maximum(&seq, 0));
    EXPECT_EQ(TestLongSeq_get_contiguous_bufferI(&seq), nullptr);
    EXPECT_EQ(TestLongSeq_get_length(&seq), 0);
    EXPECT_TRUE(TestLongSeq_finalize(&seq));
}

TEST_F(SequenceTest, EveryRuleIsReportedWithItsExactMessage) {
    zeltest::LogCapture log;
    const ZELLogMessage &bad = ZEL_LOG_BAD_PARAMETER_s;
    const ZELLogMessage &unmet = ZEL_LOG_PRECONDITION_NOT_MET_s;
    TestLongSeq seq = longsOf({7, 8});
    DDS_Long buffer[3] = {};
    TestLongSeq loaned = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(TestLongSeq_loan_contiguous(&loaned, buffer, 1, 3));
    DDS_TypeAllocationParams_t params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    void *token = nullptr;
    log.clear();

    EXPECT_EQ(TestLongSeq_get_length(nullptr), 0);
    EXPECT_FALSE(TestLongSeq_set_maximum(nullptr, 1));
    EXPECT_FALSE(TestLongSeq_set_maximum(&loaned, 5));
    EXPECT_FALSE(TestLongSeq_set_maximum(&seq, -1));
    EXPECT_FALSE(TestLongSeq_set_length(&seq, 3));
    EXPECT_FALSE(TestLongSeq_set_length(&seq, -1));
    EXPECT_FALSE(TestLongSeq_ensure_length(&seq, -1, 4));
    EXPECT_FALSE(TestLongSeq_ensure_length(&seq, 5, 4));
    EXPECT_FALSE(TestLongSeq_ensure_length(&loaned, 4, 4));
    EXPECT_EQ(TestLongSeq_get(&seq, 2), 0);
    EXPECT_EQ(TestLongSeq_get_reference(&seq, -1), nullptr);
    EXPECT_EQ(ZELSequence_get_reference(reinterpret_cast<ZELSequence *>(&seq), nullptr, 0, "ctx"), nullptr);
    EXPECT_FALSE(TestLongSeq_loan_contiguous(&seq, buffer, 1, 3));
    EXPECT_FALSE(TestLongSeq_loan_contiguous(&loaned, buffer, 1, 3));
    TestLongSeq empty = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_FALSE(TestLongSeq_loan_contiguous(&empty, nullptr, 0, 3));
    EXPECT_FALSE(TestLongSeq_loan_discontiguous(&empty, nullptr, -1, 0));
    EXPECT_FALSE(TestLongSeq_loan_contiguous(&empty, buffer, 4, 3));
    EXPECT_FALSE(TestLongSeq_unloan(&seq));
    EXPECT_FALSE(TestLongSeq_finalize(&loaned));
    EXPECT_FALSE(TestLongSeq_get_read_tokenI(&seq, &token, nullptr));
    EXPECT_FALSE(TestLongSeq_get_element_allocation_params(&seq, nullptr));
    EXPECT_FALSE(TestLongSeq_set_element_deallocation_params(&seq, nullptr));
    EXPECT_FALSE(TestLongSeq_set_element_allocation_params(&seq, &params));
    EXPECT_FALSE(TestLongSeq_set_element_pointers_allocation(&seq, DDS_BOOLEAN_FALSE));
    EXPECT_EQ(TestLongSeq_copy_no_alloc(&empty, &seq), nullptr);
    TestLongSeq tiny = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(TestLongSeq_loan_contiguous(&tiny, buffer, 0, 1));
    EXPECT_EQ(TestLongSeq_copy(&tiny, &seq), nullptr);  // a loan cannot grow
    EXPECT_EQ(TestLongSeq_copy(&seq, nullptr), nullptr);
    EXPECT_FALSE(TestLongSeq_from_array(&seq, buffer, -2));
    EXPECT_FALSE(TestLongSeq_from_array(&seq, nullptr, 2));
    EXPECT_FALSE(TestLongSeq_to_array(&seq, buffer, -1));
    EXPECT_FALSE(TestLongSeq_to_array(&seq, nullptr, 1));

    const std::vector<zeltest::CapturedLine> expected = {
            expectedLine("TestLongSeq_get_length", bad, "bad parameter: self\n"),
            expectedLine("TestLongSeq_set_maximum", bad, "bad parameter: self\n"),
            expectedLine("TestLongSeq_set_maximum", unmet, "precondition not met: buffer must not be loaned\n"),
            expectedLine("TestLongSeq_set_maximum", unmet, "precondition not met: max size must be positive\n"),
            expectedLine("TestLongSeq_set_length", unmet, "precondition not met: length must not exceed maximum\n"),
            expectedLine("TestLongSeq_set_length", unmet, "precondition not met: negative argument\n"),
            expectedLine("TestLongSeq_ensure_length", bad, "bad parameter: length\n"),
            expectedLine("TestLongSeq_ensure_length", bad, "bad parameter: length\n"),
            expectedLine("TestLongSeq_ensure_length", unmet, "precondition not met: buffer must not be loaned\n"),
            expectedLine("TestLongSeq_get", unmet, "precondition not met: index out of bounds\n"),
            expectedLine("TestLongSeq_get_reference", unmet, "precondition not met: index out of bounds\n"),
            expectedLine("ctx", bad, "bad parameter: type\n"),
            expectedLine("TestLongSeq_loan_contiguous", unmet, "precondition not met: max size must be 0\n"),
            expectedLine("TestLongSeq_loan_contiguous", unmet, "precondition not met: buffer must not be loaned\n"),
            expectedLine("TestLongSeq_loan_contiguous", unmet,
                         "precondition not met: NULL buffer can't have non-zero maximum\n"),
            expectedLine("TestLongSeq_loan_discontiguous", unmet, "precondition not met: negative argument\n"),
            expectedLine("TestLongSeq_loan_contiguous", unmet,
                         "precondition not met: length must not exceed maximum\n"),
            expectedLine("TestLongSeq_unloan", unmet, "precondition not met: buffer must be loaned\n"),
            expectedLine("TestLongSeq_finalize", unmet, "precondition not met: buffer must not be loaned\n"),
            expectedLine("TestLongSeq_get_read_tokenI", bad, "bad parameter: token (NULL)\n"),
            expectedLine("TestLongSeq_get_element_allocation_params", bad, "bad parameter: params\n"),
            expectedLine("TestLongSeq_set_element_deallocation_params", bad, "bad parameter: params\n"),
            expectedLine("TestLongSeq_set_element_allocation_params", unmet,
                         "precondition not met: Member allocation parameters can be configured only when the "
                         "maximum size of the sequence is 0\n"),
            expectedLine("TestLongSeq_set_element_pointers_allocation", unmet,
                         "precondition not met: Pointers allocation policy can be configured only when the "
                         "maximum size of the sequence is 0\n"),
            expectedLine("TestLongSeq_copy_no_alloc", unmet,
                         "precondition not met: max size must not be below the source length\n"),
            expectedLine("TestLongSeq_copy", unmet, "precondition not met: buffer must not be loaned\n"),
            expectedLine("TestLongSeq_copy", bad, "bad parameter: src\n"),
            expectedLine("TestLongSeq_from_array", unmet, "precondition not met: negative argument\n"),
            expectedLine("TestLongSeq_from_array", ZEL_LOG_ANY_FAILURE_s, "failure: loan contiguous array\n"),
            expectedLine("TestLongSeq_from_array", unmet,
                         "precondition not met: NULL buffer can't have non-zero maximum\n"),
            expectedLine("TestLongSeq_from_array", ZEL_LOG_ANY_FAILURE_s, "failure: loan contiguous array\n"),
            expectedLine("TestLongSeq_to_array", unmet, "precondition not met: negative argument\n"),
            expectedLine("TestLongSeq_to_array", bad, "bad parameter: array\n"),
    };
    EXPECT_EQ(log.lines(), expected);

    // Refused operations changed nothing.
    EXPECT_EQ(valuesOf(seq), (std::vector<DDS_Long>{7, 8}));
    EXPECT_EQ(TestLongSeq_get_length(&loaned), 1);
    EXPECT_EQ(TestLongSeq_get_contiguous_bufferI(&loaned), buffer);
    EXPECT_TRUE(TestLongSeq_unloan(&loaned));
    EXPECT_TRUE(TestLongSeq_unloan(&tiny));
    EXPECT_TRUE(TestLongSeq_finalize(&seq));
}

TEST_F(SequenceTest, AllocationParametersCanChangeOnlyAtMaximumZero) {
    TestStringSeq seq = ZEL_SEQUENCE_INITIALIZER;
    const DDS_TypeAllocationParams_t noMemory = {DDS_BOOLEAN_TRUE, DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE};
    ASSERT_TRUE(TestStringSeq_set_element_allocation_params(&seq, &noMemory));
    ASSERT_TRUE(TestStringSeq_set_element_pointers_allocation(&seq, DDS_BOOLEAN_FALSE));
    DDS_TypeAllocationParams_t read{};
    ASSERT_TRUE(TestStringSeq_get_element_allocation_params(&seq, &read));
    EXPECT_FALSE(read.allocate_pointers);
    EXPECT_FALSE(read.allocate_memory);

    // Without memory the elements start as NULL strings: no heap block each.
    const long before = ZELOsapiHeap_getLiveBlockCount();
    ASSERT_TRUE(TestStringSeq_ensure_length(&seq, 2, 2));
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), before + 1);
    EXPECT_EQ(textsOf(seq), (std::vector<std::string>{"<null>", "<null>"}));
    const DDS_TypeDeallocationParams_t keep = {DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE};
    EXPECT_TRUE(TestStringSeq_set_element_deallocation_params(&seq, &keep));
    EXPECT_TRUE(TestStringSeq_finalize(&seq));

    // Finalize restores the default parameters: every element is an empty string.
    ASSERT_TRUE(TestStringSeq_ensure_length(&seq, 2, 3));
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), before + 4);
    EXPECT_EQ(textsOf(seq), (std::vector<std::string>{"", ""}));
    EXPECT_TRUE(TestStringSeq_finalize(&seq));
}

TEST_F(SequenceTest, LoansUseTheCallersStorageAndNeverFreeIt) {
    DDS_Long storage[4] = {10, 20, 30, 40};
    const long before = ZELOsapiHeap_getLiveBlockCount();
    TestLongSeq seq = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(TestLongSeq_loan_contiguous(&seq, storage, 2, 4));
    EXPECT_FALSE(TestLongSeq_has_ownership(&seq));
    EXPECT_EQ(TestLongSeq_get_reference(&seq, 1), &storage[1]);
    ASSERT_TRUE(TestLongSeq_set_length(&seq, 4));
    EXPECT_EQ(valuesOf(seq), (std::vector<DDS_Long>{10, 20, 30, 40}));

    // Copying into a loan within its maximum writes the caller's storage.
    TestLongSeq source = longsOf({1, 2, 3});
    ASSERT_EQ(TestLongSeq_copy(&seq, &source), &seq);
    EXPECT_EQ(storage[2], 3);
    EXPECT_EQ(storage[3], 40);
    EXPECT_EQ(TestLongSeq_get_length(&seq), 3);
    EXPECT_TRUE(TestLongSeq_finalize(&source));

    int tag1 = 0;
    int tag2 = 0;
    ASSERT_TRUE(TestLongSeq_set_read_tokenI(&seq, &tag1, &tag2));
    void *token1 = nullptr;
    void *token2 = nullptr;
    ASSERT_TRUE(TestLongSeq_get_read_tokenI(&seq, &token1, &token2));
    EXPECT_EQ(token1, &tag1);
    EXPECT_EQ(token2, &tag2);

    ASSERT_TRUE(TestLongSeq_unloan(&seq));
    EXPECT_TRUE(TestLongSeq_has_ownership(&seq));
    EXPECT_EQ(TestLongSeq_get_maximum(&seq), 0);
    EXPECT_EQ(TestLongSeq_get_contiguous_bufferI(&seq), nullptr);
    ASSERT_TRUE(TestLongSeq_get_read_tokenI(&seq, &token1, &token2));
    EXPECT_EQ(token1, nullptr);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), before);
    EXPECT_TRUE(TestLongSeq_finalize(&seq));
}

TEST_F(SequenceTest, DiscontiguousLoanReachesElementsThroughTheirPointers) {
    char *first = DDS_String_dup("first");
    char *second = DDS_String_dup("second");
    char **pointers[2] = {&second, &first};
    TestStringSeq loaned = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(TestStringSeq_loan_discontiguous(&loaned, pointers, 2, 2));
    EXPECT_EQ(TestStringSeq_get_discontiguous_bufferI(&loaned), pointers);
    EXPECT_EQ(TestStringSeq_get_contiguous_bufferI(&loaned), nullptr);
    EXPECT_EQ(TestStringSeq_get_reference(&loaned, 1), &first);

    TestStringSeq owned = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(TestStringSeq_copy(&owned, &loaned), &owned);
    EXPECT_EQ(textsOf(owned), (std::vector<std::string>{"second", "first"}));
    EXPECT_NE(TestStringSeq_get(&owned, 0), second);  // a copy, not the caller's string

    // Copying into the loan replaces the texts the pointers lead to.
    TestStringSeq source = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(fromTexts(&source, {"x", "y"}));
    ASSERT_EQ(TestStringSeq_copy_no_alloc(&loaned, &source), &loaned);
    EXPECT_STREQ(second, "x");
    EXPECT_STREQ(first, "y");

    EXPECT_TRUE(TestStringSeq_unloan(&loaned));
    EXPECT_TRUE(TestStringSeq_finalize(&source));
    EXPECT_TRUE(TestStringSeq_finalize(&owned));
    DDS_String_free(first);
    DDS_String_free(second);

    // Plain values go element by element when one side is discontiguous.
    DDS_Long low = 0;
    DDS_Long high = 0;
    DDS_Long *slots[2] = {&high, &low};
    TestLongSeq scattered = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(TestLongSeq_loan_discontiguous(&scattered, slots, 0, 2));
    TestLongSeq values = longsOf({5, 6});
    ASSERT_EQ(TestLongSeq_copy(&scattered, &values), &scattered);
    EXPECT_EQ(high, 5);
    EXPECT_EQ(low, 6);
    EXPECT_TRUE(TestLongSeq_unloan(&scattered));
    EXPECT_TRUE(TestLongSeq_finalize(&values));
}

TEST_F(SequenceTest, CopyGrowsAnOwnedDestinationExactlyAndCopiesStringsByContent) {
    const char *texts[] = {"alpha", "beta", "gamma"};
    TestStringSeq source = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(fromTexts(&source, {texts[0], texts[1], texts[2]}));
    EXPECT_NE(TestStringSeq_get(&source, 0), texts[0]);
    // Elements beyond the length keep their values.
    ASSERT_TRUE(TestStringSeq_set_length(&source, 1));
    ASSERT_TRUE(TestStringSeq_set_length(&source, 3));

    TestStringSeq copy = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(TestStringSeq_set_maximum(&copy, 1));
    ASSERT_EQ(TestStringSeq_copy(&copy, &source), &copy);
    EXPECT_EQ(TestStringSeq_get_maximum(&copy), 3);
    EXPECT_EQ(textsOf(copy), (std::vector<std::string>{"alpha", "beta", "gamma"}));
    EXPECT_NE(TestStringSeq_get(&copy, 1), TestStringSeq_get(&source, 1));

    // A shorter source keeps the destination's maximum; a sequence copied
    // onto itself is left alone; an uninitialized source is empty.
    TestStringSeq shorter = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(fromTexts(&shorter, {"gamma"}));
    ASSERT_EQ(TestStringSeq_copy_no_alloc(&copy, &shorter), &copy);
    EXPECT_EQ(TestStringSeq_get_maximum(&copy), 3);
    EXPECT_EQ(textsOf(copy), (std::vector<std::string>{"gamma"}));
    ASSERT_EQ(TestStringSeq_copy(&copy, &copy), &copy);
    EXPECT_EQ(textsOf(copy), (std::vector<std::string>{"gamma"}));
    TestStringSeq zeroed;
    std::memset(&zeroed, 0, sizeof zeroed);
    ASSERT_EQ(TestStringSeq_copy(&copy, &zeroed), &copy);
    EXPECT_EQ(TestStringSeq_get_length(&copy), 0);

    // to_array copies at most the sequence's length into initialized elements.
    char *out[4] = {DDS_String_dup("old"), DDS_String_dup("old"), DDS_String_dup("old"), DDS_String_dup("old")};
    ASSERT_TRUE(TestStringSeq_to_array(&source, out, 4));
    EXPECT_STREQ(out[0], "alpha");
    EXPECT_STREQ(out[2], "gamma");
    EXPECT_STREQ(out[3], "old");
    for (char *text : out) {
        DDS_String_free(text);
    }

    EXPECT_TRUE(TestStringSeq_finalize(&shorter));
    EXPECT_TRUE(TestStringSeq_finalize(&copy));
    EXPECT_TRUE(TestStringSeq_finalize(&source));
}

// Each operation on a string sequence, with every allocation failing in
// turn: a failure leaves the sequence as it was.
TEST_F(SequenceTest, EveryAllocationFailureLeavesTheStringSequenceAsItWas) {
    using Texts = std::vector<std::string>;
    struct Case {
        const char *name;
        std::vector<const char *> before;
        bool (*operation)(TestStringSeq *seq, const TestStringSeq *source);
        Texts after;
        long allocations;
    };
    const auto copy = [](TestStringSeq *seq, const TestStringSeq *source) {
        return TestStringSeq_copy(seq, source) != nullptr;
    };
    const Case cases[] = {
            // The buffer, then three new empty strings.
            {"grow the maximum",
             {"a", "b", "c"},
             [](TestStringSeq *seq, const TestStringSeq *) {
                 return TestStringSeq_set_maximum(seq, 6) && TestStringSeq_set_length(seq, 6);
             },
             {"a", "b", "c", "", "", ""},
             5},
            {"copy that grows the destination", {"x"}, copy, {"one", "two"}, 6},
            {"copy within the maximum", {"x", "y", "z"}, copy, {"one", "two"}, 6},
            {"from an array",
             {"keep"},
             [](TestStringSeq *seq, const TestStringSeq *) {
                 return fromTexts(seq, {"p", "q"}) != 0;
             },
             {"p", "q"},
             6},
    };
    zeltest::LogCapture log;
    TestStringSeq source = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(fromTexts(&source, {"one", "two"}));
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        long failures = 0;
        const long allocations = zeltest::forEachAllocationFailure([&](long n) {
            // Only the operation under test meets the failure.
            ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
            TestStringSeq seq = ZEL_SEQUENCE_INITIALIZER;
            ASSERT_TRUE(fromTexts(&seq, c.before));
            ZELOsapiHeap_failAllocation(n, ZEL_TRUE);
            const bool done = c.operation(&seq, &source);
            failures += done ? 0 : 1;
            EXPECT_EQ(textsOf(seq), done ? c.after : Texts(c.before.begin(), c.before.end()));
            if (!done) {
                EXPECT_EQ(TestStringSeq_get_maximum(&seq), static_cast<DDS_Long>(c.before.size()));
            }
            EXPECT_TRUE(TestStringSeq_finalize(&seq));
        });
        EXPECT_EQ(allocations, c.allocations);
        EXPECT_EQ(failures, allocations - 1);  // no failure goes unnoticed
    }
    EXPECT_TRUE(TestStringSeq_finalize(&source));
    EXPECT_TRUE(log.contains("TestStringSeq_set_maximum", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                             "out of heap: array of 6 elements of 8 octets\n"));
    EXPECT_TRUE(log.contains("TestStringSeq_set_maximum", ZEL_LOG_INIT_FAILURE_s, "failed to initialize element\n"));
    EXPECT_TRUE(log.contains("TestStringSeq_from_array", ZEL_LOG_ANY_FAILURE_s, "failure: copy element\n"));
    EXPECT_TRUE(log.contains("TestStringSeq_from_array", ZEL_LOG_ANY_FAILURE_s, "failure: copying array sequence\n"));
}

}  // namespace
