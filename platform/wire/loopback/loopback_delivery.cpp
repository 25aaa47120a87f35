// Delivery in the in-process wire: writes and replays handed to readers on
// the writer's thread, and the counters of what was handed over.
#include <cstring>

#include "loopback_private.h"
#include "vurncore/clock.h"
#include "vurncore/log.h"
#include "vurncore/osapi.h"

// Hands `sample` to the reader of `match` with the mutex released and
// counts the outcome. The caller holds the mutex and keeps `match` busy.
static void ZELLoopbackDelivery_deliverI(std::unique_lock<ZELLoopbackWireMutex> &lock, ZELLoopbackMatchI *match,
                                         const ZELWireSample *sample) {
    const ZELWireReaderListener *listener = &match->reader->readerListener;
    lock.unlock();
    const ZELWireDeliveryResult result = listener->onSample(listener->context, sample);
    lock.lock();
    const int64_t size = sample->size;
    ZELWireCounters_addI(&match->counters, size, result);
    ZELWireCounters_addI(&match->writer->counters, size, result);
    ZELWireCounters_addI(&match->reader->counters, size, result);
}

// The sample as readers get it: stamped with the writer and the time of
// reception (the source time when the clock fails). False on a bad sample.
static bool ZELLoopbackDelivery_prepareI(const ZELLoopbackEndpointI *writer, const ZELWireSample *sample,
                                         ZELWireSample *delivered, const char *context) {
    if (sample == nullptr || (sample->data == nullptr && sample->size != 0)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "sample");
        return false;
    }
    if (sample->kind != ZEL_WIRE_SAMPLE_DATA && !writer->keyed) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "instance change of a keyless writer");
        return false;
    }
    *delivered = *sample;
    delivered->writerGuid = writer->guid;
    uint64_t now = 0;
    if (ZELOsapiClock_getRealtimeNanoseconds(&now)) {
        ZELNtpTime_fromNanoseconds(&delivered->receptionTimestamp, now);
    } else {
        delivered->receptionTimestamp = sample->sourceTimestamp;
    }
    return true;
}

// The next match of `writer` after `match` that takes live samples.
static ZELLoopbackMatchI *ZELLoopbackDelivery_nextLiveI(const ZELLoopbackEndpointI *writer,
                                                        const ZELLoopbackMatchI *match) {
    ZELLoopbackMatchI *next = ZELLoopbackMatch_nextI(writer, match);
    while (next != nullptr && (next->state != ZEL_LOOPBACK_MATCH_ACTIVE || next->policyId != 0)) {
        next = ZELLoopbackMatch_nextI(writer, next);
    }
    return next;
}

// Delivery is synchronous: the loopback never blocks, so never times out.
ZELWireWriteResult ZELLoopbackWire_writeI(ZELWireWriter *handle, const ZELWireSample *sample) {
    auto *writer = reinterpret_cast<ZELLoopbackEndpointI *>(handle);
    ZELWireSample delivered;
    if (!ZELLoopbackDelivery_prepareI(writer, sample, &delivered, "ZELLoopbackWire_writeI")) {
        return ZEL_WIRE_WRITE_FAILED;
    }
    std::unique_lock lock(writer->participant->wire->mutex);
    ZELLoopbackMatchI *match = ZELLoopbackDelivery_nextLiveI(writer, nullptr);
    while (match != nullptr) {
        ++match->busy;
        ZELLoopbackDelivery_deliverI(lock, match, &delivered);
        // Still linked while busy, so the walk goes on from it.
        ZELLoopbackMatchI *next = ZELLoopbackDelivery_nextLiveI(writer, match);
        ZELLoopbackMatch_releaseI(match);
        match = next;
    }
    return ZEL_WIRE_WRITE_DONE;
}

ZELBoolean ZELLoopbackWire_writeReplayI(ZELWireWriter *handle, ZELWireReplay *replay, const ZELWireSample *sample) {
    auto *writer = reinterpret_cast<ZELLoopbackEndpointI *>(handle);
    auto *match = reinterpret_cast<ZELLoopbackMatchI *>(replay);
    if (match == nullptr || match->writer != writer) {
        ZELLog_printContextAndMsg("ZELLoopbackWire_writeReplayI", &ZEL_LOG_BAD_PARAMETER_s, "replay");
        return ZEL_FALSE;
    }
    ZELWireSample delivered;
    if (!ZELLoopbackDelivery_prepareI(writer, sample, &delivered, "ZELLoopbackWire_writeReplayI")) {
        return ZEL_FALSE;
    }
    std::unique_lock lock(writer->participant->wire->mutex);
    if (match->state == ZEL_LOOPBACK_MATCH_ACTIVE) {
        ZELLog_printContextAndMsg("ZELLoopbackWire_writeReplayI", &ZEL_LOG_PRECONDITION_NOT_MET_s, "replay done");
        return ZEL_FALSE;
    }
    // A reader being deleted meanwhile takes nothing more; that is no error.
    if (match->state == ZEL_LOOPBACK_MATCH_REPLAYING) {
        ++match->busy;
        ZELLoopbackDelivery_deliverI(lock, match, &delivered);
        ZELLoopbackMatch_releaseI(match);
    }
    return ZEL_TRUE;
}

void ZELLoopbackWire_replayDoneI(ZELWireWriter *handle, ZELWireReplay *replay) {
    auto *writer = reinterpret_cast<ZELLoopbackEndpointI *>(handle);
    auto *match = reinterpret_cast<ZELLoopbackMatchI *>(replay);
    std::lock_guard guard(writer->participant->wire->mutex);
    if (match->state == ZEL_LOOPBACK_MATCH_REPLAYING) {
        match->state = ZEL_LOOPBACK_MATCH_ACTIVE;
    }
}

void ZELLoopbackWire_getWriterCountersI(ZELWireWriter *handle, ZELWireCounters *counters) {
    auto *writer = reinterpret_cast<ZELLoopbackEndpointI *>(handle);
    std::lock_guard guard(writer->participant->wire->mutex);
    *counters = writer->counters;
}

void ZELLoopbackWire_getReaderCountersI(ZELWireReader *handle, ZELWireCounters *counters) {
    auto *reader = reinterpret_cast<ZELLoopbackEndpointI *>(handle);
    std::lock_guard guard(reader->participant->wire->mutex);
    *counters = reader->counters;
}

// The counters of the match of `local` with the remote endpoint `remote`.
static ZELBoolean ZELLoopbackDelivery_getMatchCountersI(ZELLoopbackEndpointI *local, const ZELWireGuid *remote,
                                                        ZELWireCounters *counters) {
    std::lock_guard guard(local->participant->wire->mutex);
    for (ZELLoopbackMatchI *match = local->matches; match != nullptr; match = ZELLoopbackMatch_nextI(local, match)) {
        const ZELLoopbackEndpointI *other = local->isWriter ? match->reader : match->writer;
        if (match->policyId == 0 && match->state != ZEL_LOOPBACK_MATCH_UNMATCHING &&
            std::memcmp(&other->guid, remote, sizeof(ZELWireGuid)) == 0) {
            *counters = match->counters;
            return ZEL_TRUE;
        }
    }
    return ZEL_FALSE;
}

ZELBoolean ZELLoopbackWire_getWriterMatchCountersI(ZELWireWriter *writer, const ZELWireGuid *reader,
                                                   ZELWireCounters *counters) {
    return ZELLoopbackDelivery_getMatchCountersI(reinterpret_cast<ZELLoopbackEndpointI *>(writer), reader, counters);
}

ZELBoolean ZELLoopbackWire_getReaderMatchCountersI(ZELWireReader *reader, const ZELWireGuid *writer,
                                                   ZELWireCounters *counters) {
    return ZELLoopbackDelivery_getMatchCountersI(reinterpret_cast<ZELLoopbackEndpointI *>(reader), writer, counters);
}
