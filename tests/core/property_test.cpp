// The PropertyQosPolicy and its helpers.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_property.h"

namespace {

using PropertyTest = zeltest::HeapCheckedTest;
using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairsOf(const DDS_PropertyQosPolicy &policy) {
    Pairs pairs;
    DDS_PropertyQosPolicy &mutablePolicy = const_cast<DDS_PropertyQosPolicy &>(policy);
    for (DDS_Long i = 0; i < DDS_PropertyQosPolicyHelper_get_number_of_properties(&policy); ++i) {
        const DDS_Property_t *property = DDS_PropertySeq_get_reference(&mutablePolicy.value, i);
        pairs.emplace_back(property->name, property->value);
    }
    return pairs;
}

// Builds a policy with heap failures disarmed, then arms the n-th allocation
// so that only the operation under test meets it.
void buildPolicy(DDS_PropertyQosPolicy *policy, const Pairs &pairs, long n) {
    ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
    ASSERT_TRUE(DDS_PropertyQosPolicy_initialize(policy));
    for (const auto &[name, value] : pairs) {
        ASSERT_EQ(DDS_PropertyQosPolicyHelper_add_property(policy, name.c_str(), value.c_str(), DDS_BOOLEAN_FALSE),
                  DDS_RETCODE_OK);
    }
    ZELOsapiHeap_failAllocation(n, ZEL_TRUE);
}

TEST_F(PropertyTest, HelpersAddLookUpReplaceAndRemoveKeepingTheOrder) {
    DDS_PropertyQosPolicy policy = DDS_PROPERTY_QOS_POLICY_DEFAULT;
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "a", "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "b", "2", DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "c", "", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "b", "other", DDS_BOOLEAN_FALSE),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(pairsOf(policy), (Pairs{{"a", "1"}, {"b", "2"}, {"c", ""}}));

    const DDS_Property_t *b = DDS_PropertyQosPolicyHelper_lookup_property(&policy, "b");
    ASSERT_NE(b, nullptr);
    EXPECT_STREQ(b->value, "2");
    EXPECT_TRUE(b->propagate);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_lookup_property(&policy, "B"), nullptr);  // names are case-sensitive
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_lookup_property(&policy, "d"), nullptr);

    EXPECT_EQ(DDS_PropertyQosPolicyHelper_assert_property(&policy, "b", "22", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_FALSE(DDS_PropertyQosPolicyHelper_lookup_property(&policy, "b")->propagate);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_assert_property(&policy, "d", "4", DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    EXPECT_EQ(pairsOf(policy), (Pairs{{"a", "1"}, {"b", "22"}, {"c", ""}, {"d", "4"}}));

    EXPECT_EQ(DDS_PropertyQosPolicyHelper_remove_property(&policy, "a"), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_remove_property(&policy, "c"), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_remove_property(&policy, "c"), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(pairsOf(policy), (Pairs{{"b", "22"}, {"d", "4"}}));
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_lookup_property(&policy, "a"), nullptr);

    // A freed place is taken again by the next property, at the end.
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "e", "5", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "a", "6", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(pairsOf(policy), (Pairs{{"b", "22"}, {"d", "4"}, {"e", "5"}, {"a", "6"}}));
    DDS_PropertyQosPolicy_finalize(&policy);
}

TEST_F(PropertyTest, ZeroFilledPolicyIsAnEmptyOne) {
    DDS_PropertyQosPolicy policy;
    std::memset(&policy, 0, sizeof policy);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_get_number_of_properties(&policy), 0);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_lookup_property(&policy, "a"), nullptr);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_remove_property(&policy, "a"), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "a", "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(pairsOf(policy), (Pairs{{"a", "1"}}));
    DDS_PropertyQosPolicy_finalize(&policy);
}

TEST_F(PropertyTest, MissingArgumentsAreBadParameters) {
    zeltest::LogCapture log;
    DDS_PropertyQosPolicy policy = DDS_PROPERTY_QOS_POLICY_DEFAULT;
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(nullptr, "a", "1", DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, nullptr, "1", DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_assert_property(&policy, "a", nullptr, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_remove_property(&policy, nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_lookup_property(nullptr, "a"), nullptr);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_get_number_of_properties(nullptr), 0);
    EXPECT_FALSE(DDS_PropertyQosPolicy_copy(&policy, nullptr));
    EXPECT_FALSE(DDS_Property_t_initialize(nullptr));

    const ZELLogMessage &bad = ZEL_LOG_BAD_PARAMETER_s;
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine("DDS_PropertyQosPolicyHelper_add_property", bad, "bad parameter: policy\n"),
            zeltest::expectedLine("DDS_PropertyQosPolicyHelper_add_property", bad, "bad parameter: name\n"),
            zeltest::expectedLine("DDS_PropertyQosPolicyHelper_assert_property", bad, "bad parameter: value\n"),
            zeltest::expectedLine("DDS_PropertyQosPolicyHelper_remove_property", bad, "bad parameter: name\n"),
            zeltest::expectedLine("DDS_PropertyQosPolicyHelper_lookup_property", bad, "bad parameter: policy\n"),
            zeltest::expectedLine("DDS_PropertyQosPolicy_copy", bad, "bad parameter: src\n"),
            zeltest::expectedLine("DDS_Property_t_initialize", bad, "bad parameter: sample\n"),
    };
    EXPECT_EQ(log.lines(), expected);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_get_number_of_properties(&policy), 0);
}

TEST_F(PropertyTest, NamesAndValuesStayWithinTheirBoundsAndFillBuffersOfThatSize) {
    zeltest::LogCapture log;
    DDS_PropertyQosPolicy policy = DDS_PROPERTY_QOS_POLICY_DEFAULT;
    const std::string longestName(DDS_PROPERTY_NAME_MAX, 'n');
    const std::string longestValue(DDS_PROPERTY_VALUE_MAX, 'v');
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, longestName.c_str(), "", DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, (longestName + "n").c_str(), "", DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(
            DDS_PropertyQosPolicyHelper_assert_property(&policy, "a", (longestValue + "v").c_str(), DDS_BOOLEAN_FALSE),
            DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_assert_property(&policy, longestName.c_str(), (longestValue + "v").c_str(),
                                                          DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(pairsOf(policy), (Pairs{{longestName, ""}}));
    EXPECT_EQ(log.lines().size(), 3u);

    // The value's buffer holds the longest value already: replacing needs no heap.
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    const DDS_ReturnCode_t replaced = DDS_PropertyQosPolicyHelper_assert_property(
            &policy, longestName.c_str(), longestValue.c_str(), DDS_BOOLEAN_TRUE);
    ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
    EXPECT_EQ(replaced, DDS_RETCODE_OK);
    EXPECT_EQ(pairsOf(policy), (Pairs{{longestName, longestValue}}));

    // A copy keeps bounded buffers too: the value may then grow in place.
    DDS_PropertyQosPolicy copy = DDS_PROPERTY_QOS_POLICY_DEFAULT;
    ASSERT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, "short", "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    ASSERT_TRUE(DDS_PropertyQosPolicy_copy(&copy, &policy));
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    const DDS_ReturnCode_t grown =
            DDS_PropertyQosPolicyHelper_assert_property(&copy, "short", longestValue.c_str(), DDS_BOOLEAN_FALSE);
    ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
    EXPECT_EQ(grown, DDS_RETCODE_OK);
    DDS_PropertyQosPolicy_finalize(&copy);
    DDS_PropertyQosPolicy_finalize(&policy);
}

TEST_F(PropertyTest, PropertyInitializesToEmptyStringsAndCopiesByContent) {
    DDS_Property_t property;
    ASSERT_TRUE(DDS_Property_t_initialize(&property));
    EXPECT_STREQ(property.name, "");
    EXPECT_STREQ(property.value, "");
    EXPECT_FALSE(property.propagate);

    char name[] = "n";
    DDS_Property_t source = {name, nullptr, DDS_BOOLEAN_TRUE};
    ASSERT_TRUE(DDS_Property_t_copy(&property, &source));
    EXPECT_STREQ(property.name, "n");
    EXPECT_NE(property.name, name);
    EXPECT_EQ(property.value, nullptr);
    EXPECT_TRUE(property.propagate);
    DDS_Property_t_finalize(&property);
    EXPECT_EQ(property.name, nullptr);
}

// Each change of a policy with {a, 1} and {b, 2}, with every allocation
// failing in turn: a failure leaves the policy as it was.
TEST_F(PropertyTest, EveryAllocationFailureLeavesThePolicyAsItWas) {
    struct Case {
        const char *name;
        DDS_ReturnCode_t (*change)(DDS_PropertyQosPolicy *policy, const DDS_PropertyQosPolicy *source);
        Pairs after;
        long allocations;
    };
    const Case cases[] = {
            // The doubled buffer and the name and value buffers of each new
            // place, which the added property then fills without allocating.
            {"add",
             [](DDS_PropertyQosPolicy *policy, const DDS_PropertyQosPolicy *) {
                 return DDS_PropertyQosPolicyHelper_add_property(policy, "c", "3", DDS_BOOLEAN_TRUE);
             },
             {{"a", "1"}, {"b", "2"}, {"c", "3"}},
             6},
            {"copy",
             [](DDS_PropertyQosPolicy *policy, const DDS_PropertyQosPolicy *source) -> DDS_ReturnCode_t {
                 return DDS_PropertyQosPolicy_copy(policy, source) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
             },
             {{"x", "9"}},
             4},
    };
    const Pairs original{{"a", "1"}, {"b", "2"}};
    zeltest::LogCapture log;
    DDS_PropertyQosPolicy source;
    buildPolicy(&source, {{"x", "9"}}, 0);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        long failures = 0;
        const long allocations = zeltest::forEachAllocationFailure([&](long n) {
            DDS_PropertyQosPolicy policy;
            buildPolicy(&policy, original, n);
            const DDS_ReturnCode_t result = c.change(&policy, &source);
            failures += result == DDS_RETCODE_OK ? 0 : 1;
            EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_OUT_OF_RESOURCES) << result;
            EXPECT_EQ(pairsOf(policy), result == DDS_RETCODE_OK ? c.after : original);
            DDS_PropertyQosPolicy_finalize(&policy);
        });
        EXPECT_EQ(allocations, c.allocations);
        EXPECT_EQ(failures, allocations - 1);  // no failure goes unnoticed
    }
    DDS_PropertyQosPolicy_finalize(&source);
    EXPECT_FALSE(log.lines().empty());
}

}  // namespace
