// The status reads that writers and readers share: copy-and-reset of the
// statuses their paths keep, the protocol statuses and the matched remote
// endpoints. C++ only (private to vurnc).
#ifndef VURNC_DATA_ENDPOINT_STATUS_H
#define VURNC_DATA_ENDPOINT_STATUS_H

#include <cstring>

#include "data_endpoint_private.h"

// Fills a protocol status from the counters the wire knows; `base` is what
// was counted at the last reset, moved to `current` when `reset`. A figure
// that the wire's `capabilities` do not cover is not available and stays 0,
// whatever the wire's counters hold; so do those that no wire supplies
// (heartbeats, ACKs, NACKs, GAPs, a writer's pulled sample count and send
// window, a reader's uncommitted samples and the sequence-number marks).
template <typename Status>
void DDS_ProtocolStatus_fillI(Status *status, uint32_t capabilities, const ZELWireCounters *current,
                              ZELWireCounters *base, bool reset) {
    std::memset(status, 0, sizeof(*status));
    const auto supplies = [&](uint32_t capability) { return (capabilities & capability) != 0; };
    const auto fill = [&](auto *total, auto *change, int64_t ZELWireCounters::*field, bool supplied) {
        if (supplied) {
            *total = current->*field;
            *change = current->*field - base->*field;
        }
    };
    const bool samples = supplies(ZEL_WIRE_SUPPLIES_SAMPLE_COUNTS);
    bool outcomes = false;
    if constexpr (requires { status->pushed_sample_count; }) {
        fill(&status->pushed_sample_count, &status->pushed_sample_count_change, &ZELWireCounters::sampleCount, samples);
        fill(&status->pushed_sample_bytes, &status->pushed_sample_bytes_change, &ZELWireCounters::sampleBytes, samples);
        fill(&status->pulled_sample_bytes, &status->pulled_sample_bytes_change, &ZELWireCounters::pulledSampleBytes,
             supplies(ZEL_WIRE_SUPPLIES_PULLED_BYTES));
        outcomes = supplies(ZEL_WIRE_SUPPLIES_WRITER_OUTCOMES);
    } else {
        fill(&status->received_sample_count, &status->received_sample_count_change, &ZELWireCounters::sampleCount,
             samples);
        fill(&status->received_sample_bytes, &status->received_sample_bytes_change, &ZELWireCounters::sampleBytes,
             samples);
        const bool duplicates = supplies(ZEL_WIRE_SUPPLIES_SEQUENCE_NUMBERS);
        fill(&status->duplicate_sample_count, &status->duplicate_sample_count_change,
             &ZELWireCounters::duplicateSampleCount, duplicates);
        fill(&status->duplicate_sample_bytes, &status->duplicate_sample_bytes_change,
             &ZELWireCounters::duplicateSampleBytes, duplicates);
        outcomes = supplies(ZEL_WIRE_SUPPLIES_READER_OUTCOMES);
    }
    fill(&status->filtered_sample_count, &status->filtered_sample_count_change, &ZELWireCounters::filteredSampleCount,
         outcomes);
    fill(&status->filtered_sample_bytes, &status->filtered_sample_bytes_change, &ZELWireCounters::filteredSampleBytes,
         outcomes);
    fill(&status->rejected_sample_count, &status->rejected_sample_count_change, &ZELWireCounters::rejectedSampleCount,
         outcomes);
    if (reset) {
        *base = *current;
    }
}

// Runs `copy` on the enabled endpoint's path under its mutex, brought up to
// the factory's clock first.
template <typename Endpoint, typename Copy>
DDS_ReturnCode_t DDS_Endpoint_withStatusI(Endpoint *self, const void *status, const char *context, Copy copy) {
    if (self == nullptr || status == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "status");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    // Readable from the attachment on: matches found while the endpoint is
    // being enabled are reported with their statuses.
    typename DDS_EndpointKindI<Endpoint>::Path *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    std::unique_lock<std::mutex> guard = DDS_EndpointKindI<Endpoint>::lockUpToDate(path, context);
    return copy(path);
}

// A communication status: before the endpoint is attached, the status as
// nothing has happened yet, so that a disabled endpoint can still be reported.
template <typename Endpoint, typename Status, typename Copy>
DDS_ReturnCode_t DDS_Endpoint_withCommunicationStatusI(Endpoint *self, Status *status, const char *context, Copy copy) {
    if (self != nullptr && status != nullptr && self->path.load() == nullptr) {
        DDS_Status_setInitialI(status);
        return DDS_RETCODE_OK;
    }
    return DDS_Endpoint_withStatusI(self, status, context, copy);
}

// Clears the change counts of a status that was read with reset.
template <typename Status>
void DDS_Status_clearChangesI(Status *status) {
    if constexpr (requires { status->total_count_change; }) {
        status->total_count_change = 0;
    }
    if constexpr (requires { status->current_count_change; }) {
        status->current_count_change = 0;
    }
    if constexpr (requires { status->alive_count_change; }) {
        status->alive_count_change = 0;
        status->not_alive_count_change = 0;
    }
}

// Brings a count that the path keeps in line with the wire's cumulative
// `wireTotal`: what the wire counted since is a change.
inline void DDS_Status_takeCountI(DDS_Long *total, DDS_Long *change, int64_t wireTotal) {
    const int64_t grown = wireTotal - *total;
    if (grown > 0) {
        *total += static_cast<DDS_Long>(grown);
        *change += static_cast<DDS_Long>(grown);
    }
}

// A communication status that the path keeps as it is reported; `refresh`
// first brings in what the wire counts of it, on a wire that does.
template <typename Endpoint, typename Status, typename Refresh = void (*)(typename DDS_EndpointKindI<Endpoint>::Path *)>
DDS_ReturnCode_t DDS_Endpoint_copyStatusI(Endpoint *self, Status *status,
                                          Status DDS_EndpointKindI<Endpoint>::Path::*field, DDS_Boolean reset,
                                          const char *context, Refresh refresh = nullptr) {
    return DDS_Endpoint_withCommunicationStatusI(self, status, context, [&](auto *path) {
        if (refresh != nullptr) {
            refresh(path);
        }
        *status = path->*field;
        if (reset) {
            DDS_Status_clearChangesI(&(path->*field));
        }
        return DDS_RETCODE_OK;
    });
}

// An incompatible-QoS status but for its policies, which are the caller's.
template <typename Status>
void DDS_IncompatibleQosStatus_copyI(Status *status, Status *field, DDS_Boolean reset) {
    status->total_count = field->total_count;
    status->total_count_change = field->total_count_change;
    status->last_policy_id = field->last_policy_id;
    if (reset) {
        DDS_Status_clearChangesI(field);
    }
}

// The wire's counters of the endpoint, and of one of its matches. While the
// endpoint is still being attached (its first matches are reported from
// inside the attachment) the wire has counted nothing for it yet.
template <typename Endpoint>
void DDS_EndpointPath_countersI(const ZELWireOps *ops, const typename DDS_EndpointKindI<Endpoint>::Path *path,
                                ZELWireCounters *counters) {
    using Kind = DDS_EndpointKindI<Endpoint>;
    *counters = ZELWireCounters{};
    if (path->*Kind::pathWire != nullptr) {
        (ops->*Kind::getCounters)(path->*Kind::pathWire, counters);
    }
}
template <typename Endpoint>
bool DDS_EndpointPath_matchCountersI(const ZELWireOps *ops, const typename DDS_EndpointKindI<Endpoint>::Path *path,
                                     const ZELWireGuid *remote, ZELWireCounters *counters) {
    using Kind = DDS_EndpointKindI<Endpoint>;
    *counters = ZELWireCounters{};
    return path->*Kind::pathWire == nullptr ||
           (ops->*Kind::getMatchCounters)(path->*Kind::pathWire, remote, counters) != ZEL_FALSE;
}

template <typename Endpoint, typename Status>
DDS_ReturnCode_t DDS_Endpoint_getProtocolStatusI(Endpoint *self, Status *status, DDS_Boolean reset,
                                                 const char *context) {
    return DDS_Endpoint_withStatusI(self, status, context, [&](auto *path) {
        const ZELWireOps *ops = DDS_Entity_getWireI(&self->entity)->ops;
        ZELWireCounters counters{};
        DDS_EndpointPath_countersI<Endpoint>(ops, path, &counters);
        DDS_ProtocolStatus_fillI(status, ops->capabilities, &counters, &path->protocolBase, reset != DDS_BOOLEAN_FALSE);
        return DDS_RETCODE_OK;
    });
}

// BAD_PARAMETER for a handle that is not of a matched remote endpoint.
template <typename Endpoint, typename Status>
DDS_ReturnCode_t DDS_Endpoint_getMatchProtocolStatusI(Endpoint *self, Status *status,
                                                      const DDS_InstanceHandle_t *remoteHandle, DDS_Boolean reset,
                                                      const char *context) {
    using Kind = DDS_EndpointKindI<Endpoint>;
    if (remoteHandle == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, Kind::remoteHandleName);
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_Endpoint_withStatusI(self, status, context, [&](auto *path) {
        const ZELWireOps *ops = DDS_Entity_getWireI(&self->entity)->ops;
        for (auto *match = path->matches; match != nullptr; match = match->next) {
            const DDS_InstanceHandle_t handle = DDS_InstanceHandle_fromWireGuidI(&match->guid);
            ZELWireCounters counters{};
            if (DDS_InstanceHandle_equalsI(&handle, remoteHandle) &&
                DDS_EndpointPath_matchCountersI<Endpoint>(ops, path, &match->guid, &counters)) {
                DDS_ProtocolStatus_fillI(status, ops->capabilities, &counters, &match->base,
                                         reset != DDS_BOOLEAN_FALSE);
                return DDS_RETCODE_OK;
            }
        }
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, Kind::unknownRemote);
        return DDS_RETCODE_BAD_PARAMETER;
    });
}

// The handles of the matched remote endpoints that have a record.
template <typename Endpoint>
DDS_ReturnCode_t DDS_Endpoint_getMatchedHandlesI(Endpoint *self, DDS_InstanceHandleSeq *handles, const char *context) {
    return DDS_Endpoint_withStatusI(self, handles, context, [&](auto *path) {
        DDS_Long count = 0;
        for (auto *match = path->matches; match != nullptr; match = match->next) {
            ++count;
        }
        if (!DDS_InstanceHandleSeq_ensure_length(handles, count, count)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "handles");
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        DDS_Long index = 0;
        for (auto *match = path->matches; match != nullptr; match = match->next) {
            *DDS_InstanceHandleSeq_get_reference(handles, index++) = DDS_InstanceHandle_fromWireGuidI(&match->guid);
        }
        return DDS_RETCODE_OK;
    });
}

#endif
