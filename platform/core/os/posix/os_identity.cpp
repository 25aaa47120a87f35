// Host and process ids.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

#include "vurncore/osapi.h"

namespace {

// The first IPv4 address of an interface that is up and not a loopback, in
// host byte order; 0 when there is none.
uint32_t ZELOsapiHost_getIpv4AddressI() {
    struct ifaddrs *interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0) {
        return 0;
    }
    uint32_t address = 0;
    for (const struct ifaddrs *entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET ||
            (entry->ifa_flags & IFF_UP) == 0 || (entry->ifa_flags & IFF_LOOPBACK) != 0) {
            continue;
        }
        const auto *inet = reinterpret_cast<const struct sockaddr_in *>(entry->ifa_addr);
        const uint32_t candidate = ntohl(inet->sin_addr.s_addr);
        if (candidate != 0 && (candidate >> 24) != 127) {
            address = candidate;
            break;
        }
    }
    freeifaddrs(interfaces);
    return address;
}

// FNV-1a over the host name: a host without a usable address still gets an
// id that is the same on every call.
uint32_t ZELOsapiHost_hashNameI() {
    char name[256] = {0};
    if (gethostname(name, sizeof(name) - 1) != 0) {
        name[0] = '\0';
    }
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

uint32_t ZELOsapiProcess_getId(void) { return static_cast<uint32_t>(getpid()); }

}  // extern "C"
