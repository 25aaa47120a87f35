// A writer's data path: its history of instances and samples, its matched
// readers and its statuses. Private to vurnc.
#ifndef VURNC_DATA_WRITER_PRIVATE_H
#define VURNC_DATA_WRITER_PRIVATE_H

#include <mutex>

#include "data_path_private.h"
#include "vurncore/clock.h"
#include "vurncore/type_plugin.h"

// A sample kept for late joiners; its serialized octets follow the record.
struct DDS_WriterSampleI {
    DDS_WriterSampleI *prev;  // oldest first, over all instances
    DDS_WriterSampleI *next;
    struct DDS_WriterInstanceI *instance;
    ZELWireSample wire;    // wire.data points at the octets after the record
    ZELNtpTime writtenAt;  // factory clock, for the lifespan
};

struct DDS_WriterInstanceI {
    DDS_WriterInstanceI *next;
    DDS_WriterInstanceI *hashNext;  // the next instance of its bucket in the path's index by key hash
    DDS_WriterInstanceI *keyNext;   // the next instance of its bucket in the path's index by serialized key
    // The instance written right after this one last time: writers that go
    // over their instances in the same order each time find the next one
    // without the index, and have it in cache when they get there. At most
    // one instance has a given successor, its predecessor.
    DDS_WriterInstanceI *successor;
    DDS_WriterInstanceI *predecessor;
    uint32_t keyCode;  // a cheap hash of the serialized key, which picks that bucket
    uint32_t keySize;  // the key's serialized octets (with encapsulation) follow the record; 0 when keyless
    uint8_t keyHash[16];
    bool registered;
    DDS_Long sampleCount;     // samples of this instance in the history
    ZELNtpTime lastWrite;     // factory clock, for the offered deadline
    int64_t missedDeadlines;  // deadline periods since lastWrite already counted
};

struct DDS_WriterMatchI {
    DDS_WriterMatchI *next;
    ZELWireGuid guid;
    uint32_t locatorCount;
    ZELNetioLocator *locators;
    ZELWireCounters base;  // the match's counters at its last reset
};

// Policy ids an incompatibility can name are below this.
constexpr uint32_t DDS_WRITER_POLICY_COUNT_I = 12;

struct DDS_DataWriterPathI {
    std::mutex mutex;
    DDS_DataWriter *writer;                         // fixed
    const PRESTypePlugin *plugin;                   // the topic's registered type, fixed
    PRESTypePluginParticipantData participantData;  // fixed
    PRESTypePluginEndpointData endpointData;        // fixed
    ZELWireWriter *wireWriter;                      // fixed once created
    bool keyed;                                     // fixed
    bool durable;                                   // transient local or stronger; fixed
    bool keepAll;                                   // fixed
    DDS_Long depth;                                 // fixed
    DDS_Long maxSamples;                            // fixed; -1 unlimited
    DDS_Long maxInstances;                          // fixed; -1 unlimited
    DDS_Long maxSamplesPerInstance;                 // fixed; -1 unlimited
    ZELNtpTime deadline;                            // [mutex] refreshed by set_qos
    ZELNtpTime lifespan;                            // [mutex] refreshed by set_qos
    DDS_Long strength;                              // [mutex] refreshed by set_qos
    bool manualLiveliness;                          // fixed
    ZELNtpTime leaseDuration;                       // fixed
    ZELNtpTime lastAssertion;                       // [mutex] factory clock
    bool livelinessLost;                            // [mutex] lost since the last assertion
    DDS_LivelinessLostStatus liveliness;            // [mutex]
    ZELWireCounters protocolBase;                   // [mutex] the writer's counters at the last reset
    int64_t nextSequenceNumber;                     // [mutex]
    DDS_WriterInstanceI *instances;                 // [mutex]
    DDS_Long instanceCount;                         // [mutex]
    // [mutex] Every instance twice, so that finding one does not walk them
    // all: by its key hash in the first bucketCount buckets (for handles),
    // by its serialized key in the next bucketCount (for samples, whose key
    // hash is then a digest only for new instances). NULL (no index yet, or
    // it could not be allocated): instances are found by walking the list.
    DDS_WriterInstanceI **buckets;
    uint32_t bucketCount;                                          // [mutex] per index
    DDS_WriterInstanceI *lastWritten;                              // [mutex] NULL before the first write
    DDS_WriterSampleI *oldest;                                     // [mutex]
    DDS_WriterSampleI *newest;                                     // [mutex]
    DDS_Long sampleCount;                                          // [mutex]
    DDS_Long sampleCountPeak;                                      // [mutex]
    DDS_WriterMatchI *matches;                                     // [mutex]
    DDS_PublicationMatchedStatus matched;                          // [mutex]
    DDS_OfferedDeadlineMissedStatus deadlineMissed;                // [mutex]
    DDS_OfferedIncompatibleQosStatus incompatible;                 // [mutex]; its policies stay empty
    DDS_Long incompatiblePolicyCounts[DDS_WRITER_POLICY_COUNT_I];  // [mutex] by policy id
    // [mutex] Where samples are serialized: kept from write to write up to
    // DDS_WRITER_SCRATCH_KEPT_MAX_I octets, so that a write needs neither
    // a sizing pass nor an allocation once it has grown.
    uint8_t *scratch;
    uint32_t scratchSize;  // [mutex]
};

constexpr uint32_t DDS_WRITER_SCRATCH_KEPT_MAX_I = 64u * 1024u;

// ---- history (writer_history.cpp); all under the path's mutex ----
// The instance of `keyHash`, or NULL.
DDS_WriterInstanceI *DDS_WriterHistory_findInstanceI(DDS_DataWriterPathI *path, const uint8_t keyHash[16]);
// The instance whose serialized key is `key`, or NULL.
DDS_WriterInstanceI *DDS_WriterHistory_findInstanceByKeyI(DDS_DataWriterPathI *path, const uint8_t *key,
                                                          uint32_t keySize);
// A new registered instance holding a copy of `key`, the serialized key;
// NULL (logged) when out of heap or over max_instances.
DDS_WriterInstanceI *DDS_WriterHistory_addInstanceI(DDS_DataWriterPathI *path, const uint8_t keyHash[16],
                                                    const uint8_t *key, uint32_t keySize, const char *context);
// The instance's serialized key.
inline const uint8_t *DDS_WriterInstance_keyI(const DDS_WriterInstanceI *instance) {
    return reinterpret_cast<const uint8_t *>(instance + 1);
}
// Whether the history may take one more sample of `instance` without
// exceeding a KEEP_ALL limit.
bool DDS_WriterHistory_hasRoomI(const DDS_DataWriterPathI *path, const DDS_WriterInstanceI *instance);
// Keeps a copy of a sample just written (durable writers only), dropping
// the instance's oldest beyond a KEEP_LAST depth; false (logged) when out
// of heap.
bool DDS_WriterHistory_keepI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance, const ZELWireSample *sample,
                             const ZELNtpTime *now, const char *context);
// Notes that a sample of `instance` was just written, for the next write's
// guess.
void DDS_WriterHistory_noteWrittenI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance);
// Releases the samples of an instance, and the instance itself when
// `removeInstance`.
void DDS_WriterHistory_releaseInstanceI(DDS_DataWriterPathI *path, DDS_WriterInstanceI *instance, bool removeInstance);
// Drops samples whose lifespan ended by `now`.
void DDS_WriterHistory_expireI(DDS_DataWriterPathI *path, const ZELNtpTime *now);
// Frees everything the history holds.
void DDS_WriterHistory_clearI(DDS_DataWriterPathI *path);

// ---- matches (data_writer_match.cpp) ----
// The wire listener of the path's writer.
void DDS_DataWriterPath_fillListenerI(DDS_DataWriterPathI *path, ZELWireWriterListener *listener);

// ---- deadlines and liveliness (data_writer_status.cpp): periods that
// elapsed by `now` count lazily ----
// Counts them; under the path's mutex.
void DDS_DataWriterPath_checkDeadlinesI(DDS_DataWriterPathI *path, const ZELNtpTime *now);
// Takes the path's mutex for a status read, deadlines and history brought
// up to the factory's clock first.
std::unique_lock<std::mutex> DDS_DataWriterPath_lockUpToDateI(DDS_DataWriterPathI *path, const char *context);

// ---- the writer's part of its attachment (data_writer_attach.cpp) ----
// Copies the QoS the path keeps from the writer's QoS.
void DDS_DataWriterPath_refreshQosI(DDS_DataWriterPathI *path, const DDS_DataWriterQos *qos);
// Fills what the path keeps of the writer being attached; under its lock.
void DDS_DataWriterPath_initializeI(DDS_DataWriterPathI *path, DDS_DataWriter *writer);
// Frees the history and the match records (at detach).
void DDS_DataWriterPath_clearI(DDS_DataWriterPathI *path);

#endif
