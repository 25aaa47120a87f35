// Writers and readers of the in-process wire: creation, deletion, and the
// endpoint's place in the wire's list.
#include "loopback_private.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"
#include "vurncore/osapi.h"

// Frees an endpoint record whatever its state of construction.
static void ZELLoopbackEndpoint_freeI(ZELLoopbackEndpointI *endpoint) {
    if (endpoint->wakeup != nullptr) {
        ZELOsapiSemaphore_delete(endpoint->wakeup);
    }
    if (endpoint->typeName != nullptr) {
        DDS_String_free(endpoint->typeName);
    }
    if (endpoint->topicName != nullptr) {
        DDS_String_free(endpoint->topicName);
    }
    ZELOsapiHeap_freeStructure(endpoint);
}

ZELLoopbackEndpointI *ZELLoopbackWire_firstOfTopicI(ZELLoopbackWireI *wire, const char *name) {
    auto found = wire->byTopic.find(name);
    return found != wire->byTopic.end() ? found->second : nullptr;
}

// Puts the endpoint first among those of its topic; false when out of
// memory [wire mutex held].
static bool ZELLoopbackEndpoint_linkTopicI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint) {
    try {
        ZELLoopbackEndpointI *&first = wire->byTopic[endpoint->topicName];
        endpoint->topicPrev = nullptr;
        endpoint->topicNext = first;
        if (first != nullptr) {
            first->topicPrev = endpoint;
        }
        first = endpoint;
    } catch (...) {
        return false;
    }
    return true;
}

static void ZELLoopbackEndpoint_unlinkI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint) {
    if (endpoint->topicNext != nullptr) {
        endpoint->topicNext->topicPrev = endpoint->topicPrev;
    }
    if (endpoint->topicPrev != nullptr) {
        endpoint->topicPrev->topicNext = endpoint->topicNext;
    } else if (endpoint->topicNext != nullptr) {
        wire->byTopic.find(endpoint->topicName)->second = endpoint->topicNext;
    } else {
        wire->byTopic.erase(endpoint->topicName);
    }
    if (endpoint->prev != nullptr) {
        endpoint->prev->next = endpoint->next;
    } else {
        wire->endpoints = endpoint->next;
    }
    if (endpoint->next != nullptr) {
        endpoint->next->prev = endpoint->prev;
    }
    --endpoint->participant->endpointCount;
}

// Makes the record, links it and its matches, then announces them; NULL
// (logged, nothing left behind) on bad parameters or out of heap.
// Exactly one of the listeners is given: the writer's or the reader's.
static ZELLoopbackEndpointI *ZELLoopbackEndpoint_createI(ZELWireParticipant *handle,
                                                         const ZELWireEndpointParams *params,
                                                         const ZELWireWriterListener *writerListener,
                                                         const ZELWireReaderListener *readerListener,
                                                         const char *context) {
    const bool isWriter = writerListener != nullptr;
    auto *participant = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    if (participant == nullptr || params == nullptr || params->topicName == nullptr || params->typeName == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "endpoint parameters");
        return nullptr;
    }
    ZELLoopbackWireI *wire = participant->wire;
    auto *endpoint = static_cast<ZELLoopbackEndpointI *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackEndpointI), isWriter ? "WLBW" : "WLBR"));
    if (endpoint == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELLoopbackEndpointI)));
        return nullptr;
    }
    endpoint->isWriter = isWriter;
    endpoint->participant = participant;
    endpoint->guid = params->guid;
    endpoint->keyed = params->keyed != ZEL_FALSE;
    endpoint->vendorSpecific = params->vendorSpecific != ZEL_FALSE;
    endpoint->qos = params->qos;
    if (isWriter) {
        endpoint->writerListener = *writerListener;
    } else {
        endpoint->readerListener = *readerListener;
    }
    endpoint->topicName = DDS_String_dup(params->topicName);
    endpoint->typeName = endpoint->topicName == nullptr ? nullptr : DDS_String_dup(params->typeName);
    endpoint->wakeup =
            endpoint->typeName == nullptr ? nullptr : ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    if (endpoint->wakeup == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "endpoint");
        ZELLoopbackEndpoint_freeI(endpoint);
        return nullptr;
    }
    bool matched = false;
    {
        std::lock_guard guard(wire->mutex);
        if (!isWriter) {
            // The reader's locator names it uniquely within the wire.
            const uint32_t id = wire->nextReaderId++;
            endpoint->locator.kind = ZEL_WIRE_LOCATOR_KIND_LOOPBACK;
            for (int i = 0; i < 4; ++i) {
                endpoint->locator.address[12 + i] = static_cast<uint8_t>(id >> (24 - 8 * i));
            }
        }
        if (ZELLoopbackEndpoint_linkTopicI(wire, endpoint)) {
            endpoint->prev = nullptr;
            endpoint->next = wire->endpoints;
            if (wire->endpoints != nullptr) {
                wire->endpoints->prev = endpoint;
            }
            wire->endpoints = endpoint;
            ++participant->endpointCount;
            matched = ZELLoopbackMatch_createAllI(wire, endpoint);
            if (!matched) {
                ZELLoopbackEndpoint_unlinkI(wire, endpoint);
            }
        }
    }
    if (!matched) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "matches");
        ZELLoopbackEndpoint_freeI(endpoint);
        return nullptr;
    }
    ZELLoopbackMatch_announceAllI(wire, endpoint);
    return endpoint;
}

static void ZELLoopbackEndpoint_deleteI(ZELLoopbackEndpointI *endpoint) {
    ZELLoopbackWireI *wire = endpoint->participant->wire;
    ZELLoopbackMatch_removeAllI(wire, endpoint);
    {
        std::lock_guard guard(wire->mutex);
        ZELLoopbackEndpoint_unlinkI(wire, endpoint);
    }
    ZELLoopbackEndpoint_freeI(endpoint);
}

ZELWireWriter *ZELLoopbackWire_createWriterI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                             const ZELWireWriterListener *listener) {
    if (listener == nullptr) {
        ZELLog_printContextAndMsg("ZELLoopbackWire_createWriterI", &ZEL_LOG_BAD_PARAMETER_s, "listener");
        return nullptr;
    }
    return reinterpret_cast<ZELWireWriter *>(
            ZELLoopbackEndpoint_createI(participant, params, listener, nullptr, "ZELLoopbackWire_createWriterI"));
}

void ZELLoopbackWire_deleteWriterI(ZELWireWriter *writer) {
    ZELLoopbackEndpoint_deleteI(reinterpret_cast<ZELLoopbackEndpointI *>(writer));
}

ZELWireReader *ZELLoopbackWire_createReaderI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                             const ZELWireReaderListener *listener) {
    if (listener == nullptr || listener->onSample == nullptr) {
        ZELLog_printContextAndMsg("ZELLoopbackWire_createReaderI", &ZEL_LOG_BAD_PARAMETER_s, "listener");
        return nullptr;
    }
    return reinterpret_cast<ZELWireReader *>(
            ZELLoopbackEndpoint_createI(participant, params, nullptr, listener, "ZELLoopbackWire_createReaderI"));
}

void ZELLoopbackWire_deleteReaderI(ZELWireReader *reader) {
    ZELLoopbackEndpoint_deleteI(reinterpret_cast<ZELLoopbackEndpointI *>(reader));
}
