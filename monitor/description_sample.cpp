// Helpers of the description builders: names and property lists.
#include "description_sample.h"

#include <cstring>

#include "vurncore/dds_string.h"

namespace {

// The bound of the descriptions' topic and type names; the sample's
// initializer allocates each string to hold it.
constexpr size_t kNameMax = 256;

}  // namespace

bool ZELDefaultMonitorDescription_copyNameI(char **target, const char *name, const char *context) {
    const size_t length = std::strlen(name);
    if (length <= kNameMax && *target != nullptr) {
        std::memcpy(*target, name, length + 1);
        return true;
    }
    char *copy = DDS_String_dup(name);
    if (copy == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, static_cast<int>(length + 1),
                                       1);
        return false;
    }
    DDS_String_free(*target);
    *target = copy;
    return true;
}

bool ZELDefaultMonitorDescription_applyPropertyRuleI(DDSMonitoring_Property_tSeq *properties, DDS_Boolean skip,
                                                     const char *context) {
    if (skip) {
        // A maximum of 0 on the owned list frees it and cannot fail.
        DDSMonitoring_Property_tSeq_set_maximum(properties, 0);
        return true;
    }
    const DDS_Long length = DDSMonitoring_Property_tSeq_get_length(properties);
    if (length > ZEL_MONITOR_DESCRIPTION_PROPERTY_MAX) {
        if (ZELMonitorLog_isErrorEnabledI()) {
            ZELLog_debug("%s: PropertyQosPolicy sequence length (%d) exceeds maximum (%d)\n", context,
                         static_cast<int>(length), ZEL_MONITOR_DESCRIPTION_PROPERTY_MAX);
        }
        return false;
    }
    return true;
}
