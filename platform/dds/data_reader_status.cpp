// A reader's statuses, its matched publications and its type check.
#include <cstring>

#include "data_reader_private.h"

namespace {

// Runs `copy` on the enabled reader's path under its mutex, brought up to
// the factory's clock first.
template <typename Copy>
DDS_ReturnCode_t DDS_DataReader_withStatusI(DDS_DataReader *self, const void *status, const char *context,
                                            Copy copy) {
    if (self == nullptr || status == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "status");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    // Readable from the attachment on: matches found while the endpoint is
    // being enabled are reported with their statuses.
    DDS_DataReaderPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    return copy(path);
}

// A communication status: before the endpoint is attached, the status as
// nothing has happened yet, so that a disabled endpoint can still be reported.
template <typename Status, typename Copy>
DDS_ReturnCode_t DDS_DataReader_withCommunicationStatusI(DDS_DataReader *self, Status *status, const char *context,
                                                         Copy copy) {
    if (self != nullptr && status != nullptr && self->path.load() == nullptr) {
        DDS_Status_setInitialI(status);
        return DDS_RETCODE_OK;
    }
    return DDS_DataReader_withStatusI(self, status, context, copy);
}

// Fills the counters the wire knows; `base` is what was counted at the last
// reset, moved to `current` when `reset`. Heartbeats, ACKs, NACKs and GAPs
// are not exchanged on the in-process wire, nor are samples committed out
// of order: those counts and the sequence-number marks stay 0.
void DDS_ReaderProtocolStatus_fillI(DDS_DataReaderProtocolStatus *status, const ZELWireCounters *current,
                                    ZELWireCounters *base, bool reset) {
    std::memset(status, 0, sizeof(*status));
    status->received_sample_count = current->sampleCount;
    status->received_sample_count_change = current->sampleCount - base->sampleCount;
    status->received_sample_bytes = current->sampleBytes;
    status->received_sample_bytes_change = current->sampleBytes - base->sampleBytes;
    status->duplicate_sample_count = current->duplicateSampleCount;
    status->duplicate_sample_count_change = current->duplicateSampleCount - base->duplicateSampleCount;
    status->duplicate_sample_bytes = current->duplicateSampleBytes;
    status->duplicate_sample_bytes_change = current->duplicateSampleBytes - base->duplicateSampleBytes;
    status->filtered_sample_count = current->filteredSampleCount;
    status->filtered_sample_count_change = current->filteredSampleCount - base->filteredSampleCount;
    status->filtered_sample_bytes = current->filteredSampleBytes;
    status->filtered_sample_bytes_change = current->filteredSampleBytes - base->filteredSampleBytes;
    status->rejected_sample_count = current->rejectedSampleCount;
    status->rejected_sample_count_change = current->rejectedSampleCount - base->rejectedSampleCount;
    if (reset) {
        *base = *current;
    }
}


// The wire's counters of the endpoint, and of one of its matches. While the
// endpoint is still being attached (its first matches are reported from
// inside the attachment) the wire has counted nothing for it yet.
void DDS_ReaderPath_countersI(ZELWire *wire, const DDS_DataReaderPathI *path, ZELWireCounters *counters) {
    *counters = ZELWireCounters{};
    if (path->wireReader != nullptr) {
        wire->ops->getReaderCounters(path->wireReader, counters);
    }
}
bool DDS_ReaderPath_matchCountersI(ZELWire *wire, const DDS_DataReaderPathI *path, const ZELWireGuid *remote,
                                     ZELWireCounters *counters) {
    *counters = ZELWireCounters{};
    return path->wireReader == nullptr ||
           wire->ops->getReaderMatchCounters(path->wireReader, remote, counters) != ZEL_FALSE;
}
}  // namespace

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status_ex(
        DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status, DDS_Boolean reset) {
    return DDS_DataReader_withCommunicationStatusI(self, status, "DDS_DataReader_get_subscription_matched_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          *status = path->matched;
                                          if (reset) {
                                              path->matched.total_count_change = 0;
                                              path->matched.current_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status(
        DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status) {
    return DDS_DataReader_get_subscription_matched_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// The policies sequence stays empty: only the last policy id is kept.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status_ex(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status, DDS_Boolean reset) {
    return DDS_DataReader_withCommunicationStatusI(self, status, "DDS_DataReader_get_requested_incompatible_qos_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          status->total_count = path->incompatible.total_count;
                                          status->total_count_change = path->incompatible.total_count_change;
                                          status->last_policy_id = path->incompatible.last_policy_id;
                                          if (reset) {
                                              path->incompatible.total_count_change = 0;
                                          }
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
    return DDS_DataReader_withCommunicationStatusI(self, status, "DDS_DataReader_get_sample_rejected_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          *status = path->rejected;
                                          if (reset) {
                                              path->rejected.total_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status(DDS_DataReader *self,
                                                                    struct DDS_SampleRejectedStatus *status) {
    return DDS_DataReader_get_sample_rejected_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

// Samples missing from a writer's sequence of sequence numbers.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_lost_status_ex(DDS_DataReader *self,
                                                                   struct DDS_SampleLostStatus *status,
                                                                   DDS_Boolean reset) {
    return DDS_DataReader_withCommunicationStatusI(self, status, "DDS_DataReader_get_sample_lost_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          *status = path->lost;
                                          if (reset) {
                                              path->lost.total_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
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
    return DDS_DataReader_withStatusI(self, status, "DDS_DataReader_get_datareader_cache_status",
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
    return DDS_DataReader_withCommunicationStatusI(self, status, "DDS_DataReader_get_liveliness_changed_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          *status = path->liveliness;
                                          if (reset) {
                                              path->liveliness.alive_count_change = 0;
                                              path->liveliness.not_alive_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_liveliness_changed_status(DDS_DataReader *self,
                                                                       struct DDS_LivelinessChangedStatus *status) {
    return DDS_DataReader_get_liveliness_changed_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_deadline_missed_status_ex(
        DDS_DataReader *self, struct DDS_RequestedDeadlineMissedStatus *status, DDS_Boolean reset) {
    return DDS_DataReader_withCommunicationStatusI(self, status, "DDS_DataReader_get_requested_deadline_missed_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          *status = path->deadlineMissed;
                                          if (reset) {
                                              path->deadlineMissed.total_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_deadline_missed_status(
        DDS_DataReader *self, struct DDS_RequestedDeadlineMissedStatus *status) {
    return DDS_DataReader_get_requested_deadline_missed_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_datareader_protocol_status_ex(
        DDS_DataReader *self, struct DDS_DataReaderProtocolStatus *status, DDS_Boolean reset) {
    return DDS_DataReader_withStatusI(self, status, "DDS_DataReader_get_datareader_protocol_status",
                                      [&](DDS_DataReaderPathI *path) {
                                          ZELWireCounters counters{};
                                          DDS_ReaderPath_countersI(DDS_Entity_getWireI(&self->entity), path, &counters);
                                          DDS_ReaderProtocolStatus_fillI(status, &counters, &path->protocolBase,
                                                                         reset != DDS_BOOLEAN_FALSE);
                                          return DDS_RETCODE_OK;
                                      });
}

// BAD_PARAMETER for a handle that is not of a matched publication.
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
        DDS_DataReader *self, struct DDS_DataReaderProtocolStatus *status,
        const DDS_InstanceHandle_t *publication_handle, DDS_Boolean reset) {
    const char *const context = "DDS_DataReader_get_matched_publication_datareader_protocol_status";
    if (publication_handle == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "publication_handle");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_DataReader_withStatusI(self, status, context, [&](DDS_DataReaderPathI *path) {
        ZELWire *wire = DDS_Entity_getWireI(&self->entity);
        for (DDS_ReaderMatchI *match = path->matches; match != nullptr; match = match->next) {
            const DDS_InstanceHandle_t handle = DDS_InstanceHandle_fromWireGuidI(&match->guid);
            ZELWireCounters counters{};
            if (DDS_InstanceHandle_equalsI(&handle, publication_handle) &&
                DDS_ReaderPath_matchCountersI(wire, path, &match->guid, &counters)) {
                DDS_ReaderProtocolStatus_fillI(status, &counters, &match->base, reset != DDS_BOOLEAN_FALSE);
                return DDS_RETCODE_OK;
            }
        }
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "unknown publication");
        return DDS_RETCODE_BAD_PARAMETER;
    });
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_matched_publications(DDS_DataReader *self,
                                                                  struct DDS_InstanceHandleSeq *handles) {
    const char *const context = "DDS_DataReader_get_matched_publications";
    return DDS_DataReader_withStatusI(self, handles, context, [&](DDS_DataReaderPathI *path) {
        DDS_Long count = 0;
        for (DDS_ReaderMatchI *match = path->matches; match != nullptr; match = match->next) {
            ++count;
        }
        if (!DDS_InstanceHandleSeq_ensure_length(handles, count, count)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "handles");
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        DDS_Long index = 0;
        for (DDS_ReaderMatchI *match = path->matches; match != nullptr; match = match->next) {
            *DDS_InstanceHandleSeq_get_reference(handles, index++) = DDS_InstanceHandle_fromWireGuidI(&match->guid);
        }
        return DDS_RETCODE_OK;
    });
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
