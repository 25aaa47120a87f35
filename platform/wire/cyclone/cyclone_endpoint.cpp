// Writers and readers of the RTPS wire: creation, matches reported from
// Cyclone's listeners, samples in both directions, counters.
#include <dds/ddsi/ddsi_serdata.h>

#include <algorithm>
#include <new>

#include "cyclone_private.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"
#include "vurncore/osapi.h"

namespace {

ZELWireMatchInfo matchInfo(const ZELCycloneRemoteI &remote) {
    ZELWireMatchInfo info{};
    info.remoteGuid = remote.guid;
    info.remoteVendorSpecific = remote.vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
    // Cyclone tells no locators of matched endpoints.
    info.remoteLocators = nullptr;
    info.remoteLocatorCount = 0;
    info.remoteQos = remote.qos;
    return info;
}

bool sameGuid(const ZELWireGuid &a, const ZELWireGuid &b) { return std::equal(a.value, a.value + 4, b.value); }

// Whether callbacks may still reach the DDS layer [callbackMutex held].
bool endpointLive(ZELCycloneEndpointI *endpoint) {
    std::lock_guard<std::mutex> guard(endpoint->mutex);
    return !endpoint->deleting;
}

// Callbacks may come before the creation returned the entity.
void learnEntity(ZELCycloneEndpointI *endpoint, dds_entity_t entity) {
    dds_entity_t unknown = 0;
    endpoint->entity.compare_exchange_strong(unknown, entity);
}

void onMatchedStatus(ZELCycloneEndpointI *endpoint, dds_entity_t entity) {
    std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
    learnEntity(endpoint, entity);
    if (endpointLive(endpoint)) {
        ZELCycloneMatchSync_requestI(&endpoint->participant->wire->matchSync, endpoint);
    }
}

void onPublicationMatched(dds_entity_t writer, const dds_publication_matched_status_t, void *arg) {
    onMatchedStatus(static_cast<ZELCycloneEndpointI *>(arg), writer);
}

void onSubscriptionMatched(dds_entity_t reader, const dds_subscription_matched_status_t, void *arg) {
    onMatchedStatus(static_cast<ZELCycloneEndpointI *>(arg), reader);
}

// Cyclone names its own first failing policy but not the remote endpoint:
// the match thread finds the remote, which takes reading Cyclone's
// discovery data, a call a listener must not make.
void onIncompatible(ZELCycloneEndpointI *endpoint, uint32_t policyId) {
    {
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        if (endpoint->deleting) {
            return;
        }
        try {
            endpoint->incompatibleEvents.push_back(policyId);
        } catch (...) {
            ZELLog_printContextAndMsg("ZELCycloneWire_onIncompatible", &ZEL_LOG_CREATION_FAILURE_s,
                                      "incompatible match record");
            return;
        }
    }
    ZELCycloneMatchSync_requestI(&endpoint->participant->wire->matchSync, endpoint);
}

void onOfferedIncompatible(dds_entity_t, const dds_offered_incompatible_qos_status_t status, void *arg) {
    onIncompatible(static_cast<ZELCycloneEndpointI *>(arg), status.last_policy_id);
}

void onRequestedIncompatible(dds_entity_t, const dds_requested_incompatible_qos_status_t status, void *arg) {
    onIncompatible(static_cast<ZELCycloneEndpointI *>(arg), status.last_policy_id);
}

// The remote writer of a received sample, learning of it when the sample
// overtook the match [callbackMutex held].
bool remoteWriter(ZELCycloneEndpointI *endpoint, dds_instance_handle_t handle, ZELCycloneRemoteI *remote) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        {
            std::lock_guard<std::mutex> guard(endpoint->mutex);
            for (const ZELCycloneRemoteI &match : endpoint->matches) {
                if (match.handle == handle) {
                    *remote = match;
                    return true;
                }
            }
        }
        if (attempt == 0) {
            ZELCycloneEndpoint_syncMatchesI(endpoint);
        }
    }
    return false;
}

void ignoreMatch(void *, const ZELWireMatchInfo *) {}
void ignoreIncompatible(void *, const ZELWireGuid *, uint32_t) {}
ZELWireDeliveryResult ignoreSample(void *, const ZELWireSample *) { return ZEL_WIRE_DELIVERY_ACCEPTED; }

void deliver(ZELCycloneEndpointI *endpoint, const ddsi_serdata *serdata, const dds_sample_info_t &info,
             std::vector<uint8_t> *scratch) {
    ZELCycloneRemoteI remote{};
    if (!remoteWriter(endpoint, info.publication_handle, &remote)) {
        return;  // a writer no longer matched
    }
    ZELWireSample sample{};
    if (!ZELCycloneSerdata_toSampleI(serdata, &sample, scratch)) {
        ZELLog_printContextAndMsg("ZELCycloneWire_onDataAvailable", &ZEL_LOG_CREATION_FAILURE_s, "sample copy");
        return;
    }
    if (!info.valid_data) {
        // Cyclone hands over the instance's key: its serialized form when
        // the instance was first known by a dispose or unregister.
        if (info.instance_state == DDS_IST_ALIVE) {
            return;
        }
        sample.kind = info.instance_state == DDS_IST_NOT_ALIVE_DISPOSED ? ZEL_WIRE_SAMPLE_DISPOSE
                                                                        : ZEL_WIRE_SAMPLE_UNREGISTER;
    }
    sample.writerGuid = remote.guid;
    ZELNtpTime_fromNanoseconds(&sample.sourceTimestamp, static_cast<uint64_t>(info.source_timestamp));
    uint64_t now = 0;
    if (ZELOsapiClock_getRealtimeNanoseconds(&now)) {
        ZELNtpTime_fromNanoseconds(&sample.receptionTimestamp, now);
    }
    // Cyclone does not tell the RTPS sequence number.
    sample.sequenceNumber = ZEL_WIRE_SEQUENCE_NUMBER_UNKNOWN;
    sample.ownershipStrength = remote.ownershipStrength;
    sample.lifespan = remote.lifespan;
    const ZELWireDeliveryResult result = endpoint->readerListener.onSample(endpoint->readerListener.context, &sample);
    std::lock_guard<std::mutex> guard(endpoint->mutex);
    ZELWireCounters_addI(&endpoint->counters, sample.size, result);
    for (ZELCycloneRemoteI &match : endpoint->matches) {
        if (match.handle == info.publication_handle) {
            ZELWireCounters_addI(&match.counters, sample.size, result);
        }
    }
}

void onDataAvailable(dds_entity_t reader, void *arg) {
    auto *endpoint = static_cast<ZELCycloneEndpointI *>(arg);
    std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
    learnEntity(endpoint, reader);
    if (!endpointLive(endpoint)) {
        return;
    }
    std::vector<uint8_t> scratch;
    for (;;) {
        ddsi_serdata *serdata = nullptr;
        dds_sample_info_t info{};
        if (dds_takecdr(reader, &serdata, 1, &info, DDS_ANY_STATE) != 1) {
            return;
        }
        deliver(endpoint, serdata, info, &scratch);
        ddsi_serdata_unref(serdata);
    }
}

// The participant's topic entity of the endpoint's topic and type, made by
// its first user; false (logged) when it could not be made.
bool topicAcquire(ZELCycloneEndpointI *endpoint, const ZELWireEndpointParams *params, const char *context) {
    ZELCycloneParticipantI *participant = endpoint->participant;
    try {
        endpoint->topicName = params->topicName;
        endpoint->typeName = params->typeName;
        endpoint->topicKey = endpoint->topicName + '\n' + endpoint->typeName + (endpoint->keyed ? "\nK" : "");
        std::lock_guard<std::mutex> guard(participant->mutex);
        const auto [shared, added] = participant->cycloneTopics.try_emplace(endpoint->topicKey);
        if (!added) {
            ++shared->second.users;
            endpoint->topic = shared->second.topic;
            endpoint->sertype = shared->second.sertype;
            return true;
        }
        ddsi_sertype *sertype = ZELCycloneSertype_newI(params->typeName, endpoint->keyed);
        // Cyclone owns the sertype from here on, or gives back its equal.
        const dds_entity_t topic = sertype == nullptr
                                           ? 0
                                           : dds_create_topic_sertype(participant->participant, params->topicName,
                                                                      &sertype, nullptr, nullptr, nullptr);
        if (topic <= 0) {
            participant->cycloneTopics.erase(shared);
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s,
                                      sertype == nullptr ? "sertype" : dds_strretcode(topic));
            return false;
        }
        shared->second = {topic, sertype, 1};
        endpoint->topic = topic;
        endpoint->sertype = sertype;
        return true;
    } catch (...) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "topic record");
        return false;
    }
}

// The last user of a topic entity deletes it.
void topicRelease(ZELCycloneEndpointI *endpoint) {
    ZELCycloneParticipantI *participant = endpoint->participant;
    std::lock_guard<std::mutex> guard(participant->mutex);
    const auto shared = participant->cycloneTopics.find(endpoint->topicKey);
    if (shared != participant->cycloneTopics.end() && --shared->second.users == 0) {
        dds_delete(shared->second.topic);
        participant->cycloneTopics.erase(shared);
    }
}

void endpointFree(ZELCycloneEndpointI *endpoint) {
    dds_delete_statistics(endpoint->statistics);
    if (endpoint->entity > 0) {
        dds_delete(endpoint->entity);
    }
    if (endpoint->topic > 0) {
        topicRelease(endpoint);
    }
    {
        // Cyclone's delete returns once no listener runs any more; taking
        // the lock those listeners took orders their last touch of the
        // endpoint before it is freed.
        std::lock_guard<std::recursive_mutex> settled(endpoint->callbackMutex);
    }
    endpoint->~ZELCycloneEndpointI();
    ZELOsapiHeap_freeStructure(endpoint);
}

ZELCycloneEndpointI *endpointCreate(ZELWireParticipant *handle, const ZELWireEndpointParams *params, bool isWriter,
                                    const ZELWireWriterListener *writerListener,
                                    const ZELWireReaderListener *readerListener) {
    const char *const context = isWriter ? "ZELCycloneWire_createWriterI" : "ZELCycloneWire_createReaderI";
    auto *participant = reinterpret_cast<ZELCycloneParticipantI *>(handle);
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(ZELCycloneEndpointI), "WCYE");
    if (memory == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELCycloneEndpointI)));
        return nullptr;
    }
    auto *endpoint = new (memory) ZELCycloneEndpointI();
    endpoint->entity = 0;
    endpoint->isWriter = isWriter;
    endpoint->keyed = params->keyed != ZEL_FALSE;
    endpoint->participant = participant;
    endpoint->guid = params->guid;
    endpoint->qos = params->qos;
    endpoint->statistics = nullptr;
    endpoint->deleting = false;
    // A listener may leave out what it does not want to hear, as on the
    // in-process wire: the missing calls do nothing.
    if (isWriter) {
        endpoint->writerListener = *writerListener;
        ZELWireWriterListener &listener = endpoint->writerListener;
        listener.onMatched = listener.onMatched != nullptr ? listener.onMatched : ignoreMatch;
        listener.onUnmatched = listener.onUnmatched != nullptr ? listener.onUnmatched : ignoreMatch;
        listener.onIncompatible = listener.onIncompatible != nullptr ? listener.onIncompatible : ignoreIncompatible;
    } else {
        endpoint->readerListener = *readerListener;
        ZELWireReaderListener &listener = endpoint->readerListener;
        listener.onMatched = listener.onMatched != nullptr ? listener.onMatched : ignoreMatch;
        listener.onUnmatched = listener.onUnmatched != nullptr ? listener.onUnmatched : ignoreMatch;
        listener.onIncompatible = listener.onIncompatible != nullptr ? listener.onIncompatible : ignoreIncompatible;
        listener.onSample = listener.onSample != nullptr ? listener.onSample : ignoreSample;
    }
    endpoint->topic = 0;
    if (!topicAcquire(endpoint, params, context)) {
        endpointFree(endpoint);
        return nullptr;
    }
    dds_qos_t *qos = ZELCycloneQos_fromEndpointI(params, isWriter);
    dds_listener_t *listener = dds_create_listener(endpoint);
    if (qos == nullptr || listener == nullptr) {
        dds_delete_qos(qos);
        dds_delete_listener(listener);
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "listener");
        endpointFree(endpoint);
        return nullptr;
    }
    if (isWriter) {
        dds_lset_publication_matched(listener, onPublicationMatched);
        dds_lset_offered_incompatible_qos(listener, onOfferedIncompatible);
        learnEntity(endpoint, dds_create_writer(participant->participant, endpoint->topic, qos, listener));
    } else {
        dds_lset_subscription_matched(listener, onSubscriptionMatched);
        dds_lset_requested_incompatible_qos(listener, onRequestedIncompatible);
        dds_lset_data_available(listener, onDataAvailable);
        ZELCycloneStatus_setReaderListenerI(listener);
        learnEntity(endpoint, dds_create_reader(participant->participant, endpoint->topic, qos, listener));
    }
    dds_delete_qos(qos);
    dds_delete_listener(listener);
    if (endpoint->entity < 0) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, dds_strretcode(endpoint->entity));
        endpoint->entity = 0;
        endpointFree(endpoint);
        return nullptr;
    }
    if (isWriter) {
        endpoint->statistics = dds_create_statistics(endpoint->entity);
        if (endpoint->statistics == nullptr) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "statistics");
            endpointFree(endpoint);
            return nullptr;
        }
    }
    {
        // Matches made before the entity was known are reported now.
        std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
        ZELCycloneEndpoint_syncMatchesI(endpoint);
    }
    std::lock_guard<std::mutex> guard(participant->mutex);
    ++participant->endpointCount;
    return endpoint;
}

void endpointDelete(ZELCycloneEndpointI *endpoint) {
    {
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        endpoint->deleting = true;
    }
    std::vector<ZELCycloneRemoteI> lost;
    {
        // Waits for a callback under way; none reaches the DDS layer after.
        std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        lost.swap(endpoint->matches);
    }
    // No listener queues it any more: take it out of the match thread's way.
    ZELCycloneMatchSync_forgetI(&endpoint->participant->wire->matchSync, endpoint);
    for (const ZELCycloneRemoteI &remote : lost) {
        const ZELWireMatchInfo info = matchInfo(remote);
        if (endpoint->isWriter) {
            endpoint->writerListener.onUnmatched(endpoint->writerListener.context, &info);
        } else {
            endpoint->readerListener.onUnmatched(endpoint->readerListener.context, &info);
        }
    }
    ZELCycloneParticipantI *participant = endpoint->participant;
    endpointFree(endpoint);
    std::lock_guard<std::mutex> guard(participant->mutex);
    --participant->endpointCount;
}

ZELBoolean matchCounters(ZELCycloneEndpointI *endpoint, const ZELWireGuid *remote, ZELWireCounters *counters) {
    std::lock_guard<std::mutex> guard(endpoint->mutex);
    for (const ZELCycloneRemoteI &match : endpoint->matches) {
        if (sameGuid(match.guid, *remote)) {
            *counters = match.counters;
            return ZEL_TRUE;
        }
    }
    return ZEL_FALSE;
}

}  // namespace

void ZELCycloneEndpoint_syncMatchesIfLiveI(ZELCycloneEndpointI *endpoint) {
    std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
    if (endpointLive(endpoint)) {
        ZELCycloneEndpoint_syncMatchesI(endpoint);
    }
}

void ZELCycloneEndpoint_syncMatchesI(ZELCycloneEndpointI *endpoint) {
    std::vector<dds_instance_handle_t> handles;
    std::vector<ZELCycloneRemoteI> found, lost;
    try {
        handles.resize(16);
        for (;;) {
            const dds_return_t n =
                    endpoint->isWriter ? dds_get_matched_subscriptions(endpoint->entity, handles.data(), handles.size())
                                       : dds_get_matched_publications(endpoint->entity, handles.data(), handles.size());
            if (n < 0) {
                return;  // the entity is going away
            }
            if (static_cast<size_t>(n) <= handles.size()) {
                handles.resize(static_cast<size_t>(n));
                break;
            }
            handles.resize(static_cast<size_t>(n));
        }
        {
            std::lock_guard<std::mutex> guard(endpoint->mutex);
            auto gone = std::stable_partition(
                    endpoint->matches.begin(), endpoint->matches.end(), [&](const ZELCycloneRemoteI &match) {
                        return std::find(handles.begin(), handles.end(), match.handle) != handles.end();
                    });
            lost.assign(gone, endpoint->matches.end());
            endpoint->matches.erase(gone, endpoint->matches.end());
            handles.erase(std::remove_if(handles.begin(), handles.end(),
                                         [&](dds_instance_handle_t handle) {
                                             return std::any_of(endpoint->matches.begin(), endpoint->matches.end(),
                                                                [&](const ZELCycloneRemoteI &match) {
                                                                    return match.handle == handle;
                                                                });
                                         }),
                          handles.end());
        }
        for (dds_instance_handle_t handle : handles) {
            dds_builtintopic_endpoint_t *data = endpoint->isWriter
                                                        ? dds_get_matched_subscription_data(endpoint->entity, handle)
                                                        : dds_get_matched_publication_data(endpoint->entity, handle);
            if (data == nullptr) {
                continue;
            }
            ZELCycloneRemoteI remote{};
            remote.handle = handle;
            ZELCycloneGuid_fromQosI(data->qos, &data->key, &remote.guid, &remote.vendorSpecific);
            ZELCycloneRemote_fromQosI(data->qos, &remote);
            dds_builtintopic_free_endpoint(data);
            found.push_back(remote);
        }
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        endpoint->matches.insert(endpoint->matches.end(), found.begin(), found.end());
    } catch (...) {
        ZELLog_printContextAndMsg("ZELCycloneEndpoint_syncMatchesI", &ZEL_LOG_CREATION_FAILURE_s, "match record");
        return;
    }
    for (const ZELCycloneRemoteI &remote : lost) {
        const ZELWireMatchInfo info = matchInfo(remote);
        if (endpoint->isWriter) {
            endpoint->writerListener.onUnmatched(endpoint->writerListener.context, &info);
        } else {
            endpoint->readerListener.onUnmatched(endpoint->readerListener.context, &info);
        }
    }
    for (const ZELCycloneRemoteI &remote : found) {
        const ZELWireMatchInfo info = matchInfo(remote);
        if (endpoint->isWriter) {
            endpoint->writerListener.onMatched(endpoint->writerListener.context, &info);
        } else {
            endpoint->readerListener.onMatched(endpoint->readerListener.context, &info);
        }
    }
}

ZELWireWriter *ZELCycloneWire_createWriterI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                            const ZELWireWriterListener *listener) {
    return reinterpret_cast<ZELWireWriter *>(endpointCreate(participant, params, true, listener, nullptr));
}

void ZELCycloneWire_deleteWriterI(ZELWireWriter *writer) {
    endpointDelete(reinterpret_cast<ZELCycloneEndpointI *>(writer));
}

ZELWireReader *ZELCycloneWire_createReaderI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                            const ZELWireReaderListener *listener) {
    return reinterpret_cast<ZELWireReader *>(endpointCreate(participant, params, false, nullptr, listener));
}

void ZELCycloneWire_deleteReaderI(ZELWireReader *reader) {
    endpointDelete(reinterpret_cast<ZELCycloneEndpointI *>(reader));
}

ZELWireWriteResult ZELCycloneWire_writeI(ZELWireWriter *handle, const ZELWireSample *sample) {
    const char *const context = "ZELCycloneWire_writeI";
    auto *endpoint = reinterpret_cast<ZELCycloneEndpointI *>(handle);
    if (!endpoint->keyed && sample->kind != ZEL_WIRE_SAMPLE_DATA) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "keyless writer");
        return ZEL_WIRE_WRITE_FAILED;
    }
    ddsi_serdata *serdata = ZELCycloneSerdata_fromSampleI(endpoint->sertype, sample);
    if (serdata == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "serdata");
        return ZEL_WIRE_WRITE_FAILED;
    }
    // Keeps the sample's own timestamp and status info; takes the reference.
    // A reliable writer blocks while its readers have not acknowledged
    // enough of what it sent, and gives up after its blocking time.
    const dds_return_t result = dds_forwardcdr(endpoint->entity, serdata);
    if (result == DDS_RETCODE_TIMEOUT) {
        return ZEL_WIRE_WRITE_TIMED_OUT;
    }
    if (result != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, dds_strretcode(result));
        return ZEL_WIRE_WRITE_FAILED;
    }
    // Once for each reader it went to, as far as the matches are known.
    std::lock_guard<std::mutex> guard(endpoint->mutex);
    for (ZELCycloneRemoteI &match : endpoint->matches) {
        ZELWireCounters_addI(&endpoint->counters, sample->size, ZEL_WIRE_DELIVERY_ACCEPTED);
        ZELWireCounters_addI(&match.counters, sample->size, ZEL_WIRE_DELIVERY_ACCEPTED);
    }
    return ZEL_WIRE_WRITE_DONE;
}

// Cyclone keeps the durable history itself and replays it: the DDS layer is
// never asked to.
ZELBoolean ZELCycloneWire_writeReplayI(ZELWireWriter *, ZELWireReplay *, const ZELWireSample *) {
    ZELLog_printContextAndMsg("ZELCycloneWire_writeReplayI", &ZEL_LOG_PRECONDITION_NOT_MET_s, "no replay");
    return ZEL_FALSE;
}

void ZELCycloneWire_replayDoneI(ZELWireWriter *, ZELWireReplay *) {}

void ZELCycloneWire_getWriterCountersI(ZELWireWriter *writer, ZELWireCounters *counters) {
    auto *endpoint = reinterpret_cast<ZELCycloneEndpointI *>(writer);
    {
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        *counters = endpoint->counters;
    }
    // A refresh reads this writer's figures only, under its Cyclone lock;
    // when it fails the values of the last one stay, so the count never
    // goes back.
    std::lock_guard<std::mutex> guard(endpoint->statisticsMutex);
    dds_refresh_statistics(endpoint->statistics);
    const dds_stat_keyvalue *rexmit = dds_lookup_statistic(endpoint->statistics, "rexmit_bytes");
    if (rexmit != nullptr && rexmit->kind == DDS_STAT_KIND_UINT64) {
        counters->pulledSampleBytes = static_cast<int64_t>(rexmit->u.u64);
    }
}

void ZELCycloneWire_getReaderCountersI(ZELWireReader *reader, ZELWireCounters *counters) {
    auto *endpoint = reinterpret_cast<ZELCycloneEndpointI *>(reader);
    std::lock_guard<std::mutex> guard(endpoint->mutex);
    *counters = endpoint->counters;
}

ZELBoolean ZELCycloneWire_getWriterMatchCountersI(ZELWireWriter *writer, const ZELWireGuid *reader,
                                                  ZELWireCounters *counters) {
    return matchCounters(reinterpret_cast<ZELCycloneEndpointI *>(writer), reader, counters);
}

ZELBoolean ZELCycloneWire_getReaderMatchCountersI(ZELWireReader *reader, const ZELWireGuid *writer,
                                                  ZELWireCounters *counters) {
    return matchCounters(reinterpret_cast<ZELCycloneEndpointI *>(reader), writer, counters);
}

void ZELCycloneEndpoint_reportIncompatibleI(ZELCycloneEndpointI *endpoint) {
    const char *const context = "ZELCycloneEndpoint_reportIncompatibleI";
    std::lock_guard<std::recursive_mutex> callbacks(endpoint->callbackMutex);
    std::vector<uint32_t> events;
    {
        std::lock_guard<std::mutex> guard(endpoint->mutex);
        if (endpoint->deleting) {
            return;
        }
        events.swap(endpoint->incompatibleEvents);
    }
    if (events.empty()) {
        return;
    }
    // Each event names the next remote found incompatible and not named
    // before; when the search fails, the events go as Cyclone told them.
    std::vector<std::pair<ZELWireGuid, uint32_t>> named;
    try {
        const auto candidates = ZELCycloneParticipant_incompatibleRemotesI(endpoint->participant, endpoint);
        auto next = candidates.begin();
        for (const uint32_t policyId : events) {
            while (next != candidates.end() &&
                   std::any_of(endpoint->incompatibleRemotes.begin(), endpoint->incompatibleRemotes.end(),
                               [&next](const ZELWireGuid &known) { return sameGuid(known, next->first); })) {
                ++next;
            }
            if (next == candidates.end()) {
                named.emplace_back(ZELWireGuid{}, policyId);
            } else {
                endpoint->incompatibleRemotes.push_back(next->first);
                named.push_back(*next++);
            }
        }
    } catch (...) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "incompatible remote record");
        named.clear();
    }
    const ZELWireGuid unknown{};
    for (size_t i = 0; i < events.size(); ++i) {
        const bool found = i < named.size();
        const ZELWireGuid *remote = found ? &named[i].first : &unknown;
        const uint32_t policyId = found ? named[i].second : events[i];
        if (endpoint->isWriter) {
            endpoint->writerListener.onIncompatible(endpoint->writerListener.context, remote, policyId);
        } else {
            endpoint->readerListener.onIncompatible(endpoint->readerListener.context, remote, policyId);
        }
    }
}
