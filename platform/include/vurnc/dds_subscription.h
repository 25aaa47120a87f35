/* Subscribers and data readers. A reader's topic description is a topic or a
 * content-filtered topic. */
#ifndef VURNC_DDS_SUBSCRIPTION_H
#define VURNC_DDS_SUBSCRIPTION_H

#include "vurnc/dll.h"
#include "vurnc/dds_entity.h"
#include "vurncore/sequence.h"

ZEL_EXTERN_C_BEGIN

typedef struct DDS_ReadConditionImpl DDS_ReadCondition;

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

/* Sample, view and instance states as masks (DDS_SampleInfo, its
 * sequence and the mask types come with the data types). */
#define DDS_READ_SAMPLE_STATE 1u
#define DDS_NOT_READ_SAMPLE_STATE 2u
#define DDS_ANY_SAMPLE_STATE 0xffffu
#define DDS_NEW_VIEW_STATE 1u
#define DDS_NOT_NEW_VIEW_STATE 2u
#define DDS_ANY_VIEW_STATE 0xffffu
#define DDS_ALIVE_INSTANCE_STATE 1u
#define DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE 2u
#define DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE 4u
#define DDS_ANY_INSTANCE_STATE 0xffffu

/* Reads (take false: the samples stay, marked read and their instances not
 * new) or takes (removes) the samples in the given states, instances in
 * order of first arrival, samples oldest first. `data` is a typed sequence:
 * with maximum 0 and no buffer the reader lends its own samples, with
 * `info_seq`, until return_loan; otherwise the samples are copied into its
 * elements, at most its maximum. NO_DATA when nothing matches,
 * PRECONDITION_NOT_MET when `data` and `info_seq` disagree, NOT_ENABLED
 * for a reader that is not enabled. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_untypedI(DDS_DataReader *self, struct ZELSequence *data,
                                                                struct DDS_SampleInfoSeq *info_seq,
                                                                DDS_Long max_samples, DDS_SampleStateMask sample_states,
                                                                DDS_ViewStateMask view_states,
                                                                DDS_InstanceStateMask instance_states,
                                                                DDS_Boolean take);
/* The other read and take forms behave as read_or_take_untypedI (loans,
 * copies, max_samples, NO_DATA) but select differently:
 * - w_condition: the states of `condition`, a read condition of this
 *   reader (another's: PRECONDITION_NOT_MET);
 * - instance: only the instance of `a_handle` (unknown: BAD_PARAMETER);
 * - next_instance: instances ordered by handle, only the first one whose
 *   handle is greater than `previous_handle` (DDS_HANDLE_NIL: from the
 *   smallest) and that has samples in the states. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_w_condition_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        DDS_ReadCondition *condition, DDS_Boolean take);
VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_instance_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        const DDS_InstanceHandle_t *a_handle, DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
        DDS_InstanceStateMask instance_states, DDS_Boolean take);
VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_next_instance_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        const DDS_InstanceHandle_t *previous_handle, DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
        DDS_InstanceStateMask instance_states, DDS_Boolean take);
VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_next_instance_w_condition_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        const DDS_InstanceHandle_t *previous_handle, DDS_ReadCondition *condition, DDS_Boolean take);
/* The oldest sample not yet read (instances in order of first arrival),
 * copied into `received_data` (left as it was for an invalid-data sample)
 * with its info; NO_DATA when every sample has been read. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_next_sample_untypedI(DDS_DataReader *self, void *received_data,
                                                                            struct DDS_SampleInfo *sample_info,
                                                                            DDS_Boolean take);
/* Writes the key members of the instance of `handle` into `key_holder`;
 * BAD_PARAMETER for an instance the reader does not know. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_key_value_untypedI(DDS_DataReader *self, void *key_holder,
                                                                 const DDS_InstanceHandle_t *handle);
/* The handle of the key's instance; DDS_HANDLE_NIL when the reader does
 * not know it. */
VURNC_API DDS_InstanceHandle_t DDS_DataReader_lookup_instance_untypedI(DDS_DataReader *self, const void *key_holder);

/* Read conditions. A condition selects samples by its states for the
 * _w_condition forms; it is triggered while the reader holds a sample in
 * them. NULL when out of heap. A reader is deleted only once its
 * conditions are (PRECONDITION_NOT_MET otherwise);
 * delete_contained_entities of the reader or its subscriber deletes them. */
VURNC_API DDS_ReadCondition *DDS_DataReader_create_readcondition(DDS_DataReader *self,
                                                                 DDS_SampleStateMask sample_states,
                                                                 DDS_ViewStateMask view_states,
                                                                 DDS_InstanceStateMask instance_states);
/* PRECONDITION_NOT_MET for a condition of another reader. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_delete_readcondition(DDS_DataReader *self, DDS_ReadCondition *condition);
VURNC_API DDS_ReturnCode_t DDS_DataReader_delete_contained_entities(DDS_DataReader *self);
VURNC_API DDS_SampleStateMask DDS_ReadCondition_get_sample_state_mask(const DDS_ReadCondition *self);
VURNC_API DDS_ViewStateMask DDS_ReadCondition_get_view_state_mask(const DDS_ReadCondition *self);
VURNC_API DDS_InstanceStateMask DDS_ReadCondition_get_instance_state_mask(const DDS_ReadCondition *self);
VURNC_API DDS_DataReader *DDS_ReadCondition_get_datareader(const DDS_ReadCondition *self);
VURNC_API DDS_Boolean DDS_ReadCondition_get_trigger_value(const DDS_ReadCondition *self);

/* Gives back the samples a read or take lent. PRECONDITION_NOT_MET when
 * they were not lent by this reader. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_return_loan_untypedI(DDS_DataReader *self, struct ZELSequence *data,
                                                               struct DDS_SampleInfoSeq *info_seq);
/* The matched writers; `reset` true zeroes the *_change fields after the
 * copy. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status_ex(
        DDS_DataReader *self, struct DDS_SubscriptionMatchedStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_subscription_matched_status(DDS_DataReader *self,
                                                                          struct DDS_SubscriptionMatchedStatus *status);
/* Incompatible writers: their count and the last policy found wanting
 * (the policies sequence stays empty). */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status_ex(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_incompatible_qos_status(
        DDS_DataReader *self, struct DDS_RequestedIncompatibleQosStatus *status);
/* Samples refused by the resource limits: count, last reason and instance. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status_ex(DDS_DataReader *self,
                                                                        struct DDS_SampleRejectedStatus *status,
                                                                        DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_rejected_status(DDS_DataReader *self,
                                                                     struct DDS_SampleRejectedStatus *status);
/* Samples missing from a writer's sequence numbers (a gap counts each
 * missing number once). */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_lost_status_ex(DDS_DataReader *self,
                                                                    struct DDS_SampleLostStatus *status,
                                                                    DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_sample_lost_status(DDS_DataReader *self,
                                                                 struct DDS_SampleLostStatus *status);
/* Samples in the cache and their peak; `reset` restarts the peak. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_datareader_cache_status_ex(DDS_DataReader *self,
                                                                         struct DDS_DataReaderCacheStatus *status,
                                                                         DDS_Boolean reset);
/* Matched writers alive and not alive, their changes and the last writer
 * whose liveliness changed. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_liveliness_changed_status_ex(DDS_DataReader *self,
                                                                           struct DDS_LivelinessChangedStatus *status,
                                                                           DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_liveliness_changed_status(DDS_DataReader *self,
                                                                        struct DDS_LivelinessChangedStatus *status);
/* Deadline periods an instance went without a sample, and the last such
 * instance. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_deadline_missed_status_ex(
        DDS_DataReader *self, struct DDS_RequestedDeadlineMissedStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_requested_deadline_missed_status(
        DDS_DataReader *self, struct DDS_RequestedDeadlineMissedStatus *status);
/* What the reader received from all writers, or from one matched writer;
 * BAD_PARAMETER for a handle of no matched publication. */
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_datareader_protocol_status_ex(DDS_DataReader *self,
                                                                            struct DDS_DataReaderProtocolStatus *status,
                                                                            DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
        DDS_DataReader *self, struct DDS_DataReaderProtocolStatus *status,
        const DDS_InstanceHandle_t *publication_handle, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataReader_get_matched_publications(DDS_DataReader *self,
                                                                   struct DDS_InstanceHandleSeq *handles);
/* True when the reader's registered type is called `type_name`. */
VURNC_API DDS_Boolean DDS_DataReader_compare_typeI(const DDS_DataReader *self, const char *type_name);

ZEL_EXTERN_C_END

#endif
