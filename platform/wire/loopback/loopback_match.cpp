// Matching in the in-process wire: which writer and reader pair up, the
// callbacks that announce and end a match, and the waits that keep an
// endpoint alive while other threads still use its matches.
#include <cstring>

#include "loopback_private.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"
#include "vurncore/osapi.h"

#define ZEL_LOOPBACK_TRANSIENT_LOCAL_DURABILITY 1

static bool ZELLoopbackEndpoint_pairsWithI(const ZELLoopbackEndpointI *self, const ZELLoopbackEndpointI *other) {
    return other != self && !other->deleting && other->isWriter != self->isWriter &&
           other->participant->domainId == self->participant->domainId &&
           std::strcmp(other->topicName, self->topicName) == 0 && std::strcmp(other->typeName, self->typeName) == 0;
}

// Gives the semaphore of an endpoint whose deletion waits.
static void ZELLoopbackEndpoint_wakeI(ZELLoopbackEndpointI *endpoint) {
    if (endpoint->waiting && ZELOsapiSemaphore_give(endpoint->wakeup) != ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
        ZELLog_printContextAndMsg("ZELLoopbackEndpoint_wakeI", &ZEL_LOG_SEMAPHORE_GIVE_FAILURE);
    }
}

ZELLoopbackMatchI *ZELLoopbackMatch_nextI(const ZELLoopbackEndpointI *endpoint, const ZELLoopbackMatchI *match) {
    if (match == nullptr) {
        return endpoint->matches;
    }
    return endpoint->isWriter ? match->writerNext : match->readerNext;
}

void ZELLoopbackMatch_releaseI(ZELLoopbackMatchI *match) {
    if (--match->busy == 0 && match->unmatcher != nullptr) {
        ZELLoopbackEndpoint_wakeI(match->unmatcher);
    }
}

void ZELLoopbackMatch_getInfoI(const ZELLoopbackMatchI *match, const ZELLoopbackEndpointI *local,
                               ZELWireMatchInfo *info) {
    const ZELLoopbackEndpointI *remote = local == match->writer ? match->reader : match->writer;
    info->remoteGuid = remote->guid;
    info->remoteVendorSpecific = remote->vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
    info->remoteLocators = remote->isWriter ? nullptr : &remote->locator;
    info->remoteLocatorCount = remote->isWriter ? 0u : 1u;
    info->remoteQos = remote->qos;
}

static void ZELLoopbackMatch_linkI(ZELLoopbackMatchI *match) {
    match->writerNext = match->writer->matches;
    if (match->writerNext != nullptr) {
        match->writerNext->writerPrev = match;
    }
    match->writer->matches = match;
    match->readerNext = match->reader->matches;
    if (match->readerNext != nullptr) {
        match->readerNext->readerPrev = match;
    }
    match->reader->matches = match;
}

static void ZELLoopbackMatch_unlinkI(ZELLoopbackMatchI *match) {
    if (match->writerPrev != nullptr) {
        match->writerPrev->writerNext = match->writerNext;
    } else {
        match->writer->matches = match->writerNext;
    }
    if (match->writerNext != nullptr) {
        match->writerNext->writerPrev = match->writerPrev;
    }
    if (match->readerPrev != nullptr) {
        match->readerPrev->readerNext = match->readerNext;
    } else {
        match->reader->matches = match->readerNext;
    }
    if (match->readerNext != nullptr) {
        match->readerNext->readerPrev = match->readerPrev;
    }
}

bool ZELLoopbackMatch_createAllI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint) {
    for (ZELLoopbackEndpointI *other = ZELLoopbackWire_firstOfTopicI(wire, endpoint->topicName); other != nullptr;
         other = other->topicNext) {
        if (!ZELLoopbackEndpoint_pairsWithI(endpoint, other)) {
            continue;
        }
        auto *match =
                static_cast<ZELLoopbackMatchI *>(ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackMatchI), "WLBM"));
        if (match == nullptr) {
            ZELLog_printContextAndMsg("ZELLoopbackMatch_createAllI", &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                      static_cast<int>(sizeof(ZELLoopbackMatchI)));
            // Nobody else has seen these matches: the mutex was held throughout.
            while (endpoint->matches != nullptr) {
                ZELLoopbackMatchI *made = endpoint->matches;
                ZELLoopbackMatch_unlinkI(made);
                ZELOsapiHeap_freeStructure(made);
            }
            return false;
        }
        match->writer = endpoint->isWriter ? endpoint : other;
        match->reader = endpoint->isWriter ? other : endpoint;
        match->policyId = ZELWireEndpointQos_firstIncompatiblePolicyI(&match->writer->qos, &match->reader->qos);
        match->state = ZEL_LOOPBACK_MATCH_ANNOUNCING;
        match->announcer = endpoint;
        match->busy = 1;
        ZELLoopbackMatch_linkI(match);
    }
    return true;
}

// The next match after `match` (the first for NULL) that `endpoint`'s
// creation made.
static ZELLoopbackMatchI *ZELLoopbackMatch_nextAnnouncedI(const ZELLoopbackEndpointI *endpoint,
                                                          const ZELLoopbackMatchI *match) {
    ZELLoopbackMatchI *next = ZELLoopbackMatch_nextI(endpoint, match);
    while (next != nullptr && next->announcer != endpoint) {
        next = ZELLoopbackMatch_nextI(endpoint, next);
    }
    return next;
}

// Matched or incompatible callbacks to both sides: the reader first, so
// that it knows the writer before replayed samples arrive.
static void ZELLoopbackMatch_announceI(const ZELLoopbackMatchI *match) {
    const ZELWireWriterListener *writerListener = &match->writer->writerListener;
    const ZELWireReaderListener *readerListener = &match->reader->readerListener;
    if (match->policyId != 0) {
        if (readerListener->onIncompatible != nullptr) {
            readerListener->onIncompatible(readerListener->context, &match->writer->guid, match->policyId);
        }
        if (writerListener->onIncompatible != nullptr) {
            writerListener->onIncompatible(writerListener->context, &match->reader->guid, match->policyId);
        }
        return;
    }
    ZELWireMatchInfo info;
    if (readerListener->onMatched != nullptr) {
        ZELLoopbackMatch_getInfoI(match, match->reader, &info);
        readerListener->onMatched(readerListener->context, &info);
    }
    if (writerListener->onMatched != nullptr) {
        ZELLoopbackMatch_getInfoI(match, match->writer, &info);
        writerListener->onMatched(writerListener->context, &info);
    }
}

void ZELLoopbackMatch_announceAllI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint) {
    std::unique_lock lock(wire->mutex);
    ZELLoopbackMatchI *match = ZELLoopbackMatch_nextAnnouncedI(endpoint, nullptr);
    while (match != nullptr) {
        lock.unlock();
        ZELLoopbackMatch_announceI(match);
        const ZELWireWriterListener *writerListener = &match->writer->writerListener;
        const bool replays = match->policyId == 0 && writerListener->onReplay != nullptr &&
                             match->reader->qos.durabilityKind >= ZEL_LOOPBACK_TRANSIENT_LOCAL_DURABILITY;
        lock.lock();
        if (replays && match->state == ZEL_LOOPBACK_MATCH_ANNOUNCING) {
            match->state = ZEL_LOOPBACK_MATCH_REPLAYING;
            lock.unlock();
            writerListener->onReplay(writerListener->context, reinterpret_cast<ZELWireWriter *>(match->writer),
                                     reinterpret_cast<ZELWireReplay *>(match), &match->reader->guid);
            lock.lock();
        }
        // A match that an endpoint's deletion took over meanwhile stays ended.
        if (match->state != ZEL_LOOPBACK_MATCH_UNMATCHING) {
            match->state = ZEL_LOOPBACK_MATCH_ACTIVE;
        }
        ZELLoopbackMatchI *next = ZELLoopbackMatch_nextAnnouncedI(endpoint, match);
        ZELLoopbackMatch_releaseI(match);
        match = next;
    }
}

static void ZELLoopbackMatch_announceEndI(const ZELLoopbackMatchI *match) {
    if (match->policyId != 0) {
        return;
    }
    const ZELWireWriterListener *writerListener = &match->writer->writerListener;
    const ZELWireReaderListener *readerListener = &match->reader->readerListener;
    ZELWireMatchInfo info;
    if (writerListener->onUnmatched != nullptr) {
        ZELLoopbackMatch_getInfoI(match, match->writer, &info);
        writerListener->onUnmatched(writerListener->context, &info);
    }
    if (readerListener->onUnmatched != nullptr) {
        ZELLoopbackMatch_getInfoI(match, match->reader, &info);
        readerListener->onUnmatched(readerListener->context, &info);
    }
}

// The first match of `endpoint` that it ends itself and nobody uses.
static ZELLoopbackMatchI *ZELLoopbackMatch_findIdleI(const ZELLoopbackEndpointI *endpoint) {
    for (ZELLoopbackMatchI *match = endpoint->matches; match != nullptr;
         match = ZELLoopbackMatch_nextI(endpoint, match)) {
        if (match->unmatcher == endpoint && match->busy == 0) {
            return match;
        }
    }
    return nullptr;
}

void ZELLoopbackMatch_removeAllI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint) {
    std::unique_lock lock(wire->mutex);
    endpoint->deleting = true;
    // Matches that the other side's deletion already ends stay its own.
    for (ZELLoopbackMatchI *match = endpoint->matches; match != nullptr;
         match = ZELLoopbackMatch_nextI(endpoint, match)) {
        if (match->unmatcher == nullptr) {
            match->unmatcher = endpoint;
            match->state = ZEL_LOOPBACK_MATCH_UNMATCHING;
        }
    }
    while (endpoint->matches != nullptr) {
        ZELLoopbackMatchI *match = ZELLoopbackMatch_findIdleI(endpoint);
        if (match == nullptr) {
            // Deliveries, announcements or the other side's deletion are
            // still at work on the rest: each wakes this endpoint when done.
            endpoint->waiting = true;
            lock.unlock();
            if (ZELOsapiSemaphore_take(endpoint->wakeup, nullptr) != ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
                ZELLog_printContextAndMsg("ZELLoopbackMatch_removeAllI", &ZEL_LOG_SEMAPHORE_TAKE_FAILURE);
            }
            lock.lock();
            endpoint->waiting = false;
            continue;
        }
        match->busy = 1;
        lock.unlock();
        ZELLoopbackMatch_announceEndI(match);
        lock.lock();
        ZELLoopbackMatch_unlinkI(match);
        ZELLoopbackEndpoint_wakeI(match->writer == endpoint ? match->reader : match->writer);
        ZELOsapiHeap_freeStructure(match);
    }
}
