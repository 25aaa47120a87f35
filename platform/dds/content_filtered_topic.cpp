// Content-filtered topics: a name, a related topic of the same participant,
// a filter expression and its parameters. The filter is compiled at
// creation against the related topic's type and rebound when the parameters
// change; readers of the topic evaluate it.
#include <cstring>
#include <new>

#include "content_filter.h"
#include "entity_private.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"

static void DDS_ContentFilteredTopic_freeI(DDS_ContentFilteredTopic *topic) {
    if (topic->filter != nullptr) {
        ZELContentFilter_delete(topic->filter);
    }
    DDS_StringSeq_finalize(&topic->parameters);
    DDS_String_free(topic->filterExpression);
    DDS_String_free(topic->description.typeName);
    DDS_String_free(topic->description.name);
    topic->~DDS_ContentFilteredTopicImpl();
    ZELOsapiHeap_freeStructure(topic);
}

DDS_Topic *DDS_TopicDescription_get_topicI(DDS_TopicDescription *description) {
    if (description->kind == DDS_TOPIC_DESCRIPTION_TOPIC_I) {
        return DDS_Topic_narrow(description);
    }
    return DDS_ContentFilteredTopic_narrow(description)->relatedTopic;
}

void DDS_TopicDescription_addReaderI(DDS_TopicDescription *description, DDS_Long delta) {
    if (description->kind == DDS_TOPIC_DESCRIPTION_TOPIC_I) {
        DDS_Topic_narrow(description)->useCount += delta;
    } else {
        DDS_ContentFilteredTopic_narrow(description)->readerCount += delta;
    }
}

bool DDS_ContentFilteredTopic_evaluateI(DDS_ContentFilteredTopic *topic, const void *sample) {
    std::lock_guard guard(topic->filterMutex);
    return ZELContentFilter_evaluate(topic->filter, sample) != DDS_BOOLEAN_FALSE;
}

DDS_ReturnCode_t DDS_ContentFilteredTopic_deleteI(DDS_ContentFilteredTopic *topic) {
    DDS_DomainParticipant *participant = topic->description.participant;
    {
        DDS_EntityLockGuardI guard(&participant->entity);
        if (!guard.held()) {
            return guard.result();
        }
        if (topic->readerCount != 0) {
            ZELLog_printContextAndMsg("DDS_DomainParticipant_delete_contentfilteredtopic",
                                      &ZEL_LOG_PRECONDITION_NOT_MET_s, "content-filtered topic in use");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        DDS_EntityList_removeI(&participant->contentFilteredTopics, &topic->node);
        --topic->relatedTopic->useCount;
    }
    DDS_ContentFilteredTopic_freeI(topic);
    return DDS_RETCODE_OK;
}

extern "C" {

VURNC_API DDS_ContentFilteredTopic *DDS_DomainParticipant_create_contentfilteredtopic(
        DDS_DomainParticipant *self, const char *name, DDS_Topic *relatedTopic, const char *filterExpression,
        const struct DDS_StringSeq *expressionParameters) {
    const char *const context = "DDS_DomainParticipant_create_contentfilteredtopic";
    if (self == nullptr || name == nullptr || relatedTopic == nullptr || filterExpression == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (relatedTopic == nullptr ? "related topic" : "name"));
        return nullptr;
    }
    if (relatedTopic->entity.participant != self) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic of another participant");
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_ContentFilteredTopicImpl), "DCFT");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_ContentFilteredTopicImpl));
        return nullptr;
    }
    auto *topic = new (memory) DDS_ContentFilteredTopicImpl{};
    topic->description.kind = DDS_TOPIC_DESCRIPTION_CONTENT_FILTERED_I;
    topic->description.participant = self;
    topic->relatedTopic = relatedTopic;
    topic->description.name = DDS_String_dup(name);
    topic->description.typeName = DDS_String_dup(relatedTopic->description.typeName);
    topic->filterExpression = DDS_String_dup(filterExpression);
    if (topic->description.name == nullptr || topic->description.typeName == nullptr ||
        topic->filterExpression == nullptr || !DDS_StringSeq_initialize(&topic->parameters) ||
        (expressionParameters != nullptr && DDS_StringSeq_copy(&topic->parameters, expressionParameters) == nullptr)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "content-filtered topic");
        DDS_ContentFilteredTopic_freeI(topic);
        return nullptr;
    }
    // Filters read samples in place: a type without a sample description cannot have one.
    const ZELCdrTypeDesc *typeDesc = relatedTopic->type->plugin.typeDesc;
    if (typeDesc == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  "related type has no sample description to filter");
        DDS_ContentFilteredTopic_freeI(topic);
        return nullptr;
    }
    ZELContentFilterError error{};
    topic->filter = ZELContentFilter_compile(typeDesc, filterExpression, &topic->parameters, &error);
    if (topic->filter == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, error.message);
        DDS_ContentFilteredTopic_freeI(topic);
        return nullptr;
    }
    DDS_EntityLockGuardI guard(&self->entity);
    if (!guard.held() || DDS_DomainParticipant_lookup_topicdescription(self, name) != nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic name in use");
        DDS_ContentFilteredTopic_freeI(topic);
        return nullptr;
    }
    DDS_EntityList_addI(&self->contentFilteredTopics, &topic->node);
    ++relatedTopic->useCount;
    return topic;
}

VURNC_API DDS_ReturnCode_t DDS_DomainParticipant_delete_contentfilteredtopic(DDS_DomainParticipant *self,
                                                                             DDS_ContentFilteredTopic *topic) {
    const char *const context = "DDS_DomainParticipant_delete_contentfilteredtopic";
    if (self == nullptr || topic == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "topic");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (topic->description.participant != self) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "topic of another participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return DDS_ContentFilteredTopic_deleteI(topic);
}

VURNC_API DDS_TopicDescription *DDS_ContentFilteredTopic_as_topicdescription(DDS_ContentFilteredTopic *self) {
    return self != nullptr ? &self->description : nullptr;
}

VURNC_API DDS_ContentFilteredTopic *DDS_ContentFilteredTopic_narrow(DDS_TopicDescription *description) {
    if (description == nullptr || description->kind != DDS_TOPIC_DESCRIPTION_CONTENT_FILTERED_I) {
        return nullptr;
    }
    return reinterpret_cast<DDS_ContentFilteredTopic *>(reinterpret_cast<char *>(description) -
                                                        offsetof(DDS_ContentFilteredTopicImpl, description));
}

VURNC_API DDS_Topic *DDS_ContentFilteredTopic_get_related_topic(const DDS_ContentFilteredTopic *self) {
    return self != nullptr ? self->relatedTopic : nullptr;
}

VURNC_API const char *DDS_ContentFilteredTopic_get_filter_expression(const DDS_ContentFilteredTopic *self) {
    return self != nullptr ? self->filterExpression : nullptr;
}

VURNC_API DDS_ReturnCode_t DDS_ContentFilteredTopic_get_expression_parameters(const DDS_ContentFilteredTopic *self,
                                                                              struct DDS_StringSeq *parameters) {
    if (self == nullptr || parameters == nullptr) {
        ZELLog_printContextAndMsg("DDS_ContentFilteredTopic_get_expression_parameters", &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : "parameters");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->description.participant->entity);
    if (!guard.held()) {
        return guard.result();
    }
    return DDS_StringSeq_copy(parameters, &self->parameters) != nullptr ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

VURNC_API DDS_ReturnCode_t DDS_ContentFilteredTopic_set_expression_parameters(DDS_ContentFilteredTopic *self,
                                                                              const struct DDS_StringSeq *parameters) {
    const char *const context = "DDS_ContentFilteredTopic_set_expression_parameters";
    if (self == nullptr || parameters == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "parameters");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(&self->description.participant->entity);
    if (!guard.held()) {
        return guard.result();
    }
    // The filter is rebound first: on failure it keeps its previous binding
    // and the stored parameters stay as they were.
    ZELContentFilterError error{};
    {
        std::lock_guard filterGuard(self->filterMutex);
        if (!ZELContentFilter_setParameters(self->filter, parameters, &error)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, error.message);
            return DDS_RETCODE_BAD_PARAMETER;
        }
    }
    // The sequence copy swaps the new texts in only once all are copied; on
    // failure the filter is bound to the parameters it was given anyway.
    if (DDS_StringSeq_copy(&self->parameters, parameters) == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "copy parameters");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    return DDS_RETCODE_OK;
}

}  // extern "C"
