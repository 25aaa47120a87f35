// A writer's history: its instances and, for a durable writer, the samples
// kept for readers that join late. Everything here runs under the path's
// mutex.
#include <cstring>
#include <new>

#include "data_writer_private.h"
#include "vurncore/heap.h"

DDS_WriterInstanceI *DDS_WriterHistory_findInstanceI(DDS_DataWriterPathI *path, const uint8_t keyHash[16]) {
    for (DDS_WriterInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        if (std::memcmp(instance->keyHash, keyHash, 16) == 0) {
            return instance;
        }
    }
    return nullptr;
}

DDS_WriterInstanceI *DDS_WriterHistory_addInstanceI(DDS_DataWriterPathI *path, const uint8_t keyHash[16],
                                                    const void *sample, const char *context) {
    if (path->maxInstances >= 0 && path->instanceCount >= path->maxInstances) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "max_instances reached");
        return nullptr;
    }
    auto *instance = static_cast<DDS_WriterInstanceI *>(
            ZELOsapiHeap_allocateStructure(sizeof(DDS_WriterInstanceI), "DWIN"));
    if (instance == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "instance");
        return nullptr;
    }
    std::memset(instance, 0, sizeof(*instance));
    std::memcpy(instance->keyHash, keyHash, 16);
    if (path->keyed) {
        // The whole sample is kept: get_key_value hands its key members back.
        const PRESTypePlugin *plugin = path->plugin;
        instance->key = plugin->createSampleFnc != nullptr && plugin->copySampleFnc != nullptr &&
                                        plugin->deleteSampleFnc != nullptr
                                ? plugin->createSampleFnc()
                                : nullptr;
        if (instance->key == nullptr || !path->plugin->copySampleFnc(instance->key, sample)) {
            if (instance->key != nullptr) {
                path->plugin->deleteSampleFnc(instance->key);
            }
            ZELOsapiHeap_freeStructure(instance);
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "instance key");
            return nullptr;
        }
    }
    instance->registered = true;
    instance->next = path->instances;
    path->instances = instance;
    ++path->instanceCount;
    return instance;
}

bool DDS_WriterHistory_hasRoomI(const DDS_DataWriterPathI *path, const DDS_WriterInstanceI *instance) {
    if (!path->durable || !path->keepAll) {
        return true;  // KEEP_LAST replaces, a volatile writer keeps nothing
    }
    if (path->maxSamples >= 0 && path->sampleCount >= path->maxSamples) {
        return false;
    }
    return path->maxSamplesPerInstance < 0 || instance == nullptr ||
           instance->sampleCount < path->maxSamplesPerInstance;
}

static void DDS_WriterHistory_removeSampleI(DDS_DataWriterPathI *path, DDS_WriterSampleI *sample) {
    (sample->prev != nullptr ? sample->prev->next : path->oldest) = sample->next;
    (sample->next != nullptr ? sample->next->prev : path->newest) = sample->prev;
    --sample->instance->sampleCount;
    --path->sampleCount;
    ZELOsapiHeap_freeStructure(sample);
}

bool DDS_WriterHistory_keepI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance, const ZELWireSample *sample,
                             const ZELNtpTime *now, const char *context) {
    if (!path->durable) {
        return true;  // delivery is synchronous: every reader has it already
    }
    auto *kept = static_cast<DDS_WriterSampleI *>(
            ZELOsapiHeap_allocateStructure(sizeof(DDS_WriterSampleI) + sample->size, "DWSA"));
    if (kept == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "history sample");
        return false;
    }
    auto *octets = reinterpret_cast<uint8_t *>(kept + 1);
    std::memcpy(octets, sample->data, sample->size);
    kept->wire = *sample;
    kept->wire.data = octets;
    kept->writtenAt = *now;
    kept->instance = instance;
    kept->next = nullptr;
    kept->prev = path->newest;
    (path->newest != nullptr ? path->newest->next : path->oldest) = kept;
    path->newest = kept;
    ++instance->sampleCount;
    ++path->sampleCount;
    if (!path->keepAll) {
        for (DDS_WriterSampleI *old = path->oldest; old != nullptr && instance->sampleCount > path->depth;) {
            DDS_WriterSampleI *next = old->next;
            if (old->instance == instance) {
                DDS_WriterHistory_removeSampleI(path, old);
            }
            old = next;
        }
    }
    if (path->sampleCount > path->sampleCountPeak) {
        path->sampleCountPeak = path->sampleCount;
    }
    return true;
}

void DDS_WriterHistory_releaseInstanceI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance,
                                        bool removeInstance) {
    for (DDS_WriterSampleI *sample = path->oldest; sample != nullptr && instance->sampleCount > 0;) {
        DDS_WriterSampleI *next = sample->next;
        if (sample->instance == instance) {
            DDS_WriterHistory_removeSampleI(path, sample);
        }
        sample = next;
    }
    if (!removeInstance) {
        return;
    }
    for (DDS_WriterInstanceI **link = &path->instances; *link != nullptr; link = &(*link)->next) {
        if (*link == instance) {
            *link = instance->next;
            break;
        }
    }
    --path->instanceCount;
    if (instance->key != nullptr) {
        path->plugin->deleteSampleFnc(instance->key);
    }
    ZELOsapiHeap_freeStructure(instance);
}

void DDS_WriterHistory_expireI(DDS_DataWriterPathI *path, const ZELNtpTime *now) {
    if (ZELNtpTime_isInfinite(&path->lifespan)) {
        return;
    }
    const uint64_t lifespan = ZELNtpTime_toNanoseconds(&path->lifespan);
    const uint64_t nowNs = ZELNtpTime_toNanoseconds(now);
    for (DDS_WriterSampleI *sample = path->oldest; sample != nullptr;) {
        DDS_WriterSampleI *next = sample->next;
        if (nowNs - ZELNtpTime_toNanoseconds(&sample->writtenAt) >= lifespan) {
            DDS_WriterHistory_removeSampleI(path, sample);
        }
        sample = next;
    }
}

void DDS_WriterHistory_clearI(DDS_DataWriterPathI *path) {
    while (path->instances != nullptr) {
        DDS_WriterHistory_releaseInstanceI(path, path->instances, true);
    }
}
