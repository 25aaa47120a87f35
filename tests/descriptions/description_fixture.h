// What the description tests share: a monitoring tool's view of the six
// description topics (a participant of its own, in the monitoring domain
// of the same process), and an application's entities.
#pragma once

#include <array>
#include <cinttypes>
#include <map>
#include <memory>
#include <string>

#include "description_types.h"
#include "plugin_fixture.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"

namespace zeltest {

using EntityKey = std::array<DDS_Long, 4>;

inline EntityKey keyOf(const DDS_BuiltinTopicKey_t *key) {
    return {key->value[0], key->value[1], key->value[2], key->value[3]};
}
inline EntityKey keyOf(const DDSMonitoring_BuiltinTopicKey_t &key) {
    return {key.value[0], key.value[1], key.value[2], key.value[3]};
}
inline EntityKey keyOf(DDS_DomainParticipant *participant) {
    DDS_BuiltinTopicKey_t key{};
    DDS_DomainParticipant_get_builtin_topic_key(participant, &key);
    return keyOf(&key);
}

// The plug-in linked into this program, named to the middleware by address.
inline std::string monitorCreateFunctionAddress() {
    char text[32];
    std::snprintf(text, sizeof text, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(&ZELDefaultMonitor_create));
    return text;
}

// The generated support of one description type under common names.
#define ZELTEST_DESCRIPTION_TOPIC(NAME, TYPE, TOPIC)                                                  \
    struct NAME {                                                                                    \
        using Sample = zel_dds_monitoring_##TYPE;                                                    \
        using Seq = zel_dds_monitoring_##TYPE##Seq;                                                  \
        static constexpr const char *topicName = "zel/dds/monitoring/" TOPIC;                        \
        static constexpr auto typeName = &zel_dds_monitoring_##TYPE##TypeSupport_get_type_name;      \
        static constexpr auto registerType = &zel_dds_monitoring_##TYPE##TypeSupport_register_type;  \
        static constexpr auto narrow = &zel_dds_monitoring_##TYPE##DataReader_narrow;                \
        static constexpr auto read = &zel_dds_monitoring_##TYPE##DataReader_read;                    \
        static constexpr auto returnLoan = &zel_dds_monitoring_##TYPE##DataReader_return_loan;       \
        static constexpr auto length = &zel_dds_monitoring_##TYPE##Seq_get_length;                   \
        static constexpr auto at = &zel_dds_monitoring_##TYPE##Seq_get_reference;                    \
        static constexpr auto finalizeSeq = &zel_dds_monitoring_##TYPE##Seq_finalize;                \
        static constexpr auto initialize = &zel_dds_monitoring_##TYPE##_initialize;                  \
        static constexpr auto copy = &zel_dds_monitoring_##TYPE##_copy;                              \
        static constexpr auto finalize = &zel_dds_monitoring_##TYPE##_finalize;                      \
    }

ZELTEST_DESCRIPTION_TOPIC(ParticipantDescriptions, DomainParticipantDescription, "domainParticipantDescription");
ZELTEST_DESCRIPTION_TOPIC(TopicDescriptions, TopicDescription, "topicDescription");
ZELTEST_DESCRIPTION_TOPIC(PublisherDescriptions, PublisherDescription, "publisherDescription");
ZELTEST_DESCRIPTION_TOPIC(SubscriberDescriptions, SubscriberDescription, "subscriberDescription");
ZELTEST_DESCRIPTION_TOPIC(ReaderDescriptions, DataReaderDescription, "dataReaderDescription");
ZELTEST_DESCRIPTION_TOPIC(WriterDescriptions, DataWriterDescription, "dataWriterDescription");

// What a monitoring tool knows of one entity: its last description and
// whether its instance is alive.
template <typename D>
struct Described {
    std::shared_ptr<typename D::Sample> last;  // the last description received
    int samples = 0;                           // descriptions received
    bool alive = false;                        // false once disposed
};

template <typename D>
using DescribedMap = std::map<EntityKey, Described<D>>;

// A participant with readers of the six description topics that keep
// what the monitoring writers ever sent (TRANSIENT_LOCAL, RELIABLE).
class DescriptionObserver {
public:
    DescriptionObserver(DDS_DomainParticipantFactory *factory, DDS_DomainId_t domain) : factory_(factory) {
        participant_ = DDS_DomainParticipantFactory_create_participant(factory, domain, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                       nullptr, DDS_STATUS_MASK_NONE);
        EXPECT_NE(participant_, nullptr);
        subscriber_ = DDS_DomainParticipant_create_subscriber(participant_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr,
                                                              DDS_STATUS_MASK_NONE);
        EXPECT_NE(subscriber_, nullptr);
        createReader<ParticipantDescriptions>();
        createReader<TopicDescriptions>();
        createReader<PublisherDescriptions>();
        createReader<SubscriberDescriptions>();
        createReader<ReaderDescriptions>();
        createReader<WriterDescriptions>();
    }

    ~DescriptionObserver() {
        EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant_), DDS_RETCODE_OK);
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant_), DDS_RETCODE_OK);
    }

    DescriptionObserver(const DescriptionObserver &) = delete;
    DescriptionObserver &operator=(const DescriptionObserver &) = delete;

    // Every instance ever described, by entity key.
    template <typename D>
    DescribedMap<D> described() {
        auto *typed = D::narrow(readers_.at(D::topicName));
        typename D::Seq samples = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        DescribedMap<D> result;
        const DDS_ReturnCode_t read = D::read(typed, &samples, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                              DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
        if (read == DDS_RETCODE_NO_DATA) {
            return result;
        }
        EXPECT_EQ(read, DDS_RETCODE_OK);
        // Samples come instance by instance; a dispose carries no data but
        // its instance handle, which the instance's earlier samples name.
        std::map<std::string, EntityKey> keyOfInstance;
        for (DDS_Long i = 0; i < D::length(&samples); ++i) {
            const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
            const std::string handle(reinterpret_cast<const char *>(info->instance_handle.value), 16);
            if (info->valid_data) {
                const typename D::Sample *sample = D::at(&samples, i);
                const EntityKey key = keyOf(sample->entity_key);
                keyOfInstance[handle] = key;
                Described<D> &entry = result[key];
                entry.last = copyOf<D>(sample);
                ++entry.samples;
            }
            const auto known = keyOfInstance.find(handle);
            EXPECT_NE(known, keyOfInstance.end()) << "a dispose of an instance never described";
            if (known != keyOfInstance.end()) {
                result[known->second].alive = info->instance_state == DDS_ALIVE_INSTANCE_STATE;
            }
        }
        EXPECT_EQ(D::returnLoan(typed, &samples, &infos), DDS_RETCODE_OK);
        D::finalizeSeq(&samples);
        DDS_SampleInfoSeq_finalize(&infos);
        return result;
    }

private:
    template <typename D>
    void createReader() {
        ASSERT_EQ(D::registerType(participant_, D::typeName()), DDS_RETCODE_OK);
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant_, D::topicName, D::typeName(),
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(topic, nullptr);
        DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
        DDS_Subscriber_get_default_datareader_qos(subscriber_, &qos);
        qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
        qos.history.depth = 16;
        DDS_DataReader *reader = DDS_Subscriber_create_datareader(subscriber_, DDS_Topic_as_topicdescription(topic),
                                                                  &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_DataReaderQos_finalize(&qos);
        ASSERT_NE(reader, nullptr);
        readers_[D::topicName] = reader;
    }

    template <typename D>
    static std::shared_ptr<typename D::Sample> copyOf(const typename D::Sample *sample) {
        auto *copy = new typename D::Sample{};
        EXPECT_TRUE(D::initialize(copy));
        EXPECT_TRUE(D::copy(copy, sample));
        return std::shared_ptr<typename D::Sample>(copy, [](typename D::Sample *held) {
            D::finalize(held);
            delete held;
        });
    }

    DDS_DomainParticipantFactory *factory_;
    DDS_DomainParticipant *participant_ = nullptr;
    DDS_Subscriber *subscriber_ = nullptr;
    std::map<std::string, DDS_DataReader *> readers_;
};

// The value of a property in a description's property list, or "<absent>".
inline std::string propertyIn(const DDSMonitoring_PropertyQosPolicy &policy, const char *name) {
    for (DDS_Long i = 0; i < DDSMonitoring_Property_tSeq_get_length(&policy.value); ++i) {
        const DDSMonitoring_Property_t *property = DDSMonitoring_Property_tSeq_get_reference(const_cast<DDSMonitoring_Property_tSeq *>(&policy.value), i);
        if (std::string(property->name) == name) {
            return property->value;
        }
    }
    return "<absent>";
}

}  // namespace zeltest
