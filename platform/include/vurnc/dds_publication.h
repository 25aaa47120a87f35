/* Publishers and data writers. */
#ifndef VURNC_DDS_PUBLICATION_H
#define VURNC_DDS_PUBLICATION_H

#include "vurnc/dll.h"
#include "vurnc/dds_entity.h"

ZEL_EXTERN_C_BEGIN

struct DDS_PublisherListener {
    struct DDS_Listener as_listener;
};
typedef struct DDS_PublisherListener DDS_PublisherListener;
struct DDS_DataWriterListener {
    struct DDS_Listener as_listener;
};
typedef struct DDS_DataWriterListener DDS_DataWriterListener;

/* NULL (logged) for NULL arguments, an inconsistent QoS or when out of heap.
 * Enabled when the participant is enabled and autoenables. */
VURNC_API DDS_Publisher *DDS_DomainParticipant_create_publisher(DDS_DomainParticipant *self,
                                                                const struct DDS_PublisherQos *qos,
                                                                const struct DDS_PublisherListener *listener,
                                                                DDS_StatusMask mask);
/* PRECONDITION_NOT_MET while it has writers or belongs to another
 * participant. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_publisher(DDS_DomainParticipant *self,
                                                                  DDS_Publisher *publisher);

VURNC_API DDS_Entity *DDS_Publisher_as_entity(DDS_Publisher *self);
VURNC_API DDS_Publisher *DDS_Publisher_narrow(DDS_Entity *entity);
VURNC_API DDS_DomainParticipant *DDS_Publisher_get_participant(const DDS_Publisher *self);
VURNC_API const DDS_BuiltinTopicKey_t *DDS_Publisher_get_builtin_topic_key(const DDS_Publisher *self);
VURNC_API DDS_ReturnCode_t DDS_Publisher_get_qos(DDS_Publisher *self, struct DDS_PublisherQos *qos);
/* IMMUTABLE_POLICY once enabled for presentation and protocol. */
VURNC_API DDS_ReturnCode_t DDS_Publisher_set_qos(DDS_Publisher *self, const struct DDS_PublisherQos *qos);
VURNC_API DDS_ReturnCode_t DDS_Publisher_get_default_datawriter_qos(DDS_Publisher *self,
                                                                    struct DDS_DataWriterQos *qos);
VURNC_API DDS_ReturnCode_t DDS_Publisher_set_default_datawriter_qos(DDS_Publisher *self,
                                                                    const struct DDS_DataWriterQos *qos);
VURNC_API DDS_ReturnCode_t DDS_Publisher_get_all_datawriters(DDS_Publisher *self, struct DDS_DataWriterSeq *seq);
VURNC_API DDS_DataWriter *DDS_Publisher_lookup_datawriter(DDS_Publisher *self, const char *topicName);
VURNC_API DDS_ReturnCode_t DDS_Publisher_delete_contained_entities(DDS_Publisher *self);

/* NULL (logged) for NULL arguments, a topic of another participant, an
 * inconsistent QoS or when out of heap. Enabled when the publisher is
 * enabled and autoenables, and the topic is enabled. */
VURNC_API DDS_DataWriter *DDS_Publisher_create_datawriter(DDS_Publisher *self, DDS_Topic *topic,
                                                          const struct DDS_DataWriterQos *qos,
                                                          const struct DDS_DataWriterListener *listener,
                                                          DDS_StatusMask mask);
/* PRECONDITION_NOT_MET when the writer belongs to another publisher. */
VURNC_API DDS_ReturnCode_t DDS_Publisher_delete_datawriter(DDS_Publisher *self, DDS_DataWriter *writer);

VURNC_API DDS_Entity *DDS_DataWriter_as_entity(DDS_DataWriter *self);
VURNC_API DDS_DataWriter *DDS_DataWriter_narrow(DDS_Entity *entity);
VURNC_API DDS_Publisher *DDS_DataWriter_get_publisher(const DDS_DataWriter *self);
VURNC_API DDS_Topic *DDS_DataWriter_get_topic(const DDS_DataWriter *self);
VURNC_API const DDS_BuiltinTopicKey_t *DDS_DataWriter_get_builtin_topic_key(const DDS_DataWriter *self);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_qos(DDS_DataWriter *self, struct DDS_DataWriterQos *qos);
/* IMMUTABLE_POLICY once enabled for durability, durability service,
 * history, resource limits, reliability kind, ownership kind, liveliness,
 * destination order and protocol. */
VURNC_API DDS_ReturnCode_t DDS_DataWriter_set_qos(DDS_DataWriter *self, const struct DDS_DataWriterQos *qos);
/* The type plug-in's endpoint data of the writer; NULL until the writer is
 * attached to the wire. */
VURNC_API void *DDS_DataWriter_get_endpoint_dataI(const DDS_DataWriter *self);

ZEL_EXTERN_C_END

#endif
