// Small described types for the type engine's tests, written the way the
// IDL compiler lays them out.
#pragma once

#include "vurncore/cdr_type.h"
#include "vurncore/dds_sequences.h"

namespace typetest {

enum Color { Color_RED = 0, Color_GREEN = 1, Color_BLUE = 2 };

// @final: every primitive kind and an array.
struct FinalAll {
    DDS_Boolean b;
    DDS_Octet o;
    DDS_Char c;
    DDS_Short s;
    DDS_UnsignedShort us;
    DDS_Long l;
    DDS_UnsignedLong ul;
    DDS_LongLong ll;
    DDS_UnsignedLongLong ull;
    DDS_Float f;
    DDS_Double d;
    Color e;
    DDS_Long arr[3];
};

// @final
struct Point {
    DDS_Short x;
    DDS_Long y;
};
struct PointSeq {
    ZEL_SEQUENCE_FIELDS(Point);
};

// @appendable: strings<8>, sequence<long,3>, sequence<string<4>,2>,
// sequence<Point,2>, and an unbounded string.
struct Appendable {
    char *name;
    DDS_LongSeq values;
    DDS_StringSeq tags;
    PointSeq points;
    DDS_Short tail;
    char *notes;
};

// @mutable
struct InnerMutable {
    DDS_Short a;
    char *label;  // string<8>
};

// @mutable, with a nested mutable member.
struct OuterMutable {
    DDS_Long id;
    InnerMutable inner;
    DDS_Octet flag;
};

// @final
struct Key16 {
    DDS_Long value[4];
};

// @final
struct DurationLike {
    DDS_Long sec;
    DDS_UnsignedLong nanosec;
};

// @mutable, keyed like a statistics topic: @key key, @key period.
struct TopicLike {
    Key16 key;
    DurationLike period;
    DDS_Long count;
    char *name;  // string<256>
};

// @final, keys among other members: @key id, @key sub.
struct FinalKeyed {
    DDS_Long before;
    DDS_Long id;
    char *note;  // string<8>
    DDS_LongSeq values;
    DDS_Short sub;
};

// @mutable, maximum size above 64 KiB: sequence<octet,70000> blob.
struct Big {
    DDS_Long small;
    DDS_OctetSeq blob;
    InnerMutable inner;
};

extern const ZELCdrTypeDesc FinalAll_desc;
extern const ZELCdrTypeDesc Point_desc;
extern const ZELCdrTypeDesc Appendable_desc;
extern const ZELCdrTypeDesc InnerMutable_desc;
extern const ZELCdrTypeDesc OuterMutable_desc;
extern const ZELCdrTypeDesc TopicLike_desc;
extern const ZELCdrTypeDesc FinalKeyed_desc;
extern const ZELCdrTypeDesc Big_desc;
// Big without a cache: every size computed afresh.
extern const ZELCdrTypeDesc BigUncached_desc;

}  // namespace typetest
