// A writer's history: its instances and, for a durable writer, the samples
// kept for readers that join late. Everything here runs under the path's
// mutex.
#include <cstring>
#include <new>

#include "data_writer_private.h"
#include "vurncore/heap.h"

// FNV-1a over the key hash: key hashes of small keys are the key itself,
// not a digest, so every octet takes part.
static uint32_t DDS_WriterHistory_hashBucketI(const DDS_DataWriterPathI *path, const uint8_t keyHash[16]) {
    uint32_t hash = 2166136261u;
    for (int i = 0; i < 16; ++i) {
        hash = (hash ^ keyHash[i]) * 16777619u;
    }
    return hash & (path->bucketCount - 1u);
}

// Eight octets a step: serialized keys are tens of octets, most of them
// alike (encapsulation, parameter headers), so every octet takes part.
static uint32_t DDS_WriterHistory_keyCodeI(const uint8_t *key, uint32_t keySize) {
    constexpr uint64_t kMultiplier = 0xff51afd7ed558ccdu;
    uint64_t hash = 0x9e3779b97f4a7c15u ^ keySize;
    uint32_t offset = 0;
    for (; offset + 8u <= keySize; offset += 8u) {
        uint64_t word = 0;
        std::memcpy(&word, key + offset, 8);
        hash = (hash ^ word) * kMultiplier;
        hash ^= hash >> 32;
    }
    if (offset < keySize) {
        uint64_t tail = 0;
        std::memcpy(&tail, key + offset, keySize - offset);
        hash = (hash ^ tail) * kMultiplier;
    }
    return static_cast<uint32_t>(hash ^ (hash >> 32));
}

static void DDS_WriterHistory_indexI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance) {
    DDS_WriterInstanceI **byHash = &path->buckets[DDS_WriterHistory_hashBucketI(path, instance->keyHash)];
    instance->hashNext = *byHash;
    *byHash = instance;
    DDS_WriterInstanceI **byKey = &path->buckets[path->bucketCount + (instance->keyCode & (path->bucketCount - 1u))];
    instance->keyNext = *byKey;
    *byKey = instance;
}

// Keeps about one instance per bucket. An index that cannot grow stays as
// it is (its buckets get longer), and without one the list is walked.
static void DDS_WriterHistory_growIndexI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *added) {
    const uint32_t wanted = path->bucketCount == 0u ? 16u : path->bucketCount * 4u;
    if (static_cast<uint32_t>(path->instanceCount) > path->bucketCount && wanted > path->bucketCount) {
        auto **buckets = static_cast<DDS_WriterInstanceI **>(
                ZELOsapiHeap_allocateArray(2u * wanted, sizeof(DDS_WriterInstanceI *), "DWIX"));
        if (buckets != nullptr) {
            std::memset(buckets, 0, 2u * wanted * sizeof(DDS_WriterInstanceI *));
            ZELOsapiHeap_freeArray(path->buckets);
            path->buckets = buckets;
            path->bucketCount = wanted;
            for (DDS_WriterInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
                DDS_WriterHistory_indexI(path, instance);
            }
            return;
        }
    }
    if (path->buckets != nullptr) {
        DDS_WriterHistory_indexI(path, added);
    }
}

DDS_WriterInstanceI *DDS_WriterHistory_findInstanceI(DDS_DataWriterPathI *path, const uint8_t keyHash[16]) {
    const bool indexed = path->buckets != nullptr;
    DDS_WriterInstanceI *instance =
            indexed ? path->buckets[DDS_WriterHistory_hashBucketI(path, keyHash)] : path->instances;
    for (; instance != nullptr; instance = indexed ? instance->hashNext : instance->next) {
        if (std::memcmp(instance->keyHash, keyHash, 16) == 0) {
            return instance;
        }
    }
    return nullptr;
}

DDS_WriterInstanceI *DDS_WriterHistory_findInstanceByKeyI(DDS_DataWriterPathI *path, const uint8_t *key,
                                                          uint32_t keySize) {
    const uint32_t code = DDS_WriterHistory_keyCodeI(key, keySize);
    const auto hasKey = [&](const DDS_WriterInstanceI *instance) {
        return instance->keyCode == code && instance->keySize == keySize &&
               std::memcmp(DDS_WriterInstance_keyI(instance), key, keySize) == 0;
    };
    DDS_WriterInstanceI *guess = path->lastWritten != nullptr ? path->lastWritten->successor : nullptr;
    if (guess != nullptr && hasKey(guess)) {
        return guess;
    }
    const bool indexed = path->buckets != nullptr;
    DDS_WriterInstanceI *instance =
            indexed ? path->buckets[path->bucketCount + (code & (path->bucketCount - 1u))] : path->instances;
    for (; instance != nullptr; instance = indexed ? instance->keyNext : instance->next) {
        if (hasKey(instance)) {
            return instance;
        }
    }
    return nullptr;
}

void DDS_WriterHistory_noteWrittenI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance) {
    DDS_WriterInstanceI *previous = path->lastWritten;
    if (previous != nullptr && previous->successor != instance) {
        if (previous->successor != nullptr) {
            previous->successor->predecessor = nullptr;
        }
        if (instance->predecessor != nullptr) {
            instance->predecessor->successor = nullptr;
        }
        previous->successor = instance;
        instance->predecessor = previous;
    }
    path->lastWritten = instance;
#if defined(__GNUC__)
    // The record and its key, on two cache lines.
    if (instance->successor != nullptr) {
        __builtin_prefetch(instance->successor);
        __builtin_prefetch(DDS_WriterInstance_keyI(instance->successor));
    }
#endif
}

DDS_WriterInstanceI *DDS_WriterHistory_addInstanceI(DDS_DataWriterPathI *path, const uint8_t keyHash[16],
                                                    const uint8_t *key, uint32_t keySize, const char *context) {
    if (path->maxInstances >= 0 && path->instanceCount >= path->maxInstances) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "max_instances reached");
        return nullptr;
    }
    // The key is kept serialized, not as a sample: dispose and unregister by
    // handle send it as it is, get_key_value reads it back, and writes find
    // the instance by it.
    auto *instance = static_cast<DDS_WriterInstanceI *>(
            ZELOsapiHeap_allocateStructure(sizeof(DDS_WriterInstanceI) + keySize, "DWIN"));
    if (instance == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "instance");
        return nullptr;
    }
    std::memset(instance, 0, sizeof(*instance));
    std::memcpy(instance->keyHash, keyHash, 16);
    instance->keySize = keySize;
    if (keySize != 0) {
        std::memcpy(instance + 1, key, keySize);
    }
    instance->keyCode = DDS_WriterHistory_keyCodeI(key, keySize);
    instance->registered = true;
    instance->next = path->instances;
    path->instances = instance;
    ++path->instanceCount;
    DDS_WriterHistory_growIndexI(path, instance);
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

void DDS_WriterHistory_releaseInstanceI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance, bool removeInstance) {
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
    // No guess may lead to it any more.
    if (instance->predecessor != nullptr) {
        instance->predecessor->successor = nullptr;
    }
    if (instance->successor != nullptr) {
        instance->successor->predecessor = nullptr;
    }
    if (path->lastWritten == instance) {
        path->lastWritten = nullptr;
    }
    if (path->buckets != nullptr) {
        DDS_WriterInstanceI **link = &path->buckets[DDS_WriterHistory_hashBucketI(path, instance->keyHash)];
        for (; *link != instance; link = &(*link)->hashNext) {
        }
        *link = instance->hashNext;
        link = &path->buckets[path->bucketCount + (instance->keyCode & (path->bucketCount - 1u))];
        for (; *link != instance; link = &(*link)->keyNext) {
        }
        *link = instance->keyNext;
    }
    --path->instanceCount;
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
    ZELOsapiHeap_freeArray(path->buckets);
    path->buckets = nullptr;
    path->bucketCount = 0u;
}
