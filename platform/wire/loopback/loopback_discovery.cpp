// Discovery on the in-process wire: every participant and endpoint of the
// wire is known at once to the participants of its domain, so discovery is
// a walk over the wire's lists. The loopback has no topic announcements: a
// remote topic is seen only through the endpoints that use it.
#include <cstring>

#include "loopback_private.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"

static bool ZELLoopbackParticipant_samePrefixI(const uint32_t left[3], const uint32_t right[3]) {
    return left[0] == right[0] && left[1] == right[1] && left[2] == right[2];
}

static bool ZELWireGuid_equalsI(const ZELWireGuid *left, const ZELWireGuid *right) {
    return std::memcmp(left->value, right->value, sizeof(left->value)) == 0;
}

ZELBoolean ZELLoopbackWire_visitDiscoveredI(ZELWireParticipant *handle, ZELWireEntityKind kind,
                                            ZELWireDiscoveryVisitor visit, void *context) {
    auto *self = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    ZELLoopbackWireI *wire = self->wire;
    std::lock_guard<std::mutex> guard(wire->mutex);
    ZELWireDiscoveredEntity entity{};
    if (kind == ZEL_WIRE_ENTITY_PARTICIPANT) {
        for (const ZELLoopbackParticipantI *other = wire->participants; other != nullptr; other = other->next) {
            if (other == self || other->domainId != self->domainId) {
                continue;
            }
            entity.guid = ZELWireGuid{{other->guidPrefix[0], other->guidPrefix[1], other->guidPrefix[2],
                                       ZEL_WIRE_ENTITY_ID_PARTICIPANT}};
            if (!visit(context, &entity)) {
                return ZEL_FALSE;
            }
        }
        return ZEL_TRUE;
    }
    const bool writers = kind == ZEL_WIRE_ENTITY_WRITER;
    for (const ZELLoopbackEndpointI *endpoint = wire->endpoints; endpoint != nullptr; endpoint = endpoint->next) {
        if (endpoint->isWriter != writers || endpoint->deleting ||
            endpoint->participant->domainId != self->domainId) {
            continue;
        }
        entity.guid = endpoint->guid;
        entity.vendorSpecific = endpoint->vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
        entity.topicName = endpoint->topicName;
        entity.typeName = endpoint->typeName;
        if (!visit(context, &entity)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

// Whether the participant already remembers the remote topic of `prefix`
// for its topic `topic` [wire mutex held].
static bool ZELLoopbackParticipant_remembersI(const ZELLoopbackParticipantI *self, const ZELWireGuid *topic,
                                              const uint32_t prefix[3]) {
    for (const ZELLoopbackInconsistentTopicI *known = self->inconsistentTopics; known != nullptr;
         known = known->next) {
        if (ZELWireGuid_equalsI(&known->localTopic, topic) &&
            ZELLoopbackParticipant_samePrefixI(known->remotePrefix, prefix)) {
            return true;
        }
    }
    return false;
}

// Remembers every remote topic inconsistent with `topic` not yet known;
// false when out of heap [wire mutex held].
static bool ZELLoopbackParticipant_findInconsistentTopicsI(ZELLoopbackParticipantI *self, const ZELWireGuid *topic,
                                                           const char *topicName, const char *typeName) {
    for (const ZELLoopbackEndpointI *endpoint = self->wire->endpoints; endpoint != nullptr;
         endpoint = endpoint->next) {
        const ZELLoopbackParticipantI *remote = endpoint->participant;
        if (remote == self || remote->domainId != self->domainId || endpoint->deleting ||
            std::strcmp(endpoint->topicName, topicName) != 0 || std::strcmp(endpoint->typeName, typeName) == 0 ||
            ZELLoopbackParticipant_remembersI(self, topic, remote->guidPrefix)) {
            continue;
        }
        auto *found = static_cast<ZELLoopbackInconsistentTopicI *>(
                ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackInconsistentTopicI), "WLBT"));
        if (found == nullptr) {
            ZELLog_printContextAndMsg("ZELLoopbackParticipant_findInconsistentTopicsI",
                                      &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                      static_cast<int>(sizeof(ZELLoopbackInconsistentTopicI)));
            return false;
        }
        found->localTopic = *topic;
        for (int i = 0; i < 3; ++i) {
            found->remotePrefix[i] = remote->guidPrefix[i];
        }
        found->acknowledged = false;
        found->next = self->inconsistentTopics;
        self->inconsistentTopics = found;
    }
    return true;
}

ZELBoolean ZELLoopbackWire_getInconsistentTopicsI(ZELWireParticipant *handle, const ZELWireGuid *topic,
                                                  const char *topicName, const char *typeName,
                                                  ZELBoolean acknowledge, uint32_t *total,
                                                  uint32_t *unacknowledged) {
    auto *self = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    std::lock_guard<std::mutex> guard(self->wire->mutex);
    if (!ZELLoopbackParticipant_findInconsistentTopicsI(self, topic, topicName, typeName)) {
        return ZEL_FALSE;
    }
    *total = 0;
    *unacknowledged = 0;
    for (ZELLoopbackInconsistentTopicI *known = self->inconsistentTopics; known != nullptr; known = known->next) {
        if (!ZELWireGuid_equalsI(&known->localTopic, topic)) {
            continue;
        }
        ++*total;
        if (!known->acknowledged) {
            ++*unacknowledged;
        }
        if (acknowledge) {
            known->acknowledged = true;
        }
    }
    return ZEL_TRUE;
}

void ZELLoopbackParticipant_forgetInconsistentTopicsI(ZELLoopbackParticipantI *participant) {
    while (participant->inconsistentTopics != nullptr) {
        ZELLoopbackInconsistentTopicI *known = participant->inconsistentTopics;
        participant->inconsistentTopics = known->next;
        ZELOsapiHeap_freeStructure(known);
    }
}
