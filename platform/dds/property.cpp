// The PropertyQosPolicy: an ordered list of name/value pairs and the helpers
// that look up, add, replace and remove them. Every helper prepares what can
// fail (string copies, a larger buffer) before it changes the policy, so a
// failure leaves the policy as it was.
#include "vurnc/dds_property.h"

#include <cstring>

#include "vurncore/dds_string.h"
#include "vurncore/log.h"
#include "vurncore/sequence_define.hpp"

namespace {

void logBadParameterI(const char *context, const char *parameter) {
    ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, parameter);
}

void logStringOutOfHeapI(const char *context, const char *text) {
    ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                              static_cast<int>(std::strlen(text) + 1), 1);
}

// Copies `text` (NULL stays NULL) into *copy; false when out of heap.
bool dupI(const char *text, char **copy, const char *context) {
    *copy = nullptr;
    if (text == nullptr) {
        return true;
    }
    *copy = DDS_String_dup(text);
    if (*copy == nullptr) {
        logStringOutOfHeapI(context, text);
        return false;
    }
    return true;
}

DDS_Boolean initializePropertyI(DDS_Property_t *self, const DDS_TypeAllocationParams_t *params) {
    self->name = nullptr;
    self->value = nullptr;
    self->propagate = DDS_BOOLEAN_FALSE;
    if (!params->allocate_memory) {
        return DDS_BOOLEAN_TRUE;
    }
    self->name = DDS_String_dup("");
    if (self->name == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    self->value = DDS_String_dup("");
    if (self->value == nullptr) {
        DDS_String_free(self->name);
        self->name = nullptr;
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

void finalizePropertyI(DDS_Property_t *self, const DDS_TypeDeallocationParams_t *) {
    DDS_String_free(self->name);
    DDS_String_free(self->value);
    self->name = nullptr;
    self->value = nullptr;
}

// Both texts are copied before the destination changes, so on failure it
// keeps its old contents.
DDS_Boolean copyPropertyI(DDS_Property_t *dst, const DDS_Property_t *src) {
    char *name = nullptr;
    char *value = nullptr;
    if (!dupI(src->name, &name, "DDS_Property_t_copy") || !dupI(src->value, &value, "DDS_Property_t_copy")) {
        DDS_String_free(name);
        return DDS_BOOLEAN_FALSE;
    }
    DDS_String_free(dst->name);
    DDS_String_free(dst->value);
    dst->name = name;
    dst->value = value;
    dst->propagate = src->propagate;
    return DDS_BOOLEAN_TRUE;
}

constexpr ZELSequenceElementType kPropertyElementType =
        zel::structSequenceElementType<DDS_Property_t, &initializePropertyI, &finalizePropertyI, &copyPropertyI>;

}  // namespace

ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_PropertySeq, struct DDS_Property_t, &kPropertyElementType);

namespace {

// The i-th element of a sequence whose length or maximum covers i.
DDS_Property_t *propertyAtI(const DDS_PropertySeq *properties, DDS_Long i) {
    const auto index = static_cast<size_t>(i);
    if (properties->_discontiguous_buffer != nullptr) {
        return properties->_discontiguous_buffer[index];
    }
    return properties->_contiguous_buffer + index;
}

// Index of the property named `name`, or -1.
DDS_Long findPropertyI(const DDS_PropertyQosPolicy *policy, const char *name) {
    const DDS_Long count = DDS_PropertySeq_get_length(&policy->value);
    for (DDS_Long i = 0; i < count; ++i) {
        const char *candidate = propertyAtI(&policy->value, i)->name;
        if (candidate != nullptr && std::strcmp(candidate, name) == 0) {
            return i;
        }
    }
    return -1;
}

// Checks the arguments that add and assert share.
DDS_ReturnCode_t checkPropertyArgumentsI(const DDS_PropertyQosPolicy *policy, const char *name, const char *value,
                                         const char *context) {
    if (policy == nullptr) {
        logBadParameterI(context, "policy");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (name == nullptr) {
        logBadParameterI(context, "name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (value == nullptr) {
        logBadParameterI(context, "value");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_RETCODE_OK;
}

// Appends a property known to be absent.
DDS_ReturnCode_t appendPropertyI(DDS_PropertyQosPolicy *policy, const char *name, const char *value,
                                 DDS_Boolean propagate, const char *context) {
    char *nameCopy = nullptr;
    char *valueCopy = nullptr;
    if (!dupI(name, &nameCopy, context) || !dupI(value, &valueCopy, context)) {
        DDS_String_free(nameCopy);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    // Capacity doubles, so adding n properties moves the list O(log n) times.
    const DDS_Long length = DDS_PropertySeq_get_length(&policy->value);
    const DDS_Long maximum = DDS_PropertySeq_get_maximum(&policy->value);
    const DDS_Long grown = maximum > length ? maximum : (maximum > 0 ? maximum * 2 : 1);
    if (!DDS_PropertySeq_ensure_length(&policy->value, length + 1, grown)) {
        DDS_String_free(nameCopy);
        DDS_String_free(valueCopy);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    DDS_Property_t *slot = propertyAtI(&policy->value, length);
    DDS_String_free(slot->name);
    DDS_String_free(slot->value);
    slot->name = nameCopy;
    slot->value = valueCopy;
    slot->propagate = propagate;
    return DDS_RETCODE_OK;
}

}  // namespace

extern "C" {

DDS_Boolean DDS_Property_t_initialize(DDS_Property_t *self) {
    if (self == nullptr) {
        logBadParameterI("DDS_Property_t_initialize", "self");
        return DDS_BOOLEAN_FALSE;
    }
    const DDS_TypeAllocationParams_t params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    if (!initializePropertyI(self, &params)) {
        logStringOutOfHeapI("DDS_Property_t_initialize", "");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

void DDS_Property_t_finalize(DDS_Property_t *self) {
    if (self == nullptr) {
        logBadParameterI("DDS_Property_t_finalize", "self");
        return;
    }
    finalizePropertyI(self, nullptr);
}

DDS_Boolean DDS_Property_t_copy(DDS_Property_t *dst, const DDS_Property_t *src) {
    if (dst == nullptr || src == nullptr) {
        logBadParameterI("DDS_Property_t_copy", dst == nullptr ? "dst" : "src");
        return DDS_BOOLEAN_FALSE;
    }
    return copyPropertyI(dst, src);
}

DDS_Boolean DDS_PropertyQosPolicy_initialize(DDS_PropertyQosPolicy *self) {
    if (self == nullptr) {
        logBadParameterI("DDS_PropertyQosPolicy_initialize", "self");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_PropertySeq_initialize(&self->value);
}

DDS_Boolean DDS_PropertyQosPolicy_finalize(DDS_PropertyQosPolicy *self) {
    if (self == nullptr) {
        logBadParameterI("DDS_PropertyQosPolicy_finalize", "self");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_PropertySeq_finalize(&self->value);
}

DDS_Boolean DDS_PropertyQosPolicy_copy(DDS_PropertyQosPolicy *dst, const DDS_PropertyQosPolicy *src) {
    if (dst == nullptr || src == nullptr) {
        logBadParameterI("DDS_PropertyQosPolicy_copy", dst == nullptr ? "dst" : "src");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_PropertySeq_copy(&dst->value, &src->value) != nullptr ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Long DDS_PropertyQosPolicyHelper_get_number_of_properties(const DDS_PropertyQosPolicy *policy) {
    return policy == nullptr ? 0 : DDS_PropertySeq_get_length(&policy->value);
}

DDS_Property_t *DDS_PropertyQosPolicyHelper_lookup_property(const DDS_PropertyQosPolicy *policy, const char *name) {
    if (policy == nullptr || name == nullptr) {
        logBadParameterI("DDS_PropertyQosPolicyHelper_lookup_property", policy == nullptr ? "policy" : "name");
        return nullptr;
    }
    const DDS_Long index = findPropertyI(policy, name);
    return index < 0 ? nullptr : propertyAtI(&policy->value, index);
}

DDS_ReturnCode_t DDS_PropertyQosPolicyHelper_add_property(DDS_PropertyQosPolicy *policy, const char *name,
                                                          const char *value, DDS_Boolean propagate) {
    const char *const context = "DDS_PropertyQosPolicyHelper_add_property";
    const DDS_ReturnCode_t checked = checkPropertyArgumentsI(policy, name, value, context);
    if (checked != DDS_RETCODE_OK) {
        return checked;
    }
    // An existing name is an answer the caller acts on, not a fault: not logged.
    if (findPropertyI(policy, name) >= 0) {
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return appendPropertyI(policy, name, value, propagate, context);
}

DDS_ReturnCode_t DDS_PropertyQosPolicyHelper_assert_property(DDS_PropertyQosPolicy *policy, const char *name,
                                                             const char *value, DDS_Boolean propagate) {
    const char *const context = "DDS_PropertyQosPolicyHelper_assert_property";
    const DDS_ReturnCode_t checked = checkPropertyArgumentsI(policy, name, value, context);
    if (checked != DDS_RETCODE_OK) {
        return checked;
    }
    const DDS_Long index = findPropertyI(policy, name);
    if (index < 0) {
        return appendPropertyI(policy, name, value, propagate, context);
    }
    char *valueCopy = nullptr;
    if (!dupI(value, &valueCopy, context)) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    DDS_Property_t *property = propertyAtI(&policy->value, index);
    DDS_String_free(property->value);
    property->value = valueCopy;
    property->propagate = propagate;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_PropertyQosPolicyHelper_remove_property(DDS_PropertyQosPolicy *policy, const char *name) {
    if (policy == nullptr || name == nullptr) {
        logBadParameterI("DDS_PropertyQosPolicyHelper_remove_property", policy == nullptr ? "policy" : "name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    const DDS_Long index = findPropertyI(policy, name);
    if (index < 0) {
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    // The removed element moves behind the last one, out of the length: the
    // others keep their order and it stays an initialized element whose
    // storage the next add reuses.
    const DDS_Long length = DDS_PropertySeq_get_length(&policy->value);
    const DDS_Property_t removed = *propertyAtI(&policy->value, index);
    for (DDS_Long i = index; i + 1 < length; ++i) {
        *propertyAtI(&policy->value, i) = *propertyAtI(&policy->value, i + 1);
    }
    *propertyAtI(&policy->value, length - 1) = removed;
    return DDS_PropertySeq_set_length(&policy->value, length - 1) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
}

}  // extern "C"
