/* The DDS API's data types: QoS policies, entity QoS, statuses, identifiers,
 * times and properties, each with its initialize / finalize / copy family and
 * its sequence. They are generated from the monitoring types with the DDS_
 * prefix, so a DDS_Foo and the monitoring DDSMonitoring_Foo share one layout.
 * A zero-filled value is a valid initialized one whose sequences are empty;
 * entity QoS defaults come from vurnc/dds_qos_defaults.h. */
#ifndef VURNC_DDS_TYPES_H
#define VURNC_DDS_TYPES_H

#include "vurnc/dll.h"
#include "vurnc/generated/dds_types.h"

ZEL_EXTERN_C_BEGIN

/* A resource limit, depth or count without bound. */
#define DDS_LENGTH_UNLIMITED (-1)

#define DDS_DURATION_INFINITE_SEC 0x7fffffff
#define DDS_DURATION_INFINITE_NSEC 0x7fffffffu
#define DDS_DURATION_INFINITE \
    { DDS_DURATION_INFINITE_SEC, DDS_DURATION_INFINITE_NSEC }
#define DDS_DURATION_ZERO \
    { 0, 0u }

/* A locator of this kind designates nothing. */
#define DDS_LOCATOR_KIND_INVALID (-1)
#define DDS_LOCATOR_INVALID_INITIALIZER \
    { DDS_LOCATOR_KIND_INVALID, 0u, {0}, ZEL_SEQUENCE_INITIALIZER }
/* Kind DDS_LOCATOR_KIND_INVALID, port 0, address all zero, no encapsulations. */
VURNC_API extern const DDS_Locator_t DDS_LOCATOR_INVALID;

/* The handle of no instance: sixteen zero octets, length 16, not valid. */
#define DDS_HANDLE_NIL_INITIALIZER \
    { {0}, 16u, DDS_BOOLEAN_FALSE }
VURNC_API extern const DDS_InstanceHandle_t DDS_HANDLE_NIL;

ZEL_EXTERN_C_END

#endif
