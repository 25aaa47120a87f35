// The entity records behind the DDS API's opaque handles, and what the
// entity sources share: locking, logging, monitor notification and QoS
// helpers. C++ only (private to vurnc).
//
// Locking. Every entity has a recursive exclusive area of the factory's
// worker factory. Levels make the order participant > topic, publisher,
// subscriber > writer, reader checked; the factory's area is the lowest and
// is never held while another area is entered. A participant's lock guards
// its whole tree's structure (every child list below it); a publisher's or
// subscriber's lock also guards its endpoint list, so a walker that holds
// only that lock sees a stable list. Each entity's lock guards its QoS.
// The monitor is notified with no lock of this call held. All levels stay
// below those of the monitoring plug-in's own areas (its participant list is
// level 5), which it holds while it locks a monitored participant or creates
// its own participant; the data path's locks go below the endpoints'.
#ifndef VURNC_ENTITY_PRIVATE_H
#define VURNC_ENTITY_PRIVATE_H

#include <atomic>
#include <mutex>

#include "vurnc/dds_c.h"
#include "vurncore/lock_order.h"
#include "vurncore/log.h"
#include "vurncore/worker.h"
#include "wire.h"

#define DDS_ENTITY_LOCK_LEVEL_FACTORY 1
#define DDS_ENTITY_LOCK_LEVEL_ENDPOINT 2
#define DDS_ENTITY_LOCK_LEVEL_GROUP 3 /* topics, publishers, subscribers */
#define DDS_ENTITY_LOCK_LEVEL_PARTICIPANT 4

// An intrusive list of children: adding and removing never allocates.
struct DDS_EntityListNodeI {
    DDS_EntityListNodeI *prev = nullptr;
    DDS_EntityListNodeI *next = nullptr;
};
struct DDS_EntityListI {
    DDS_EntityListNodeI *head = nullptr;
    DDS_EntityListNodeI *tail = nullptr;
    DDS_Long count = 0;
};
void DDS_EntityList_addI(DDS_EntityListI *list, DDS_EntityListNodeI *node);
void DDS_EntityList_removeI(DDS_EntityListI *list, DDS_EntityListNodeI *node);

// The part every entity record starts with.
struct DDS_EntityImpl {
    DDS_EntityKind_t kind;
    std::atomic<bool> enabled;
    bool enabling;                      /* being attached to the wire [participant lock] */
    bool vendorSpecific;                /* fixed at creation */
    struct REDAExclusiveArea *lock;     /* the entity's own recursive lock */
    DDS_BuiltinTopicKey_t key;          /* fixed at creation */
    DDS_Entity *parent;                 /* NULL for a participant */
    DDS_DomainParticipant *participant; /* the participant itself for one */
    DDS_EntityListNodeI node;           /* in the parent's list [participant lock] */
    DDS_Listener listener;              /* [entity lock] */
    DDS_StatusMask mask;                /* [entity lock] */
};

// The monitor attached to a participant. The monitoring hook fills it
// when it attaches the participant and clears it at detach; no event is
// reported without it.
typedef DDS_UnsignedLong (*DDS_MonitorEventNotifyFunctionI)(void *participantObject, DDS_Long eventKind,
                                                            DDS_Entity *entity, const void *eventData);
struct DDS_MonitorAttachmentI {
    DDS_MonitorEventNotifyFunctionI onEventNotify = nullptr;
    void *participantObject = nullptr;
};

// What the monitoring hook does at participant creation and deletion and at
// factory finalization; installed in the factory by the hook, none by
// default. `onParticipantCreated` runs once the participant is in the
// factory's list and before it is enabled; `onParticipantDeleting` runs
// before a participant with no children left is removed.
struct DDS_MonitorHooksI {
    void (*onParticipantCreated)(DDS_DomainParticipantFactory *factory, DDS_DomainParticipant *participant) = nullptr;
    void (*onParticipantDeleting)(DDS_DomainParticipantFactory *factory, DDS_DomainParticipant *participant) = nullptr;
    void (*onFactoryFinalizing)(DDS_DomainParticipantFactory *factory) = nullptr;
    void *hookData = nullptr; /* owned by the monitoring hook [factory lock] */
};
// Installs the monitoring hook (monitor_hook.cpp) in a new factory.
void DDS_DomainParticipantFactory_installMonitorHookI(DDS_DomainParticipantFactory *factory);

struct DDS_QosProfileI;

struct DDS_DomainParticipantFactoryImpl {
    struct REDAWorkerFactory *workerFactory;
    struct REDAExclusiveArea *lock;
    DDS_DomainParticipantFactoryQos qos;            /* [lock] */
    DDS_DomainParticipantQos defaultParticipantQos; /* [lock] */
    DDS_TopicQos defaultTopicQos;                   /* read only after creation */
    DDS_PublisherQos defaultPublisherQos;           /* read only after creation */
    DDS_SubscriberQos defaultSubscriberQos;         /* read only after creation */
    DDS_DataWriterQos defaultWriterQos;             /* read only after creation */
    DDS_DataReaderQos defaultReaderQos;             /* read only after creation */
    DDS_EntityListI participants;                   /* [lock] */
    DDS_QosProfileI *profiles;                      /* [lock] */
    DDS_MonitorHooksI monitorHooks;                 /* set by the monitoring hook */
    // Replaced only while no participant exists or is being created, so a
    // participant's wire is its factory's for its whole life.
    struct ZELWire *wire;                       /* [lock] */
    std::atomic<DDS_Long> participantsCreating; /* raised under lock */
    struct ZELHighResolutionClock *clock;       /* the data path's time; tests may replace getTime */
};

// A registered type: the participant's copy of the plug-in record.
struct DDS_RegisteredTypeI {
    DDS_RegisteredTypeI *next;
    char *name;
    struct PRESTypePlugin plugin;
    DDS_Long registrations;
    DDS_Long topicCount; /* topics of this type */
};

struct DDS_DomainParticipantImpl {
    DDS_EntityImpl entity;
    DDS_DomainParticipantFactory *factory;
    DDS_DomainId_t domainId;
    DDS_DomainParticipantQos qos;                /* [lock] */
    DDS_TopicQos defaultTopicQos;                /* [lock] */
    DDS_PublisherQos defaultPublisherQos;        /* [lock] */
    DDS_SubscriberQos defaultSubscriberQos;      /* [lock] */
    DDS_EntityListI topics;                      /* [lock] */
    DDS_EntityListI contentFilteredTopics;       /* [lock]; nodes of DDS_ContentFilteredTopicImpl */
    DDS_EntityListI publishers;                  /* [lock] */
    DDS_EntityListI subscribers;                 /* [lock] */
    DDS_RegisteredTypeI *types;                  /* [lock] */
    std::atomic<DDS_UnsignedLong> entityCounter; /* numbers the children's keys */
    DDS_MonitorAttachmentI monitor;              /* set by the monitoring hook */
    struct ZELWireParticipant *wireParticipant;  /* fixed at creation */
};

enum DDS_TopicDescriptionKindI { DDS_TOPIC_DESCRIPTION_TOPIC_I, DDS_TOPIC_DESCRIPTION_CONTENT_FILTERED_I };

struct DDS_TopicDescriptionImpl {
    DDS_TopicDescriptionKindI kind;
    char *name;     /* fixed at creation */
    char *typeName; /* fixed at creation */
    DDS_DomainParticipant *participant;
};

// A remote topic found inconsistent with a topic: its participant.
struct DDS_InconsistentTopicI {
    DDS_InconsistentTopicI *next; /* [topic's inconsistentMutex] */
    uint32_t remotePrefix[3];
    bool acknowledged; /* [topic's inconsistentMutex] */
};

struct DDS_TopicImpl {
    DDS_EntityImpl entity;
    DDS_TopicDescriptionImpl description;
    DDS_RegisteredTypeI *type;
    DDS_TopicQos qos;   /* [lock] */
    DDS_Long useCount;  /* writers, readers and content-filtered topics [participant lock] */
    DDS_Long findCount; /* references handed out by find_topic [participant lock] */
    /* Each remote topic found inconsistent with this one, remembered while
       the topic lives so that it counts once [inconsistentMutex]. */
    DDS_InconsistentTopicI *inconsistent;
    /* Held across the wire's visit, which takes the wire's lock. */
    ZELOrderedMutex<ZEL_LOCK_LEVEL_TOPIC_INCONSISTENT> inconsistentMutex{"inconsistent topics"};
};

struct DDS_ContentFilteredTopicImpl {
    DDS_TopicDescriptionImpl description;
    DDS_EntityListNodeI node; /* in the participant's list [participant lock] */
    DDS_Topic *relatedTopic;
    char *filterExpression;          /* fixed at creation */
    DDS_StringSeq parameters;        /* [participant lock] */
    DDS_Long readerCount;            /* [participant lock] */
    struct ZELContentFilter *filter; /* compiled at creation against the related type [filterMutex] */
    /* Held while a reader evaluates the filter, which parameters may rebind. */
    ZELOrderedMutex<ZEL_LOCK_LEVEL_CONTENT_FILTER> filterMutex{"content filter"};
};

struct DDS_PublisherImpl {
    DDS_EntityImpl entity;
    DDS_PublisherQos qos;               /* [lock] */
    DDS_DataWriterQos defaultWriterQos; /* [lock] */
    DDS_EntityListI writers;            /* [participant lock and lock] */
};

struct DDS_SubscriberImpl {
    DDS_EntityImpl entity;
    DDS_SubscriberQos qos;              /* [lock] */
    DDS_DataReaderQos defaultReaderQos; /* [lock] */
    DDS_EntityListI readers;            /* [participant lock and lock] */
};

struct DDS_DataWriterImpl {
    DDS_EntityImpl entity;
    DDS_Topic *topic;
    DDS_DataWriterQos qos; /* [lock] */
    void *endpointData;    /* type plug-in endpoint data, owned by the data path */
    void *wireWriter;      /* owned by the data path */
    // The data path, set while attached. Published before the wire may
    // report the first match, which the monitor reads statuses for while
    // the writer is still being enabled.
    std::atomic<struct DDS_DataWriterPathI *> path;
};

struct DDS_DataReaderImpl {
    DDS_EntityImpl entity;
    DDS_TopicDescription *topicDescription; /* a topic or a content-filtered topic */
    DDS_DataReaderQos qos;                  /* [lock] */
    void *endpointData;                     /* type plug-in endpoint data, owned by the data path */
    void *wireReader;                       /* owned by the data path */
    // The data path; set by attach (before the first match is reported),
    // cleared by detach.
    std::atomic<struct DDS_DataReaderPathI *> path;
    struct DDS_ReadConditionImpl *readConditions; /* [lock] */
};

// ---- factory services ----
// Frees every QoS profile of the factory (at finalization).
void DDS_QosProfile_deleteAllI(DDS_DomainParticipantFactory *factory);
// Fills the factory's default QoS of every entity kind; false when out of
// heap (what was filled is finalized with the factory).
bool DDS_DomainParticipantFactory_initializeDefaultsI(DDS_DomainParticipantFactory *factory);
// OK when the participant has no children left (with
// `includingVendorSpecific` false: none but vendor-specific topics, groups
// and their endpoints); else PRECONDITION_NOT_MET, logged under `context`.
DDS_ReturnCode_t DDS_DomainParticipant_checkEmptyI(DDS_DomainParticipant *self, bool includingVendorSpecific,
                                                   const char *context);
// Frees a participant record whatever its state of construction.
void DDS_DomainParticipant_freeI(DDS_DomainParticipant *participant);

// ---- the common entity part ----
// Fills the common part: makes the lock (false when out of heap) and the
// key from the participant's numbering and the kind octet.
bool DDS_Entity_initializeI(DDS_EntityImpl *self, DDS_EntityKind_t kind, DDS_DomainParticipant *participant,
                            DDS_Entity *parent, DDS_Octet kindOctet, bool vendorSpecific, const DDS_Listener *listener,
                            DDS_StatusMask mask);
void DDS_Entity_finalizeI(DDS_EntityImpl *self);
DDS_DomainParticipantFactory *DDS_Entity_get_factoryI(const DDS_EntityImpl *self);

// A held entity lock (or the factory's), left when the guard ends.
class DDS_EntityLockGuardI {
public:
    DDS_EntityLockGuardI(DDS_DomainParticipantFactory *factory, struct REDAExclusiveArea *area);
    explicit DDS_EntityLockGuardI(DDS_EntityImpl *entity);
    ~DDS_EntityLockGuardI();
    DDS_EntityLockGuardI(const DDS_EntityLockGuardI &) = delete;
    DDS_EntityLockGuardI &operator=(const DDS_EntityLockGuardI &) = delete;
    // OK, or why the lock could not be taken.
    DDS_ReturnCode_t result() const { return result_; }
    bool held() const { return result_ == DDS_RETCODE_OK; }

private:
    struct REDAWorker *worker_ = nullptr;
    struct REDAExclusiveArea *area_ = nullptr;
    DDS_ReturnCode_t result_ = DDS_RETCODE_ERROR;
};

// Reports an event to the participant's monitor, if one is attached.
void DDS_DomainParticipant_notifyMonitorI(DDS_DomainParticipant *participant, DDS_Long eventKind, DDS_Entity *entity,
                                          const void *eventData);

// Enables `entity` (parent checks, flag, events), then, if its QoS
// autoenables, its disabled children.
DDS_ReturnCode_t DDS_Entity_enableI(DDS_EntityImpl *entity);
// Whether the entity's own entity_factory policy autoenables its children.
bool DDS_Entity_autoenablesI(DDS_EntityImpl *entity);

// ---- deletion shared by delete and delete_contained_entities ----
// Each takes the participant lock itself; the precondition is checked.
DDS_ReturnCode_t DDS_Topic_deleteI(DDS_Topic *topic, bool ignoreFinds);
DDS_ReturnCode_t DDS_ContentFilteredTopic_deleteI(DDS_ContentFilteredTopic *topic);
// Whether a sample of the related type passes the topic's filter; takes
// only the topic's leaf filter lock, so a reader may call it under its own.
bool DDS_ContentFilteredTopic_evaluateI(DDS_ContentFilteredTopic *topic, const void *sample);
DDS_ReturnCode_t DDS_DataWriter_deleteI(DDS_DataWriter *writer);
DDS_ReturnCode_t DDS_DataReader_deleteI(DDS_DataReader *reader);
// Deletes every read condition of the reader (delete_contained_entities).
void DDS_DataReader_deleteReadConditionsI(DDS_DataReader *reader);

// ---- topic descriptions ----
// The topic a description stands for: itself, or a content-filtered
// topic's related topic.
DDS_Topic *DDS_TopicDescription_get_topicI(DDS_TopicDescription *description);
// Counts a reader more (`delta` 1) or less (-1) on the description
// [participant lock].
void DDS_TopicDescription_addReaderI(DDS_TopicDescription *description, DDS_Long delta);

// ---- registered types ----
DDS_RegisteredTypeI *DDS_DomainParticipant_findTypeI(DDS_DomainParticipant *self, const char *typeName);

// ---- the platform's default QoS (default_qos.cpp) ----
// Overwrite an initialized QoS with the defaults; false when out of heap.
bool DDS_DomainParticipantFactoryQos_get_defaultI(DDS_DomainParticipantFactoryQos *qos);
bool DDS_DomainParticipantQos_get_defaultI(DDS_DomainParticipantQos *qos);
bool DDS_TopicQos_get_defaultI(DDS_TopicQos *qos);
bool DDS_PublisherQos_get_defaultI(DDS_PublisherQos *qos);
bool DDS_SubscriberQos_get_defaultI(DDS_SubscriberQos *qos);
bool DDS_DataWriterQos_get_defaultI(DDS_DataWriterQos *qos);
bool DDS_DataReaderQos_get_defaultI(DDS_DataReaderQos *qos);

// ---- QoS checks (qos_check.cpp) ----
// INCONSISTENT_POLICY with a logged reason, or OK.
DDS_ReturnCode_t DDS_DomainParticipantQos_checkI(const DDS_DomainParticipantQos *qos, const char *context);
DDS_ReturnCode_t DDS_TopicQos_checkI(const DDS_TopicQos *qos, const char *context);
DDS_ReturnCode_t DDS_PublisherQos_checkI(const DDS_PublisherQos *qos, const char *context);
DDS_ReturnCode_t DDS_SubscriberQos_checkI(const DDS_SubscriberQos *qos, const char *context);
DDS_ReturnCode_t DDS_DataWriterQos_checkI(const DDS_DataWriterQos *qos, const char *context);
DDS_ReturnCode_t DDS_DataReaderQos_checkI(const DDS_DataReaderQos *qos, const char *context);
// True when `next` changes a policy that is fixed once the entity is
// enabled (the changed policy is logged).
bool DDS_DomainParticipantQos_changesImmutableI(const DDS_DomainParticipantQos *old,
                                                const DDS_DomainParticipantQos *next, const char *context);
bool DDS_TopicQos_changesImmutableI(const DDS_TopicQos *old, const DDS_TopicQos *next, const char *context);
bool DDS_PublisherQos_changesImmutableI(const DDS_PublisherQos *old, const DDS_PublisherQos *next, const char *context);
bool DDS_SubscriberQos_changesImmutableI(const DDS_SubscriberQos *old, const DDS_SubscriberQos *next,
                                         const char *context);
bool DDS_DataWriterQos_changesImmutableI(const DDS_DataWriterQos *old, const DDS_DataWriterQos *next,
                                         const char *context);
bool DDS_DataReaderQos_changesImmutableI(const DDS_DataReaderQos *old, const DDS_DataReaderQos *next,
                                         const char *context);

// ---- QoS copies ----
// The generated operations of each QoS type, for the templates below.
template <typename Q>
struct DDS_QosOpsI;
#define DDS_QOS_OPS_I(Q)                                                             \
    template <>                                                                      \
    struct DDS_QosOpsI<Q> {                                                          \
        static DDS_Boolean initialize(Q *qos) { return Q##_initialize(qos); }        \
        static void finalize(Q *qos) { Q##_finalize(qos); }                          \
        static DDS_Boolean copy(Q *dst, const Q *src) { return Q##_copy(dst, src); } \
    }
DDS_QOS_OPS_I(DDS_DomainParticipantFactoryQos);
DDS_QOS_OPS_I(DDS_DomainParticipantQos);
DDS_QOS_OPS_I(DDS_TopicQos);
DDS_QOS_OPS_I(DDS_PublisherQos);
DDS_QOS_OPS_I(DDS_SubscriberQos);
DDS_QOS_OPS_I(DDS_DataWriterQos);
DDS_QOS_OPS_I(DDS_DataReaderQos);
#undef DDS_QOS_OPS_I

// Replaces `*dst` by a copy of `src` all at once: on failure (out of heap)
// `*dst` is unchanged.
template <typename Q>
bool DDS_Qos_replaceI(Q *dst, const Q *src) {
    Q copy;
    if (!DDS_QosOpsI<Q>::initialize(&copy)) {
        return false;
    }
    if (!DDS_QosOpsI<Q>::copy(&copy, src)) {
        DDS_QosOpsI<Q>::finalize(&copy);
        return false;
    }
    Q old = *dst;
    *dst = copy;
    DDS_QosOpsI<Q>::finalize(&old);
    return true;
}

// Out-of-heap logging of a structure allocation under `context`.
void DDS_Entity_logOutOfHeapI(const char *context, size_t size);

// ---- QoS get and set shared by every entity ----
inline DDS_ReturnCode_t DDS_Qos_checkI(const DDS_DomainParticipantQos *q, const char *c) {
    return DDS_DomainParticipantQos_checkI(q, c);
}
inline DDS_ReturnCode_t DDS_Qos_checkI(const DDS_TopicQos *q, const char *c) { return DDS_TopicQos_checkI(q, c); }
inline DDS_ReturnCode_t DDS_Qos_checkI(const DDS_PublisherQos *q, const char *c) {
    return DDS_PublisherQos_checkI(q, c);
}
inline DDS_ReturnCode_t DDS_Qos_checkI(const DDS_SubscriberQos *q, const char *c) {
    return DDS_SubscriberQos_checkI(q, c);
}
inline DDS_ReturnCode_t DDS_Qos_checkI(const DDS_DataWriterQos *q, const char *c) {
    return DDS_DataWriterQos_checkI(q, c);
}
inline DDS_ReturnCode_t DDS_Qos_checkI(const DDS_DataReaderQos *q, const char *c) {
    return DDS_DataReaderQos_checkI(q, c);
}
inline bool DDS_Qos_changesImmutableI(const DDS_DomainParticipantQos *o, const DDS_DomainParticipantQos *n,
                                      const char *c) {
    return DDS_DomainParticipantQos_changesImmutableI(o, n, c);
}
inline bool DDS_Qos_changesImmutableI(const DDS_TopicQos *o, const DDS_TopicQos *n, const char *c) {
    return DDS_TopicQos_changesImmutableI(o, n, c);
}
inline bool DDS_Qos_changesImmutableI(const DDS_PublisherQos *o, const DDS_PublisherQos *n, const char *c) {
    return DDS_PublisherQos_changesImmutableI(o, n, c);
}
inline bool DDS_Qos_changesImmutableI(const DDS_SubscriberQos *o, const DDS_SubscriberQos *n, const char *c) {
    return DDS_SubscriberQos_changesImmutableI(o, n, c);
}
inline bool DDS_Qos_changesImmutableI(const DDS_DataWriterQos *o, const DDS_DataWriterQos *n, const char *c) {
    return DDS_DataWriterQos_changesImmutableI(o, n, c);
}
inline bool DDS_Qos_changesImmutableI(const DDS_DataReaderQos *o, const DDS_DataReaderQos *n, const char *c) {
    return DDS_DataReaderQos_changesImmutableI(o, n, c);
}

// Copies `*field` (guarded by the entity's lock) into `qos`.
template <typename Q>
DDS_ReturnCode_t DDS_Entity_getQosI(DDS_EntityImpl *entity, const Q *field, Q *qos, const char *context) {
    if (entity == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, entity == nullptr ? "self" : "qos");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(entity);
    if (!guard.held()) {
        return guard.result();
    }
    return DDS_QosOpsI<Q>::copy(qos, field) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

// Replaces `*field` (guarded by the entity's lock) by `qos`, or by
// `defaultValue` when `qos` is `defaultMarker`. With `entityQos` the field
// is the entity's own QoS: immutable policies are refused once enabled and
// `event` is reported afterwards, with no lock held.
template <typename Q>
DDS_ReturnCode_t DDS_Entity_setQosI(DDS_EntityImpl *entity, Q *field, const Q *qos, const Q *defaultMarker,
                                    const Q *defaultValue, bool entityQos, DDS_Long event, const char *context) {
    if (entity == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, entity == nullptr ? "self" : "qos");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (qos == defaultMarker) {
        qos = defaultValue;
    }
    DDS_ReturnCode_t result = DDS_Qos_checkI(qos, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    {
        DDS_EntityLockGuardI guard(entity);
        if (!guard.held()) {
            return guard.result();
        }
        if (entityQos && entity->enabled && DDS_Qos_changesImmutableI(field, qos, context)) {
            return DDS_RETCODE_IMMUTABLE_POLICY;
        }
        if (!DDS_Qos_replaceI(field, qos)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "copy qos");
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
    }
    if (entityQos) {
        DDS_DomainParticipant_notifyMonitorI(entity->participant, event, entity, nullptr);
    }
    return DDS_RETCODE_OK;
}

// The entity record that holds list node `node`.
template <typename T>
T *DDS_EntityList_entryI(DDS_EntityListNodeI *node) {
    return reinterpret_cast<T *>(reinterpret_cast<char *>(node) - offsetof(DDS_EntityImpl, node));
}

// Fills a sequence of handles from an entity list with the sequence's own
// operations; false when out of heap. Vendor-specific entities (the
// monitor's own) are not the application's: they are left out, as
// delete_contained_entities leaves them.
template <typename Seq, typename T>
bool DDS_EntityList_toSequenceI(const DDS_EntityListI *list, Seq *seq,
                                DDS_Boolean (*ensureLength)(Seq *, DDS_Long, DDS_Long),
                                T **(*getReference)(Seq *, DDS_Long)) {
    DDS_Long count = 0;
    for (DDS_EntityListNodeI *node = list->head; node != nullptr; node = node->next) {
        count += DDS_EntityList_entryI<DDS_EntityImpl>(node)->vendorSpecific ? 0 : 1;
    }
    if (!ensureLength(seq, count, count)) {
        return false;
    }
    DDS_Long i = 0;
    for (DDS_EntityListNodeI *node = list->head; node != nullptr; node = node->next) {
        if (!DDS_EntityList_entryI<DDS_EntityImpl>(node)->vendorSpecific) {
            *getReference(seq, i++) = DDS_EntityList_entryI<T>(node);
        }
    }
    return true;
}

#endif
