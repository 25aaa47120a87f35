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
VURNC_API DDS_ReturnCode_t DDS_Publisher_get_default_datawriter_qos(DDS_Publisher *self, struct DDS_DataWriterQos *qos);
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

/* ---- writing (untyped; the typed wrappers call these) ----
 * Every operation returns NOT_ENABLED on a writer not enabled and
 * BAD_PARAMETER for NULL arguments. Writes never block: a KEEP_ALL writer
 * whose history is at a resource limit (max_samples,
 * max_samples_per_instance) and any writer at max_instances refuse with
 * OUT_OF_RESOURCES and change nothing. A handle that is not NIL must be the
 * instance of the sample's key (PRECONDITION_NOT_MET otherwise). */
struct DDS_WriteParams_t {
    DDS_Boolean replace_auto; /* store the handle and timestamp used back */
    DDS_InstanceHandle_t handle;
    struct DDS_Time_t source_timestamp; /* DDS_TIME_INVALID: now */
    DDS_Long priority;
};
typedef struct DDS_WriteParams_t DDS_WriteParams_t;
#define DDS_WRITEPARAMS_INITIALIZER \
    { DDS_BOOLEAN_FALSE, DDS_HANDLE_NIL_INITIALIZER, {-1, 0xffffffffu}, 0 }
VURNC_API extern const struct DDS_WriteParams_t DDS_WRITEPARAMS_DEFAULT;

VURNC_API DDS_ReturnCode_t DDS_DataWriter_write_untyped_generalI(DDS_DataWriter *self, const void *instance_data,
                                                                 const DDS_InstanceHandle_t *handle);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_write_w_timestamp_untyped_generalI(DDS_DataWriter *self,
                                                                             const void *instance_data,
                                                                             const DDS_InstanceHandle_t *handle,
                                                                             const struct DDS_Time_t *source_timestamp);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_write_w_params_untyped_generalI(DDS_DataWriter *self,
                                                                          const void *instance_data,
                                                                          struct DDS_WriteParams_t *params);
/* Dispose and unregister send the key; PRECONDITION_NOT_MET for a keyless
 * type, BAD_PARAMETER for an instance the writer does not know. With a
 * handle, instance_data may be NULL. An unregistered instance is
 * forgotten; a disposed one stays in the history for late joiners. */
VURNC_API DDS_ReturnCode_t DDS_DataWriter_dispose_untyped_generalI(DDS_DataWriter *self, const void *instance_data,
                                                                   const DDS_InstanceHandle_t *handle);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_dispose_w_timestamp_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, const DDS_InstanceHandle_t *handle,
        const struct DDS_Time_t *source_timestamp);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_dispose_w_params_untyped_generalI(DDS_DataWriter *self,
                                                                            const void *instance_data,
                                                                            struct DDS_WriteParams_t *params);
/* The instance's handle; DDS_HANDLE_NIL on failure. */
VURNC_API DDS_InstanceHandle_t DDS_DataWriter_register_instance_untypedI(DDS_DataWriter *self,
                                                                         const void *instance_data);
VURNC_API DDS_InstanceHandle_t DDS_DataWriter_register_instance_w_timestamp_untypedI(
        DDS_DataWriter *self, const void *instance_data, const struct DDS_Time_t *source_timestamp);
VURNC_API DDS_InstanceHandle_t DDS_DataWriter_register_instance_w_params_untypedI(DDS_DataWriter *self,
                                                                                  const void *instance_data,
                                                                                  struct DDS_WriteParams_t *params);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_unregister_instance_untyped_generalI(DDS_DataWriter *self,
                                                                               const void *instance_data,
                                                                               const DDS_InstanceHandle_t *handle);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_unregister_instance_w_timestamp_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, const DDS_InstanceHandle_t *handle,
        const struct DDS_Time_t *source_timestamp);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_unregister_instance_w_params_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, struct DDS_WriteParams_t *params);
/* BAD_PARAMETER for an instance the writer does not know. */
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_key_value_untypedI(DDS_DataWriter *self, void *key_holder,
                                                                 const DDS_InstanceHandle_t *handle);
/* DDS_HANDLE_NIL for an instance the writer does not know. */
VURNC_API DDS_InstanceHandle_t DDS_DataWriter_lookup_instance_untypedI(DDS_DataWriter *self, const void *key_holder);
/* Whether the writer's type is registered under the type support's name `type_name`. */
VURNC_API DDS_Boolean DDS_DataWriter_compare_typeI(const DDS_DataWriter *self, const char *type_name);

/* Asserts the writer's liveliness without writing (a write asserts it
 * too): what a writer of MANUAL_BY_TOPIC liveliness does to stay alive.
 * NOT_ENABLED on a writer not enabled. */
VURNC_API DDS_ReturnCode_t DDS_DataWriter_assert_liveliness(DDS_DataWriter *self);

/* ---- statuses: NOT_ENABLED on a writer not enabled. With `reset` the
 * *_change fields of the writer's status are zeroed after the copy. ---- */
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_liveliness_lost_status_ex(DDS_DataWriter *self,
                                                                        struct DDS_LivelinessLostStatus *status,
                                                                        DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_deadline_missed_status_ex(
        DDS_DataWriter *self, struct DDS_OfferedDeadlineMissedStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_incompatible_qos_status_ex(
        DDS_DataWriter *self, struct DDS_OfferedIncompatibleQosStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_publication_matched_status_ex(DDS_DataWriter *self,
                                                                            struct DDS_PublicationMatchedStatus *status,
                                                                            DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_reliable_writer_cache_changed_status_ex(
        DDS_DataWriter *self, struct DDS_ReliableWriterCacheChangedStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_reliable_reader_activity_changed_status_ex(
        DDS_DataWriter *self, struct DDS_ReliableReaderActivityChangedStatus *status, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_datawriter_cache_status_ex(DDS_DataWriter *self,
                                                                         struct DDS_DataWriterCacheStatus *status,
                                                                         DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_datawriter_protocol_status_ex(DDS_DataWriter *self,
                                                                            struct DDS_DataWriterProtocolStatus *status,
                                                                            DDS_Boolean reset);
/* BAD_PARAMETER for a handle or locator of no matched subscription. */
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_ex(
        DDS_DataWriter *self, struct DDS_DataWriterProtocolStatus *status,
        const DDS_InstanceHandle_t *subscription_handle, DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_by_locator_ex(
        DDS_DataWriter *self, struct DDS_DataWriterProtocolStatus *status, const struct DDS_Locator_t *locator,
        DDS_Boolean reset);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_liveliness_lost_status(DDS_DataWriter *self,
                                                                     struct DDS_LivelinessLostStatus *status);
VURNC_API DDS_ReturnCode_t
DDS_DataWriter_get_offered_deadline_missed_status(DDS_DataWriter *self, struct DDS_OfferedDeadlineMissedStatus *status);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_offered_incompatible_qos_status(
        DDS_DataWriter *self, struct DDS_OfferedIncompatibleQosStatus *status);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_publication_matched_status(DDS_DataWriter *self,
                                                                         struct DDS_PublicationMatchedStatus *status);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscriptions(DDS_DataWriter *self,
                                                                    struct DDS_InstanceHandleSeq *handles);
VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_matched_subscription_locators(DDS_DataWriter *self,
                                                                            struct DDS_LocatorSeq *locators);

ZEL_EXTERN_C_END

#endif
