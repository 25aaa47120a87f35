// Property records of the built-in transports: defaults, the participant's
// overrides and refusals.
#include "discovery_fixture.h"
#include "log_capture.h"
#include "vurnc/dds_transport.h"

namespace discoverytest {
namespace {

using TransportSupportTest = DiscoveryTest;

TEST_F(TransportSupportTest, PropertiesOverrideTheirOwnKindsMembersAndTheRestKeepTheDefaults) {
    DDS_DomainParticipant *p = participant(0, {{"dds.transport.UDPv4.builtin.parent.message_size_max", "9000"},
                                               {"dds.transport.UDPv4.builtin.multicast_enabled", "false"},
                                               {"dds.transport.UDPv6.builtin.unicast_enabled", "0"},
                                               {"dds.transport.shmem.builtin.receive_buffer_size", "65536"},
                                               {"dds.transport.UDPv4.builtin.parent.classid", "7"}});
    ASSERT_NE(p, nullptr);
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipant_get_qos(p, &qos), DDS_RETCODE_OK);
    EXPECT_EQ(qos.transport_builtin.mask, DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM);
    DDS_DomainParticipantQos_finalize(&qos);

    VURN_UDPv4Transport_Property_t udpv4;
    ASSERT_EQ(VURN_Transport_Support_get_builtin_transport_property(p, DDS_TRANSPORTBUILTIN_UDPv4, &udpv4.parent),
              DDS_RETCODE_OK);
    EXPECT_EQ(udpv4.parent.classid, VURN_TRANSPORT_CLASSID_UDPv4);  // not a property
    EXPECT_EQ(udpv4.parent.message_size_max, 9000);
    EXPECT_FALSE(udpv4.multicast_enabled);
    EXPECT_TRUE(udpv4.unicast_enabled);

    VURN_UDPv6Transport_Property_t udpv6;
    ASSERT_EQ(VURN_Transport_Support_get_builtin_transport_property(p, DDS_TRANSPORTBUILTIN_UDPv6, &udpv6.parent),
              DDS_RETCODE_OK);
    EXPECT_EQ(udpv6.parent.classid, VURN_TRANSPORT_CLASSID_UDPv6);
    EXPECT_EQ(udpv6.parent.message_size_max, 65507);
    EXPECT_FALSE(udpv6.unicast_enabled);
    EXPECT_TRUE(udpv6.multicast_enabled);

    VURN_SHMEMTransport_Property_t shmem;
    ASSERT_EQ(VURN_Transport_Support_get_builtin_transport_property(p, DDS_TRANSPORTBUILTIN_SHMEM, &shmem.parent),
              DDS_RETCODE_OK);
    EXPECT_EQ(shmem.parent.classid, VURN_TRANSPORT_CLASSID_SHMEM);
    EXPECT_EQ(shmem.receive_buffer_size, 65536);
    EXPECT_EQ(shmem.received_message_count_max, 64);
}

TEST_F(TransportSupportTest, NullsUnknownKindsAndValuesOutsideAMembersRangeAreRefused) {
    zeltest::LogCapture log;
    DDS_DomainParticipant *p = participant(0);
    ASSERT_NE(p, nullptr);
    VURN_UDPv4Transport_Property_t udpv4;
    EXPECT_EQ(VURN_Transport_Support_get_builtin_transport_property(nullptr, DDS_TRANSPORTBUILTIN_UDPv4, &udpv4.parent),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(VURN_Transport_Support_get_builtin_transport_property(p, DDS_TRANSPORTBUILTIN_UDPv4, nullptr),
              DDS_RETCODE_BAD_PARAMETER);
    for (DDS_TransportBuiltinKind kind : {0, DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM, 0x10, -1}) {
        EXPECT_EQ(VURN_Transport_Support_get_builtin_transport_property(p, kind, &udpv4.parent),
                  DDS_RETCODE_BAD_PARAMETER)
                << kind;
    }
    EXPECT_TRUE(log.contains("VURN_Transport_Support_get_builtin_transport_property", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: builtin_transport_kind\n"));

    const char *const size = "dds.transport.UDPv4.builtin.parent.message_size_max";
    const char *const flag = "dds.transport.UDPv4.builtin.unicast_enabled";
    const std::vector<std::pair<const char *, const char *>> refused{
            {size, "65508"}, {size, "0"}, {size, "12k"}, {size, "99999999999"}, {flag, "yes"}};
    for (const auto &[name, value] : refused) {
        SCOPED_TRACE(std::string(name) + "=" + value);
        DDS_DomainParticipant *configured = participant(0, {{name, value}});
        ASSERT_NE(configured, nullptr);
        log.clear();
        EXPECT_EQ(VURN_Transport_Support_get_builtin_transport_property(configured, DDS_TRANSPORTBUILTIN_UDPv4,
                                                                        &udpv4.parent),
                  DDS_RETCODE_ERROR);
        EXPECT_TRUE(log.contains("VURN_Transport_Support_get_builtin_transport_property", ZEL_LOG_BAD_PARAMETER_s,
                                 std::string("bad parameter: ") + name + "\n"));
        // Another kind does not read it.
        VURN_SHMEMTransport_Property_t shmem;
        EXPECT_EQ(VURN_Transport_Support_get_builtin_transport_property(configured, DDS_TRANSPORTBUILTIN_SHMEM,
                                                                        &shmem.parent),
                  DDS_RETCODE_OK);
        EXPECT_TRUE(deleteParticipant(configured));
    }
}

}  // namespace
}  // namespace discoverytest
