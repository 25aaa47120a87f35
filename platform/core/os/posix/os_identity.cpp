// Host address and name, and the process id.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

#include "os/os_identity.h"
#include "vurncore/osapi.h"

uint32_t ZELOsapiHost_getIpv4AddressI() {
    struct ifaddrs *interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0) {
        return 0;
    }
    uint32_t address = 0;
    for (const struct ifaddrs *entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET || (entry->ifa_flags & IFF_UP) == 0 ||
            (entry->ifa_flags & IFF_LOOPBACK) != 0) {
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

void ZELOsapiHost_getNameI(char *name, size_t size) {
    if (gethostname(name, size - 1) != 0) {
        name[0] = '\0';
    }
    name[size - 1] = '\0';
}

extern "C" {

uint32_t ZELOsapiProcess_getId(void) { return static_cast<uint32_t>(getpid()); }

}  // extern "C"
