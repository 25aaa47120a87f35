// A topic's inconsistent-topic status: the topics of other participants of
// its domain that have its name and another type name. The participant's
// wire finds them (through their endpoints: a remote topic that no writer
// or reader uses is not seen) and remembers each for this topic, so that
// each counts once in `total_count`; the ones not yet acknowledged are the
// `total_count_change`, and a read with reset acknowledges them.
#include "data_path_private.h"

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
    const ZELWireGuid topic = DDS_Entity_getWireGuidI(&self->entity);
    uint32_t total = 0;
    uint32_t unacknowledged = 0;
    if (!participant->factory->wire->ops->getInconsistentTopics(
                participant->wireParticipant, &topic, self->description.name, self->description.typeName,
                reset ? ZEL_TRUE : ZEL_FALSE, &total, &unacknowledged)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, "inconsistent topics");
        return DDS_RETCODE_OUT_OF_RESOURCES;
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
