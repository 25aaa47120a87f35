// What the statistics tests share: monitored participants attached to one
// monitor publisher, an application of writers and readers of one test
// type, and an observer participant that reads the statistics topics.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "entity_set.h"
#include "plugin_fixture.h"
#include "statistics_types.h"
#include "vurnc/dds_monitor.h"
#include "zel_dds_monitoring.h"

namespace stattest {

// One statistics kind as the observer reads it.
#define STATTEST_KIND_I(Name, Type, topicSlot)                                                                    \
    struct Name {                                                                                                 \
        using Sample = zel_dds_monitoring_##Type;                                                                 \
        using Seq = zel_dds_monitoring_##Type##Seq;                                                               \
        using Reader = zel_dds_monitoring_##Type##DataReader;                                                     \
        static constexpr int kSlot = topicSlot;                                                                   \
        static DDS_ReturnCode_t registerType(DDS_DomainParticipant *p, const char *name) {                       \
            return zel_dds_monitoring_##Type##TypeSupport_register_type(p, name);                                \
        }                                                                                                         \
        static Reader *narrow(DDS_DataReader *reader) { return zel_dds_monitoring_##Type##DataReader_narrow(reader); } \
        static DDS_ReturnCode_t take(Reader *reader, Seq *seq, DDS_SampleInfoSeq *infos) {                        \
            return zel_dds_monitoring_##Type##DataReader_take(reader, seq, infos, DDS_LENGTH_UNLIMITED,           \
                                                              DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,           \
                                                              DDS_ANY_INSTANCE_STATE);                            \
        }                                                                                                         \
        static DDS_ReturnCode_t returnLoan(Reader *reader, Seq *seq, DDS_SampleInfoSeq *infos) {                  \
            return zel_dds_monitoring_##Type##DataReader_return_loan(reader, seq, infos);                        \
        }                                                                                                         \
        static Sample *get(Seq *seq, DDS_Long i) { return zel_dds_monitoring_##Type##Seq_get_reference(seq, i); } \
        static DDS_Long length(const Seq *seq) { return zel_dds_monitoring_##Type##Seq_get_length(seq); }        \
        static bool copy(Sample *to, const Sample *from) {                                                        \
            return zel_dds_monitoring_##Type##_initialize(to) && zel_dds_monitoring_##Type##_copy(to, from);    \
        }                                                                                                         \
        static void finalize(Sample *sample) { zel_dds_monitoring_##Type##_finalize(sample); }                   \
    }

STATTEST_KIND_I(ParticipantKind, DomainParticipantEntityStatistics, ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS);
STATTEST_KIND_I(TopicKind, TopicEntityStatistics, ZEL_MONITOR_TOPIC_TOPIC_STATISTICS);
STATTEST_KIND_I(WriterKind, DataWriterEntityStatistics, ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS);
STATTEST_KIND_I(ReaderKind, DataReaderEntityStatistics, ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS);
STATTEST_KIND_I(WriterMatchedKind, DataWriterEntityMatchedSubscriptionStatistics,
                ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS);
STATTEST_KIND_I(WriterLocatorKind, DataWriterEntityMatchedSubscriptionWithLocatorStatistics,
                ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS);
STATTEST_KIND_I(ReaderMatchedKind, DataReaderEntityMatchedPublicationStatistics,
                ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS);
#undef STATTEST_KIND_I

// A sample as the observer received it: a copy of its data, whether it
// has data (a dispose has none), the state of its instance when taken and
// the instance's handle.
template <typename Kind>
struct Received {
    std::shared_ptr<typename Kind::Sample> data;
    bool valid;
    bool disposed;
    DDS_InstanceHandle_t instance;
    DDS_Time_t sourceTime;
    const typename Kind::Sample &operator*() const { return *data; }
    const typename Kind::Sample *operator->() const { return data.get(); }
};

inline bool sameKey(const DDSMonitoring_BuiltinTopicKey_t &a, const DDS_BuiltinTopicKey_t &b) {
    for (int i = 0; i < 4; ++i) {
        if (a.value[i] != b.value[i]) {
            return false;
        }
    }
    return true;
}

inline DDS_BuiltinTopicKey_t participantKey(DDS_DomainParticipant *participant) {
    DDS_BuiltinTopicKey_t key{};
    DDS_DomainParticipant_get_builtin_topic_key(participant, &key);
    return key;
}

// One application participant: a topic of the test type, a publisher and a
// subscriber.
struct Application {
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *topic = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
};

class StatisticsTest : public zeltest::PlugInTest {
protected:
    void SetUp() override {
        PlugInTest::SetUp();
        DDS_UnsignedLong result = 0;
        publisher_ = ZELDefaultMonitorPublisher_create(&result, factory_, zeltest::kVersion);
        ASSERT_NE(publisher_, nullptr);
        observer_ = createParticipant({}, kDomain);
        ASSERT_NE(observer_, nullptr);
        observerSubscriber_ =
                DDS_DomainParticipant_create_subscriber(observer_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_NE(observerSubscriber_, nullptr);
    }

    void TearDown() override {
        for (ZELDefaultMonitorParticipantObject *object : objects_) {
            EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
        }
        EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher_), ZEL_MONITOR_RESULT_OK);
        PlugInTest::TearDown();
    }

    // A participant with an application topic, a publisher and a
    // subscriber, monitored with the given settings (a period of an hour
    // unless they say otherwise, so that tests drive the statistics
    // themselves), its monitoring entities enabled.
    Application monitoredApplication(zeltest::Properties properties, ZELDefaultMonitorParticipantObject **object) {
        bool hasPeriod = false;
        for (const auto &property : properties) {
            hasPeriod = hasPeriod || property.first == "zel.monitor.config.publish_period";
        }
        if (!hasPeriod) {
            properties.emplace_back("zel.monitor.config.publish_period", "3600");
        }
        Application app = application(properties);
        DDS_UnsignedLong result = 0;
        *object = ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher_, app.participant);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
        if (*object != nullptr) {
            objects_.push_back(*object);
            EXPECT_EQ(ZELDefaultMonitorPublisher_onEventNotify(*object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                                                                DDS_DomainParticipant_as_entity(app.participant),
                                                                nullptr),
                      ZEL_MONITOR_RESULT_OK);
        }
        return app;
    }

    Application application(const zeltest::Properties &properties = {}) {
        Application app;
        app.participant = createParticipant(properties, kDomain);
        EXPECT_NE(app.participant, nullptr);
        EXPECT_EQ(st_ReadingTypeSupport_register_type(app.participant, nullptr), DDS_RETCODE_OK);
        app.topic = DDS_DomainParticipant_create_topic(app.participant, "Readings",
                                                       st_ReadingTypeSupport_get_type_name(), &DDS_TOPIC_QOS_DEFAULT,
                                                       nullptr, 0);
        app.publisher = DDS_DomainParticipant_create_publisher(app.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        app.subscriber =
                DDS_DomainParticipant_create_subscriber(app.participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        EXPECT_TRUE(app.topic != nullptr && app.publisher != nullptr && app.subscriber != nullptr);
        return app;
    }

    static DDS_DataWriter *createWriter(const Application &app,
                                        const std::function<void(DDS_DataWriterQos &)> &adjust = {}) {
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        DDS_Publisher_get_default_datawriter_qos(app.publisher, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        if (adjust) {
            adjust(qos);
        }
        DDS_DataWriter *writer = DDS_Publisher_create_datawriter(app.publisher, app.topic, &qos, nullptr, 0);
        DDS_DataWriterQos_finalize(&qos);
        EXPECT_NE(writer, nullptr);
        return writer;
    }

    static DDS_DataReader *createReader(const Application &app,
                                        const std::function<void(DDS_DataReaderQos &)> &adjust = {}) {
        DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
        DDS_Subscriber_get_default_datareader_qos(app.subscriber, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        if (adjust) {
            adjust(qos);
        }
        DDS_DataReader *reader = DDS_Subscriber_create_datareader(
                app.subscriber, DDS_Topic_as_topicdescription(app.topic), &qos, nullptr, 0);
        DDS_DataReaderQos_finalize(&qos);
        EXPECT_NE(reader, nullptr);
        return reader;
    }

    static DDS_ReturnCode_t write(DDS_DataWriter *writer, DDS_Long sensor) {
        st_Reading reading = st_Reading_INITIALIZER;
        reading.sensor = sensor;
        reading.value = 1.5;
        return st_ReadingDataWriter_write(st_ReadingDataWriter_narrow(writer), &reading, &DDS_HANDLE_NIL);
    }

    // The observer's reader of one statistics topic, keeping every sample.
    template <typename Kind>
    DDS_DataReader *observe() {
        const ZELDefaultMonitorCatalogueEntry &entry = ZELDefaultMonitorCatalogue_g_entries[Kind::kSlot];
        EXPECT_EQ(Kind::registerType(observer_, entry.typeName), DDS_RETCODE_OK);
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(observer_, entry.topicName, entry.typeName,
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        EXPECT_NE(topic, nullptr);
        DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
        DDS_Subscriber_get_default_datareader_qos(observerSubscriber_, &qos);
        qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
        DDS_DataReader *reader = DDS_Subscriber_create_datareader(
                observerSubscriber_, DDS_Topic_as_topicdescription(topic), &qos, nullptr, 0);
        DDS_DataReaderQos_finalize(&qos);
        EXPECT_NE(reader, nullptr);
        return reader;
    }

    // Everything the observer's reader has received since the last call.
    template <typename Kind>
    static std::vector<Received<Kind>> taken(DDS_DataReader *reader) {
        std::vector<Received<Kind>> received;
        typename Kind::Seq samples = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        typename Kind::Reader *typed = Kind::narrow(reader);
        if (Kind::take(typed, &samples, &infos) == DDS_RETCODE_OK) {
            for (DDS_Long i = 0; i < Kind::length(&samples); ++i) {
                std::shared_ptr<typename Kind::Sample> copy(new typename Kind::Sample{}, [](typename Kind::Sample *s) {
                    Kind::finalize(s);
                    delete s;
                });
                EXPECT_TRUE(Kind::copy(copy.get(), Kind::get(&samples, i)));
                const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
                received.push_back({copy, info->valid_data != 0,
                                    info->instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE,
                                    info->instance_handle, info->source_timestamp});
            }
            EXPECT_EQ(Kind::returnLoan(typed, &samples, &infos), DDS_RETCODE_OK);
        }
        DDS_SampleInfoSeq_finalize(&infos);
        return received;
    }

    static constexpr DDS_DomainId_t kDomain = 4;

    ZELDefaultMonitorPublisher *publisher_ = nullptr;
    DDS_DomainParticipant *observer_ = nullptr;
    DDS_Subscriber *observerSubscriber_ = nullptr;
    std::vector<ZELDefaultMonitorParticipantObject *> objects_;
};

}  // namespace stattest
