// Host address and name, and the process id.
#include <winsock2.h>
#include <iphlpapi.h>
#include <windows.h>

#include <cstdint>
#include <vector>

#include "os/os_identity.h"
#include "vurncore/osapi.h"

uint32_t ZELOsapiHost_getIpv4AddressI() {
    ULONG size = 16 * 1024;
    std::vector<unsigned char> buffer;
    ULONG result = ERROR_BUFFER_OVERFLOW;
    for (int attempt = 0; attempt < 3 && result == ERROR_BUFFER_OVERFLOW; ++attempt) {
        buffer.resize(size);
        result = GetAdaptersAddresses(AF_INET,
                                      GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER,
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

void ZELOsapiHost_getNameI(char *name, size_t size) {
    DWORD length = static_cast<DWORD>(size);
    if (!GetComputerNameA(name, &length)) {
        name[0] = '\0';
    }
}

extern "C" {

uint32_t ZELOsapiProcess_getId(void) { return static_cast<uint32_t>(GetCurrentProcessId()); }

}  // extern "C"
