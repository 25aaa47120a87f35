// Read conditions: the sample, view and instance states that a reader's
// read_w_condition and take_w_condition select, kept by the reader until
// deleted.
#include "data_reader_private.h"
#include "vurncore/heap.h"

void DDS_DataReader_deleteReadConditionsI(DDS_DataReader *reader) {
    DDS_ReadConditionImpl *conditions = nullptr;
    {
        DDS_EntityLockGuardI guard(&reader->entity);
        conditions = reader->readConditions;
        reader->readConditions = nullptr;
    }
    while (conditions != nullptr) {
        DDS_ReadConditionImpl *condition = conditions;
        conditions = condition->next;
        ZELOsapiHeap_freeStructure(condition);
    }
}

extern "C" {

VURNC_API DDS_ReadCondition *DDS_DataReader_create_readcondition(DDS_DataReader *self,
                                                                 DDS_SampleStateMask sample_states,
                                                                 DDS_ViewStateMask view_states,
                                                                 DDS_InstanceStateMask instance_states) {
    const char *const context = "DDS_DataReader_create_readcondition";
    if (self == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "self");
        return nullptr;
    }
    auto *condition =
            static_cast<DDS_ReadConditionImpl *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_ReadConditionImpl), "DRRC"));
    if (condition == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_ReadConditionImpl));
        return nullptr;
    }
    *condition = DDS_ReadConditionImpl{nullptr, self, sample_states, view_states, instance_states};
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        ZELOsapiHeap_freeStructure(condition);
        return nullptr;
    }
    condition->next = self->readConditions;
    self->readConditions = condition;
    return condition;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_delete_readcondition(DDS_DataReader *self, DDS_ReadCondition *condition) {
    const char *const context = "DDS_DataReader_delete_readcondition";
    if (self == nullptr || condition == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "condition");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held()) {
        return guard.result();
    }
    DDS_ReadConditionImpl **link = &self->readConditions;
    while (*link != nullptr && *link != condition) {
        link = &(*link)->next;
    }
    if (*link == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "condition of another reader");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    *link = condition->next;
    ZELOsapiHeap_freeStructure(condition);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_delete_contained_entities(DDS_DataReader *self) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_DataReader_delete_contained_entities", &ZEL_LOG_BAD_PARAMETER_s, "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DataReader_deleteReadConditionsI(self);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_SampleStateMask DDS_ReadCondition_get_sample_state_mask(const DDS_ReadCondition *self) {
    return self != nullptr ? self->sampleStates : 0;
}

VURNC_API DDS_ViewStateMask DDS_ReadCondition_get_view_state_mask(const DDS_ReadCondition *self) {
    return self != nullptr ? self->viewStates : 0;
}

VURNC_API DDS_InstanceStateMask DDS_ReadCondition_get_instance_state_mask(const DDS_ReadCondition *self) {
    return self != nullptr ? self->instanceStates : 0;
}

VURNC_API DDS_DataReader *DDS_ReadCondition_get_datareader(const DDS_ReadCondition *self) {
    return self != nullptr ? self->reader : nullptr;
}

VURNC_API DDS_Boolean DDS_ReadCondition_get_trigger_value(const DDS_ReadCondition *self) {
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_DataReader_hasSamplesInStatesI(self->reader, self->sampleStates, self->viewStates, self->instanceStates)
                   ? DDS_BOOLEAN_TRUE
                   : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
