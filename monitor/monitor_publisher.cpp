// The monitor publisher: the creation function the middleware is given,
// create and delete, and the participant list.
#include "monitor_publisher.h"

#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

namespace {

// The oldest middleware that the plug-in runs on: 4.5 release 'c'. The
// bytes compare as signed values.
bool ZELDefaultMonitorVersion_isSupportedI(const ZELDefaultMonitorVersion &version) {
    const auto major = static_cast<int8_t>(version.major);
    const auto minor = static_cast<int8_t>(version.minor);
    const auto release = static_cast<int8_t>(version.release);
    if (major < 4) {
        return false;
    }
    if (major == 4 && minor < 5) {
        return false;
    }
    return !(major == 4 && minor == 5 && release < 'c');
}

void ZELDefaultMonitorPublisher_setResultI(DDS_UnsignedLong *result, DDS_UnsignedLong value) {
    if (result != nullptr) {
        *result = value;
    }
}

}  // namespace

extern "C" {

ZELMONITOR_API ZELDefaultMonitorPublisher *ZELDefaultMonitor_create(DDS_UnsignedLong *result,
                                                                    DDS_DomainParticipantFactory *factory,
                                                                    ZELDefaultMonitorVersion version) {
    return ZELDefaultMonitorPublisher_create(result, factory, version);
}

ZELMONITOR_API ZELDefaultMonitorPublisher *ZELDefaultMonitorPublisher_create(DDS_UnsignedLong *result,
                                                                             DDS_DomainParticipantFactory *factory,
                                                                             ZELDefaultMonitorVersion version) {
    ZELDefaultMonitorPublisher_setResultI(result, ZEL_MONITOR_RESULT_FAILURE);
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "creating");
    if (!ZELDefaultMonitorVersion_isSupportedI(version)) {
        ZELMonitorLog_error(ZEL_MONITOR_LOG_VERSION_MISMATCH);
        ZELDefaultMonitorPublisher_setResultI(result, ZEL_MONITOR_RESULT_VERSION_NOT_SUPPORTED);
        return nullptr;
    }
    auto *self = static_cast<ZELDefaultMonitorPublisher *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELDefaultMonitorPublisher), "ADDN"));
    if (self == nullptr) {
        ZELMonitorLog_error(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                            static_cast<int>(sizeof(ZELDefaultMonitorPublisher)));
        return nullptr;
    }
    self->factory = factory;
    self->version = version;
    self->deletePublisher = &ZELDefaultMonitorPublisher_delete;
    self->onDomainParticipantAttach = &ZELDefaultMonitorPublisher_onDomainParticipantAttach;
    self->onDomainParticipantDetach = &ZELDefaultMonitorPublisher_onDomainParticipantDetach;
    self->onEventNotify = &ZELDefaultMonitorPublisher_onEventNotify;
    self->hostId = ZELOsapiHost_getId();
    self->processId = ZELOsapiProcess_getId();
    // A publisher that cannot lock its list is handed back all the same
    // (result 1): the middleware decides what becomes of it.
    REDAWorkerFactory *workerFactory = DDS_DomainParticipantFactory_get_worker_factoryI(factory, 0);
    if (workerFactory == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "worker factory");
        return self;
    }
    self->listEA = REDAWorkerFactory_createExclusiveArea(workerFactory, ZEL_MONITOR_LIST_EA_LEVEL);
    if (self->listEA == nullptr) {
        return self;
    }
    self->firstAttach = DDS_BOOLEAN_TRUE;
    self->monitoringParticipant = nullptr;
    self->newParticipantDomainId = -1;
    self->sharedEntities = nullptr;
    self->participantList = ZELDefaultMonitorParticipantList{nullptr, nullptr, 0};
    ZELDefaultMonitorPublisher_setResultI(result, ZEL_MONITOR_RESULT_OK);
    return self;
}

ZELMONITOR_API DDS_UnsignedLong ZELDefaultMonitorPublisher_delete(ZELDefaultMonitorPublisher *self) {
    if (self == nullptr) {
        return ZEL_MONITOR_RESULT_OK;
    }
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "deleting");
    if (self->participantList.count != 0) {
        ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "participant list");
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    if (self->sharedEntities != nullptr) {
        if (!ZELDefaultMonitorPublisher_stopThreadAndDeleteEntitiesI(self->monitoringParticipant,
                                                                     self->sharedEntities)) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "entities");
            return ZEL_MONITOR_RESULT_FAILURE;
        }
        ZELOsapiHeap_freeStructure(self->sharedEntities);
        self->sharedEntities = nullptr;
    }
    if (!ZELDefaultMonitorPublisher_deleteStatParticipantI(self)) {
        ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "participant");
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    REDAWorkerFactory *workerFactory = DDS_DomainParticipantFactory_get_worker_factoryI(self->factory, 0);
    if (workerFactory == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "worker factory");
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    REDAWorkerFactory_destroyExclusiveArea(workerFactory, self->listEA);
    ZELOsapiHeap_freeStructure(self);
    return ZEL_MONITOR_RESULT_OK;
}

void ZELDefaultMonitorParticipantList_addFirstI(ZELDefaultMonitorParticipantList *list,
                                                ZELDefaultMonitorParticipantObject *object) {
    object->node.list = list;
    object->node.prev = nullptr;
    object->node.next = list->first;
    if (list->first != nullptr) {
        list->first->node.prev = object;
    } else {
        list->last = object;
    }
    list->first = object;
    list->count += 1;
}

void ZELDefaultMonitorParticipantList_removeI(ZELDefaultMonitorParticipantList *list,
                                              ZELDefaultMonitorParticipantObject *object) {
    if (object->node.list != list) {
        return;
    }
    if (object->node.prev != nullptr) {
        object->node.prev->node.next = object->node.next;
    } else {
        list->first = object->node.next;
    }
    if (object->node.next != nullptr) {
        object->node.next->node.prev = object->node.prev;
    } else {
        list->last = object->node.prev;
    }
    list->count -= 1;
    object->node = ZELDefaultMonitorParticipantListNode{nullptr, nullptr, nullptr};
}

}  // extern "C"
