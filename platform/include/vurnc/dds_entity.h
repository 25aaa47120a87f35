/* Entities of the DDS API: the handles, their kinds and the operations that
 * every entity shares (enable, kind, vendor-specific mark, lock, instance
 * handle). Every entity record starts with the common entity part, so a
 * handle of any entity kind converts to a DDS_Entity pointer with the same
 * address (the *_as_entity operations) and back (the narrow operations). */
#ifndef VURNC_DDS_ENTITY_H
#define VURNC_DDS_ENTITY_H

#include "vurnc/dll.h"
#include "vurnc/dds_basic.h"
#include "vurnc/dds_types.h"
#include "vurncore/sequence.h"

ZEL_EXTERN_C_BEGIN

typedef struct DDS_EntityImpl DDS_Entity;
typedef struct DDS_DomainParticipantFactoryImpl DDS_DomainParticipantFactory;
typedef struct DDS_DomainParticipantImpl DDS_DomainParticipant;
typedef struct DDS_TopicDescriptionImpl DDS_TopicDescription;
typedef struct DDS_TopicImpl DDS_Topic;
typedef struct DDS_ContentFilteredTopicImpl DDS_ContentFilteredTopic;
typedef struct DDS_PublisherImpl DDS_Publisher;
typedef struct DDS_SubscriberImpl DDS_Subscriber;
typedef struct DDS_DataWriterImpl DDS_DataWriter;
typedef struct DDS_DataReaderImpl DDS_DataReader;

typedef enum {
    DDS_UNKNOWN_ENTITY_KIND = 0,
    DDS_DOMAINPARTICIPANT_ENTITY_KIND = 1,
    DDS_PUBLISHER_ENTITY_KIND = 2,
    DDS_SUBSCRIBER_ENTITY_KIND = 3,
    DDS_TOPIC_ENTITY_KIND = 4,
    DDS_DATAREADER_ENTITY_KIND = 5,
    DDS_DATAWRITER_ENTITY_KIND = 6
} DDS_EntityKind_t;

/* The octet that ends an entity's builtin-topic key (its RTPS entity kind).
 * A vendor-specific entity has DDS_ENTITY_KIND_VENDOR_SPECIFIC_BIT added.
 * Topics are no RTPS entities; their octet is one of the free values. The
 * participant's octet (0xc1, builtin) already carries that bit. */
#define DDS_ENTITY_KIND_OCTET_PARTICIPANT 0xc1
#define DDS_ENTITY_KIND_OCTET_WRITER_WITH_KEY 0x02
#define DDS_ENTITY_KIND_OCTET_WRITER_NO_KEY 0x03
#define DDS_ENTITY_KIND_OCTET_READER_NO_KEY 0x04
#define DDS_ENTITY_KIND_OCTET_READER_WITH_KEY 0x07
#define DDS_ENTITY_KIND_OCTET_PUBLISHER 0x08
#define DDS_ENTITY_KIND_OCTET_SUBSCRIBER 0x09
#define DDS_ENTITY_KIND_OCTET_TOPIC 0x0a
#define DDS_ENTITY_KIND_VENDOR_SPECIFIC_BIT 0x40

/* Enables the entity. Its parent must be enabled (PRECONDITION_NOT_MET
 * otherwise; a writer or reader also needs its topic enabled). Enabling an
 * enabled entity does nothing. When the entity's entity_factory policy
 * autoenables created entities, its disabled children are enabled too. */
VURNC_API DDS_ReturnCode_t DDS_Entity_enable(DDS_Entity *self);
VURNC_API DDS_Boolean DDS_Entity_is_enabled(const DDS_Entity *self);
/* DDS_UNKNOWN_ENTITY_KIND for NULL. */
VURNC_API DDS_EntityKind_t DDS_Entity_get_entity_kind(const DDS_Entity *self);
/* True when the entity was created with protocol.vendor_specific_entity set
 * in its QoS (the platform's and its plug-ins' own entities). */
VURNC_API DDS_Boolean DDS_Entity_is_vendor_specific(const DDS_Entity *self);
/* Enters and leaves the entity's recursive lock through the calling thread's
 * worker. Locks are ordered participant > publisher, subscriber, topic >
 * writer, reader: taking a lock of a higher or equal level than one held
 * (other than the same lock again) is refused with PRECONDITION_NOT_MET.
 * OUT_OF_RESOURCES when the thread's worker cannot be made. */
VURNC_API DDS_ReturnCode_t DDS_Entity_lock(DDS_Entity *self);
VURNC_API DDS_ReturnCode_t DDS_Entity_unlock(DDS_Entity *self);
/* The entity's instance handle: its builtin-topic key words, each most
 * significant octet first, length 16, valid; an all-zero invalid handle for
 * NULL. */
VURNC_API DDS_InstanceHandle_t DDS_Entity_get_instance_handle(const DDS_Entity *self);

/* Sequences of entity handles that the get_* list operations fill. */
ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_TopicSeq, DDS_Topic *);
ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_PublisherSeq, DDS_Publisher *);
ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_SubscriberSeq, DDS_Subscriber *);
ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_DataWriterSeq, DDS_DataWriter *);
ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_DataReaderSeq, DDS_DataReader *);
ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_DomainParticipantSeq, DDS_DomainParticipant *);

/* Listeners: the callbacks are called by the data path; the entity layer
 * only keeps a copy of the structure and the status mask. */
struct DDS_Listener {
    void *listener_data;
};
typedef struct DDS_Listener DDS_Listener;
#define DDS_STATUS_MASK_NONE ((DDS_StatusMask)0u)
#define DDS_STATUS_MASK_ALL ((DDS_StatusMask)0xffffffffu)

ZEL_EXTERN_C_END

#endif
