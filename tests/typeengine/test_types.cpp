// Descriptors of the test types.
#include "test_types.h"

#include <cstddef>

#include "vurncore/sequence_define.hpp"

namespace typetest {
namespace {

constexpr ZELCdrTypeDesc structDesc(const char *name, uint32_t size, uint32_t alignment,
                                    ZELCdrExtensibility extensibility, uint32_t memberCount,
                                    const ZELCdrMember *members, const ZELSequenceElementType *elementType,
                                    ZELCdrTypeCache *cache) {
    return ZELCdrTypeDesc{ZEL_CDR_TK_STRUCT, name,    size,    alignment, extensibility, memberCount, members,
                          0,                 nullptr, 0,       nullptr,   elementType,   nullptr,     cache};
}

constexpr ZELCdrTypeDesc stringDesc(uint32_t bound) {
    return ZELCdrTypeDesc{ZEL_CDR_TK_STRING, nullptr, sizeof(char *), alignof(char *),
                          ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, bound, nullptr, 0, nullptr,
                          &zel::stringSequenceElementType, nullptr, nullptr};
}

constexpr ZELCdrTypeDesc sequenceDesc(uint32_t bound, const ZELCdrTypeDesc *element) {
    return ZELCdrTypeDesc{ZEL_CDR_TK_SEQUENCE, nullptr, sizeof(ZELSequence), alignof(ZELSequence),
                          ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, bound, element, 0, nullptr, nullptr, nullptr,
                          nullptr};
}

constexpr ZELCdrTypeDesc arrayDesc(uint32_t length, const ZELCdrTypeDesc *element, uint32_t size) {
    return ZELCdrTypeDesc{ZEL_CDR_TK_ARRAY, nullptr, size, element->alignment, ZEL_CDR_EXTENSIBILITY_FINAL, 0,
                          nullptr, length, element, 0, nullptr, nullptr, nullptr, nullptr};
}

#define MEMBER(S, field, type) {#field, offsetof(S, field), type, DDS_BOOLEAN_FALSE}
#define KEY_MEMBER(S, field, type) {#field, offsetof(S, field), type, DDS_BOOLEAN_TRUE}

const ZELCdrEnumerator kColorEnumerators[] = {{"RED", 0}, {"GREEN", 1}, {"BLUE", 2}};
const ZELCdrTypeDesc Color_desc = {ZEL_CDR_TK_ENUM, "typetest::Color", sizeof(Color), alignof(Color),
                                   ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, 0, nullptr, 3, kColorEnumerators,
                                   &zel::plainSequenceElementType<Color>, nullptr, nullptr};

const ZELCdrTypeDesc kString4 = stringDesc(4);
const ZELCdrTypeDesc kString8 = stringDesc(8);
const ZELCdrTypeDesc kString256 = stringDesc(256);
const ZELCdrTypeDesc kLongArray3 = arrayDesc(3, &ZELCdrType_g_long, sizeof(DDS_Long[3]));
const ZELCdrTypeDesc kLongArray4 = arrayDesc(4, &ZELCdrType_g_long, sizeof(DDS_Long[4]));
const ZELCdrTypeDesc kLongSeq3 = sequenceDesc(3, &ZELCdrType_g_long);
const ZELCdrTypeDesc kString4Seq2 = sequenceDesc(2, &kString4);
const ZELCdrTypeDesc kPointSeq2 = sequenceDesc(2, &Point_desc);
const ZELCdrTypeDesc kOctetSeq70000 = sequenceDesc(70000, &ZELCdrType_g_octet);

const ZELCdrMember kFinalAllMembers[] = {
        MEMBER(FinalAll, b, &ZELCdrType_g_boolean), MEMBER(FinalAll, o, &ZELCdrType_g_octet),
        MEMBER(FinalAll, c, &ZELCdrType_g_char),    MEMBER(FinalAll, s, &ZELCdrType_g_short),
        MEMBER(FinalAll, us, &ZELCdrType_g_ushort), MEMBER(FinalAll, l, &ZELCdrType_g_long),
        MEMBER(FinalAll, ul, &ZELCdrType_g_ulong),  MEMBER(FinalAll, ll, &ZELCdrType_g_longlong),
        MEMBER(FinalAll, ull, &ZELCdrType_g_ulonglong), MEMBER(FinalAll, f, &ZELCdrType_g_float),
        MEMBER(FinalAll, d, &ZELCdrType_g_double),  MEMBER(FinalAll, e, &Color_desc),
        MEMBER(FinalAll, arr, &kLongArray3)};
ZELCdrTypeCache g_finalAllCache;

DDS_Boolean Point_initialize_w_params(Point *sample, const DDS_TypeAllocationParams_t *params) {
    return ZELCdrType_initializeSample(&Point_desc, sample, params);
}
void Point_finalize_w_params(Point *sample, const DDS_TypeDeallocationParams_t *params) {
    ZELCdrType_finalizeSample(&Point_desc, sample, params);
}
DDS_Boolean Point_copy(Point *dst, const Point *src) { return ZELCdrType_copySample(&Point_desc, dst, src); }

const ZELCdrMember kPointMembers[] = {MEMBER(Point, x, &ZELCdrType_g_short), MEMBER(Point, y, &ZELCdrType_g_long)};
ZELCdrTypeCache g_pointCache;
constexpr const ZELSequenceElementType *kPointElementType =
        &zel::structSequenceElementType<Point, Point_initialize_w_params, Point_finalize_w_params, Point_copy>;

const ZELCdrMember kAppendableMembers[] = {
        MEMBER(Appendable, name, &kString8),     MEMBER(Appendable, values, &kLongSeq3),
        MEMBER(Appendable, tags, &kString4Seq2), MEMBER(Appendable, points, &kPointSeq2),
        MEMBER(Appendable, tail, &ZELCdrType_g_short), MEMBER(Appendable, notes, &ZELCdrType_g_string)};
ZELCdrTypeCache g_appendableCache;

const ZELCdrMember kInnerMembers[] = {MEMBER(InnerMutable, a, &ZELCdrType_g_short),
                                      MEMBER(InnerMutable, label, &kString8)};
ZELCdrTypeCache g_innerCache;

const ZELCdrMember kOuterMembers[] = {MEMBER(OuterMutable, id, &ZELCdrType_g_long),
                                      MEMBER(OuterMutable, inner, &InnerMutable_desc),
                                      MEMBER(OuterMutable, flag, &ZELCdrType_g_octet)};
ZELCdrTypeCache g_outerCache;

const ZELCdrMember kKey16Members[] = {MEMBER(Key16, value, &kLongArray4)};
ZELCdrTypeCache g_key16Cache;
const ZELCdrTypeDesc Key16_desc = structDesc("typetest::Key16", sizeof(Key16), alignof(Key16),
                                             ZEL_CDR_EXTENSIBILITY_FINAL, 1, kKey16Members, nullptr, &g_key16Cache);

const ZELCdrMember kDurationMembers[] = {MEMBER(DurationLike, sec, &ZELCdrType_g_long),
                                         MEMBER(DurationLike, nanosec, &ZELCdrType_g_ulong)};
ZELCdrTypeCache g_durationCache;
const ZELCdrTypeDesc DurationLike_desc =
        structDesc("typetest::DurationLike", sizeof(DurationLike), alignof(DurationLike),
                   ZEL_CDR_EXTENSIBILITY_FINAL, 2, kDurationMembers, nullptr, &g_durationCache);

const ZELCdrMember kTopicMembers[] = {KEY_MEMBER(TopicLike, key, &Key16_desc),
                                      KEY_MEMBER(TopicLike, period, &DurationLike_desc),
                                      MEMBER(TopicLike, count, &ZELCdrType_g_long),
                                      MEMBER(TopicLike, name, &kString256)};
ZELCdrTypeCache g_topicCache;

const ZELCdrMember kFinalKeyedMembers[] = {
        MEMBER(FinalKeyed, before, &ZELCdrType_g_long), KEY_MEMBER(FinalKeyed, id, &ZELCdrType_g_long),
        MEMBER(FinalKeyed, note, &kString8), MEMBER(FinalKeyed, values, &kLongSeq3),
        KEY_MEMBER(FinalKeyed, sub, &ZELCdrType_g_short)};
ZELCdrTypeCache g_finalKeyedCache;

const ZELCdrMember kBigMembers[] = {MEMBER(Big, small, &ZELCdrType_g_long), MEMBER(Big, blob, &kOctetSeq70000),
                                    MEMBER(Big, inner, &InnerMutable_desc)};
ZELCdrTypeCache g_bigCache;

}  // namespace

const ZELCdrTypeDesc FinalAll_desc = structDesc("typetest::FinalAll", sizeof(FinalAll), alignof(FinalAll),
                                                ZEL_CDR_EXTENSIBILITY_FINAL, 13, kFinalAllMembers, nullptr,
                                                &g_finalAllCache);
const ZELCdrTypeDesc Point_desc = structDesc("typetest::Point", sizeof(Point), alignof(Point),
                                             ZEL_CDR_EXTENSIBILITY_FINAL, 2, kPointMembers, kPointElementType,
                                             &g_pointCache);
const ZELCdrTypeDesc Appendable_desc =
        structDesc("typetest::Appendable", sizeof(Appendable), alignof(Appendable),
                   ZEL_CDR_EXTENSIBILITY_APPENDABLE, 6, kAppendableMembers, nullptr, &g_appendableCache);
const ZELCdrTypeDesc InnerMutable_desc =
        structDesc("typetest::InnerMutable", sizeof(InnerMutable), alignof(InnerMutable),
                   ZEL_CDR_EXTENSIBILITY_MUTABLE, 2, kInnerMembers, nullptr, &g_innerCache);
const ZELCdrTypeDesc OuterMutable_desc =
        structDesc("typetest::OuterMutable", sizeof(OuterMutable), alignof(OuterMutable),
                   ZEL_CDR_EXTENSIBILITY_MUTABLE, 3, kOuterMembers, nullptr, &g_outerCache);
const ZELCdrTypeDesc TopicLike_desc = structDesc("typetest::TopicLike", sizeof(TopicLike), alignof(TopicLike),
                                                 ZEL_CDR_EXTENSIBILITY_MUTABLE, 4, kTopicMembers, nullptr,
                                                 &g_topicCache);
const ZELCdrTypeDesc FinalKeyed_desc = structDesc("typetest::FinalKeyed", sizeof(FinalKeyed), alignof(FinalKeyed),
                                                  ZEL_CDR_EXTENSIBILITY_FINAL, 5, kFinalKeyedMembers, nullptr,
                                                  &g_finalKeyedCache);
const ZELCdrTypeDesc Big_desc = structDesc("typetest::Big", sizeof(Big), alignof(Big), ZEL_CDR_EXTENSIBILITY_MUTABLE,
                                           3, kBigMembers, nullptr, &g_bigCache);
const ZELCdrTypeDesc BigUncached_desc = structDesc("typetest::Big", sizeof(Big), alignof(Big),
                                                   ZEL_CDR_EXTENSIBILITY_MUTABLE, 3, kBigMembers, nullptr, nullptr);

}  // namespace typetest
