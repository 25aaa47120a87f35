// The platform's sequences of primitive values and of strings.
#include "vurncore/dds_sequences.h"

#include "vurncore/sequence_define.hpp"

ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_BooleanSeq, DDS_Boolean, &zel::plainSequenceElementType<DDS_Boolean>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_OctetSeq, DDS_Octet, &zel::plainSequenceElementType<DDS_Octet>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_CharSeq, DDS_Char, &zel::plainSequenceElementType<DDS_Char>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_ShortSeq, DDS_Short, &zel::plainSequenceElementType<DDS_Short>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_UnsignedShortSeq, DDS_UnsignedShort,
                    &zel::plainSequenceElementType<DDS_UnsignedShort>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_LongSeq, DDS_Long, &zel::plainSequenceElementType<DDS_Long>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_UnsignedLongSeq, DDS_UnsignedLong,
                    &zel::plainSequenceElementType<DDS_UnsignedLong>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_LongLongSeq, DDS_LongLong, &zel::plainSequenceElementType<DDS_LongLong>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_UnsignedLongLongSeq, DDS_UnsignedLongLong,
                    &zel::plainSequenceElementType<DDS_UnsignedLongLong>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_FloatSeq, DDS_Float, &zel::plainSequenceElementType<DDS_Float>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_DoubleSeq, DDS_Double, &zel::plainSequenceElementType<DDS_Double>);
ZEL_SEQUENCE_DEFINE(VURNCORE_API, DDS_StringSeq, char *, &zel::stringSequenceElementType);
