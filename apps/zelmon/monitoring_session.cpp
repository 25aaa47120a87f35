#include "monitoring_session.h"

#include "sample_json.h"

namespace zelmon {
namespace {

// Descriptions are kept by their writers for late joiners; statistics come
// every period and only the newest matters.
DDS_ReturnCode_t readerQos(DDS_Subscriber *subscriber, bool description, DDS_DataReaderQos *qos) {
    const DDS_ReturnCode_t result = DDS_Subscriber_get_default_datareader_qos(subscriber, qos);
    qos->reliability.kind = description ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos->durability.kind = description ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
    qos->history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos->history.depth = 8;
    return result;
}

}  // namespace

std::unique_ptr<MonitoringSession> MonitoringSession::open(int32_t domain, std::string *error) {
    std::unique_ptr<MonitoringSession> session(new MonitoringSession());
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    if (factory == nullptr) {
        *error = "the DDS platform could not start";
        return nullptr;
    }
    session->participant_ =
            DDS_DomainParticipantFactory_create_participant(factory, domain, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    if (session->participant_ == nullptr) {
        *error = "cannot join domain " + std::to_string(domain) + " (domain ids go from 0 to 232)";
        return nullptr;
    }
    DDS_Subscriber *subscriber =
            DDS_DomainParticipant_create_subscriber(session->participant_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    if (subscriber == nullptr) {
        *error = "cannot create a subscriber";
        return nullptr;
    }
    for (int topic = 0; topic < ZEL_MONITOR_TOPIC_COUNT; ++topic) {
        const ZELDefaultMonitorCatalogueEntry &entry = ZELDefaultMonitorCatalogue_g_entries[topic];
        PRESTypePlugin *plugin = entry.newPlugin();
        const DDS_ReturnCode_t registered =
                plugin != nullptr
                        ? DDS_DomainParticipant_register_type(session->participant_, entry.typeName, plugin, nullptr)
                        : DDS_RETCODE_OUT_OF_RESOURCES;
        if (plugin != nullptr) {
            entry.deletePlugin(plugin);
        }
        DDS_Topic *ddsTopic = registered == DDS_RETCODE_OK ? DDS_DomainParticipant_create_topic(
                                                                     session->participant_, entry.topicName,
                                                                     entry.typeName, &DDS_TOPIC_QOS_DEFAULT, nullptr, 0)
                                                           : nullptr;
        DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
        if (ddsTopic != nullptr && readerQos(subscriber, entry.isDescription != 0, &qos) == DDS_RETCODE_OK) {
            session->readers_[topic] = DDS_Subscriber_create_datareader(
                    subscriber, DDS_Topic_as_topicdescription(ddsTopic), &qos, nullptr, 0);
        }
        DDS_DataReaderQos_finalize(&qos);
        if (session->readers_[topic] == nullptr) {
            *error = std::string("cannot create a reader of ") + entry.topicName;
            return nullptr;
        }
    }
    return session;
}

MonitoringSession::~MonitoringSession() {
    if (participant_ != nullptr) {
        DDS_DomainParticipant_delete_contained_entities(participant_);
        DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory_get_instance(), participant_);
    }
}

void MonitoringSession::takeFrom(int topic, std::vector<MonitoringSample> *out) {
    const ZELCdrTypeDesc *type = ZELDefaultMonitorCatalogue_g_entries[topic].type;
    ZELSequence samples = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    if (DDS_DataReader_read_or_take_untypedI(readers_[topic], &samples, &infos, DDS_LENGTH_UNLIMITED,
                                             DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE,
                                             DDS_BOOLEAN_TRUE) != DDS_RETCODE_OK) {
        return;
    }
    for (DDS_Long i = 0; i < DDS_SampleInfoSeq_get_length(&infos); ++i) {
        const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
        MonitoringSample sample{topic, info->valid_data != 0, info->instance_state,
                                int64_t{info->source_timestamp.sec} * 1000000000 + info->source_timestamp.nanosec,
                                nullptr};
        if (sample.valid) {
            const void *data = samples._discontiguous_buffer != nullptr
                                       ? samples._discontiguous_buffer[i]
                                       : static_cast<const char *>(samples._contiguous_buffer) +
                                                 static_cast<size_t>(i) * type->size;
            sample.data = sampleToJson(type, data);
        } else {
            // The instance's key, from the reader that knows it.
            std::vector<char> keyHolder(type->size);
            if (!ZELCdrType_initializeSample(type, keyHolder.data(), nullptr)) {
                continue;
            }
            if (DDS_DataReader_get_key_value_untypedI(readers_[topic], keyHolder.data(), &info->instance_handle) ==
                DDS_RETCODE_OK) {
                sample.data = sampleToJson(type, keyHolder.data());
            }
            ZELCdrType_finalizeSample(type, keyHolder.data(), nullptr);
            if (sample.data.is_null()) {
                continue;
            }
        }
        out->push_back(std::move(sample));
    }
    DDS_DataReader_return_loan_untypedI(readers_[topic], &samples, &infos);
}

std::vector<MonitoringSample> MonitoringSession::poll() {
    std::vector<MonitoringSample> samples;
    for (int topic = 0; topic < ZEL_MONITOR_TOPIC_COUNT; ++topic) {
        takeFrom(topic, &samples);
    }
    return samples;
}

int64_t MonitoringSession::malformedSamples() const {
    int64_t total = 0;
    for (DDS_DataReader *reader : readers_) {
        DDS_DataReaderProtocolStatus status{};
        if (DDS_DataReader_get_datareader_protocol_status_ex(reader, &status, DDS_BOOLEAN_FALSE) == DDS_RETCODE_OK) {
            total += status.rejected_sample_count;
        }
    }
    return total;
}

}  // namespace zelmon
