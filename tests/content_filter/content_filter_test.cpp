// Content filters compiled against a generated type and evaluated on its
// samples.
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "content_filter.h"
#include "filter_types.h"
#include "heap_check.h"
#include "vurncore/dds_string.h"

namespace {

// A parameter sequence that owns its strings.
class Parameters {
public:
    Parameters(std::initializer_list<const char *> texts) {
        std::vector<const char *> array(texts);
        EXPECT_TRUE(DDS_StringSeq_from_array(&seq_, array.data(), static_cast<DDS_Long>(array.size())));
    }
    ~Parameters() { DDS_StringSeq_finalize(&seq_); }
    Parameters(const Parameters &) = delete;
    Parameters &operator=(const Parameters &) = delete;
    const DDS_StringSeq *get() const { return &seq_; }

private:
    DDS_StringSeq seq_ = {};
};

class ContentFilterTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        ASSERT_TRUE(cft_Reading_initialize(&sample_));
        sample_.flag = DDS_BOOLEAN_TRUE;
        sample_.o = 200;
        sample_.c = 'k';
        sample_.s = -300;
        sample_.us = 60000;
        sample_.l = -70000;
        sample_.ul = 4000000000u;
        sample_.ll = -5000000000000;
        sample_.ull = 18000000000000000000u;
        sample_.f = 2.5f;
        sample_.d = -0.125;
        sample_.color = cft_BLUE;
        std::strcpy(sample_.name, "sensor-7");
        setNote("it's");
        sample_.distance = 42;
        std::strcpy(sample_.place.tag, "roof");
        sample_.place.position.x = 1.5;
        sample_.place.position.height = 12;
        sample_.place.paint = cft_GREEN;
    }
    void TearDown() override {
        cft_Reading_finalize(&sample_);
        HeapCheckedTest::TearDown();
    }

    void setNote(const char *text) {
        DDS_String_free(sample_.note);
        sample_.note = DDS_String_dup(text);
    }

    // Compiles, evaluates on the sample and deletes; a refused expression
    // fails the test.
    bool passes(const char *expression, const DDS_StringSeq *parameters = nullptr) {
        ZELContentFilterError error;
        ZELContentFilter *filter = ZELContentFilter_compile(&cft_Reading_g_desc, expression, parameters, &error);
        EXPECT_NE(filter, nullptr) << expression << ": " << error.message;
        if (filter == nullptr) {
            return false;
        }
        const bool result = ZELContentFilter_evaluate(filter, &sample_) != 0;
        ZELContentFilter_delete(filter);
        return result;
    }

    // The message with which `expression` is refused.
    std::string refusal(const char *expression, const DDS_StringSeq *parameters = nullptr) {
        ZELContentFilterError error;
        ZELContentFilter *filter = ZELContentFilter_compile(&cft_Reading_g_desc, expression, parameters, &error);
        EXPECT_EQ(filter, nullptr) << expression;
        ZELContentFilter_delete(filter);
        const std::string message = error.message;
        const size_t at = message.rfind(" at ");
        EXPECT_EQ(at == std::string::npos ? 0u : std::stoul(message.substr(at + 4)), error.position) << message;
        return message;
    }

    cft_Reading sample_ = {};
};

// Each member is compared with literals below, equal to and above its value
// through every operator.
TEST_F(ContentFilterTest, EveryOperatorOnEveryMemberKind) {
    struct Case {
        const char *member, *below, *equal, *above;
    };
    const Case cases[] = {
            {"o", "199", "200", "0xC9"},
            {"s", "-301", "-0x12C", "-299"},
            {"us", "59999", "60000", "60001"},
            {"l", "-70001", "-70000", "-69999.5"},
            {"ul", "-1", "0xEE6B2800", "4000000001"},
            {"ll", "-5000000000001", "-5e12", "-4999999999999"},
            {"ull", "9223372036854775807", "18000000000000000000", "0xFFFFFFFFFFFFFFFF"},
            {"f", "2.4999", "2.5", "3"},
            {"d", "-1", "-1.25e-1", ".5"},
            {"distance", "41", "42", "43"},
            {"color", "GREEN", "BLUE", "11"},
            {"place.paint", "RED", "GREEN", "BLUE"},
            {"name", "'sensor-6'", "'sensor-7'", "'sensor-70'"},
            {"note", "'it'", "'it''s'", "'its'"},
            {"c", "'j'", "'k'", "'ka'"},
            {"place.tag", "''", "'roof'", "'roog'"},
    };
    for (const Case &c : cases) {
        const std::string m = c.member;
        SCOPED_TRACE(m);
        EXPECT_TRUE(passes((m + " = " + c.equal).c_str()));
        EXPECT_FALSE(passes((m + " = " + c.below).c_str()));
        EXPECT_TRUE(passes((m + " <> " + c.above).c_str()));
        EXPECT_FALSE(passes((m + " != " + c.equal).c_str()));
        EXPECT_TRUE(passes((m + " < " + c.above).c_str()));
        EXPECT_FALSE(passes((m + " < " + c.equal).c_str()));
        EXPECT_TRUE(passes((m + " <= " + c.equal).c_str()));
        EXPECT_FALSE(passes((m + " <= " + c.below).c_str()));
        EXPECT_TRUE(passes((m + " > " + c.below).c_str()));
        EXPECT_FALSE(passes((m + " > " + c.equal).c_str()));
        EXPECT_TRUE(passes((m + " >= " + c.equal).c_str()));
        EXPECT_FALSE(passes((m + " >= " + c.above).c_str()));
    }
    EXPECT_TRUE(passes("flag = TRUE AND flag <> false AND flag != FALSE"));
    EXPECT_FALSE(passes("flag = FALSE"));
    // A float member compares with literals as floats; NaN is unordered.
    sample_.f = 0.1f;
    sample_.d = std::nan("");
    EXPECT_TRUE(passes("f = 0.1 AND f = 1e-1"));
    EXPECT_TRUE(passes("d <> d AND NOT d = 0 AND NOT d < 0 AND NOT d >= 0 AND d NOT BETWEEN -1 AND 1"));
}

// Members on either side or on both, BETWEEN with its bounds included, and
// the empty expression that passes every sample.
TEST_F(ContentFilterTest, MembersOnEitherSideBetweenAndEmptyExpressions) {
    EXPECT_TRUE(passes(""));
    EXPECT_TRUE(passes(" \t\n"));
    EXPECT_TRUE(passes("200 = o AND BLUE = color AND 'roof' = place.tag AND -1 < ul"));
    EXPECT_TRUE(passes("place.position.height < distance AND name > place.tag AND s > l AND c = c"));
    EXPECT_FALSE(passes("color = place.paint"));
    sample_.place.paint = cft_BLUE;
    EXPECT_TRUE(passes("color = place.paint"));
    EXPECT_TRUE(passes("l BETWEEN -70000 AND -70000 AND o BETWEEN 0 AND 200 AND color BETWEEN GREEN AND BLUE"));
    EXPECT_TRUE(passes("place.position.x BETWEEN 1 AND 2 AND name BETWEEN 'a' AND 'sensor-8'"));
    EXPECT_FALSE(passes("o BETWEEN 201 AND 300"));
    EXPECT_FALSE(passes("o BETWEEN 300 AND 0"));
    EXPECT_TRUE(passes("o NOT BETWEEN 300 AND 0 AND NOT o NOT BETWEEN 0 AND 255"));
    EXPECT_TRUE(passes("distance BETWEEN place.position.height AND 0x2A AND s BETWEEN l AND 0"));
}

TEST_F(ContentFilterTest, NotBindsTighterThanAndWhichBindsTighterThanOr) {
    EXPECT_TRUE(passes("l = -70000 OR l = 1 AND s = 0"));
    EXPECT_FALSE(passes("(l = -70000 OR l = 1) AND s = 0"));
    EXPECT_FALSE(passes("NOT l = 1 AND s = 0"));
    EXPECT_TRUE(passes("NOT (l = 1 AND s = 0)"));
    EXPECT_TRUE(passes("not not l = -70000 and (s = 0 Or o = 200)"));
    EXPECT_FALSE(passes("s = -300 AND NOT (o = 200 OR o = 1)"));

    // Long chains, and nesting up to the limit.
    std::string chain = "l = 0";
    for (int i = 1; i < 300; ++i) {
        chain += " OR l = " + std::to_string(-i * 1000 - 1);
    }
    EXPECT_FALSE(passes(chain.c_str()));
    EXPECT_TRUE(passes((chain + " OR l = -70000").c_str()));
    std::string nested(ZEL_CONTENT_FILTER_MAX_NESTING, '(');
    nested += "o = 200" + std::string(ZEL_CONTENT_FILTER_MAX_NESTING, ')');
    EXPECT_TRUE(passes(nested.c_str()));
    EXPECT_EQ(refusal(("(" + nested + ")").c_str()), "expression nested too deeply at 65");
}

TEST_F(ContentFilterTest, LikeMatchesPercentAndUnderscore) {
    const char *matching[] = {"'sensor-7'", "'sensor-%'", "'%-7'",    "'s_nsor%'", "'%'",
                              "'%%'",       "'________'", "'%s%r%7'", "'%e%o%'",   "'s%n%r-_'"};
    for (const char *pattern : matching) {
        EXPECT_TRUE(passes((std::string("name LIKE ") + pattern).c_str())) << pattern;
    }
    const char *failing[] = {"''", "'sensor'", "'_______'", "'_________'", "'%8'", "'Sensor%'", "'%x%'", "'s%n%r-'"};
    for (const char *pattern : failing) {
        EXPECT_FALSE(passes((std::string("name LIKE ") + pattern).c_str())) << pattern;
    }
    EXPECT_TRUE(passes("note LIKE '%''_' AND c LIKE '_' AND place.tag like 'ro%' AND NOT name LIKE 'x%'"));
    // A partial match after '%' that fails resumes one character later.
    setNote("aaab");
    EXPECT_TRUE(passes("note LIKE '%aab' AND note LIKE '%a_b' AND note LIKE 'a%ab'"));
    setNote("");
    EXPECT_TRUE(passes("note LIKE '%' AND note LIKE '' AND NOT note LIKE '_'"));
}

TEST_F(ContentFilterTest, ParametersAreParsedForTheirMemberAndRebound) {
    Parameters given{"-70000", "'sensor-7'", "BLUE", "true", " 2 ", "sensor-7", "10", "'it''s'"};
    EXPECT_TRUE(passes("l = %0 AND name = %1 AND color = %2 AND flag = %3 AND f > %4", given.get()));
    EXPECT_TRUE(passes("name = %5 AND color = %6 AND note = %7 AND l < %4", given.get()));
    EXPECT_TRUE(passes("o BETWEEN %4 AND 0xFF AND name LIKE %1", given.get()));

    // One parameter compared with a number and with a string.
    Parameters five{"5"};
    EXPECT_TRUE(passes("o > %0 AND name > %0 AND place.tag > %0", five.get()));

    ZELContentFilterError error;
    ZELContentFilter *filter = ZELContentFilter_compile(&cft_Reading_g_desc, "l < %1 AND place.paint = %0",
                                                        Parameters{"GREEN", "0"}.get(), &error);
    ASSERT_NE(filter, nullptr) << error.message;
    EXPECT_TRUE(ZELContentFilter_evaluate(filter, &sample_));
    EXPECT_TRUE(ZELContentFilter_setParameters(filter, Parameters{"RED", "0", "extra"}.get(), &error));
    EXPECT_FALSE(ZELContentFilter_evaluate(filter, &sample_));
    // A refused binding keeps the previous one.
    EXPECT_FALSE(ZELContentFilter_setParameters(filter, Parameters{"GREEN", "zero"}.get(), &error));
    EXPECT_STREQ(error.message, "parameter %1 'zero' is not a number at 5");
    EXPECT_FALSE(ZELContentFilter_setParameters(filter, Parameters{"PURPLE", "0"}.get(), &error));
    EXPECT_STREQ(error.message, "parameter %0 'PURPLE' is not an enumerator of cft::Color at 26");
    EXPECT_FALSE(ZELContentFilter_setParameters(filter, Parameters{"GREEN"}.get(), &error));
    EXPECT_STREQ(error.message, "parameter %1 not given at 5");
    EXPECT_FALSE(ZELContentFilter_evaluate(filter, &sample_));
    EXPECT_TRUE(ZELContentFilter_setParameters(filter, Parameters{"1", "-69999"}.get(), &error));
    EXPECT_TRUE(ZELContentFilter_evaluate(filter, &sample_));
    ZELContentFilter_delete(filter);

    EXPECT_EQ(refusal("flag = %0", Parameters{"yes"}.get()), "parameter %0 'yes' is not a boolean at 8");
    EXPECT_EQ(refusal("o = 1 OR s = %2", Parameters{"1", "2"}.get()), "parameter %2 not given at 14");
    EXPECT_EQ(refusal("o = %0"), "parameter %0 not given at 5");
}

TEST_F(ContentFilterTest, ThreadsEvaluateOneFilterTogether) {
    ZELContentFilterError error;
    ZELContentFilter *filter = ZELContentFilter_compile(&cft_Reading_g_desc, "name LIKE %0 AND (o > %1 OR note = 'x')",
                                                        Parameters{"'%-7'", "100"}.get(), &error);
    ASSERT_NE(filter, nullptr) << error.message;
    cft_Reading other;
    ASSERT_TRUE(cft_Reading_initialize(&other));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const cft_Reading *sample = t % 2 == 0 ? &sample_ : &other;
            for (int i = 0; i < 2000; ++i) {
                EXPECT_EQ(ZELContentFilter_evaluate(filter, sample) != 0, sample == &sample_);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    cft_Reading_finalize(&other);
    ZELContentFilter_delete(filter);
}

TEST_F(ContentFilterTest, RefusalsNameWhatAndWhere) {
    const std::pair<const char *, const char *> cases[] = {
            {"colr = 'red'", "unknown member 'colr' at 1"},
            {"l = ", "unexpected end of expression at 5"},
            {"l = 1 AND", "unexpected end of expression at 10"},
            {"l == 1", "unexpected '=' at 4"},
            {"(l = 1", "unexpected end of expression at 7"},
            {"l = 1) OR o = 1", "unexpected ')' at 6"},
            {"l = 1 o = 1", "unexpected 'o' at 7"},
            {"AND l = 1", "unexpected 'AND' at 1"},
            {"l BETWEEN 1 OR 2", "unexpected 'OR' at 13"},
            {"l NOT LIKE 'a'", "unexpected 'LIKE' at 7"},
            {"name = 'abc", "unterminated string at 8"},
            {"l = 12abc", "bad number '12abc' at 5"},
            {"l = 0x", "bad number '0x' at 5"},
            {"l = 1.2.3", "bad number '1.2.3' at 5"},
            {"ull = 18446744073709551616", "bad number '18446744073709551616' at 7"},
            {"l = %100", "bad parameter '%100' at 5"},
            {"l = %", "bad parameter '%' at 5"},
            {"l = %1a", "bad parameter '%1a' at 5"},
            {"l # 1", "unexpected character '#' at 3"},
            {"place.nope = 1", "unknown member 'nope' at 7"},
            {"l.x = 1", "'l' has no members at 1"},
            {"place = 1", "member 'place' cannot be compared at 1"},
            {"counts = 1", "member 'counts' cannot be compared at 1"},
            {"window = 1", "member 'window' cannot be compared at 1"},
            {"1 = 1", "comparison without a member at 1"},
            {"5 BETWEEN l AND 6", "BETWEEN needs a member on its left at 1"},
            // Operands must fit the member they are compared with.
            {"name = 5", "cannot compare string with number at 8"},
            {"5 < name", "cannot compare string with number at 1"},
            {"l = 'x'", "cannot compare number with string at 5"},
            {"l = name", "cannot compare number with string at 5"},
            {"c = 1", "cannot compare character with number at 5"},
            {"flag = 1", "cannot compare boolean with number at 8"},
            {"o = TRUE", "cannot compare number with boolean at 5"},
            {"color = 'BLUE'", "cannot compare enumeration with string at 9"},
            {"color = PURPLE", "unknown member or enumerator 'PURPLE' at 9"},
            {"l = RED", "unknown member 'RED' at 5"},
            {"name BETWEEN 'a' AND 3", "cannot compare string with number at 22"},
            {"flag < TRUE", "'<' does not apply to booleans at 6"},
            {"flag BETWEEN FALSE AND TRUE", "'BETWEEN' does not apply to booleans at 6"},
            {"l LIKE '5%'", "LIKE applies to strings only at 3"},
    };
    for (const auto &[expression, message] : cases) {
        EXPECT_EQ(refusal(expression), message) << expression;
    }
    ZELContentFilterError error;
    EXPECT_EQ(ZELContentFilter_compile(&ZELCdrType_g_long, "l = 1", nullptr, &error), nullptr);
    EXPECT_STREQ(error.message, "type is not a struct");
    // An alias of a struct is compiled as the struct.
    ZELContentFilter *filter = ZELContentFilter_compile(&cft_Snapshot_g_desc, "o = 200", nullptr, &error);
    ASSERT_NE(filter, nullptr) << error.message;
    EXPECT_TRUE(ZELContentFilter_evaluate(filter, &sample_));
    ZELContentFilter_delete(filter);
}

TEST_F(ContentFilterTest, EveryAllocationFailureIsRefusedCleanly) {
    Parameters given{"'sensor-%'", "BLUE", "1"};
    const char *expression = "name LIKE %0 AND color = %1 AND place.tag <> 'cellar' OR o BETWEEN %2 AND 2";
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        ZELContentFilterError error;
        ZELContentFilter *filter = ZELContentFilter_compile(&cft_Reading_g_desc, expression, given.get(), &error);
        if (filter == nullptr) {
            EXPECT_STREQ(error.message, "out of heap");
            return;
        }
        EXPECT_TRUE(ZELContentFilter_evaluate(filter, &sample_));
        ZELContentFilter_delete(filter);
    });
    EXPECT_GT(allocations, 1);

    ZELContentFilterError error;
    ZELContentFilter *filter = ZELContentFilter_compile(&cft_Reading_g_desc, expression, given.get(), &error);
    ASSERT_NE(filter, nullptr) << error.message;
    Parameters other{"'x%'", "BLUE", "0"};
    // Only the last attempt succeeds: until then the first binding stays.
    zeltest::forEachAllocationFailure([&](long) {
        const bool rebound = ZELContentFilter_setParameters(filter, other.get(), &error) != 0;
        EXPECT_EQ(ZELContentFilter_evaluate(filter, &sample_) != 0, !rebound);
        if (!rebound) {
            EXPECT_STREQ(error.message, "out of heap");
        }
    });
    ZELContentFilter_delete(filter);
}

}  // namespace
