/* The QoS an entity gets when the application names none.
 *
 * Each DDS_<Entity>Qos_set_defaultsI fills the middleware's defaults into a
 * QoS that was initialized (DDS_<Entity>Qos_initialize or the zero
 * initializer) and not yet changed: it sets every number, flag, enumeration
 * and duration, and leaves sequences and strings as they are (empty), so it
 * allocates nothing and cannot run out of heap. BAD_PARAMETER (logged) for a
 * NULL QoS, OK otherwise.
 *
 * The defaults, as a DDS application expects them:
 * - writers are RELIABLE (max_blocking_time 100 ms); readers and topics are
 *   BEST_EFFORT; acknowledgement by the protocol;
 * - history KEEP_LAST with depth 1; resource limits without bound
 *   (DDS_LENGTH_UNLIMITED) beyond their initial allocations;
 * - durability VOLATILE; deadline, lifespan and liveliness lease infinite,
 *   liveliness AUTOMATIC; latency budget and time-based filter zero;
 * - ownership SHARED with strength 0; destination order
 *   BY_RECEPTION_TIMESTAMP over the instance;
 * - writer data lifecycle disposes unregistered instances, reader data
 *   lifecycle never purges (infinite delays);
 * - entity factories enable what they create; presentation INSTANCE without
 *   coherent or ordered access; publication SYNCHRONOUS; batching off;
 * - the participant picks its participant id (-1) and RTPS ids (0), uses the
 *   RTPS well-known ports (base 7400, domain gain 250, participant gain 2,
 *   offsets 0, 10, 1, 11), the built-in UDPv4 and shared-memory transports
 *   and simple participant and endpoint discovery with a 100 s lease
 *   asserted every 30 s;
 * - threads get the OS default priority and stack size (0 and -1). */
#ifndef VURNC_DDS_QOS_DEFAULTS_H
#define VURNC_DDS_QOS_DEFAULTS_H

#include "vurnc/dll.h"
#include "vurnc/dds_basic.h"
#include "vurnc/dds_types.h"

ZEL_EXTERN_C_BEGIN

/* Bits of DDS_TransportBuiltinQosPolicy.mask. */
#define DDS_TRANSPORTBUILTIN_UDPv4 0x1
#define DDS_TRANSPORTBUILTIN_SHMEM 0x2
#define DDS_TRANSPORTBUILTIN_UDPv6 0x8
#define DDS_TRANSPORTBUILTIN_MASK_DEFAULT (DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM)

/* Bits of DDS_DiscoveryConfigQosPolicy.builtin_discovery_plugins. */
#define DDS_DISCOVERYCONFIG_BUILTIN_SPDP 0x1
#define DDS_DISCOVERYCONFIG_BUILTIN_SEDP 0x2
#define DDS_DISCOVERYCONFIG_BUILTIN_SDP (DDS_DISCOVERYCONFIG_BUILTIN_SPDP | DDS_DISCOVERYCONFIG_BUILTIN_SEDP)

/* DDS_WireProtocolQosPolicy.participant_id: the participant takes the first
 * free index of its domain. */
#define DDS_PARTICIPANT_ID_AUTOMATIC (-1)
/* RTPS host, application and instance ids chosen by the middleware. */
#define DDS_RTPS_AUTO_ID 0u

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactoryQos_set_defaultsI(DDS_DomainParticipantFactoryQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantQos_set_defaultsI(DDS_DomainParticipantQos *qos);
VURNC_API DDS_ReturnCode_t DDS_TopicQos_set_defaultsI(DDS_TopicQos *qos);
VURNC_API DDS_ReturnCode_t DDS_PublisherQos_set_defaultsI(DDS_PublisherQos *qos);
VURNC_API DDS_ReturnCode_t DDS_SubscriberQos_set_defaultsI(DDS_SubscriberQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DataWriterQos_set_defaultsI(DDS_DataWriterQos *qos);
VURNC_API DDS_ReturnCode_t DDS_DataReaderQos_set_defaultsI(DDS_DataReaderQos *qos);

ZEL_EXTERN_C_END

#endif
