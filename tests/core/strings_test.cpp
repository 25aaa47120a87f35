// DDS strings on the platform heap and the string matching helpers.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/dds_string.h"
#include "vurncore/reda_string.h"

namespace {

using DdsStringTest = zeltest::HeapCheckedTest;

TEST_F(DdsStringTest, DupCopiesIntoOneHeapBlockThatFreeReleases) {
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
}

TEST_F(DdsStringTest, AllocGivesAZeroFilledStringWithRoomForTheNul) {
    char *text = DDS_String_alloc(8);
    ASSERT_NE(text, nullptr);
    for (int i = 0; i <= 8; ++i) {
        EXPECT_EQ(text[i], '\0');
    }
    std::memcpy(text, "12345678", 8);
    EXPECT_STREQ(text, "12345678");
    DDS_String_free(text);
    EXPECT_EQ(DDS_String_alloc(SIZE_MAX), nullptr);
}

TEST_F(DdsStringTest, OutOfHeapGivesNull) {
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(DDS_String_dup("abc"), nullptr);
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(DDS_String_alloc(3), nullptr);
    EXPECT_FALSE(ZELOsapiHeap_isFailurePending());
}

bool matches(const char *pattern, const char *string) { return REDAString_fnmatch(pattern, string, 0) == 0; }

TEST(FnmatchTest, WildcardsMatchRunsAndSingleCharacters) {
    EXPECT_TRUE(matches("zel/dds/monitoring/*Description", "zel/dds/monitoring/topicDescription"));
    EXPECT_FALSE(matches("zel/dds/monitoring/*Description", "zel/dds/monitoring/topicStatistics"));
    EXPECT_TRUE(matches("*", ""));
    EXPECT_TRUE(matches("**a**", "bab"));
    EXPECT_TRUE(matches("a*b*c", "a/x/b/y/c"));
    EXPECT_FALSE(matches("a*b*c", "a/x/b/y/cd"));
    EXPECT_TRUE(matches("*aab", "aaaab"));  // the star must give back characters it took
    EXPECT_TRUE(matches("?at", "cat"));
    EXPECT_FALSE(matches("?at", "at"));
    EXPECT_FALSE(matches("", "a"));
    EXPECT_TRUE(matches("", ""));
    EXPECT_FALSE(matches("abc", "ab"));
    EXPECT_FALSE(matches("ab", "abc"));
    EXPECT_FALSE(matches(nullptr, "a"));
    EXPECT_FALSE(matches("a", nullptr));
}

TEST(FnmatchTest, BracketsTakeRangesNegationAndLiteralClosingBracket) {
    EXPECT_TRUE(matches("[a-c]x", "bx"));
    EXPECT_FALSE(matches("[a-c]x", "dx"));
    EXPECT_TRUE(matches("[!a-c]x", "dx"));
    EXPECT_FALSE(matches("[!a-c]x", "ax"));
    EXPECT_TRUE(matches("[]]", "]"));
    EXPECT_TRUE(matches("[!]]", "a"));
    EXPECT_FALSE(matches("[!]]", "]"));
    EXPECT_TRUE(matches("[a-]", "-"));  // a '-' before the ']' is a member
    EXPECT_TRUE(matches("[\\]x]", "]"));
    EXPECT_TRUE(matches("[ab", "[ab"));  // no ']': the '[' is an ordinary character
    EXPECT_FALSE(matches("[ab", "a"));
}

TEST(FnmatchTest, BackslashEscapesTheNextCharacter) {
    EXPECT_TRUE(matches("a\\*", "a*"));
    EXPECT_FALSE(matches("a\\*", "ab"));
    EXPECT_TRUE(matches("\\?", "?"));
    EXPECT_FALSE(matches("\\?", "x"));
    EXPECT_TRUE(matches("a\\", "a\\"));
}

TEST(HasMatchingElementTest, EachTrimmedElementIsAPattern) {
    const char *topic = "zel/dds/monitoring/topicDescription";
    EXPECT_TRUE(REDAString_hasMatchingElement(topic, topic, ','));
    EXPECT_TRUE(REDAString_hasMatchingElement("a, \t zel/dds/monitoring/topicDescription \n,b", topic, ','));
    EXPECT_FALSE(REDAString_hasMatchingElement("zel/dds/monitoring/topicDescriptionX", topic, ','));

    const char *stats = "zel/dds/monitoring/*Statistics";
    EXPECT_TRUE(REDAString_hasMatchingElement(stats, "zel/dds/monitoring/dataWriterEntityStatistics", ','));
    EXPECT_TRUE(REDAString_hasMatchingElement(stats, "zel/dds/monitoring/topicEntityStatistics", ','));
    EXPECT_FALSE(REDAString_hasMatchingElement(stats, topic, ','));

    EXPECT_TRUE(REDAString_hasMatchingElement("x|y", "y", '|'));
    EXPECT_FALSE(REDAString_hasMatchingElement("x|y", "x|y", '|'));
}

TEST(HasMatchingElementTest, EmptyElementsAndNullArgumentsMatchNothing) {
    EXPECT_FALSE(REDAString_hasMatchingElement("", "", ','));
    EXPECT_FALSE(REDAString_hasMatchingElement(" , ,,", "", ','));
    EXPECT_FALSE(REDAString_hasMatchingElement(",,", "a", ','));
    EXPECT_TRUE(REDAString_hasMatchingElement(",,a,", "a", ','));
    EXPECT_FALSE(REDAString_hasMatchingElement(nullptr, "a", ','));
    EXPECT_FALSE(REDAString_hasMatchingElement("a", nullptr, ','));
}

TEST_F(DdsStringTest, MatchingAListUsesNoHeap) {
    ZELOsapiHeap_failAllocation(1, ZEL_FALSE);
    EXPECT_TRUE(REDAString_hasMatchingElement("a, b*, c", "bee", ','));
    EXPECT_TRUE(ZELOsapiHeap_isFailurePending());
    ZELOsapiHeap_failAllocation(0, ZEL_FALSE);
}

TEST(ICompareTest, ComparesIgnoringAsciiCase) {
    EXPECT_EQ(REDAString_iCompare("FALSE", "false"), 0);
    EXPECT_EQ(REDAString_iCompare("True", "tRUE"), 0);
    EXPECT_LT(REDAString_iCompare("abc", "ABD"), 0);
    EXPECT_GT(REDAString_iCompare("abcd", "ABC"), 0);
    EXPECT_LT(REDAString_iCompare("", "a"), 0);
    EXPECT_NE(REDAString_iCompare("[", "{"), 0);  // only letters fold
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
