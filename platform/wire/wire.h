// The wire: how the DDS layer moves serialized samples between its writers
// and readers. The DDS layer keeps entities, QoS, histories and statuses; a
// wire only matches endpoints, carries samples and instance-state changes
// and counts what it carried. Implementations plug in through a table of
// operations and are chosen per factory by name. Private to vurnc.
//
// Threads and locks. A wire's own locks are the innermost of the process:
// the DDS layer may hold any of its locks when it calls a wire operation,
// and a wire never holds one of its locks while it calls a listener. So a
// listener may take the DDS layer's locks and call wire operations again
// (a reader that writes from its data callback, a writer that replays).
// Callbacks into an endpoint may start, from other threads, before its
// create operation returns: the DDS layer sets up the listener's context
// first. None starts after its delete operation returned. Operations on
// one endpoint (write, replay, delete) are never concurrent with that
// endpoint's deletion, and an endpoint is never deleted from inside a
// callback that concerns it (its delete waits for those callbacks to end).
#ifndef VURNC_WIRE_H
#define VURNC_WIRE_H

#include "vurncore/dll.h"
#include "vurncore/netio_locator.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

// Policy ids that an incompatibility names (the DDS numbering).
#define ZEL_WIRE_POLICY_ID_DURABILITY 2u
#define ZEL_WIRE_POLICY_ID_DEADLINE 4u
#define ZEL_WIRE_POLICY_ID_OWNERSHIP 6u
#define ZEL_WIRE_POLICY_ID_LIVELINESS 8u
#define ZEL_WIRE_POLICY_ID_RELIABILITY 11u

// Locator kind of a loopback reader: its wire-wide reader id is in the
// last four address octets (most significant first); the port is 0.
#define ZEL_WIRE_LOCATOR_KIND_LOOPBACK 0x02000000

// An endpoint's GUID as four words in host order: host id, app id,
// instance counter, entity id.
struct ZELWireGuid {
    uint32_t value[4];
};

// What matching and delivery need of an endpoint's QoS. Kinds take the DDS
// enumerator values (best effort 0, reliable 1; volatile 0, transient local
// 1, ...; automatic 0, manual by participant 1, by topic 2; shared 0,
// exclusive 1). A writer offers, a reader requests.
struct ZELWireEndpointQos {
    int32_t reliabilityKind;
    int32_t durabilityKind;
    struct ZELNtpTime deadlinePeriod;
    int32_t livelinessKind;
    struct ZELNtpTime livelinessLeaseDuration;
    int32_t ownershipKind;
    // History kind (keep last 0, keep all 1) and depth: a wire that keeps
    // durable data itself keeps this much of it.
    int32_t historyKind;
    int32_t historyDepth;
};

struct ZELWireEndpointParams {
    struct ZELWireGuid guid;
    const char *topicName;  // copied
    const char *typeName;   // the registered type name; copied
    ZELBoolean keyed;       // instances can be disposed and unregistered
    ZELBoolean vendorSpecific;
    struct ZELWireEndpointQos qos;
};

// A match as the local endpoint sees it. For a writer the locators are the
// reader's, on a wire that supplies them; a reader is given none. The remote QoS tells a reader how long
// a writer's liveliness lasts without samples.
struct ZELWireMatchInfo {
    struct ZELWireGuid remoteGuid;
    ZELBoolean remoteVendorSpecific;
    const struct ZELNetioLocator *remoteLocators;
    uint32_t remoteLocatorCount;
    struct ZELWireEndpointQos remoteQos;
};

enum ZELWireSampleKind {
    ZEL_WIRE_SAMPLE_DATA = 0,       // data: a serialized sample, encapsulation header first
    ZEL_WIRE_SAMPLE_DISPOSE = 1,    // data: the serialized key
    ZEL_WIRE_SAMPLE_UNREGISTER = 2  // data: the serialized key
};

// A sample or instance-state change. The writer fills kind, key hash,
// data, timestamp, sequence number, strength and lifespan; the wire fills the writer's GUID
// and the reception time before it hands the record to a reader.
struct ZELWireSample {
    enum ZELWireSampleKind kind;
    struct ZELWireGuid writerGuid;
    uint8_t keyHash[16];  // zero for a keyless type
    const uint8_t *data;  // valid during the call only
    uint32_t size;
    struct ZELNtpTime sourceTimestamp;
    struct ZELNtpTime receptionTimestamp;
    int64_t sequenceNumber;  // ZEL_WIRE_SEQUENCE_NUMBER_UNKNOWN where the wire cannot tell
    // The writer's QoS that readers apply per sample: its ownership
    // strength and lifespan (infinite: the sample never expires). A wire
    // that cannot carry them delivers strength 0 and an infinite lifespan.
    int32_t ownershipStrength;
    struct ZELNtpTime lifespan;
};

// A received sample's sequence number on a wire that does not tell it; such
// a wire delivers each sample once, so readers need not look for
// duplicates or gaps.
#define ZEL_WIRE_SEQUENCE_NUMBER_UNKNOWN 0

// What a reader did with a delivered sample; the wire counts it.
enum ZELWireDeliveryResult {
    ZEL_WIRE_DELIVERY_ACCEPTED = 0,
    ZEL_WIRE_DELIVERY_DUPLICATE = 1,
    ZEL_WIRE_DELIVERY_FILTERED = 2,
    ZEL_WIRE_DELIVERY_REJECTED = 3
};

// Cumulative traffic, for a writer (everything it pushed), a reader
// (everything it received) or one matched pair. Every delivery counts in
// `sampleCount` and `sampleBytes` (a writer counts a sample once for each
// reader it went to; bytes are the serialized octets, RTPS headers not
// included); those that the reader did not accept count again under their
// outcome. A figure the wire does not supply (see the capabilities) is 0.
struct ZELWireCounters {
    int64_t sampleCount;
    int64_t sampleBytes;
    int64_t duplicateSampleCount;
    int64_t duplicateSampleBytes;
    int64_t filteredSampleCount;
    int64_t filteredSampleBytes;
    int64_t rejectedSampleCount;
    // A writer's octets sent again on its readers' request (repairs); for
    // the writer as a whole, 0 in a match's counters.
    int64_t pulledSampleBytes;
};

// What a wire supplies, as a bit set in its table's `capabilities`. A
// figure whose bit is clear is not available on that wire: the DDS layer
// reports it as 0 and never estimates it, as it does for the figures that
// no wire supplies (heartbeats, ACKs, NACKs, GAPs and their octets, pulled
// sample counts, send windows, uncommitted samples and the sequence-number
// marks of the protocol statuses). The statuses are plain numbers, so 0
// stands for both "none" and "not available"; which one it is on each wire
// is documented with the wire.
// - Samples and bytes pushed by writers and received by readers, in total
//   and per match.
#define ZEL_WIRE_SUPPLIES_SAMPLE_COUNTS 0x01u
// - A reader's filtered and rejected samples: the outcomes of its own
//   deliveries, in total and per match.
#define ZEL_WIRE_SUPPLIES_READER_OUTCOMES 0x02u
// - The same outcomes as the writer sees them: only a wire that reaches
//   the remote reader's decision can count them for the writer.
#define ZEL_WIRE_SUPPLIES_WRITER_OUTCOMES 0x04u
// - The writer's sequence number of every received sample, and with it a
//   reader's duplicate counts; without it the sample's sequence number is
//   ZEL_WIRE_SEQUENCE_NUMBER_UNKNOWN.
#define ZEL_WIRE_SUPPLIES_SEQUENCE_NUMBERS 0x08u
// - A writer's pulled (repair) octets.
#define ZEL_WIRE_SUPPLIES_PULLED_BYTES 0x10u
// - The locators of a writer's matched readers (ZELWireMatchInfo).
#define ZEL_WIRE_SUPPLIES_MATCH_LOCATORS 0x20u
// - Liveliness from the wire's own leases: a writer's lost liveliness
//   (getWriterStatusCounts) and each matched writer's liveliness as a
//   reader sees it (its listener's onLiveliness), asserted by writes and by
//   the assert operations. Without it the DDS layer runs the leases on its
//   own clock: a writer's from its writes and assertions, a reader's from
//   the samples it receives.
#define ZEL_WIRE_SUPPLIES_LIVELINESS 0x40u
// - Deadlines that writers offered and readers requested and missed
//   (the counts; the DDS layer still names the last instance).
#define ZEL_WIRE_SUPPLIES_DEADLINES 0x80u
// - A reader's samples lost on the way (a writer's samples it never got);
//   without it the DDS layer counts gaps in the sequence numbers, where the
//   wire tells them.
#define ZEL_WIRE_SUPPLIES_SAMPLE_LOST 0x100u

// The status counts that a wire keeps for an endpoint, cumulative since its
// creation; a count whose capability is clear is 0. A writer fills the
// first two, a reader the last two.
struct ZELWireStatusCounts {
    int64_t livelinessLostCount;      // ZEL_WIRE_SUPPLIES_LIVELINESS
    int64_t offeredDeadlineMissed;    // ZEL_WIRE_SUPPLIES_DEADLINES
    int64_t requestedDeadlineMissed;  // ZEL_WIRE_SUPPLIES_DEADLINES
    int64_t sampleLostCount;          // ZEL_WIRE_SUPPLIES_SAMPLE_LOST
};

// What discovery reports of an entity of the domain. A participant's GUID
// is its prefix followed by ZEL_WIRE_ENTITY_ID_PARTICIPANT; it has no topic,
// and whether it is vendor-specific is not known (reported false).
#define ZEL_WIRE_ENTITY_ID_PARTICIPANT 0x000001c1u

enum ZELWireEntityKind { ZEL_WIRE_ENTITY_PARTICIPANT = 0, ZEL_WIRE_ENTITY_WRITER = 1, ZEL_WIRE_ENTITY_READER = 2 };

struct ZELWireDiscoveredEntity {
    struct ZELWireGuid guid;
    ZELBoolean vendorSpecific;
    const char *topicName;  // NULL for a participant
    const char *typeName;   // NULL for a participant
};

// Given each discovered entity in turn; returning ZEL_FALSE stops the walk.
typedef ZELBoolean (*ZELWireDiscoveryVisitor)(void *context, const struct ZELWireDiscoveredEntity *entity);
// Given a remote participant's GUID prefix; ZEL_FALSE stops the walk.
typedef ZELBoolean (*ZELWireInconsistentTopicVisitor)(void *context, const uint32_t remotePrefix[3]);

struct ZELWire;
struct ZELWireParticipant;
struct ZELWireWriter;
struct ZELWireReader;
// A pending history replay to one newly matched reader; valid during the
// writer's onReplay callback only.
struct ZELWireReplay;

// Every match gets one onMatched on each side, and later exactly one
// onUnmatched on each side, before the delete of either endpoint returns.
// Incompatible QoS give one onIncompatible on each side instead, with the
// first policy found wanting (durability, deadline, ownership, liveliness,
// reliability, in that order). All three run on the thread that creates or
// deletes the endpoint that caused them.
struct ZELWireWriterListener {
    void *context;
    void (*onMatched)(void *context, const struct ZELWireMatchInfo *match);
    void (*onUnmatched)(void *context, const struct ZELWireMatchInfo *match);
    void (*onIncompatible)(void *context, const struct ZELWireGuid *remote, uint32_t policyId);
    // A reader that requests transient-local durability matched: under the
    // lock with which it serializes its writes, the writer calls
    // writeReplay for each sample of its history, oldest first, then
    // replayDone. Until then that reader receives none of the writer's live
    // samples, so none is lost or duplicated. Returning without replayDone
    // ends the replay all the same. `writer` is given because this may run
    // before the writer's creation returned. NULL when the writer keeps no
    // history; a wire that keeps durable data itself never calls it.
    void (*onReplay)(void *context, struct ZELWireWriter *writer, struct ZELWireReplay *replay,
                     const struct ZELWireGuid *reader);
};

struct ZELWireReaderListener {
    void *context;
    void (*onMatched)(void *context, const struct ZELWireMatchInfo *match);
    void (*onUnmatched)(void *context, const struct ZELWireMatchInfo *match);
    void (*onIncompatible)(void *context, const struct ZELWireGuid *remote, uint32_t policyId);
    // Runs on the writing thread (loopback) or a receive thread.
    enum ZELWireDeliveryResult (*onSample)(void *context, const struct ZELWireSample *sample);
    // A matched writer lost (alive false) or regained its liveliness, as
    // the wire's leases tell it; only on a wire that supplies liveliness,
    // on a thread of its own, after the writer's onMatched and before its
    // onUnmatched. May be NULL.
    void (*onLiveliness)(void *context, const struct ZELWireGuid *writer, ZELBoolean alive);
};

// What became of a write.
enum ZELWireWriteResult {
    ZEL_WIRE_WRITE_FAILED,  // refused or failed, logged
    ZEL_WIRE_WRITE_DONE,
    ZEL_WIRE_WRITE_TIMED_OUT,  // a reliable writer's history stayed full for as long as it may block
};

// A wire implementation. Creations return NULL and deletions ZEL_FALSE on
// failure, having logged why and changed nothing.
struct ZELWireOps {
    const char *name;
    uint32_t capabilities;  // ZEL_WIRE_SUPPLIES_* bits
    struct ZELWire *(*create)(void);
    // Refused while participants remain.
    ZELBoolean (*destroy)(struct ZELWire *wire);

    // `guidPrefix` proposes the participant's GUID prefix. A wire whose
    // network stack picks its own (an RTPS stack does) writes that one back,
    // and the DDS layer adopts it: a key then names the same entity on every
    // host that sees it.
    struct ZELWireParticipant *(*createParticipant)(struct ZELWire *wire, int32_t domainId, uint32_t guidPrefix[3]);
    // Refused while endpoints remain.
    ZELBoolean (*deleteParticipant)(struct ZELWireParticipant *participant);

    struct ZELWireWriter *(*createWriter)(struct ZELWireParticipant *participant,
                                          const struct ZELWireEndpointParams *params,
                                          const struct ZELWireWriterListener *listener);
    void (*deleteWriter)(struct ZELWireWriter *writer);
    struct ZELWireReader *(*createReader)(struct ZELWireParticipant *participant,
                                          const struct ZELWireEndpointParams *params,
                                          const struct ZELWireReaderListener *listener);
    void (*deleteReader)(struct ZELWireReader *reader);

    // Hands the sample to every matched reader. Dispose and unregister are
    // refused for a keyless writer.
    enum ZELWireWriteResult (*write)(struct ZELWireWriter *writer, const struct ZELWireSample *sample);
    // Hands a sample of the history to the reader of `replay` only.
    ZELBoolean (*writeReplay)(struct ZELWireWriter *writer, struct ZELWireReplay *replay,
                              const struct ZELWireSample *sample);
    void (*replayDone)(struct ZELWireWriter *writer, struct ZELWireReplay *replay);

    void (*getWriterCounters)(struct ZELWireWriter *writer, struct ZELWireCounters *counters);
    void (*getReaderCounters)(struct ZELWireReader *reader, struct ZELWireCounters *counters);
    // ZEL_FALSE when the remote endpoint is not matched.
    ZELBoolean (*getWriterMatchCounters)(struct ZELWireWriter *writer, const struct ZELWireGuid *reader,
                                         struct ZELWireCounters *counters);
    ZELBoolean (*getReaderMatchCounters)(struct ZELWireReader *reader, const struct ZELWireGuid *writer,
                                         struct ZELWireCounters *counters);

    // Discovery. Calls `visit` once for each entity of `kind` that
    // `participant` knows in its domain: the other participants, or every
    // writer or reader, its own included. A participant is known from its
    // creation, an endpoint from its creation until its deletion begins.
    // `visit` runs with the wire's lock held: it may allocate but must not
    // call the wire, take another lock or wait. ZEL_FALSE when a visit
    // stopped the walk.
    ZELBoolean (*visitDiscovered)(struct ZELWireParticipant *participant, enum ZELWireEntityKind kind,
                                  ZELWireDiscoveryVisitor visit, void *context);
    // Visits the participants of the domain, other than this one, with an
    // endpoint of topic `topicName` whose type name is not `typeName`: the
    // remote topics inconsistent with the participant's topic of that name,
    // since a remote topic is known through its endpoints. One with several
    // such endpoints may be visited more than once. The visitor must not
    // call the wire, take another lock or wait. ZEL_FALSE when a visit
    // stopped the walk, or (logged) when the wire ran out of memory.
    ZELBoolean (*visitInconsistentTopics)(struct ZELWireParticipant *participant, const char *topicName,
                                          const char *typeName, ZELWireInconsistentTopicVisitor visit, void *context);

    // Liveliness asserted without a write: of one writer (what a manual by
    // topic writer needs), or of every manual by participant writer of the
    // participant. NULL on a wire without ZEL_WIRE_SUPPLIES_LIVELINESS,
    // whose leases the DDS layer runs itself. ZEL_FALSE (logged) when the
    // wire refused it.
    ZELBoolean (*assertWriterLiveliness)(struct ZELWireWriter *writer);
    ZELBoolean (*assertParticipantLiveliness)(struct ZELWireParticipant *participant);
    // The endpoint's status counts; NULL on a wire that supplies none of
    // liveliness, deadlines and lost samples.
    void (*getWriterStatusCounts)(struct ZELWireWriter *writer, struct ZELWireStatusCounts *counts);
    void (*getReaderStatusCounts)(struct ZELWireReader *reader, struct ZELWireStatusCounts *counts);
};

// Every wire instance starts with its table.
struct ZELWire {
    const struct ZELWireOps *ops;
};

// The id of the first policy whose request `offered` does not meet, or 0:
// durability, deadline, ownership, liveliness, reliability, in that order,
// whatever wire matches the pair.
uint32_t ZELWireEndpointQos_firstIncompatiblePolicyI(const struct ZELWireEndpointQos *offered,
                                                     const struct ZELWireEndpointQos *requested);

// Counts one sample of `size` octets handed to a reader, with the reader's
// decision, as every wire counts it.
void ZELWireCounters_addI(struct ZELWireCounters *counters, int64_t size, enum ZELWireDeliveryResult result);

// The implementation called `name`; NULL (logged) when none has that name.
const struct ZELWireOps *ZELWire_findOps(const char *name);

// The wire of a factory: the one `property` names (the factory's
// "zel.wire"; NULL or empty when unset), else the one that the environment
// variable ZEL_WIRE names, else the default: "cyclone" where it is built,
// "loopback" elsewhere. NULL when the name that decides is unknown, logged
// under `context` with the name, where it came from and the known wires.
const struct ZELWireOps *ZELWire_chooseOps(const char *property, const char *context);

// The in-process wire.
extern const struct ZELWireOps ZELLoopbackWire_ops;
#ifdef ZEL_WIRE_HAS_CYCLONE
// RTPS over Eclipse Cyclone DDS.
extern const struct ZELWireOps ZELCycloneWire_ops;
#endif

ZEL_EXTERN_C_END

#endif
