// The choice of a wire implementation by name.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vurncore/clock.h"
#include "vurncore/log.h"
#include "wire.h"

// Known implementations; the first is the default.
static const ZELWireOps *const ZELWire_g_implementations[] = {
#ifdef ZEL_WIRE_HAS_CYCLONE
        &ZELCycloneWire_ops,
#endif
        &ZELLoopbackWire_ops};

static const ZELWireOps *ZELWire_lookupI(const char *name) {
    for (const ZELWireOps *ops : ZELWire_g_implementations) {
        if (std::strcmp(ops->name, name) == 0) {
            return ops;
        }
    }
    return nullptr;
}

// Logs that `source` gives `name`, which no wire has, and the names there are.
static void ZELWire_logUnknownI(const char *context, const char *source, const char *name) {
    char known[64] = "";
    for (const ZELWireOps *ops : ZELWire_g_implementations) {
        std::snprintf(known + std::strlen(known), sizeof(known) - std::strlen(known), "%s%s",
                      known[0] != '\0' ? ", " : "", ops->name);
    }
    // The name is the user's text: bounded so that the line stays whole.
    char text[200];
    std::snprintf(text, sizeof(text), "%s \"%.80s\" names no wire (known: %s)", source, name, known);
    ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, text);
}

uint32_t ZELWireEndpointQos_firstIncompatiblePolicyI(const ZELWireEndpointQos *offered,
                                                     const ZELWireEndpointQos *requested) {
    if (offered->durabilityKind < requested->durabilityKind) {
        return ZEL_WIRE_POLICY_ID_DURABILITY;
    }
    if (ZELNtpTime_compare(&offered->deadlinePeriod, &requested->deadlinePeriod) > 0) {
        return ZEL_WIRE_POLICY_ID_DEADLINE;
    }
    if (offered->ownershipKind != requested->ownershipKind) {
        return ZEL_WIRE_POLICY_ID_OWNERSHIP;
    }
    if (offered->livelinessKind < requested->livelinessKind ||
        ZELNtpTime_compare(&offered->livelinessLeaseDuration, &requested->livelinessLeaseDuration) > 0) {
        return ZEL_WIRE_POLICY_ID_LIVELINESS;
    }
    if (offered->reliabilityKind < requested->reliabilityKind) {
        return ZEL_WIRE_POLICY_ID_RELIABILITY;
    }
    return 0;
}

void ZELWireCounters_addI(ZELWireCounters *counters, int64_t size, ZELWireDeliveryResult result) {
    ++counters->sampleCount;
    counters->sampleBytes += size;
    switch (result) {
    case ZEL_WIRE_DELIVERY_DUPLICATE:
        ++counters->duplicateSampleCount;
        counters->duplicateSampleBytes += size;
        break;
    case ZEL_WIRE_DELIVERY_FILTERED:
        ++counters->filteredSampleCount;
        counters->filteredSampleBytes += size;
        break;
    case ZEL_WIRE_DELIVERY_REJECTED:
        ++counters->rejectedSampleCount;
        break;
    case ZEL_WIRE_DELIVERY_ACCEPTED:
        break;
    }
}

const ZELWireOps *ZELWire_findOps(const char *name) {
    const ZELWireOps *ops = name != nullptr ? ZELWire_lookupI(name) : nullptr;
    if (ops == nullptr) {
        ZELWire_logUnknownI("ZELWire_findOps", "wire name", name != nullptr ? name : "(null)");
    }
    return ops;
}

const ZELWireOps *ZELWire_chooseOps(const char *property, const char *context) {
    const char *source = "zel.wire";
    const char *name = property;
    if (name == nullptr || name[0] == '\0') {
        source = "ZEL_WIRE";
        name = std::getenv("ZEL_WIRE");
        if (name == nullptr || name[0] == '\0') {
            return ZELWire_g_implementations[0];
        }
    }
    const ZELWireOps *ops = ZELWire_lookupI(name);
    if (ops == nullptr) {
        ZELWire_logUnknownI(context, source, name);
    }
    return ops;
}
