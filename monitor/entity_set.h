// The monitoring entity set: the publisher, topics and writers that every
// description and statistics sample goes through, and the publishing thread
// that drives the statistics. One set lives on the separate monitoring
// participant and is shared by every participant object, or each
// participant object has its own on its monitored participant.
#pragma once

#include "catalogue.h"
#include "config.h"
#include "publisher_thread.h"
#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// Allocated zero-filled; a NULL topic or writer slot is a topic that the
// topic list left out (or one not created yet), and every user tests it.
struct ZELDefaultMonitorEntitySet {
    DDS_Publisher *publisher;
    DDS_Topic *topics[ZEL_MONITOR_TOPIC_COUNT];        // catalogue order
    DDS_DataWriter *writers[ZEL_MONITOR_TOPIC_COUNT];  // catalogue order
    struct ZELDefaultMonitorPublisherThread *thread;   // NULL when the period is below 1 s
    void *reserved1[2];
    ZELEventCallback eventCallback;  // the statistics event, set when started
    void *eventParam;
    void *reserved2[2];
    struct DDS_Duration_t period;  // statistics period
    // Entities enabled and thread started. Written under the publisher's
    // listEA, read without a lock by event dispatch (through
    // ZELDefaultMonitorEntitySet_isStarted).
    DDS_Boolean started;
};

DDS_Boolean ZELDefaultMonitorEntitySet_isStarted(const struct ZELDefaultMonitorEntitySet *self);

// Creates the publisher, registers the types, creates the topics and
// writers of the selected monitoring topics on `participant` (all created
// disabled unless the participant autoenables them) and, for a period of
// at least 1 s, the publishing thread. The properties of `configQos`
// configure the set. On failure (logged) returns false with what was made
// left in the set, for ZELDefaultMonitorPublisher_stopThreadAndDeleteEntitiesI.
DDS_Boolean ZELDefaultMonitorPublisher_createEntitiesAndThreadI(struct ZELDefaultMonitorEntitySet *self,
                                                                DDS_DomainParticipantFactory *factory,
                                                                DDS_DomainParticipant *participant,
                                                                const struct DDS_DomainParticipantQos *configQos);

// The QoS of the monitoring writer of `topicName`: from the profile when
// the settings name one, else the publisher's default writer QoS with the
// monitoring overrides; marked vendor-specific and with the monitoring
// entity property either way. `qos` must be initialized.
DDS_Boolean ZELDefaultMonitorPublisher_get_writer_qosI(struct DDS_DataWriterQos *qos,
                                                       DDS_DomainParticipantFactory *factory, DDS_Publisher *publisher,
                                                       const char *topicName,
                                                       const struct ZELDefaultMonitorEntitySettings *settings);

// Enables the monitoring participant (if any), the topics, the publisher
// and the writers of the participant object's set, then starts the set's
// thread once. Failures are logged.
DDS_Boolean ZELDefaultMonitorPublisher_enableEntitiesAndStartThreadI(
        struct ZELDefaultMonitorParticipantObject *participantObject);

// Finalizes the thread, then deletes the writers, topics and publisher
// that the set holds on `participant`, clearing each slot as it goes, so
// that a half-built set tears down as well and a failed tear-down can be
// tried again.
DDS_Boolean ZELDefaultMonitorPublisher_stopThreadAndDeleteEntitiesI(DDS_DomainParticipant *participant,
                                                                    struct ZELDefaultMonitorEntitySet *self);

ZEL_EXTERN_C_END

// The writer of one monitoring topic; NULL when there is no set or the
// topic list left the topic out.
inline DDS_DataWriter *ZELDefaultMonitorEntitySet_writerI(const ZELDefaultMonitorEntitySet *self, int slot) {
    return self != nullptr ? self->writers[slot] : nullptr;
}
