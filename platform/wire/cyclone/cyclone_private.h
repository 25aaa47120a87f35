// Records of the RTPS wire over Eclipse Cyclone DDS. Each vurnc participant
// is a Cyclone participant, each writer and reader a Cyclone writer or
// reader of its own topic entity; samples travel as the type plug-in's
// serialized octets in a sertype of our own.
//
// Identity. Cyclone picks its own GUIDs and cannot be told one. A
// participant takes Cyclone's GUID prefix, so its key is its GUID on the
// network. A writer or reader has its key from its creation on, before it
// is enabled and before Cyclone has an entity for it, so it keeps its own
// entity id under that prefix, and its Cyclone entity carries the key in
// its USER_DATA (ZEL_CYCLONE_USER_DATA_SIZE octets: a magic word, the four
// GUID words most significant octet first, a flags octet with the
// vendor-specific bit). Every process reads it from discovery, so a key
// means the same entity on every host. An entity without it (a participant,
// a plain Cyclone application) is known by its Cyclone GUID.
//
// Threads. Cyclone calls listeners on its own threads. Every callback of an
// endpoint runs under that endpoint's `callbackMutex`, which also
// serializes them with the endpoint's deletion: once `deleting` is set no
// callback reaches the DDS layer, and the deletion reports the unmatches
// itself before it deletes the Cyclone entity. A reader's liveliness
// listener is the exception: it only queues the change under `mutex` for
// the match thread, which reports it under `callbackMutex`.
//
// Matches. A match listener may run on a thread that holds the locks of
// another entity (the one whose creation made the match), so asking Cyclone
// for the endpoint's matches there can deadlock with a thread writing on the
// endpoint. Listeners only queue the endpoint; one thread per wire brings
// its matches in line.
#ifndef ZEL_CYCLONE_PRIVATE_H
#define ZEL_CYCLONE_PRIVATE_H

#include <dds/dds.h>
#include <dds/ddsc/dds_statistics.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "wire.h"

#define ZEL_CYCLONE_USER_DATA_SIZE 21u
#define ZEL_CYCLONE_USER_DATA_VENDOR_SPECIFIC 0x01u

struct ZELCycloneDomainI {
    int32_t id;
    dds_entity_t domain;  // 0 when the configuration came from CYCLONEDDS_URI
    int users;
};

struct ZELCycloneEndpointI;

// The wire's match thread and the endpoints waiting for it.
struct ZELCycloneMatchSyncI {
    std::mutex mutex;
    std::condition_variable wake;                // work queued, or stop
    std::condition_variable done;                // `busy` went back to NULL
    std::vector<ZELCycloneEndpointI *> pending;  // [mutex]
    ZELCycloneEndpointI *busy = nullptr;         // [mutex] the one being synced
    bool stop = false;                           // [mutex]
    std::thread thread;
};

struct ZELCycloneWireI {
    ZELWire base;  // first: the table
    std::mutex mutex;
    std::vector<ZELCycloneDomainI> domains;  // [mutex]
    long participantCount;                   // [mutex]
    ZELCycloneMatchSyncI matchSync;
};

// An alive endpoint of another participant, as far as inconsistent topics
// need it.
struct ZELCycloneRemoteEndpointI {
    std::array<unsigned char, 16> key;  // its Cyclone GUID
    uint32_t participantPrefix[3];      // its participant's vurnc GUID prefix
    std::string typeName;
    bool isWriter;
    ZELWireGuid guid;  // its vurnc GUID
    ZELWireEndpointQos qos;
};

// The builtin readers: discovery reads the first three; the last two are
// only ever taken from, so that each endpoint's arrival and departure is
// seen once (a status read then costs what changed, not the domain).
enum ZELCycloneBuiltinI {
    ZEL_CYCLONE_BUILTIN_PARTICIPANT,
    ZEL_CYCLONE_BUILTIN_PUBLICATION,
    ZEL_CYCLONE_BUILTIN_SUBSCRIPTION,
    ZEL_CYCLONE_BUILTIN_PUBLICATION_CHANGES,
    ZEL_CYCLONE_BUILTIN_SUBSCRIPTION_CHANGES,
    ZEL_CYCLONE_BUILTIN_COUNT
};

// A Cyclone topic entity, shared by a participant's endpoints of one topic
// name and type: Cyclone counts its entities per process (some 16,000 in
// all), and an endpoint should cost it one entity, not two.
struct ZELCycloneTopicI {
    dds_entity_t topic;
    const struct ddsi_sertype *sertype;  // Cyclone's, kept alive by `topic`
    long users;
};

struct ZELCycloneParticipantI {
    ZELCycloneWireI *wire;
    int32_t domainId;
    dds_entity_t participant;
    dds_entity_t builtin[ZEL_CYCLONE_BUILTIN_COUNT];
    std::mutex mutex;
    long endpointCount;  // [mutex]
    // [mutex] remote endpoints by topic name, and the topic name of each
    std::unordered_map<std::string, std::vector<ZELCycloneRemoteEndpointI>> remoteEndpoints;
    std::map<std::array<unsigned char, 16>, std::string> remoteTopicNames;
    // [mutex] by topic name, type name and keyed flag (ZELCycloneTopic_keyI)
    std::map<std::string, ZELCycloneTopicI> cycloneTopics;
};

// A matched remote endpoint as Cyclone names it (its instance handle) and
// as vurnc does (its GUID).
struct ZELCycloneRemoteI {
    dds_instance_handle_t handle;
    ZELWireGuid guid;
    bool vendorSpecific;
    ZELWireEndpointQos qos;
    int32_t ownershipStrength;
    ZELNtpTime lifespan;
    ZELWireCounters counters;
};

// A matched writer's liveliness change as a reader's Cyclone listener saw
// it, waiting for the match thread.
struct ZELCycloneLivelinessEventI {
    dds_instance_handle_t handle;
    bool alive;
};

struct ZELCycloneEndpointI {
    bool isWriter;
    bool keyed;
    ZELCycloneParticipantI *participant;
    ZELWireGuid guid;
    dds_entity_t topic;                  // shared: see ZELCycloneTopicI
    std::string topicKey;                // its key in the participant's cycloneTopics
    const struct ddsi_sertype *sertype;  // Cyclone's, kept alive by `topic`
    // Set by the first callback when it runs before the creation returned.
    std::atomic<dds_entity_t> entity;
    ZELWireWriterListener writerListener;  // the one of its kind is set
    ZELWireReaderListener readerListener;
    // A writer's Cyclone statistics, read for its repair octets; its own
    // lock, which no callback takes, because a refresh takes Cyclone's.
    std::mutex statisticsMutex;
    struct dds_statistics *statistics;       // [statisticsMutex] NULL for a reader
    std::recursive_mutex callbackMutex;      // held by every callback and by the deletion
    std::mutex mutex;                        // the fields below
    bool deleting;                           // [mutex]
    std::vector<ZELCycloneRemoteI> matches;  // [mutex]
    ZELWireCounters counters;                // [mutex]
    // [mutex] a reader's liveliness changes not yet reported, oldest first
    std::vector<ZELCycloneLivelinessEventI> livelinessEvents;
    // [mutex] the policy of each incompatible match Cyclone told of, not yet
    // reported
    std::vector<uint32_t> incompatibleEvents;
    // [callbackMutex] the remote endpoints named in those reported
    std::vector<ZELWireGuid> incompatibleRemotes;
    // What matching looks at: the topic and type names and the QoS.
    std::string topicName;
    std::string typeName;
    ZELWireEndpointQos qos;
};

// ---- identity (cyclone_identity.cpp) ----
// The USER_DATA octets that name `guid`.
void ZELCycloneGuid_toUserDataI(const ZELWireGuid *guid, bool vendorSpecific,
                                uint8_t octets[ZEL_CYCLONE_USER_DATA_SIZE]);
// Word `word` of a GUID in network order: its octets most significant first.
inline uint32_t ZELCycloneGuid_wordI(const uint8_t *octets, int word) {
    return (uint32_t{octets[word * 4]} << 24) | (uint32_t{octets[word * 4 + 1]} << 16) |
           (uint32_t{octets[word * 4 + 2]} << 8) | uint32_t{octets[word * 4 + 3]};
}
// The vurnc GUID that `qos` carries in its USER_DATA, else `cycloneGuid`'s.
void ZELCycloneGuid_fromQosI(const dds_qos_t *qos, const void *cycloneGuid, ZELWireGuid *guid, bool *vendorSpecific);
// The matching QoS, ownership strength and lifespan of a discovered endpoint.
void ZELCycloneRemote_fromQosI(const dds_qos_t *qos, ZELCycloneRemoteI *remote);
// The Cyclone QoS of a local endpoint; NULL (logged) when out of heap.
dds_qos_t *ZELCycloneQos_fromEndpointI(const ZELWireEndpointParams *params, bool isWriter);

// ---- samples (cyclone_serdata.cpp) ----
// A sertype for `typeName`, handed to Cyclone with the topic.
struct ddsi_sertype *ZELCycloneSertype_newI(const char *typeName, bool keyed);
// A serdata carrying `sample`; NULL when out of heap.
struct ddsi_serdata *ZELCycloneSerdata_fromSampleI(const struct ddsi_sertype *type, const ZELWireSample *sample);
// The octets, key hash and kind of a received serdata. `data` points into
// it, or into `scratch` when the padding had to be taken off; false when
// out of memory.
bool ZELCycloneSerdata_toSampleI(const struct ddsi_serdata *serdata, ZELWireSample *sample,
                                 std::vector<uint8_t> *scratch);

// ---- endpoints (cyclone_endpoint.cpp) ----
// Brings the endpoint's matches in line with Cyclone's, reporting each new
// and lost one [callbackMutex held].
void ZELCycloneEndpoint_syncMatchesI(ZELCycloneEndpointI *endpoint);
// The same unless the endpoint is being deleted [no lock held].
void ZELCycloneEndpoint_syncMatchesIfLiveI(ZELCycloneEndpointI *endpoint);

// ---- statuses (cyclone_status.cpp) ----
// Sets a reader's liveliness listener. A writer's statuses are read when
// asked for and need none.
void ZELCycloneStatus_setReaderListenerI(dds_listener_t *listener);
// Reports a reader's queued liveliness changes, once its matches are in
// line [no lock held; on the match thread].
void ZELCycloneEndpoint_reportLivelinessI(ZELCycloneEndpointI *endpoint);
// Reports the incompatible matches Cyclone told of: each names the first
// remote endpoint found incompatible and not yet named, and the policy in
// the platform's order; one that cannot be found is reported as Cyclone
// told it, without the remote [match thread].
void ZELCycloneEndpoint_reportIncompatibleI(ZELCycloneEndpointI *endpoint);
// The other participants' endpoints of the endpoint's topic and type, of
// the other kind, whose QoS does not go with the endpoint's, with the
// policy that fails. Throws std::bad_alloc.
std::vector<std::pair<ZELWireGuid, uint32_t>> ZELCycloneParticipant_incompatibleRemotesI(
        ZELCycloneParticipantI *participant, const ZELCycloneEndpointI *endpoint);

// ---- the match thread (cyclone_match_sync.cpp) ----
// Starts the thread; false (logged) when the system refuses one.
bool ZELCycloneMatchSync_startI(ZELCycloneMatchSyncI *sync);
// Stops the thread once what it does now is done.
void ZELCycloneMatchSync_stopI(ZELCycloneMatchSyncI *sync);
// Queues the endpoint for a sync, once however often asked.
void ZELCycloneMatchSync_requestI(ZELCycloneMatchSyncI *sync, ZELCycloneEndpointI *endpoint);
// Takes the endpoint out of the queue and waits for a sync of it under
// way: after this the thread no longer touches it.
void ZELCycloneMatchSync_forgetI(ZELCycloneMatchSyncI *sync, ZELCycloneEndpointI *endpoint);

// ---- operations of the table ----
ZELWire *ZELCycloneWire_createI(void);
ZELBoolean ZELCycloneWire_destroyI(ZELWire *wire);
ZELWireParticipant *ZELCycloneWire_createParticipantI(ZELWire *wire, int32_t domainId, uint32_t guidPrefix[3]);
ZELBoolean ZELCycloneWire_deleteParticipantI(ZELWireParticipant *participant);
ZELWireWriter *ZELCycloneWire_createWriterI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                            const ZELWireWriterListener *listener);
void ZELCycloneWire_deleteWriterI(ZELWireWriter *writer);
ZELWireReader *ZELCycloneWire_createReaderI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                            const ZELWireReaderListener *listener);
void ZELCycloneWire_deleteReaderI(ZELWireReader *reader);
ZELWireWriteResult ZELCycloneWire_writeI(ZELWireWriter *writer, const ZELWireSample *sample);
ZELBoolean ZELCycloneWire_writeReplayI(ZELWireWriter *writer, ZELWireReplay *replay, const ZELWireSample *sample);
void ZELCycloneWire_replayDoneI(ZELWireWriter *writer, ZELWireReplay *replay);
void ZELCycloneWire_getWriterCountersI(ZELWireWriter *writer, ZELWireCounters *counters);
void ZELCycloneWire_getReaderCountersI(ZELWireReader *reader, ZELWireCounters *counters);
ZELBoolean ZELCycloneWire_getWriterMatchCountersI(ZELWireWriter *writer, const ZELWireGuid *reader,
                                                  ZELWireCounters *counters);
ZELBoolean ZELCycloneWire_getReaderMatchCountersI(ZELWireReader *reader, const ZELWireGuid *writer,
                                                  ZELWireCounters *counters);
ZELBoolean ZELCycloneWire_visitDiscoveredI(ZELWireParticipant *participant, ZELWireEntityKind kind,
                                           ZELWireDiscoveryVisitor visit, void *context);
ZELBoolean ZELCycloneWire_visitInconsistentTopicsI(ZELWireParticipant *participant, const char *topicName,
                                                   const char *typeName, ZELWireInconsistentTopicVisitor visit,
                                                   void *context);
ZELBoolean ZELCycloneWire_assertWriterLivelinessI(ZELWireWriter *writer);
ZELBoolean ZELCycloneWire_assertParticipantLivelinessI(ZELWireParticipant *participant);
void ZELCycloneWire_getWriterStatusCountsI(ZELWireWriter *writer, ZELWireStatusCounts *counts);
void ZELCycloneWire_getReaderStatusCountsI(ZELWireReader *reader, ZELWireStatusCounts *counts);

#endif
