// What the writer and reader data paths share: conversions between the DDS
// layer's handles, times and QoS and the wire's, and the points at which
// the entity layer attaches endpoints to the wire. C++ only (private to
// vurnc).
//
// Locking. The data path of an endpoint has its own mutex, below every
// entity lock: a thread may write or read while it holds any entity lock
// (the monitoring plug-in writes while it holds a monitored participant's).
// A writer holds its mutex while the wire hands its sample to local
// readers, whose callbacks take the reader's mutex: so a reader's mutex is
// never held while a writer's is taken, nor while a wire operation or the
// monitor is called.
#ifndef VURNC_DATA_PATH_PRIVATE_H
#define VURNC_DATA_PATH_PRIVATE_H

#include <cstring>

#include "entity_private.h"

// ---- attachment, called by the entity layer with no entity lock held ----
// Makes what an endpoint being enabled needs (type plug-in endpoint data,
// history or cache, the wire endpoint). Matches found on the way are
// reported from inside, to the endpoint and to the monitor. On failure
// (logged) nothing is left and the endpoint stays disabled.
DDS_ReturnCode_t DDS_DataWriter_attachI(DDS_DataWriter *writer);
DDS_ReturnCode_t DDS_DataReader_attachI(DDS_DataReader *reader);
// Undoes the attachment of an endpoint being deleted (unmatches are
// reported from inside); nothing to do for one never attached.
void DDS_DataWriter_detachI(DDS_DataWriter *writer);
void DDS_DataReader_detachI(DDS_DataReader *reader);

// ---- conversions ----
// The entity's GUID (its builtin-topic key) in the wire's form.
ZELWireGuid DDS_Entity_getWireGuidI(const DDS_EntityImpl *entity);
// The instance handle of a remote endpoint: its GUID's four words, each
// most significant octet first, length 16, valid.
DDS_InstanceHandle_t DDS_InstanceHandle_fromWireGuidI(const ZELWireGuid *guid);
// The instance handle of a key hash: its 16 octets, length 16, valid.
DDS_InstanceHandle_t DDS_InstanceHandle_fromKeyHashI(const uint8_t keyHash[16]);
// Whether a handle designates no instance (NULL or not valid).
bool DDS_Handle_isNilI(const DDS_InstanceHandle_t *handle);
// Whether two handles are equal (valid flag, length and octets).
bool DDS_InstanceHandle_equalsI(const DDS_InstanceHandle_t *left, const DDS_InstanceHandle_t *right);

// Durations and times; an infinite duration is infinite on both sides.
struct ZELNtpTime DDS_Duration_toNtpI(const DDS_Duration_t *duration);
DDS_Duration_t DDS_Duration_fromNtpI(const struct ZELNtpTime *time);
struct ZELNtpTime DDS_Time_toNtpI(const DDS_Time_t *time);
DDS_Time_t DDS_Time_fromNtpI(const struct ZELNtpTime *time);
// The current time of the factory's clock (monotonic; deadlines, lifespans
// and liveliness run on it) and the wall clock (source timestamps); false
// (logged under `context`) when a clock fails.
bool DDS_DomainParticipantFactory_getNowI(DDS_DomainParticipantFactory *factory, struct ZELNtpTime *now,
                                          const char *context);
bool DDS_DomainParticipantFactory_getWallTimeI(struct ZELNtpTime *now, const char *context);
// How many whole `period`s fit in `now - since` (0 when the period is
// infinite or zero, or time stood still): deadlines and leases that lapsed.
int64_t DDS_NtpTime_periodsSinceI(const struct ZELNtpTime *since, const struct ZELNtpTime *now,
                                  const struct ZELNtpTime *period);

// What matching needs of an endpoint's QoS: writers and readers name those
// policies alike.
template <typename Q>
ZELWireEndpointQos DDS_WireEndpointQos_fromQosI(const Q *qos) {
    ZELWireEndpointQos wire{};
    wire.reliabilityKind = static_cast<int32_t>(qos->reliability.kind);
    wire.durabilityKind = static_cast<int32_t>(qos->durability.kind);
    wire.deadlinePeriod = DDS_Duration_toNtpI(&qos->deadline.period);
    wire.livelinessKind = static_cast<int32_t>(qos->liveliness.kind);
    wire.livelinessLeaseDuration = DDS_Duration_toNtpI(&qos->liveliness.lease_duration);
    wire.ownershipKind = static_cast<int32_t>(qos->ownership.kind);
    wire.historyKind = static_cast<int32_t>(qos->history.kind);
    wire.historyDepth = qos->history.depth;
    return wire;
}

// The wire of the endpoint's factory.
inline ZELWire *DDS_Entity_getWireI(const DDS_EntityImpl *entity) { return entity->participant->factory->wire; }

// A communication status of an endpoint that is not enabled yet: nothing
// has happened, every count is 0 and every last handle nil. A list in the
// status keeps its buffer and becomes empty.
template <typename Status>
void DDS_Status_setInitialI(Status *status) {
    std::memset(static_cast<void *>(status), 0, sizeof(*status));
}
inline void DDS_Status_setInitialI(DDS_OfferedIncompatibleQosStatus *status) {
    status->total_count = 0;
    status->total_count_change = 0;
    status->last_policy_id = {};
    DDS_QosPolicyCountSeq_set_length(&status->policies, 0);
}
inline void DDS_Status_setInitialI(DDS_RequestedIncompatibleQosStatus *status) {
    status->total_count = 0;
    status->total_count_change = 0;
    status->last_policy_id = {};
    DDS_QosPolicyCountSeq_set_length(&status->policies, 0);
}

#endif
