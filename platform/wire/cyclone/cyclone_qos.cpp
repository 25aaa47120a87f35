// What Cyclone entities carry of their vurnc entity: its GUID in USER_DATA,
// and the QoS that matching and delivery need.
#include <cstring>

#include "cyclone_private.h"
#include "vurncore/clock.h"
#include "vurncore/log.h"

namespace {

const uint8_t userDataMagic[4] = {'Z', 'E', 'L', 'g'};

dds_duration_t durationFromNtp(const ZELNtpTime *time) {
    return ZELNtpTime_isInfinite(time) ? DDS_INFINITY : static_cast<dds_duration_t>(ZELNtpTime_toNanoseconds(time));
}

ZELNtpTime ntpFromDuration(dds_duration_t duration) {
    ZELNtpTime time{};
    if (duration == DDS_INFINITY || duration < 0) {
        time.sec = ZEL_NTP_TIME_SEC_MAX;
        time.frac = ZEL_NTP_TIME_FRAC_MAX;
    } else {
        ZELNtpTime_fromNanoseconds(&time, static_cast<uint64_t>(duration));
    }
    return time;
}

}  // namespace

void ZELCycloneGuid_toUserDataI(const ZELWireGuid *guid, bool vendorSpecific,
                                uint8_t octets[ZEL_CYCLONE_USER_DATA_SIZE]) {
    std::memcpy(octets, userDataMagic, 4);
    for (int word = 0; word < 4; ++word) {
        for (int octet = 0; octet < 4; ++octet) {
            octets[4 + word * 4 + octet] = static_cast<uint8_t>(guid->value[word] >> (24 - 8 * octet));
        }
    }
    octets[20] = vendorSpecific ? ZEL_CYCLONE_USER_DATA_VENDOR_SPECIFIC : 0u;
}

void ZELCycloneGuid_fromQosI(const dds_qos_t *qos, const void *cycloneGuid, ZELWireGuid *guid, bool *vendorSpecific) {
    void *value = nullptr;
    size_t size = 0;
    const uint8_t *octets = static_cast<const uint8_t *>(cycloneGuid);
    *vendorSpecific = false;
    if (qos != nullptr && dds_qget_userdata(qos, &value, &size) && size == ZEL_CYCLONE_USER_DATA_SIZE &&
        std::memcmp(value, userDataMagic, 4) == 0) {
        octets = static_cast<const uint8_t *>(value) + 4;
        *vendorSpecific = (static_cast<const uint8_t *>(value)[20] & ZEL_CYCLONE_USER_DATA_VENDOR_SPECIFIC) != 0;
    }
    for (int word = 0; word < 4; ++word) {
        guid->value[word] = ZELCycloneGuid_wordI(octets, word);
    }
    dds_free(value);
}

void ZELCycloneRemote_fromQosI(const dds_qos_t *qos, ZELCycloneRemoteI *remote) {
    dds_reliability_kind_t reliability = DDS_RELIABILITY_BEST_EFFORT;
    dds_duration_t blocking = 0;
    if (dds_qget_reliability(qos, &reliability, &blocking)) {
        remote->qos.reliabilityKind = reliability == DDS_RELIABILITY_RELIABLE ? 1 : 0;
    }
    dds_durability_kind_t durability = DDS_DURABILITY_VOLATILE;
    if (dds_qget_durability(qos, &durability)) {
        remote->qos.durabilityKind = static_cast<int32_t>(durability);
    }
    dds_duration_t deadline = DDS_INFINITY;
    dds_qget_deadline(qos, &deadline);
    remote->qos.deadlinePeriod = ntpFromDuration(deadline);
    dds_liveliness_kind_t liveliness = DDS_LIVELINESS_AUTOMATIC;
    dds_duration_t lease = DDS_INFINITY;
    dds_qget_liveliness(qos, &liveliness, &lease);
    remote->qos.livelinessKind = static_cast<int32_t>(liveliness);
    remote->qos.livelinessLeaseDuration = ntpFromDuration(lease);
    dds_ownership_kind_t ownership = DDS_OWNERSHIP_SHARED;
    dds_qget_ownership(qos, &ownership);
    remote->qos.ownershipKind = static_cast<int32_t>(ownership);
    int32_t strength = 0;
    dds_qget_ownership_strength(qos, &strength);
    remote->ownershipStrength = strength;
    dds_duration_t lifespan = DDS_INFINITY;
    dds_qget_lifespan(qos, &lifespan);
    remote->lifespan = ntpFromDuration(lifespan);
}

dds_qos_t *ZELCycloneQos_fromEndpointI(const ZELWireEndpointParams *params, bool isWriter) {
    dds_qos_t *qos = dds_create_qos();
    if (qos == nullptr) {
        ZELLog_printContextAndMsg("ZELCycloneQos_fromEndpointI", &ZEL_LOG_CREATION_FAILURE_s, "qos");
        return nullptr;
    }
    const ZELWireEndpointQos *wire = &params->qos;
    dds_qset_reliability(qos, wire->reliabilityKind != 0 ? DDS_RELIABILITY_RELIABLE : DDS_RELIABILITY_BEST_EFFORT,
                         DDS_MSECS(100));
    // Transient and persistent need a durability service, which this wire
    // does not have: the writer keeps what late joiners get.
    dds_qset_durability(qos, wire->durabilityKind != 0 ? DDS_DURABILITY_TRANSIENT_LOCAL : DDS_DURABILITY_VOLATILE);
    // The DDS layer keeps the reader's history; Cyclone's reader only hands
    // samples over and must drop none on the way.
    if (isWriter && wire->historyKind == 0) {
        dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, wire->historyDepth > 0 ? wire->historyDepth : 1);
    } else {
        dds_qset_history(qos, DDS_HISTORY_KEEP_ALL, DDS_LENGTH_UNLIMITED);
    }
    dds_qset_deadline(qos, durationFromNtp(&wire->deadlinePeriod));
    dds_qset_liveliness(qos, static_cast<dds_liveliness_kind_t>(wire->livelinessKind),
                        durationFromNtp(&wire->livelinessLeaseDuration));
    dds_qset_ownership(qos, wire->ownershipKind != 0 ? DDS_OWNERSHIP_EXCLUSIVE : DDS_OWNERSHIP_SHARED);
    // The DDS layer decides when an unregistration disposes: Cyclone sends
    // what it is given.
    if (isWriter) {
        dds_qset_writer_data_lifecycle(qos, false);
    }
    uint8_t userData[ZEL_CYCLONE_USER_DATA_SIZE];
    ZELCycloneGuid_toUserDataI(&params->guid, params->vendorSpecific != ZEL_FALSE, userData);
    dds_qset_userdata(qos, userData, sizeof userData);
    const dds_data_representation_id_t xcdr1 = DDS_DATA_REPRESENTATION_XCDR1;
    dds_qset_data_representation(qos, 1, &xcdr1);
    return qos;
}
