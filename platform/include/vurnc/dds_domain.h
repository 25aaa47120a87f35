/* The participant factory (one per process) and domain participants:
 * creation and deletion, QoS and default QoS, QoS profiles, type
 * registration, topics and the lists of a participant's entities. */
#ifndef VURNC_DDS_DOMAIN_H
#define VURNC_DDS_DOMAIN_H

#include "vurnc/dll.h"
#include "vurnc/dds_entity.h"
#include "vurncore/type_plugin.h"
#include "vurncore/worker.h"

ZEL_EXTERN_C_BEGIN

struct DDS_DomainParticipantListener {
    struct DDS_Listener as_listener;
};
typedef struct DDS_DomainParticipantListener DDS_DomainParticipantListener;

/* Pass the address of these to create an entity with, or to reset, the
 * current default QoS. */
VURNC_API extern const struct DDS_DomainParticipantQos DDS_PARTICIPANT_QOS_DEFAULT;
VURNC_API extern const struct DDS_TopicQos DDS_TOPIC_QOS_DEFAULT;
VURNC_API extern const struct DDS_PublisherQos DDS_PUBLISHER_QOS_DEFAULT;
VURNC_API extern const struct DDS_SubscriberQos DDS_SUBSCRIBER_QOS_DEFAULT;
VURNC_API extern const struct DDS_DataWriterQos DDS_DATAWRITER_QOS_DEFAULT;
VURNC_API extern const struct DDS_DataReaderQos DDS_DATAREADER_QOS_DEFAULT;

/* ---- the factory ---- */

/* The process's factory, made on first call; NULL when out of heap or when
 * ZEL_WIRE names no wire (logged). */
VURNC_API DDS_DomainParticipantFactory *DDS_DomainParticipantFactory_get_instance(void);
/* Deletes the factory and its profiles. PRECONDITION_NOT_MET while
 * participants exist. OK when there is no factory. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_finalize_instance(void);

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_qos(DDS_DomainParticipantFactory *self,
                                                                struct DDS_DomainParticipantFactoryQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_qos(DDS_DomainParticipantFactory *self,
                                                                const struct DDS_DomainParticipantFactoryQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_default_participant_qos(
        DDS_DomainParticipantFactory *self, struct DDS_DomainParticipantQos *qos);
/* The property "zel.wire" of the default participant QoS chooses the
 * factory's wire ("cyclone" or "loopback"); without it ZEL_WIRE does, else
 * the default. A QoS that changes the wire is refused while participants
 * exist (PRECONDITION_NOT_MET), one that names no wire is refused with
 * BAD_PARAMETER; both logged, and the factory keeps its QoS and wire. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_default_participant_qos(
        DDS_DomainParticipantFactory *self, const struct DDS_DomainParticipantQos *qos);

/* Creates a participant, enabled when the factory's QoS autoenables created
 * entities. NULL (logged) on a NULL factory or QoS, an inconsistent QoS, a
 * QoS whose "zel.wire" names another wire than the factory's, or when out
 * of heap. */
VURNC_API DDS_DomainParticipant *DDS_DomainParticipantFactory_create_participant(
        DDS_DomainParticipantFactory *self, DDS_DomainId_t domainId, const struct DDS_DomainParticipantQos *qos,
        const struct DDS_DomainParticipantListener *listener, DDS_StatusMask mask);
/* PRECONDITION_NOT_MET while the participant has topics, publishers,
 * subscribers or content-filtered topics, or belongs to another factory. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory *self,
                                                                           DDS_DomainParticipant *participant);
/* Some participant of the domain, or NULL. */
VURNC_API DDS_DomainParticipant *DDS_DomainParticipantFactory_lookup_participant(DDS_DomainParticipantFactory *self,
                                                                                 DDS_DomainId_t domainId);

/* QoS profiles, named by a library and a profile name. A new profile starts
 * from the factory's current defaults; the set_* operations replace one of
 * its QoS (BAD_PARAMETER for an unknown profile, INCONSISTENT_POLICY for an
 * inconsistent QoS). Writer and reader QoS may also be given per topic-name
 * pattern (shell patterns); the _w_topic_name getters return the QoS of the
 * first pattern, in the order added, that the topic name matches, else the
 * profile's own. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_add_qos_profile(DDS_DomainParticipantFactory *self,
                                                                        const char *libraryName,
                                                                        const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_participant_qos_in_profile(
        DDS_DomainParticipantFactory *self, const char *libraryName, const char *profileName,
        const struct DDS_DomainParticipantQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_topic_qos_in_profile(DDS_DomainParticipantFactory *self,
                                                                                 const char *libraryName,
                                                                                 const char *profileName,
                                                                                 const struct DDS_TopicQos *qos);
VURNC_API DDS_ReturnCode_t
DDS_DomainParticipantFactory_set_publisher_qos_in_profile(DDS_DomainParticipantFactory *self, const char *libraryName,
                                                          const char *profileName, const struct DDS_PublisherQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_subscriber_qos_in_profile(
        DDS_DomainParticipantFactory *self, const char *libraryName, const char *profileName,
        const struct DDS_SubscriberQos *qos);
/* `topicPattern` NULL sets the profile's own writer (reader) QoS. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_datawriter_qos_in_profile(
        DDS_DomainParticipantFactory *self, const char *libraryName, const char *profileName, const char *topicPattern,
        const struct DDS_DataWriterQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_datareader_qos_in_profile(
        DDS_DomainParticipantFactory *self, const char *libraryName, const char *profileName, const char *topicPattern,
        const struct DDS_DataReaderQos *qos);

/* Copy the profile's QoS into `qos` (an initialized structure).
 * BAD_PARAMETER for NULL arguments or an unknown profile. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_participant_qos_from_profile(
        DDS_DomainParticipantFactory *self, struct DDS_DomainParticipantQos *qos, const char *libraryName,
        const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_topic_qos_from_profile(DDS_DomainParticipantFactory *self,
                                                                                   struct DDS_TopicQos *qos,
                                                                                   const char *libraryName,
                                                                                   const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_publisher_qos_from_profile(
        DDS_DomainParticipantFactory *self, struct DDS_PublisherQos *qos, const char *libraryName,
        const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_subscriber_qos_from_profile(
        DDS_DomainParticipantFactory *self, struct DDS_SubscriberQos *qos, const char *libraryName,
        const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_datawriter_qos_from_profile(
        DDS_DomainParticipantFactory *self, struct DDS_DataWriterQos *qos, const char *libraryName,
        const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_datareader_qos_from_profile(
        DDS_DomainParticipantFactory *self, struct DDS_DataReaderQos *qos, const char *libraryName,
        const char *profileName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_datawriter_qos_from_profile_w_topic_name(
        DDS_DomainParticipantFactory *self, struct DDS_DataWriterQos *qos, const char *libraryName,
        const char *profileName, const char *topicName);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_datareader_qos_from_profile_w_topic_name(
        DDS_DomainParticipantFactory *self, struct DDS_DataReaderQos *qos, const char *libraryName,
        const char *profileName, const char *topicName);

/* The clock on which the factory's deadlines, lifespans and liveliness run
 * (monotonic). Its getTime operation may be replaced, e.g. by a test that
 * moves time forward by hand; restore it before finalizing the factory. */
struct ZELHighResolutionClock;
VURNC_API struct ZELHighResolutionClock *DDS_DomainParticipantFactory_get_clockI(DDS_DomainParticipantFactory *self);

/* The name of the wire that the factory's participants use ("cyclone" or
 * "loopback"); NULL for a NULL factory. */
VURNC_API const char *DDS_DomainParticipantFactory_get_wire_nameI(DDS_DomainParticipantFactory *self);

/* The factory's worker factory (`reserved` must be 0), and the calling
 * thread's worker of it (made on first use; NULL when out of heap). Entity
 * locks are exclusive areas of this worker factory. */
VURNC_API struct REDAWorkerFactory *DDS_DomainParticipantFactory_get_worker_factoryI(DDS_DomainParticipantFactory *self,
                                                                                     int reserved);
VURNC_API struct REDAWorker *DDS_DomainParticipantFactory_get_workerI(DDS_DomainParticipantFactory *self);

/* ---- participants ---- */

VURNC_API DDS_Entity *DDS_DomainParticipant_as_entity(DDS_DomainParticipant *self);
/* NULL unless `entity` is a participant. */
VURNC_API DDS_DomainParticipant *DDS_DomainParticipant_narrow(DDS_Entity *entity);
VURNC_API DDS_DomainId_t DDS_DomainParticipant_get_domain_id(const DDS_DomainParticipant *self);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_builtin_topic_key(const DDS_DomainParticipant *self,
                                                                       DDS_BuiltinTopicKey_t *key);
/* Asserts the liveliness of the participant's writers of MANUAL_BY_PARTICIPANT
 * liveliness. NOT_ENABLED on a participant not enabled. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_assert_liveliness(DDS_DomainParticipant *self);

/* get_qos copies into an initialized `qos`. set_qos: INCONSISTENT_POLICY
 * for an inconsistent QoS, IMMUTABLE_POLICY when an enabled participant
 * would change a policy fixed at enable (wire protocol, protocol, resource
 * limits, participant name); OUT_OF_RESOURCES leaves the QoS unchanged. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_qos(DDS_DomainParticipant *self,
                                                         struct DDS_DomainParticipantQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_set_qos(DDS_DomainParticipant *self,
                                                         const struct DDS_DomainParticipantQos *qos);

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_default_topic_qos(DDS_DomainParticipant *self,
                                                                       struct DDS_TopicQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_set_default_topic_qos(DDS_DomainParticipant *self,
                                                                       const struct DDS_TopicQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_default_publisher_qos(DDS_DomainParticipant *self,
                                                                           struct DDS_PublisherQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_set_default_publisher_qos(DDS_DomainParticipant *self,
                                                                           const struct DDS_PublisherQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_default_subscriber_qos(DDS_DomainParticipant *self,
                                                                            struct DDS_SubscriberQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_set_default_subscriber_qos(DDS_DomainParticipant *self,
                                                                            const struct DDS_SubscriberQos *qos);

/* Registers `plugin` under `typeName`, keeping a copy of the record.
 * Registering the same name again with the same operations counts one more
 * registration; with other operations it is PRECONDITION_NOT_MET. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_register_type(DDS_DomainParticipant *self, const char *typeName,
                                                               const struct PRESTypePlugin *plugin,
                                                               void *registrationData);
/* Takes back one registration. PRECONDITION_NOT_MET while a topic uses the
 * type; BAD_PARAMETER when the name is not registered. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_unregister_type(DDS_DomainParticipant *self, const char *typeName);
/* The participant's copy of the plug-in registered under `typeName`, or
 * NULL. Valid until the type is unregistered. */
VURNC_API const struct PRESTypePlugin *DDS_DomainParticipant_get_type_pluginI(DDS_DomainParticipant *self,
                                                                              const char *typeName);

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_contained_entities(DDS_DomainParticipant *self);

/* Fill `seq` (initialized, owning its buffer) with the participant's
 * entities, vendor-specific ones (the monitor's own) left out;
 * OUT_OF_RESOURCES when it cannot grow. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_topics(DDS_DomainParticipant *self, struct DDS_TopicSeq *seq);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_publishers(DDS_DomainParticipant *self,
                                                                struct DDS_PublisherSeq *seq);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_subscribers(DDS_DomainParticipant *self,
                                                                 struct DDS_SubscriberSeq *seq);

/* ---- discovery ---- */

/* Fill `handles` (initialized) with the instance handles of what the
 * participant knows of its domain: get_discovered_participants the other
 * participants, get_publications and get_subscriptions every writer or
 * reader, its own and vendor-specific ones included (the handle's last
 * octet is the GUID's entity kind, with 0x40 set for vendor-specific
 * entities). A participant is known from its creation, an endpoint from
 * its enabling until its deletion. BAD_PARAMETER (logged) for NULL
 * arguments, NOT_ENABLED for a participant not enabled, OUT_OF_RESOURCES
 * (logged; `handles` left empty) when the sequence cannot grow. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_discovered_participants(DDS_DomainParticipant *self,
                                                                             struct DDS_InstanceHandleSeq *handles);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_publications(DDS_DomainParticipant *self,
                                                                  struct DDS_InstanceHandleSeq *handles);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_subscriptions(DDS_DomainParticipant *self,
                                                                   struct DDS_InstanceHandleSeq *handles);

ZEL_EXTERN_C_END

#endif
