/* The PropertyQosPolicy: name/value pairs that an application attaches to an
 * entity's QoS; "propagate" pairs are announced to remote participants. */
#ifndef VURNC_DDS_PROPERTY_H
#define VURNC_DDS_PROPERTY_H

#include "vurnc/dll.h"
#include "vurnc/dds_basic.h"
#include "vurncore/sequence.h"

ZEL_EXTERN_C_BEGIN

struct DDS_Property_t {
    char *name;
    char *value;
    DDS_Boolean propagate;
};
typedef struct DDS_Property_t DDS_Property_t;

/* initialize gives empty strings (false when out of heap); finalize frees
 * them; copy copies both texts (NULL stays NULL) before it changes `dst`, so
 * on failure `dst` is unchanged. */
VURNC_API DDS_Boolean DDS_Property_t_initialize(struct DDS_Property_t *self);
VURNC_API void DDS_Property_t_finalize(struct DDS_Property_t *self);
VURNC_API DDS_Boolean DDS_Property_t_copy(struct DDS_Property_t *dst, const struct DDS_Property_t *src);

ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_PropertySeq, struct DDS_Property_t);

struct DDS_PropertyQosPolicy {
    struct DDS_PropertySeq value;
};
typedef struct DDS_PropertyQosPolicy DDS_PropertyQosPolicy;
#define DDS_PROPERTY_QOS_POLICY_DEFAULT {ZEL_SEQUENCE_INITIALIZER}

VURNC_API DDS_Boolean DDS_PropertyQosPolicy_initialize(struct DDS_PropertyQosPolicy *self);
VURNC_API DDS_Boolean DDS_PropertyQosPolicy_finalize(struct DDS_PropertyQosPolicy *self);
VURNC_API DDS_Boolean DDS_PropertyQosPolicy_copy(struct DDS_PropertyQosPolicy *dst,
                                                 const struct DDS_PropertyQosPolicy *src);

/* Number of properties in `policy` (0 for NULL). */
VURNC_API DDS_Long DDS_PropertyQosPolicyHelper_get_number_of_properties(const struct DDS_PropertyQosPolicy *policy);

/* The property named `name`, or NULL when there is none. */
VURNC_API struct DDS_Property_t *DDS_PropertyQosPolicyHelper_lookup_property(
        const struct DDS_PropertyQosPolicy *policy, const char *name);

/* Appends a property, copying the texts. BAD_PARAMETER for NULL arguments
 * (logged), PRECONDITION_NOT_MET when a property of that name exists (not
 * logged), OUT_OF_RESOURCES when out of heap or when a loaned list is full
 * (the policy is then unchanged). Names compare case-sensitively. */
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
