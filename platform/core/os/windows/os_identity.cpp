// Host and process ids.
#include <winsock2.h>
#include <iphlpapi.h>
#include <windows.h>

#include <cstdint>
#include <vector>

#include "vurncore/osapi.h"

namespace {

// The first IPv4 address of an adapter that is up and not a loopback, in
// host byte order; 0 when there is none.
uint32_t ZELOsapiHost_getIpv4AddressI() {
    ULONG size = 16 * 1024;
    std::vector<unsigned char> buffer;
    ULONG result = ERROR_BUFFER_OVERFLOW;
    for (int attempt = 0; attempt < 3 && result == ERROR_BUFFER_OVERFLOW; ++attempt) {
        buffer.resize(size);
        result = GetAdaptersAddresses(AF_INET, GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER,
                                      nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES *>(buffer.data()), &size);
    }
    if (result != NO_ERROR) {
        return 0;
    }
    for (const auto *adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES *>(buffer.data()); adapter != nullptr;
         adapter = adapter->Next) {
        if (adapter->OperStatus != IfOperStatusUp || adapter->IfType == IF_TYPE_SOFTWARE_LOOPBACK) {
            continue;
        }
        for (const IP_ADAPTER_UNICAST_ADDRESS *unicast = adapter->FirstUnicastAddress; unicast != nullptr;
             unicast = unicast->Next) {
            const sockaddr *address = unicast->Address.lpSockaddr;
            if (address == nullptr || address->sa_family != AF_INET) {
                continue;
            }
            const auto &octets = reinterpret_cast<const sockaddr_in *>(address)->sin_addr.S_un.S_un_b;
            const uint32_t candidate = (uint32_t{octets.s_b1} << 24) | (uint32_t{octets.s_b2} << 16) |
                                       (uint32_t{octets.s_b3} << 8) | uint32_t{octets.s_b4};
            if (candidate != 0 && (candidate >> 24) != 127) {
                return candidate;
            }
        }
    }
    return 0;
}

// FNV-1a over the computer name: a host without a usable address still gets
// an id that is the same on every call.
uint32_t ZELOsapiHost_hashNameI() {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {0};
    DWORD length = sizeof(name);
    if (!GetComputerNameA(name, &length)) {
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
    // Computed once: adapters may come and go, the id must not.
    static const uint32_t id = ZELOsapiHost_computeIdI();
    return id;
}

uint32_t ZELOsapiProcess_getId(void) { return static_cast<uint32_t>(GetCurrentProcessId()); }

}  // extern "C"
