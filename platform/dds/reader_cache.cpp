// A reader's cache: instances in order of first arrival, each with its
// samples oldest first, bounded by the history depth under KEEP_LAST.
#include <cstring>

#include "data_reader_private.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/heap.h"

DDS_ReaderInstanceI *DDS_ReaderCache_findInstanceI(DDS_DataReaderPathI *path, const uint8_t keyHash[16]) {
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        if (std::memcmp(instance->keyHash, keyHash, 16) == 0) {
            return instance;
        }
    }
    return nullptr;
}

static void *DDS_ReaderCache_deserializeI(DDS_DataReaderPathI *path, const ZELWireSample *sample);

// A new instance for the sample's key hash. A keyed instance keeps the
// sample's key (get_key_value hands it back), so an instance whose key
// cannot be read is not made.
static DDS_ReaderInstanceI *DDS_ReaderCache_addInstanceI(DDS_DataReaderPathI *path, const ZELWireSample *sample) {
    void *key = nullptr;
    if (path->keyed) {
        key = DDS_ReaderCache_deserializeI(path, sample);
        if (key == nullptr) {
            return nullptr;
        }
    }
    auto *instance =
            static_cast<DDS_ReaderInstanceI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_ReaderInstanceI), "DRIN"));
    if (instance == nullptr) {
        if (key != nullptr) {
            path->plugin->deleteSampleFnc(key);
        }
        return nullptr;
    }
    *instance = DDS_ReaderInstanceI{};
    std::memcpy(instance->keyHash, sample->keyHash, 16);
    instance->key = key;
    instance->instanceState = DDS_ALIVE_INSTANCE_STATE;
    if (path->lastInstance != nullptr) {
        path->lastInstance->next = instance;
    } else {
        path->instances = instance;
    }
    path->lastInstance = instance;
    path->instanceCount++;
    return instance;
}

void DDS_ReaderCache_freeSampleI(DDS_DataReaderPathI *path, DDS_ReaderSampleI *sample) {
    if (sample->data != nullptr) {
        path->plugin->deleteSampleFnc(sample->data);
    }
    ZELOsapiHeap_freeStructure(sample);
}

// Deserializes the octets of a data sample (whole) or of a dispose or
// unregistration (the key only); NULL when out of heap or malformed.
static void *DDS_ReaderCache_deserializeI(DDS_DataReaderPathI *path, const ZELWireSample *sample) {
    if (path->plugin->createSampleFnc == nullptr) {
        return nullptr;  // a plug-in that cannot make samples: its readers reject every sample
    }
    void *data = path->plugin->createSampleFnc();
    if (data == nullptr) {
        return nullptr;
    }
    ZELCdrStream stream{};
    ZELCdrStream_init(&stream, const_cast<char *>(reinterpret_cast<const char *>(sample->data)), sample->size,
                      ZEL_CDR_LITTLE_ENDIAN);
    PRESTypePluginDeserializeFunction deserialize =
            sample->kind == ZEL_WIRE_SAMPLE_DATA ? path->plugin->deserializeFnc : path->plugin->deserializeKeyFnc;
    if (deserialize == nullptr ||
        !deserialize(path->endpointData, data, &stream, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE, nullptr)) {
        path->plugin->deleteSampleFnc(data);
        return nullptr;
    }
    return data;
}

static void DDS_ReaderCache_appendI(DDS_DataReaderPathI *path, DDS_ReaderInstanceI *instance,
                                    DDS_ReaderSampleI *sample) {
    // KEEP_LAST: the instance's oldest sample makes room for the newest.
    if (!path->keepAll && instance->sampleCount >= path->depth && instance->oldest != nullptr) {
        DDS_ReaderSampleI *oldest = instance->oldest;
        instance->oldest = oldest->next;
        if (instance->oldest == nullptr) {
            instance->newest = nullptr;
        }
        instance->sampleCount--;
        path->sampleCount--;
        DDS_ReaderCache_freeSampleI(path, oldest);
    }
    if (instance->newest != nullptr) {
        instance->newest->next = sample;
    } else {
        instance->oldest = sample;
    }
    instance->newest = sample;
    instance->sampleCount++;
    path->sampleCount++;
    if (path->sampleCount > path->sampleCountPeak) {
        path->sampleCountPeak = path->sampleCount;
    }
}

// The limit a sample for `instance` (NULL: a new one) would exceed, or
// DDS_NOT_REJECTED. Under KEEP_LAST a full instance replaces its oldest
// sample and grows no further.
static DDS_SampleRejectedStatusKind DDS_ReaderCache_checkLimitsI(const DDS_DataReaderPathI *path,
                                                                 const DDS_ReaderInstanceI *instance) {
    if (instance == nullptr && path->maxInstances >= 0 && path->instanceCount >= path->maxInstances) {
        return DDS_REJECTED_BY_INSTANCES_LIMIT;
    }
    DDS_Long held = instance != nullptr ? instance->sampleCount : 0;
    if (!path->keepAll && held >= path->depth) {
        return DDS_NOT_REJECTED;
    }
    if (path->maxSamplesPerInstance >= 0 && held >= path->maxSamplesPerInstance) {
        return DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT;
    }
    if (path->maxSamples >= 0 && path->sampleCount >= path->maxSamples) {
        return DDS_REJECTED_BY_SAMPLES_LIMIT;
    }
    return DDS_NOT_REJECTED;
}

// Whether the sample repeats one already received from its writer. A gap
// in a writer's sequence numbers counts its missing samples as lost (a
// best-effort writer's samples the wire dropped, or samples the writer
// sent while this reader was not matched to it after a first sample). A
// writer the reader cannot remember (out of heap), and a sample whose wire
// does not tell its sequence number (that wire drops duplicates itself),
// are not checked.
static bool DDS_ReaderCache_isDuplicateI(DDS_DataReaderPathI *path, const ZELWireSample *sample) {
    if (sample->sequenceNumber == ZEL_WIRE_SEQUENCE_NUMBER_UNKNOWN) {
        return false;
    }
    DDS_ReaderRemoteWriterI *remote = path->remoteWriters;
    while (remote != nullptr && std::memcmp(&remote->guid, &sample->writerGuid, sizeof(ZELWireGuid)) != 0) {
        remote = remote->next;
    }
    if (remote == nullptr) {
        remote = static_cast<DDS_ReaderRemoteWriterI *>(
                ZELOsapiHeap_allocateStructure(sizeof(DDS_ReaderRemoteWriterI), "DRRW"));
        if (remote == nullptr) {
            return false;
        }
        *remote = DDS_ReaderRemoteWriterI{path->remoteWriters, sample->writerGuid, sample->sequenceNumber};
        path->remoteWriters = remote;
        return false;
    }
    if (sample->sequenceNumber <= remote->lastSequenceNumber) {
        return true;
    }
    int64_t missing = sample->sequenceNumber - remote->lastSequenceNumber - 1;
    if (missing > 0) {
        path->lost.total_count += static_cast<DDS_Long>(missing);
        path->lost.total_count_change += static_cast<DDS_Long>(missing);
        path->lost.last_reason = DDS_LOST_BY_WRITER;
    }
    remote->lastSequenceNumber = sample->sequenceNumber;
    return false;
}

void DDS_ReaderCache_forgetWriterI(DDS_DataReaderPathI *path, const ZELWireGuid *guid) {
    for (DDS_ReaderRemoteWriterI **link = &path->remoteWriters; *link != nullptr; link = &(*link)->next) {
        if (std::memcmp(&(*link)->guid, guid, sizeof(ZELWireGuid)) == 0) {
            DDS_ReaderRemoteWriterI *remote = *link;
            *link = remote->next;
            ZELOsapiHeap_freeStructure(remote);
            return;
        }
    }
}

ZELWireDeliveryResult DDS_ReaderCache_storeI(DDS_DataReaderPathI *path, const ZELWireSample *sample) {
    if (DDS_ReaderCache_isDuplicateI(path, sample)) {
        path->duplicateCount++;
        return ZEL_WIRE_DELIVERY_DUPLICATE;
    }
    // A sample beyond the resource limits is rejected and counted; one the
    // reader cannot hold (out of heap, malformed) is rejected all the same.
    DDS_ReaderInstanceI *instance = DDS_ReaderCache_findInstanceI(path, sample->keyHash);
    ZELWireDeliveryResult admission = ZEL_WIRE_DELIVERY_ACCEPTED;
    if (!DDS_DataReaderPath_admitI(path, instance, sample, &admission)) {
        return admission;
    }
    DDS_SampleRejectedStatusKind reason = DDS_ReaderCache_checkLimitsI(path, instance);
    if (reason != DDS_NOT_REJECTED) {
        path->rejected.total_count++;
        path->rejected.total_count_change++;
        path->rejected.last_reason = reason;
        path->rejected.last_instance_handle = DDS_InstanceHandle_fromKeyHashI(sample->keyHash);
        return ZEL_WIRE_DELIVERY_REJECTED;
    }
    if (instance == nullptr && sample->kind != ZEL_WIRE_SAMPLE_DATA && sample->size == 0) {
        // The end of an instance this reader never saw, told by its key hash
        // alone: there is no key to hand to the application.
        return ZEL_WIRE_DELIVERY_ACCEPTED;
    }
    if (instance == nullptr) {
        instance = DDS_ReaderCache_addInstanceI(path, sample);
    }
    if (instance == nullptr) {
        return ZEL_WIRE_DELIVERY_REJECTED;
    }
    auto *record = static_cast<DDS_ReaderSampleI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_ReaderSampleI), "DRSA"));
    if (record == nullptr) {
        return ZEL_WIRE_DELIVERY_REJECTED;
    }
    *record = DDS_ReaderSampleI{};
    if (sample->kind == ZEL_WIRE_SAMPLE_DATA) {
        record->data = DDS_ReaderCache_deserializeI(path, sample);
        if (record->data == nullptr) {
            ZELOsapiHeap_freeStructure(record);
            return ZEL_WIRE_DELIVERY_REJECTED;
        }
        if (instance->instanceState != DDS_ALIVE_INSTANCE_STATE) {
            // A new generation: the instance is alive and new again.
            instance->instanceState = DDS_ALIVE_INSTANCE_STATE;
            instance->viewed = false;
        }
    } else if (sample->kind == ZEL_WIRE_SAMPLE_DISPOSE) {
        if (instance->instanceState == DDS_ALIVE_INSTANCE_STATE) {
            instance->disposedGenerations++;
        }
        instance->instanceState = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
    } else {
        if (instance->instanceState == DDS_ALIVE_INSTANCE_STATE) {
            instance->noWritersGenerations++;
        }
        instance->instanceState = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
    }
    record->info.valid_data = record->data != nullptr ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
    record->info.source_timestamp = DDS_Time_fromNtpI(&sample->sourceTimestamp);
    record->info.reception_timestamp = DDS_Time_fromNtpI(&sample->receptionTimestamp);
    record->info.instance_handle = DDS_InstanceHandle_fromKeyHashI(sample->keyHash);
    record->info.publication_handle = DDS_InstanceHandle_fromWireGuidI(&sample->writerGuid);
    record->info.disposed_generation_count = instance->disposedGenerations;
    record->info.no_writers_generation_count = instance->noWritersGenerations;
    DDS_ReaderCache_appendI(path, instance, record);
    DDS_DataReaderPath_acceptedI(path, instance, record, sample);
    path->receivedCount++;
    return ZEL_WIRE_DELIVERY_ACCEPTED;
}

void DDS_ReaderCache_clearI(DDS_DataReaderPathI *path) {
    while (path->matches != nullptr) {
        DDS_ReaderMatchI *match = path->matches;
        path->matches = match->next;
        ZELOsapiHeap_freeStructure(match);
    }
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        while (instance->writers != nullptr) {
            DDS_ReaderInstanceWriterI *writer = instance->writers;
            instance->writers = writer->next;
            ZELOsapiHeap_freeStructure(writer);
        }
    }
    while (path->remoteWriters != nullptr) {
        DDS_ReaderRemoteWriterI *remote = path->remoteWriters;
        path->remoteWriters = remote->next;
        ZELOsapiHeap_freeStructure(remote);
    }
    while (path->instances != nullptr) {
        DDS_ReaderInstanceI *instance = path->instances;
        path->instances = instance->next;
        while (instance->oldest != nullptr) {
            DDS_ReaderSampleI *sample = instance->oldest;
            instance->oldest = sample->next;
            DDS_ReaderCache_freeSampleI(path, sample);
        }
        if (instance->key != nullptr) {
            path->plugin->deleteSampleFnc(instance->key);
        }
        ZELOsapiHeap_freeStructure(instance);
    }
    path->lastInstance = nullptr;
    path->instanceCount = 0;
    path->sampleCount = 0;
}
