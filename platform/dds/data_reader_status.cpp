// A reader's statuses, its matched publications and its type check.
#include <cstring>

#include "data_endpoint_status.h"

namespace {

// The counts that the wire keeps for the reader, where it keeps them [path
// mutex held]. A lost sample is one its writer sent and the wire never
// delivered.
void DDS_DataReaderPath_takeWireCountsI(DDS_DataReaderPathI *path) {
    const ZELWireOps *ops = DDS_Entity_getWireI(&path->reader->entity)->ops;
    if (ops->getReaderStatusCounts == nullptr || path->wireReader == nullptr) {
        return;
    }
    ZELWireStatusCounts counts{};
    ops->getReaderStatusCounts(path->wireReader, &counts);
    if ((ops->capabilities & ZEL_WIRE_SUPPLIES_DEADLINES) != 0) {
        DDS_Status_takeCountI(&path->deadlineMissed.total_count, &path->deadlineMissed.total_count_change,
                              counts.requestedDeadlineMissed);
    }
    if ((ops->capabilities & ZEL_WIRE_SUPPLIES_SAMPLE_LOST) != 0 && counts.sampleLostCount > path->lost.total_count) {
        DDS_Status_takeCountI(&path->lost.total_count, &path->lost.total_count_change, counts.sampleLostCount);
        path->lost.last_reason = DDS_LOST_BY_WRITER;
    }
}

}  // namespace

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status_ex(
        DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status, DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataReaderPathI::matched, reset,
                                    "DDS_DataReader_get_subscription_matched_status");
}

VURNC_API DDS_ReturnCode_t
DDS_DataReader_get_subscription_matched_status(DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status) {
    return DDS_DataReader_get_subscription_matched_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// The policies sequence stays empty: only the last policy id is kept.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status_ex(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status, DDS_Boolean reset) {
    const char *const context = "DDS_DataReader_get_requested_incompatible_qos_status";
    return DDS_Endpoint_withCommunicationStatusI(self, status, context, [&](DDS_DataReaderPathI *path) {
        DDS_IncompatibleQosStatus_copyI(status, &path->incompatible, reset);
        return DDS_RETCODE_OK;
    });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status) {
    return DDS_DataReader_get_requested_incompatible_qos_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status_ex(DDS_DataReader *self,
                                                                        struct DDS_SampleRejectedStatus *status,
                                                                        DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataReaderPathI::rejected, reset,
                                    "DDS_DataReader_get_sample_rejected_status");
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status(DDS_DataReader *self,
                                                                     struct DDS_SampleRejectedStatus *status) {
    return DDS_DataReader_get_sample_rejected_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// Samples missing from a writer's sequence of sequence numbers, or those the
// wire counts lost.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_lost_status_ex(DDS_DataReader *self,
                                                                    struct DDS_SampleLostStatus *status,
                                                                    DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataReaderPathI::lost, reset,
                                    "DDS_DataReader_get_sample_lost_status", DDS_DataReaderPath_takeWireCountsI);
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
    return DDS_Endpoint_withStatusI(self, status, "DDS_DataReader_get_datareader_cache_status",
                                    [&](DDS_DataReaderPathI *path) {
                                        status->sample_count = path->sampleCount;
                                        status->sample_count_peak = path->sampleCountPeak;
                                        if (reset) {
                                            path->sampleCountPeak = path->sampleCount;
                                        }
                                        return DDS_RETCODE_OK;
                                    });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_liveliness_changed_status_ex(DDS_DataReader *self,
                                                                           struct DDS_LivelinessChangedStatus *status,
                                                                           DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataReaderPathI::liveliness, reset,
                                    "DDS_DataReader_get_liveliness_changed_status");
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_liveliness_changed_status(DDS_DataReader *self,
                                                                        struct DDS_LivelinessChangedStatus *status) {
    return DDS_DataReader_get_liveliness_changed_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_deadline_missed_status_ex(
        DDS_DataReader *self, struct DDS_RequestedDeadlineMissedStatus *status, DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataReaderPathI::deadlineMissed, reset,
                                    "DDS_DataReader_get_requested_deadline_missed_status",
                                    DDS_DataReaderPath_takeWireCountsI);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_deadline_missed_status(
        DDS_DataReader *self, struct DDS_RequestedDeadlineMissedStatus *status) {
    return DDS_DataReader_get_requested_deadline_missed_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_datareader_protocol_status_ex(DDS_DataReader *self,
                                                                            struct DDS_DataReaderProtocolStatus *status,
                                                                            DDS_Boolean reset) {
    return DDS_Endpoint_getProtocolStatusI(self, status, reset, "DDS_DataReader_get_datareader_protocol_status");
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
        DDS_DataReader *self, struct DDS_DataReaderProtocolStatus *status,
        const DDS_InstanceHandle_t *publication_handle, DDS_Boolean reset) {
    return DDS_Endpoint_getMatchProtocolStatusI(self, status, publication_handle, reset,
                                                "DDS_DataReader_get_matched_publication_datareader_protocol_status");
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_matched_publications(DDS_DataReader *self,
                                                                   struct DDS_InstanceHandleSeq *handles) {
    return DDS_Endpoint_getMatchedHandlesI(self, handles, "DDS_DataReader_get_matched_publications");
}

VURNC_API DDS_Boolean DDS_DataReader_compare_typeI(const DDS_DataReader *self, const char *type_name) {
    if (self == nullptr || type_name == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    const DDS_Topic *related = DDS_TopicDescription_get_topicI(self->topicDescription);
    const char *name = related->type->plugin.typeName;
    return name != nullptr && std::strcmp(name, type_name) == 0 ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
