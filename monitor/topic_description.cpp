// Descriptions of the monitored participant's topics, publishers and
// subscribers: each names its participant by key.
#include "description_sample.h"
#include "entity_description.h"
#include "vurncore/typecode.h"

namespace {

ZEL_MONITOR_SAMPLE_SUPPORT(ZELDefaultMonitorTopicDescriptionSupport, TopicDescription);
ZEL_MONITOR_SAMPLE_SUPPORT(ZELDefaultMonitorPublisherDescriptionSupport, PublisherDescription);
ZEL_MONITOR_SAMPLE_SUPPORT(ZELDefaultMonitorSubscriberDescriptionSupport, SubscriberDescription);

// The parent participant's key and the entity's origin, common to the three.
template <typename Sample>
bool ZELDefaultMonitorDescription_fillParticipantI(Sample &sample, const ZELDefaultMonitorParticipantObject *object,
                                                   DDS_DomainParticipant *participant, const char *context) {
    if (!ZELDefaultMonitorEntity_copyParentKeyI(context, "participant", participant, &sample.participant_entity_key)) {
        return false;
    }
    ZELDefaultMonitorSample_fillOriginI(sample, object);
    return true;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_Topic *topic, DDS_Boolean dispose) {
    static constexpr ZELDefaultMonitorDescriptionKind kind = {
            "ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc", "topic",
            ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION};
    auto fill = [participantObject, topic](zel_dds_monitoring_TopicDescription &sample) {
        DDS_TopicDescription *description = topic != nullptr ? DDS_Topic_as_topicdescription(topic) : nullptr;
        if (description == nullptr) {
            ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_GET_FAILURE_s, "topicdescription");
            return false;
        }
        if (!ZELDefaultMonitorDescription_fillParticipantI(
                    sample, participantObject, DDS_TopicDescription_get_participant(description), kind.context) ||
            !ZELDefaultMonitorDescription_copyNameI(&sample.topic_name, DDS_TopicDescription_get_name(description),
                                                    kind.context) ||
            !ZELDefaultMonitorDescription_copyNameI(&sample.type_name, DDS_TopicDescription_get_type_name(description),
                                                    kind.context)) {
            return false;
        }
        if (!ZELDefaultMonitorDescription_readQosI(kind.context, &DDS_Topic_get_qos, topic, &sample.qos)) {
            return false;
        }
        if (!ZELDefaultMonitorParticipantObject_getTypeInfo(participantObject, topic, &sample)) {
            ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_GET_FAILURE_s, "type info");
            return false;
        }
        return true;
    };
    return ZELDefaultMonitorDescription_sampleAndPublishI<ZELDefaultMonitorTopicDescriptionSupport>(
            participantObject, kind, dispose, topic, fill);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishPublisherDesc(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_Publisher *publisher, DDS_Boolean dispose) {
    static constexpr ZELDefaultMonitorDescriptionKind kind = {
            "ZELDefaultMonitorParticipantObject_sampleAndPublishPublisherDesc", "publisher",
            ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION};
    auto fill = [participantObject, publisher](zel_dds_monitoring_PublisherDescription &sample) {
        if (!ZELDefaultMonitorDescription_fillParticipantI(sample, participantObject,
                                                           DDS_Publisher_get_participant(publisher), kind.context)) {
            return false;
        }
        if (!ZELDefaultMonitorDescription_readQosI(kind.context, &DDS_Publisher_get_qos, publisher, &sample.qos)) {
            return false;
        }
        return true;
    };
    return ZELDefaultMonitorDescription_sampleAndPublishI<ZELDefaultMonitorPublisherDescriptionSupport>(
            participantObject, kind, dispose, publisher, fill);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishSubscriberDesc(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_Subscriber *subscriber, DDS_Boolean dispose) {
    static constexpr ZELDefaultMonitorDescriptionKind kind = {
            "ZELDefaultMonitorParticipantObject_sampleAndPublishSubscriberDesc", "subscriber",
            ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION};
    auto fill = [participantObject, subscriber](zel_dds_monitoring_SubscriberDescription &sample) {
        if (!ZELDefaultMonitorDescription_fillParticipantI(sample, participantObject,
                                                           DDS_Subscriber_get_participant(subscriber), kind.context)) {
            return false;
        }
        if (!ZELDefaultMonitorDescription_readQosI(kind.context, &DDS_Subscriber_get_qos, subscriber, &sample.qos)) {
            return false;
        }
        return true;
    };
    return ZELDefaultMonitorDescription_sampleAndPublishI<ZELDefaultMonitorSubscriberDescriptionSupport>(
            participantObject, kind, dispose, subscriber, fill);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_getTypeInfo(ZELDefaultMonitorParticipantObject *participantObject,
                                                           DDS_Topic *topic,
                                                           zel_dds_monitoring_TopicDescription *sample) {
    const char *typeName = DDS_TopicDescription_get_type_name(DDS_Topic_as_topicdescription(topic));
    const PRESTypePlugin *plugin = DDS_DomainParticipant_get_type_pluginI(participantObject->participant, typeName);
    if (plugin == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "plugin");
        return DDS_BOOLEAN_FALSE;
    }
    sample->tc_serialized_size = plugin->typeCode != nullptr ? DDS_TypeCode_get_serialized_size(plugin->typeCode) : 0u;
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
