// The topic an entity is reported under, and the user-topic filter.
#include "related_topic.h"

#include "log/monitor_log_macros.h"
#include "vurncore/reda_string.h"

extern "C" {

DDS_Topic *ZELDefaultMonitorParticipantObject_getActualReaderTopicI(DDS_DataReader *reader,
                                                                    DDS_Octet *isContentFiltered) {
    DDS_TopicDescription *description = DDS_DataReader_get_topicdescription(reader);
    if (description == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "topicDescription");
        return nullptr;
    }
    if (DDS_Topic *topic = DDS_Topic_narrow(description); topic != nullptr) {
        if (isContentFiltered != nullptr) {
            *isContentFiltered = 0;
        }
        return topic;
    }
    // A filtered reader is reported under the topic that its filter reads.
    if (DDS_ContentFilteredTopic *filtered = DDS_ContentFilteredTopic_narrow(description); filtered != nullptr) {
        if (isContentFiltered != nullptr) {
            *isContentFiltered = 1;
        }
        return DDS_ContentFilteredTopic_get_related_topic(filtered);
    }
    ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "topic");
    return nullptr;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_isTopicFilteredI(DDS_Topic *topic, const char *filterList) {
    DDS_TopicDescription *description = topic != nullptr ? DDS_Topic_as_topicdescription(topic) : nullptr;
    if (description == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "topicdescription");
        return DDS_BOOLEAN_FALSE;
    }
    const bool matches =
            REDAString_hasMatchingElement(filterList, DDS_TopicDescription_get_name(description), ',') != 0;
    return matches ? DDS_BOOLEAN_FALSE : DDS_BOOLEAN_TRUE;
}

}  // extern "C"
