// The process's participant factory: its worker factory, QoS and default
// participant QoS, its wire, and the creation and deletion of participants.
//
// The wire is the one that the property "zel.wire" of the default
// participant QoS names, else the one that ZEL_WIRE names, else the
// default. Setting a default participant QoS that names another wire
// replaces the wire, which is refused while participants exist: every
// participant and its endpoints live on the wire they were created on.
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "entity_private.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/lock_order.h"
#include "vurncore/osapi.h"

extern "C" {
const DDS_DomainParticipantQos DDS_PARTICIPANT_QOS_DEFAULT{};
const DDS_TopicQos DDS_TOPIC_QOS_DEFAULT{};
const DDS_PublisherQos DDS_PUBLISHER_QOS_DEFAULT{};
const DDS_SubscriberQos DDS_SUBSCRIBER_QOS_DEFAULT{};
const DDS_DataWriterQos DDS_DATAWRITER_QOS_DEFAULT{};
const DDS_DataReaderQos DDS_DATAREADER_QOS_DEFAULT{};
}

namespace {
// Made and finalized under the mutex. Once made it is read without it: code
// that holds entity locks (a plug-in's create function, the monitor's
// walks) asks for it, while a finalization holds the mutex and takes those
// locks.
ZELOrderedMutex<ZEL_LOCK_LEVEL_FACTORY_INSTANCE> g_instanceMutex{"factory instance"};
std::atomic<DDS_DomainParticipantFactory *> g_instance{nullptr};  // written [g_instanceMutex]
std::atomic<DDS_UnsignedLong> g_participantCounter{0};            // numbers participants in the process
}  // namespace

// The wire that a participant QoS names; NULL when "zel.wire" is absent or
// empty.
static const char *DDS_DomainParticipantQos_getWireNameI(const DDS_DomainParticipantQos *qos) {
    const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(&qos->property, "zel.wire");
    return property != nullptr && property->value != nullptr && property->value[0] != '\0' ? property->value : nullptr;
}

// Makes in `*created` a wire of `ops` when the factory's is another one:
// PRECONDITION_NOT_MET (logged) while participants exist or are being
// created, ERROR (logged) when the wire cannot be made. [factory lock held]
static DDS_ReturnCode_t DDS_DomainParticipantFactory_prepareWireI(DDS_DomainParticipantFactory *self,
                                                                  const ZELWireOps *ops, ZELWire **created,
                                                                  const char *context) {
    *created = nullptr;
    if (self->wire->ops == ops) {
        return DDS_RETCODE_OK;
    }
    if (self->participants.count != 0 || self->participantsCreating != 0) {
        char text[96];
        std::snprintf(text, sizeof(text), "participants use the %s wire: it cannot change to %s", self->wire->ops->name,
                      ops->name);
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, text);
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    *created = ops->create();
    if (*created == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "wire");
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

// The factory's wire for a participant being created, counted as such;
// NULL (logged: PRECONDITION_NOT_MET) when the participant's QoS names
// another wire. [factory lock held]
static ZELWire *DDS_DomainParticipantFactory_reserveWireI(DDS_DomainParticipantFactory *self,
                                                          const DDS_DomainParticipantQos *qos, const char *context) {
    const char *name = DDS_DomainParticipantQos_getWireNameI(qos);
    if (name != nullptr && std::strcmp(name, self->wire->ops->name) != 0) {
        char text[160];
        std::snprintf(text, sizeof(text), "zel.wire \"%.80s\" is not the factory's wire, %s", name,
                      self->wire->ops->name);
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, text);
        return nullptr;
    }
    ++self->participantsCreating;
    return self->wire;
}

static void DDS_DomainParticipantFactory_freeI(DDS_DomainParticipantFactory *factory) {
    if (factory->wire != nullptr) {
        factory->wire->ops->destroy(factory->wire);
    }
    if (factory->clock != nullptr) {
        ZELHighResolutionClock_delete(factory->clock);
    }
    DDS_QosProfile_deleteAllI(factory);
    DDS_DataReaderQos_finalize(&factory->defaultReaderQos);
    DDS_DataWriterQos_finalize(&factory->defaultWriterQos);
    DDS_SubscriberQos_finalize(&factory->defaultSubscriberQos);
    DDS_PublisherQos_finalize(&factory->defaultPublisherQos);
    DDS_TopicQos_finalize(&factory->defaultTopicQos);
    DDS_DomainParticipantQos_finalize(&factory->defaultParticipantQos);
    DDS_DomainParticipantFactoryQos_finalize(&factory->qos);
    if (factory->lock != nullptr) {
        REDAWorkerFactory_destroyExclusiveArea(factory->workerFactory, factory->lock);
    }
    if (factory->workerFactory != nullptr) {
        REDAWorkerFactory_delete(factory->workerFactory);
    }
    factory->~DDS_DomainParticipantFactoryImpl();
    ZELOsapiHeap_freeStructure(factory);
}

static DDS_DomainParticipantFactory *DDS_DomainParticipantFactory_newI() {
    const char *const context = "DDS_DomainParticipantFactory_get_instance";
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_DomainParticipantFactoryImpl), "DPFC");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_DomainParticipantFactoryImpl));
        return nullptr;
    }
    auto *factory = new (memory) DDS_DomainParticipantFactoryImpl{};
    factory->workerFactory = REDAWorkerFactory_new("DDS_DomainParticipantFactory");
    if (factory->workerFactory == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "worker factory");
        DDS_DomainParticipantFactory_freeI(factory);
        return nullptr;
    }
    factory->lock = REDAWorkerFactory_createExclusiveArea(factory->workerFactory, DDS_ENTITY_LOCK_LEVEL_FACTORY);
    if (factory->lock == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "ea");
        DDS_DomainParticipantFactory_freeI(factory);
        return nullptr;
    }
    if (!DDS_DomainParticipantFactory_initializeDefaultsI(factory)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "default qos");
        DDS_DomainParticipantFactory_freeI(factory);
        return nullptr;
    }
    factory->clock = ZELHighResolutionClock_new();
    if (factory->clock == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "clock");
        DDS_DomainParticipantFactory_freeI(factory);
        return nullptr;
    }
    const ZELWireOps *wireOps =
            ZELWire_chooseOps(DDS_DomainParticipantQos_getWireNameI(&factory->defaultParticipantQos), context);
    factory->wire = wireOps != nullptr ? wireOps->create() : nullptr;
    if (factory->wire == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "wire");
        DDS_DomainParticipantFactory_freeI(factory);
        return nullptr;
    }
    DDS_DomainParticipantFactory_installMonitorHookI(factory);
    return factory;
}

// PRECONDITION_NOT_MET (logged) while the factory has participants; with
// `includingVendorSpecific` false, vendor-specific ones (a monitor's own,
// which the monitor deletes itself) do not count.
static DDS_ReturnCode_t DDS_DomainParticipantFactory_checkNoParticipantsI(DDS_DomainParticipantFactory *factory,
                                                                          bool includingVendorSpecific) {
    DDS_EntityLockGuardI lock(factory, factory->lock);
    if (!lock.held()) {
        return lock.result();
    }
    for (DDS_EntityListNodeI *node = factory->participants.head; node != nullptr; node = node->next) {
        if (includingVendorSpecific || !DDS_EntityList_entryI<DDS_EntityImpl>(node)->vendorSpecific) {
            ZELLog_printContextAndMsg("DDS_DomainParticipantFactory_finalize_instance", &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                      "participants exist");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
    }
    return DDS_RETCODE_OK;
}

// Checks a factory argument and logs a NULL one under `context`.
static bool DDS_DomainParticipantFactory_checkI(const DDS_DomainParticipantFactory *self, const void *arg,
                                                const char *context) {
    if (self == nullptr || arg == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "qos");
        return false;
    }
    return true;
}

extern "C" {

VURNC_API DDS_DomainParticipantFactory *DDS_DomainParticipantFactory_get_instance(void) {
    DDS_DomainParticipantFactory *factory = g_instance.load(std::memory_order_acquire);
    if (factory != nullptr) {
        return factory;
    }
    std::lock_guard guard(g_instanceMutex);
    factory = g_instance.load(std::memory_order_relaxed);
    if (factory == nullptr) {
        factory = DDS_DomainParticipantFactory_newI();
        g_instance.store(factory, std::memory_order_release);
    }
    return factory;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_finalize_instance(void) {
    std::lock_guard guard(g_instanceMutex);
    DDS_DomainParticipantFactory *factory = g_instance.load(std::memory_order_relaxed);
    if (factory == nullptr) {
        return DDS_RETCODE_OK;
    }
    // The application's participants must be gone; the monitor deletes its
    // own, after which none may remain.
    DDS_ReturnCode_t result = DDS_DomainParticipantFactory_checkNoParticipantsI(factory, false);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (factory->monitorHooks.onFactoryFinalizing != nullptr) {
        factory->monitorHooks.onFactoryFinalizing(factory);
    }
    result = DDS_DomainParticipantFactory_checkNoParticipantsI(factory, true);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    g_instance.store(nullptr, std::memory_order_release);
    DDS_DomainParticipantFactory_freeI(factory);
    return DDS_RETCODE_OK;
}

VURNC_API struct ZELHighResolutionClock *DDS_DomainParticipantFactory_get_clockI(DDS_DomainParticipantFactory *self) {
    return self != nullptr ? self->clock : nullptr;
}

VURNC_API const char *DDS_DomainParticipantFactory_get_wire_nameI(DDS_DomainParticipantFactory *self) {
    if (self == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI lock(self, self->lock);
    return lock.held() ? self->wire->ops->name : nullptr;
}

VURNC_API struct REDAWorkerFactory *DDS_DomainParticipantFactory_get_worker_factoryI(DDS_DomainParticipantFactory *self,
                                                                                     int reserved) {
    if (self == nullptr || reserved != 0) {
        return nullptr;
    }
    return self->workerFactory;
}

VURNC_API struct REDAWorker *DDS_DomainParticipantFactory_get_workerI(DDS_DomainParticipantFactory *self) {
    if (self == nullptr) {
        return nullptr;
    }
    return REDAWorkerFactory_getWorker(self->workerFactory);
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_qos(DDS_DomainParticipantFactory *self,
                                                                struct DDS_DomainParticipantFactoryQos *qos) {
    if (!DDS_DomainParticipantFactory_checkI(self, qos, "DDS_DomainParticipantFactory_get_qos")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI lock(self, self->lock);
    if (!lock.held()) {
        return lock.result();
    }
    return DDS_DomainParticipantFactoryQos_copy(qos, &self->qos) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_qos(DDS_DomainParticipantFactory *self,
                                                                const struct DDS_DomainParticipantFactoryQos *qos) {
    if (!DDS_DomainParticipantFactory_checkI(self, qos, "DDS_DomainParticipantFactory_set_qos")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI lock(self, self->lock);
    if (!lock.held()) {
        return lock.result();
    }
    return DDS_Qos_replaceI(&self->qos, qos) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_default_participant_qos(
        DDS_DomainParticipantFactory *self, struct DDS_DomainParticipantQos *qos) {
    if (!DDS_DomainParticipantFactory_checkI(self, qos, "DDS_DomainParticipantFactory_get_default_participant_qos")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI lock(self, self->lock);
    if (!lock.held()) {
        return lock.result();
    }
    return DDS_DomainParticipantQos_copy(qos, &self->defaultParticipantQos) ? DDS_RETCODE_OK
                                                                            : DDS_RETCODE_OUT_OF_RESOURCES;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_default_participant_qos(
        DDS_DomainParticipantFactory *self, const struct DDS_DomainParticipantQos *qos) {
    const char *const context = "DDS_DomainParticipantFactory_set_default_participant_qos";
    if (!DDS_DomainParticipantFactory_checkI(self, qos, context)) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DomainParticipantQos initial = DDS_DomainParticipantQos_INITIALIZER;
    if (qos == &DDS_PARTICIPANT_QOS_DEFAULT) {
        // Back to the platform's defaults.
        if (!DDS_DomainParticipantQos_initialize(&initial) || !DDS_DomainParticipantQos_get_defaultI(&initial)) {
            DDS_DomainParticipantQos_finalize(&initial);
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        qos = &initial;
    } else if ((result = DDS_DomainParticipantQos_checkI(qos, context)) != DDS_RETCODE_OK) {
        return result;
    }
    const ZELWireOps *wireOps = ZELWire_chooseOps(DDS_DomainParticipantQos_getWireNameI(qos), context);
    ZELWire *unused = nullptr;
    if (wireOps == nullptr) {
        result = DDS_RETCODE_BAD_PARAMETER;
    } else {
        DDS_EntityLockGuardI lock(self, self->lock);
        result = lock.held() ? DDS_DomainParticipantFactory_prepareWireI(self, wireOps, &unused, context)
                             : lock.result();
        if (result == DDS_RETCODE_OK && !DDS_Qos_replaceI(&self->defaultParticipantQos, qos)) {
            result = DDS_RETCODE_OUT_OF_RESOURCES;
        }
        if (result == DDS_RETCODE_OK && unused != nullptr) {
            std::swap(self->wire, unused);
        }
    }
    // The old wire, or the new one when the QoS could not be kept; no
    // participant uses it.
    if (unused != nullptr) {
        unused->ops->destroy(unused);
    }
    DDS_DomainParticipantQos_finalize(&initial);
    return result;
}

VURNC_API DDS_DomainParticipant *DDS_DomainParticipantFactory_create_participant(
        DDS_DomainParticipantFactory *self, DDS_DomainId_t domainId, const struct DDS_DomainParticipantQos *qos,
        const struct DDS_DomainParticipantListener *listener, DDS_StatusMask mask) {
    const char *const context = "DDS_DomainParticipantFactory_create_participant";
    if (!DDS_DomainParticipantFactory_checkI(self, qos, context)) {
        return nullptr;
    }
    if (qos != &DDS_PARTICIPANT_QOS_DEFAULT && DDS_DomainParticipantQos_checkI(qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_DomainParticipantImpl), "DPAR");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_DomainParticipantImpl));
        return nullptr;
    }
    auto *participant = new (memory) DDS_DomainParticipantImpl{};
    participant->factory = self;
    participant->domainId = domainId;
    bool autoenable = false;
    bool filled = false;
    ZELWire *wire = nullptr;
    {
        DDS_EntityLockGuardI lock(self, self->lock);
        filled = lock.held() &&
                 DDS_Qos_replaceI(&participant->qos,
                                  qos == &DDS_PARTICIPANT_QOS_DEFAULT ? &self->defaultParticipantQos : qos) &&
                 DDS_Qos_replaceI(&participant->defaultTopicQos, &self->defaultTopicQos) &&
                 DDS_Qos_replaceI(&participant->defaultPublisherQos, &self->defaultPublisherQos) &&
                 DDS_Qos_replaceI(&participant->defaultSubscriberQos, &self->defaultSubscriberQos);
        autoenable = self->qos.entity_factory.autoenable_created_entities;
        wire = filled ? DDS_DomainParticipantFactory_reserveWireI(self, &participant->qos, context) : nullptr;
    }
    if (wire == nullptr) {
        if (!filled) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "participant");
        }
        DDS_DomainParticipant_freeI(participant);
        return nullptr;
    }
    // Until the participant is listed, the count of participants being
    // created keeps the wire: each failure below gives it back.
    if (!DDS_Entity_initializeI(&participant->entity, DDS_DOMAINPARTICIPANT_ENTITY_KIND, participant, nullptr,
                                DDS_ENTITY_KIND_OCTET_PARTICIPANT, participant->qos.protocol.vendor_specific_entity,
                                listener != nullptr ? &listener->as_listener : nullptr, mask)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "participant");
        DDS_DomainParticipant_freeI(participant);
        --self->participantsCreating;
        return nullptr;
    }
    participant->entity.key.value[0] = static_cast<DDS_Long>(ZELOsapiHost_getId());
    participant->entity.key.value[1] = static_cast<DDS_Long>(ZELOsapiProcess_getId());
    participant->entity.key.value[2] = static_cast<DDS_Long>(g_participantCounter.fetch_add(1) + 1);
    participant->entity.key.value[3] = static_cast<DDS_Long>((1u << 8) | DDS_ENTITY_KIND_OCTET_PARTICIPANT);
    uint32_t guidPrefix[3] = {static_cast<uint32_t>(participant->entity.key.value[0]),
                              static_cast<uint32_t>(participant->entity.key.value[1]),
                              static_cast<uint32_t>(participant->entity.key.value[2])};
    participant->wireParticipant = wire->ops->createParticipant(wire, domainId, guidPrefix);
    if (participant->wireParticipant == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "wire participant");
        DDS_DomainParticipant_freeI(participant);
        --self->participantsCreating;
        return nullptr;
    }
    // The prefix the wire uses on the network, which its children's keys share.
    for (int word = 0; word < 3; ++word) {
        participant->entity.key.value[word] = static_cast<DDS_Long>(guidPrefix[word]);
    }
    bool listed = false;
    {
        DDS_EntityLockGuardI lock(self, self->lock);
        if (lock.held()) {
            DDS_EntityList_addI(&self->participants, &participant->entity.node);
            listed = true;
        }
    }
    if (!listed) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "ea");
        DDS_DomainParticipant_freeI(participant);
        --self->participantsCreating;
        return nullptr;
    }
    // Listed, the participant keeps the wire from now on.
    --self->participantsCreating;
    if (self->monitorHooks.onParticipantCreated != nullptr) {
        self->monitorHooks.onParticipantCreated(self, participant);
    }
    if (autoenable && DDS_Entity_enableI(&participant->entity) != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "enable");
    }
    return participant;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory *self,
                                                                           DDS_DomainParticipant *participant) {
    const char *const context = "DDS_DomainParticipantFactory_delete_participant";
    if (self == nullptr || participant == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "participant");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (participant->factory != self) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "participant of another factory");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    // The application's entities must be gone; vendor-specific ones (the
    // monitor's, when it publishes on the participant itself) are removed
    // by the monitor's detach, after which none may remain.
    DDS_ReturnCode_t result = DDS_DomainParticipant_checkEmptyI(participant, false, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (self->monitorHooks.onParticipantDeleting != nullptr) {
        self->monitorHooks.onParticipantDeleting(self, participant);
    }
    result = DDS_DomainParticipant_checkEmptyI(participant, true, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    {
        DDS_EntityLockGuardI lock(self, self->lock);
        if (!lock.held()) {
            return lock.result();
        }
        DDS_EntityList_removeI(&self->participants, &participant->entity.node);
    }
    DDS_DomainParticipant_freeI(participant);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_DomainParticipant *DDS_DomainParticipantFactory_lookup_participant(DDS_DomainParticipantFactory *self,
                                                                                 DDS_DomainId_t domainId) {
    if (self == nullptr) {
        return nullptr;
    }
    DDS_EntityLockGuardI lock(self, self->lock);
    if (!lock.held()) {
        return nullptr;
    }
    for (DDS_EntityListNodeI *node = self->participants.head; node != nullptr; node = node->next) {
        auto *participant = reinterpret_cast<DDS_DomainParticipant *>(reinterpret_cast<char *>(node) -
                                                                      offsetof(DDS_DomainParticipantImpl, entity.node));
        if (participant->domainId == domainId) {
            return participant;
        }
    }
    return nullptr;
}

}  // extern "C"
