/* Return codes, durations and times of the DDS API. */
#ifndef VURNC_DDS_BASIC_H
#define VURNC_DDS_BASIC_H

#include "vurnc/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

typedef enum {
    DDS_RETCODE_OK = 0,
    DDS_RETCODE_ERROR = 1,
    DDS_RETCODE_UNSUPPORTED = 2,
    DDS_RETCODE_BAD_PARAMETER = 3,
    DDS_RETCODE_PRECONDITION_NOT_MET = 4,
    DDS_RETCODE_OUT_OF_RESOURCES = 5,
    DDS_RETCODE_NOT_ENABLED = 6,
    DDS_RETCODE_IMMUTABLE_POLICY = 7,
    DDS_RETCODE_INCONSISTENT_POLICY = 8,
    DDS_RETCODE_ALREADY_DELETED = 9,
    DDS_RETCODE_TIMEOUT = 10,
    DDS_RETCODE_NO_DATA = 11,
    DDS_RETCODE_ILLEGAL_OPERATION = 12
} DDS_ReturnCode_t;

struct DDS_Duration_t {
    DDS_Long sec;
    DDS_UnsignedLong nanosec;
};
typedef struct DDS_Duration_t DDS_Duration_t;
#define DDS_DURATION_INFINITE_SEC 0x7fffffff
#define DDS_DURATION_INFINITE_NSEC 0x7fffffffu
#define DDS_DURATION_INFINITE {DDS_DURATION_INFINITE_SEC, DDS_DURATION_INFINITE_NSEC}
#define DDS_DURATION_ZERO {0, 0u}

struct DDS_Time_t {
    DDS_Long sec;
    DDS_UnsignedLong nanosec;
};
typedef struct DDS_Time_t DDS_Time_t;

ZEL_EXTERN_C_END

#endif
