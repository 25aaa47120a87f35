// Descriptors of the test types.
#include "test_types.h"

#include <cstddef>

#include "vurncore/sequence_define.hpp"

namespace typetest {
namespace {

constexpr ZELCdrTypeDesc structDesc(const char *name, uint32_t size, ZELCdrExtensibility extensibility, uint32_t count,
                                    const ZELCdrMember *members, ZELCdrTypeCache *cache,
                                    const ZELSequenceElementType *elementType = nullptr) {
    return {ZEL_CDR_TK_STRUCT, name, size,    8,           extensibility, count, members, 0,
            nullptr,           0,    nullptr, elementType, nullptr,       cache};
}
// Strings, sequences and arrays: `bound` is the length of an array.
constexpr ZELCdrTypeDesc anonymousDesc(ZELCdrTypeKind kind, uint32_t size, uint32_t bound,
                                       const ZELCdrTypeDesc *element) {
    return {kind,
            nullptr,
            size,
            8,
            ZEL_CDR_EXTENSIBILITY_FINAL,
            0,
            nullptr,
            bound,
            element,
            0,
            nullptr,
            kind == ZEL_CDR_TK_STRING ? &zel::stringSequenceElementType : nullptr,
            nullptr,
            nullptr};
}
constexpr ZELCdrTypeDesc stringDesc(uint32_t bound) {
    return anonymousDesc(ZEL_CDR_TK_STRING, sizeof(char *), bound, nullptr);
}
constexpr ZELCdrTypeDesc sequenceDesc(uint32_t bound, const ZELCdrTypeDesc *element) {
    return anonymousDesc(ZEL_CDR_TK_SEQUENCE, sizeof(ZELSequence), bound, element);
}

#define MEMBER(S, field, type) \
    { #field, offsetof(S, field), type, DDS_BOOLEAN_FALSE }
#define KEY(S, field, type) \
    { #field, offsetof(S, field), type, DDS_BOOLEAN_TRUE }

const ZELCdrEnumerator kColors[] = {{"RED", 0}, {"GREEN", 1}, {"BLUE", 2}};
const ZELCdrTypeDesc kColor = {ZEL_CDR_TK_ENUM,
                               "typetest::Color",
                               sizeof(Color),
                               alignof(Color),
                               ZEL_CDR_EXTENSIBILITY_FINAL,
                               0,
                               nullptr,
                               0,
                               nullptr,
                               3,
                               kColors,
                               &zel::plainSequenceElementType<Color>,
                               nullptr,
                               nullptr};
const ZELCdrTypeDesc kString4 = stringDesc(4);
const ZELCdrTypeDesc kString8 = stringDesc(8);
const ZELCdrTypeDesc kString256 = stringDesc(256);
const ZELCdrTypeDesc kLong3 = anonymousDesc(ZEL_CDR_TK_ARRAY, sizeof(DDS_Long[3]), 3, &ZELCdrType_g_long);
const ZELCdrTypeDesc kLong4 = anonymousDesc(ZEL_CDR_TK_ARRAY, sizeof(DDS_Long[4]), 4, &ZELCdrType_g_long);
const ZELCdrTypeDesc kLongSeq3 = sequenceDesc(3, &ZELCdrType_g_long);
const ZELCdrTypeDesc kString4Seq2 = sequenceDesc(2, &kString4);
const ZELCdrTypeDesc kPointSeq2 = sequenceDesc(2, &Point_desc);
const ZELCdrTypeDesc kOctetSeq70000 = sequenceDesc(70000, &ZELCdrType_g_octet);

DDS_Boolean Point_initialize_w_params(Point *sample, const DDS_TypeAllocationParams_t *params) {
    return ZELCdrType_initializeSample(&Point_desc, sample, params);
}
void Point_finalize_w_params(Point *sample, const DDS_TypeDeallocationParams_t *params) {
    ZELCdrType_finalizeSample(&Point_desc, sample, params);
}
DDS_Boolean Point_copy(Point *dst, const Point *src) { return ZELCdrType_copySample(&Point_desc, dst, src); }

const ZELCdrMember kFinalAll[] = {MEMBER(FinalAll, b, &ZELCdrType_g_boolean),
                                  MEMBER(FinalAll, o, &ZELCdrType_g_octet),
                                  MEMBER(FinalAll, c, &ZELCdrType_g_char),
                                  MEMBER(FinalAll, s, &ZELCdrType_g_short),
                                  MEMBER(FinalAll, us, &ZELCdrType_g_ushort),
                                  MEMBER(FinalAll, l, &ZELCdrType_g_long),
                                  MEMBER(FinalAll, ul, &ZELCdrType_g_ulong),
                                  MEMBER(FinalAll, ll, &ZELCdrType_g_longlong),
                                  MEMBER(FinalAll, ull, &ZELCdrType_g_ulonglong),
                                  MEMBER(FinalAll, f, &ZELCdrType_g_float),
                                  MEMBER(FinalAll, d, &ZELCdrType_g_double),
                                  MEMBER(FinalAll, e, &kColor),
                                  MEMBER(FinalAll, arr, &kLong3)};
const ZELCdrMember kPoint[] = {MEMBER(Point, x, &ZELCdrType_g_short), MEMBER(Point, y, &ZELCdrType_g_long)};
const ZELCdrMember kAppendable[] = {
        MEMBER(Appendable, name, &kString8),           MEMBER(Appendable, values, &kLongSeq3),
        MEMBER(Appendable, tags, &kString4Seq2),       MEMBER(Appendable, points, &kPointSeq2),
        MEMBER(Appendable, tail, &ZELCdrType_g_short), MEMBER(Appendable, notes, &ZELCdrType_g_string)};
const ZELCdrMember kInner[] = {MEMBER(InnerMutable, a, &ZELCdrType_g_short), MEMBER(InnerMutable, label, &kString8)};
const ZELCdrMember kOuter[] = {MEMBER(OuterMutable, id, &ZELCdrType_g_long),
                               MEMBER(OuterMutable, inner, &InnerMutable_desc),
                               MEMBER(OuterMutable, flag, &ZELCdrType_g_octet)};
const ZELCdrMember kKey16[] = {MEMBER(Key16, value, &kLong4)};
const ZELCdrMember kDuration[] = {MEMBER(DurationLike, sec, &ZELCdrType_g_long),
                                  MEMBER(DurationLike, nanosec, &ZELCdrType_g_ulong)};
const ZELCdrMember kCounters[] = {
        MEMBER(Counters, total, &ZELCdrType_g_longlong), MEMBER(Counters, last, &ZELCdrType_g_long),
        MEMBER(Counters, flag, &ZELCdrType_g_octet), MEMBER(Counters, next, &ZELCdrType_g_long)};
ZELCdrTypeCache g_caches[12];
const ZELCdrTypeDesc kCountersDesc =
        structDesc("Counters", sizeof(Counters), ZEL_CDR_EXTENSIBILITY_FINAL, 4, kCounters, &g_caches[10]);
const ZELCdrMember kCountersHolder[] = {MEMBER(CountersHolder, id, &ZELCdrType_g_long),
                                        MEMBER(CountersHolder, counters, &kCountersDesc)};
const ZELCdrTypeDesc kKey16Desc =
        structDesc("Key16", sizeof(Key16), ZEL_CDR_EXTENSIBILITY_FINAL, 1, kKey16, &g_caches[0]);
const ZELCdrTypeDesc kDurationDesc =
        structDesc("DurationLike", sizeof(DurationLike), ZEL_CDR_EXTENSIBILITY_FINAL, 2, kDuration, &g_caches[1]);
const ZELCdrMember kTopic[] = {KEY(TopicLike, key, &kKey16Desc), KEY(TopicLike, period, &kDurationDesc),
                               MEMBER(TopicLike, count, &ZELCdrType_g_long), MEMBER(TopicLike, name, &kString256)};
const ZELCdrMember kFinalKeyed[] = {MEMBER(FinalKeyed, before, &ZELCdrType_g_long),
                                    KEY(FinalKeyed, id, &ZELCdrType_g_long), MEMBER(FinalKeyed, note, &kString8),
                                    MEMBER(FinalKeyed, values, &kLongSeq3), KEY(FinalKeyed, sub, &ZELCdrType_g_short)};
const ZELCdrMember kBig[] = {MEMBER(Big, small, &ZELCdrType_g_long), MEMBER(Big, blob, &kOctetSeq70000),
                             MEMBER(Big, inner, &InnerMutable_desc)};

}  // namespace

const ZELCdrTypeDesc FinalAll_desc =
        structDesc("FinalAll", sizeof(FinalAll), ZEL_CDR_EXTENSIBILITY_FINAL, 13, kFinalAll, &g_caches[2]);
const ZELCdrTypeDesc Point_desc = structDesc(
        "Point", sizeof(Point), ZEL_CDR_EXTENSIBILITY_FINAL, 2, kPoint, &g_caches[3],
        &zel::structSequenceElementType<Point, Point_initialize_w_params, Point_finalize_w_params, Point_copy>);
const ZELCdrTypeDesc Appendable_desc =
        structDesc("Appendable", sizeof(Appendable), ZEL_CDR_EXTENSIBILITY_APPENDABLE, 6, kAppendable, &g_caches[4]);
const ZELCdrTypeDesc InnerMutable_desc =
        structDesc("InnerMutable", sizeof(InnerMutable), ZEL_CDR_EXTENSIBILITY_MUTABLE, 2, kInner, &g_caches[5]);
const ZELCdrTypeDesc OuterMutable_desc =
        structDesc("OuterMutable", sizeof(OuterMutable), ZEL_CDR_EXTENSIBILITY_MUTABLE, 3, kOuter, &g_caches[6]);
const ZELCdrTypeDesc TopicLike_desc =
        structDesc("TopicLike", sizeof(TopicLike), ZEL_CDR_EXTENSIBILITY_MUTABLE, 4, kTopic, &g_caches[7]);
const ZELCdrTypeDesc FinalKeyed_desc =
        structDesc("FinalKeyed", sizeof(FinalKeyed), ZEL_CDR_EXTENSIBILITY_FINAL, 5, kFinalKeyed, &g_caches[8]);
const ZELCdrTypeDesc Big_desc = structDesc("Big", sizeof(Big), ZEL_CDR_EXTENSIBILITY_MUTABLE, 3, kBig, &g_caches[9]);

const ZELCdrTypeDesc CountersHolder_desc = structDesc("CountersHolder", sizeof(CountersHolder),
                                                      ZEL_CDR_EXTENSIBILITY_MUTABLE, 2, kCountersHolder, &g_caches[11]);

}  // namespace typetest
