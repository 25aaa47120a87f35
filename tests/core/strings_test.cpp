// DDS strings on the platform heap and the string matching helpers.
#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/dds_string.h"
#include "vurncore/reda_string.h"

namespace {

using StringsTest = zeltest::HeapCheckedTest;

TEST_F(StringsTest, DupAndAllocTakeOneZeroFilledHeapBlockThatFreeReleases) {
    const long before = ZELOsapiHeap_getLiveBlockCount();
    char *copy = DDS_String_dup("zel/dds/version");
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy, "zel/dds/version");
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), before + 1);
    DDS_String_free(copy);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), before);
    char *empty = DDS_String_dup("");
    ASSERT_NE(empty, nullptr);
    EXPECT_STREQ(empty, "");
    DDS_String_free(empty);
    EXPECT_EQ(DDS_String_dup(nullptr), nullptr);
    DDS_String_free(nullptr);

    char *text = DDS_String_alloc(8);  // with room for the NUL
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::count(text, text + 9, '\0'), 9);
    std::memcpy(text, "12345678", 8);
    EXPECT_STREQ(text, "12345678");
    DDS_String_free(text);
    EXPECT_EQ(DDS_String_alloc(SIZE_MAX), nullptr);

    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(DDS_String_dup("abc"), nullptr);
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(DDS_String_alloc(3), nullptr);
    EXPECT_FALSE(ZELOsapiHeap_isFailurePending());
}

struct MatchCase {
    const char *pattern;
    const char *string;
    bool matches;
};

TEST(FnmatchTest, WildcardsBracketsAndBackslashes) {
    const MatchCase cases[] = {
            {"zel/dds/monitoring/*Description", "zel/dds/monitoring/topicDescription", true},
            {"zel/dds/monitoring/*Description", "zel/dds/monitoring/topicStatistics", false},
            {"*", "", true},
            {"**a**", "bab", true},
            {"a*b*c", "a/x/b/y/c", true},
            {"a*b*c", "a/x/b/y/cd", false},
            {"*aab", "aaaab", true},  // the star must give back characters it took
            {"?at", "cat", true},
            {"?at", "at", false},
            {"", "a", false},
            {"", "", true},
            {"abc", "ab", false},
            {"ab", "abc", false},
            {nullptr, "a", false},
            {"a", nullptr, false},
            {"[a-c]x", "bx", true},
            {"[a-c]x", "dx", false},
            {"[!a-c]x", "dx", true},
            {"[!a-c]x", "ax", false},
            {"[]]", "]", true},
            {"[!]]", "a", true},
            {"[!]]", "]", false},
            {"[a-]", "-", true},  // a '-' before the ']' is a member
            {"[\\]x]", "]", true},
            {"[ab", "[ab", true},  // no ']': the '[' is an ordinary character
            {"[ab", "a", false},
            {"a\\*", "a*", true},
            {"a\\*", "ab", false},
            {"\\?", "?", true},
            {"\\?", "x", false},
            {"a\\", "a\\", true},
    };
    for (const MatchCase &c : cases) {
        EXPECT_EQ(REDAString_fnmatch(c.pattern, c.string, 0) == 0, c.matches) << c.pattern << " / " << c.string;
    }
}

// Each element of the list, trimmed, is a pattern; empty ones match nothing.
// Matching needs no heap.
TEST_F(StringsTest, ListMatchesWhenAnyTrimmedElementMatches) {
    const char *topic = "zel/dds/monitoring/topicDescription";
    const char *stats = "zel/dds/monitoring/*Statistics";
    const MatchCase cases[] = {
            {topic, topic, true},
            {"a, \t zel/dds/monitoring/topicDescription \n,b", topic, true},
            {"zel/dds/monitoring/topicDescriptionX", topic, false},
            {stats, "zel/dds/monitoring/dataWriterEntityStatistics", true},
            {stats, "zel/dds/monitoring/topicEntityStatistics", true},
            {stats, topic, false},
            {"", "", false},
            {" , ,,", "", false},
            {",,", "a", false},
            {",,a,", "a", true},
            {nullptr, "a", false},
            {"a", nullptr, false},
    };
    for (const MatchCase &c : cases) {
        ZELOsapiHeap_failAllocation(1, ZEL_FALSE);
        EXPECT_EQ(REDAString_hasMatchingElement(c.pattern, c.string, ',') != 0, c.matches)
                << c.pattern << " / " << c.string;
        EXPECT_TRUE(ZELOsapiHeap_isFailurePending());
        ZELOsapiHeap_failAllocation(0, ZEL_FALSE);
    }
    EXPECT_TRUE(REDAString_hasMatchingElement("x|y", "y", '|'));
    EXPECT_FALSE(REDAString_hasMatchingElement("x|y", "x|y", '|'));
}

TEST(ICompareTest, ComparesIgnoringAsciiCase) {
    EXPECT_EQ(REDAString_iCompare("FALSE", "false"), 0);
    EXPECT_EQ(REDAString_iCompare("True", "tRUE"), 0);
    EXPECT_LT(REDAString_iCompare("abc", "ABD"), 0);
    EXPECT_GT(REDAString_iCompare("abcd", "ABC"), 0);
    EXPECT_LT(REDAString_iCompare("", "a"), 0);
    EXPECT_NE(REDAString_iCompare("[", "{"), 0);     // only letters fold
    EXPECT_GT(REDAString_iCompare("\xe9", "a"), 0);  // octets above 127 compare unsigned
    EXPECT_EQ(REDAString_iCompare(nullptr, nullptr), 0);
    EXPECT_LT(REDAString_iCompare(nullptr, ""), 0);
    EXPECT_GT(REDAString_iCompare("", nullptr), 0);
}

TEST(StrTrimTest, TrimsBothEndsInPlace) {
    char text[] = " \t\r\n stdio | FLOATING_POINT \n";
    EXPECT_EQ(ZELXMLHelper_strTrim(text), text);
    EXPECT_STREQ(text, "stdio | FLOATING_POINT");

    char blanks[] = " \t ";
    ZELXMLHelper_strTrim(blanks);
    EXPECT_STREQ(blanks, "");
    char plain[] = "x";
    ZELXMLHelper_strTrim(plain);
    EXPECT_STREQ(plain, "x");
    EXPECT_EQ(ZELXMLHelper_strTrim(nullptr), nullptr);
}

}  // namespace
