// Discovery on the in-process wire: every participant and endpoint of the
// wire is known at once to the participants of its domain, so discovery is
// a walk over the wire's lists. The loopback has no topic announcements: a
// remote topic is seen only through the endpoints that use it.
#include <cstring>

#include "loopback_private.h"

ZELBoolean ZELLoopbackWire_visitDiscoveredI(ZELWireParticipant *handle, ZELWireEntityKind kind,
                                            ZELWireDiscoveryVisitor visit, void *context) {
    auto *self = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    ZELLoopbackWireI *wire = self->wire;
    std::lock_guard guard(wire->mutex);
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

ZELBoolean ZELLoopbackWire_visitInconsistentTopicsI(ZELWireParticipant *handle, const char *topicName,
                                                    const char *typeName, ZELWireInconsistentTopicVisitor visit,
                                                    void *context) {
    auto *self = reinterpret_cast<ZELLoopbackParticipantI *>(handle);
    std::lock_guard guard(self->wire->mutex);
    for (const ZELLoopbackEndpointI *endpoint = ZELLoopbackWire_firstOfTopicI(self->wire, topicName);
         endpoint != nullptr; endpoint = endpoint->topicNext) {
        const ZELLoopbackParticipantI *remote = endpoint->participant;
        if (remote == self || remote->domainId != self->domainId || endpoint->deleting ||
            std::strcmp(endpoint->topicName, topicName) != 0 || std::strcmp(endpoint->typeName, typeName) == 0) {
            continue;
        }
        if (!visit(context, remote->guidPrefix)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}
