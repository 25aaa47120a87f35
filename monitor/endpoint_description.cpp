// Descriptions of the monitored participant's data writers and data
// readers: parent and topic keys, the type's serialized sizes as the
// endpoint's own type plug-in reports them, and the whole QoS.
#include "description_sample.h"
#include "entity_description.h"
#include "related_topic.h"
#include "vurncore/type_plugin.h"

namespace {

ZEL_MONITOR_SAMPLE_SUPPORT(ZELDefaultMonitorWriterDescriptionSupport, DataWriterDescription);
ZEL_MONITOR_SAMPLE_SUPPORT(ZELDefaultMonitorReaderDescriptionSupport, DataReaderDescription);

// Sizes with the encapsulation header, little-endian CDR, from alignment 0.
constexpr DDS_Boolean kIncludeEncapsulation = DDS_BOOLEAN_TRUE;
constexpr DDS_UnsignedShort kLittleEndianCdr = 1;
constexpr unsigned int kAlignment = 0;

// Fills the names and sizes of a writer or reader description from the
// endpoint's topic and the endpoint data of its type plug-in. Failures are
// logged under `context`, the type-information helper's name.
template <typename Sample>
bool ZELDefaultMonitorDescription_fillTypeInfoI(Sample &sample, const ZELDefaultMonitorParticipantObject *object,
                                                DDS_Topic *topic, void *endpointData, const char *context) {
    if (topic == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "topic");
        return false;
    }
    DDS_TopicDescription *description = DDS_Topic_as_topicdescription(topic);
    if (description == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "topic description");
        return false;
    }
    const char *typeName = DDS_TopicDescription_get_type_name(description);
    if (!ZELDefaultMonitorDescription_copyNameI(&sample.type_name, typeName, context) ||
        !ZELDefaultMonitorDescription_copyNameI(&sample.topic_name, DDS_TopicDescription_get_name(description),
                                                context)) {
        return false;
    }
    const PRESTypePlugin *plugin = DDS_DomainParticipant_get_type_pluginI(object->participant, typeName);
    if (plugin == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "plugin");
        return false;
    }
    if (plugin->serializedSampleMaxSizeFnc == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "serializedSampleMaxSize");
        return false;
    }
    sample.serialized_sample_max_size = static_cast<DDS_Long>(
            plugin->serializedSampleMaxSizeFnc(endpointData, kIncludeEncapsulation, kLittleEndianCdr, kAlignment));
    if (plugin->serializedSampleMinSizeFnc == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "serializedSampleMinSize");
        return false;
    }
    sample.serialized_sample_min_size = static_cast<DDS_Long>(
            plugin->serializedSampleMinSizeFnc(endpointData, kIncludeEncapsulation, kLittleEndianCdr, kAlignment));
    if (plugin->getKeyKindFnc == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "getKeyKindFnc");
        return false;
    }
    if (plugin->getKeyKindFnc() != PRES_TYPEPLUGIN_USER_KEY) {
        sample.serialized_key_max_size = 0;
        return true;
    }
    if (plugin->serializedKeyMaxSizeFnc == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "serializedKeyMaxSize");
        return false;
    }
    sample.serialized_key_max_size = static_cast<DDS_Long>(
            plugin->serializedKeyMaxSizeFnc(endpointData, kIncludeEncapsulation, kLittleEndianCdr, kAlignment));
    return true;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean dispose) {
    static constexpr ZELDefaultMonitorDescriptionKind kind = {
            "ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc", "writer",
            ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION};
    auto fill = [participantObject, writer](zel_dds_monitoring_DataWriterDescription &sample) {
        if (!ZELDefaultMonitorEntity_copyParentKeyI(kind.context, "publisher", DDS_DataWriter_get_publisher(writer),
                                                    &sample.publisher_entity_key) ||
            !ZELDefaultMonitorEntity_copyParentKeyI(kind.context, "topic", DDS_DataWriter_get_topic(writer),
                                                    &sample.topic_entity_key)) {
            return false;
        }
        ZELDefaultMonitorSample_fillOriginI(sample, participantObject);
        if (!ZELDefaultMonitorDescription_readQosI(kind.context, &DDS_DataWriter_get_qos, writer, &sample.qos)) {
            return false;
        }
        if (!ZELDefaultMonitorDescription_applyPropertyRuleI(&sample.qos.property.value,
                                                             participantObject->skipWriterProperties, kind.context)) {
            return false;
        }
        if (!ZELDefaultMonitorParticipantObject_getWriterTypeInfo(participantObject, writer, &sample)) {
            ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_GET_FAILURE_s, "type info");
            return false;
        }
        return true;
    };
    return ZELDefaultMonitorDescription_sampleAndPublishI<ZELDefaultMonitorWriterDescriptionSupport>(
            participantObject, kind, dispose, writer, fill);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishReaderDesc(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean dispose) {
    static constexpr ZELDefaultMonitorDescriptionKind kind = {
            "ZELDefaultMonitorParticipantObject_sampleAndPublishReaderDesc", "reader",
            ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION};
    auto fill = [participantObject, reader](zel_dds_monitoring_DataReaderDescription &sample) {
        if (!ZELDefaultMonitorEntity_copyParentKeyI(kind.context, "subscriber", DDS_DataReader_get_subscriber(reader),
                                                    &sample.subscriber_entity_key)) {
            return false;
        }
        DDS_Octet isContentFiltered = 0;
        if (!ZELDefaultMonitorEntity_copyParentKeyI(
                    kind.context, "actual topic",
                    ZELDefaultMonitorParticipantObject_getActualReaderTopicI(reader, &isContentFiltered),
                    &sample.topic_entity_key)) {
            return false;
        }
        sample.is_content_filtered = isContentFiltered != 0 ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
        ZELDefaultMonitorSample_fillOriginI(sample, participantObject);
        if (!ZELDefaultMonitorDescription_readQosI(kind.context, &DDS_DataReader_get_qos, reader, &sample.qos)) {
            return false;
        }
        if (!ZELDefaultMonitorDescription_applyPropertyRuleI(&sample.qos.property.value,
                                                             participantObject->skipReaderProperties, kind.context)) {
            return false;
        }
        if (!ZELDefaultMonitorParticipantObject_getReaderTypeInfo(participantObject, reader, &sample)) {
            ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_GET_FAILURE_s, "type info");
            return false;
        }
        return true;
    };
    return ZELDefaultMonitorDescription_sampleAndPublishI<ZELDefaultMonitorReaderDescriptionSupport>(
            participantObject, kind, dispose, reader, fill);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_getWriterTypeInfo(ZELDefaultMonitorParticipantObject *participantObject,
                                                                 DDS_DataWriter *writer,
                                                                 zel_dds_monitoring_DataWriterDescription *sample) {
    return ZELDefaultMonitorDescription_fillTypeInfoI(*sample, participantObject, DDS_DataWriter_get_topic(writer),
                                                      DDS_DataWriter_get_endpoint_dataI(writer), __func__)
                   ? DDS_BOOLEAN_TRUE
                   : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_getReaderTypeInfo(ZELDefaultMonitorParticipantObject *participantObject,
                                                                 DDS_DataReader *reader,
                                                                 zel_dds_monitoring_DataReaderDescription *sample) {
    return ZELDefaultMonitorDescription_fillTypeInfoI(
                   *sample, participantObject,
                   ZELDefaultMonitorParticipantObject_getActualReaderTopicI(reader, nullptr),
                   DDS_DataReader_get_endpoint_dataI(reader), __func__)
                   ? DDS_BOOLEAN_TRUE
                   : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
