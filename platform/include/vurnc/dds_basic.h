/* Return codes of the DDS API; durations, times and the other data types
 * come with vurnc/dds_types.h. */
#ifndef VURNC_DDS_BASIC_H
#define VURNC_DDS_BASIC_H

#include "vurnc/dll.h"
#include "vurnc/dds_types.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* The values of DDS_ReturnCode_t (a 32-bit integer, so that it matches the
 * return code carried in monitoring samples). */
enum {
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
};

ZEL_EXTERN_C_END

#endif
