// The wire's match thread: brings endpoints' matches in line with Cyclone's
// outside Cyclone's listeners, then reports their writers' liveliness and
// their incompatible matches.
#include <algorithm>

#include "cyclone_private.h"
#include "vurncore/log.h"

namespace {

void ZELCycloneMatchSync_runI(ZELCycloneMatchSyncI *sync) {
    std::unique_lock<std::mutex> lock(sync->mutex);
    for (;;) {
        sync->wake.wait(lock, [sync] { return sync->stop || !sync->pending.empty(); });
        if (sync->stop) {
            return;
        }
        sync->busy = sync->pending.front();
        sync->pending.erase(sync->pending.begin());
        lock.unlock();
        ZELCycloneEndpoint_syncMatchesIfLiveI(sync->busy);
        ZELCycloneEndpoint_reportLivelinessI(sync->busy);
        ZELCycloneEndpoint_reportIncompatibleI(sync->busy);
        lock.lock();
        sync->busy = nullptr;
        sync->done.notify_all();
    }
}

}  // namespace

bool ZELCycloneMatchSync_startI(ZELCycloneMatchSyncI *sync) {
    try {
        sync->thread = std::thread(ZELCycloneMatchSync_runI, sync);
    } catch (...) {
        ZELLog_printContextAndMsg("ZELCycloneWire_createI", &ZEL_LOG_CREATION_FAILURE_s, "match thread");
        return false;
    }
    return true;
}

void ZELCycloneMatchSync_stopI(ZELCycloneMatchSyncI *sync) {
    {
        std::lock_guard<std::mutex> guard(sync->mutex);
        sync->stop = true;
    }
    sync->wake.notify_all();
    sync->thread.join();
}

void ZELCycloneMatchSync_requestI(ZELCycloneMatchSyncI *sync, ZELCycloneEndpointI *endpoint) {
    {
        std::lock_guard<std::mutex> guard(sync->mutex);
        if (std::find(sync->pending.begin(), sync->pending.end(), endpoint) != sync->pending.end()) {
            return;
        }
        try {
            sync->pending.push_back(endpoint);
        } catch (...) {
            // The next match event of the endpoint, or its next sample from
            // an unknown writer, syncs it.
            ZELLog_printContextAndMsg("ZELCycloneWire_onMatched", &ZEL_LOG_CREATION_FAILURE_s, "match request");
            return;
        }
    }
    sync->wake.notify_one();
}

void ZELCycloneMatchSync_forgetI(ZELCycloneMatchSyncI *sync, ZELCycloneEndpointI *endpoint) {
    std::unique_lock<std::mutex> lock(sync->mutex);
    sync->pending.erase(std::remove(sync->pending.begin(), sync->pending.end(), endpoint), sync->pending.end());
    sync->done.wait(lock, [sync, endpoint] { return sync->busy != endpoint; });
}
