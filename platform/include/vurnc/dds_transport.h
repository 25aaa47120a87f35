/* The built-in transports of a participant and their properties.
 *
 * A participant's QoS names the built-in transports it uses in
 * transport_builtin.mask (bits DDS_TRANSPORTBUILTIN_*, vurnc/dds_qos_defaults.h;
 * UDPv4 and shared memory by default). Each kind has a property record whose
 * first member is the common VURN_Transport_Property_t. Its values are the
 * defaults below, overridden by the participant's PropertyQosPolicy: a
 * property named after the kind's prefix and the member, e.g.
 * "dds.transport.UDPv4.builtin.parent.message_size_max" or
 * "dds.transport.UDPv4.builtin.send_socket_buffer_size", holds a decimal
 * integer, or "true" / "false" (also "1" / "0") for a flag. */
#ifndef VURNC_DDS_TRANSPORT_H
#define VURNC_DDS_TRANSPORT_H

#include "vurnc/dll.h"
#include "vurnc/dds_basic.h"
#include "vurnc/dds_entity.h"
#include "vurnc/dds_qos_defaults.h"

ZEL_EXTERN_C_BEGIN

/* One built-in transport: a single DDS_TRANSPORTBUILTIN_* bit. */
typedef DDS_Long DDS_TransportBuiltinKind;

/* Transport class ids: the kind of the locators a transport serves. */
#define VURN_TRANSPORT_CLASSID_UDPv4 1
#define VURN_TRANSPORT_CLASSID_UDPv6 2
#define VURN_TRANSPORT_CLASSID_SHMEM 0x01000000

/* Property name prefixes of the built-in transports. */
#define VURN_UDPv4_TRANSPORT_PROPERTY_PREFIX "dds.transport.UDPv4.builtin."
#define VURN_SHMEM_TRANSPORT_PROPERTY_PREFIX "dds.transport.shmem.builtin."
#define VURN_UDPv6_TRANSPORT_PROPERTY_PREFIX "dds.transport.UDPv6.builtin."

/* What every transport has ("parent." properties; the class id and the
 * address width are fixed by the kind). */
struct VURN_Transport_Property_t {
    DDS_Long classid;
    DDS_Long address_bit_count;            /* significant bits of a locator's address */
    DDS_Long gather_send_buffer_count_max; /* default 16 */
    DDS_Long message_size_max;             /* default 65507 for UDP, 65536 for shared memory */
};

/* UDPv4 and UDPv6: socket buffers 131072 octets, unicast and multicast
 * enabled, multicast TTL 1. */
struct VURN_UDPv4Transport_Property_t {
    struct VURN_Transport_Property_t parent;
    DDS_Long send_socket_buffer_size;
    DDS_Long recv_socket_buffer_size;
    DDS_Boolean unicast_enabled;
    DDS_Boolean multicast_enabled;
    DDS_Long multicast_ttl;
};

struct VURN_UDPv6Transport_Property_t {
    struct VURN_Transport_Property_t parent;
    DDS_Long send_socket_buffer_size;
    DDS_Long recv_socket_buffer_size;
    DDS_Boolean unicast_enabled;
    DDS_Boolean multicast_enabled;
    DDS_Long multicast_ttl;
};

/* Shared memory: 64 messages of at most message_size_max in a receive
 * buffer of 1 MiB. */
struct VURN_SHMEMTransport_Property_t {
    struct VURN_Transport_Property_t parent;
    DDS_Long received_message_count_max;
    DDS_Long receive_buffer_size;
};

/* Fills `property_out`, which must be the whole record of
 * `builtin_transport_kind` (a VURN_UDPv4Transport_Property_t for
 * DDS_TRANSPORTBUILTIN_UDPv4 ...), with the defaults and the participant's
 * overriding properties, whether or not the participant uses that
 * transport. BAD_PARAMETER (logged) for NULL arguments or a kind that is
 * not exactly one built-in transport; ERROR (logged, naming the property)
 * when a property holds no valid value for its member: the record is then
 * left partly filled. */
VURNC_API DDS_ReturnCode_t VURN_Transport_Support_get_builtin_transport_property(
        DDS_DomainParticipant *participant, DDS_TransportBuiltinKind builtin_transport_kind,
        struct VURN_Transport_Property_t *property_out);

ZEL_EXTERN_C_END

#endif
