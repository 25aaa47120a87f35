// What a participant has discovered of its domain: the other participants,
// and every writer and reader (its own included), as instance handles made
// from their GUIDs. The wire knows them; the participant keeps no list.
#include "data_path_private.h"

// Appends the handle of each visited entity, growing the sequence by
// doubling; stops the walk when the sequence cannot grow.
static ZELBoolean DDS_InstanceHandleSeq_appendDiscoveredI(void *context, const ZELWireDiscoveredEntity *entity) {
    auto *seq = static_cast<DDS_InstanceHandleSeq *>(context);
    const DDS_Long length = DDS_InstanceHandleSeq_get_length(seq);
    const DDS_Long maximum = DDS_InstanceHandleSeq_get_maximum(seq);
    const DDS_Long grown = length < maximum ? maximum : (maximum < 8 ? 8 : maximum * 2);
    if (!DDS_InstanceHandleSeq_ensure_length(seq, length + 1, grown)) {
        return ZEL_FALSE;
    }
    *DDS_InstanceHandleSeq_get_reference(seq, length) = DDS_InstanceHandle_fromWireGuidI(&entity->guid);
    return ZEL_TRUE;
}

// Fills `seq` with the handles of the entities of `kind` that the
// participant knows. On OUT_OF_RESOURCES (the sequence could not grow) the
// sequence is left empty.
static DDS_ReturnCode_t DDS_DomainParticipant_getDiscoveredI(DDS_DomainParticipant *self, DDS_InstanceHandleSeq *seq,
                                                             ZELWireEntityKind kind, const char *context) {
    if (self == nullptr || seq == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "seq");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!self->entity.enabled) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    if (!DDS_InstanceHandleSeq_set_length(seq, 0)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "seq");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    ZELWire *wire = self->factory->wire;
    if (!wire->ops->visitDiscovered(self->wireParticipant, kind, DDS_InstanceHandleSeq_appendDiscoveredI, seq)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "grow seq");
        DDS_InstanceHandleSeq_set_length(seq, 0);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_discovered_participants(DDS_DomainParticipant *self,
                                                                             struct DDS_InstanceHandleSeq *handles) {
    return DDS_DomainParticipant_getDiscoveredI(self, handles, ZEL_WIRE_ENTITY_PARTICIPANT,
                                                "DDS_DomainParticipant_get_discovered_participants");
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_publications(DDS_DomainParticipant *self,
                                                                  struct DDS_InstanceHandleSeq *handles) {
    return DDS_DomainParticipant_getDiscoveredI(self, handles, ZEL_WIRE_ENTITY_WRITER,
                                                "DDS_DomainParticipant_get_publications");
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_get_subscriptions(DDS_DomainParticipant *self,
                                                                   struct DDS_InstanceHandleSeq *handles) {
    return DDS_DomainParticipant_getDiscoveredI(self, handles, ZEL_WIRE_ENTITY_READER,
                                                "DDS_DomainParticipant_get_subscriptions");
}

}  // extern "C"
