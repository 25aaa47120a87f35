// Records of the in-process wire. One mutex per wire instance guards every
// list, state and counter below it; it is never held while a listener
// runs. A match record stays linked while a thread uses it outside the
// mutex (its `busy` count): deliveries and announcements hold it, and an
// endpoint's deletion waits for it to drop to zero before unlinking.
#ifndef ZEL_LOOPBACK_PRIVATE_H
#define ZEL_LOOPBACK_PRIVATE_H

#include <mutex>
#include <string>
#include <unordered_map>

#include "vurncore/lock_order.h"
#include "wire.h"

struct ZELOsapiSemaphore;
struct ZELLoopbackEndpointI;

enum ZELLoopbackMatchStateI {
    ZEL_LOOPBACK_MATCH_ANNOUNCING,  // matched callbacks not yet made: no deliveries
    ZEL_LOOPBACK_MATCH_REPLAYING,   // the writer replays its history: no live deliveries
    ZEL_LOOPBACK_MATCH_ACTIVE,
    ZEL_LOOPBACK_MATCH_UNMATCHING  // an endpoint is being deleted: no deliveries
};

// A writer-reader pair of the same domain, topic and type: a match, or an
// incompatibility (`policyId` not 0) kept until either side goes.
struct ZELLoopbackMatchI {
    ZELLoopbackEndpointI *writer;
    ZELLoopbackEndpointI *reader;
    ZELLoopbackMatchI *writerPrev, *writerNext;  // in the writer's list [wire mutex]
    ZELLoopbackMatchI *readerPrev, *readerNext;  // in the reader's list [wire mutex]
    uint32_t policyId;
    ZELLoopbackMatchStateI state;     // [wire mutex]
    ZELLoopbackEndpointI *announcer;  // the endpoint whose creation made it
    ZELLoopbackEndpointI *unmatcher;  // the endpoint whose deletion ends it [wire mutex]
    int busy;                         // threads using it outside the mutex [wire mutex]
    ZELWireCounters counters;         // [wire mutex]
};

struct ZELLoopbackParticipantI;

using ZELLoopbackWireMutex = ZELOrderedMutex<ZEL_LOCK_LEVEL_LOOPBACK_WIRE>;

struct ZELLoopbackWireI {
    ZELWire base;  // first: the table
    ZELLoopbackWireMutex mutex{"loopback wire"};
    ZELLoopbackEndpointI *endpoints;  // every writer and reader [mutex]
    // The first endpoint of each topic name, so that matching and topic
    // statuses visit the endpoints of one topic only [mutex].
    std::unordered_map<std::string, ZELLoopbackEndpointI *> byTopic;
    ZELLoopbackParticipantI *participants;  // [mutex]
    uint32_t nextReaderId;                  // [mutex]
};

struct ZELLoopbackParticipantI {
    ZELLoopbackWireI *wire;
    ZELLoopbackParticipantI *prev, *next;  // in the wire's list [wire mutex]
    int32_t domainId;
    uint32_t guidPrefix[3];
    long endpointCount;  // [wire mutex]
};

struct ZELLoopbackEndpointI {
    bool isWriter;
    ZELLoopbackParticipantI *participant;
    ZELLoopbackEndpointI *prev, *next;            // in the wire's list [wire mutex]
    ZELLoopbackEndpointI *topicPrev, *topicNext;  // of the same topic name [wire mutex]
    ZELWireGuid guid;
    char *topicName;
    char *typeName;
    bool keyed;
    bool vendorSpecific;
    ZELWireEndpointQos qos;
    ZELWireWriterListener writerListener;  // the one of its kind is set
    ZELWireReaderListener readerListener;
    ZELNetioLocator locator;     // a reader's
    ZELLoopbackMatchI *matches;  // [wire mutex]
    bool deleting;               // no new matches, no deliveries [wire mutex]
    bool waiting;                // its deletion waits on `wakeup` [wire mutex]
    ZELOsapiSemaphore *wakeup;
    ZELWireCounters counters;  // [wire mutex]
};

// ---- the topic index (loopback_endpoint.cpp) ----
// The first endpoint of the topic called `name`, or NULL [wire mutex held].
ZELLoopbackEndpointI *ZELLoopbackWire_firstOfTopicI(ZELLoopbackWireI *wire, const char *name);

// ---- matches (loopback_match.cpp) ----
// The next match of `endpoint` after `match` (the first for NULL), or NULL.
ZELLoopbackMatchI *ZELLoopbackMatch_nextI(const ZELLoopbackEndpointI *endpoint, const ZELLoopbackMatchI *match);
// Ends a use of `match`; wakes its unmatcher when it was the last
// [wire mutex held].
void ZELLoopbackMatch_releaseI(ZELLoopbackMatchI *match);
// The match info that `local` gets about the other side.
void ZELLoopbackMatch_getInfoI(const ZELLoopbackMatchI *match, const ZELLoopbackEndpointI *local,
                               ZELWireMatchInfo *info);
// Links matches between the new endpoint (already in the wire's list) and
// every compatible or incompatible remote, each busy once for the caller;
// false when out of heap, having unlinked what it made [wire mutex held].
bool ZELLoopbackMatch_createAllI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint);
// Makes the callbacks of the new endpoint's matches and activates them.
void ZELLoopbackMatch_announceAllI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint);
// Ends every match of an endpoint being deleted, waiting for their users.
void ZELLoopbackMatch_removeAllI(ZELLoopbackWireI *wire, ZELLoopbackEndpointI *endpoint);

// ---- operations of the table ----
ZELWire *ZELLoopbackWire_createI(void);
ZELBoolean ZELLoopbackWire_destroyI(ZELWire *wire);
ZELWireParticipant *ZELLoopbackWire_createParticipantI(ZELWire *wire, int32_t domainId, uint32_t guidPrefix[3]);
ZELBoolean ZELLoopbackWire_deleteParticipantI(ZELWireParticipant *participant);
ZELWireWriter *ZELLoopbackWire_createWriterI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                             const ZELWireWriterListener *listener);
void ZELLoopbackWire_deleteWriterI(ZELWireWriter *writer);
ZELWireReader *ZELLoopbackWire_createReaderI(ZELWireParticipant *participant, const ZELWireEndpointParams *params,
                                             const ZELWireReaderListener *listener);
void ZELLoopbackWire_deleteReaderI(ZELWireReader *reader);
ZELWireWriteResult ZELLoopbackWire_writeI(ZELWireWriter *writer, const ZELWireSample *sample);
ZELBoolean ZELLoopbackWire_writeReplayI(ZELWireWriter *writer, ZELWireReplay *replay, const ZELWireSample *sample);
void ZELLoopbackWire_replayDoneI(ZELWireWriter *writer, ZELWireReplay *replay);
void ZELLoopbackWire_getWriterCountersI(ZELWireWriter *writer, ZELWireCounters *counters);
void ZELLoopbackWire_getReaderCountersI(ZELWireReader *reader, ZELWireCounters *counters);
ZELBoolean ZELLoopbackWire_getWriterMatchCountersI(ZELWireWriter *writer, const ZELWireGuid *reader,
                                                   ZELWireCounters *counters);
ZELBoolean ZELLoopbackWire_getReaderMatchCountersI(ZELWireReader *reader, const ZELWireGuid *writer,
                                                   ZELWireCounters *counters);
ZELBoolean ZELLoopbackWire_visitDiscoveredI(ZELWireParticipant *participant, ZELWireEntityKind kind,
                                            ZELWireDiscoveryVisitor visit, void *context);
ZELBoolean ZELLoopbackWire_visitInconsistentTopicsI(ZELWireParticipant *participant, const char *topicName,
                                                    const char *typeName, ZELWireInconsistentTopicVisitor visit,
                                                    void *context);

#endif
