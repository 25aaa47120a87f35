// The property records of the built-in transports: defaults per kind, then
// the participant's properties that override them. Each kind is described
// by a table of its overridable members (property name, place in the
// record, accepted range), so reading them is one walk.
#include <charconv>
#include <cstddef>
#include <cstring>

#include "entity_private.h"
#include "vurnc/dds_transport.h"

namespace {

enum VURN_TransportMemberKindI { VURN_TRANSPORT_MEMBER_LONG_I, VURN_TRANSPORT_MEMBER_FLAG_I };

struct VURN_TransportMemberI {
    const char *propertyName;
    size_t offset;  // in the kind's whole record
    VURN_TransportMemberKindI kind;
    DDS_Long minimum;  // a number's range
    DDS_Long maximum;
};

constexpr DDS_Long VURN_LONG_MAX_I = 0x7fffffff;

}  // namespace

#define VURN_PARENT_MEMBER_I(RECORD, MEMBER) \
    (offsetof(RECORD, parent) + offsetof(struct VURN_Transport_Property_t, MEMBER))

// UDPv4 and UDPv6 records share their layout and members.
#define VURN_UDP_MEMBERS_I(PREFIX, RECORD)                                                                           \
    {PREFIX "parent.gather_send_buffer_count_max", VURN_PARENT_MEMBER_I(RECORD, gather_send_buffer_count_max),       \
     VURN_TRANSPORT_MEMBER_LONG_I, 1, 1024},                                                                         \
            {PREFIX "parent.message_size_max", VURN_PARENT_MEMBER_I(RECORD, message_size_max),                       \
             VURN_TRANSPORT_MEMBER_LONG_I, 1, 65507},                                                                \
            {PREFIX "send_socket_buffer_size", offsetof(RECORD, send_socket_buffer_size),                            \
             VURN_TRANSPORT_MEMBER_LONG_I, 1, VURN_LONG_MAX_I},                                                      \
            {PREFIX "recv_socket_buffer_size", offsetof(RECORD, recv_socket_buffer_size),                            \
             VURN_TRANSPORT_MEMBER_LONG_I, 1, VURN_LONG_MAX_I},                                                      \
            {PREFIX "unicast_enabled", offsetof(RECORD, unicast_enabled), VURN_TRANSPORT_MEMBER_FLAG_I, 0, 0},       \
            {PREFIX "multicast_enabled", offsetof(RECORD, multicast_enabled), VURN_TRANSPORT_MEMBER_FLAG_I, 0, 0}, { \
        PREFIX "multicast_ttl", offsetof(RECORD, multicast_ttl), VURN_TRANSPORT_MEMBER_LONG_I, 0, 255                \
    }

static const VURN_TransportMemberI VURN_UDPv4Transport_g_membersI[] = {
        VURN_UDP_MEMBERS_I(VURN_UDPv4_TRANSPORT_PROPERTY_PREFIX, VURN_UDPv4Transport_Property_t)};
static const VURN_TransportMemberI VURN_UDPv6Transport_g_membersI[] = {
        VURN_UDP_MEMBERS_I(VURN_UDPv6_TRANSPORT_PROPERTY_PREFIX, VURN_UDPv6Transport_Property_t)};
static const VURN_TransportMemberI VURN_SHMEMTransport_g_membersI[] = {
        {VURN_SHMEM_TRANSPORT_PROPERTY_PREFIX "parent.gather_send_buffer_count_max",
         VURN_PARENT_MEMBER_I(VURN_SHMEMTransport_Property_t, gather_send_buffer_count_max),
         VURN_TRANSPORT_MEMBER_LONG_I, 1, 1024},
        {VURN_SHMEM_TRANSPORT_PROPERTY_PREFIX "parent.message_size_max",
         VURN_PARENT_MEMBER_I(VURN_SHMEMTransport_Property_t, message_size_max), VURN_TRANSPORT_MEMBER_LONG_I, 1,
         VURN_LONG_MAX_I},
        {VURN_SHMEM_TRANSPORT_PROPERTY_PREFIX "received_message_count_max",
         offsetof(VURN_SHMEMTransport_Property_t, received_message_count_max), VURN_TRANSPORT_MEMBER_LONG_I, 1,
         VURN_LONG_MAX_I},
        {VURN_SHMEM_TRANSPORT_PROPERTY_PREFIX "receive_buffer_size",
         offsetof(VURN_SHMEMTransport_Property_t, receive_buffer_size), VURN_TRANSPORT_MEMBER_LONG_I, 1,
         VURN_LONG_MAX_I},
};

#undef VURN_UDP_MEMBERS_I
#undef VURN_PARENT_MEMBER_I

namespace {

// A built-in kind: its defaults and its overridable members.
struct VURN_BuiltinTransportI {
    DDS_TransportBuiltinKind kind;
    void (*setDefaults)(struct VURN_Transport_Property_t *record);
    const VURN_TransportMemberI *members;
    size_t memberCount;
};

}  // namespace

static void VURN_Transport_setParentDefaultsI(struct VURN_Transport_Property_t *parent, DDS_Long classid,
                                              DDS_Long addressBits, DDS_Long messageSizeMax) {
    parent->classid = classid;
    parent->address_bit_count = addressBits;
    parent->gather_send_buffer_count_max = 16;
    parent->message_size_max = messageSizeMax;
}

template <typename Record>
static void VURN_UdpTransport_setDefaultsI(Record *udp) {
    udp->send_socket_buffer_size = 131072;
    udp->recv_socket_buffer_size = 131072;
    udp->unicast_enabled = DDS_BOOLEAN_TRUE;
    udp->multicast_enabled = DDS_BOOLEAN_TRUE;
    udp->multicast_ttl = 1;
}

static void VURN_UDPv4Transport_setDefaultsI(struct VURN_Transport_Property_t *record) {
    auto *udp = reinterpret_cast<VURN_UDPv4Transport_Property_t *>(record);
    VURN_Transport_setParentDefaultsI(&udp->parent, VURN_TRANSPORT_CLASSID_UDPv4, 32, 65507);
    VURN_UdpTransport_setDefaultsI(udp);
}

static void VURN_UDPv6Transport_setDefaultsI(struct VURN_Transport_Property_t *record) {
    auto *udp = reinterpret_cast<VURN_UDPv6Transport_Property_t *>(record);
    VURN_Transport_setParentDefaultsI(&udp->parent, VURN_TRANSPORT_CLASSID_UDPv6, 128, 65507);
    VURN_UdpTransport_setDefaultsI(udp);
}

static void VURN_SHMEMTransport_setDefaultsI(struct VURN_Transport_Property_t *record) {
    auto *shmem = reinterpret_cast<VURN_SHMEMTransport_Property_t *>(record);
    VURN_Transport_setParentDefaultsI(&shmem->parent, VURN_TRANSPORT_CLASSID_SHMEM, 96, 65536);
    shmem->received_message_count_max = 64;
    shmem->receive_buffer_size = 1048576;
}

static const VURN_BuiltinTransportI VURN_BuiltinTransport_g_kindsI[] = {
        {DDS_TRANSPORTBUILTIN_UDPv4, VURN_UDPv4Transport_setDefaultsI, VURN_UDPv4Transport_g_membersI,
         sizeof(VURN_UDPv4Transport_g_membersI) / sizeof(VURN_UDPv4Transport_g_membersI[0])},
        {DDS_TRANSPORTBUILTIN_SHMEM, VURN_SHMEMTransport_setDefaultsI, VURN_SHMEMTransport_g_membersI,
         sizeof(VURN_SHMEMTransport_g_membersI) / sizeof(VURN_SHMEMTransport_g_membersI[0])},
        {DDS_TRANSPORTBUILTIN_UDPv6, VURN_UDPv6Transport_setDefaultsI, VURN_UDPv6Transport_g_membersI,
         sizeof(VURN_UDPv6Transport_g_membersI) / sizeof(VURN_UDPv6Transport_g_membersI[0])},
};

// Stores `text` into the member; false when it is no valid value for it.
static bool VURN_TransportMember_parseI(const VURN_TransportMemberI *member, const char *text,
                                        struct VURN_Transport_Property_t *record) {
    char *place = reinterpret_cast<char *>(record) + member->offset;
    if (member->kind == VURN_TRANSPORT_MEMBER_FLAG_I) {
        DDS_Boolean flag;
        if (std::strcmp(text, "true") == 0 || std::strcmp(text, "1") == 0) {
            flag = DDS_BOOLEAN_TRUE;
        } else if (std::strcmp(text, "false") == 0 || std::strcmp(text, "0") == 0) {
            flag = DDS_BOOLEAN_FALSE;
        } else {
            return false;
        }
        std::memcpy(place, &flag, sizeof(flag));
        return true;
    }
    const char *end = text + std::strlen(text);
    long long value = 0;
    const std::from_chars_result parsed = std::from_chars(text, end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end || value < member->minimum || value > member->maximum) {
        return false;
    }
    const DDS_Long number = static_cast<DDS_Long>(value);
    std::memcpy(place, &number, sizeof(number));
    return true;
}

extern "C" {

VURNC_API DDS_ReturnCode_t VURN_Transport_Support_get_builtin_transport_property(
        DDS_DomainParticipant *participant, DDS_TransportBuiltinKind builtin_transport_kind,
        struct VURN_Transport_Property_t *property_out) {
    const char *const context = "VURN_Transport_Support_get_builtin_transport_property";
    if (participant == nullptr || property_out == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  participant == nullptr ? "participant" : "property_out");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    const VURN_BuiltinTransportI *transport = nullptr;
    for (const VURN_BuiltinTransportI &candidate : VURN_BuiltinTransport_g_kindsI) {
        if (candidate.kind == builtin_transport_kind) {
            transport = &candidate;
        }
    }
    if (transport == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "builtin_transport_kind");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    transport->setDefaults(property_out);
    DDS_EntityLockGuardI guard(&participant->entity);
    if (!guard.held()) {
        return guard.result();
    }
    for (size_t i = 0; i < transport->memberCount; ++i) {
        const VURN_TransportMemberI *member = &transport->members[i];
        const DDS_Property_t *property =
                DDS_PropertyQosPolicyHelper_lookup_property(&participant->qos.property, member->propertyName);
        if (property != nullptr &&
            (property->value == nullptr || !VURN_TransportMember_parseI(member, property->value, property_out))) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, member->propertyName);
            return DDS_RETCODE_ERROR;
        }
    }
    return DDS_RETCODE_OK;
}

}  // extern "C"
