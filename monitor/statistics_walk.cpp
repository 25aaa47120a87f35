// The statistics walk over the topics and the data writers of one
// monitored participant.
#include "statistics_walk.h"

#include "entity_set.h"
#include "entity_statistics.h"
#include "log/monitor_log_macros.h"
#include "related_topic.h"
#include "statistics_group_walk.h"

namespace {

const char *const kAllWriters = "ZELDefaultMonitorParticipantObject_sampleAndPublishAllWritersStatsI";

// What one writer contributes: its own statistics and, once it is enabled,
// those of its matches.
bool ZELDefaultMonitorParticipantObject_sampleAndPublishWriterAndMatchesI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, bool withWriter,
        bool withMatched, bool withLocators) {
    const char *const context = kAllWriters;
    bool ok = true;
    if (withWriter &&
        !ZELDefaultMonitorParticipantObject_sampleAndPublishWriterStats(participantObject, writer, DDS_BOOLEAN_FALSE)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "sample and publish writer stats");
        ok = false;
    }
    if (!DDS_Entity_is_enabled(DDS_DataWriter_as_entity(writer))) {
        return ok;
    }
    if (withMatched && !ZELDefaultMonitorParticipantObject_sampleAndPublishAllWriterMatchedStatsI(
                               participantObject, writer, DDS_BOOLEAN_FALSE)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "sample and publish all writer matched stats");
        ok = false;
    }
    if (withLocators && !ZELDefaultMonitorParticipantObject_sampleAndPublishAllWriterMatchedWithLocatorStatsI(
                                participantObject, writer, DDS_BOOLEAN_FALSE)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s,
                                       "sample and publish all writer matched with locator stats");
        ok = false;
    }
    return ok;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllTopicsStatsI(
        ZELDefaultMonitorParticipantObject *participantObject) {
    DDS_TopicSeq topics = ZEL_SEQUENCE_INITIALIZER;
    if (DDS_DomainParticipant_get_topics(participantObject->participant, &topics) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get topics");
        DDS_TopicSeq_finalize(&topics);
        return DDS_BOOLEAN_FALSE;
    }
    bool ok = true;
    for (DDS_Long i = 0; i < DDS_TopicSeq_get_length(&topics); ++i) {
        DDS_Topic *topic = DDS_TopicSeq_get(&topics, i);
        if (topic == nullptr) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get topic reference");
            ok = false;
            continue;
        }
        if (participantObject->userTopics != nullptr &&
            ZELDefaultMonitorParticipantObject_isTopicFilteredI(topic, participantObject->userTopics)) {
            continue;
        }
        if (!ZELDefaultMonitorParticipantObject_sampleAndPublishTopicStats(participantObject, topic,
                                                                           DDS_BOOLEAN_FALSE)) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "sample and publish topic stats");
            ok = false;
        }
    }
    DDS_TopicSeq_finalize(&topics);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllWritersStatsI(
        ZELDefaultMonitorParticipantObject *participantObject) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    const bool withWriter = ZELDefaultMonitorEntitySet_writerI(set, ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS) != nullptr;
    const bool withMatched = ZELDefaultMonitorEntitySet_writerI(
                                     set, ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS) != nullptr;
    const bool withLocators =
            ZELDefaultMonitorEntitySet_writerI(
                    set, ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS) != nullptr;
    const bool ok = ZELDefaultMonitorParticipantObject_walkGroupsI<ZELDefaultMonitorPublishersI>(
            participantObject, __func__, [&](DDS_DataWriter *writer) {
                return ZELDefaultMonitorParticipantObject_sampleAndPublishWriterAndMatchesI(
                        participantObject, writer, withWriter, withMatched, withLocators);
            });
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllWriterMatchedStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean keyOnly) {
    const bool ok = ZELDefaultMonitorParticipantObject_walkMatchedI(
            __func__, writer, &DDS_DataWriter_get_matched_subscriptions, "sample and publish writer match stats",
            [&](const DDS_InstanceHandle_t *handle) {
                return ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedStats(
                               participantObject, writer, handle, keyOnly) != DDS_BOOLEAN_FALSE;
            });
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllWriterMatchedWithLocatorStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean keyOnly) {
    DDS_LocatorSeq locators = ZEL_SEQUENCE_INITIALIZER;
    if (DDS_DataWriter_get_matched_subscription_locators(writer, &locators) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get all matched locators");
        DDS_LocatorSeq_finalize(&locators);
        return DDS_BOOLEAN_FALSE;
    }
    bool ok = true;
    for (DDS_Long i = 0; i < DDS_LocatorSeq_get_length(&locators); ++i) {
        const DDS_Locator_t *locator = DDS_LocatorSeq_get_reference(&locators, i);
        if (locator == nullptr) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get locator");
            ok = false;
            continue;
        }
        if (!ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedWithLocatorStats(participantObject, writer,
                                                                                              locator, keyOnly)) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "sample and publish writer match with locator stats");
            ok = false;
        }
    }
    DDS_LocatorSeq_finalize(&locators);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
