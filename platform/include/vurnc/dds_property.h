/* The PropertyQosPolicy: name/value pairs that an application attaches to an
 * entity's QoS; "propagate" pairs are announced to remote participants. */
#ifndef VURNC_DDS_PROPERTY_H
#define VURNC_DDS_PROPERTY_H

#include "vurnc/dll.h"
#include "vurnc/dds_basic.h"
#include "vurnc/dds_types.h"
#include "vurncore/sequence.h"

ZEL_EXTERN_C_BEGIN

/* DDS_Property_t, DDS_PropertySeq and DDS_PropertyQosPolicy, with their
 * initialize / finalize / copy families, come from vurnc/dds_types.h. A name
 * holds at most DDS_PROPERTY_NAME_MAX characters and a value at most
 * DDS_PROPERTY_VALUE_MAX; a non-NULL name or value always owns a buffer of
 * its maximum + 1 octets. */
#define DDS_PROPERTY_NAME_MAX 127
#define DDS_PROPERTY_VALUE_MAX 511
#define DDS_PROPERTY_QOS_POLICY_DEFAULT \
    { ZEL_SEQUENCE_INITIALIZER }

/* Number of properties in `policy` (0 for NULL). */
VURNC_API DDS_Long DDS_PropertyQosPolicyHelper_get_number_of_properties(const struct DDS_PropertyQosPolicy *policy);

/* The property named `name`, or NULL when there is none. */
VURNC_API struct DDS_Property_t *DDS_PropertyQosPolicyHelper_lookup_property(const struct DDS_PropertyQosPolicy *policy,
                                                                             const char *name);

/* Appends a property, copying the texts. BAD_PARAMETER for NULL arguments or
 * a name or value longer than its maximum (logged), PRECONDITION_NOT_MET
 * when a property of that name exists (not logged), OUT_OF_RESOURCES when
 * out of heap or when a loaned list is full (the policy's properties are
 * then unchanged). Names compare case-sensitively. */
VURNC_API DDS_ReturnCode_t DDS_PropertyQosPolicyHelper_add_property(struct DDS_PropertyQosPolicy *policy,
                                                                    const char *name, const char *value,
                                                                    DDS_Boolean propagate);

/* Adds the property or replaces the value and propagate flag of the one of
 * that name. Errors as add_property. */
VURNC_API DDS_ReturnCode_t DDS_PropertyQosPolicyHelper_assert_property(struct DDS_PropertyQosPolicy *policy,
                                                                       const char *name, const char *value,
                                                                       DDS_Boolean propagate);

/* Removes the property named `name`, keeping the order of the others.
 * PRECONDITION_NOT_MET when there is none. */
VURNC_API DDS_ReturnCode_t DDS_PropertyQosPolicyHelper_remove_property(struct DDS_PropertyQosPolicy *policy,
                                                                       const char *name);

ZEL_EXTERN_C_END

#endif
