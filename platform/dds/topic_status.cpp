// A topic's inconsistent-topic status: the topics of other participants of
// its domain that have its name and another type name. The participant's
// wire finds them (through their endpoints: a remote topic that no writer
// or reader uses is not seen); the topic remembers each, so that each
// counts once in `total_count` however long it stays or whether it goes.
// The ones not yet acknowledged are the `total_count_change`, and a read
// with reset acknowledges them.
#include <algorithm>

#include "data_path_private.h"
#include "vurncore/heap.h"

namespace {

// Remembers the remote topic of participant `remotePrefix` unless known;
// ZEL_FALSE (logged) when out of heap.
ZELBoolean DDS_Topic_rememberInconsistentI(void *context, const uint32_t remotePrefix[3]) {
    auto *topic = static_cast<DDS_Topic *>(context);
    for (const DDS_InconsistentTopicI *known = topic->inconsistent; known != nullptr; known = known->next) {
        if (std::equal(remotePrefix, remotePrefix + 3, known->remotePrefix)) {
            return ZEL_TRUE;
        }
    }
    auto *found = static_cast<DDS_InconsistentTopicI *>(
            ZELOsapiHeap_allocateStructure(sizeof(DDS_InconsistentTopicI), "DTIN"));
    if (found == nullptr) {
        DDS_Entity_logOutOfHeapI("DDS_Topic_get_inconsistent_topic_status_ex", sizeof(DDS_InconsistentTopicI));
        return ZEL_FALSE;
    }
    std::copy(remotePrefix, remotePrefix + 3, found->remotePrefix);
    found->acknowledged = false;
    found->next = topic->inconsistent;
    topic->inconsistent = found;
    return ZEL_TRUE;
}

}  // namespace

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_Topic_get_inconsistent_topic_status_ex(DDS_Topic *self,
                                                                      struct DDS_InconsistentTopicStatus *status,
                                                                      DDS_Boolean reset) {
    const char *const context = "DDS_Topic_get_inconsistent_topic_status_ex";
    if (self == nullptr || status == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "status");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!self->entity.enabled) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    DDS_DomainParticipant *participant = self->entity.participant;
    std::lock_guard guard(self->inconsistentMutex);
    // What was found before a failure stays remembered, and nothing is
    // acknowledged.
    if (!participant->factory->wire->ops->visitInconsistentTopics(participant->wireParticipant, self->description.name,
                                                                  self->description.typeName,
                                                                  DDS_Topic_rememberInconsistentI, self)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, "inconsistent topics");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    uint32_t total = 0;
    uint32_t unacknowledged = 0;
    for (DDS_InconsistentTopicI *known = self->inconsistent; known != nullptr; known = known->next) {
        ++total;
        unacknowledged += known->acknowledged ? 0u : 1u;
        known->acknowledged = known->acknowledged || reset;
    }
    status->total_count = static_cast<DDS_Long>(total);
    status->total_count_change = static_cast<DDS_Long>(unacknowledged);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_Topic_get_inconsistent_topic_status(DDS_Topic *self,
                                                                   struct DDS_InconsistentTopicStatus *status) {
    return DDS_Topic_get_inconsistent_topic_status_ex(self, status, DDS_BOOLEAN_TRUE);
}

}  // extern "C"
