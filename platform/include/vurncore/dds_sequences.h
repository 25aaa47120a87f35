/* The platform's sequences of primitive values and of strings, the C types
 * of sequence members whose elements are primitives or strings. */
#ifndef VURNCORE_DDS_SEQUENCES_H
#define VURNCORE_DDS_SEQUENCES_H

#include "vurncore/dll.h"
#include "vurncore/sequence.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_BooleanSeq, DDS_Boolean);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_OctetSeq, DDS_Octet);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_CharSeq, DDS_Char);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_ShortSeq, DDS_Short);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_UnsignedShortSeq, DDS_UnsignedShort);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_LongSeq, DDS_Long);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_UnsignedLongSeq, DDS_UnsignedLong);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_LongLongSeq, DDS_LongLong);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_UnsignedLongLongSeq, DDS_UnsignedLongLong);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_FloatSeq, DDS_Float);
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_DoubleSeq, DDS_Double);
/* Elements are heap strings (DDS_String_alloc / DDS_String_free). */
ZEL_SEQUENCE_DECLARE(VURNCORE_API, DDS_StringSeq, char *);

ZEL_EXTERN_C_END

#endif
