/* What each system's part of the OS layer tells of the host. */
#ifndef VURNCORE_OS_IDENTITY_H
#define VURNCORE_OS_IDENTITY_H

#include <cstddef>
#include <cstdint>

/* The first IPv4 address of an interface that is up and not a loopback, in
 * host byte order; 0 when there is none. */
uint32_t ZELOsapiHost_getIpv4AddressI();

/* The host's name, terminated, in `name` (empty when the system tells
 * none). */
void ZELOsapiHost_getNameI(char *name, size_t size);

#endif
