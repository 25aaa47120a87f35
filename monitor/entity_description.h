// Descriptions of the monitored participant's entities: fill one
// description sample with the entity's identity, its parents' keys and its
// whole QoS and write it on the entity kind's description writer, or
// dispose its instance. Event dispatch publishes them when an entity is
// enabled or its QoS changes and disposes them when it is deleted.
#pragma once

#include "vurnc/dds_c.h"
#include "zel_dds_monitoring.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// Each returns true when the sample was written or disposed; a failure is
// logged under the builder's name. `dispose` false fills the whole sample
// and writes it; true fills the key only and disposes the instance, reading
// nothing of the entity but its key. The description writer must exist.
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant,
        DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Topic *topic, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishPublisherDesc(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Publisher *publisher, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishSubscriberDesc(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Subscriber *subscriber, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishReaderDesc(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean dispose);

// Queries every built-in transport that the participant's QoS (already in
// the sample) enables; nothing of them is copied, but a transport whose
// properties cannot be read withholds the description.
DDS_Boolean ZELDefaultMonitorParticipantObject_getTransportsInfo(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant,
        zel_dds_monitoring_DomainParticipantDescription *sample);

// The serialized size of the topic type's type code (0 for a type without
// one), from the plug-in registered in the monitored participant.
DDS_Boolean ZELDefaultMonitorParticipantObject_getTypeInfo(struct ZELDefaultMonitorParticipantObject *participantObject,
                                                           DDS_Topic *topic,
                                                           zel_dds_monitoring_TopicDescription *sample);

// Topic and type names of the endpoint's topic (a reader's related topic
// when it reads through a content filter), and the maximum and minimum
// serialized sample sizes and the maximum key size that the type's plug-in
// gives for the endpoint: encapsulation header included, little-endian; a
// keyless type has key size 0.
DDS_Boolean ZELDefaultMonitorParticipantObject_getWriterTypeInfo(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        zel_dds_monitoring_DataWriterDescription *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_getReaderTypeInfo(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader,
        zel_dds_monitoring_DataReaderDescription *sample);

ZEL_EXTERN_C_END
