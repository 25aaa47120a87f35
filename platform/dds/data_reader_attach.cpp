// Attaching a reader to the wire when it is enabled, and detaching it when
// it is deleted: the type plug-in's endpoint data, the cache and the wire
// reader, and the wire's callbacks into them.
#include <cstring>
#include <new>

#include "data_reader_private.h"
#include "vurncore/heap.h"

// Frees what attach made, in reverse order; the wire reader is gone.
static void DDS_DataReaderPath_deleteI(DDS_DataReaderPathI *path) {
    DDS_ReaderCache_clearI(path);
    if (path->endpointData != nullptr) {
        if (path->plugin->onEndpointDetachedFnc != nullptr) {
            path->plugin->onEndpointDetachedFnc(path->endpointData);
        } else {
            PRESTypePluginDefaultEndpointData_delete(path->endpointData);
        }
    }
    if (path->participantData != nullptr) {
        if (path->plugin->onParticipantDetachedFnc != nullptr) {
            path->plugin->onParticipantDetachedFnc(path->participantData);
        } else {
            PRESTypePluginDefaultParticipantData_delete(path->participantData);
        }
    }
    path->~DDS_DataReaderPathI();
    ZELOsapiHeap_freeStructure(path);
}

static bool DDS_DataReaderPath_attachPluginI(DDS_DataReaderPathI *path) {
    const PRESTypePlugin *plugin = path->plugin;
    if (plugin->createSampleFnc == nullptr && plugin->onEndpointAttachedFnc == nullptr) {
        return true;  // a plug-in that cannot make samples: matches, but every sample is rejected
    }
    path->participantData = plugin->onParticipantAttachedFnc != nullptr
                                    ? plugin->onParticipantAttachedFnc(plugin)
                                    : PRESTypePluginDefaultParticipantData_new(plugin);
    if (path->participantData == nullptr) {
        return false;
    }
    PRESTypePluginEndpointInfo info{PRES_TYPEPLUGIN_ENDPOINT_READER};
    path->endpointData = plugin->onEndpointAttachedFnc != nullptr
                                 ? plugin->onEndpointAttachedFnc(path->participantData, &info)
                                 : PRESTypePluginDefaultEndpointData_new(path->participantData, &info);
    return path->endpointData != nullptr;
}

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
            // long as the process is: its lease never lapses on this wire.
            record->leaseDuration = match->remoteQos.livelinessLeaseDuration;
            if (match->remoteQos.livelinessKind == DDS_AUTOMATIC_LIVELINESS_QOS) {
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
    DDS_DomainParticipant_notifyMonitorI(entity->participant, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER,
                                         entity, match->remoteGuid.value);
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
    DDS_DomainParticipant_notifyMonitorI(entity->participant, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER,
                                         entity, match->remoteGuid.value);
}

static void DDS_DataReaderPath_onIncompatibleI(void *context, const ZELWireGuid *, uint32_t policyId) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    std::lock_guard<std::mutex> guard(path->mutex);
    path->incompatible.total_count++;
    path->incompatible.total_count_change++;
    path->incompatible.last_policy_id = static_cast<DDS_QosPolicyId_t>(policyId);
}

static ZELWireDeliveryResult DDS_DataReaderPath_onSampleI(void *context, const ZELWireSample *sample) {
    auto *path = static_cast<DDS_DataReaderPathI *>(context);
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    return DDS_ReaderCache_storeI(path, sample);
}

DDS_ReturnCode_t DDS_DataReader_attachI(DDS_DataReader *reader) {
    const char *const context = "DDS_DataReader_enable";
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_DataReaderPathI), "DRPA");
    if (memory == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "reader data path");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    auto *path = new (memory) DDS_DataReaderPathI{};
    DDS_Topic *related = DDS_TopicDescription_get_topicI(reader->topicDescription);
    path->reader = reader;
    path->plugin = &related->type->plugin;
    path->filter = DDS_ContentFilteredTopic_narrow(reader->topicDescription);
    path->keyed = path->plugin->getKeyKindFnc != nullptr && path->plugin->getKeyKindFnc() == PRES_TYPEPLUGIN_USER_KEY;
    ZELWireEndpointQos wireQos{};
    {
        DDS_EntityLockGuardI guard(&reader->entity);
        if (!guard.held()) {
            DDS_DataReaderPath_deleteI(path);
            return guard.result();
        }
        path->keepAll = reader->qos.history.kind == DDS_KEEP_ALL_HISTORY_QOS;
        path->depth = reader->qos.history.depth > 0 ? reader->qos.history.depth : 1;
        path->maxSamples = reader->qos.resource_limits.max_samples;
        path->maxInstances = reader->qos.resource_limits.max_instances;
        path->maxSamplesPerInstance = reader->qos.resource_limits.max_samples_per_instance;
        path->exclusive = reader->qos.ownership.kind == DDS_EXCLUSIVE_OWNERSHIP_QOS;
        DDS_DataReaderPath_refreshQosI(path, &reader->qos);
        wireQos = DDS_WireEndpointQos_fromReaderQosI(&reader->qos);
    }
    if (!DDS_DataReaderPath_attachPluginI(path)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "type plug-in endpoint data");
        DDS_DataReaderPath_deleteI(path);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    // A content-filtered reader subscribes to its related topic.
    ZELWireEndpointParams params{};
    params.guid = DDS_Entity_getWireGuidI(&reader->entity);
    params.topicName = related->description.name;
    params.typeName = related->description.typeName;
    params.keyed = path->keyed ? ZEL_TRUE : ZEL_FALSE;
    params.vendorSpecific = reader->entity.vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
    params.qos = wireQos;
    ZELWireReaderListener listener{};
    listener.context = path;
    listener.onMatched = DDS_DataReaderPath_onMatchedI;
    listener.onUnmatched = DDS_DataReaderPath_onUnmatchedI;
    listener.onIncompatible = DDS_DataReaderPath_onIncompatibleI;
    listener.onSample = DDS_DataReaderPath_onSampleI;
    // Callbacks may start before the creation returns: the path is in place.
    reader->path = path;
    reader->endpointData = path->endpointData;
    ZELWire *wire = DDS_Entity_getWireI(&reader->entity);
    ZELWireReader *wireReader = wire->ops->createReader(reader->entity.participant->wireParticipant, &params,
                                                        &listener);
    if (wireReader == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "wire reader");
        reader->path = nullptr;
        reader->endpointData = nullptr;
        DDS_DataReaderPath_deleteI(path);
        return DDS_RETCODE_ERROR;
    }
    {
        std::lock_guard<std::mutex> guard(path->mutex);
        path->wireReader = wireReader;
    }
    reader->wireReader = wireReader;
    return DDS_RETCODE_OK;
}

void DDS_DataReader_detachI(DDS_DataReader *reader) {
    DDS_DataReaderPathI *path = reader->path;
    if (path == nullptr) {
        return;
    }
    // Unmatches run from inside and report their events.
    DDS_Entity_getWireI(&reader->entity)->ops->deleteReader(path->wireReader);
    reader->path = nullptr;
    reader->wireReader = nullptr;
    reader->endpointData = nullptr;
    DDS_DataReaderPath_deleteI(path);
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
