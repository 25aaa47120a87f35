// What a reader's path keeps of it once enabled, and the wire's callbacks
// into it: matched and unmatched writers (statuses and monitor events),
// incompatible ones, samples and writers' liveliness.
#include <cstring>

#include "data_reader_private.h"
#include "vurncore/heap.h"

static void DDS_DataReaderPath_onMatchedI(void *context, const ZELWireMatchInfo *match) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    auto *record = static_cast<DDS_ReaderMatchI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_ReaderMatchI), "DRMA"));
    if (record == nullptr) {
        // The match still counts; only its handle and protocol status are not listed.
        ZELLog_printContextAndMsg("DDS_DataReader_onMatched", &ZEL_LOG_CREATION_FAILURE_s, "match record");
    }
    {
        std::lock_guard<std::mutex> guard(path->mutex);
        DDS_DataReaderPath_catchUpI(path);
        if (record != nullptr) {
            *record = DDS_ReaderMatchI{};
            record->next = path->matches;
            record->guid = match->remoteGuid;
            // An automatic writer is asserted by its participant, alive as
            // long as the process is: its lease never lapses where the DDS
            // layer runs it. A wire that runs leases itself tells.
            record->leaseDuration = match->remoteQos.livelinessLeaseDuration;
            const uint32_t supplied = DDS_Entity_getWireI(&path->reader->entity)->ops->capabilities;
            if (match->remoteQos.livelinessKind == DDS_AUTOMATIC_LIVELINESS_QOS ||
                (supplied & ZEL_WIRE_SUPPLIES_LIVELINESS) != 0) {
                ZELNtpTime_fromNanoseconds(&record->leaseDuration, UINT64_MAX);
            }
            record->lastHeard = path->now;
            record->alive = true;
            path->matches = record;
        }
        // A writer is alive from its match on.
        DDS_LivelinessChangedStatus *liveliness = &path->liveliness;
        ++liveliness->alive_count;
        ++liveliness->alive_count_change;
        liveliness->last_publication_handle = DDS_InstanceHandle_fromWireGuidI(&match->remoteGuid);
        DDS_SubscriptionMatchedStatus *status = &path->matched;
        status->total_count++;
        status->total_count_change++;
        status->current_count++;
        status->current_count_change++;
        if (status->current_count > status->current_count_peak) {
            status->current_count_peak = status->current_count;
        }
        status->last_publication_handle = DDS_InstanceHandle_fromWireGuidI(&match->remoteGuid);
    }
    DDS_EntityImpl *entity = &path->reader->entity;
    DDS_DomainParticipant_notifyMonitorI(entity->participant, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, entity,
                                         match->remoteGuid.value);
}

static void DDS_DataReaderPath_onUnmatchedI(void *context, const ZELWireMatchInfo *match) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    {
        std::lock_guard<std::mutex> guard(path->mutex);
        path->matched.current_count--;
        path->matched.current_count_change--;
        DDS_ReaderCache_forgetWriterI(path, &match->remoteGuid);
        DDS_DataReaderPath_catchUpI(path);
        bool wasAlive = true;
        for (DDS_ReaderMatchI **link = &path->matches; *link != nullptr; link = &(*link)->next) {
            if (std::memcmp(&(*link)->guid, &match->remoteGuid, sizeof(ZELWireGuid)) == 0) {
                DDS_ReaderMatchI *record = *link;
                *link = record->next;
                wasAlive = record->alive;
                ZELOsapiHeap_freeStructure(record);
                break;
            }
        }
        DDS_LivelinessChangedStatus *liveliness = &path->liveliness;
        if (wasAlive) {
            --liveliness->alive_count;
            --liveliness->alive_count_change;
        } else {
            --liveliness->not_alive_count;
            --liveliness->not_alive_count_change;
        }
        liveliness->last_publication_handle = DDS_InstanceHandle_fromWireGuidI(&match->remoteGuid);
        DDS_DataReaderPath_releaseWriterI(path, &match->remoteGuid, true);
    }
    DDS_EntityImpl *entity = &path->reader->entity;
    DDS_DomainParticipant_notifyMonitorI(entity->participant, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER, entity,
                                         match->remoteGuid.value);
}

static void DDS_DataReaderPath_onIncompatibleI(void *context, const ZELWireGuid *, uint32_t policyId) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    std::lock_guard<std::mutex> guard(path->mutex);
    path->incompatible.total_count++;
    path->incompatible.total_count_change++;
    path->incompatible.last_policy_id = static_cast<DDS_QosPolicyId_t>(policyId);
}

static void DDS_DataReaderPath_onLivelinessI(void *context, const ZELWireGuid *writer, ZELBoolean alive) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    DDS_DataReaderPath_setWriterAliveI(path, writer, alive != ZEL_FALSE);
}

static ZELWireDeliveryResult DDS_DataReaderPath_onSampleI(void *context, const ZELWireSample *sample) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    return DDS_ReaderCache_storeI(path, sample);
}

void DDS_DataReaderPath_initializeI(DDS_DataReaderPathI *path, DDS_DataReader *reader) {
    path->reader = reader;
    path->filter = DDS_ContentFilteredTopic_narrow(reader->topicDescription);
    path->exclusive = reader->qos.ownership.kind == DDS_EXCLUSIVE_OWNERSHIP_QOS;
    DDS_DataReaderPath_refreshQosI(path, &reader->qos);
}

void DDS_DataReaderPath_fillListenerI(DDS_DataReaderPathI *path, ZELWireReaderListener *listener) {
    listener->context = path;
    listener->onMatched = DDS_DataReaderPath_onMatchedI;
    listener->onUnmatched = DDS_DataReaderPath_onUnmatchedI;
    listener->onIncompatible = DDS_DataReaderPath_onIncompatibleI;
    listener->onSample = DDS_DataReaderPath_onSampleI;
    listener->onLiveliness = DDS_DataReaderPath_onLivelinessI;
}

// Whether the reader has outstanding loans (its deletion is refused then).
bool DDS_DataReader_hasLoansI(DDS_DataReader *reader) {
    DDS_DataReaderPathI *path = reader->path;
    if (path == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    return path->loans != nullptr;
}
