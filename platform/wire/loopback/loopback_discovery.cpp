// Discovery on the in-process wire: every participant and endpoint of the
// wire is known at once to the participants of its domain, so discovery is
// a walk over the wire's lists. The loopback has no topic announcements: a
// remote topic is seen only through the endpoints that use it.
#include <cstring>

#include "loopback_private.h"
#include "vurncore/dds_string.h"
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
            entity.guid = ZELWireGuid{
                    {other->guidPrefix[0], other->guidPrefix[1], other->guidPrefix[2], ZEL_WIRE_ENTITY_ID_PARTICIPANT}};
            if (!visit(context, &entity)) {
                return ZEL_FALSE;
            }
        }
        return ZEL_TRUE;
    }
    const bool writers = kind == ZEL_WIRE_ENTITY_WRITER;
    for (const ZELLoopbackEndpointI *endpoint = wire->endpoints; endpoint != nullptr; endpoint = endpoint->next) {
        if (endpoint->isWriter != writers || endpoint->deleting || endpoint->participant->domainId != self->domainId) {
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

static void ZELLoopbackLocalTopic_forgetRemotesI(ZELLoopbackLocalTopicI *topic) {
    while (topic->inconsistent != nullptr) {
        ZELLoopbackInconsistentTopicI *known = topic->inconsistent;
        topic->inconsistent = known->next;
        ZELOsapiHeap_freeStructure(known);
    }
}

static bool ZELLoopbackLocalTopic_remembersI(const ZELLoopbackLocalTopicI *topic, const uint32_t prefix[3]) {
    for (const ZELLoopbackInconsistentTopicI *known = topic->inconsistent; known != nullptr; known = known->next) {
        if (ZELLoopbackParticipant_samePrefixI(known->remotePrefix, prefix)) {
            return true;
        }
    }
    return false;
}

// The record of the participant's topic `guid` named `name`, or NULL. A
// record of that name with another GUID was a deleted topic's: the new
// topic takes it over, forgetting what it found [wire mutex held].
static ZELLoopbackLocalTopicI *ZELLoopbackParticipant_findTopicI(ZELLoopbackParticipantI *self, const ZELWireGuid *guid,
                                                                 const char *name) {
    for (ZELLoopbackLocalTopicI *topic = self->topics; topic != nullptr; topic = topic->next) {
        if (std::strcmp(topic->name, name) == 0) {
            if (!ZELWireGuid_equalsI(&topic->guid, guid)) {
                ZELLoopbackLocalTopic_forgetRemotesI(topic);
                topic->guid = *guid;
            }
            return topic;
        }
    }
    return nullptr;
}

// A record for the participant's topic, linked; NULL when out of heap
// [wire mutex held].
static ZELLoopbackLocalTopicI *ZELLoopbackParticipant_addTopicI(ZELLoopbackParticipantI *self, const ZELWireGuid *guid,
                                                                const char *name) {
    const char *const context = "ZELLoopbackParticipant_addTopicI";
    auto *topic = static_cast<ZELLoopbackLocalTopicI *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackLocalTopicI), "WLBT"));
    if (topic == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ZELLoopbackLocalTopicI)));
        return nullptr;
    }
    topic->name = DDS_String_dup(name);
    if (topic->name == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "topic name");
        ZELOsapiHeap_freeStructure(topic);
        return nullptr;
    }
    topic->guid = *guid;
    topic->inconsistent = nullptr;
    topic->next = self->topics;
    self->topics = topic;
    return topic;
}

// Remembers every remote topic inconsistent with the participant's topic
// not yet known; false when out of heap [wire mutex held].
static bool ZELLoopbackParticipant_findInconsistentTopicsI(ZELLoopbackParticipantI *self, const ZELWireGuid *guid,
                                                           const char *topicName, const char *typeName,
                                                           ZELLoopbackLocalTopicI **topic) {
    *topic = ZELLoopbackParticipant_findTopicI(self, guid, topicName);
    for (const ZELLoopbackEndpointI *endpoint = ZELLoopbackWire_firstOfTopicI(self->wire, topicName);
         endpoint != nullptr; endpoint = endpoint->topicNext) {
        const ZELLoopbackParticipantI *remote = endpoint->participant;
        if (remote == self || remote->domainId != self->domainId || endpoint->deleting ||
            std::strcmp(endpoint->topicName, topicName) != 0 || std::strcmp(endpoint->typeName, typeName) == 0 ||
            (*topic != nullptr && ZELLoopbackLocalTopic_remembersI(*topic, remote->guidPrefix))) {
            continue;
        }
        if (*topic == nullptr) {
            *topic = ZELLoopbackParticipant_addTopicI(self, guid, topicName);
            if (*topic == nullptr) {
                return false;
            }
        }
        auto *found = static_cast<ZELLoopbackInconsistentTopicI *>(
                ZELOsapiHeap_allocateStructure(sizeof(ZELLoopbackInconsistentTopicI), "WLBI"));
        if (found == nullptr) {
            ZELLog_printContextAndMsg("ZELLoopbackParticipant_findInconsistentTopicsI",
                                      &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                      static_cast<int>(sizeof(ZELLoopbackInconsistentTopicI)));
            return false;
        }
        for (int i = 0; i < 3; ++i) {
            found->remotePrefix[i] = remote->guidPrefix[i];
        }
        found->acknowledged = false;
        found->next = (*topic)->inconsistent;
        (*topic)->inconsistent = found;
    }
    return true;
}

ZELBoolean ZELLoopbackWire_getInconsistentTopicsI(ZELWireParticipant *handle, const ZELWireGuid *guid,
                                                  const char *topicName, const char *typeName, ZELBoolean acknowledge,
                                                  uint32_t *total, uint32_t *unacknowledged) {
    auto *self = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    std::lock_guard<std::mutex> guard(self->wire->mutex);
    ZELLoopbackLocalTopicI *topic = nullptr;
    if (!ZELLoopbackParticipant_findInconsistentTopicsI(self, guid, topicName, typeName, &topic)) {
        return ZEL_FALSE;
    }
    *total = 0;
    *unacknowledged = 0;
    for (ZELLoopbackInconsistentTopicI *known = topic != nullptr ? topic->inconsistent : nullptr; known != nullptr;
         known = known->next) {
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

void ZELLoopbackParticipant_forgetTopicsI(ZELLoopbackParticipantI *participant) {
    while (participant->topics != nullptr) {
        ZELLoopbackLocalTopicI *topic = participant->topics;
        participant->topics = topic->next;
        ZELLoopbackLocalTopic_forgetRemotesI(topic);
        DDS_String_free(topic->name);
        ZELOsapiHeap_freeStructure(topic);
    }
}
