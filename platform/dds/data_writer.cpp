// Data writers: creation on a publisher for a topic, QoS and deletion.
#include <new>

#include "data_writer_private.h"
#include "vurncore/heap.h"

static void DDS_DataWriter_freeI(DDS_DataWriter *writer) {
    DDS_Entity_finalizeI(&writer->entity);
    DDS_DataWriterQos_finalize(&writer->qos);
    writer->~DDS_DataWriterImpl();
    ZELOsapiHeap_freeStructure(writer);
}

DDS_ReturnCode_t DDS_DataWriter_deleteI(DDS_DataWriter *writer) {
    DDS_DomainParticipant *participant = writer->entity.participant;
    auto *publisher = reinterpret_cast<DDS_Publisher *>(writer->entity.parent);
    DDS_DomainParticipant_notifyMonitorI(participant, DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE, &writer->entity,
                                         nullptr);
    // Out of the publisher's list first, under its lock: whoever walks the
    // list under that lock (the monitor's statistics) never meets a writer
    // being taken apart.
    {
        DDS_EntityLockGuardI participantGuard(&participant->entity);
        if (!participantGuard.held()) {
            return participantGuard.result();
        }
        DDS_EntityLockGuardI publisherGuard(&publisher->entity);
        if (!publisherGuard.held()) {
            return publisherGuard.result();
        }
        DDS_EntityList_removeI(&publisher->writers, &writer->entity.node);
        --writer->topic->useCount;
    }
    // Unmatches are reported to the monitor from inside: no lock is held.
    DDS_DataWriter_detachI(writer);
    DDS_DataWriter_freeI(writer);
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_DataWriter *DDS_Publisher_create_datawriter(DDS_Publisher *self, DDS_Topic *topic,
                                                          const struct DDS_DataWriterQos *qos,
                                                          const struct DDS_DataWriterListener *listener,
                                                          DDS_StatusMask mask) {
    const char *const context = "DDS_Publisher_create_datawriter";
    if (self == nullptr || topic == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (topic == nullptr ? "topic" : "qos"));
        return nullptr;
    }
    DDS_DomainParticipant *participant = self->entity.participant;
    if (topic->entity.participant != participant) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic of another participant");
        return nullptr;
    }
    if (qos != &DDS_DATAWRITER_QOS_DEFAULT && DDS_DataWriterQos_checkI(qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_DataWriterImpl), "DWRI");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_DataWriterImpl));
        return nullptr;
    }
    auto *writer = new (memory) DDS_DataWriterImpl{};
    writer->entity.participant = participant;
    writer->topic = topic;
    bool autoenable = false;
    {
        DDS_EntityLockGuardI participantGuard(&participant->entity);
        DDS_EntityLockGuardI publisherGuard(&self->entity);
        bool keyed = topic->type->plugin.getKeyKindFnc != nullptr &&
                     topic->type->plugin.getKeyKindFnc() == PRES_TYPEPLUGIN_USER_KEY;
        if (!participantGuard.held() || !publisherGuard.held() ||
            !DDS_Qos_replaceI(&writer->qos, qos == &DDS_DATAWRITER_QOS_DEFAULT ? &self->defaultWriterQos : qos) ||
            !DDS_Entity_initializeI(&writer->entity, DDS_DATAWRITER_ENTITY_KIND, participant, &self->entity,
                                    keyed ? DDS_ENTITY_KIND_OCTET_WRITER_WITH_KEY : DDS_ENTITY_KIND_OCTET_WRITER_NO_KEY,
                                    writer->qos.protocol.vendor_specific_entity,
                                    listener != nullptr ? &listener->as_listener : nullptr, mask)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "writer");
            DDS_DataWriter_freeI(writer);
            return nullptr;
        }
        DDS_EntityList_addI(&self->writers, &writer->entity.node);
        ++topic->useCount;
        autoenable =
                self->entity.enabled && self->qos.entity_factory.autoenable_created_entities && topic->entity.enabled;
    }
    DDS_DomainParticipant_notifyMonitorI(participant, DDS_MONITOR_EVENT_DATAWRITER_CREATE_AFTER, &writer->entity,
                                         nullptr);
    if (autoenable && DDS_Entity_enableI(&writer->entity) != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "enable");
    }
    return writer;
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_delete_datawriter(DDS_Publisher *self, DDS_DataWriter *writer) {
    const char *const context = "DDS_Publisher_delete_datawriter";
    if (self == nullptr || writer == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "writer");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (writer->entity.parent != &self->entity) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "writer of another publisher");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_DataWriter_deleteI(writer);
}

VURNC_API DDS_Entity *DDS_DataWriter_as_entity(DDS_DataWriter *self) {
    return self != nullptr ? &self->entity : nullptr;
}

VURNC_API DDS_DataWriter *DDS_DataWriter_narrow(DDS_Entity *entity) {
    if (entity == nullptr || entity->kind != DDS_DATAWRITER_ENTITY_KIND) {
        return nullptr;
    }
    return reinterpret_cast<DDS_DataWriter *>(entity);
}

VURNC_API DDS_Publisher *DDS_DataWriter_get_publisher(const DDS_DataWriter *self) {
    return self != nullptr ? reinterpret_cast<DDS_Publisher *>(self->entity.parent) : nullptr;
}

VURNC_API DDS_Topic *DDS_DataWriter_get_topic(const DDS_DataWriter *self) {
    return self != nullptr ? self->topic : nullptr;
}

VURNC_API const DDS_BuiltinTopicKey_t *DDS_DataWriter_get_builtin_topic_key(const DDS_DataWriter *self) {
    return self != nullptr ? &self->entity.key : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_qos(DDS_DataWriter *self, struct DDS_DataWriterQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
                              "DDS_DataWriter_get_qos");
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_set_qos(DDS_DataWriter *self, const struct DDS_DataWriterQos *qos) {
    const DDS_ReturnCode_t result = DDS_Entity_setQosI<DDS_DataWriterQos>(
            self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
            &DDS_DATAWRITER_QOS_DEFAULT,
            self != nullptr ? &reinterpret_cast<DDS_Publisher *>(self->entity.parent)->defaultWriterQos : nullptr, true,
            DDS_MONITOR_EVENT_DATAWRITER_QOS_CHANGE_AFTER, "DDS_DataWriter_set_qos");
    DDS_DataWriterPathI *path = result == DDS_RETCODE_OK ? self->path.load() : nullptr;
    if (path != nullptr) {
        // The data path's mutex is below the writer's lock.
        DDS_EntityLockGuardI guard(&self->entity);
        if (guard.held()) {
            std::lock_guard<std::mutex> pathGuard(path->mutex);
            DDS_DataWriterPath_refreshQosI(path, &self->qos);
        }
    }
    return result;
}

VURNC_API void *DDS_DataWriter_get_endpoint_dataI(const DDS_DataWriter *self) {
    return self != nullptr ? self->endpointData : nullptr;
}

}  // extern "C"
