// A writer's statuses, its matched subscriptions and their locators.
// Deadlines and liveliness leases are counted lazily: whenever a write or a
// status getter runs, against the factory's clock.
#include <cstring>

#include "data_writer_private.h"

void DDS_DataWriterPath_checkDeadlinesI(DDS_DataWriterPathI *path, const ZELNtpTime *now) {
    // Without a deadline no instance can miss one: a writer of many
    // instances then pays nothing per write.
    const bool hasDeadline = !ZELNtpTime_isInfinite(&path->deadline);
    for (DDS_WriterInstanceI *instance = hasDeadline ? path->instances : nullptr; instance != nullptr;
         instance = instance->next) {
        const int64_t periods = DDS_NtpTime_periodsSinceI(&instance->lastWrite, now, &path->deadline);
        if (periods > instance->missedDeadlines) {
            const auto missed = static_cast<DDS_Long>(periods - instance->missedDeadlines);
            path->deadlineMissed.total_count += missed;
            path->deadlineMissed.total_count_change += missed;
            path->deadlineMissed.last_instance_handle = DDS_InstanceHandle_fromKeyHashI(instance->keyHash);
            instance->missedDeadlines = periods;
        }
    }
    // An automatic writer is asserted by its participant, which is alive as
    // long as the process is: it never loses liveliness on this wire.
    if (path->manualLiveliness && !path->livelinessLost &&
        DDS_NtpTime_periodsSinceI(&path->lastAssertion, now, &path->leaseDuration) > 0) {
        path->livelinessLost = true;
        ++path->liveliness.total_count;
        ++path->liveliness.total_count_change;
    }
}

namespace {

// Runs `copy` on the enabled writer's path under its mutex, deadlines and
// history brought up to date first.
template <typename Copy>
DDS_ReturnCode_t DDS_DataWriter_withStatusI(DDS_DataWriter *self, const void *status, const char *context,
                                            Copy copy) {
    if (self == nullptr || status == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "status");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    // Readable from the attachment on: matches found while the endpoint is
    // being enabled are reported with their statuses.
    DDS_DataWriterPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    ZELNtpTime now{};
    const bool haveNow = DDS_DomainParticipantFactory_getNowI(self->entity.participant->factory, &now, context);
    std::lock_guard<std::mutex> guard(path->mutex);
    if (haveNow) {
        DDS_DataWriterPath_checkDeadlinesI(path, &now);
        DDS_WriterHistory_expireI(path, &now);
    }
    return copy(path);
}

// A communication status: before the endpoint is attached, the status as
// nothing has happened yet, so that a disabled endpoint can still be reported.
template <typename Status, typename Copy>
DDS_ReturnCode_t DDS_DataWriter_withCommunicationStatusI(DDS_DataWriter *self, Status *status, const char *context,
                                                         Copy copy) {
    if (self != nullptr && status != nullptr && self->path.load() == nullptr) {
        DDS_Status_setInitialI(status);
        return DDS_RETCODE_OK;
    }
    return DDS_DataWriter_withStatusI(self, status, context, copy);
}

DDS_Locator_t DDS_Locator_fromNetioI(const ZELNetioLocator *locator) {
    DDS_Locator_t result{};
    result.kind = locator->kind;
    result._port = locator->port;
    std::memcpy(result.address, locator->address, sizeof(result.address));
    return result;
}

bool DDS_Locator_matchesI(const ZELNetioLocator *netio, const DDS_Locator_t *locator) {
    return netio->kind == locator->kind && netio->port == locator->_port &&
           std::memcmp(netio->address, locator->address, sizeof(netio->address)) == 0;
}

// Fills the counters the wire knows; `base` is what was counted at the last
// reset, moved to `current` when `reset`. Heartbeats, ACKs, NACKs, GAPs,
// pulled (repair) samples, the send window and sequence-number marks are
// not observable on the in-process wire and stay 0.
void DDS_ProtocolStatus_fillI(DDS_DataWriterProtocolStatus *status, const ZELWireCounters *current,
                              ZELWireCounters *base, bool reset) {
    std::memset(status, 0, sizeof(*status));
    status->pushed_sample_count = current->sampleCount;
    status->pushed_sample_count_change = current->sampleCount - base->sampleCount;
    status->pushed_sample_bytes = current->sampleBytes;
    status->pushed_sample_bytes_change = current->sampleBytes - base->sampleBytes;
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

void DDS_ProtocolStatus_addI(ZELWireCounters *sum, const ZELWireCounters *counters) {
    sum->sampleCount += counters->sampleCount;
    sum->sampleBytes += counters->sampleBytes;
    sum->duplicateSampleCount += counters->duplicateSampleCount;
    sum->duplicateSampleBytes += counters->duplicateSampleBytes;
    sum->filteredSampleCount += counters->filteredSampleCount;
    sum->filteredSampleBytes += counters->filteredSampleBytes;
    sum->rejectedSampleCount += counters->rejectedSampleCount;
}


// The wire's counters of the endpoint, and of one of its matches. While the
// endpoint is still being attached (its first matches are reported from
// inside the attachment) the wire has counted nothing for it yet.
void DDS_WriterPath_countersI(ZELWire *wire, const DDS_DataWriterPathI *path, ZELWireCounters *counters) {
    *counters = ZELWireCounters{};
    if (path->wireWriter != nullptr) {
        wire->ops->getWriterCounters(path->wireWriter, counters);
    }
}
bool DDS_WriterPath_matchCountersI(ZELWire *wire, const DDS_DataWriterPathI *path, const ZELWireGuid *remote,
                                     ZELWireCounters *counters) {
    *counters = ZELWireCounters{};
    return path->wireWriter == nullptr ||
           wire->ops->getWriterMatchCounters(path->wireWriter, remote, counters) != ZEL_FALSE;
}
}  // namespace

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_liveliness_lost_status_ex(DDS_DataWriter *self,
                                                                        struct DDS_LivelinessLostStatus *status,
                                                                        DDS_Boolean reset) {
    return DDS_DataWriter_withCommunicationStatusI(self, status, "DDS_DataWriter_get_liveliness_lost_status",
                                      [&](DDS_DataWriterPathI *path) {
                                          *status = path->liveliness;
                                          if (reset) {
                                              path->liveliness.total_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_deadline_missed_status_ex(
        DDS_DataWriter *self, struct DDS_OfferedDeadlineMissedStatus *status, DDS_Boolean reset) {
    return DDS_DataWriter_withCommunicationStatusI(self, status, "DDS_DataWriter_get_offered_deadline_missed_status",
                                      [&](DDS_DataWriterPathI *path) {
                                          *status = path->deadlineMissed;
                                          if (reset) {
                                              path->deadlineMissed.total_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_incompatible_qos_status_ex(
        DDS_DataWriter *self, struct DDS_OfferedIncompatibleQosStatus *status, DDS_Boolean reset) {
    const char *const context = "DDS_DataWriter_get_offered_incompatible_qos_status";
    return DDS_DataWriter_withCommunicationStatusI(self, status, context, [&](DDS_DataWriterPathI *path) {
        DDS_Long policyCount = 0;
        for (DDS_Long count : path->incompatiblePolicyCounts) {
            policyCount += count > 0 ? 1 : 0;
        }
        if (!DDS_QosPolicyCountSeq_ensure_length(&status->policies, policyCount, policyCount)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "policies");
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        DDS_Long index = 0;
        for (uint32_t id = 0; id < DDS_WRITER_POLICY_COUNT_I; ++id) {
            if (path->incompatiblePolicyCounts[id] > 0) {
                DDS_QosPolicyCount *entry = DDS_QosPolicyCountSeq_get_reference(&status->policies, index++);
                entry->policy_id = static_cast<DDS_QosPolicyId_t>(id);
                entry->count = path->incompatiblePolicyCounts[id];
            }
        }
        status->total_count = path->incompatible.total_count;
        status->total_count_change = path->incompatible.total_count_change;
        status->last_policy_id = path->incompatible.last_policy_id;
        if (reset) {
            path->incompatible.total_count_change = 0;
        }
        return DDS_RETCODE_OK;
    });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_publication_matched_status_ex(
        DDS_DataWriter *self, struct DDS_PublicationMatchedStatus *status, DDS_Boolean reset) {
    return DDS_DataWriter_withCommunicationStatusI(self, status, "DDS_DataWriter_get_publication_matched_status",
                                      [&](DDS_DataWriterPathI *path) {
                                          *status = path->matched;
                                          if (reset) {
                                              path->matched.total_count_change = 0;
                                              path->matched.current_count_change = 0;
                                          }
                                          return DDS_RETCODE_OK;
                                      });
}

// Every delivery is synchronous and acknowledged at once: nothing is ever
// unacknowledged, so the cache never fills nor empties in the reliable
// sense and every count stays 0.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_reliable_writer_cache_changed_status_ex(
        DDS_DataWriter *self, struct DDS_ReliableWriterCacheChangedStatus *status, DDS_Boolean) {
    return DDS_DataWriter_withCommunicationStatusI(self, status, "DDS_DataWriter_get_reliable_writer_cache_changed_status",
                                      [&](DDS_DataWriterPathI *) {
                                          std::memset(status, 0, sizeof(*status));
                                          return DDS_RETCODE_OK;
                                      });
}

// Readers on the in-process wire acknowledge as they receive: none ever
// turns inactive, so every count stays 0.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_reliable_reader_activity_changed_status_ex(
        DDS_DataWriter *self, struct DDS_ReliableReaderActivityChangedStatus *status, DDS_Boolean) {
    return DDS_DataWriter_withCommunicationStatusI(self, status, "DDS_DataWriter_get_reliable_reader_activity_changed_status",
                                      [&](DDS_DataWriterPathI *) {
                                          std::memset(status, 0, sizeof(*status));
                                          return DDS_RETCODE_OK;
                                      });
}

// The samples the history keeps for late joiners and their peak (no
// change counts: `reset` has nothing to clear).
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_datawriter_cache_status_ex(DDS_DataWriter *self,
                                                                         struct DDS_DataWriterCacheStatus *status,
                                                                         DDS_Boolean) {
    return DDS_DataWriter_withStatusI(self, status, "DDS_DataWriter_get_datawriter_cache_status",
                                      [&](DDS_DataWriterPathI *path) {
                                          status->sample_count = path->sampleCount;
                                          status->sample_count_peak = path->sampleCountPeak;
                                          return DDS_RETCODE_OK;
                                      });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_datawriter_protocol_status_ex(
        DDS_DataWriter *self, struct DDS_DataWriterProtocolStatus *status, DDS_Boolean reset) {
    return DDS_DataWriter_withStatusI(self, status, "DDS_DataWriter_get_datawriter_protocol_status",
                                      [&](DDS_DataWriterPathI *path) {
                                          ZELWireCounters counters{};
                                          DDS_WriterPath_countersI(DDS_Entity_getWireI(&self->entity), path, &counters);
                                          DDS_ProtocolStatus_fillI(status, &counters, &path->protocolBase,
                                                                   reset != DDS_BOOLEAN_FALSE);
                                          return DDS_RETCODE_OK;
                                      });
}

// BAD_PARAMETER for a handle that is not of a matched subscription.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_ex(
        DDS_DataWriter *self, struct DDS_DataWriterProtocolStatus *status,
        const DDS_InstanceHandle_t *subscription_handle, DDS_Boolean reset) {
    const char *const context = "DDS_DataWriter_get_matched_subscription_datawriter_protocol_status";
    if (subscription_handle == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "subscription_handle");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_DataWriter_withStatusI(self, status, context, [&](DDS_DataWriterPathI *path) {
        ZELWire *wire = DDS_Entity_getWireI(&self->entity);
        for (DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
            const DDS_InstanceHandle_t handle = DDS_InstanceHandle_fromWireGuidI(&match->guid);
            ZELWireCounters counters{};
            if (DDS_InstanceHandle_equalsI(&handle, subscription_handle) &&
                DDS_WriterPath_matchCountersI(wire, path, &match->guid, &counters)) {
                DDS_ProtocolStatus_fillI(status, &counters, &match->base, reset != DDS_BOOLEAN_FALSE);
                return DDS_RETCODE_OK;
            }
        }
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "unknown subscription");
        return DDS_RETCODE_BAD_PARAMETER;
    });
}

// The counters of every matched reader with that locator, summed;
// BAD_PARAMETER when no matched reader has it.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_by_locator_ex(
        DDS_DataWriter *self, struct DDS_DataWriterProtocolStatus *status, const struct DDS_Locator_t *locator,
        DDS_Boolean reset) {
    const char *const context = "DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_by_locator";
    if (locator == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "locator");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_DataWriter_withStatusI(self, status, context, [&](DDS_DataWriterPathI *path) {
        ZELWire *wire = DDS_Entity_getWireI(&self->entity);
        ZELWireCounters sum{};
        ZELWireCounters baseSum{};
        bool found = false;
        for (DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
            bool hasLocator = false;
            for (uint32_t i = 0; i < match->locatorCount && !hasLocator; ++i) {
                hasLocator = DDS_Locator_matchesI(&match->locators[i], locator);
            }
            ZELWireCounters counters{};
            if (!hasLocator || !DDS_WriterPath_matchCountersI(wire, path, &match->guid, &counters)) {
                continue;
            }
            found = true;
            DDS_ProtocolStatus_addI(&sum, &counters);
            DDS_ProtocolStatus_addI(&baseSum, &match->base);
            if (reset) {
                match->base = counters;
            }
        }
        if (!found) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "unknown locator");
            return DDS_RETCODE_BAD_PARAMETER;
        }
        DDS_ProtocolStatus_fillI(status, &sum, &baseSum, false);
        return DDS_RETCODE_OK;
    });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_liveliness_lost_status(DDS_DataWriter *self,
                                                                     struct DDS_LivelinessLostStatus *status) {
    return DDS_DataWriter_get_liveliness_lost_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_deadline_missed_status(
        DDS_DataWriter *self, struct DDS_OfferedDeadlineMissedStatus *status) {
    return DDS_DataWriter_get_offered_deadline_missed_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_incompatible_qos_status(
        DDS_DataWriter *self, struct DDS_OfferedIncompatibleQosStatus *status) {
    return DDS_DataWriter_get_offered_incompatible_qos_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_publication_matched_status(
        DDS_DataWriter *self, struct DDS_PublicationMatchedStatus *status) {
    return DDS_DataWriter_get_publication_matched_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscriptions(DDS_DataWriter *self,
                                                                    struct DDS_InstanceHandleSeq *handles) {
    const char *const context = "DDS_DataWriter_get_matched_subscriptions";
    return DDS_DataWriter_withStatusI(self, handles, context, [&](DDS_DataWriterPathI *path) {
        DDS_Long count = 0;
        for (DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
            ++count;
        }
        if (!DDS_InstanceHandleSeq_ensure_length(handles, count, count)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "handles");
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        DDS_Long index = 0;
        for (DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
            *DDS_InstanceHandleSeq_get_reference(handles, index++) = DDS_InstanceHandle_fromWireGuidI(&match->guid);
        }
        return DDS_RETCODE_OK;
    });
}

// Each locator once, however many matched readers share it.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_locators(DDS_DataWriter *self,
                                                                            struct DDS_LocatorSeq *locators) {
    const char *const context = "DDS_DataWriter_get_matched_subscription_locators";
    return DDS_DataWriter_withStatusI(self, locators, context, [&](DDS_DataWriterPathI *path) {
        if (!DDS_LocatorSeq_set_length(locators, 0)) {
            return DDS_RETCODE_ERROR;
        }
        for (DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
            for (uint32_t i = 0; i < match->locatorCount; ++i) {
                const DDS_Locator_t locator = DDS_Locator_fromNetioI(&match->locators[i]);
                const DDS_Long length = DDS_LocatorSeq_get_length(locators);
                bool listed = false;
                for (DDS_Long j = 0; j < length && !listed; ++j) {
                    listed = DDS_Locator_matchesI(&match->locators[i], DDS_LocatorSeq_get_reference(locators, j));
                }
                if (listed) {
                    continue;
                }
                const DDS_Long grown = length < 4 ? 4 : length * 2;
                if ((length == DDS_LocatorSeq_get_maximum(locators) &&
                     !DDS_LocatorSeq_set_maximum(locators, grown)) ||
                    !DDS_LocatorSeq_set_length(locators, length + 1)) {
                    ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "locators");
                    return DDS_RETCODE_OUT_OF_RESOURCES;
                }
                DDS_Locator_t *slot = DDS_LocatorSeq_get_reference(locators, length);
                slot->kind = locator.kind;
                slot->_port = locator._port;
                std::memcpy(slot->address, locator.address, sizeof(slot->address));
            }
        }
        return DDS_RETCODE_OK;
    });
}

}  // extern "C"
