// The part every entity shares: its key, lock, enabled flag and kind, the
// child lists, and monitor notification.
#include <new>

#include "data_path_private.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"
#include "vurncore/sequence_define.hpp"

ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_TopicSeq, DDS_Topic *, &zel::plainSequenceElementType<DDS_Topic *>);
ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_PublisherSeq, DDS_Publisher *, &zel::plainSequenceElementType<DDS_Publisher *>);
ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_SubscriberSeq, DDS_Subscriber *, &zel::plainSequenceElementType<DDS_Subscriber *>);
ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_DataWriterSeq, DDS_DataWriter *, &zel::plainSequenceElementType<DDS_DataWriter *>);
ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_DataReaderSeq, DDS_DataReader *, &zel::plainSequenceElementType<DDS_DataReader *>);
ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_DomainParticipantSeq, DDS_DomainParticipant *,
                    &zel::plainSequenceElementType<DDS_DomainParticipant *>);

void DDS_EntityList_addI(DDS_EntityListI *list, DDS_EntityListNodeI *node) {
    node->next = nullptr;
    node->prev = list->tail;
    if (list->tail != nullptr) {
        list->tail->next = node;
    } else {
        list->head = node;
    }
    list->tail = node;
    ++list->count;
}

void DDS_EntityList_removeI(DDS_EntityListI *list, DDS_EntityListNodeI *node) {
    if (node->prev != nullptr) {
        node->prev->next = node->next;
    } else {
        list->head = node->next;
    }
    if (node->next != nullptr) {
        node->next->prev = node->prev;
    } else {
        list->tail = node->prev;
    }
    node->prev = node->next = nullptr;
    --list->count;
}

void DDS_Entity_logOutOfHeapI(const char *context, size_t size) {
    ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d, static_cast<int>(size));
}

DDS_DomainParticipantFactory *DDS_Entity_get_factoryI(const DDS_EntityImpl *self) { return self->participant->factory; }

static int DDS_Entity_lockLevelI(DDS_EntityKind_t kind) {
    switch (kind) {
    case DDS_DOMAINPARTICIPANT_ENTITY_KIND:
        return DDS_ENTITY_LOCK_LEVEL_PARTICIPANT;
    case DDS_DATAWRITER_ENTITY_KIND:
    case DDS_DATAREADER_ENTITY_KIND:
        return DDS_ENTITY_LOCK_LEVEL_ENDPOINT;
    default:
        return DDS_ENTITY_LOCK_LEVEL_GROUP;
    }
}

bool DDS_Entity_initializeI(DDS_EntityImpl *self, DDS_EntityKind_t kind, DDS_DomainParticipant *participant,
                            DDS_Entity *parent, DDS_Octet kindOctet, bool vendorSpecific, const DDS_Listener *listener,
                            DDS_StatusMask mask) {
    self->kind = kind;
    self->enabled = false;
    self->enabling = false;
    self->vendorSpecific = vendorSpecific;
    self->parent = parent;
    self->participant = participant;
    self->listener = listener != nullptr ? *listener : DDS_Listener{nullptr};
    self->mask = mask;
    self->lock =
            REDAWorkerFactory_createExclusiveArea(participant->factory->workerFactory, DDS_Entity_lockLevelI(kind));
    if (self->lock == nullptr) {
        return false;
    }
    if (kind == DDS_DOMAINPARTICIPANT_ENTITY_KIND) {
        return true; /* the participant numbers itself */
    }
    // The entity id: a number unique in the participant, then the kind
    // octet, with the vendor-specific bit for the platform's own entities.
    DDS_UnsignedLong number = participant->entityCounter.fetch_add(1) + 1;
    DDS_UnsignedLong octet = kindOctet | (vendorSpecific ? DDS_ENTITY_KIND_VENDOR_SPECIFIC_BIT : 0u);
    self->key = participant->entity.key;
    self->key.value[3] = static_cast<DDS_Long>((number << 8) | octet);
    return true;
}

void DDS_Entity_finalizeI(DDS_EntityImpl *self) {
    if (self->lock != nullptr) {
        REDAWorkerFactory_destroyExclusiveArea(self->participant->factory->workerFactory, self->lock);
        self->lock = nullptr;
    }
}

DDS_EntityLockGuardI::DDS_EntityLockGuardI(DDS_DomainParticipantFactory *factory, struct REDAExclusiveArea *area) {
    worker_ = DDS_DomainParticipantFactory_get_workerI(factory);
    if (worker_ == nullptr) {
        result_ = DDS_RETCODE_OUT_OF_RESOURCES;
        return;
    }
    if (!REDAWorker_enterExclusiveArea(worker_, nullptr, area)) {
        result_ = DDS_RETCODE_PRECONDITION_NOT_MET;
        return;
    }
    area_ = area;
    result_ = DDS_RETCODE_OK;
}

DDS_EntityLockGuardI::DDS_EntityLockGuardI(DDS_EntityImpl *entity)
    : DDS_EntityLockGuardI(DDS_Entity_get_factoryI(entity), entity->lock) {}

DDS_EntityLockGuardI::~DDS_EntityLockGuardI() {
    if (area_ != nullptr) {
        REDAWorker_leaveExclusiveArea(worker_, nullptr, area_);
    }
}

void DDS_DomainParticipant_notifyMonitorI(DDS_DomainParticipant *participant, DDS_Long eventKind, DDS_Entity *entity,
                                          const void *eventData) {
    const DDS_MonitorAttachmentI monitor = participant->monitor;
    if (monitor.onEventNotify != nullptr) {
        monitor.onEventNotify(monitor.participantObject, eventKind, entity, eventData);
    }
}

// ---- enabling ----

// OK when everything the entity depends on is enabled.
static DDS_ReturnCode_t DDS_Entity_canEnableI(DDS_EntityImpl *entity) {
    if (entity->parent != nullptr && !entity->parent->enabled) {
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (entity->kind == DDS_DATAWRITER_ENTITY_KIND) {
        auto *writer = reinterpret_cast<DDS_DataWriter *>(entity);
        return writer->topic->entity.enabled ? DDS_RETCODE_OK : DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (entity->kind == DDS_DATAREADER_ENTITY_KIND) {
        auto *reader = reinterpret_cast<DDS_DataReader *>(entity);
        DDS_Topic *topic = DDS_TopicDescription_get_topicI(reader->topicDescription);
        return topic->entity.enabled ? DDS_RETCODE_OK : DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_RETCODE_OK;
}

bool DDS_Entity_autoenablesI(DDS_EntityImpl *entity) {
    DDS_EntityLockGuardI guard(entity);
    if (!guard.held()) {
        return false;
    }
    switch (entity->kind) {
    case DDS_DOMAINPARTICIPANT_ENTITY_KIND:
        return reinterpret_cast<DDS_DomainParticipant *>(entity)->qos.entity_factory.autoenable_created_entities;
    case DDS_PUBLISHER_ENTITY_KIND:
        return reinterpret_cast<DDS_Publisher *>(entity)->qos.entity_factory.autoenable_created_entities;
    case DDS_SUBSCRIBER_ENTITY_KIND:
        return reinterpret_cast<DDS_Subscriber *>(entity)->qos.entity_factory.autoenable_created_entities;
    default:
        return false;
    }
}

static DDS_Long DDS_Entity_enableEventI(DDS_EntityKind_t kind) {
    switch (kind) {
    case DDS_DOMAINPARTICIPANT_ENTITY_KIND:
        return DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER;
    case DDS_TOPIC_ENTITY_KIND:
        return DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER;
    case DDS_PUBLISHER_ENTITY_KIND:
        return DDS_MONITOR_EVENT_PUBLISHER_ENABLE_AFTER;
    case DDS_SUBSCRIBER_ENTITY_KIND:
        return DDS_MONITOR_EVENT_SUBSCRIBER_ENABLE_AFTER;
    case DDS_DATAWRITER_ENTITY_KIND:
        return DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER;
    default:
        return DDS_MONITOR_EVENT_DATAREADER_ENABLE_AFTER;
    }
}

// The first disabled child of `list` that can be enabled now, or NULL.
static DDS_EntityImpl *DDS_EntityList_findEnableableI(const DDS_EntityListI *list) {
    for (DDS_EntityListNodeI *node = list->head; node != nullptr; node = node->next) {
        auto *child =
                reinterpret_cast<DDS_EntityImpl *>(reinterpret_cast<char *>(node) - offsetof(DDS_EntityImpl, node));
        if (!child->enabled && DDS_Entity_canEnableI(child) == DDS_RETCODE_OK) {
            return child;
        }
    }
    return nullptr;
}

// Enables the entity's children one at a time; the participant lock is
// left before each one so that no lock is held while the monitor hears of
// it. A child deleted meanwhile is simply not found again.
static DDS_ReturnCode_t DDS_Entity_enableChildrenI(DDS_EntityImpl *entity) {
    DDS_DomainParticipant *participant = entity->participant;
    for (;;) {
        DDS_EntityImpl *child = nullptr;
        {
            DDS_EntityLockGuardI guard(&participant->entity);
            if (!guard.held()) {
                return guard.result();
            }
            if (entity->kind == DDS_DOMAINPARTICIPANT_ENTITY_KIND) {
                child = DDS_EntityList_findEnableableI(&participant->topics);
                if (child == nullptr) {
                    child = DDS_EntityList_findEnableableI(&participant->publishers);
                }
                if (child == nullptr) {
                    child = DDS_EntityList_findEnableableI(&participant->subscribers);
                }
            } else if (entity->kind == DDS_PUBLISHER_ENTITY_KIND) {
                child = DDS_EntityList_findEnableableI(&reinterpret_cast<DDS_Publisher *>(entity)->writers);
            } else if (entity->kind == DDS_SUBSCRIBER_ENTITY_KIND) {
                child = DDS_EntityList_findEnableableI(&reinterpret_cast<DDS_Subscriber *>(entity)->readers);
            }
        }
        if (child == nullptr) {
            return DDS_RETCODE_OK;
        }
        DDS_ReturnCode_t result = DDS_Entity_enableI(child);
        if (result != DDS_RETCODE_OK) {
            return result;
        }
    }
}

// Attaches an endpoint to the wire; other kinds have nothing to attach.
static DDS_ReturnCode_t DDS_Entity_attachI(DDS_EntityImpl *entity) {
    if (entity->kind == DDS_DATAWRITER_ENTITY_KIND) {
        return DDS_DataWriter_attachI(reinterpret_cast<DDS_DataWriter *>(entity));
    }
    if (entity->kind == DDS_DATAREADER_ENTITY_KIND) {
        return DDS_DataReader_attachI(reinterpret_cast<DDS_DataReader *>(entity));
    }
    return DDS_RETCODE_OK;
}

// An endpoint is attached to the wire with no lock held, because its
// matches are reported to the monitor from inside; it is marked enabled
// once attached, so a failed attachment leaves it as it was.
DDS_ReturnCode_t DDS_Entity_enableI(DDS_EntityImpl *entity) {
    {
        DDS_EntityLockGuardI guard(&entity->participant->entity);
        if (!guard.held()) {
            return guard.result();
        }
        if (entity->enabled || entity->enabling) {
            return DDS_RETCODE_OK;
        }
        DDS_ReturnCode_t result = DDS_Entity_canEnableI(entity);
        if (result != DDS_RETCODE_OK) {
            ZELLog_printContextAndMsg("DDS_Entity_enable", &ZEL_LOG_PRECONDITION_NOT_MET_s, "parent not enabled");
            return result;
        }
        entity->enabling = true;
    }
    DDS_ReturnCode_t result = DDS_Entity_attachI(entity);
    {
        DDS_EntityLockGuardI guard(&entity->participant->entity);
        entity->enabling = false;
        if (result == DDS_RETCODE_OK) {
            entity->enabled = true;
        }
    }
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    DDS_DomainParticipant_notifyMonitorI(entity->participant, DDS_Entity_enableEventI(entity->kind), entity, nullptr);
    if (DDS_Entity_autoenablesI(entity)) {
        return DDS_Entity_enableChildrenI(entity);
    }
    return DDS_RETCODE_OK;
}

// ---- exported ----

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_Entity_enable(DDS_Entity *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_Entity_enable", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return DDS_Entity_enableI(self);
}

VURNC_API DDS_Boolean DDS_Entity_is_enabled(const DDS_Entity *self) {
    return self != nullptr && self->enabled ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

VURNC_API DDS_EntityKind_t DDS_Entity_get_entity_kind(const DDS_Entity *self) {
    return self != nullptr ? self->kind : DDS_UNKNOWN_ENTITY_KIND;
}

VURNC_API DDS_Boolean DDS_Entity_is_vendor_specific(const DDS_Entity *self) {
    return self != nullptr && self->vendorSpecific ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

VURNC_API DDS_ReturnCode_t DDS_Entity_lock(DDS_Entity *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_Entity_lock", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    struct REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(DDS_Entity_get_factoryI(self));
    if (worker == nullptr) {
        ZELLog_printContextAndMsg("DDS_Entity_lock", &ZEL_LOG_GET_FAILURE_s, "worker");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    if (!REDAWorker_enterExclusiveArea(worker, nullptr, self->lock)) {
        return DDS_RETCODE_PRECONDITION_NOT_MET; /* the lock order was logged */
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_Entity_unlock(DDS_Entity *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_Entity_unlock", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    struct REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(DDS_Entity_get_factoryI(self));
    if (worker == nullptr) {
        ZELLog_printContextAndMsg("DDS_Entity_unlock", &ZEL_LOG_GET_FAILURE_s, "worker");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    if (!REDAWorker_leaveExclusiveArea(worker, nullptr, self->lock)) {
        ZELLog_printContextAndMsg("DDS_Entity_unlock", &ZEL_LOG_PRECONDITION_NOT_MET_s, "lock not held");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_InstanceHandle_t DDS_Entity_get_instance_handle(const DDS_Entity *self) {
    DDS_InstanceHandle_t handle{};
    if (self == nullptr) {
        return handle;
    }
    for (int word = 0; word < 4; ++word) {
        auto value = static_cast<DDS_UnsignedLong>(self->key.value[word]);
        for (int octet = 0; octet < 4; ++octet) {
            handle.value[word * 4 + octet] = static_cast<DDS_Octet>(value >> (24 - 8 * octet));
        }
    }
    handle.length = 16;
    handle.isValid = DDS_BOOLEAN_TRUE;
    return handle;
}

}  // extern "C"
