// A writer's statuses, its matched subscriptions and their locators, and
// its liveliness assertions. Deadlines and liveliness leases are counted
// lazily: whenever a write or a status getter runs, against the factory's
// clock, unless the wire counts them (then a status getter takes its
// counts).
#include <cstring>

#include "data_endpoint_status.h"

void DDS_DataWriterPath_checkDeadlinesI(DDS_DataWriterPathI *path, const ZELNtpTime *now) {
    const uint32_t supplied = DDS_Entity_getWireI(&path->writer->entity)->ops->capabilities;
    // Without a deadline no instance can miss one: a writer of many
    // instances then pays nothing per write. Where the wire counts the
    // misses, the path still names the last instance that missed one.
    const bool hasDeadline = !ZELNtpTime_isInfinite(&path->deadline);
    const bool countsDeadlines = (supplied & ZEL_WIRE_SUPPLIES_DEADLINES) == 0;
    for (DDS_WriterInstanceI *instance = hasDeadline ? path->instances : nullptr; instance != nullptr;
         instance = instance->next) {
        const int64_t periods = DDS_NtpTime_periodsSinceI(&instance->lastWrite, now, &path->deadline);
        if (periods > instance->missedDeadlines) {
            const auto missed = static_cast<DDS_Long>(periods - instance->missedDeadlines);
            if (countsDeadlines) {
                path->deadlineMissed.total_count += missed;
                path->deadlineMissed.total_count_change += missed;
            }
            path->deadlineMissed.last_instance_handle = DDS_InstanceHandle_fromKeyHashI(instance->keyHash);
            instance->missedDeadlines = periods;
        }
    }
    // An automatic writer is asserted by its participant, which is alive as
    // long as the process is: it never loses liveliness where the DDS layer
    // runs the lease.
    if ((supplied & ZEL_WIRE_SUPPLIES_LIVELINESS) == 0 && path->manualLiveliness && !path->livelinessLost &&
        DDS_NtpTime_periodsSinceI(&path->lastAssertion, now, &path->leaseDuration) > 0) {
        path->livelinessLost = true;
        ++path->liveliness.total_count;
        ++path->liveliness.total_count_change;
    }
}

std::unique_lock<std::mutex> DDS_DataWriterPath_lockUpToDateI(DDS_DataWriterPathI *path, const char *context) {
    std::unique_lock<std::mutex> guard(path->mutex);
    // Only deadlines, manual liveliness and lifespans change with time: the
    // statuses of most writers are read without asking the clock.
    const bool timed = !ZELNtpTime_isInfinite(&path->deadline) || path->manualLiveliness ||
                       !ZELNtpTime_isInfinite(&path->lifespan);
    ZELNtpTime now{};
    if (timed && DDS_DomainParticipantFactory_getNowI(path->writer->entity.participant->factory, &now, context)) {
        DDS_DataWriterPath_checkDeadlinesI(path, &now);
        DDS_WriterHistory_expireI(path, &now);
    }
    return guard;
}

namespace {

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

// The counts that the wire keeps for the writer, where it keeps them
// [path mutex held].
void DDS_DataWriterPath_takeWireCountsI(DDS_DataWriterPathI *path) {
    const ZELWireOps *ops = DDS_Entity_getWireI(&path->writer->entity)->ops;
    if (ops->getWriterStatusCounts == nullptr || path->wireWriter == nullptr) {
        return;
    }
    ZELWireStatusCounts counts{};
    ops->getWriterStatusCounts(path->wireWriter, &counts);
    if ((ops->capabilities & ZEL_WIRE_SUPPLIES_LIVELINESS) != 0) {
        DDS_Status_takeCountI(&path->liveliness.total_count, &path->liveliness.total_count_change,
                              counts.livelinessLostCount);
    }
    if ((ops->capabilities & ZEL_WIRE_SUPPLIES_DEADLINES) != 0) {
        DDS_Status_takeCountI(&path->deadlineMissed.total_count, &path->deadlineMissed.total_count_change,
                              counts.offeredDeadlineMissed);
    }
}

// Asserts the writer's liveliness where the DDS layer runs its lease: a
// lease that lapsed before counts first.
void DDS_DataWriterPath_assertI(DDS_DataWriterPathI *path, const char *context) {
    std::lock_guard<std::mutex> guard(path->mutex);
    ZELNtpTime now{};
    if (DDS_DomainParticipantFactory_getNowI(path->writer->entity.participant->factory, &now, context)) {
        DDS_DataWriterPath_checkDeadlinesI(path, &now);
        path->lastAssertion = now;
        path->livelinessLost = false;
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
    sum->pulledSampleBytes += counters->pulledSampleBytes;
}
}  // namespace

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataWriter_assert_liveliness(DDS_DataWriter *self) {
    const char *const context = "DDS_DataWriter_assert_liveliness";
    if (self == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DataWriterPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    DDS_DataWriterPath_assertI(path, context);
    // An automatic writer is asserted by its participant: nothing to tell
    // the wire.
    const ZELWireOps *ops = DDS_Entity_getWireI(&self->entity)->ops;
    if (path->manualLiveliness && ops->assertWriterLiveliness != nullptr && path->wireWriter != nullptr &&
        !ops->assertWriterLiveliness(path->wireWriter)) {
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_assert_liveliness(DDS_DomainParticipant *self) {
    const char *const context = "DDS_DomainParticipant_assert_liveliness";
    if (self == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!self->entity.enabled) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    {
        // The participant's lock keeps its publishers and their writers.
        DDS_EntityLockGuardI guard(&self->entity);
        for (DDS_EntityListNodeI *node = self->publishers.head; node != nullptr; node = node->next) {
            auto *publisher = DDS_EntityList_entryI<DDS_PublisherImpl>(node);
            for (DDS_EntityListNodeI *entry = publisher->writers.head; entry != nullptr; entry = entry->next) {
                auto *writer = DDS_EntityList_entryI<DDS_DataWriter>(entry);
                DDS_EntityLockGuardI writerGuard(&writer->entity);
                DDS_DataWriterPathI *path = writer->path;
                if (path != nullptr && writer->qos.liveliness.kind == DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS) {
                    DDS_DataWriterPath_assertI(path, context);
                }
            }
        }
    }
    const ZELWireOps *ops = DDS_Entity_getWireI(&self->entity)->ops;
    if (ops->assertParticipantLiveliness != nullptr && !ops->assertParticipantLiveliness(self->wireParticipant)) {
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_liveliness_lost_status_ex(DDS_DataWriter *self,
                                                                        struct DDS_LivelinessLostStatus *status,
                                                                        DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataWriterPathI::liveliness, reset,
                                    "DDS_DataWriter_get_liveliness_lost_status", DDS_DataWriterPath_takeWireCountsI);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_deadline_missed_status_ex(
        DDS_DataWriter *self, struct DDS_OfferedDeadlineMissedStatus *status, DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataWriterPathI::deadlineMissed, reset,
                                    "DDS_DataWriter_get_offered_deadline_missed_status",
                                    DDS_DataWriterPath_takeWireCountsI);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_incompatible_qos_status_ex(
        DDS_DataWriter *self, struct DDS_OfferedIncompatibleQosStatus *status, DDS_Boolean reset) {
    const char *const context = "DDS_DataWriter_get_offered_incompatible_qos_status";
    return DDS_Endpoint_withCommunicationStatusI(self, status, context, [&](DDS_DataWriterPathI *path) {
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
        DDS_IncompatibleQosStatus_copyI(status, &path->incompatible, reset);
        return DDS_RETCODE_OK;
    });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_publication_matched_status_ex(DDS_DataWriter *self,
                                                                            struct DDS_PublicationMatchedStatus *status,
                                                                            DDS_Boolean reset) {
    return DDS_Endpoint_copyStatusI(self, status, &DDS_DataWriterPathI::matched, reset,
                                    "DDS_DataWriter_get_publication_matched_status");
}

// Every delivery is synchronous and acknowledged at once: nothing is ever
// unacknowledged, so the cache never fills nor empties in the reliable
// sense and every count stays 0.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_reliable_writer_cache_changed_status_ex(
        DDS_DataWriter *self, struct DDS_ReliableWriterCacheChangedStatus *status, DDS_Boolean) {
    const char *const context = "DDS_DataWriter_get_reliable_writer_cache_changed_status";
    return DDS_Endpoint_withCommunicationStatusI(self, status, context, [&](DDS_DataWriterPathI *) {
        std::memset(status, 0, sizeof(*status));
        return DDS_RETCODE_OK;
    });
}

// Readers on the in-process wire acknowledge as they receive: none ever
// turns inactive, so every count stays 0.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_reliable_reader_activity_changed_status_ex(
        DDS_DataWriter *self, struct DDS_ReliableReaderActivityChangedStatus *status, DDS_Boolean) {
    const char *const context = "DDS_DataWriter_get_reliable_reader_activity_changed_status";
    return DDS_Endpoint_withCommunicationStatusI(self, status, context, [&](DDS_DataWriterPathI *) {
        std::memset(status, 0, sizeof(*status));
        return DDS_RETCODE_OK;
    });
}

// The samples the history keeps for late joiners and their peak (no
// change counts: `reset` has nothing to clear).
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_datawriter_cache_status_ex(DDS_DataWriter *self,
                                                                         struct DDS_DataWriterCacheStatus *status,
                                                                         DDS_Boolean) {
    return DDS_Endpoint_withStatusI(self, status, "DDS_DataWriter_get_datawriter_cache_status",
                                    [&](DDS_DataWriterPathI *path) {
                                        status->sample_count = path->sampleCount;
                                        status->sample_count_peak = path->sampleCountPeak;
                                        return DDS_RETCODE_OK;
                                    });
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_datawriter_protocol_status_ex(DDS_DataWriter *self,
                                                                            struct DDS_DataWriterProtocolStatus *status,
                                                                            DDS_Boolean reset) {
    return DDS_Endpoint_getProtocolStatusI(self, status, reset, "DDS_DataWriter_get_datawriter_protocol_status");
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_ex(
        DDS_DataWriter *self, struct DDS_DataWriterProtocolStatus *status,
        const DDS_InstanceHandle_t *subscription_handle, DDS_Boolean reset) {
    return DDS_Endpoint_getMatchProtocolStatusI(self, status, subscription_handle, reset,
                                                "DDS_DataWriter_get_matched_subscription_datawriter_protocol_status");
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
    return DDS_Endpoint_withStatusI(self, status, context, [&](DDS_DataWriterPathI *path) {
        const ZELWireOps *ops = DDS_Entity_getWireI(&self->entity)->ops;
        ZELWireCounters sum{};
        ZELWireCounters baseSum{};
        bool found = false;
        for (DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
            bool hasLocator = false;
            for (uint32_t i = 0; i < match->locatorCount && !hasLocator; ++i) {
                hasLocator = DDS_Locator_matchesI(&match->locators[i], locator);
            }
            ZELWireCounters counters{};
            if (!hasLocator || !DDS_EndpointPath_matchCountersI<DDS_DataWriter>(ops, path, &match->guid, &counters)) {
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
        DDS_ProtocolStatus_fillI(status, ops->capabilities, &sum, &baseSum, false);
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

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_publication_matched_status(DDS_DataWriter *self,
                                                                         struct DDS_PublicationMatchedStatus *status) {
    return DDS_DataWriter_get_publication_matched_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscriptions(DDS_DataWriter *self,
                                                                    struct DDS_InstanceHandleSeq *handles) {
    return DDS_Endpoint_getMatchedHandlesI(self, handles, "DDS_DataWriter_get_matched_subscriptions");
}

// Each locator once, however many matched readers share it.
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_locators(DDS_DataWriter *self,
                                                                            struct DDS_LocatorSeq *locators) {
    const char *const context = "DDS_DataWriter_get_matched_subscription_locators";
    return DDS_Endpoint_withStatusI(self, locators, context, [&](DDS_DataWriterPathI *path) {
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
                if ((length == DDS_LocatorSeq_get_maximum(locators) && !DDS_LocatorSeq_set_maximum(locators, grown)) ||
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
