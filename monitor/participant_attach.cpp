// Attaching a monitored participant to the monitor publisher, and
// detaching it.
#include <cstdio>

#include "entity_description.h"
#include "entity_set.h"
#include "entity_statistics.h"
#include "log/monitor_log_macros.h"
#include "monitor_publisher.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"

namespace {

// The version of the monitoring library that participants announce.
const char *const kMonitoringVersion = "5.1.0";
const char *const kApplicationName = "monitoring application";

void ZELDefaultMonitorPublisher_setResultI(DDS_UnsignedLong *result, DDS_UnsignedLong value) {
    if (result != nullptr) {
        *result = value;
    }
}

// Steps 6 to 12 of attach, once the object exists: its settings, its
// entity set, its place in the list and the announced properties. `qos` is
// the participant's, changed here and applied at the end. Failures are
// logged under attach's name.
bool ZELDefaultMonitorPublisher_completeAttachI(ZELDefaultMonitorPublisher *self,
                                                ZELDefaultMonitorParticipantObject *object,
                                                DDS_DomainParticipantQos *qos) {
    const char *const context = "ZELDefaultMonitorPublisher_onDomainParticipantAttach";
    ZELDefaultMonitorParticipantSettings settings{};
    if (!ZELDefaultMonitorParticipantSettings_read(&settings, &qos->property)) {
        return false;
    }
    object->userTopics = settings.userTopics;
    object->getProcessStatistics = settings.getProcessStatistics;
    object->skipParticipantProperties = settings.skipParticipantProperties;
    object->skipWriterProperties = settings.skipWriterProperties;
    object->skipReaderProperties = settings.skipReaderProperties;
    object->skipMonitorEntities = settings.skipMonitorEntities;
    object->resetStatusChangeCounts = settings.resetStatusChangeCounts;
    object->previousCpuReading = ZELDefaultMonitorCpuReading{};

    if (self->factory == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "factory");
        return false;
    }
    if (self->sharedEntities == nullptr) {
        auto *set = static_cast<ZELDefaultMonitorEntitySet *>(
                ZELOsapiHeap_allocateStructure(sizeof(ZELDefaultMonitorEntitySet), "MENT"));
        if (set == nullptr) {
            ZELMonitorLog_errorWithContext(context, ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                           static_cast<int>(sizeof(ZELDefaultMonitorEntitySet)));
            return false;
        }
        // Stored at once, so that detach tears down whatever gets made.
        object->entities = set;
        if (!ZELDefaultMonitorPublisher_createEntitiesAndThreadI(set, self->factory, object->participant, qos)) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "entities");
            return false;
        }
    } else {
        object->entities = self->sharedEntities;
    }

    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(self->factory);
    if (worker == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "worker");
        return false;
    }
    if (!REDAWorker_enterExclusiveArea(worker, nullptr, self->listEA)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "ea");
        return false;
    }
    ZELDefaultMonitorParticipantList_addFirstI(&self->participantList, object);
    if (!REDAWorker_leaveExclusiveArea(worker, nullptr, self->listEA)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "ea");
        return false;
    }

    // Four numbers below 256 and the text fit with room to spare.
    char version[32];
    std::snprintf(version, sizeof(version), "%u.%u.%u.rev%u", static_cast<unsigned>(self->version.major),
                  static_cast<unsigned>(self->version.minor), static_cast<unsigned>(self->version.release),
                  static_cast<unsigned>(self->version.revision));
    const struct {
        const char *name;
        const char *value;
        const char *failure;
    } announced[] = {
            {"zel/dds/version", version, "dds version property"},
            {"zel/dds/monitor/version", kMonitoringVersion, "monitoring version property"},
            {"zel/dds/monitor/appname", kApplicationName, "application name property"},
    };
    for (const auto &property : announced) {
        if (DDS_PropertyQosPolicyHelper_add_property(&qos->property, property.name, property.value, DDS_BOOLEAN_TRUE) !=
            DDS_RETCODE_OK) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, property.failure);
            return false;
        }
    }
    if (DDS_DomainParticipant_set_qos(object->participant, qos) != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "participant qos");
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

ZELMONITOR_API ZELDefaultMonitorParticipantObject *ZELDefaultMonitorPublisher_onDomainParticipantAttach(
        DDS_UnsignedLong *result, ZELDefaultMonitorPublisher *self, DDS_DomainParticipant *participant) {
    ZELDefaultMonitorPublisher_setResultI(result, ZEL_MONITOR_RESULT_FAILURE);
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    if (DDS_DomainParticipant_get_qos(participant, &qos) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "participant qos");
        DDS_DomainParticipantQos_finalize(&qos);
        return nullptr;
    }
    // The plug-in's own monitoring participant is never monitored.
    if (qos.protocol.vendor_specific_entity) {
        DDS_DomainParticipantQos_finalize(&qos);
        ZELDefaultMonitorPublisher_setResultI(result, ZEL_MONITOR_RESULT_OK);
        return nullptr;
    }
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "attaching");
    auto *object = static_cast<ZELDefaultMonitorParticipantObject *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELDefaultMonitorParticipantObject), "MPOB"));
    if (object == nullptr) {
        ZELMonitorLog_error(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                            static_cast<int>(sizeof(ZELDefaultMonitorParticipantObject)));
        DDS_DomainParticipantQos_finalize(&qos);
        return nullptr;
    }
    object->publisher = self;
    object->participant = participant;
    object->domainId = DDS_DomainParticipant_get_domain_id(participant);

    // Only the first participant ever attached chooses the separate
    // monitoring participant and the log verbosity.
    if (self->firstAttach) {
        ZELDefaultMonitorFirstAttachSettings firstAttach{};
        ZELDefaultMonitorFirstAttachSettings_read(&firstAttach, &qos.property);
        if (firstAttach.hasNewParticipantDomainId) {
            self->newParticipantDomainId = firstAttach.newParticipantDomainId;
            if (!ZELDefaultMonitorPublisher_createStatParticipantAndEntitiesI(self, &qos)) {
                ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "participant");
                DDS_DomainParticipantQos_finalize(&qos);
                return object;
            }
        }
        self->firstAttach = DDS_BOOLEAN_FALSE;
        if (firstAttach.hasVerbosity) {
            ZEL_Monitor_Log_setVerbosity(0xFFFFu, firstAttach.verbosity);
        }
    }

    if (ZELDefaultMonitorPublisher_completeAttachI(self, object, &qos)) {
        ZELDefaultMonitorPublisher_setResultI(result, ZEL_MONITOR_RESULT_OK);
    }
    DDS_DomainParticipantQos_finalize(&qos);
    return object;
}

ZELMONITOR_API DDS_UnsignedLong
ZELDefaultMonitorPublisher_onDomainParticipantDetach(ZELDefaultMonitorParticipantObject *participantObject) {
    if (participantObject == nullptr) {
        return ZEL_MONITOR_RESULT_OK;
    }
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "detaching");
    ZELDefaultMonitorPublisher *publisher = participantObject->publisher;
    ZELDefaultMonitorEntitySet *set = participantObject->entities;
    if (set != nullptr && ZELDefaultMonitorEntitySet_isStarted(set)) {
        if (ZELDefaultMonitorEntitySet_writerI(set, ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION) != nullptr &&
            !ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc(
                    participantObject, participantObject->participant, DDS_BOOLEAN_TRUE)) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "dispose participant desc");
            return ZEL_MONITOR_RESULT_FAILURE;
        }
        if (!ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(
                    participantObject, participantObject->participant, DDS_BOOLEAN_TRUE)) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "dispose participant stats");
            return ZEL_MONITOR_RESULT_FAILURE;
        }
    }
    if (set != nullptr && publisher->sharedEntities == nullptr) {
        if (!ZELDefaultMonitorPublisher_stopThreadAndDeleteEntitiesI(participantObject->participant, set)) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "entities");
            return ZEL_MONITOR_RESULT_FAILURE;
        }
        ZELOsapiHeap_freeStructure(set);
    }
    participantObject->entities = nullptr;

    if (publisher->factory == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "factory");
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(publisher->factory);
    if (worker == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "worker");
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    if (!REDAWorker_enterExclusiveArea(worker, nullptr, publisher->listEA)) {
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    ZELDefaultMonitorParticipantList_removeI(&publisher->participantList, participantObject);
    if (!REDAWorker_leaveExclusiveArea(worker, nullptr, publisher->listEA)) {
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    DDS_String_free(participantObject->userTopics);
    ZELOsapiHeap_freeStructure(participantObject);
    return ZEL_MONITOR_RESULT_OK;
}

}  // extern "C"
