// The PropertyQosPolicy helpers: look up, add, replace and remove name/value
// pairs of an ordered list. Every helper prepares what can fail (string
// buffers, a larger list) before it changes the policy, so a failure leaves
// the policy as it was.
#include "vurnc/dds_property.h"

#include <cstring>

#include "vurncore/dds_string.h"
#include "vurncore/log.h"

namespace {

void logBadParameterI(const char *context, const char *parameter) {
    ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, parameter);
}

// A string member of a property owns a buffer of its maximum + 1 octets.
// Fills *buffer with `text`, allocating that buffer when there is none yet;
// false (logged) when out of heap, *buffer then unchanged.
bool fillBoundedI(char **buffer, const char *text, size_t maximum, const char *context) {
    if (*buffer == nullptr) {
        *buffer = DDS_String_alloc(maximum);
        if (*buffer == nullptr) {
            ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                                      static_cast<int>(maximum + 1), 1);
            return false;
        }
    }
    std::memmove(*buffer, text, std::strlen(text) + 1);  // text may be the buffer itself
    return true;
}

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
    if (name == nullptr || std::strlen(name) > DDS_PROPERTY_NAME_MAX) {
        logBadParameterI(context, "name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (value == nullptr || std::strlen(value) > DDS_PROPERTY_VALUE_MAX) {
        logBadParameterI(context, "value");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_RETCODE_OK;
}

// Appends a property known to be absent. The slot past the length may hold
// buffers of a removed property or of the sequence's own initialization:
// they are reused, and buffers made here stay with the slot on failure (it
// is an initialized element either way).
DDS_ReturnCode_t appendPropertyI(DDS_PropertyQosPolicy *policy, const char *name, const char *value,
                                 DDS_Boolean propagate, const char *context) {
    // Capacity doubles, so adding n properties moves the list O(log n) times.
    const DDS_Long length = DDS_PropertySeq_get_length(&policy->value);
    const DDS_Long maximum = DDS_PropertySeq_get_maximum(&policy->value);
    const DDS_Long grown = maximum > length ? maximum : (maximum > 0 ? maximum * 2 : 1);
    if (!DDS_PropertySeq_ensure_length(&policy->value, length + 1, grown)) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    DDS_Property_t *slot = propertyAtI(&policy->value, length);
    if (!fillBoundedI(&slot->name, name, DDS_PROPERTY_NAME_MAX, context) ||
        !fillBoundedI(&slot->value, value, DDS_PROPERTY_VALUE_MAX, context)) {
        DDS_PropertySeq_set_length(&policy->value, length);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    slot->propagate = propagate;
    return DDS_RETCODE_OK;
}

}  // namespace

extern "C" {

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
    DDS_Property_t *property = propertyAtI(&policy->value, index);
    if (!fillBoundedI(&property->value, value, DDS_PROPERTY_VALUE_MAX, context)) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
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
    // buffers the next add reuses.
    const DDS_Long length = DDS_PropertySeq_get_length(&policy->value);
    const DDS_Property_t removed = *propertyAtI(&policy->value, index);
    for (DDS_Long i = index; i + 1 < length; ++i) {
        *propertyAtI(&policy->value, i) = *propertyAtI(&policy->value, i + 1);
    }
    *propertyAtI(&policy->value, length - 1) = removed;
    return DDS_PropertySeq_set_length(&policy->value, length - 1) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
}

}  // extern "C"
