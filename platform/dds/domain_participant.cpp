// Domain participants: QoS, default QoS of their children, registered
// types, their entity lists and deleting everything they contain.
#include <cstring>
#include <new>

#include "entity_private.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"

void DDS_DomainParticipant_freeI(DDS_DomainParticipant *participant) {
    if (participant->wireParticipant != nullptr) {
        participant->factory->wire->ops->deleteParticipant(participant->wireParticipant);
    }
    while (participant->types != nullptr) {
        DDS_RegisteredTypeI *type = participant->types;
        participant->types = type->next;
        DDS_String_free(type->name);
        ZELOsapiHeap_freeStructure(type);
    }
    DDS_Entity_finalizeI(&participant->entity);
    DDS_SubscriberQos_finalize(&participant->defaultSubscriberQos);
    DDS_PublisherQos_finalize(&participant->defaultPublisherQos);
    DDS_TopicQos_finalize(&participant->defaultTopicQos);
    DDS_DomainParticipantQos_finalize(&participant->qos);
    participant->~DDS_DomainParticipantImpl();
    ZELOsapiHeap_freeStructure(participant);
}

DDS_RegisteredTypeI *DDS_DomainParticipant_findTypeI(DDS_DomainParticipant *self, const char *typeName) {
    for (DDS_RegisteredTypeI *type = self->types; type != nullptr; type = type->next) {
        if (std::strcmp(type->name, typeName) == 0) {
            return type;
        }
    }
    return nullptr;
}

// The first child of `list` that is not vendor-specific, or NULL.
static DDS_EntityListNodeI *DDS_EntityList_firstOfApplicationI(const DDS_EntityListI *list) {
    for (DDS_EntityListNodeI *node = list->head; node != nullptr; node = node->next) {
        if (!DDS_EntityList_entryI<DDS_EntityImpl>(node)->vendorSpecific) {
            return node;
        }
    }
    return nullptr;
}

DDS_ReturnCode_t DDS_DomainParticipant_checkEmptyI(DDS_DomainParticipant *self, bool includingVendorSpecific,
                                                   const char *context) {
    DDS_EntityLockGuardI lock(&self->entity);
    if (!lock.held()) {
        return lock.result();
    }
    const bool empty = self->contentFilteredTopics.count == 0 &&
                       (includingVendorSpecific
                                ? self->topics.count == 0 && self->publishers.count == 0 && self->subscribers.count == 0
                                : DDS_EntityList_firstOfApplicationI(&self->topics) == nullptr &&
                                          DDS_EntityList_firstOfApplicationI(&self->publishers) == nullptr &&
                                          DDS_EntityList_firstOfApplicationI(&self->subscribers) == nullptr);
    if (!empty) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "participant has entities");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_Entity *DDS_DomainParticipant_as_entity(DDS_DomainParticipant *self) {
    return self != nullptr ? &self->entity : nullptr;
}

VURNC_API DDS_DomainParticipant *DDS_DomainParticipant_narrow(DDS_Entity *entity) {
    if (entity == nullptr || entity->kind != DDS_DOMAINPARTICIPANT_ENTITY_KIND) {
        return nullptr;
    }
    return reinterpret_cast<DDS_DomainParticipant *>(entity);
}

VURNC_API DDS_DomainId_t DDS_DomainParticipant_get_domain_id(const DDS_DomainParticipant *self) {
    return self != nullptr ? self->domainId : 0;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_builtin_topic_key(const DDS_DomainParticipant *self,
                                                                       DDS_BuiltinTopicKey_t *key) {
    if (self == nullptr || key == nullptr) {
        ZELLog_printContextAndMsg("DDS_DomainParticipant_get_builtin_topic_key", &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : "key");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    *key = self->entity.key;
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_qos(DDS_DomainParticipant *self,
                                                         struct DDS_DomainParticipantQos *qos) {
    return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->qos : nullptr, qos,
                              "DDS_DomainParticipant_get_qos");
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_set_qos(DDS_DomainParticipant *self,
                                                         const struct DDS_DomainParticipantQos *qos) {
    if (self == nullptr) {
        return DDS_Entity_setQosI<DDS_DomainParticipantQos>(nullptr, nullptr, qos, nullptr, nullptr, true, 0,
                                                            "DDS_DomainParticipant_set_qos");
    }
    return DDS_Entity_setQosI(&self->entity, &self->qos, qos, &DDS_PARTICIPANT_QOS_DEFAULT,
                              &self->factory->defaultParticipantQos, true,
                              DDS_MONITOR_EVENT_PARTICIPANT_QOS_CHANGE_AFTER, "DDS_DomainParticipant_set_qos");
}

#define DDS_PARTICIPANT_DEFAULT_QOS_I(KIND, Q, FIELD, MARKER)                                                          \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_default_##KIND##_qos(DDS_DomainParticipant *self,             \
                                                                              struct Q *qos) {                         \
        return DDS_Entity_getQosI(self != nullptr ? &self->entity : nullptr, self != nullptr ? &self->FIELD : nullptr, \
                                  qos, "DDS_DomainParticipant_get_default_" #KIND "_qos");                             \
    }                                                                                                                  \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_set_default_##KIND##_qos(DDS_DomainParticipant *self,             \
                                                                              const struct Q *qos) {                   \
        return DDS_Entity_setQosI<Q>(self != nullptr ? &self->entity : nullptr,                                        \
                                     self != nullptr ? &self->FIELD : nullptr, qos, &MARKER,                           \
                                     self != nullptr ? &self->factory->FIELD : nullptr, false, 0,                      \
                                     "DDS_DomainParticipant_set_default_" #KIND "_qos");                               \
    }
DDS_PARTICIPANT_DEFAULT_QOS_I(topic, DDS_TopicQos, defaultTopicQos, DDS_TOPIC_QOS_DEFAULT)
DDS_PARTICIPANT_DEFAULT_QOS_I(publisher, DDS_PublisherQos, defaultPublisherQos, DDS_PUBLISHER_QOS_DEFAULT)
DDS_PARTICIPANT_DEFAULT_QOS_I(subscriber, DDS_SubscriberQos, defaultSubscriberQos, DDS_SUBSCRIBER_QOS_DEFAULT)
#undef DDS_PARTICIPANT_DEFAULT_QOS_I

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_register_type(DDS_DomainParticipant *self, const char *typeName,
                                                               const struct PRESTypePlugin *plugin,
                                                               void * /*registrationData*/) {
    const char *const context = "DDS_DomainParticipant_register_type";
    if (self == nullptr || typeName == nullptr || plugin == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (typeName == nullptr ? "type name" : "plugin"));
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return guard.result();
    }
    DDS_RegisteredTypeI *type = DDS_DomainParticipant_findTypeI(self, typeName);
    if (type != nullptr) {
        if (type->plugin.serializeFnc != plugin->serializeFnc || type->plugin.getKeyKindFnc != plugin->getKeyKindFnc) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "type registered with another plugin");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        ++type->registrations;
        return DDS_RETCODE_OK;
    }
    type = static_cast<DDS_RegisteredTypeI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_RegisteredTypeI), "DTYP"));
    if (type == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_RegisteredTypeI));
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    type->name = DDS_String_dup(typeName);
    if (type->name == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "type name");
        ZELOsapiHeap_freeStructure(type);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    type->plugin = *plugin;
    type->registrations = 1;
    type->next = self->types;
    self->types = type;
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_unregister_type(DDS_DomainParticipant *self, const char *typeName) {
    const char *const context = "DDS_DomainParticipant_unregister_type";
    if (self == nullptr || typeName == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "type name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return guard.result();
    }
    for (DDS_RegisteredTypeI **link = &self->types; *link != nullptr; link = &(*link)->next) {
        DDS_RegisteredTypeI *type = *link;
        if (std::strcmp(type->name, typeName) != 0) {
            continue;
        }
        if (type->topicCount != 0) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "type used by a topic");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        if (--type->registrations == 0) {
            *link = type->next;
            DDS_String_free(type->name);
            ZELOsapiHeap_freeStructure(type);
        }
        return DDS_RETCODE_OK;
    }
    ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "type not registered");
    return DDS_RETCODE_BAD_PARAMETER;
}

VURNC_API const struct PRESTypePlugin *DDS_DomainParticipant_get_type_pluginI(DDS_DomainParticipant *self,
                                                                              const char *typeName) {
    if (self == nullptr || typeName == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return nullptr;
    }
    DDS_RegisteredTypeI *type = DDS_DomainParticipant_findTypeI(self, typeName);
    return type != nullptr ? &type->plugin : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_contained_entities(DDS_DomainParticipant *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_DomainParticipant_delete_contained_entities", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DomainParticipant_notifyMonitorI(self, DDS_MONITOR_EVENT_PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE,
                                         &self->entity, nullptr);
    // Children go one at a time, endpoints before their groups and readers
    // before content-filtered topics before topics, each taking the locks
    // it needs, so that the monitor hears of each deletion lock-free.
    // Vendor-specific groups and topics (the monitor's own, when it
    // publishes on this participant) stay: the monitor removes them.
    for (;;) {
        DDS_Publisher *publisher = nullptr;
        DDS_Subscriber *subscriber = nullptr;
        DDS_ContentFilteredTopic *filtered = nullptr;
        DDS_Topic *topic = nullptr;
        {
            DDS_EntityLockGuardI guard(&self->entity);
            if (!guard.held()) {
                return guard.result();
            }
            DDS_EntityListNodeI *node = nullptr;
            if ((node = DDS_EntityList_firstOfApplicationI(&self->publishers)) != nullptr) {
                publisher = DDS_EntityList_entryI<DDS_Publisher>(node);
            } else if ((node = DDS_EntityList_firstOfApplicationI(&self->subscribers)) != nullptr) {
                subscriber = DDS_EntityList_entryI<DDS_Subscriber>(node);
            } else if (self->contentFilteredTopics.head != nullptr) {
                filtered = reinterpret_cast<DDS_ContentFilteredTopic *>(
                        reinterpret_cast<char *>(self->contentFilteredTopics.head) -
                        offsetof(DDS_ContentFilteredTopicImpl, node));
            } else if ((node = DDS_EntityList_firstOfApplicationI(&self->topics)) != nullptr) {
                topic = DDS_EntityList_entryI<DDS_Topic>(node);
            } else {
                return DDS_RETCODE_OK;
            }
        }
        DDS_ReturnCode_t result;
        if (publisher != nullptr) {
            result = DDS_Publisher_delete_contained_entities(publisher);
            if (result == DDS_RETCODE_OK) {
                result = DDS_DomainParticipant_delete_publisher(self, publisher);
            }
        } else if (subscriber != nullptr) {
            result = DDS_Subscriber_delete_contained_entities(subscriber);
            if (result == DDS_RETCODE_OK) {
                result = DDS_DomainParticipant_delete_subscriber(self, subscriber);
            }
        } else if (filtered != nullptr) {
            result = DDS_ContentFilteredTopic_deleteI(filtered);
        } else {
            result = DDS_Topic_deleteI(topic, true);
        }
        if (result != DDS_RETCODE_OK) {
            return result;
        }
    }
}

#define DDS_PARTICIPANT_LIST_I(NAME, SEQ, T, LIST)                                                              \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_##NAME(DDS_DomainParticipant *self, struct SEQ *seq) { \
        if (self == nullptr || seq == nullptr) {                                                                \
            ZELLog_printContextAndMsg("DDS_DomainParticipant_get_" #NAME, &ZEL_LOG_BAD_PARAMETER_s,             \
                                      self == nullptr ? "self" : "seq");                                        \
            return DDS_RETCODE_BAD_PARAMETER;                                                                   \
        }                                                                                                       \
        DDS_EntityLockGuardI guard(&self->entity);                                                              \
        if (!guard.held()) {                                                                                    \
            return guard.result();                                                                              \
        }                                                                                                       \
        return DDS_EntityList_toSequenceI<SEQ, T>(&self->LIST, seq, SEQ##_ensure_length, SEQ##_get_reference)   \
                       ? DDS_RETCODE_OK                                                                         \
                       : DDS_RETCODE_OUT_OF_RESOURCES;                                                          \
    }
DDS_PARTICIPANT_LIST_I(topics, DDS_TopicSeq, DDS_Topic, topics)
DDS_PARTICIPANT_LIST_I(publishers, DDS_PublisherSeq, DDS_Publisher, publishers)
DDS_PARTICIPANT_LIST_I(subscribers, DDS_SubscriberSeq, DDS_Subscriber, subscribers)
#undef DDS_PARTICIPANT_LIST_I

}  // extern "C"
