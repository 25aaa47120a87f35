// Small described types for the type engine's tests, laid out the way the
// IDL compiler lays them out.
#pragma once

#include "vurncore/cdr_type.h"
#include "vurncore/dds_sequences.h"

namespace typetest {

enum Color { Color_RED, Color_GREEN, Color_BLUE };

// @final: every primitive kind, an enumeration and long[3].
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

struct Point {  // @final
    DDS_Short x;
    DDS_Long y;
};
struct PointSeq {
    ZEL_SEQUENCE_FIELDS(Point);
};

// @appendable: string<8>, sequence<long,3>, sequence<string<4>,2>,
// sequence<Point,2>, short, unbounded string.
struct Appendable {
    char *name;
    DDS_LongSeq values;
    DDS_StringSeq tags;
    PointSeq points;
    DDS_Short tail;
    char *notes;
};

struct InnerMutable {  // @mutable: short, string<8>
    DDS_Short a;
    char *label;
};

struct OuterMutable {  // @mutable: long, InnerMutable, octet
    DDS_Long id;
    InnerMutable inner;
    DDS_Octet flag;
};

struct Key16 {  // @final
    DDS_Long value[4];
};

struct DurationLike {  // @final
    DDS_Long sec;
    DDS_UnsignedLong nanosec;
};

// @mutable, keyed like a statistics topic: @key key, @key period, long,
// string<256>.
struct TopicLike {
    Key16 key;
    DurationLike period;
    DDS_Long count;
    char *name;
};

// @final: long, @key long, string<8>, sequence<long,3>, @key short.
struct FinalKeyed {
    DDS_Long before;
    DDS_Long id;
    char *note;
    DDS_LongSeq values;
    DDS_Short sub;
};

// @mutable, maximum size above 64 KiB: long, sequence<octet,70000>,
// InnerMutable.
struct Big {
    DDS_Long small;
    DDS_OctetSeq blob;
    InnerMutable inner;
};

// @final: long long, long, octet, long: led by its widest member, padded
// inside; its memory is its CDR form.
struct Counters {
    DDS_LongLong total;
    DDS_Long last;
    DDS_Octet flag;
    DDS_Long next;
};
struct CountersHolder {  // @mutable: long, Counters
    DDS_Long id;
    Counters counters;
};
extern const ZELCdrTypeDesc FinalAll_desc;
extern const ZELCdrTypeDesc CountersHolder_desc;
extern const ZELCdrTypeDesc Point_desc;
extern const ZELCdrTypeDesc Appendable_desc;
extern const ZELCdrTypeDesc InnerMutable_desc;
extern const ZELCdrTypeDesc OuterMutable_desc;
extern const ZELCdrTypeDesc TopicLike_desc;
extern const ZELCdrTypeDesc FinalKeyed_desc;
extern const ZELCdrTypeDesc Big_desc;

}  // namespace typetest
