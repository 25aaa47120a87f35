// The host id, computed alike on every system from what its part of the OS
// layer tells: the first usable IPv4 address, else the host's name.
#include <cstdint>

#include "os/os_identity.h"
#include "vurncore/osapi.h"

namespace {

// FNV-1a over the host name: a host without a usable address still gets an
// id that is the same on every call.
uint32_t ZELOsapiHost_hashNameI() {
    char name[256] = {0};
    ZELOsapiHost_getNameI(name, sizeof(name));
    uint32_t hash = 2166136261u;
    for (const char *c = name; *c != '\0'; ++c) {
        hash ^= static_cast<uint8_t>(*c);
        hash *= 16777619u;
    }
    return hash;
}

uint32_t ZELOsapiHost_computeIdI() {
    uint32_t id = ZELOsapiHost_getIpv4AddressI();
    if (id == 0) {
        id = ZELOsapiHost_hashNameI();
    }
    // 0 reads as "unknown host" to those who compare ids.
    return id != 0 ? id : 1u;
}

}  // namespace

extern "C" {

uint32_t ZELOsapiHost_getId(void) {
    // Computed once: interfaces may come and go, the id must not.
    static const uint32_t id = ZELOsapiHost_computeIdI();
    return id;
}

}  // extern "C"
