/* Printing of sample values, one line per value, through the core log
 * (ZELLog_debug). A line is indented by three spaces per level and reads
 * "description: value"; a NULL description prints the value alone. */
#ifndef VURNCORE_CDR_PRINT_H
#define VURNCORE_CDR_PRINT_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* Prints one value that `value` points to. */
typedef void (*ZELCdrTypePrintFunction)(const void *value, const char *description, unsigned int indent);

/* The indentation of `indent` levels alone. */
VURNCORE_API void ZELCdrType_printIndent(unsigned int indent);

/* Primitive values: booleans and octets as numbers (octets in hexadecimal,
 * "0x2a"), characters as themselves, floating point with "%f". */
VURNCORE_API void ZELCdrType_printBoolean(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printOctet(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printChar(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printShort(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printUnsignedShort(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printLong(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printUnsignedLong(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printLongLong(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printUnsignedLongLong(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printFloat(const void *value, const char *description, unsigned int indent);
VURNCORE_API void ZELCdrType_printDouble(const void *value, const char *description, unsigned int indent);
/* An enumeration's 32-bit value. */
VURNCORE_API void ZELCdrType_printEnum(const void *value, const char *description, unsigned int indent);

/* A string in double quotes, or NULL. */
VURNCORE_API void ZELCdrType_printString(const char *value, const char *description, unsigned int indent);

/* Arrays: a line "description:" then each element, described "[i]", one
 * level deeper. */
VURNCORE_API void ZELCdrType_printArray(const void *array, unsigned int length, unsigned int elementSize,
                                        ZELCdrTypePrintFunction printElement, const char *description,
                                        unsigned int indent);
VURNCORE_API void ZELCdrType_printStringArray(const char *const *array, unsigned int length, const char *description,
                                              unsigned int indent);
/* Elements reached through an array of pointers. */
VURNCORE_API void ZELCdrType_printPointerArray(const void *const *array, unsigned int length,
                                               ZELCdrTypePrintFunction printElement, const char *description,
                                               unsigned int indent);

ZEL_EXTERN_C_END

#endif
