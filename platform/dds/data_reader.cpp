// Data readers: creation on a subscriber for a topic, QoS and deletion.
#include <new>

#include "data_reader_private.h"
#include "vurncore/heap.h"

static void DDS_DataReader_freeI(DDS_DataReader *reader) {
    DDS_Entity_finalizeI(&reader->entity);
    DDS_DataReaderQos_finalize(&reader->qos);
    reader->~DDS_DataReaderImpl();
    ZELOsapiHeap_freeStructure(reader);
}

DDS_ReturnCode_t DDS_DataReader_deleteI(DDS_DataReader *reader) {
    DDS_DomainParticipant *participant = reader->entity.participant;
    auto *subscriber = reinterpret_cast<DDS_Subscriber *>(reader->entity.parent);
    // Its read conditions are the application's to delete first.
    bool hasConditions = false;
    {
        DDS_EntityLockGuardI guard(&reader->entity);
        hasConditions = reader->readConditions != nullptr;
    }
    if (hasConditions) {
        ZELLog_printContextAndMsg("DDS_Subscriber_delete_datareader", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  "outstanding read conditions");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    // Lent samples belong to the reader's cache record: refused until returned.
    if (DDS_DataReader_hasLoansI(reader)) {
        ZELLog_printContextAndMsg("DDS_Subscriber_delete_datareader", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  "outstanding loans");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    DDS_DomainParticipant_notifyMonitorI(participant, DDS_MONITOR_EVENT_DATAREADER_DELETE_BEFORE, &reader->entity,
                                         nullptr);
    // Out of the subscriber's list first, under its lock: whoever walks the
    // list under that lock (the monitor's statistics) never meets a reader
    // being taken apart.
    {
        DDS_EntityLockGuardI participantGuard(&participant->entity);
        if (!participantGuard.held()) {
            return participantGuard.result();
        }
        DDS_EntityLockGuardI subscriberGuard(&subscriber->entity);
        if (!subscriberGuard.held()) {
            return subscriberGuard.result();
        }
        DDS_EntityList_removeI(&subscriber->readers, &reader->entity.node);
        DDS_TopicDescription_addReaderI(reader->topicDescription, -1);
    }
    // Unmatches are reported to the monitor from inside: no lock is held.
    DDS_DataReader_detachI(reader);
    DDS_DataReader_freeI(reader);
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_DataReader *DDS_Subscriber_create_datareader(DDS_Subscriber *self, DDS_TopicDescription *topic,
                                                           const struct DDS_DataReaderQos *qos,
                                                           const struct DDS_DataReaderListener *listener,
                                                           DDS_StatusMask mask) {
    const char *const context = "DDS_Subscriber_create_datareader";
    if (self == nullptr || topic == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (topic == nullptr ? "topic" : "qos"));
        return nullptr;
    }
    DDS_DomainParticipant *participant = self->entity.participant;
    if (topic->participant != participant) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic of another participant");
        return nullptr;
    }
    if (qos != &DDS_DATAREADER_QOS_DEFAULT && DDS_DataReaderQos_checkI(qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_DataReaderImpl), "DREA");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_DataReaderImpl));
        return nullptr;
    }
    auto *reader = new (memory) DDS_DataReaderImpl{};
    reader->entity.participant = participant;
    reader->topicDescription = topic;
    DDS_Topic *related = DDS_TopicDescription_get_topicI(topic);
    bool autoenable = false;
    {
        DDS_EntityLockGuardI participantGuard(&participant->entity);
        DDS_EntityLockGuardI subscriberGuard(&self->entity);
        bool keyed = related->type->plugin.getKeyKindFnc != nullptr &&
                     related->type->plugin.getKeyKindFnc() == PRES_TYPEPLUGIN_USER_KEY;
        if (!participantGuard.held() || !subscriberGuard.held() ||
            !DDS_Qos_replaceI(&reader->qos, qos == &DDS_DATAREADER_QOS_DEFAULT ? &self->defaultReaderQos : qos) ||
            !DDS_Entity_initializeI(&reader->entity, DDS_DATAREADER_ENTITY_KIND, participant, &self->entity,
                                    keyed ? DDS_ENTITY_KIND_OCTET_READER_WITH_KEY : DDS_ENTITY_KIND_OCTET_READER_NO_KEY,
                                    reader->qos.protocol.vendor_specific_entity,
                                    listener != nullptr ? &listener->as_listener : nullptr, mask)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "reader");
            DDS_DataReader_freeI(reader);
            return nullptr;
        }
        DDS_EntityList_addI(&self->readers, &reader->entity.node);
        DDS_TopicDescription_addReaderI(topic, 1);
        autoenable =
                self->entity.enabled && self->qos.entity_factory.autoenable_created_entities && related->entity.enabled;
    }
    DDS_DomainParticipant_notifyMonitorI(participant, DDS_MONITOR_EVENT_DATAREADER_CREATE_AFTER, &reader->entity,
                                         nullptr);
    if (autoenable && DDS_Entity_enableI(&reader->entity) != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "enable");
    }
    return reader;
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_delete_datareader(DDS_Subscriber *self, DDS_DataReader *reader) {
    const char *const context = "DDS_Subscriber_delete_datareader";
    if (self == nullptr || reader == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "reader");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (reader->entity.parent != &self->entity) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "reader of another subscriber");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_DataReader_deleteI(reader);
}

VURNC_API DDS_Entity *DDS_DataReader_as_entity(DDS_DataReader *self) {
    return self != nullptr ? &self->entity : nullptr;
}

VURNC_API DDS_DataReader *DDS_DataReader_narrow(DDS_Entity *entity) {
    if (entity == nullptr || entity->kind != DDS_DATAREADER_ENTITY_KIND) {
        return nullptr;
    }
    return reinterpret_cast<DDS_DataReader *>(entity);
}

VURNC_API DDS_Subscriber *DDS_DataReader_get_subscriber(const DDS_DataReader *self) {
    return self != nullptr ? reinterpret_cast<DDS_Subscriber *>(self->entity.parent) : nullptr;
}

VURNC_API DDS_TopicDescription *DDS_DataReader_get_topicdescription(const DDS_DataReader *self) {
    return self != nullptr ? self->topicDescription : nullptr;
}

VURNC_API const DDS_BuiltinTopicKey_t *DDS_DataReader_get_builtin_topic_key(const DDS_DataReader *self) {
    return self != nullptr ? &self->entity.key : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_qos(DDS_DataReader *self, struct DDS_DataReaderQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
                              "DDS_DataReader_get_qos");
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_set_qos(DDS_DataReader *self, const struct DDS_DataReaderQos *qos) {
    const DDS_ReturnCode_t result = DDS_Entity_setQosI<DDS_DataReaderQos>(
            self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
            &DDS_DATAREADER_QOS_DEFAULT,
            self != nullptr ? &reinterpret_cast<DDS_Subscriber *>(self->entity.parent)->defaultReaderQos : nullptr,
            true, DDS_MONITOR_EVENT_DATAREADER_QOS_CHANGE_AFTER, "DDS_DataReader_set_qos");
    DDS_DataReaderPathI *path = result == DDS_RETCODE_OK ? self->path.load() : nullptr;
    if (path != nullptr) {
        // The data path's mutex is below the reader's lock.
        DDS_EntityLockGuardI guard(&self->entity);
        if (guard.held()) {
            std::lock_guard<std::mutex> pathGuard(path->mutex);
            DDS_DataReaderPath_refreshQosI(path, &self->qos);
        }
    }
    return result;
}

VURNC_API void *DDS_DataReader_get_endpoint_dataI(const DDS_DataReader *self) {
    return self != nullptr ? self->endpointData : nullptr;
}

}  // extern "C"
