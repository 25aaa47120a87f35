// Participants of one factory, and wire endpoints made for them directly.
#pragma once

#include <array>
#include <vector>

#include "entity_private.h"
#include "heap_check.h"

namespace discoverytest {

using Handle = std::array<DDS_Octet, 16>;

// The handle that names the entity of `key`: its words, most significant
// octet first.
Handle handleOf(const DDS_BuiltinTopicKey_t &key);
// The handles in `seq`, checked valid and 16 octets long.
std::vector<Handle> handlesIn(const DDS_InstanceHandleSeq &seq);

class DiscoveryTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // A participant of `domainId`, with the properties given as name/value
    // pairs; NULL when it could not be made.
    DDS_DomainParticipant *participant(DDS_DomainId_t domainId,
                                       const std::vector<std::pair<const char *, const char *>> &properties = {});
    // Deletes a participant that has no wire endpoints left.
    bool deleteParticipant(DDS_DomainParticipant *p);
    // A writer or reader on the participant's wire participant, with the
    // participant's GUID prefix and entity id `entityId`; deleted at the end.
    DDS_BuiltinTopicKey_t wireWriter(DDS_DomainParticipant *p, DDS_UnsignedLong entityId, const char *topic,
                                     const char *type);
    DDS_BuiltinTopicKey_t wireReader(DDS_DomainParticipant *p, DDS_UnsignedLong entityId, const char *topic,
                                     const char *type);
    void deleteWireEndpoints();

    DDS_DomainParticipantFactory *factory_ = nullptr;

private:
    DDS_BuiltinTopicKey_t keyFor(DDS_DomainParticipant *p, DDS_UnsignedLong entityId, ZELWireEndpointParams *params,
                                 const char *topic, const char *type);

    std::vector<DDS_DomainParticipant *> participants_;
    std::vector<std::pair<DDS_DomainParticipant *, ZELWireWriter *>> writers_;
    std::vector<std::pair<DDS_DomainParticipant *, ZELWireReader *>> readers_;
};

}  // namespace discoverytest
