// Topics: creation over a registered type, QoS, find and lookup, and the
// topic-description view shared with content-filtered topics.
#include <cstring>
#include <new>

#include "entity_private.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"

static void DDS_Topic_freeI(DDS_Topic *topic) {
    DDS_Entity_finalizeI(&topic->entity);
    DDS_TopicQos_finalize(&topic->qos);
    DDS_String_free(topic->description.typeName);
    DDS_String_free(topic->description.name);
    while (topic->inconsistent != nullptr) {
        DDS_InconsistentTopicI *known = topic->inconsistent;
        topic->inconsistent = known->next;
        ZELOsapiHeap_freeStructure(known);
    }
    topic->~DDS_TopicImpl();
    ZELOsapiHeap_freeStructure(topic);
}

// The participant's topic description named `name` [participant lock].
static DDS_TopicDescription *DDS_DomainParticipant_findDescriptionI(DDS_DomainParticipant *self, const char *name) {
    for (DDS_EntityListNodeI *node = self->topics.head; node != nullptr; node = node->next) {
        DDS_Topic *topic = DDS_EntityList_entryI<DDS_Topic>(node);
        if (std::strcmp(topic->description.name, name) == 0) {
            return &topic->description;
        }
    }
    for (DDS_EntityListNodeI *node = self->contentFilteredTopics.head; node != nullptr; node = node->next) {
        auto *filtered = reinterpret_cast<DDS_ContentFilteredTopic *>(reinterpret_cast<char *>(node) -
                                                                      offsetof(DDS_ContentFilteredTopicImpl, node));
        if (std::strcmp(filtered->description.name, name) == 0) {
            return &filtered->description;
        }
    }
    return nullptr;
}

DDS_ReturnCode_t DDS_Topic_deleteI(DDS_Topic *topic, bool ignoreFinds) {
    const char *const context = "DDS_DomainParticipant_delete_topic";
    DDS_DomainParticipant *participant = topic->entity.participant;
    {
        DDS_EntityLockGuardI guard(&participant->entity);
        if (!guard.held()) {
            return guard.result();
        }
        if (topic->useCount != 0) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic in use");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        if (!ignoreFinds && topic->findCount > 0) {
            --topic->findCount; /* takes back one find_topic reference */
            return DDS_RETCODE_OK;
        }
    }
    DDS_DomainParticipant_notifyMonitorI(participant, DDS_MONITOR_EVENT_TOPIC_DELETE_BEFORE, &topic->entity, nullptr);
    {
        DDS_EntityLockGuardI guard(&participant->entity);
        if (!guard.held()) {
            return guard.result();
        }
        if (topic->useCount != 0) { /* used again while the monitor heard of it */
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic in use");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        DDS_EntityList_removeI(&participant->topics, &topic->entity.node);
        --topic->type->topicCount;
    }
    DDS_Topic_freeI(topic);
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_Topic *DDS_DomainParticipant_create_topic(DDS_DomainParticipant *self, const char *topicName,
                                                        const char *typeName, const struct DDS_TopicQos *qos,
                                                        const struct DDS_TopicListener *listener, DDS_StatusMask mask) {
    const char *const context = "DDS_DomainParticipant_create_topic";
    if (self == nullptr || topicName == nullptr || typeName == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (qos == nullptr ? "qos" : "name"));
        return nullptr;
    }
    if (qos != &DDS_TOPIC_QOS_DEFAULT && DDS_TopicQos_checkI(qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_TopicImpl), "DTOP");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_TopicImpl));
        return nullptr;
    }
    auto *topic = new (memory) DDS_TopicImpl{};
    topic->description.kind = DDS_TOPIC_DESCRIPTION_TOPIC_I;
    topic->description.participant = self;
    topic->entity.participant = self;
    topic->description.name = DDS_String_dup(topicName);
    topic->description.typeName = DDS_String_dup(typeName);
    bool autoenable = false;
    {
        DDS_EntityLockGuardI guard(&self->entity);
        if (!guard.held() || topic->description.name == nullptr || topic->description.typeName == nullptr ||
            !DDS_Qos_replaceI(&topic->qos, qos == &DDS_TOPIC_QOS_DEFAULT ? &self->defaultTopicQos : qos) ||
            !DDS_Entity_initializeI(&topic->entity, DDS_TOPIC_ENTITY_KIND, self, &self->entity,
                                    DDS_ENTITY_KIND_OCTET_TOPIC, topic->qos.protocol.vendor_specific_entity,
                                    listener != nullptr ? &listener->as_listener : nullptr, mask)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "topic");
            DDS_Topic_freeI(topic);
            return nullptr;
        }
        topic->type = DDS_DomainParticipant_findTypeI(self, typeName);
        if (topic->type == nullptr) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "type not registered");
            DDS_Topic_freeI(topic);
            return nullptr;
        }
        if (DDS_DomainParticipant_findDescriptionI(self, topicName) != nullptr) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic name in use");
            DDS_Topic_freeI(topic);
            return nullptr;
        }
        ++topic->type->topicCount;
        DDS_EntityList_addI(&self->topics, &topic->entity.node);
        autoenable = self->entity.enabled && self->qos.entity_factory.autoenable_created_entities;
    }
    DDS_DomainParticipant_notifyMonitorI(self, DDS_MONITOR_EVENT_TOPIC_CREATE_AFTER, &topic->entity, nullptr);
    if (autoenable && DDS_Entity_enableI(&topic->entity) != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "enable");
    }
    return topic;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_topic(DDS_DomainParticipant *self, DDS_Topic *topic) {
    if (self == nullptr || topic == nullptr) {
        ZELLog_printContextAndMsg("DDS_DomainParticipant_delete_topic", &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : "topic");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (topic->entity.participant != self) {
        ZELLog_printContextAndMsg("DDS_DomainParticipant_delete_topic", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  "topic of another participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_Topic_deleteI(topic, false);
}

VURNC_API DDS_TopicDescription *DDS_DomainParticipant_lookup_topicdescription(DDS_DomainParticipant *self,
                                                                              const char *topicName) {
    if (self == nullptr || topicName == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    return guard.held() ? DDS_DomainParticipant_findDescriptionI(self, topicName) : nullptr;
}

VURNC_API DDS_Topic *DDS_DomainParticipant_find_topic(DDS_DomainParticipant *self, const char *topicName,
                                                      const DDS_Duration_t * /*timeout*/) {
    if (self == nullptr || topicName == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return nullptr;
    }
    DDS_Topic *topic = DDS_Topic_narrow(DDS_DomainParticipant_findDescriptionI(self, topicName));
    if (topic != nullptr) {
        ++topic->findCount;
    }
    return topic;
}

VURNC_API DDS_Entity *DDS_Topic_as_entity(DDS_Topic *self) { return self != nullptr ? &self->entity : nullptr; }

VURNC_API DDS_TopicDescription *DDS_Topic_as_topicdescription(DDS_Topic *self) {
    return self != nullptr ? &self->description : nullptr;
}

VURNC_API DDS_Topic *DDS_Topic_narrow(DDS_TopicDescription *description) {
    if (description == nullptr || description->kind != DDS_TOPIC_DESCRIPTION_TOPIC_I) {
        return nullptr;
    }
    return reinterpret_cast<DDS_Topic *>(reinterpret_cast<char *>(description) - offsetof(DDS_TopicImpl, description));
}

VURNC_API DDS_Topic *DDS_Topic_narrow_from_entity(DDS_Entity *entity) {
    if (entity == nullptr || entity->kind != DDS_TOPIC_ENTITY_KIND) {
        return nullptr;
    }
    return reinterpret_cast<DDS_Topic *>(entity);
}

VURNC_API const DDS_BuiltinTopicKey_t *DDS_Topic_get_builtin_topic_key(const DDS_Topic *self) {
    return self != nullptr ? &self->entity.key : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_Topic_get_qos(DDS_Topic *self, struct DDS_TopicQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
                              "DDS_Topic_get_qos");
}

VURNC_API DDS_ReturnCode_t DDS_Topic_set_qos(DDS_Topic *self, const struct DDS_TopicQos *qos) {
    return DDS_Entity_setQosI<DDS_TopicQos>(self != nullptr ? &self->entity : nullptr,
                                            self != nullptr ? &self->qos : nullptr, qos, &DDS_TOPIC_QOS_DEFAULT,
                                            self != nullptr ? &self->entity.participant->defaultTopicQos : nullptr,
                                            true, DDS_MONITOR_EVENT_TOPIC_QOS_CHANGE_AFTER, "DDS_Topic_set_qos");
}

VURNC_API const char *DDS_TopicDescription_get_name(const DDS_TopicDescription *self) {
    return self != nullptr ? self->name : nullptr;
}

VURNC_API const char *DDS_TopicDescription_get_type_name(const DDS_TopicDescription *self) {
    return self != nullptr ? self->typeName : nullptr;
}

VURNC_API DDS_DomainParticipant *DDS_TopicDescription_get_participant(const DDS_TopicDescription *self) {
    return self != nullptr ? self->participant : nullptr;
}

}  // extern "C"
