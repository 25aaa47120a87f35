// The publishing thread: create, finalize and event posting, and the start
// of the statistics event.
#include "publisher_thread.h"

#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"

namespace {

// How long finalize waits for the generator's thread to end.
constexpr ZELNtpTime kStopTimeout = {10, 0u};

// About 2^32 / 10^9 in fixed point with 29 fraction bits: nanoseconds times
// this, shifted right by 29, is the 32-bit binary fraction.
constexpr uint64_t kNanosecondsToFraction = 2305843009u;

// Failures are logged under the starter's own name.
DDS_Boolean ZELDefaultMonitorPublisherThread_startI(const char *context, ZELDefaultMonitorEntitySet *set,
                                                    ZELEventCallback callback, void *param) {
    ZELNtpTime delay{};
    ZELDefaultMonitorPublisherThread_durationToTimeI(&delay, &set->period);
    set->eventCallback = callback;
    set->eventParam = param;
    if (!ZELDefaultMonitorPublisherThread_postEvent(set->thread, &delay, callback, param)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ADD_FAILURE_s, "start thread");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

// The participant id that names the thread. An automatic (negative) id is
// not known yet; the RTPS instance id tells the participant's threads apart
// instead.
DDS_Boolean ZELDefaultMonitorPublisherThread_getParticipantIdI(DDS_DomainParticipant *participant, int32_t *id) {
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    const bool ok = DDS_DomainParticipant_get_qos(participant, &qos) == DDS_RETCODE_OK;
    if (ok) {
        *id = qos.wire_protocol.participant_id >= 0
                      ? qos.wire_protocol.participant_id
                      : static_cast<int32_t>(qos.wire_protocol.rtps_instance_id & 0x7fffffffu);
    }
    DDS_DomainParticipantQos_finalize(&qos);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // namespace

extern "C" {

void ZELDefaultMonitorPublisherThread_durationToTimeI(ZELNtpTime *time, const DDS_Duration_t *duration) {
    if (duration->sec >= ZEL_NTP_TIME_SEC_MAX) {
        *time = ZEL_NTP_TIME_INFINITE;
        return;
    }
    time->sec = duration->sec;
    time->frac = static_cast<uint32_t>((static_cast<uint64_t>(duration->nanosec) * kNanosecondsToFraction) >> 29);
}

void ZELDefaultMonitorPublisherThread_addTimeI(ZELNtpTime *due, const ZELNtpTime *now, const ZELNtpTime *delay) {
    if (now->sec >= ZEL_NTP_TIME_SEC_MAX || delay->sec >= ZEL_NTP_TIME_SEC_MAX) {
        *due = ZEL_NTP_TIME_INFINITE;
        return;
    }
    const uint64_t fraction = static_cast<uint64_t>(now->frac) + delay->frac;
    const int64_t seconds = static_cast<int64_t>(now->sec) + delay->sec + static_cast<int64_t>(fraction >> 32);
    if (seconds >= ZEL_NTP_TIME_SEC_MAX) {
        *due = ZEL_NTP_TIME_INFINITE;
        return;
    }
    due->sec = static_cast<int32_t>(seconds);
    due->frac = static_cast<uint32_t>(fraction);
}

void ZELDefaultMonitorPublisherThread_onStoppedI(void *param) {
    if (ZELOsapiSemaphore_give(static_cast<ZELOsapiSemaphore *>(param)) != ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
        ZELMonitorLog_error(ZEL_LOG_SEMAPHORE_GIVE_FAILURE);
    }
}

ZELDefaultMonitorPublisherThread *ZELDefaultMonitorPublisherThread_create(DDS_DomainParticipantFactory *factory,
                                                                          DDS_DomainParticipant *participant,
                                                                          const ZELOsapiThreadSettings *settings) {
    auto *self = static_cast<ZELDefaultMonitorPublisherThread *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELDefaultMonitorPublisherThread), "MPTH"));
    if (self == nullptr) {
        ZELMonitorLog_error(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                            static_cast<int>(sizeof(ZELDefaultMonitorPublisherThread)));
        return nullptr;
    }
    ZELEventGeneratorListener listener{};
    ZELEventThreadProperties properties{};
    REDAWorkerFactory *workerFactory = DDS_DomainParticipantFactory_get_worker_factoryI(factory, 0);
    if (workerFactory == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "worker factory");
        goto fail;
    }
    self->clock = ZELHighResolutionClock_new();
    if (self->clock == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "clock");
        goto fail;
    }
    self->timer = ZELEventSmartTimer_new(self->clock);
    if (self->timer == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "timer");
        goto fail;
    }
    self->stoppedSemaphore = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    if (self->stoppedSemaphore == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "binary semaphore");
        goto fail;
    }
    self->onStopped = &ZELDefaultMonitorPublisherThread_onStoppedI;
    self->onStoppedParam = self->stoppedSemaphore;
    self->reserved[0] = nullptr;
    self->reserved[1] = nullptr;
    if (!ZELDefaultMonitorPublisherThread_getParticipantIdI(participant, &properties.participantId)) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "get qos");
        goto fail;
    }
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "start thread");
    properties.priority = settings->priority;
    properties.stackSize = settings->stackSize;
    properties.options = settings->options;
    properties.domainId = DDS_DomainParticipant_get_domain_id(participant);
    listener.onStopped = self->onStopped;
    listener.param = self->onStoppedParam;
    self->generator = ZELEventActiveGenerator_new(workerFactory, self->clock, self->timer, &listener, &properties);
    if (self->generator == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "eventGenerator");
        goto fail;
    }
    return self;

fail:
    ZELDefaultMonitorPublisherThread_finalize(self);
    return nullptr;
}

DDS_Boolean ZELDefaultMonitorPublisherThread_finalize(ZELDefaultMonitorPublisherThread *self) {
    if (self->generator != nullptr) {
        ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "shutdown thread");
        if (!ZELEventActiveGenerator_shutdown(self->generator)) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "event generator");
            return DDS_BOOLEAN_FALSE;
        }
        // A thread still busy after the timeout keeps everything it uses.
        if (ZELOsapiSemaphore_take(self->stoppedSemaphore, &kStopTimeout) != ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
            ZELMonitorLog_error(ZEL_LOG_SEMAPHORE_TAKE_FAILURE);
            return DDS_BOOLEAN_FALSE;
        }
        ZELEventActiveGenerator_delete(self->generator);
        self->generator = nullptr;
    }
    if (self->timer != nullptr) {
        ZELEventSmartTimer_delete(self->timer);
    }
    if (self->clock != nullptr) {
        ZELHighResolutionClock_delete(self->clock);
    }
    if (self->stoppedSemaphore != nullptr) {
        ZELOsapiSemaphore_delete(self->stoppedSemaphore);
    }
    ZELOsapiHeap_freeStructure(self);
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorPublisherThread_postEvent(ZELDefaultMonitorPublisherThread *self, const ZELNtpTime *delay,
                                                       ZELEventCallback callback, void *param) {
    ZELNtpTime now{};
    if (!self->clock->getTime(self->clock, &now)) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "getTime");
        return DDS_BOOLEAN_FALSE;
    }
    ZELNtpTime due{};
    ZELDefaultMonitorPublisherThread_addTimeI(&due, &now, delay);
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "posting event");
    if (!ZELEventActiveGenerator_postEvent(self->generator, &due, callback, param, nullptr)) {
        ZELMonitorLog_error(ZEL_LOG_ADD_FAILURE_s, "event");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_startCommonThread(ZELDefaultMonitorPublisher *publisher) {
    return ZELDefaultMonitorPublisherThread_startI(__func__, publisher->sharedEntities,
                                                   &ZELDefaultMonitorParticipantObject_onCommonStatsEventI, publisher);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_startParticipantThread(
        ZELDefaultMonitorParticipantObject *participantObject) {
    return ZELDefaultMonitorPublisherThread_startI(__func__, participantObject->entities,
                                                   &ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI,
                                                   participantObject);
}

}  // extern "C"
