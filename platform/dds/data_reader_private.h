// A reader's data path: its cache of instances and samples, its matched
// writers and its statuses. Private to vurnc.
#ifndef VURNC_DATA_READER_PRIVATE_H
#define VURNC_DATA_READER_PRIVATE_H

#include <mutex>

#include "data_path_private.h"
#include "vurnc/dds_subscription.h"
#include "vurncore/clock.h"
#include "vurncore/type_plugin.h"

// A sample in the cache; `data` is a plug-in sample, or NULL for the
// invalid-data sample that announces a dispose or unregistration.
struct DDS_ReaderSampleI {
    DDS_ReaderSampleI *next;  // oldest first within its instance
    void *data;
    bool read;
    DDS_SampleInfo info;   // states are filled when handed out
    uint64_t expiresAtNs;  // factory clock; UINT64_MAX when its writer gave it no lifespan
};

// A writer that wrote an instance and has not unregistered it.
struct DDS_ReaderInstanceWriterI {
    DDS_ReaderInstanceWriterI *next;
    ZELWireGuid guid;
};

struct DDS_ReaderInstanceI {
    DDS_ReaderInstanceI *next;  // in order of first arrival
    uint8_t keyHash[16];
    void *key;  // a plug-in sample holding the key; NULL for a keyless type
    DDS_UnsignedLong instanceState;
    bool viewed;  // some sample was read or taken since it became alive
    DDS_ReaderSampleI *oldest;
    DDS_ReaderSampleI *newest;
    DDS_Long sampleCount;
    DDS_Long disposedGenerations;
    DDS_Long noWritersGenerations;
    DDS_ReaderInstanceWriterI *writers;  // those it counts as its writers
    bool hasData;                        // a data sample was accepted since it was made
    ZELNtpTime lastData;                 // factory clock: the last data sample accepted
    int64_t missedDeadlines;             // deadline periods since lastData already counted
    bool owned;                          // exclusive ownership: `owner` owns it
    ZELWireGuid owner;
    int32_t ownerStrength;
};

// What the reader remembers of a writer that sent it samples: the last
// sequence number, to recognize duplicates and gaps.
struct DDS_ReaderRemoteWriterI {
    DDS_ReaderRemoteWriterI *next;
    ZELWireGuid guid;
    int64_t lastSequenceNumber;
};

// A matched writer as the reader follows it.
struct DDS_ReaderMatchI {
    DDS_ReaderMatchI *next;
    ZELWireGuid guid;
    ZELWireCounters base;      // the match's counters at the last reset of its protocol status
    ZELNtpTime leaseDuration;  // its liveliness lease; infinite for an automatic writer
    ZELNtpTime lastHeard;      // factory clock: its match or its last sample
    bool alive;
};

// The record a loan keeps in the sequence's read token: the lent samples,
// owned by the loan (taken ones moved, read ones copied) so that the cache
// may drop its own while the application holds them.
struct DDS_ReaderLoanI {
    DDS_ReaderLoanI *next;
    DDS_Long count;
    void **buffer;          // the plug-in samples lent in `data`
    DDS_SampleInfo *infos;  // lent in `info_seq`
};

struct DDS_DataReaderPathI {
    std::mutex mutex;
    DDS_DataReader *reader;                         // fixed
    const PRESTypePlugin *plugin;                   // the related topic's registered type, fixed
    PRESTypePluginParticipantData participantData;  // fixed
    PRESTypePluginEndpointData endpointData;        // fixed
    ZELWireReader *wireReader;                      // fixed once created
    bool keyed;                                     // fixed
    bool keepAll;                                   // fixed
    DDS_Long depth;                                 // fixed
    DDS_Long maxSamples;                            // fixed; -1 unlimited
    DDS_Long maxInstances;                          // fixed; -1 unlimited
    DDS_Long maxSamplesPerInstance;                 // fixed; -1 unlimited
    DDS_ReaderInstanceI *instances;                 // [mutex] first-arrival order
    DDS_ReaderInstanceI *lastInstance;              // [mutex]
    DDS_Long instanceCount;                         // [mutex]
    DDS_Long sampleCount;                           // [mutex]
    DDS_Long sampleCountPeak;                       // [mutex]
    // No cached sample expires before this (factory clock): until then an
    // arrival or a take does not look for expired samples [mutex].
    uint64_t earliestExpiryNs = UINT64_MAX;
    DDS_SampleRejectedStatus rejected;                 // [mutex]
    DDS_SampleLostStatus lost;                         // [mutex]
    DDS_ReaderRemoteWriterI *remoteWriters;            // [mutex] those that sent samples, until unmatched
    int64_t duplicateCount;                            // [mutex]
    DDS_ReaderLoanI *loans;                            // [mutex] outstanding loans
    DDS_SubscriptionMatchedStatus matched;             // [mutex]
    DDS_RequestedIncompatibleQosStatus incompatible;   // [mutex]; its policies stay empty
    int64_t receivedCount;                             // [mutex] samples accepted into the cache
    DDS_ReaderMatchI *matches;                         // [mutex] matched writers with a record
    DDS_LivelinessChangedStatus liveliness;            // [mutex]
    DDS_RequestedDeadlineMissedStatus deadlineMissed;  // [mutex]
    ZELWireCounters protocolBase;                      // [mutex] the reader's counters at the last reset
    DDS_ContentFilteredTopic *filter;                  // fixed; NULL when the reader's topic is not filtered
    bool exclusive;                                    // fixed: exclusive ownership
    ZELNtpTime deadline;                               // [mutex] refreshed by set_qos
    ZELNtpTime minimumSeparation;                      // [mutex] refreshed by set_qos
    bool hasNow;                                       // [mutex] the factory clock answered at the last catch-up
    ZELNtpTime now;                                    // [mutex] factory clock at the last catch-up; stamps arrivals
};

// Whether the reader has outstanding loans (its deletion is refused then).
bool DDS_DataReader_hasLoansI(DDS_DataReader *reader);

// A read condition: the states it selects, fixed at creation.
struct DDS_ReadConditionImpl {
    DDS_ReadConditionImpl *next;           // [reader's entity lock] in the reader's list
    DDS_DataReader *reader;                // fixed
    DDS_SampleStateMask sampleStates;      // fixed
    DDS_ViewStateMask viewStates;          // fixed
    DDS_InstanceStateMask instanceStates;  // fixed
};

// Whether some sample of the cache is in the given states (false for a
// reader that is not enabled).
bool DDS_DataReader_hasSamplesInStatesI(DDS_DataReader *reader, DDS_SampleStateMask sampleStates,
                                        DDS_ViewStateMask viewStates, DDS_InstanceStateMask instanceStates);

// ---- cache (reader_cache.cpp); all under the path's mutex ----
// Stores what the wire delivered; the wire counts the outcome.
ZELWireDeliveryResult DDS_ReaderCache_storeI(DDS_DataReaderPathI *path, const ZELWireSample *sample);
// The instance of a key hash, or NULL.
DDS_ReaderInstanceI *DDS_ReaderCache_findInstanceI(DDS_DataReaderPathI *path, const uint8_t keyHash[16]);
// Frees a sample and its plug-in data.
void DDS_ReaderCache_freeSampleI(DDS_DataReaderPathI *path, DDS_ReaderSampleI *sample);
// Forgets what the cache knew of an unmatched writer's sequence numbers.
void DDS_ReaderCache_forgetWriterI(DDS_DataReaderPathI *path, const ZELWireGuid *guid);
// Frees every instance, sample and match record (at detach).
void DDS_ReaderCache_clearI(DDS_DataReaderPathI *path);

// ---- QoS on arrival and over time (data_reader_qos.cpp), under the
// path's mutex ----
// Whether a delivered sample for `instance` (NULL: a new one) goes on into
// the cache; when not, `*result` is what the wire is told (filtered by
// content or time, or received and dropped: a sample of a writer that does
// not own the instance, an unregistration by one of several writers).
bool DDS_DataReaderPath_admitI(DDS_DataReaderPathI *path, DDS_ReaderInstanceI *instance, const ZELWireSample *sample,
                               ZELWireDeliveryResult *result);
// Notes a sample just stored as `record` of `instance`: its expiry, its
// writer's liveliness, the instance's writers, owner and deadline.
void DDS_DataReaderPath_acceptedI(DDS_DataReaderPathI *path, DDS_ReaderInstanceI *instance, DDS_ReaderSampleI *record,
                                  const ZELWireSample *sample);
// Reads the factory clock and brings the reader up to it: writers whose
// lease lapsed lose their liveliness, deadlines missed are counted,
// samples whose lifespan ended leave the cache. Runs before every arrival,
// read, take and status read.
void DDS_DataReaderPath_catchUpI(DDS_DataReaderPathI *path);
// A matched writer lost or regained its liveliness, as the wire tells it.
void DDS_DataReaderPath_setWriterAliveI(DDS_DataReaderPathI *path, const ZELWireGuid *guid, bool alive);
// A writer that unmatched (`unmatched`) or lost its liveliness no longer
// keeps its instances alive nor owns them.
void DDS_DataReaderPath_releaseWriterI(DDS_DataReaderPathI *path, const ZELWireGuid *guid, bool unmatched);
// Copies the QoS the path keeps from the reader's QoS.
void DDS_DataReaderPath_refreshQosI(DDS_DataReaderPathI *path, const DDS_DataReaderQos *qos);

// ---- the reader's part of its attachment (data_reader_attach.cpp) ----
// Fills what the path keeps of the reader being attached; under its lock.
void DDS_DataReaderPath_initializeI(DDS_DataReaderPathI *path, DDS_DataReader *reader);
// The wire listener of the path's reader.
void DDS_DataReaderPath_fillListenerI(DDS_DataReaderPathI *path, ZELWireReaderListener *listener);

#endif
