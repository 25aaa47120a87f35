// A reader's QoS applied to what arrives and as time passes: content
// filter, time-based filter, exclusive ownership, the writers' liveliness
// and the instances they keep alive, requested deadlines and the lifespan
// of samples. Like the writer's deadlines, time-driven changes are counted
// lazily against the factory's clock, whenever a sample arrives or a
// status getter runs.
#include <algorithm>
#include <cstring>

#include "data_reader_private.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/heap.h"

static bool DDS_WireGuid_equalsI(const ZELWireGuid *left, const ZELWireGuid *right) {
    return std::memcmp(left, right, sizeof(ZELWireGuid)) == 0;
}

static DDS_ReaderMatchI *DDS_DataReaderPath_findMatchI(DDS_DataReaderPathI *path, const ZELWireGuid *guid) {
    for (DDS_ReaderMatchI *match = path->matches; match != nullptr; match = match->next) {
        if (DDS_WireGuid_equalsI(&match->guid, guid)) {
            return match;
        }
    }
    return nullptr;
}

static bool DDS_ReaderInstance_hasWriterI(const DDS_ReaderInstanceI *instance, const ZELWireGuid *guid) {
    for (const DDS_ReaderInstanceWriterI *writer = instance->writers; writer != nullptr; writer = writer->next) {
        if (DDS_WireGuid_equalsI(&writer->guid, guid)) {
            return true;
        }
    }
    return false;
}

static void DDS_ReaderInstance_removeWriterI(DDS_ReaderInstanceI *instance, const ZELWireGuid *guid) {
    for (DDS_ReaderInstanceWriterI **link = &instance->writers; *link != nullptr; link = &(*link)->next) {
        if (DDS_WireGuid_equalsI(&(*link)->guid, guid)) {
            DDS_ReaderInstanceWriterI *writer = *link;
            *link = writer->next;
            ZELOsapiHeap_freeStructure(writer);
            return;
        }
    }
}

// Whether one of the instance's writers is alive. A writer the reader
// keeps no match record of (out of heap at its match) counts as alive.
static bool DDS_ReaderInstance_hasAliveWriterI(DDS_DataReaderPathI *path, const DDS_ReaderInstanceI *instance) {
    for (const DDS_ReaderInstanceWriterI *writer = instance->writers; writer != nullptr; writer = writer->next) {
        const DDS_ReaderMatchI *match = DDS_DataReaderPath_findMatchI(path, &writer->guid);
        if (match == nullptr || match->alive) {
            return true;
        }
    }
    return false;
}

// Whether the sample's writer takes the instance from its owner: a higher
// strength, or an equal one and the smaller GUID, so that every reader
// picks the same owner.
static bool DDS_ReaderInstance_outrankedByI(const DDS_ReaderInstanceI *instance, const ZELWireSample *sample) {
    if (sample->ownershipStrength != instance->ownerStrength) {
        return sample->ownershipStrength > instance->ownerStrength;
    }
    return std::memcmp(&sample->writerGuid, &instance->owner, sizeof(ZELWireGuid)) < 0;
}

static void DDS_DataReaderPath_noteLivelinessI(DDS_DataReaderPathI *path, const ZELWireGuid *guid, bool alive) {
    DDS_LivelinessChangedStatus *status = &path->liveliness;
    const DDS_Long step = alive ? 1 : -1;
    status->alive_count += step;
    status->alive_count_change += step;
    status->not_alive_count -= step;
    status->not_alive_count_change -= step;
    status->last_publication_handle = DDS_InstanceHandle_fromWireGuidI(guid);
}

void DDS_DataReaderPath_setWriterAliveI(DDS_DataReaderPathI *path, const ZELWireGuid *guid, bool alive) {
    DDS_ReaderMatchI *match = DDS_DataReaderPath_findMatchI(path, guid);
    if (match == nullptr || match->alive == alive) {
        return;
    }
    match->alive = alive;
    DDS_DataReaderPath_noteLivelinessI(path, guid, alive);
    if (!alive) {
        DDS_DataReaderPath_releaseWriterI(path, guid, false);
    }
}

// Whether a data sample passes the reader's content filter. The filter
// reads a plug-in sample, so the octets are deserialized into one for the
// test; a sample that cannot be deserialized passes, and the cache then
// rejects it.
static bool DDS_DataReaderPath_passesFilterI(DDS_DataReaderPathI *path, const ZELWireSample *sample) {
    const PRESTypePlugin *plugin = path->plugin;
    if (path->filter == nullptr || plugin->createSampleFnc == nullptr || plugin->deserializeFnc == nullptr) {
        return true;
    }
    void *data = plugin->createSampleFnc();
    if (data == nullptr) {
        return true;
    }
    ZELCdrStream stream{};
    ZELCdrStream_init(&stream, const_cast<char *>(reinterpret_cast<const char *>(sample->data)), sample->size,
                      ZEL_CDR_LITTLE_ENDIAN);
    const bool passes =
            !plugin->deserializeFnc(path->endpointData, data, &stream, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE, nullptr) ||
            DDS_ContentFilteredTopic_evaluateI(path->filter, data);
    plugin->deleteSampleFnc(data);
    return passes;
}

bool DDS_DataReaderPath_admitI(DDS_DataReaderPathI *path, DDS_ReaderInstanceI *instance, const ZELWireSample *sample,
                               ZELWireDeliveryResult *result) {
    // Whatever becomes of it, a sample asserts its writer's liveliness.
    DDS_ReaderMatchI *match = DDS_DataReaderPath_findMatchI(path, &sample->writerGuid);
    if (match != nullptr) {
        if (path->hasNow) {
            match->lastHeard = path->now;
        }
        if (!match->alive) {
            match->alive = true;
            DDS_DataReaderPath_noteLivelinessI(path, &match->guid, true);
        }
    }
    const bool fromOwner =
            instance == nullptr || !instance->owned || DDS_WireGuid_equalsI(&instance->owner, &sample->writerGuid);
    if (path->exclusive && !fromOwner && !DDS_ReaderInstance_outrankedByI(instance, sample)) {
        // Received, but the instance belongs to a stronger writer.
        if (sample->kind == ZEL_WIRE_SAMPLE_UNREGISTER) {
            DDS_ReaderInstance_removeWriterI(instance, &sample->writerGuid);
        }
        *result = ZEL_WIRE_DELIVERY_ACCEPTED;
        return false;
    }
    if (sample->kind == ZEL_WIRE_SAMPLE_UNREGISTER && instance != nullptr) {
        // Only the last writer's unregistration leaves the instance without writers.
        DDS_ReaderInstance_removeWriterI(instance, &sample->writerGuid);
        if (DDS_ReaderInstance_hasAliveWriterI(path, instance)) {
            if (instance->owned && DDS_WireGuid_equalsI(&instance->owner, &sample->writerGuid)) {
                instance->owned = false;
            }
            *result = ZEL_WIRE_DELIVERY_ACCEPTED;
            return false;
        }
        return true;
    }
    if (sample->kind != ZEL_WIRE_SAMPLE_DATA) {
        return true;
    }
    if (!DDS_DataReaderPath_passesFilterI(path, sample)) {
        *result = ZEL_WIRE_DELIVERY_FILTERED;
        return false;
    }
    // The time-based filter keeps one sample per minimum separation per instance.
    if (instance != nullptr && instance->hasData && path->hasNow &&
        ZELNtpTime_compare(&path->now, &instance->lastData) >= 0 &&
        ZELNtpTime_toNanoseconds(&path->now) - ZELNtpTime_toNanoseconds(&instance->lastData) <
                ZELNtpTime_toNanoseconds(&path->minimumSeparation)) {
        *result = ZEL_WIRE_DELIVERY_FILTERED;
        return false;
    }
    return true;
}

void DDS_DataReaderPath_acceptedI(DDS_DataReaderPathI *path, DDS_ReaderInstanceI *instance, DDS_ReaderSampleI *record,
                                  const ZELWireSample *sample) {
    record->expiresAtNs = UINT64_MAX;
    if (path->hasNow && !ZELNtpTime_isInfinite(&sample->lifespan)) {
        const uint64_t arrival = ZELNtpTime_toNanoseconds(&path->now);
        const uint64_t lifespan = ZELNtpTime_toNanoseconds(&sample->lifespan);
        record->expiresAtNs = lifespan > UINT64_MAX - arrival ? UINT64_MAX : arrival + lifespan;
        path->earliestExpiryNs = std::min(path->earliestExpiryNs, record->expiresAtNs);
    }
    if (sample->kind == ZEL_WIRE_SAMPLE_UNREGISTER) {
        DDS_ReaderInstance_removeWriterI(instance, &sample->writerGuid);
        instance->owned = false;
        return;
    }
    if (!DDS_ReaderInstance_hasWriterI(instance, &sample->writerGuid)) {
        // Out of heap the writer goes unrecorded: the instance does not
        // become writerless on its account.
        auto *writer = static_cast<DDS_ReaderInstanceWriterI *>(
                ZELOsapiHeap_allocateStructure(sizeof(DDS_ReaderInstanceWriterI), "DRIW"));
        if (writer != nullptr) {
            *writer = DDS_ReaderInstanceWriterI{instance->writers, sample->writerGuid};
            instance->writers = writer;
        }
    }
    if (path->exclusive) {
        instance->owned = true;
        instance->owner = sample->writerGuid;
        instance->ownerStrength = sample->ownershipStrength;
    }
    if (sample->kind == ZEL_WIRE_SAMPLE_DATA && path->hasNow) {
        instance->hasData = true;
        instance->lastData = path->now;
        instance->missedDeadlines = 0;
    }
}

void DDS_DataReaderPath_releaseWriterI(DDS_DataReaderPathI *path, const ZELWireGuid *guid, bool unmatched) {
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        if (instance->owned && DDS_WireGuid_equalsI(&instance->owner, guid)) {
            instance->owned = false;
        }
        if (!DDS_ReaderInstance_hasWriterI(instance, guid)) {
            continue;
        }
        if (unmatched) {
            DDS_ReaderInstance_removeWriterI(instance, guid);
        }
        if (instance->instanceState == DDS_ALIVE_INSTANCE_STATE &&
            !DDS_ReaderInstance_hasAliveWriterI(path, instance)) {
            instance->instanceState = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
            instance->noWritersGenerations++;
        }
    }
}

// Drops the samples whose lifespan ended by `now`.
static void DDS_DataReaderPath_expireI(DDS_DataReaderPathI *path, uint64_t nowNs) {
    if (nowNs < path->earliestExpiryNs) {
        return;
    }
    path->earliestExpiryNs = UINT64_MAX;
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        DDS_ReaderSampleI *previous = nullptr;
        DDS_ReaderSampleI *sample = instance->oldest;
        while (sample != nullptr) {
            DDS_ReaderSampleI *next = sample->next;
            if (nowNs < sample->expiresAtNs) {
                path->earliestExpiryNs = std::min(path->earliestExpiryNs, sample->expiresAtNs);
                previous = sample;
            } else {
                (previous != nullptr ? previous->next : instance->oldest) = next;
                if (instance->newest == sample) {
                    instance->newest = previous;
                }
                instance->sampleCount--;
                path->sampleCount--;
                DDS_ReaderCache_freeSampleI(path, sample);
            }
            sample = next;
        }
    }
}

void DDS_DataReaderPath_catchUpI(DDS_DataReaderPathI *path) {
    ZELNtpTime nowTime{};
    path->hasNow = DDS_DomainParticipantFactory_getNowI(path->reader->entity.participant->factory, &nowTime,
                                                        "DDS_DataReader_catchUp");
    if (!path->hasNow) {
        return;
    }
    path->now = nowTime;
    const ZELNtpTime *now = &path->now;
    for (DDS_ReaderMatchI *match = path->matches; match != nullptr; match = match->next) {
        if (match->alive && DDS_NtpTime_periodsSinceI(&match->lastHeard, now, &match->leaseDuration) > 0) {
            match->alive = false;
            DDS_DataReaderPath_noteLivelinessI(path, &match->guid, false);
            DDS_DataReaderPath_releaseWriterI(path, &match->guid, false);
        }
    }
    // Only instances that are alive and were written expect samples; without
    // a deadline none does, and a reader of many instances pays nothing.
    // Where the wire counts the misses, the path still names the last
    // instance that missed one.
    const bool hasDeadline = !ZELNtpTime_isInfinite(&path->deadline);
    const bool countsDeadlines =
            (DDS_Entity_getWireI(&path->reader->entity)->ops->capabilities & ZEL_WIRE_SUPPLIES_DEADLINES) == 0;
    for (DDS_ReaderInstanceI *instance = hasDeadline ? path->instances : nullptr; instance != nullptr;
         instance = instance->next) {
        if (instance->instanceState != DDS_ALIVE_INSTANCE_STATE || !instance->hasData) {
            continue;
        }
        const int64_t periods = DDS_NtpTime_periodsSinceI(&instance->lastData, now, &path->deadline);
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
    DDS_DataReaderPath_expireI(path, ZELNtpTime_toNanoseconds(now));
}

// Periods of the old deadline that already lapsed are counted first; the
// new one counts from there on.
void DDS_DataReaderPath_refreshQosI(DDS_DataReaderPathI *path, const DDS_DataReaderQos *qos) {
    DDS_DataReaderPath_catchUpI(path);
    path->deadline = DDS_Duration_toNtpI(&qos->deadline.period);
    path->minimumSeparation = DDS_Duration_toNtpI(&qos->time_based_filter.minimum_separation);
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        instance->missedDeadlines =
                path->hasNow ? DDS_NtpTime_periodsSinceI(&instance->lastData, &path->now, &path->deadline) : 0;
    }
}
