// Conversions that the writer and reader data paths share.
#include <cstring>

#include "data_path_private.h"
#include "vurncore/clock.h"
#include "vurncore/osapi.h"

ZELWireGuid DDS_Entity_getWireGuidI(const DDS_EntityImpl *entity) {
    ZELWireGuid guid{};
    for (int word = 0; word < 4; ++word) {
        guid.value[word] = static_cast<uint32_t>(entity->key.value[word]);
    }
    return guid;
}

DDS_InstanceHandle_t DDS_InstanceHandle_fromWireGuidI(const ZELWireGuid *guid) {
    DDS_InstanceHandle_t handle{};
    for (int word = 0; word < 4; ++word) {
        for (int octet = 0; octet < 4; ++octet) {
            handle.value[word * 4 + octet] = static_cast<DDS_Octet>(guid->value[word] >> (24 - 8 * octet));
        }
    }
    handle.length = 16;
    handle.isValid = DDS_BOOLEAN_TRUE;
    return handle;
}

DDS_InstanceHandle_t DDS_InstanceHandle_fromKeyHashI(const uint8_t keyHash[16]) {
    DDS_InstanceHandle_t handle{};
    std::memcpy(handle.value, keyHash, sizeof(handle.value));
    handle.length = 16;
    handle.isValid = DDS_BOOLEAN_TRUE;
    return handle;
}

bool DDS_Handle_isNilI(const DDS_InstanceHandle_t *handle) { return handle == nullptr || !handle->isValid; }

bool DDS_InstanceHandle_equalsI(const DDS_InstanceHandle_t *left, const DDS_InstanceHandle_t *right) {
    return left->isValid == right->isValid && left->length == right->length &&
           std::memcmp(left->value, right->value, sizeof(left->value)) == 0;
}

// ---- times ----

static constexpr uint64_t DDS_NANOSECONDS_PER_SECOND_I = 1000000000u;

static bool DDS_Duration_isInfiniteI(DDS_Long sec, DDS_UnsignedLong nanosec) {
    return sec == DDS_DURATION_INFINITE_SEC && nanosec == DDS_DURATION_INFINITE_NSEC;
}

// Nanoseconds to a binary fraction, rounded down.
static uint32_t DDS_Nanoseconds_toFractionI(DDS_UnsignedLong nanosec) {
    return static_cast<uint32_t>((static_cast<uint64_t>(nanosec) << 32) / DDS_NANOSECONDS_PER_SECOND_I);
}

// A binary fraction to nanoseconds, rounded up, so that a round trip from
// nanoseconds gives them back.
static DDS_UnsignedLong DDS_Fraction_toNanosecondsI(uint32_t frac) {
    return static_cast<DDS_UnsignedLong>((static_cast<uint64_t>(frac) * DDS_NANOSECONDS_PER_SECOND_I + 0xffffffffu) >>
                                         32);
}

struct ZELNtpTime DDS_Duration_toNtpI(const DDS_Duration_t *duration) {
    if (DDS_Duration_isInfiniteI(duration->sec, duration->nanosec)) {
        return ZELNtpTime{ZEL_NTP_TIME_SEC_MAX, ZEL_NTP_TIME_FRAC_MAX};
    }
    return ZELNtpTime{duration->sec, DDS_Nanoseconds_toFractionI(duration->nanosec)};
}

DDS_Duration_t DDS_Duration_fromNtpI(const struct ZELNtpTime *time) {
    if (ZELNtpTime_isInfinite(time)) {
        return DDS_Duration_t{DDS_DURATION_INFINITE_SEC, DDS_DURATION_INFINITE_NSEC};
    }
    return DDS_Duration_t{time->sec, DDS_Fraction_toNanosecondsI(time->frac)};
}

struct ZELNtpTime DDS_Time_toNtpI(const DDS_Time_t *time) {
    return ZELNtpTime{time->sec, DDS_Nanoseconds_toFractionI(time->nanosec)};
}

DDS_Time_t DDS_Time_fromNtpI(const struct ZELNtpTime *time) {
    return DDS_Time_t{time->sec, DDS_Fraction_toNanosecondsI(time->frac)};
}

bool DDS_DomainParticipantFactory_getNowI(DDS_DomainParticipantFactory *factory, struct ZELNtpTime *now,
                                          const char *context) {
    if (!factory->clock->getTime(factory->clock, now)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, "time");
        return false;
    }
    return true;
}

bool DDS_DomainParticipantFactory_getWallTimeI(struct ZELNtpTime *now, const char *context) {
    uint64_t nanoseconds = 0;
    if (!ZELOsapiClock_getRealtimeNanoseconds(&nanoseconds)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, "time");
        return false;
    }
    ZELNtpTime_fromNanoseconds(now, nanoseconds);
    return true;
}

int64_t DDS_NtpTime_periodsSinceI(const ZELNtpTime *since, const ZELNtpTime *now, const ZELNtpTime *period) {
    if (ZELNtpTime_isInfinite(period) || ZELNtpTime_compare(now, since) <= 0) {
        return 0;
    }
    const uint64_t periodNs = ZELNtpTime_toNanoseconds(period);
    if (periodNs == 0) {
        return 0;
    }
    return static_cast<int64_t>((ZELNtpTime_toNanoseconds(now) - ZELNtpTime_toNanoseconds(since)) / periodNs);
}
