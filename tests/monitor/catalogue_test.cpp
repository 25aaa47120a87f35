#include <cstring>

#include <gtest/gtest.h>

#include "catalogue.h"
#include "vurncore/reda_string.h"

namespace {

// Each entry's type is registered under its scoped name by its plug-in;
// the keys it names are exactly the key members of the type, in
// declaration order, and lead the member list. The description writers are
// told apart by their topic name alone, and come first.
TEST(Catalogue, EachEntryDescribesItsTypeAndKeys) {
    for (int i = 0; i < ZEL_MONITOR_TOPIC_COUNT; ++i) {
        const ZELDefaultMonitorCatalogueEntry &entry = ZELDefaultMonitorCatalogue_g_entries[i];
        SCOPED_TRACE(entry.topicName);
        ASSERT_NE(entry.type, nullptr);
        EXPECT_STREQ(entry.type->name, entry.typeName);
        EXPECT_EQ(entry.type->extensibility, ZEL_CDR_EXTENSIBILITY_MUTABLE);
        uint32_t keys = 0;
        for (uint32_t m = 0; m < entry.type->memberCount; ++m) {
            if (entry.type->members[m].isKey) {
                ASSERT_LT(keys, entry.keyMemberCount);
                EXPECT_EQ(m, keys) << "key members lead";
                EXPECT_STREQ(entry.type->members[m].name, entry.keyMembers[keys]);
                ++keys;
            }
        }
        EXPECT_EQ(keys, entry.keyMemberCount);
        PRESTypePlugin *plugin = entry.newPlugin();
        ASSERT_NE(plugin, nullptr);
        EXPECT_STREQ(plugin->typeName, entry.typeName);
        entry.deletePlugin(plugin);
        const bool matchesDescriptionPattern =
                REDAString_fnmatch("zel/dds/monitoring/*Description", entry.topicName, 0) == 0;
        EXPECT_EQ(matchesDescriptionPattern, entry.isDescription != 0);
        EXPECT_EQ(entry.isDescription != 0, i < 6);
    }
}

TEST(Catalogue, KeyBecomesANetworkOrderHandle) {
    DDSMonitoring_BuiltinTopicKey_t key = {{0x01020304, static_cast<DDS_Long>(0xA0B0C0D0u), 0, -1}};
    DDSMonitoring_InstanceHandle_t handle;
    std::memset(&handle, 0x55, sizeof(handle));
    ZELDefaultMonitorCatalogue_keyToInstanceHandle(&handle, &key);
    const DDS_Octet expected[16] = {0x01, 0x02, 0x03, 0x04, 0xA0, 0xB0, 0xC0, 0xD0,
                                    0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(std::memcmp(handle.value, expected, 16), 0);
    EXPECT_EQ(handle.length, 16u);
    EXPECT_EQ(handle.isValid, DDS_BOOLEAN_TRUE);
}

TEST(Catalogue, AddressFillsKindPortAndAddressOnly) {
    DDSMonitoring_Locator_t locator;
    ASSERT_TRUE(DDSMonitoring_Locator_t_initialize(&locator));
    ASSERT_TRUE(DDSMonitoring_EncapsulationId_tSeq_ensure_length(&locator.encapsulations, 2, 8));
    ZELNetioLocator address{ZEL_NETIO_LOCATOR_KIND_UDPv4, {0}, 7411};
    address.address[12] = 127;
    address.address[15] = 1;
    ZELDefaultMonitorCatalogue_addressToLocator(&locator, &address);
    EXPECT_EQ(locator.kind, ZEL_NETIO_LOCATOR_KIND_UDPv4);
    EXPECT_EQ(locator._port, 7411u);
    EXPECT_EQ(std::memcmp(locator.address, address.address, 16), 0);
    EXPECT_EQ(DDSMonitoring_EncapsulationId_tSeq_get_length(&locator.encapsulations), 2);
    DDSMonitoring_Locator_t_finalize(&locator);
}

}  // namespace
