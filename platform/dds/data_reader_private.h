// A reader's data path: its cache of instances and samples, its matched
// writers and its statuses. Private to vurnc.
#ifndef VURNC_DATA_READER_PRIVATE_H
#define VURNC_DATA_READER_PRIVATE_H

#include <mutex>

#include "data_path_private.h"
#include "vurnc/dds_subscription.h"
#include "vurncore/type_plugin.h"

// A sample in the cache; `data` is a plug-in sample, or NULL for the
// invalid-data sample that announces a dispose or unregistration.
struct DDS_ReaderSampleI {
    DDS_ReaderSampleI *next;  // oldest first within its instance
    void *data;
    bool read;
    DDS_SampleInfo info;      // states are filled when handed out
};

struct DDS_ReaderInstanceI {
    DDS_ReaderInstanceI *next;  // in order of first arrival
    uint8_t keyHash[16];
    void *key;                  // a plug-in sample holding the key; NULL for a keyless type
    DDS_UnsignedLong instanceState;
    bool viewed;                // some sample was read or taken since it became alive
    DDS_ReaderSampleI *oldest;
    DDS_ReaderSampleI *newest;
    DDS_Long sampleCount;
    DDS_Long disposedGenerations;
    DDS_Long noWritersGenerations;
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
    ZELWireCounters base;    // the match's counters at the last reset of its protocol status
};

// The record a loan keeps in the sequence's read token: the lent samples,
// owned by the loan (taken ones moved, read ones copied) so that the cache
// may drop its own while the application holds them.
struct DDS_ReaderLoanI {
    DDS_ReaderLoanI *next;
    DDS_Long count;
    void **buffer;                // the plug-in samples lent in `data`
    DDS_SampleInfo *infos;        // lent in `info_seq`
};

struct DDS_DataReaderPathI {
    std::mutex mutex;
    DDS_DataReader *reader;                 // fixed
    const PRESTypePlugin *plugin;           // the related topic's registered type, fixed
    PRESTypePluginParticipantData participantData; // fixed
    PRESTypePluginEndpointData endpointData;       // fixed
    ZELWireReader *wireReader;              // fixed once created
    bool keyed;                             // fixed
    bool keepAll;                           // fixed
    DDS_Long depth;                         // fixed
    DDS_Long maxSamples;                    // fixed; -1 unlimited
    DDS_Long maxInstances;                  // fixed; -1 unlimited
    DDS_Long maxSamplesPerInstance;         // fixed; -1 unlimited
    DDS_ReaderInstanceI *instances;         // [mutex] first-arrival order
    DDS_ReaderInstanceI *lastInstance;      // [mutex]
    DDS_Long instanceCount;                 // [mutex]
    DDS_Long sampleCount;                   // [mutex]
    DDS_Long sampleCountPeak;               // [mutex]
    DDS_SampleRejectedStatus rejected;      // [mutex]
    DDS_SampleLostStatus lost;              // [mutex]
    DDS_ReaderRemoteWriterI *remoteWriters; // [mutex] those that sent samples, until unmatched
    int64_t duplicateCount;                 // [mutex]
    DDS_ReaderLoanI *loans;                 // [mutex] outstanding loans
    DDS_SubscriptionMatchedStatus matched;  // [mutex]
    DDS_RequestedIncompatibleQosStatus incompatible; // [mutex]; its policies stay empty
    int64_t receivedCount;                  // [mutex] samples accepted into the cache
    DDS_ReaderMatchI *matches;              // [mutex] matched writers with a record
    DDS_LivelinessChangedStatus liveliness; // [mutex]
    DDS_RequestedDeadlineMissedStatus deadlineMissed; // [mutex]
    ZELWireCounters protocolBase;           // [mutex] the reader's counters at the last reset
};

// Whether the reader has outstanding loans (its deletion is refused then).
bool DDS_DataReader_hasLoansI(DDS_DataReader *reader);

// A read condition: the states it selects, fixed at creation.
struct DDS_ReadConditionImpl {
    DDS_ReadConditionImpl *next;        // [reader's entity lock] in the reader's list
    DDS_DataReader *reader;             // fixed
    DDS_SampleStateMask sampleStates;   // fixed
    DDS_ViewStateMask viewStates;       // fixed
    DDS_InstanceStateMask instanceStates; // fixed
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

#endif
