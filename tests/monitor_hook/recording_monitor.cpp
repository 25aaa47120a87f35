// The recording test plug-in (see recording_monitor.h).
#include "recording_monitor.h"

#include <atomic>
#include <mutex>

#include "vurncore/heap.h"

namespace recording {
namespace {

struct Monitor {
    DDS_Monitor record;  // what the middleware reads: first
    DDS_DomainParticipant *own = nullptr;
};

struct ParticipantObject {
    Monitor *monitor;
    DDS_DomainParticipant *participant;
};

std::mutex g_mutex;
std::vector<Call> g_calls;          // [g_mutex]
DDS_MonitorVersion g_version{};     // [g_mutex]
Script g_script;                    // set by the test before the middleware calls
std::atomic<int> g_qosReadFailures{0};

void record(Call call) {
    std::lock_guard<std::mutex> guard(g_mutex);
    g_calls.push_back(std::move(call));
}

DDS_Entity *entityOf(DDS_DomainParticipant *participant) {
    return DDS_DomainParticipant_as_entity(participant);
}

Call callAbout(const char *name, DDS_DomainParticipant *participant, DDS_Entity *entity) {
    Call call;
    call.name = name;
    call.participant = participant;
    call.entityKind = DDS_Entity_get_entity_kind(entity);
    call.vendorSpecific = DDS_Entity_is_vendor_specific(entity) != DDS_BOOLEAN_FALSE;
    return call;
}

template <typename Qos, typename Entity>
void readQos(DDS_ReturnCode_t (*get)(Entity *, Qos *), DDS_Boolean (*initialize)(Qos *), void (*finalize)(Qos *),
             Entity *entity) {
    Qos qos;
    initialize(&qos);
    if (entity == nullptr || get(entity, &qos) != DDS_RETCODE_OK) {
        ++g_qosReadFailures;
    }
    finalize(&qos);
}

// Reads the entity's QoS as a real monitor would from inside an event.
void readQosOf(DDS_Entity *entity) {
    switch (DDS_Entity_get_entity_kind(entity)) {
    case DDS_DOMAINPARTICIPANT_ENTITY_KIND:
        readQos(DDS_DomainParticipant_get_qos, DDS_DomainParticipantQos_initialize, DDS_DomainParticipantQos_finalize,
                DDS_DomainParticipant_narrow(entity));
        break;
    case DDS_TOPIC_ENTITY_KIND:
        readQos(DDS_Topic_get_qos, DDS_TopicQos_initialize, DDS_TopicQos_finalize,
                DDS_Topic_narrow_from_entity(entity));
        break;
    case DDS_PUBLISHER_ENTITY_KIND:
        readQos(DDS_Publisher_get_qos, DDS_PublisherQos_initialize, DDS_PublisherQos_finalize,
                DDS_Publisher_narrow(entity));
        break;
    case DDS_SUBSCRIBER_ENTITY_KIND:
        readQos(DDS_Subscriber_get_qos, DDS_SubscriberQos_initialize, DDS_SubscriberQos_finalize,
                DDS_Subscriber_narrow(entity));
        break;
    case DDS_DATAWRITER_ENTITY_KIND:
        readQos(DDS_DataWriter_get_qos, DDS_DataWriterQos_initialize, DDS_DataWriterQos_finalize,
                DDS_DataWriter_narrow(entity));
        break;
    case DDS_DATAREADER_ENTITY_KIND:
        readQos(DDS_DataReader_get_qos, DDS_DataReaderQos_initialize, DDS_DataReaderQos_finalize,
                DDS_DataReader_narrow(entity));
        break;
    default:
        ++g_qosReadFailures;
    }
}

// A marked participant, as a monitor makes for its own topics.
DDS_DomainParticipant *createOwnParticipant(DDS_DomainParticipantFactory *factory, DDS_DomainId_t domain) {
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipant *participant = nullptr;
    if (DDS_DomainParticipantFactory_get_default_participant_qos(factory, &qos) == DDS_RETCODE_OK) {
        qos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
        participant = DDS_DomainParticipantFactory_create_participant(factory, domain, &qos, nullptr,
                                                                      DDS_STATUS_MASK_NONE);
    }
    DDS_DomainParticipantQos_finalize(&qos);
    return participant;
}

DDS_UnsignedLong deleteMonitor(DDS_Monitor *self) {
    auto *monitor = reinterpret_cast<Monitor *>(self);
    record(Call{"delete"});
    if (monitor->own != nullptr &&
        DDS_DomainParticipantFactory_delete_participant(self->factory, monitor->own) != DDS_RETCODE_OK) {
        return DDS_MONITOR_RESULT_FAILURE;
    }
    ZELOsapiHeap_freeStructure(monitor);
    return DDS_MONITOR_RESULT_OK;
}

void *attach(DDS_UnsignedLong *result, DDS_Monitor *self, DDS_DomainParticipant *participant) {
    auto *monitor = reinterpret_cast<Monitor *>(self);
    record(callAbout("attach", participant, entityOf(participant)));
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    const bool marked = DDS_DomainParticipant_get_qos(participant, &qos) == DDS_RETCODE_OK &&
                        qos.protocol.vendor_specific_entity;
    DDS_DomainParticipantQos_finalize(&qos);
    if (marked) {
        *result = DDS_MONITOR_RESULT_OK;
        return nullptr;
    }
    if (g_script.attachFails) {
        *result = DDS_MONITOR_RESULT_FAILURE;
        return nullptr;
    }
    if (g_script.ownParticipantDomain >= 0 && monitor->own == nullptr) {
        monitor->own = createOwnParticipant(self->factory, g_script.ownParticipantDomain);
    }
    auto *object = static_cast<ParticipantObject *>(ZELOsapiHeap_allocateStructure(sizeof(ParticipantObject), "RMPO"));
    if (object == nullptr) {
        *result = DDS_MONITOR_RESULT_FAILURE;
        return nullptr;
    }
    *object = ParticipantObject{monitor, participant};
    *result = DDS_MONITOR_RESULT_OK;
    return object;
}

DDS_UnsignedLong detach(void *participantObject) {
    auto *object = static_cast<ParticipantObject *>(participantObject);
    record(callAbout("detach", object->participant, entityOf(object->participant)));
    ZELOsapiHeap_freeStructure(object);
    return DDS_MONITOR_RESULT_OK;
}

DDS_UnsignedLong notify(void *participantObject, DDS_Long eventKind, DDS_Entity *entity, const void *) {
    auto *object = static_cast<ParticipantObject *>(participantObject);
    Call call = callAbout("event", object->participant, entity);
    call.eventKind = eventKind;
    record(std::move(call));
    if (g_script.readQosInEvents) {
        readQosOf(entity);
    }
    return DDS_MONITOR_RESULT_OK;
}

}  // namespace

void reset() {
    std::lock_guard<std::mutex> guard(g_mutex);
    g_calls.clear();
    g_version = DDS_MonitorVersion{};
    g_script = Script{};
    g_qosReadFailures = 0;
}

Script &script() { return g_script; }

std::vector<Call> calls() {
    std::lock_guard<std::mutex> guard(g_mutex);
    return g_calls;
}

DDS_MonitorVersion createdWithVersion() {
    std::lock_guard<std::mutex> guard(g_mutex);
    return g_version;
}

int qosReadFailures() { return g_qosReadFailures; }

}  // namespace recording

extern "C" DDS_Monitor *RecordingMonitor_create(DDS_UnsignedLong *result, DDS_DomainParticipantFactory *factory,
                                                DDS_MonitorVersion version) {
    using namespace recording;
    record(Call{"create"});
    {
        std::lock_guard<std::mutex> guard(g_mutex);
        g_version = version;
    }
    *result = g_script.createResult;
    if (g_script.createFails) {
        return nullptr;
    }
    auto *monitor = static_cast<Monitor *>(ZELOsapiHeap_allocateStructure(sizeof(Monitor), "RMON"));
    if (monitor == nullptr) {
        *result = DDS_MONITOR_RESULT_FAILURE;
        return nullptr;
    }
    *monitor = Monitor{{factory, deleteMonitor, attach, detach, notify}, nullptr};
    return &monitor->record;
}
