#include "discovery_fixture.h"

#include <algorithm>

namespace discoverytest {

Handle handleOf(const DDS_BuiltinTopicKey_t &key) {
    Handle handle{};
    for (size_t i = 0; i < 16; ++i) {
        handle[i] = static_cast<DDS_Octet>(static_cast<DDS_UnsignedLong>(key.value[i / 4]) >> (24 - 8 * (i % 4)));
    }
    return handle;
}

std::vector<Handle> handlesIn(const DDS_InstanceHandleSeq &seq) {
    std::vector<Handle> handles;
    for (DDS_Long i = 0; i < DDS_InstanceHandleSeq_get_length(&seq); ++i) {
        const DDS_InstanceHandle_t handle = DDS_InstanceHandleSeq_get(&seq, i);
        EXPECT_TRUE(handle.isValid);
        EXPECT_EQ(handle.length, 16u);
        Handle octets{};
        std::copy(handle.value, handle.value + 16, octets.begin());
        handles.push_back(octets);
    }
    return handles;
}

static ZELWireDeliveryResult ignoreSampleI(void *, const ZELWireSample *) { return ZEL_WIRE_DELIVERY_ACCEPTED; }

void DiscoveryTest::SetUp() {
    HeapCheckedTest::SetUp();
    factory_ = DDS_DomainParticipantFactory_get_instance();
    ASSERT_NE(factory_, nullptr);
}

void DiscoveryTest::TearDown() {
    deleteWireEndpoints();
    for (DDS_DomainParticipant *p : participants_) {
        EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(p), DDS_RETCODE_OK);
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, p), DDS_RETCODE_OK);
    }
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    HeapCheckedTest::TearDown();
}

DDS_DomainParticipant *DiscoveryTest::participant(
        DDS_DomainId_t domainId, const std::vector<std::pair<const char *, const char *>> &properties) {
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipant *p = nullptr;
    if (DDS_DomainParticipantFactory_get_default_participant_qos(factory_, &qos) == DDS_RETCODE_OK) {
        bool added = true;
        for (const auto &[name, value] : properties) {
            added = added && DDS_PropertyQosPolicyHelper_add_property(&qos.property, name, value, DDS_BOOLEAN_FALSE) ==
                                     DDS_RETCODE_OK;
        }
        if (added) {
            p = DDS_DomainParticipantFactory_create_participant(factory_, domainId, &qos, nullptr,
                                                                DDS_STATUS_MASK_NONE);
        }
    }
    DDS_DomainParticipantQos_finalize(&qos);
    if (p != nullptr) {
        participants_.push_back(p);
    }
    return p;
}

bool DiscoveryTest::deleteParticipant(DDS_DomainParticipant *p) {
    const auto found = std::find(participants_.begin(), participants_.end(), p);
    if (found == participants_.end() ||
        DDS_DomainParticipantFactory_delete_participant(factory_, p) != DDS_RETCODE_OK) {
        return false;
    }
    participants_.erase(found);
    return true;
}

DDS_BuiltinTopicKey_t DiscoveryTest::keyFor(DDS_DomainParticipant *p, DDS_UnsignedLong entityId,
                                            ZELWireEndpointParams *params, const char *topic, const char *type) {
    DDS_BuiltinTopicKey_t key{};
    EXPECT_EQ(DDS_DomainParticipant_get_builtin_topic_key(p, &key), DDS_RETCODE_OK);
    key.value[3] = static_cast<DDS_Long>(entityId);
    *params = ZELWireEndpointParams{};
    for (int i = 0; i < 4; ++i) {
        params->guid.value[i] = static_cast<uint32_t>(key.value[i]);
    }
    params->topicName = topic;
    params->typeName = type;
    params->keyed = ZEL_TRUE;
    params->vendorSpecific = (entityId & DDS_ENTITY_KIND_VENDOR_SPECIFIC_BIT) != 0 ? ZEL_TRUE : ZEL_FALSE;
    return key;
}

DDS_BuiltinTopicKey_t DiscoveryTest::wireWriter(DDS_DomainParticipant *p, DDS_UnsignedLong entityId, const char *topic,
                                                const char *type) {
    ZELWireEndpointParams params;
    const DDS_BuiltinTopicKey_t key = keyFor(p, entityId, &params, topic, type);
    const ZELWireWriterListener listener{};
    ZELWireWriter *writer = p->factory->wire->ops->createWriter(p->wireParticipant, &params, &listener);
    EXPECT_NE(writer, nullptr);
    writers_.emplace_back(p, writer);
    return key;
}

DDS_BuiltinTopicKey_t DiscoveryTest::wireReader(DDS_DomainParticipant *p, DDS_UnsignedLong entityId, const char *topic,
                                                const char *type) {
    ZELWireEndpointParams params;
    const DDS_BuiltinTopicKey_t key = keyFor(p, entityId, &params, topic, type);
    ZELWireReaderListener listener{};
    listener.onSample = ignoreSampleI;
    ZELWireReader *reader = p->factory->wire->ops->createReader(p->wireParticipant, &params, &listener);
    EXPECT_NE(reader, nullptr);
    readers_.emplace_back(p, reader);
    return key;
}

void DiscoveryTest::deleteWireEndpoints() {
    for (auto &[p, writer] : writers_) {
        p->factory->wire->ops->deleteWriter(writer);
    }
    for (auto &[p, reader] : readers_) {
        p->factory->wire->ops->deleteReader(reader);
    }
    writers_.clear();
    readers_.clear();
}

}  // namespace discoverytest
