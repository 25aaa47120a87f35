// The wire's callbacks into a writer: matched and unmatched readers with
// their locators (statuses and monitor events), and history replays to
// readers that join late.
#include <cstring>

#include "data_writer_private.h"
#include "vurncore/heap.h"

static bool DDS_Locator_equalsI(const ZELNetioLocator *left, const ZELNetioLocator *right) {
    return left->kind == right->kind && left->port == right->port &&
           std::memcmp(left->address, right->address, sizeof(left->address)) == 0;
}

// Whether a match other than `except` has `locator`.
static bool DDS_DataWriterPath_hasLocatorI(const DDS_DataWriterPathI *path, const DDS_WriterMatchI *except,
                                           const ZELNetioLocator *locator) {
    for (const DDS_WriterMatchI *match = path->matches; match != nullptr; match = match->next) {
        if (match == except) {
            continue;
        }
        for (uint32_t i = 0; i < match->locatorCount; ++i) {
            if (DDS_Locator_equalsI(&match->locators[i], locator)) {
                return true;
            }
        }
    }
    return false;
}

static void DDS_DataWriterPath_notifyI(DDS_DataWriterPathI *path, DDS_Long event, const void *data) {
    DDS_DataWriter *writer = path->writer;
    DDS_DomainParticipant_notifyMonitorI(writer->entity.participant, event, &writer->entity, data);
}

static void DDS_DataWriterPath_onMatchedI(void *context, const ZELWireMatchInfo *info) {
    auto *path = static_cast<DDS_DataWriterPathI *>(context);
    auto *match = static_cast<DDS_WriterMatchI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_WriterMatchI), "DWMA"));
    ZELNetioLocator *locators = nullptr;
    if (match != nullptr && info->remoteLocatorCount > 0) {
        locators = static_cast<ZELNetioLocator *>(
                ZELOsapiHeap_allocateArray(info->remoteLocatorCount, sizeof(ZELNetioLocator), "DWML"));
        if (locators == nullptr) {
            ZELOsapiHeap_freeStructure(match);
            match = nullptr;
        }
    }
    if (match == nullptr) {
        // The match still counts; only its locators and handle are not listed.
        ZELLog_printContextAndMsg("DDS_DataWriter_onMatched", &ZEL_LOG_CREATION_FAILURE_s, "match record");
    }
    // Locators that none of the other matched readers had, reported after the match.
    uint32_t newLocatorCount = 0;
    {
        std::lock_guard<std::mutex> guard(path->mutex);
        if (match != nullptr) {
            match->guid = info->remoteGuid;
            match->locators = locators;
            match->locatorCount = 0;
            for (uint32_t i = 0; i < info->remoteLocatorCount; ++i) {
                if (!DDS_DataWriterPath_hasLocatorI(path, nullptr, &info->remoteLocators[i])) {
                    locators[newLocatorCount++] = info->remoteLocators[i];
                }
            }
            // The new ones first, then those shared with other readers.
            uint32_t sharedIndex = newLocatorCount;
            for (uint32_t i = 0; i < info->remoteLocatorCount; ++i) {
                if (DDS_DataWriterPath_hasLocatorI(path, nullptr, &info->remoteLocators[i])) {
                    locators[sharedIndex++] = info->remoteLocators[i];
                }
            }
            match->locatorCount = info->remoteLocatorCount;
            match->next = path->matches;
            path->matches = match;
        }
        DDS_PublicationMatchedStatus *status = &path->matched;
        ++status->total_count;
        ++status->total_count_change;
        ++status->current_count;
        ++status->current_count_change;
        if (status->current_count > status->current_count_peak) {
            status->current_count_peak = status->current_count;
        }
        status->last_subscription_handle = DDS_InstanceHandle_fromWireGuidI(&info->remoteGuid);
    }
    // The record stays until the unmatch, which runs on this path only after this returns.
    DDS_DataWriterPath_notifyI(path, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, info->remoteGuid.value);
    for (uint32_t i = 0; i < newLocatorCount; ++i) {
        DDS_DataWriterPath_notifyI(path, DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER, &locators[i]);
    }
}

static void DDS_DataWriterPath_onUnmatchedI(void *context, const ZELWireMatchInfo *info) {
    auto *path = static_cast<DDS_DataWriterPathI *>(context);
    DDS_WriterMatchI *match = nullptr;
    uint32_t lostLocatorCount = 0;
    {
        std::lock_guard<std::mutex> guard(path->mutex);
        for (DDS_WriterMatchI **link = &path->matches; *link != nullptr; link = &(*link)->next) {
            if (std::memcmp((*link)->guid.value, info->remoteGuid.value, sizeof(info->remoteGuid.value)) == 0) {
                match = *link;
                *link = match->next;
                break;
            }
        }
        if (match != nullptr) {
            // Move the locators no other reader has to the front.
            for (uint32_t i = 0; i < match->locatorCount; ++i) {
                if (!DDS_DataWriterPath_hasLocatorI(path, match, &match->locators[i])) {
                    ZELNetioLocator lost = match->locators[i];
                    match->locators[i] = match->locators[lostLocatorCount];
                    match->locators[lostLocatorCount++] = lost;
                }
            }
        }
        --path->matched.current_count;
        --path->matched.current_count_change;
        path->matched.last_subscription_handle = DDS_InstanceHandle_fromWireGuidI(&info->remoteGuid);
    }
    for (uint32_t i = 0; i < lostLocatorCount; ++i) {
        DDS_DataWriterPath_notifyI(path, DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER, &match->locators[i]);
    }
    DDS_DataWriterPath_notifyI(path, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER, info->remoteGuid.value);
    if (match != nullptr) {
        ZELOsapiHeap_freeArray(match->locators);
        ZELOsapiHeap_freeStructure(match);
    }
}

static void DDS_DataWriterPath_onIncompatibleI(void *context, const ZELWireGuid *, uint32_t policyId) {
    auto *path = static_cast<DDS_DataWriterPathI *>(context);
    std::lock_guard<std::mutex> guard(path->mutex);
    ++path->incompatible.total_count;
    ++path->incompatible.total_count_change;
    path->incompatible.last_policy_id = static_cast<DDS_QosPolicyId_t>(policyId);
    if (policyId < DDS_WRITER_POLICY_COUNT_I) {
        ++path->incompatiblePolicyCounts[policyId];
    }
}

// Under the mutex with which writes are serialized, so the reader gets the
// history and then the live samples, none twice.
static void DDS_DataWriterPath_onReplayI(void *context, ZELWireWriter *wireWriter, ZELWireReplay *replay,
                                         const ZELWireGuid *) {
    auto *path = static_cast<DDS_DataWriterPathI *>(context);
    ZELWire *wire = DDS_Entity_getWireI(&path->writer->entity);
    std::lock_guard<std::mutex> guard(path->mutex);
    ZELNtpTime now{};
    if (DDS_DomainParticipantFactory_getNowI(path->writer->entity.participant->factory, &now,
                                             "DDS_DataWriter_replay")) {
        DDS_WriterHistory_expireI(path, &now);
    }
    for (DDS_WriterSampleI *sample = path->oldest; sample != nullptr; sample = sample->next) {
        if (!wire->ops->writeReplay(wireWriter, replay, &sample->wire)) {
            ZELLog_printContextAndMsg("DDS_DataWriter_replay", &ZEL_LOG_ANY_FAILURE_s, "replay");
            break;
        }
    }
    wire->ops->replayDone(wireWriter, replay);
}

void DDS_DataWriterPath_fillListenerI(DDS_DataWriterPathI *path, ZELWireWriterListener *listener) {
    listener->context = path;
    listener->onMatched = DDS_DataWriterPath_onMatchedI;
    listener->onUnmatched = DDS_DataWriterPath_onUnmatchedI;
    listener->onIncompatible = DDS_DataWriterPath_onIncompatibleI;
    listener->onReplay = path->durable ? DDS_DataWriterPath_onReplayI : nullptr;
}
