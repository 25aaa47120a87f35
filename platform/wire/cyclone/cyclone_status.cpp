// Liveliness, deadlines and lost samples from Cyclone. Counts are read from
// Cyclone's statuses when the DDS layer asks; a reader's liveliness changes
// name a writer each, so its listener queues them for the match thread,
// which reports them once the reader's matches are in line (the listener
// may run on a thread that holds locks of other entities, as the match
// listeners do).
#include "cyclone_private.h"
#include "vurncore/log.h"

namespace {

void onLivelinessChanged(dds_entity_t, const dds_liveliness_changed_status_t status, void *arg) {
    auto *endpoint = static_cast<ZELCycloneEndpointI *>(arg);
    // A listener's status holds the changes since its last call: one
    // writer's. A writer that came or went is reported as a match instead.
    const bool regained = status.alive_count_change > 0 && status.not_alive_count_change < 0;
    const bool lost = status.alive_count_change < 0 && status.not_alive_count_change > 0;
    if (!regained && !lost) {
        return;
    }
    // Only the endpoint's own lock, which guards no call into Cyclone: this
    // may run while Cyclone holds the writer's locks. The request is made
    // under it, before a deletion can set `deleting` and then take the
    // endpoint out of the match thread's way.
    std::lock_guard<std::mutex> guard(endpoint->mutex);
    if (endpoint->deleting) {
        return;
    }
    try {
        endpoint->livelinessEvents.push_back({status.last_publication_handle, regained});
    } catch (...) {
        ZELLog_printContextAndMsg("ZELCycloneWire_onLivelinessChanged", &ZEL_LOG_CREATION_FAILURE_s,
                                  "liveliness change");
        return;
    }
    ZELCycloneMatchSync_requestI(&endpoint->participant->wire->matchSync, endpoint);
}

// The total count of a status read by `get`; 0 when Cyclone cannot read it
// (the entity is going away).
template <typename Status>
int64_t totalOf(dds_return_t (*get)(dds_entity_t, Status *), dds_entity_t entity) {
    Status status{};
    return get(entity, &status) == DDS_RETCODE_OK ? int64_t{status.total_count} : 0;
}

}  // namespace

void ZELCycloneStatus_setReaderListenerI(dds_listener_t *listener) {
    dds_lset_liveliness_changed(listener, onLivelinessChanged);
}

void ZELCycloneEndpoint_reportLivelinessI(ZELCycloneEndpointI *endpoint) {
    std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
    std::vector<ZELCycloneLivelinessEventI> events;
    std::vector<std::pair<ZELWireGuid, bool>> changes;
    {
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        if (endpoint->deleting) {
            return;
        }
        events.swap(endpoint->livelinessEvents);
        try {
            for (const ZELCycloneLivelinessEventI &event : events) {
                // A writer no longer matched has been reported gone.
                for (const ZELCycloneRemoteI &match : endpoint->matches) {
                    if (match.handle == event.handle) {
                        changes.emplace_back(match.guid, event.alive);
                    }
                }
            }
        } catch (...) {
            ZELLog_printContextAndMsg("ZELCycloneEndpoint_reportLivelinessI", &ZEL_LOG_CREATION_FAILURE_s,
                                      "liveliness change");
            return;
        }
    }
    const ZELWireReaderListener &listener = endpoint->readerListener;
    if (listener.onLiveliness == nullptr) {
        return;
    }
    for (const auto &[guid, alive] : changes) {
        listener.onLiveliness(listener.context, &guid, alive ? ZEL_TRUE : ZEL_FALSE);
    }
}

ZELBoolean ZELCycloneWire_assertWriterLivelinessI(ZELWireWriter *writer) {
    const dds_return_t result = dds_assert_liveliness(reinterpret_cast<ZELCycloneEndpointI *>(writer)->entity);
    if (result != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg("ZELCycloneWire_assertWriterLivelinessI", &ZEL_LOG_ANY_FAILURE_s,
                                  dds_strretcode(result));
        return ZEL_FALSE;
    }
    return ZEL_TRUE;
}

ZELBoolean ZELCycloneWire_assertParticipantLivelinessI(ZELWireParticipant *participant) {
    const dds_return_t result =
            dds_assert_liveliness(reinterpret_cast<ZELCycloneParticipantI *>(participant)->participant);
    if (result != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg("ZELCycloneWire_assertParticipantLivelinessI", &ZEL_LOG_ANY_FAILURE_s,
                                  dds_strretcode(result));
        return ZEL_FALSE;
    }
    return ZEL_TRUE;
}

void ZELCycloneWire_getWriterStatusCountsI(ZELWireWriter *writer, ZELWireStatusCounts *counts) {
    const dds_entity_t entity = reinterpret_cast<ZELCycloneEndpointI *>(writer)->entity;
    *counts = ZELWireStatusCounts{};
    counts->livelinessLostCount = totalOf(dds_get_liveliness_lost_status, entity);
    counts->offeredDeadlineMissed = totalOf(dds_get_offered_deadline_missed_status, entity);
}

void ZELCycloneWire_getReaderStatusCountsI(ZELWireReader *reader, ZELWireStatusCounts *counts) {
    const dds_entity_t entity = reinterpret_cast<ZELCycloneEndpointI *>(reader)->entity;
    *counts = ZELWireStatusCounts{};
    counts->requestedDeadlineMissed = totalOf(dds_get_requested_deadline_missed_status, entity);
    counts->sampleLostCount = totalOf(dds_get_sample_lost_status, entity);
}
