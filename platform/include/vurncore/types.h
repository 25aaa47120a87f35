/* Basic types shared by the core and the DDS API. */
#ifndef VURNCORE_TYPES_H
#define VURNCORE_TYPES_H

#include <stddef.h>
#include <stdint.h>

/* Result of core operations: non-zero is success. */
typedef int ZELBoolean;
#define ZEL_TRUE 1
#define ZEL_FALSE 0

/* DDS primitive types, as the IDL maps them. */
typedef unsigned char DDS_Boolean;
#define DDS_BOOLEAN_TRUE ((DDS_Boolean)1)
#define DDS_BOOLEAN_FALSE ((DDS_Boolean)0)
typedef char DDS_Char;
typedef uint8_t DDS_Octet;
typedef int16_t DDS_Short;
typedef uint16_t DDS_UnsignedShort;
typedef int32_t DDS_Long;
typedef uint32_t DDS_UnsignedLong;
typedef int64_t DDS_LongLong;
typedef uint64_t DDS_UnsignedLongLong;
typedef float DDS_Float;
typedef double DDS_Double;
typedef int32_t DDS_Enum;

/* Time as the core keeps it: seconds and a 32-bit binary fraction of a
 * second. ZEL_NTP_TIME_SEC_MAX seconds means infinite. */
struct ZELNtpTime {
    int32_t sec;
    uint32_t frac;
};
#define ZEL_NTP_TIME_SEC_MAX 0x7fffffff
#define ZEL_NTP_TIME_FRAC_MAX 0xffffffffu
#define ZEL_NTP_TIME_ZERO \
    { 0, 0 }
#define ZEL_NTP_TIME_INFINITE \
    { ZEL_NTP_TIME_SEC_MAX, ZEL_NTP_TIME_FRAC_MAX }

#endif
