/* Subscribers and data readers. A reader's topic description is a topic or a
 * content-filtered topic. */
#ifndef VURNC_DDS_SUBSCRIPTION_H
#define VURNC_DDS_SUBSCRIPTION_H

#include "vurnc/dll.h"
#include "vurnc/dds_entity.h"

ZEL_EXTERN_C_BEGIN

struct DDS_SubscriberListener {
    struct DDS_Listener as_listener;
};
typedef struct DDS_SubscriberListener DDS_SubscriberListener;
struct DDS_DataReaderListener {
    struct DDS_Listener as_listener;
};
typedef struct DDS_DataReaderListener DDS_DataReaderListener;

VURNC_API DDS_Subscriber *DDS_DomainParticipant_create_subscriber(DDS_DomainParticipant *self,
                                                                  const struct DDS_SubscriberQos *qos,
                                                                  const struct DDS_SubscriberListener *listener,
                                                                  DDS_StatusMask mask);
/* PRECONDITION_NOT_MET while it has readers or belongs to another
 * participant. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_subscriber(DDS_DomainParticipant *self,
                                                                   DDS_Subscriber *subscriber);

VURNC_API DDS_Entity *DDS_Subscriber_as_entity(DDS_Subscriber *self);
VURNC_API DDS_Subscriber *DDS_Subscriber_narrow(DDS_Entity *entity);
VURNC_API DDS_DomainParticipant *DDS_Subscriber_get_participant(const DDS_Subscriber *self);
VURNC_API const DDS_BuiltinTopicKey_t *DDS_Subscriber_get_builtin_topic_key(const DDS_Subscriber *self);
VURNC_API DDS_ReturnCode_t DDS_Subscriber_get_qos(DDS_Subscriber *self, struct DDS_SubscriberQos *qos);
/* IMMUTABLE_POLICY once enabled for presentation and protocol. */
VURNC_API DDS_ReturnCode_t DDS_Subscriber_set_qos(DDS_Subscriber *self, const struct DDS_SubscriberQos *qos);
VURNC_API DDS_ReturnCode_t DDS_Subscriber_get_default_datareader_qos(DDS_Subscriber *self,
                                                                     struct DDS_DataReaderQos *qos);
VURNC_API DDS_ReturnCode_t DDS_Subscriber_set_default_datareader_qos(DDS_Subscriber *self,
                                                                     const struct DDS_DataReaderQos *qos);
VURNC_API DDS_ReturnCode_t DDS_Subscriber_get_all_datareaders(DDS_Subscriber *self, struct DDS_DataReaderSeq *seq);
VURNC_API DDS_DataReader *DDS_Subscriber_lookup_datareader(DDS_Subscriber *self, const char *topicName);
VURNC_API DDS_ReturnCode_t DDS_Subscriber_delete_contained_entities(DDS_Subscriber *self);

/* `topic` is a topic or a content-filtered topic of the subscriber's
 * participant. NULL (logged) otherwise, for an inconsistent QoS or when out
 * of heap. */
VURNC_API DDS_DataReader *DDS_Subscriber_create_datareader(DDS_Subscriber *self, DDS_TopicDescription *topic,
                                                           const struct DDS_DataReaderQos *qos,
                                                           const struct DDS_DataReaderListener *listener,
                                                           DDS_StatusMask mask);
VURNC_API DDS_ReturnCode_t DDS_Subscriber_delete_datareader(DDS_Subscriber *self, DDS_DataReader *reader);

VURNC_API DDS_Entity *DDS_DataReader_as_entity(DDS_DataReader *self);
VURNC_API DDS_DataReader *DDS_DataReader_narrow(DDS_Entity *entity);
VURNC_API DDS_Subscriber *DDS_DataReader_get_subscriber(const DDS_DataReader *self);
VURNC_API DDS_TopicDescription *DDS_DataReader_get_topicdescription(const DDS_DataReader *self);
VURNC_API const DDS_BuiltinTopicKey_t *DDS_DataReader_get_builtin_topic_key(const DDS_DataReader *self);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_qos(DDS_DataReader *self, struct DDS_DataReaderQos *qos);
/* IMMUTABLE_POLICY once enabled as for writers. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_set_qos(DDS_DataReader *self, const struct DDS_DataReaderQos *qos);
VURNC_API void *DDS_DataReader_get_endpoint_dataI(const DDS_DataReader *self);

ZEL_EXTERN_C_END

#endif
