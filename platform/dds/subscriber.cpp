// Subscribers: creation, QoS, the default reader QoS and their reader list.
#include <cstring>
#include <new>

#include "entity_private.h"
#include "vurncore/heap.h"

static void DDS_Subscriber_freeI(DDS_Subscriber *subscriber) {
    DDS_Entity_finalizeI(&subscriber->entity);
    DDS_DataReaderQos_finalize(&subscriber->defaultReaderQos);
    DDS_SubscriberQos_finalize(&subscriber->qos);
    subscriber->~DDS_SubscriberImpl();
    ZELOsapiHeap_freeStructure(subscriber);
}

// Refuses a subscriber that still has readers; removes it from its
// participant when `remove` [participant lock taken here].
static DDS_ReturnCode_t DDS_Subscriber_checkEmptyI(DDS_Subscriber *subscriber, bool remove, const char *context) {
    DDS_DomainParticipant *participant = subscriber->entity.participant;
    DDS_EntityLockGuardI guard(&participant->entity);
    if (!guard.held()) {
        return guard.result();
    }
    if (subscriber->readers.count != 0) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "subscriber has readers");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (remove) {
        DDS_EntityList_removeI(&participant->subscribers, &subscriber->entity.node);
    }
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_Subscriber *DDS_DomainParticipant_create_subscriber(DDS_DomainParticipant *self,
                                                                  const struct DDS_SubscriberQos *qos,
                                                                  const struct DDS_SubscriberListener *listener,
                                                                  DDS_StatusMask mask) {
    const char *const context = "DDS_DomainParticipant_create_subscriber";
    if (self == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "qos");
        return nullptr;
    }
    if (qos != &DDS_SUBSCRIBER_QOS_DEFAULT && DDS_SubscriberQos_checkI(qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_SubscriberImpl), "DSUB");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_SubscriberImpl));
        return nullptr;
    }
    auto *subscriber = new (memory) DDS_SubscriberImpl{};
    subscriber->entity.participant = self;
    bool autoenable = false;
    {
        DDS_EntityLockGuardI guard(&self->entity);
        if (!guard.held() ||
            !DDS_Qos_replaceI(&subscriber->qos,
                              qos == &DDS_SUBSCRIBER_QOS_DEFAULT ? &self->defaultSubscriberQos : qos) ||
            !DDS_Qos_replaceI(&subscriber->defaultReaderQos, &self->factory->defaultReaderQos) ||
            !DDS_Entity_initializeI(&subscriber->entity, DDS_SUBSCRIBER_ENTITY_KIND, self, &self->entity,
                                    DDS_ENTITY_KIND_OCTET_SUBSCRIBER, subscriber->qos.protocol.vendor_specific_entity,
                                    listener != nullptr ? &listener->as_listener : nullptr, mask)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "subscriber");
            DDS_Subscriber_freeI(subscriber);
            return nullptr;
        }
        DDS_EntityList_addI(&self->subscribers, &subscriber->entity.node);
        autoenable = self->entity.enabled && self->qos.entity_factory.autoenable_created_entities;
    }
    DDS_DomainParticipant_notifyMonitorI(self, DDS_MONITOR_EVENT_SUBSCRIBER_CREATE_AFTER, &subscriber->entity, nullptr);
    if (autoenable && DDS_Entity_enableI(&subscriber->entity) != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "enable");
    }
    return subscriber;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_subscriber(DDS_DomainParticipant *self,
                                                                   DDS_Subscriber *subscriber) {
    const char *const context = "DDS_DomainParticipant_delete_subscriber";
    if (self == nullptr || subscriber == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "subscriber");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (subscriber->entity.participant != self) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "subscriber of another participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    // Checked before the monitor hears of the deletion and again after.
    DDS_ReturnCode_t result = DDS_Subscriber_checkEmptyI(subscriber, false, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    DDS_DomainParticipant_notifyMonitorI(self, DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_BEFORE, &subscriber->entity,
                                         nullptr);
    result = DDS_Subscriber_checkEmptyI(subscriber, true, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    DDS_Subscriber_freeI(subscriber);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_Entity *DDS_Subscriber_as_entity(DDS_Subscriber *self) {
    return self != nullptr ? &self->entity : nullptr;
}

VURNC_API DDS_Subscriber *DDS_Subscriber_narrow(DDS_Entity *entity) {
    if (entity == nullptr || entity->kind != DDS_SUBSCRIBER_ENTITY_KIND) {
        return nullptr;
    }
    return reinterpret_cast<DDS_Subscriber *>(entity);
}

VURNC_API DDS_DomainParticipant *DDS_Subscriber_get_participant(const DDS_Subscriber *self) {
    return self != nullptr ? self->entity.participant : nullptr;
}

VURNC_API const DDS_BuiltinTopicKey_t *DDS_Subscriber_get_builtin_topic_key(const DDS_Subscriber *self) {
    return self != nullptr ? &self->entity.key : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_get_qos(DDS_Subscriber *self, struct DDS_SubscriberQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
                              "DDS_Subscriber_get_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_set_qos(DDS_Subscriber *self, const struct DDS_SubscriberQos *qos) {
    return DDS_Entity_setQosI<DDS_SubscriberQos>(
            self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
            &DDS_SUBSCRIBER_QOS_DEFAULT, self != nullptr ? &self->entity.participant->defaultSubscriberQos : nullptr,
            true, DDS_MONITOR_EVENT_SUBSCRIBER_QOS_CHANGE_AFTER, "DDS_Subscriber_set_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_get_default_datareader_qos(DDS_Subscriber *self,
                                                                     struct DDS_DataReaderQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr,
                              self != nullptr ? &self->defaultReaderQos : nullptr, qos,
                              "DDS_Subscriber_get_default_datareader_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_set_default_datareader_qos(DDS_Subscriber *self,
                                                                     const struct DDS_DataReaderQos *qos) {
    return DDS_Entity_setQosI<DDS_DataReaderQos>(
            self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->defaultReaderQos : nullptr, qos,
            &DDS_DATAREADER_QOS_DEFAULT,
            self != nullptr ? &self->entity.participant->factory->defaultReaderQos : nullptr, false, 0,
            "DDS_Subscriber_set_default_datareader_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_get_all_datareaders(DDS_Subscriber *self, struct DDS_DataReaderSeq *seq) {
    if (self == nullptr || seq == nullptr) {
        ZELLog_printContextAndMsg("DDS_Subscriber_get_all_datareaders", &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : "seq");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return guard.result();
    }
    return DDS_EntityList_toSequenceI<DDS_DataReaderSeq, DDS_DataReader>(
                   &self->readers, seq, DDS_DataReaderSeq_ensure_length, DDS_DataReaderSeq_get_reference)
                   ? DDS_RETCODE_OK
                   : DDS_RETCODE_OUT_OF_RESOURCES;
}

VURNC_API DDS_DataReader *DDS_Subscriber_lookup_datareader(DDS_Subscriber *self, const char *topicName) {
    if (self == nullptr || topicName == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return nullptr;
    }
    for (DDS_EntityListNodeI *node = self->readers.head; node != nullptr; node = node->next) {
        DDS_DataReader *reader = DDS_EntityList_entryI<DDS_DataReader>(node);
        if (std::strcmp(reader->topicDescription->name, topicName) == 0) {
            return reader;
        }
    }
    return nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_Subscriber_delete_contained_entities(DDS_Subscriber *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_Subscriber_delete_contained_entities", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DomainParticipant_notifyMonitorI(self->entity.participant,
                                         DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_CONTAINED_ENTITIES_BEFORE, &self->entity,
                                         nullptr);
    for (;;) {
        DDS_DataReader *reader = nullptr;
        {
            DDS_EntityLockGuardI guard(&self->entity);
            if (!guard.held()) {
                return guard.result();
            }
            if (self->readers.head == nullptr) {
                return DDS_RETCODE_OK;
            }
            reader = DDS_EntityList_entryI<DDS_DataReader>(self->readers.head);
        }
        DDS_DataReader_deleteReadConditionsI(reader);
        DDS_ReturnCode_t result = DDS_DataReader_deleteI(reader);
        if (result != DDS_RETCODE_OK) {
            return result;
        }
    }
}

}  // extern "C"
