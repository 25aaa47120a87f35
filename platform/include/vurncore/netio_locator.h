/* The transport layer's address record: where a remote endpoint receives. */
#ifndef VURNCORE_NETIO_LOCATOR_H
#define VURNCORE_NETIO_LOCATOR_H

#include "vurncore/types.h"

/* Locator kinds. */
#define ZEL_NETIO_LOCATOR_KIND_INVALID (-1)
#define ZEL_NETIO_LOCATOR_KIND_UDPv4 1
#define ZEL_NETIO_LOCATOR_KIND_UDPv6 2
#define ZEL_NETIO_LOCATOR_KIND_SHMEM 0x01000000

/* An IPv4 address takes the last four address octets, the first twelve are 0. */
struct ZELNetioLocator {
    int32_t kind;
    uint8_t address[16];
    uint32_t port;
};

#endif
