// The RTPS wire: wire instances, domains, participants, and the table.
#include <cstdlib>
#include <new>

#include "cyclone_private.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"

const ZELWireOps ZELCycloneWire_ops = {
        "cyclone",
        // Readers decide in their own process and Cyclone tells neither the
        // sequence numbers of received samples nor the locators of matched
        // readers; its writer statistics give the repair octets. Leases,
        // deadlines and lost samples are Cyclone's: it sees the assertions
        // and the gaps that never reach the DDS layer. Rejections are the
        // DDS layer's, whose cache applies the resource limits (Cyclone's
        // reader keeps all and never rejects).
        ZEL_WIRE_SUPPLIES_SAMPLE_COUNTS | ZEL_WIRE_SUPPLIES_READER_OUTCOMES | ZEL_WIRE_SUPPLIES_PULLED_BYTES |
                ZEL_WIRE_SUPPLIES_LIVELINESS | ZEL_WIRE_SUPPLIES_DEADLINES | ZEL_WIRE_SUPPLIES_SAMPLE_LOST,
        ZELCycloneWire_createI,
        ZELCycloneWire_destroyI,
        ZELCycloneWire_createParticipantI,
        ZELCycloneWire_deleteParticipantI,
        ZELCycloneWire_createWriterI,
        ZELCycloneWire_deleteWriterI,
        ZELCycloneWire_createReaderI,
        ZELCycloneWire_deleteReaderI,
        ZELCycloneWire_writeI,
        ZELCycloneWire_writeReplayI,
        ZELCycloneWire_replayDoneI,
        ZELCycloneWire_getWriterCountersI,
        ZELCycloneWire_getReaderCountersI,
        ZELCycloneWire_getWriterMatchCountersI,
        ZELCycloneWire_getReaderMatchCountersI,
        ZELCycloneWire_visitDiscoveredI,
        ZELCycloneWire_visitInconsistentTopicsI,
        ZELCycloneWire_assertWriterLivelinessI,
        ZELCycloneWire_assertParticipantLivelinessI,
        ZELCycloneWire_getWriterStatusCountsI,
        ZELCycloneWire_getReaderStatusCountsI,
};

// Used when the environment names no configuration (CYCLONEDDS_URI): peers
// on this machine found without multicast, which many machines and
// containers lack, with room for many processes.
static const char ZELCycloneWire_g_defaultConfig[] =
        "<CycloneDDS><Domain Id=\"any\">"
        "<General><Interfaces><NetworkInterface address=\"127.0.0.1\"/></Interfaces>"
        "<AllowMulticast>false</AllowMulticast></General>"
        "<Discovery><ParticipantIndex>auto</ParticipantIndex>"
        "<MaxAutoParticipantIndex>60</MaxAutoParticipantIndex>"
        "<Peers><Peer address=\"127.0.0.1\"/></Peers></Discovery>"
        "<Internal><GenerateKeyhash>true</GenerateKeyhash></Internal>"
        "</Domain></CycloneDDS>";

ZELWire *ZELCycloneWire_createI(void) {
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(ZELCycloneWireI), "WCYW");
    if (memory == nullptr) {
        ZELLog_printContextAndMsg("ZELCycloneWire_createI", &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELCycloneWireI)));
        return nullptr;
    }
    auto *wire = new (memory) ZELCycloneWireI();
    wire->base.ops = &ZELCycloneWire_ops;
    wire->participantCount = 0;
    if (!ZELCycloneMatchSync_startI(&wire->matchSync)) {
        wire->~ZELCycloneWireI();
        ZELOsapiHeap_freeStructure(wire);
        return nullptr;
    }
    return &wire->base;
}

ZELBoolean ZELCycloneWire_destroyI(ZELWire *base) {
    auto *wire = reinterpret_cast<ZELCycloneWireI *>(base);
    {
        std::lock_guard<std::mutex> guard(wire->mutex);
        if (wire->participantCount != 0) {
            ZELLog_printContextAndMsg("ZELCycloneWire_destroyI", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                      "participants remain");
            return ZEL_FALSE;
        }
    }
    ZELCycloneMatchSync_stopI(&wire->matchSync);
    wire->~ZELCycloneWireI();
    ZELOsapiHeap_freeStructure(wire);
    return ZEL_TRUE;
}

// Creates the domain with the default configuration on its first
// participant, unless the environment configures Cyclone [wire mutex held].
static bool ZELCycloneWire_useDomainI(ZELCycloneWireI *wire, int32_t domainId) {
    for (ZELCycloneDomainI &domain : wire->domains) {
        if (domain.id == domainId) {
            ++domain.users;
            return true;
        }
    }
    ZELCycloneDomainI domain{domainId, 0, 1};
    const char *uri = std::getenv("CYCLONEDDS_URI");
    if (uri == nullptr || uri[0] == '\0') {
        domain.domain = dds_create_domain(static_cast<dds_domainid_t>(domainId), ZELCycloneWire_g_defaultConfig);
        // Another part of the process may have made it already.
        if (domain.domain < 0 && domain.domain != DDS_RETCODE_PRECONDITION_NOT_MET) {
            ZELLog_printContextAndMsg("ZELCycloneWire_createParticipantI", &ZEL_LOG_CREATION_FAILURE_s,
                                      dds_strretcode(domain.domain));
            return false;
        }
        domain.domain = domain.domain < 0 ? 0 : domain.domain;
    }
    try {
        wire->domains.push_back(domain);
    } catch (...) {
        if (domain.domain > 0) {
            dds_delete(domain.domain);
        }
        ZELLog_printContextAndMsg("ZELCycloneWire_createParticipantI", &ZEL_LOG_CREATION_FAILURE_s, "domain");
        return false;
    }
    return true;
}

// [wire mutex held]
static void ZELCycloneWire_unuseDomainI(ZELCycloneWireI *wire, int32_t domainId) {
    for (auto it = wire->domains.begin(); it != wire->domains.end(); ++it) {
        if (it->id == domainId && --it->users == 0) {
            if (it->domain > 0) {
                dds_delete(it->domain);
            }
            wire->domains.erase(it);
            return;
        }
    }
}

static void ZELCycloneParticipant_freeI(ZELCycloneParticipantI *participant) {
    if (participant->participant > 0) {
        dds_delete(participant->participant);
    }
    participant->~ZELCycloneParticipantI();
    ZELOsapiHeap_freeStructure(participant);
}

ZELWireParticipant *ZELCycloneWire_createParticipantI(ZELWire *base, int32_t domainId, uint32_t guidPrefix[3]) {
    const char *const context = "ZELCycloneWire_createParticipantI";
    auto *wire = reinterpret_cast<ZELCycloneWireI *>(base);
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(ZELCycloneParticipantI), "WCYP");
    if (memory == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELCycloneParticipantI)));
        return nullptr;
    }
    auto *participant = new (memory) ZELCycloneParticipantI();
    participant->wire = wire;
    participant->domainId = domainId;
    participant->endpointCount = 0;
    {
        std::lock_guard<std::mutex> guard(wire->mutex);
        if (!ZELCycloneWire_useDomainI(wire, domainId)) {
            ZELCycloneParticipant_freeI(participant);
            return nullptr;
        }
        ++wire->participantCount;
    }
    participant->participant = dds_create_participant(static_cast<dds_domainid_t>(domainId), nullptr, nullptr);
    static const dds_entity_t builtinTopics[ZEL_CYCLONE_BUILTIN_COUNT] = {
            DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, DDS_BUILTIN_TOPIC_DCPSPUBLICATION, DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION,
            DDS_BUILTIN_TOPIC_DCPSPUBLICATION, DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION};
    // Cyclone picks the GUID and cannot be told one: the participant takes
    // Cyclone's prefix, so that its key is its GUID on the network.
    dds_guid_t guid{};
    const char *failed = nullptr;
    if (participant->participant <= 0) {
        failed = dds_strretcode(participant->participant);
    } else if (dds_get_guid(participant->participant, &guid) != DDS_RETCODE_OK) {
        failed = "participant GUID";
    }
    for (int i = 0; failed == nullptr && i < ZEL_CYCLONE_BUILTIN_COUNT; ++i) {
        participant->builtin[i] = dds_create_reader(participant->participant, builtinTopics[i], nullptr, nullptr);
        failed = participant->builtin[i] > 0 ? nullptr : "builtin reader";
    }
    if (failed != nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, failed);
        participant->participant = participant->participant < 0 ? 0 : participant->participant;
        std::lock_guard<std::mutex> guard(wire->mutex);
        --wire->participantCount;
        ZELCycloneWire_unuseDomainI(wire, domainId);
        ZELCycloneParticipant_freeI(participant);
        return nullptr;
    }
    for (int word = 0; word < 3; ++word) {
        guidPrefix[word] = ZELCycloneGuid_wordI(guid.v, word);
    }
    return reinterpret_cast<ZELWireParticipant *>(participant);
}

ZELBoolean ZELCycloneWire_deleteParticipantI(ZELWireParticipant *handle) {
    auto *participant = reinterpret_cast<ZELCycloneParticipantI *>(handle);
    {
        std::lock_guard<std::mutex> guard(participant->mutex);
        if (participant->endpointCount != 0) {
            ZELLog_printContextAndMsg("ZELCycloneWire_deleteParticipantI", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                      "endpoints remain");
            return ZEL_FALSE;
        }
    }
    ZELCycloneWireI *wire = participant->wire;
    const int32_t domainId = participant->domainId;
    ZELCycloneParticipant_freeI(participant);
    std::lock_guard<std::mutex> guard(wire->mutex);
    --wire->participantCount;
    ZELCycloneWire_unuseDomainI(wire, domainId);
    return ZEL_TRUE;
}
