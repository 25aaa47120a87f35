// The recording test plug-in. Attach refuses marked participants (result
// 2), as a real monitor refuses its own; every event reads the
// participant's QoS, as a real monitor does from inside events.
#include "recording_monitor.h"

#include <atomic>
#include <mutex>

#include "vurncore/heap.h"

namespace recording {
namespace {

struct Monitor {
    DDS_Monitor record;  // what the middleware reads: first
    DDS_DomainParticipant *own;
};

struct ParticipantObject {
    DDS_DomainParticipant *participant;
};

std::mutex g_mutex;
std::vector<Call> g_calls;       // [g_mutex]
DDS_MonitorVersion g_version{};  // [g_mutex]
Script g_script;                 // set by the test before the middleware calls
std::atomic<int> g_qosReadFailures{0};

void record(const char *name, DDS_DomainParticipant *participant = nullptr, DDS_Entity *entity = nullptr,
            DDS_Long eventKind = 0) {
    Call call{name, participant, eventKind};
    if (entity != nullptr) {
        call.entityKind = DDS_Entity_get_entity_kind(entity);
        call.vendorSpecific = DDS_Entity_is_vendor_specific(entity) != DDS_BOOLEAN_FALSE;
    }
    std::lock_guard<std::mutex> guard(g_mutex);
    g_calls.push_back(call);
}

// 1 when the participant's QoS cannot be read, else 0; `marked` tells
// whether it carries the monitoring mark.
int readQos(DDS_DomainParticipant *participant, bool *marked) {
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    const bool read = DDS_DomainParticipant_get_qos(participant, &qos) == DDS_RETCODE_OK;
    *marked = read && qos.protocol.vendor_specific_entity;
    DDS_DomainParticipantQos_finalize(&qos);
    return read ? 0 : 1;
}

DDS_UnsignedLong deleteMonitor(DDS_Monitor *self) {
    auto *monitor = reinterpret_cast<Monitor *>(self);
    record("delete");
    if (monitor->own != nullptr &&
        DDS_DomainParticipantFactory_delete_participant(self->factory, monitor->own) != DDS_RETCODE_OK) {
        return DDS_MONITOR_RESULT_FAILURE;
    }
    ZELOsapiHeap_freeStructure(monitor);
    return DDS_MONITOR_RESULT_OK;
}

void *attach(DDS_UnsignedLong *result, DDS_Monitor *self, DDS_DomainParticipant *participant) {
    auto *monitor = reinterpret_cast<Monitor *>(self);
    record("attach", participant, DDS_DomainParticipant_as_entity(participant));
    bool marked = false;
    *result = DDS_MONITOR_RESULT_FAILURE;
    if (readQos(participant, &marked) != 0 || g_script.attachFails) {
        return nullptr;
    }
    *result = DDS_MONITOR_RESULT_OK;
    if (marked) {
        return nullptr;
    }
    if (g_script.ownParticipantDomain >= 0 && monitor->own == nullptr) {
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_default_participant_qos(self->factory, &qos);
        qos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
        monitor->own = DDS_DomainParticipantFactory_create_participant(self->factory, g_script.ownParticipantDomain,
                                                                       &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_DomainParticipantQos_finalize(&qos);
    }
    auto *object = static_cast<ParticipantObject *>(ZELOsapiHeap_allocateStructure(sizeof(ParticipantObject), "RMPO"));
    if (object == nullptr) {
        *result = DDS_MONITOR_RESULT_FAILURE;
        return nullptr;
    }
    object->participant = participant;
    return object;
}

DDS_UnsignedLong detach(void *participantObject) {
    auto *object = static_cast<ParticipantObject *>(participantObject);
    record("detach", object->participant, DDS_DomainParticipant_as_entity(object->participant));
    ZELOsapiHeap_freeStructure(object);
    return DDS_MONITOR_RESULT_OK;
}

DDS_UnsignedLong notify(void *participantObject, DDS_Long eventKind, DDS_Entity *entity, const void *) {
    auto *object = static_cast<ParticipantObject *>(participantObject);
    record("event", object->participant, entity, eventKind);
    bool marked = false;
    g_qosReadFailures += readQos(object->participant, &marked);
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
    record("create");
    {
        std::lock_guard<std::mutex> guard(g_mutex);
        g_version = version;
    }
    *result = g_script.createResult;
    auto *monitor = g_script.createFails
                            ? nullptr
                            : static_cast<Monitor *>(ZELOsapiHeap_allocateStructure(sizeof(Monitor), "RMON"));
    if (monitor != nullptr) {
        *monitor = Monitor{{factory, deleteMonitor, attach, detach, notify}, nullptr};
    } else if (!g_script.createFails) {
        *result = DDS_MONITOR_RESULT_FAILURE;
    }
    return monitor != nullptr ? &monitor->record : nullptr;
}
