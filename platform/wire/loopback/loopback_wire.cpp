// The in-process wire: wire instances, participants, and the table.
#include <new>

#include "loopback_private.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"

const ZELWireOps ZELLoopbackWire_ops = {
        "loopback",
        // Every delivery happens in this process, so the writer sees each
        // reader's decision; nothing is ever repaired, so pulled octets are
        // a true 0.
        ZEL_WIRE_SUPPLIES_SAMPLE_COUNTS | ZEL_WIRE_SUPPLIES_READER_OUTCOMES | ZEL_WIRE_SUPPLIES_WRITER_OUTCOMES |
                ZEL_WIRE_SUPPLIES_SEQUENCE_NUMBERS | ZEL_WIRE_SUPPLIES_PULLED_BYTES | ZEL_WIRE_SUPPLIES_MATCH_LOCATORS,
        ZELLoopbackWire_createI,
        ZELLoopbackWire_destroyI,
        ZELLoopbackWire_createParticipantI,
        ZELLoopbackWire_deleteParticipantI,
        ZELLoopbackWire_createWriterI,
        ZELLoopbackWire_deleteWriterI,
        ZELLoopbackWire_createReaderI,
        ZELLoopbackWire_deleteReaderI,
        ZELLoopbackWire_writeI,
        ZELLoopbackWire_writeReplayI,
        ZELLoopbackWire_replayDoneI,
        ZELLoopbackWire_getWriterCountersI,
        ZELLoopbackWire_getReaderCountersI,
        ZELLoopbackWire_getWriterMatchCountersI,
        ZELLoopbackWire_getReaderMatchCountersI,
        ZELLoopbackWire_visitDiscoveredI,
        ZELLoopbackWire_visitInconsistentTopicsI,
        // The DDS layer runs liveliness, deadlines and gaps itself.
        nullptr,
        nullptr,
        nullptr,
        nullptr,
};

ZELWire *ZELLoopbackWire_createI(void) {
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackWireI), "WLBW");
    if (memory == nullptr) {
        ZELLog_printContextAndMsg("ZELLoopbackWire_createI", &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELLoopbackWireI)));
        return nullptr;
    }
    ZELLoopbackWireI *wire = new (memory) ZELLoopbackWireI();
    wire->base.ops = &ZELLoopbackWire_ops;
    wire->nextReaderId = 1;
    return &wire->base;
}

ZELBoolean ZELLoopbackWire_destroyI(ZELWire *base) {
    ZELLoopbackWireI *wire = reinterpret_cast<ZELLoopbackWireI *>(base);
    {
        std::lock_guard guard(wire->mutex);
        if (wire->participants != nullptr) {
            ZELLog_printContextAndMsg("ZELLoopbackWire_destroyI", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                      "participants remain");
            return ZEL_FALSE;
        }
    }
    wire->~ZELLoopbackWireI();
    ZELOsapiHeap_freeStructure(wire);
    return ZEL_TRUE;
}

ZELWireParticipant *ZELLoopbackWire_createParticipantI(ZELWire *base, int32_t domainId, uint32_t guidPrefix[3]) {
    ZELLoopbackWireI *wire = reinterpret_cast<ZELLoopbackWireI *>(base);
    auto *participant = static_cast<ZELLoopbackParticipantI *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackParticipantI), "WLBP"));
    if (participant == nullptr) {
        ZELLog_printContextAndMsg("ZELLoopbackWire_createParticipantI", &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELLoopbackParticipantI)));
        return nullptr;
    }
    participant->wire = wire;
    participant->prev = nullptr;
    participant->domainId = domainId;
    for (int i = 0; i < 3; ++i) {
        participant->guidPrefix[i] = guidPrefix[i];
    }
    participant->endpointCount = 0;
    std::lock_guard guard(wire->mutex);
    participant->next = wire->participants;
    if (wire->participants != nullptr) {
        wire->participants->prev = participant;
    }
    wire->participants = participant;
    return reinterpret_cast<ZELWireParticipant *>(participant);
}

ZELBoolean ZELLoopbackWire_deleteParticipantI(ZELWireParticipant *handle) {
    auto *participant = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    ZELLoopbackWireI *wire = participant->wire;
    {
        std::lock_guard guard(wire->mutex);
        if (participant->endpointCount != 0) {
            ZELLog_printContextAndMsg("ZELLoopbackWire_deleteParticipantI", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                      "endpoints remain");
            return ZEL_FALSE;
        }
        if (participant->prev != nullptr) {
            participant->prev->next = participant->next;
        } else {
            wire->participants = participant->next;
        }
        if (participant->next != nullptr) {
            participant->next->prev = participant->prev;
        }
    }
    ZELOsapiHeap_freeStructure(participant);
    return ZEL_TRUE;
}
