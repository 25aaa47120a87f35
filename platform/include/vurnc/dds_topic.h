/* Topics and content-filtered topics, both topic descriptions: a name, a
 * registered type name and the participant they belong to. */
#ifndef VURNC_DDS_TOPIC_H
#define VURNC_DDS_TOPIC_H

#include "vurnc/dll.h"
#include "vurnc/dds_entity.h"
#include "vurncore/dds_sequences.h"

ZEL_EXTERN_C_BEGIN

struct DDS_TopicListener {
    struct DDS_Listener as_listener;
};
typedef struct DDS_TopicListener DDS_TopicListener;

/* Creates a topic of a registered type, enabled when the participant is
 * enabled and autoenables created entities. NULL (logged) for NULL
 * arguments, an unregistered type, a name already used by a topic or a
 * content-filtered topic of the participant, an inconsistent QoS, or when
 * out of heap. */
VURNC_API DDS_Topic *DDS_DomainParticipant_create_topic(DDS_DomainParticipant *self, const char *topicName,
                                                        const char *typeName, const struct DDS_TopicQos *qos,
                                                        const struct DDS_TopicListener *listener, DDS_StatusMask mask);
/* PRECONDITION_NOT_MET while writers, readers or content-filtered topics use
 * the topic, or when it belongs to another participant. A topic returned by
 * find_topic needs one delete per find before the last one deletes it. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_topic(DDS_DomainParticipant *self, DDS_Topic *topic);
/* The participant's topic or content-filtered topic of that name, or NULL. */
VURNC_API DDS_TopicDescription *DDS_DomainParticipant_lookup_topicdescription(DDS_DomainParticipant *self,
                                                                              const char *topicName);
/* The participant's topic of that name, counted as one more reference that
 * delete_topic takes back; NULL when there is none (the topic must exist:
 * the timeout is not waited). */
VURNC_API DDS_Topic *DDS_DomainParticipant_find_topic(DDS_DomainParticipant *self, const char *topicName,
                                                      const DDS_Duration_t *timeout);

VURNC_API DDS_Entity *DDS_Topic_as_entity(DDS_Topic *self);
VURNC_API DDS_TopicDescription *DDS_Topic_as_topicdescription(DDS_Topic *self);
/* NULL unless the description (entity) is a topic. */
VURNC_API DDS_Topic *DDS_Topic_narrow(DDS_TopicDescription *description);
VURNC_API DDS_Topic *DDS_Topic_narrow_from_entity(DDS_Entity *entity);
/* NULL for NULL. */
VURNC_API const DDS_BuiltinTopicKey_t *DDS_Topic_get_builtin_topic_key(const DDS_Topic *self);
VURNC_API DDS_ReturnCode_t DDS_Topic_get_qos(DDS_Topic *self, struct DDS_TopicQos *qos);
/* INCONSISTENT_POLICY, or IMMUTABLE_POLICY once enabled for durability,
 * durability service, history, resource limits, reliability kind,
 * ownership, liveliness, destination order and protocol. */
VURNC_API DDS_ReturnCode_t DDS_Topic_set_qos(DDS_Topic *self, const struct DDS_TopicQos *qos);

VURNC_API const char *DDS_TopicDescription_get_name(const DDS_TopicDescription *self);
VURNC_API const char *DDS_TopicDescription_get_type_name(const DDS_TopicDescription *self);
VURNC_API DDS_DomainParticipant *DDS_TopicDescription_get_participant(const DDS_TopicDescription *self);

/* Creates a content-filtered topic over `relatedTopic` (a topic of the same
 * participant). NULL (logged) for NULL arguments, a name already used, a
 * topic of another participant, or when out of heap. `parameters` may be
 * NULL (none). */
VURNC_API DDS_ContentFilteredTopic *DDS_DomainParticipant_create_contentfilteredtopic(
        DDS_DomainParticipant *self, const char *name, DDS_Topic *relatedTopic, const char *filterExpression,
        const struct DDS_StringSeq *expressionParameters);
/* PRECONDITION_NOT_MET while readers use it or when it belongs to another
 * participant. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_contentfilteredtopic(DDS_DomainParticipant *self,
                                                                             DDS_ContentFilteredTopic *topic);
VURNC_API DDS_TopicDescription *DDS_ContentFilteredTopic_as_topicdescription(DDS_ContentFilteredTopic *self);
/* NULL unless the description is a content-filtered topic. */
VURNC_API DDS_ContentFilteredTopic *DDS_ContentFilteredTopic_narrow(DDS_TopicDescription *description);
VURNC_API DDS_Topic *DDS_ContentFilteredTopic_get_related_topic(const DDS_ContentFilteredTopic *self);
VURNC_API const char *DDS_ContentFilteredTopic_get_filter_expression(const DDS_ContentFilteredTopic *self);
/* Copies the parameters into `parameters` (initialized). */
VURNC_API DDS_ReturnCode_t DDS_ContentFilteredTopic_get_expression_parameters(const DDS_ContentFilteredTopic *self,
                                                                              struct DDS_StringSeq *parameters);
/* Replaces the parameters; OUT_OF_RESOURCES keeps the old ones. */
VURNC_API DDS_ReturnCode_t DDS_ContentFilteredTopic_set_expression_parameters(DDS_ContentFilteredTopic *self,
                                                                              const struct DDS_StringSeq *parameters);

/* The topics of other participants of the domain with this topic's name
 * and another type name, each counted once from when it is first seen
 * (through a writer or reader that uses it) for as long as this topic
 * lives: `total_count` all of them, `total_count_change` those not counted
 * by a read with `reset` (the plain getter resets). BAD_PARAMETER (logged)
 * for NULL arguments, NOT_ENABLED for a topic not enabled,
 * OUT_OF_RESOURCES (logged) when out of heap: nothing is reset then. */
VURNC_API DDS_ReturnCode_t DDS_Topic_get_inconsistent_topic_status_ex(DDS_Topic *self,
                                                                      struct DDS_InconsistentTopicStatus *status,
                                                                      DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_Topic_get_inconsistent_topic_status(DDS_Topic *self,
                                                                   struct DDS_InconsistentTopicStatus *status);

ZEL_EXTERN_C_END

#endif
