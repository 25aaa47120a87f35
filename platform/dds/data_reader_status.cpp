// A reader's statuses and type check.
#include <cstring>

#include "data_reader_private.h"

// The path of an enabled reader, or NULL (the getters return NOT_ENABLED).
static DDS_DataReaderPathI *DDS_DataReader_getPathI(DDS_DataReader *self, const void *status, const char *context,
                                                    DDS_ReturnCode_t *result) {
    if (self == nullptr || status == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "status");
        *result = DDS_RETCODE_BAD_PARAMETER;
        return nullptr;
    }
    *result = self->path != nullptr ? DDS_RETCODE_OK : DDS_RETCODE_NOT_ENABLED;
    return self->path;
}

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status_ex(
        DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status, DDS_Boolean reset) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataReaderPathI *path =
            DDS_DataReader_getPathI(self, status, "DDS_DataReader_get_subscription_matched_status", &result);
    if (path == nullptr) {
        return result;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    *status = path->matched;
    if (reset) {
        path->matched.total_count_change = 0;
        path->matched.current_count_change = 0;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status(
        DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status) {
    return DDS_DataReader_get_subscription_matched_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// The policies sequence stays empty: only the last policy id is kept.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status_ex(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status, DDS_Boolean reset) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataReaderPathI *path =
            DDS_DataReader_getPathI(self, status, "DDS_DataReader_get_requested_incompatible_qos_status", &result);
    if (path == nullptr) {
        return result;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    status->total_count = path->incompatible.total_count;
    status->total_count_change = path->incompatible.total_count_change;
    status->last_policy_id = path->incompatible.last_policy_id;
    if (reset) {
        path->incompatible.total_count_change = 0;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status) {
    return DDS_DataReader_get_requested_incompatible_qos_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status_ex(DDS_DataReader *self,
                                                                       struct DDS_SampleRejectedStatus *status,
                                                                       DDS_Boolean reset) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataReaderPathI *path =
            DDS_DataReader_getPathI(self, status, "DDS_DataReader_get_sample_rejected_status", &result);
    if (path == nullptr) {
        return result;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    *status = path->rejected;
    if (reset) {
        path->rejected.total_count_change = 0;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status(DDS_DataReader *self,
                                                                    struct DDS_SampleRejectedStatus *status) {
    return DDS_DataReader_get_sample_rejected_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// Samples missing from a writer's sequence of sequence numbers.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_lost_status_ex(DDS_DataReader *self,
                                                                   struct DDS_SampleLostStatus *status,
                                                                   DDS_Boolean reset) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataReaderPathI *path = DDS_DataReader_getPathI(self, status, "DDS_DataReader_get_sample_lost_status", &result);
    if (path == nullptr) {
        return result;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    *status = path->lost;
    if (reset) {
        path->lost.total_count_change = 0;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_lost_status(DDS_DataReader *self,
                                                                struct DDS_SampleLostStatus *status) {
    return DDS_DataReader_get_sample_lost_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// Samples held in the cache, invalid-data ones included; `reset` restarts
// the peak from the current count.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_datareader_cache_status_ex(DDS_DataReader *self,
                                                                        struct DDS_DataReaderCacheStatus *status,
                                                                        DDS_Boolean reset) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataReaderPathI *path =
            DDS_DataReader_getPathI(self, status, "DDS_DataReader_get_datareader_cache_status", &result);
    if (path == nullptr) {
        return result;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    status->sample_count = path->sampleCount;
    status->sample_count_peak = path->sampleCountPeak;
    if (reset) {
        path->sampleCountPeak = path->sampleCount;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_Boolean DDS_DataReader_compare_typeI(const DDS_DataReader *self, const char *type_name) {
    if (self == nullptr || type_name == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    const DDS_Topic *related = DDS_TopicDescription_get_topicI(self->topicDescription);
    const char *name = related->type->plugin.typeName;
    return name != nullptr && std::strcmp(name, type_name) == 0 ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

} // extern "C"
