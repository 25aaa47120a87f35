/* The monitoring plug-in's entry points. The middleware creates one monitor
 * publisher per participant factory, attaches every monitored participant
 * to it, reports the participant's entity events, detaches each participant
 * and finally deletes the publisher. Every call reports a result code:
 * 0 middleware version not supported (create only), 1 failure, 2 success
 * or nothing to do. */
#ifndef ZELMONITORING_MONITOR_H
#define ZELMONITORING_MONITOR_H

#include "vurnc/dds_entity.h"
#include "vurncore/types.h"
#include "zelmonitoring/dll.h"

ZEL_EXTERN_C_BEGIN

#define ZEL_MONITOR_RESULT_VERSION_NOT_SUPPORTED 0u
#define ZEL_MONITOR_RESULT_FAILURE 1u
#define ZEL_MONITOR_RESULT_OK 2u

/* The middleware's version, passed by value. The release byte holds a
 * letter ('c' is 99). */
struct ZELDefaultMonitorVersion {
    uint8_t major;
    uint8_t minor;
    uint8_t release;
    uint8_t revision;
};

struct ZELDefaultMonitorPublisher;
struct ZELDefaultMonitorParticipantObject;

/* The process's CPU time, user and kernel, each as seconds and a 32-bit
 * binary fraction of a second. */
struct ZELDefaultMonitorCpuReading {
    uint32_t userSec;
    uint32_t userFraction;
    uint32_t kernelSec;
    uint32_t kernelFraction;
};
/* The publisher, topics, writers and publishing thread that the plug-in
 * publishes through; private to the plug-in. */
struct ZELDefaultMonitorEntitySet;
struct REDAExclusiveArea;

typedef DDS_UnsignedLong (*ZELDefaultMonitorPublisher_DeleteFunction)(struct ZELDefaultMonitorPublisher *self);
typedef struct ZELDefaultMonitorParticipantObject *(*ZELDefaultMonitorPublisher_AttachFunction)(
        DDS_UnsignedLong *result, struct ZELDefaultMonitorPublisher *self, DDS_DomainParticipant *participant);
typedef DDS_UnsignedLong (*ZELDefaultMonitorPublisher_DetachFunction)(
        struct ZELDefaultMonitorParticipantObject *participantObject);
typedef DDS_UnsignedLong (*ZELDefaultMonitorPublisher_EventNotifyFunction)(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Long eventKind, DDS_Entity *entity,
        const void *eventData);

/* The list of attached participants: each participant object begins with
 * its node. A node that is in no list has a NULL owning list. */
struct ZELDefaultMonitorParticipantListNode {
    struct ZELDefaultMonitorParticipantList *list;
    struct ZELDefaultMonitorParticipantObject *next;
    struct ZELDefaultMonitorParticipantObject *prev;
};
struct ZELDefaultMonitorParticipantList {
    struct ZELDefaultMonitorParticipantObject *first;
    struct ZELDefaultMonitorParticipantObject *last;
    int32_t count;
};

/* The monitor publisher. The first five fields are what the middleware
 * reads after create: the factory and the four operations it calls. */
struct ZELDefaultMonitorPublisher {
    DDS_DomainParticipantFactory *factory;
    ZELDefaultMonitorPublisher_DeleteFunction deletePublisher; /* `delete` is reserved in C++ */
    ZELDefaultMonitorPublisher_AttachFunction onDomainParticipantAttach;
    ZELDefaultMonitorPublisher_DetachFunction onDomainParticipantDetach;
    ZELDefaultMonitorPublisher_EventNotifyFunction onEventNotify;
    struct ZELDefaultMonitorVersion version;
    uint32_t hostId;
    uint32_t processId;
    struct REDAExclusiveArea *listEA;                        /* level 5 */
    struct ZELDefaultMonitorParticipantList participantList; /* [listEA] */
    DDS_Boolean firstAttach;                                 /* until the first attach read its settings */
    DDS_DomainParticipant *monitoringParticipant;            /* the separate one, or NULL */
    DDS_Long newParticipantDomainId;                         /* its domain; -1 without one */
    struct ZELDefaultMonitorEntitySet *sharedEntities;       /* on the separate participant, or NULL */
};

/* One attached participant; the handle the middleware passes back on every
 * event and at detach. */
struct ZELDefaultMonitorParticipantObject {
    struct ZELDefaultMonitorParticipantListNode node; /* [publisher->listEA] */
    struct ZELDefaultMonitorPublisher *publisher;
    DDS_DomainParticipant *participant;
    DDS_Long domainId;
    char *userTopics; /* owned; NULL: no user-topic filter */
    DDS_Boolean getProcessStatistics;
    DDS_Boolean skipMonitorEntities;
    DDS_Boolean resetStatusChangeCounts;
    /* The reading of the previous participant statistics sample, so that
     * each sample reports the CPU time since the last one; zero at attach.
     * [the monitored participant's lock: only the statistics cycle uses it] */
    struct ZELDefaultMonitorCpuReading previousCpuReading;
    DDS_Boolean skipParticipantProperties;
    DDS_Boolean skipWriterProperties;
    DDS_Boolean skipReaderProperties;
    struct ZELDefaultMonitorEntitySet *entities; /* its own, or the publisher's shared one */
};

/* The creation function named to the middleware: calls
 * ZELDefaultMonitorPublisher_create. */
ZELMONITOR_API struct ZELDefaultMonitorPublisher *ZELDefaultMonitor_create(DDS_UnsignedLong *result,
                                                                           DDS_DomainParticipantFactory *factory,
                                                                           struct ZELDefaultMonitorVersion version);

/* Versions before 4.5 release 'c' are refused (result 0, NULL). A publisher
 * whose factory has no worker factory, or whose list lock could not be
 * made, is returned with result 1. */
ZELMONITOR_API struct ZELDefaultMonitorPublisher *ZELDefaultMonitorPublisher_create(
        DDS_UnsignedLong *result, DDS_DomainParticipantFactory *factory, struct ZELDefaultMonitorVersion version);

/* Refused (1) while participants are attached; NULL is nothing to do (2). */
ZELMONITOR_API DDS_UnsignedLong ZELDefaultMonitorPublisher_delete(struct ZELDefaultMonitorPublisher *self);

/* NULL with result 2 for a participant that the plug-in created itself.
 * On a failure after the participant object was allocated, the object is
 * returned with result 1 and must still be detached. */
ZELMONITOR_API struct ZELDefaultMonitorParticipantObject *ZELDefaultMonitorPublisher_onDomainParticipantAttach(
        DDS_UnsignedLong *result, struct ZELDefaultMonitorPublisher *self, DDS_DomainParticipant *participant);

/* Frees the participant object (NULL is nothing to do). */
ZELMONITOR_API DDS_UnsignedLong
ZELDefaultMonitorPublisher_onDomainParticipantDetach(struct ZELDefaultMonitorParticipantObject *participantObject);

/* 2 when the event was handled or ignored, 1 when an action failed. */
ZELMONITOR_API DDS_UnsignedLong
ZELDefaultMonitorPublisher_onEventNotify(struct ZELDefaultMonitorParticipantObject *participantObject,
                                         DDS_Long eventKind, DDS_Entity *entity, const void *eventData);

ZEL_EXTERN_C_END

#endif
