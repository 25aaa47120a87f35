// What the plug-in's suites share: a participant factory for the test's
// lifetime, a monitor publisher with its attached participants, applications
// of the test types, and an observer participant that reads the monitoring
// topics.
#pragma once

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "application_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "record_text.h"
#include "vurnc/dds_c.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"
#include "zelmonitoring/monitor.h"
#include "zelmonitoring/monitor_log.h"

namespace zeltest {

using Properties = std::vector<std::pair<std::string, std::string>>;
using EntityKey = std::array<DDS_Long, 4>;

inline constexpr ZELDefaultMonitorVersion kVersion = {5, 1, 'c', 2};
// The domain of participants and of the observer unless a test says otherwise.
inline constexpr DDS_DomainId_t kDomain = 4;

template <typename Key>  // a DDS or a monitoring builtin-topic key
EntityKey keyOf(const Key &key) {
    return {key.value[0], key.value[1], key.value[2], key.value[3]};
}
inline EntityKey keyOf(DDS_DomainParticipant *participant) {
    DDS_BuiltinTopicKey_t key{};
    DDS_DomainParticipant_get_builtin_topic_key(participant, &key);
    return keyOf(key);
}
inline EntityKey keyOf(DDS_Topic *topic) { return keyOf(*DDS_Topic_get_builtin_topic_key(topic)); }
inline EntityKey keyOf(DDS_Publisher *publisher) { return keyOf(*DDS_Publisher_get_builtin_topic_key(publisher)); }
inline EntityKey keyOf(DDS_Subscriber *subscriber) { return keyOf(*DDS_Subscriber_get_builtin_topic_key(subscriber)); }
inline EntityKey keyOf(DDS_DataWriter *writer) { return keyOf(*DDS_DataWriter_get_builtin_topic_key(writer)); }
inline EntityKey keyOf(DDS_DataReader *reader) { return keyOf(*DDS_DataReader_get_builtin_topic_key(reader)); }

// A key as the plug-in logs it.
inline std::string keyText(const EntityKey &key) {
    char text[64];
    std::snprintf(text, sizeof text, "{%x %x %x %x}", static_cast<unsigned>(key[0]), static_cast<unsigned>(key[1]),
                  static_cast<unsigned>(key[2]), static_cast<unsigned>(key[3]));
    return text;
}

// Properties that have the middleware attach a participant to the plug-in
// linked into this program, named by address.
inline Properties withLinkedPlugIn(Properties properties) {
    char address[32];
    std::snprintf(address, sizeof address, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(&ZELDefaultMonitor_create));
    properties.emplace_back("zel.monitor.create_function_ptr", address);
    return properties;
}

// The generated support of one monitoring type under common names.
#define ZELTEST_MONITORING_TOPIC(NAME, TYPE, TOPIC)                                                 \
    struct NAME {                                                                                   \
        using Sample = zel_dds_monitoring_##TYPE;                                                   \
        using Seq = zel_dds_monitoring_##TYPE##Seq;                                                 \
        static constexpr const char *topicName = "zel/dds/monitoring/" TOPIC;                       \
        static constexpr auto typeName = &zel_dds_monitoring_##TYPE##TypeSupport_get_type_name;     \
        static constexpr auto registerType = &zel_dds_monitoring_##TYPE##TypeSupport_register_type; \
        static constexpr auto narrow = &zel_dds_monitoring_##TYPE##DataReader_narrow;               \
        static constexpr auto read = &zel_dds_monitoring_##TYPE##DataReader_read;                   \
        static constexpr auto take = &zel_dds_monitoring_##TYPE##DataReader_take;                   \
        static constexpr auto returnLoan = &zel_dds_monitoring_##TYPE##DataReader_return_loan;      \
        static constexpr auto length = &zel_dds_monitoring_##TYPE##Seq_get_length;                  \
        static constexpr auto at = &zel_dds_monitoring_##TYPE##Seq_get_reference;                   \
        static constexpr auto finalizeSeq = &zel_dds_monitoring_##TYPE##Seq_finalize;               \
        static constexpr auto initialize = &zel_dds_monitoring_##TYPE##_initialize;                 \
        static constexpr auto copy = &zel_dds_monitoring_##TYPE##_copy;                             \
        static constexpr auto finalize = &zel_dds_monitoring_##TYPE##_finalize;                     \
    }

ZELTEST_MONITORING_TOPIC(ParticipantDescriptions, DomainParticipantDescription, "domainParticipantDescription");
ZELTEST_MONITORING_TOPIC(TopicDescriptions, TopicDescription, "topicDescription");
ZELTEST_MONITORING_TOPIC(PublisherDescriptions, PublisherDescription, "publisherDescription");
ZELTEST_MONITORING_TOPIC(SubscriberDescriptions, SubscriberDescription, "subscriberDescription");
ZELTEST_MONITORING_TOPIC(ReaderDescriptions, DataReaderDescription, "dataReaderDescription");
ZELTEST_MONITORING_TOPIC(WriterDescriptions, DataWriterDescription, "dataWriterDescription");
ZELTEST_MONITORING_TOPIC(ParticipantStatistics, DomainParticipantEntityStatistics, "domainParticipantEntityStatistics");
ZELTEST_MONITORING_TOPIC(TopicStatistics, TopicEntityStatistics, "topicEntityStatistics");
ZELTEST_MONITORING_TOPIC(WriterStatistics, DataWriterEntityStatistics, "dataWriterEntityStatistics");
ZELTEST_MONITORING_TOPIC(ReaderStatistics, DataReaderEntityStatistics, "dataReaderEntityStatistics");
ZELTEST_MONITORING_TOPIC(WriterMatchedStatistics, DataWriterEntityMatchedSubscriptionStatistics,
                         "dataWriterEntityMatchedSubscriptionStatistics");
ZELTEST_MONITORING_TOPIC(WriterLocatorStatistics, DataWriterEntityMatchedSubscriptionWithLocatorStatistics,
                         "dataWriterEntityMatchedSubscriptionWithLocatorStatistics");
ZELTEST_MONITORING_TOPIC(ReaderMatchedStatistics, DataReaderEntityMatchedPublicationStatistics,
                         "dataReaderEntityMatchedPublicationStatistics");
#undef ZELTEST_MONITORING_TOPIC

// A sample as the observer received it: a copy of its data (none for a
// dispose), the state of its instance then, and the instance.
template <typename Kind>
struct Received {
    std::shared_ptr<typename Kind::Sample> data;
    bool valid;
    bool alive;
    bool disposed;
    DDS_InstanceHandle_t instance;
    DDS_Time_t sourceTime;
    const typename Kind::Sample &operator*() const { return *data; }
    const typename Kind::Sample *operator->() const { return data.get(); }
};

// What the observer knows of one described entity.
template <typename Kind>
struct Described {
    std::shared_ptr<typename Kind::Sample> last;  // the last description
    int samples = 0;                              // descriptions received
    bool alive = false;                           // false once disposed
};

template <typename Kind>
using DescribedMap = std::map<EntityKey, Described<Kind>>;

template <typename Kind>
std::set<EntityKey> aliveIn(const DescribedMap<Kind> &described) {
    std::set<EntityKey> alive;
    for (const auto &[key, entry] : described) {
        if (entry.alive) {
            alive.insert(key);
        }
    }
    return alive;
}

// One application participant: a topic "Readings" of the keyed test type,
// a publisher and a subscriber, and its participant object once attached.
struct Application {
    DDS_DomainParticipant *participant = nullptr;
    ZELDefaultMonitorParticipantObject *object = nullptr;
    DDS_Topic *topic = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
};

// Checks that nothing leaks over the factory's whole life and puts the log
// masks back. Participants, the publisher and the participant objects it
// attached are deleted at the end of the test.
class MonitorTest : public HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        ZEL_Monitor_Log_getBitmaps(&submoduleMask_, &instrumentationMask_);
        factory_ = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory_, nullptr);
    }

    void TearDown() override {
        for (ZELDefaultMonitorParticipantObject *object : objects_) {
            EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
        }
        EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher_), ZEL_MONITOR_RESULT_OK);
        for (DDS_DomainParticipant *participant : participants_) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        ZEL_Monitor_Log_setBitmaps(submoduleMask_, instrumentationMask_);
        HeapCheckedTest::TearDown();
    }

    // Deleted at the end of the test unless `owned` is false. A participant
    // created disabled has its children disabled until it is enabled.
    DDS_DomainParticipant *createParticipant(const Properties &properties, DDS_DomainId_t domain = kDomain,
                                             bool enabled = true, const char *name = nullptr, bool owned = true) {
        const DDS_Boolean autoenable = enabled ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
        DDS_DomainParticipantFactoryQos factoryQos = DDS_DomainParticipantFactoryQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_qos(factory_, &factoryQos);
        factoryQos.entity_factory.autoenable_created_entities = autoenable;
        DDS_DomainParticipantFactory_set_qos(factory_, &factoryQos);
        DDS_DomainParticipantFactoryQos_finalize(&factoryQos);
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_default_participant_qos(factory_, &qos);
        qos.entity_factory.autoenable_created_entities = autoenable;
        if (name != nullptr) {
            DDS_String_free(qos.participant_name.name);
            qos.participant_name.name = DDS_String_dup(name);
        }
        for (const auto &[key, value] : properties) {
            DDS_PropertyQosPolicyHelper_add_property(&qos.property, key.c_str(), value.c_str(), DDS_BOOLEAN_FALSE);
        }
        DDS_DomainParticipant *participant =
                DDS_DomainParticipantFactory_create_participant(factory_, domain, &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_DomainParticipantQos_finalize(&qos);
        if (participant != nullptr && owned) {
            participants_.push_back(participant);
        }
        return participant;
    }

    void deleteParticipant(DDS_DomainParticipant *participant) {
        std::erase(participants_, participant);
        ASSERT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
        ASSERT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
    }

    static std::string propertyOf(DDS_DomainParticipant *participant, const char *name) {
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipant_get_qos(participant, &qos);
        const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, name);
        std::string value = property != nullptr ? property->value : "<absent>";
        DDS_DomainParticipantQos_finalize(&qos);
        return value;
    }

    // The monitor publisher, created on first use.
    ZELDefaultMonitorPublisher *publisher() {
        DDS_UnsignedLong result = 0;
        if (publisher_ == nullptr) {
            publisher_ = ZELDefaultMonitorPublisher_create(&result, factory_, kVersion);
            EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
        }
        return publisher_;
    }

    // Attached with result OK; detached at the end of the test.
    ZELDefaultMonitorParticipantObject *attach(DDS_DomainParticipant *participant) {
        DDS_UnsignedLong result = 0;
        ZELDefaultMonitorParticipantObject *object =
                ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher(), participant);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
        EXPECT_NE(object, nullptr);
        if (object != nullptr) {
            objects_.push_back(object);
        }
        return object;
    }

    static DDS_UnsignedLong notify(ZELDefaultMonitorParticipantObject *object, DDS_Long eventKind, DDS_Entity *entity,
                                   const void *eventData = nullptr) {
        return ZELDefaultMonitorPublisher_onEventNotify(object, eventKind, entity, eventData);
    }

    // What the middleware reports once the participant is enabled.
    static DDS_UnsignedLong enable(ZELDefaultMonitorParticipantObject *object) {
        return notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                      DDS_DomainParticipant_as_entity(object->participant));
    }

    // A participant with both test types registered, and its topic,
    // publisher and subscriber.
    Application application(const Properties &properties = {}) {
        Application app;
        app.participant = createParticipant(properties);
        EXPECT_NE(app.participant, nullptr);
        EXPECT_EQ(app_ReadingTypeSupport_register_type(app.participant, nullptr), DDS_RETCODE_OK);
        EXPECT_EQ(app_NoteTypeSupport_register_type(app.participant, nullptr), DDS_RETCODE_OK);
        app.topic = createTopic(app.participant, "Readings");
        app.publisher = DDS_DomainParticipant_create_publisher(app.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        app.subscriber =
                DDS_DomainParticipant_create_subscriber(app.participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        EXPECT_TRUE(app.publisher != nullptr && app.subscriber != nullptr);
        return app;
    }

    // The same, attached and enabled; its statistics period is an hour
    // unless the properties say otherwise, so that tests drive the
    // statistics themselves.
    Application monitoredApplication(Properties properties) {
        if (std::none_of(properties.begin(), properties.end(),
                         [](const auto &property) { return property.first == "zel.monitor.config.publish_period"; })) {
            properties.emplace_back("zel.monitor.config.publish_period", "3600");
        }
        Application app = application(properties);
        app.object = attach(app.participant);
        if (app.object != nullptr) {
            EXPECT_EQ(enable(app.object), ZEL_MONITOR_RESULT_OK);
        }
        return app;
    }

    static DDS_Topic *createTopic(DDS_DomainParticipant *participant, const char *name,
                                  const char *typeName = "app::Reading") {
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant, name, typeName, &DDS_TOPIC_QOS_DEFAULT,
                                                              nullptr, DDS_STATUS_MASK_NONE);
        EXPECT_NE(topic, nullptr);
        return topic;
    }

    // Reliable, with what `adjust` changes.
    static DDS_DataWriter *createWriter(DDS_Publisher *publisher, DDS_Topic *topic,
                                        const std::function<void(DDS_DataWriterQos &)> &adjust = {}) {
        return createEndpoint<DDS_DataWriterQos>(
                DDS_Publisher_get_default_datawriter_qos, publisher, adjust, [&](const DDS_DataWriterQos *qos) {
                    return DDS_Publisher_create_datawriter(publisher, topic, qos, nullptr, 0);
                });
    }
    static DDS_DataReader *createReader(DDS_Subscriber *subscriber, DDS_TopicDescription *topic,
                                        const std::function<void(DDS_DataReaderQos &)> &adjust = {}) {
        return createEndpoint<DDS_DataReaderQos>(
                DDS_Subscriber_get_default_datareader_qos, subscriber, adjust, [&](const DDS_DataReaderQos *qos) {
                    return DDS_Subscriber_create_datareader(subscriber, topic, qos, nullptr, 0);
                });
    }
    static DDS_DataWriter *createWriter(const Application &app,
                                        const std::function<void(DDS_DataWriterQos &)> &adjust = {}) {
        return createWriter(app.publisher, app.topic, adjust);
    }
    static DDS_DataReader *createReader(const Application &app,
                                        const std::function<void(DDS_DataReaderQos &)> &adjust = {}) {
        return createReader(app.subscriber, DDS_Topic_as_topicdescription(app.topic), adjust);
    }

    static DDS_ReturnCode_t write(DDS_DataWriter *writer, DDS_Long sensor) {
        app_Reading reading = app_Reading_INITIALIZER;
        reading.sensor = sensor;
        reading.value = 1.5;
        return app_ReadingDataWriter_write(app_ReadingDataWriter_narrow(writer), &reading, &DDS_HANDLE_NIL);
    }

    // Readers of monitoring topics on the observer participant, made in
    // `domain` with the first of them. They keep every sample; those of
    // descriptions are reliable and transient-local as their writers.
    template <typename... Kinds>
    void observe(DDS_DomainId_t domain = kDomain) {
        if (observer_ == nullptr) {
            observer_ = createParticipant({}, domain);
        }
        DDS_Subscriber *subscriber =
                DDS_DomainParticipant_create_subscriber(observer_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        for (const auto &[topicName, typeName, registerType] :
             {std::tuple{Kinds::topicName, Kinds::typeName(), Kinds::registerType}...}) {
            ASSERT_EQ(registerType(observer_, typeName), DDS_RETCODE_OK);
            const bool description = std::string_view(topicName).ends_with("Description");
            observerReaders_[topicName] =
                    createReader(subscriber, DDS_Topic_as_topicdescription(createTopic(observer_, topicName, typeName)),
                                 [description](DDS_DataReaderQos &qos) {
                                     qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
                                     qos.durability.kind = description ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS
                                                                       : DDS_VOLATILE_DURABILITY_QOS;
                                     qos.reliability.kind = description ? DDS_RELIABLE_RELIABILITY_QOS
                                                                        : DDS_BEST_EFFORT_RELIABILITY_QOS;
                                 });
        }
    }

    // What the observer's reader of the topic received since the last take.
    template <typename Kind>
    std::vector<Received<Kind>> taken() {
        return received<Kind>(Kind::take);
    }

    // Every entity ever described on a description topic, by entity key.
    template <typename Kind>
    DescribedMap<Kind> described() {
        DescribedMap<Kind> result;
        // A dispose carries no data but its instance, which the instance's
        // earlier samples name.
        std::map<std::string, EntityKey> keyOfInstance;
        for (const Received<Kind> &sample : received<Kind>(Kind::read)) {
            const std::string instance(reinterpret_cast<const char *>(sample.instance.value), 16);
            if (sample.valid) {
                keyOfInstance[instance] = keyOf(sample->entity_key);
                result[keyOf(sample->entity_key)].last = sample.data;
                ++result[keyOf(sample->entity_key)].samples;
            }
            const auto known = keyOfInstance.find(instance);
            EXPECT_NE(known, keyOfInstance.end()) << "a dispose of an instance never described";
            if (known != keyOfInstance.end()) {
                result[known->second].alive = sample.alive;
            }
        }
        return result;
    }

    DDS_DomainParticipantFactory *factory_ = nullptr;
    std::vector<DDS_DomainParticipant *> participants_;
    ZELDefaultMonitorPublisher *publisher_ = nullptr;
    std::vector<ZELDefaultMonitorParticipantObject *> objects_;
    DDS_DomainParticipant *observer_ = nullptr;

private:
    template <typename Qos, typename Parent, typename Create>
    static std::invoke_result_t<Create, const Qos *> createEndpoint(DDS_ReturnCode_t (*getDefault)(Parent *, Qos *),
                                                                    Parent *parent,
                                                                    const std::function<void(Qos &)> &adjust,
                                                                    const Create &create) {
        Qos qos = {};
        getDefault(parent, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        if (adjust) {
            adjust(qos);
        }
        auto *endpoint = create(&qos);
        finalize(&qos);
        EXPECT_NE(endpoint, nullptr);
        return endpoint;
    }
    static void finalize(DDS_DataWriterQos *qos) { DDS_DataWriterQos_finalize(qos); }
    static void finalize(DDS_DataReaderQos *qos) { DDS_DataReaderQos_finalize(qos); }

    template <typename Kind, typename Get>
    std::vector<Received<Kind>> received(Get get) {
        std::vector<Received<Kind>> result;
        auto *reader = Kind::narrow(observerReaders_.at(Kind::topicName));
        typename Kind::Seq samples = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        if (get(reader, &samples, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                DDS_ANY_INSTANCE_STATE) == DDS_RETCODE_OK) {
            for (DDS_Long i = 0; i < Kind::length(&samples); ++i) {
                std::shared_ptr<typename Kind::Sample> copy(new typename Kind::Sample{}, [](typename Kind::Sample *s) {
                    Kind::finalize(s);
                    delete s;
                });
                EXPECT_TRUE(Kind::initialize(copy.get()) && Kind::copy(copy.get(), Kind::at(&samples, i)));
                const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
                result.push_back({copy, info->valid_data != 0, info->instance_state == DDS_ALIVE_INSTANCE_STATE,
                                  info->instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE, info->instance_handle,
                                  info->source_timestamp});
            }
            EXPECT_EQ(Kind::returnLoan(reader, &samples, &infos), DDS_RETCODE_OK);
        }
        Kind::finalizeSeq(&samples);
        DDS_SampleInfoSeq_finalize(&infos);
        return result;
    }

    std::map<std::string, DDS_DataReader *> observerReaders_;
    uint32_t submoduleMask_ = 0;
    uint32_t instrumentationMask_ = 0;
};

}  // namespace zeltest
