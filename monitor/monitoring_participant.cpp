// The separate monitoring participant: its QoS, its creation with the
// shared entity set, and its deletion.
#include <cstring>

#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "monitor_publisher.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"

namespace {

const char *const kParticipantName = "monitoring application";

// The properties that make the middleware load the plug-in: the monitoring
// participant must not load it again.
constexpr const char *kLibraryLoadingProperties[] = {
        "zel.monitor.create_function",
        "zel.monitor.library",
        "zel.monitor.create_function_ptr",
};

// The bound of an entity name, whose buffer always holds bound + 1 octets.
constexpr size_t kEntityNameMax = 255;

DDS_Boolean ZELDefaultMonitorPublisher_setParticipantNameI(DDS_EntityNameQosPolicy *name) {
    if (name->name == nullptr) {
        name->name = DDS_String_alloc(kEntityNameMax);
        if (name->name == nullptr) {
            return DDS_BOOLEAN_FALSE;
        }
    }
    std::strcpy(name->name, kParticipantName);
    return DDS_BOOLEAN_TRUE;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorPublisher_get_participant_qosI(DDS_DomainParticipantQos *qos,
                                                            DDS_DomainParticipantFactory *factory,
                                                            const DDS_PropertyQosPolicy *configProperties) {
    ZELDefaultMonitorEntitySettings settings{};
    ZELDefaultMonitorEntitySettings_read(&settings, configProperties);
    if (ZELDefaultMonitorEntitySettings_hasQosProfile(&settings)) {
        if (DDS_DomainParticipantFactory_get_participant_qos_from_profile(factory, qos, settings.qosLibrary,
                                                                          settings.qosProfile) != DDS_RETCODE_OK) {
            ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "profile qos");
            return DDS_BOOLEAN_FALSE;
        }
    } else if (DDS_DomainParticipantFactory_get_default_participant_qos(factory, qos) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "default qos");
        return DDS_BOOLEAN_FALSE;
    }
    for (const char *name : kLibraryLoadingProperties) {
        if (DDS_PropertyQosPolicyHelper_lookup_property(&qos->property, name) != nullptr) {
            DDS_PropertyQosPolicyHelper_remove_property(&qos->property, name);
        }
    }
    if (!ZELDefaultMonitorPublisher_setParticipantNameI(&qos->participant_name)) {
        return DDS_BOOLEAN_FALSE;
    }
    qos->protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    if (DDS_PropertyQosPolicyHelper_add_property(&qos->property, "zel/dds/monitor/entity", "DomainParticipant",
                                                 DDS_BOOLEAN_TRUE) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "monitoring entity property");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorPublisher_createStatParticipantAndEntitiesI(ZELDefaultMonitorPublisher *self,
                                                                         const DDS_DomainParticipantQos *monitoredQos) {
    if (self->factory == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "factory");
        return DDS_BOOLEAN_FALSE;
    }
    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(self->factory);
    if (worker == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "worker");
        return DDS_BOOLEAN_FALSE;
    }
    if (!REDAWorker_enterExclusiveArea(worker, nullptr, self->listEA)) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "ea");
        return DDS_BOOLEAN_FALSE;
    }
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    bool ok = ZELDefaultMonitorPublisher_get_participant_qosI(&qos, self->factory, &monitoredQos->property);
    if (!ok) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "qos");
    }
    if (ok && self->monitoringParticipant == nullptr) {
        self->monitoringParticipant = DDS_DomainParticipantFactory_create_participant(
                self->factory, self->newParticipantDomainId, &qos, nullptr, 0xBFFFFFFFu);
        if (self->monitoringParticipant == nullptr) {
            ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "participant");
            ok = false;
        }
    }
    if (ok && self->sharedEntities == nullptr) {
        auto *set = static_cast<ZELDefaultMonitorEntitySet *>(
                ZELOsapiHeap_allocateStructure(sizeof(ZELDefaultMonitorEntitySet), "MENT"));
        if (set == nullptr) {
            ZELMonitorLog_error(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                static_cast<int>(sizeof(ZELDefaultMonitorEntitySet)));
            ok = false;
        } else if (!ZELDefaultMonitorPublisher_createEntitiesAndThreadI(set, self->factory, self->monitoringParticipant,
                                                                        monitoredQos)) {
            ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "entities");
            // The set was made here: what it holds goes with it, so that a
            // later attach can try again on an empty monitoring participant.
            ZELDefaultMonitorPublisher_stopThreadAndDeleteEntitiesI(self->monitoringParticipant, set);
            ZELOsapiHeap_freeStructure(set);
            ok = false;
        } else {
            self->sharedEntities = set;
        }
    }
    if (!REDAWorker_leaveExclusiveArea(worker, nullptr, self->listEA)) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "ea");
        ok = false;
    }
    DDS_DomainParticipantQos_finalize(&qos);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorPublisher_deleteStatParticipantI(ZELDefaultMonitorPublisher *self) {
    if (self->monitoringParticipant == nullptr) {
        return DDS_BOOLEAN_TRUE;
    }
    if (self->factory == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "factory");
        return DDS_BOOLEAN_FALSE;
    }
    if (DDS_DomainParticipantFactory_delete_participant(self->factory, self->monitoringParticipant) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "participant");
        return DDS_BOOLEAN_FALSE;
    }
    self->monitoringParticipant = nullptr;
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
