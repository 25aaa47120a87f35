// Publishers: creation, QoS, the default writer QoS and their writer list.
#include <cstring>
#include <new>

#include "entity_private.h"
#include "vurncore/heap.h"

static void DDS_Publisher_freeI(DDS_Publisher *publisher) {
    DDS_Entity_finalizeI(&publisher->entity);
    DDS_DataWriterQos_finalize(&publisher->defaultWriterQos);
    DDS_PublisherQos_finalize(&publisher->qos);
    publisher->~DDS_PublisherImpl();
    ZELOsapiHeap_freeStructure(publisher);
}

// Refuses a publisher that still has writers; removes it from its
// participant when `remove` [participant lock taken here].
static DDS_ReturnCode_t DDS_Publisher_checkEmptyI(DDS_Publisher *publisher, bool remove, const char *context) {
    DDS_DomainParticipant *participant = publisher->entity.participant;
    DDS_EntityLockGuardI guard(&participant->entity);
    if (!guard.held()) {
        return guard.result();
    }
    if (publisher->writers.count != 0) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "publisher has writers");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (remove) {
        DDS_EntityList_removeI(&participant->publishers, &publisher->entity.node);
    }
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_Publisher *DDS_DomainParticipant_create_publisher(DDS_DomainParticipant *self,
                                                                const struct DDS_PublisherQos *qos,
                                                                const struct DDS_PublisherListener *listener,
                                                                DDS_StatusMask mask) {
    const char *const context = "DDS_DomainParticipant_create_publisher";
    if (self == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "qos");
        return nullptr;
    }
    if (qos != &DDS_PUBLISHER_QOS_DEFAULT && DDS_PublisherQos_checkI(qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_PublisherImpl), "DPUB");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_PublisherImpl));
        return nullptr;
    }
    auto *publisher = new (memory) DDS_PublisherImpl{};
    publisher->entity.participant = self;
    bool autoenable = false;
    {
        DDS_EntityLockGuardI guard(&self->entity);
        if (!guard.held() ||
            !DDS_Qos_replaceI(&publisher->qos, qos == &DDS_PUBLISHER_QOS_DEFAULT ? &self->defaultPublisherQos : qos) ||
            !DDS_Qos_replaceI(&publisher->defaultWriterQos, &self->factory->defaultWriterQos) ||
            !DDS_Entity_initializeI(&publisher->entity, DDS_PUBLISHER_ENTITY_KIND, self, &self->entity,
                                    DDS_ENTITY_KIND_OCTET_PUBLISHER, publisher->qos.protocol.vendor_specific_entity,
                                    listener != nullptr ? &listener->as_listener : nullptr, mask)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "publisher");
            DDS_Publisher_freeI(publisher);
            return nullptr;
        }
        DDS_EntityList_addI(&self->publishers, &publisher->entity.node);
        autoenable = self->entity.enabled && self->qos.entity_factory.autoenable_created_entities;
    }
    DDS_DomainParticipant_notifyMonitorI(self, DDS_MONITOR_EVENT_PUBLISHER_CREATE_AFTER, &publisher->entity, nullptr);
    if (autoenable && DDS_Entity_enableI(&publisher->entity) != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "enable");
    }
    return publisher;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_publisher(DDS_DomainParticipant *self,
                                                                  DDS_Publisher *publisher) {
    const char *const context = "DDS_DomainParticipant_delete_publisher";
    if (self == nullptr || publisher == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "publisher");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (publisher->entity.participant != self) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "publisher of another participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    // Checked before the monitor hears of the deletion and again after.
    DDS_ReturnCode_t result = DDS_Publisher_checkEmptyI(publisher, false, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    DDS_DomainParticipant_notifyMonitorI(self, DDS_MONITOR_EVENT_PUBLISHER_DELETE_BEFORE, &publisher->entity, nullptr);
    result = DDS_Publisher_checkEmptyI(publisher, true, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    DDS_Publisher_freeI(publisher);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_Entity *DDS_Publisher_as_entity(DDS_Publisher *self) { return self != nullptr ? &self->entity : nullptr; }

VURNC_API DDS_Publisher *DDS_Publisher_narrow(DDS_Entity *entity) {
    if (entity == nullptr || entity->kind != DDS_PUBLISHER_ENTITY_KIND) {
        return nullptr;
    }
    return reinterpret_cast<DDS_Publisher *>(entity);
}

VURNC_API DDS_DomainParticipant *DDS_Publisher_get_participant(const DDS_Publisher *self) {
    return self != nullptr ? self->entity.participant : nullptr;
}

VURNC_API const DDS_BuiltinTopicKey_t *DDS_Publisher_get_builtin_topic_key(const DDS_Publisher *self) {
    return self != nullptr ? &self->entity.key : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_get_qos(DDS_Publisher *self, struct DDS_PublisherQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
                              "DDS_Publisher_get_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_set_qos(DDS_Publisher *self, const struct DDS_PublisherQos *qos) {
    return DDS_Entity_setQosI<DDS_PublisherQos>(
            self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
            &DDS_PUBLISHER_QOS_DEFAULT, self != nullptr ? &self->entity.participant->defaultPublisherQos : nullptr,
            true, DDS_MONITOR_EVENT_PUBLISHER_QOS_CHANGE_AFTER, "DDS_Publisher_set_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_get_default_datawriter_qos(DDS_Publisher *self,
                                                                    struct DDS_DataWriterQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr,
                              self != nullptr ? &self->defaultWriterQos : nullptr, qos,
                              "DDS_Publisher_get_default_datawriter_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_set_default_datawriter_qos(DDS_Publisher *self,
                                                                    const struct DDS_DataWriterQos *qos) {
    return DDS_Entity_setQosI<DDS_DataWriterQos>(
            self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->defaultWriterQos : nullptr, qos,
            &DDS_DATAWRITER_QOS_DEFAULT,
            self != nullptr ? &self->entity.participant->factory->defaultWriterQos : nullptr, false, 0,
            "DDS_Publisher_set_default_datawriter_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_get_all_datawriters(DDS_Publisher *self, struct DDS_DataWriterSeq *seq) {
    if (self == nullptr || seq == nullptr) {
        ZELLog_printContextAndMsg("DDS_Publisher_get_all_datawriters", &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : "seq");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return guard.result();
    }
    return DDS_EntityList_toSequenceI<DDS_DataWriterSeq, DDS_DataWriter>(
                   &self->writers, seq, DDS_DataWriterSeq_ensure_length, DDS_DataWriterSeq_get_reference)
                   ? DDS_RETCODE_OK
                   : DDS_RETCODE_OUT_OF_RESOURCES;
}

VURNC_API DDS_DataWriter *DDS_Publisher_lookup_datawriter(DDS_Publisher *self, const char *topicName) {
    if (self == nullptr || topicName == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return nullptr;
    }
    for (DDS_EntityListNodeI *node = self->writers.head; node != nullptr; node = node->next) {
        DDS_DataWriter *writer = DDS_EntityList_entryI<DDS_DataWriter>(node);
        if (std::strcmp(writer->topic->description.name, topicName) == 0) {
            return writer;
        }
    }
    return nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_Publisher_delete_contained_entities(DDS_Publisher *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_Publisher_delete_contained_entities", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DomainParticipant_notifyMonitorI(self->entity.participant,
                                         DDS_MONITOR_EVENT_PUBLISHER_DELETE_CONTAINED_ENTITIES_BEFORE, &self->entity,
                                         nullptr);
    for (;;) {
        DDS_DataWriter *writer = nullptr;
        {
            DDS_EntityLockGuardI guard(&self->entity);
            if (!guard.held()) {
                return guard.result();
            }
            if (self->writers.head == nullptr) {
                return DDS_RETCODE_OK;
            }
            writer = DDS_EntityList_entryI<DDS_DataWriter>(self->writers.head);
        }
        DDS_ReturnCode_t result = DDS_DataWriter_deleteI(writer);
        if (result != DDS_RETCODE_OK) {
            return result;
        }
    }
}

}  // extern "C"
