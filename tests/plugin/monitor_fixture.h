// What the plug-in's suites share: a participant factory for the test's
// lifetime, a monitor publisher with its attached participants, an
// application of the test types, and an observer participant that reads the
// monitoring topics.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <set>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "application_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "record_text.h"
#include "vurnc/dds_c.h"
#include "zel_dds_monitoring.h"
#include "zelmonitoring/monitor.h"
#include "zelmonitoring/monitor_log.h"

namespace zeltest {

using Properties = std::vector<std::pair<std::string, std::string>>;
using EntityKey = std::array<DDS_Long, 4>;

inline constexpr ZELDefaultMonitorVersion kVersion = {5, 1, 'c', 2};
// The domain of participants and the observer unless a test says otherwise.
inline constexpr DDS_DomainId_t kDomain = 4;

EntityKey keyOf(const DDS_BuiltinTopicKey_t &key);
EntityKey keyOf(const DDSMonitoring_BuiltinTopicKey_t &key);
EntityKey keyOf(DDS_DomainParticipant *participant);
EntityKey keyOf(DDS_Topic *topic);
EntityKey keyOf(DDS_Publisher *publisher);
EntityKey keyOf(DDS_Subscriber *subscriber);
EntityKey keyOf(DDS_DataWriter *writer);
EntityKey keyOf(DDS_DataReader *reader);
// A key as the plug-in logs it: "{1 2 3 4}" in hexadecimal.
std::string keyText(const EntityKey &key);

// Properties that have the middleware load the plug-in linked into this
// program, named by address, for a participant.
Properties withLinkedPlugIn(Properties properties);

// The generated support of one monitoring type under common names.
#define ZELTEST_MONITORING_TOPIC(NAME, TYPE, TOPIC)                                                  \
    struct NAME {                                                                                    \
        using Sample = zel_dds_monitoring_##TYPE;                                                    \
        using Seq = zel_dds_monitoring_##TYPE##Seq;                                                  \
        static constexpr const char *topicName = "zel/dds/monitoring/" TOPIC;                        \
        static constexpr auto typeName = &zel_dds_monitoring_##TYPE##TypeSupport_get_type_name;      \
        static constexpr auto registerType = &zel_dds_monitoring_##TYPE##TypeSupport_register_type;  \
        static constexpr auto narrow = &zel_dds_monitoring_##TYPE##DataReader_narrow;                \
        static constexpr auto read = &zel_dds_monitoring_##TYPE##DataReader_read;                    \
        static constexpr auto take = &zel_dds_monitoring_##TYPE##DataReader_take;                    \
        static constexpr auto returnLoan = &zel_dds_monitoring_##TYPE##DataReader_return_loan;       \
        static constexpr auto length = &zel_dds_monitoring_##TYPE##Seq_get_length;                   \
        static constexpr auto at = &zel_dds_monitoring_##TYPE##Seq_get_reference;                    \
        static constexpr auto finalizeSeq = &zel_dds_monitoring_##TYPE##Seq_finalize;                \
        static constexpr auto initialize = &zel_dds_monitoring_##TYPE##_initialize;                  \
        static constexpr auto copy = &zel_dds_monitoring_##TYPE##_copy;                              \
        static constexpr auto finalize = &zel_dds_monitoring_##TYPE##_finalize;                      \
    }

ZELTEST_MONITORING_TOPIC(ParticipantDescriptions, DomainParticipantDescription, "domainParticipantDescription");
ZELTEST_MONITORING_TOPIC(TopicDescriptions, TopicDescription, "topicDescription");
ZELTEST_MONITORING_TOPIC(PublisherDescriptions, PublisherDescription, "publisherDescription");
ZELTEST_MONITORING_TOPIC(SubscriberDescriptions, SubscriberDescription, "subscriberDescription");
ZELTEST_MONITORING_TOPIC(ReaderDescriptions, DataReaderDescription, "dataReaderDescription");
ZELTEST_MONITORING_TOPIC(WriterDescriptions, DataWriterDescription, "dataWriterDescription");
ZELTEST_MONITORING_TOPIC(ParticipantStatistics, DomainParticipantEntityStatistics,
                         "domainParticipantEntityStatistics");
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
// dispose), the state of its instance when received, and the instance.
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

// What the observer knows of one described entity: its last description,
// how many it received, and whether its instance is alive.
template <typename Kind>
struct Described {
    std::shared_ptr<typename Kind::Sample> last;
    int samples = 0;
    bool alive = false;
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
// a publisher and a subscriber, and its participant object when attached.
struct Application {
    DDS_DomainParticipant *participant = nullptr;
    ZELDefaultMonitorParticipantObject *object = nullptr;
    DDS_Topic *topic = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
};

using WriterQosAdjustment = std::function<void(DDS_DataWriterQos &)>;
using ReaderQosAdjustment = std::function<void(DDS_DataReaderQos &)>;

// Checks that nothing leaks over the factory's whole life, and puts the log
// masks back afterwards. Participants, the publisher and the participant
// objects it attached are deleted at the end of the test.
class MonitorTest : public HeapCheckedTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // `enabled` false creates the participant disabled, and its children
    // disabled until it is enabled.
    DDS_DomainParticipant *createParticipant(const Properties &properties, DDS_DomainId_t domain = kDomain,
                                             bool enabled = true, const char *name = nullptr);
    // The same, left to the caller to delete.
    DDS_DomainParticipant *createUnownedParticipant(const Properties &properties, DDS_DomainId_t domain,
                                                    bool enabled, const char *name = nullptr);
    void deleteParticipant(DDS_DomainParticipant *participant);
    static std::string propertyOf(DDS_DomainParticipant *participant, const char *name);

    // The monitor publisher, created on first use.
    ZELDefaultMonitorPublisher *publisher();
    // Attached with result OK and detached at the end of the test.
    ZELDefaultMonitorParticipantObject *attach(DDS_DomainParticipant *participant);
    static DDS_UnsignedLong notify(ZELDefaultMonitorParticipantObject *object, DDS_Long eventKind,
                                   DDS_Entity *entity, const void *eventData = nullptr);
    // What the middleware reports once the participant is enabled.
    static DDS_UnsignedLong enable(ZELDefaultMonitorParticipantObject *object);

    // A participant with the test types registered, and its "Readings" topic,
    // publisher and subscriber.
    Application application(const Properties &properties = {}, DDS_DomainId_t domain = kDomain,
                            const char *name = nullptr);
    // The same, attached to the publisher and enabled; its statistics period
    // is an hour unless the properties say otherwise, so that tests drive
    // the statistics themselves.
    Application monitoredApplication(Properties properties);
    static DDS_Topic *createTopic(DDS_DomainParticipant *participant, const char *name,
                                  const char *typeName = "app::Reading");
    // Reliable, with what `adjust` changes.
    static DDS_DataWriter *createWriter(DDS_Publisher *publisher, DDS_Topic *topic,
                                        const WriterQosAdjustment &adjust = {});
    static DDS_DataReader *createReader(DDS_Subscriber *subscriber, DDS_TopicDescription *topic,
                                        const ReaderQosAdjustment &adjust = {});
    static DDS_DataWriter *createWriter(const Application &app, const WriterQosAdjustment &adjust = {}) {
        return createWriter(app.publisher, app.topic, adjust);
    }
    static DDS_DataReader *createReader(const Application &app, const ReaderQosAdjustment &adjust = {}) {
        return createReader(app.subscriber, DDS_Topic_as_topicdescription(app.topic), adjust);
    }
    static DDS_ReturnCode_t write(DDS_DataWriter *writer, DDS_Long sensor);

    // Readers of the monitoring topics on the observer participant, created
    // in `domain` with the first of them. Description readers are reliable
    // and transient-local as their writers; every reader keeps all samples.
    template <typename... Kinds>
    void observe(DDS_DomainId_t domain = kDomain) {
        (observeTopic(Kinds::topicName, Kinds::typeName(), Kinds::registerType,
                      std::string_view(Kinds::topicName).ends_with("Description"), domain),
         ...);
    }

    // Everything the observer's reader of the topic received since the last
    // take.
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
                Described<Kind> &entry = result[keyOf(sample->entity_key)];
                entry.last = sample.data;
                ++entry.samples;
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
    void observeTopic(const char *topicName, const char *typeName,
                      DDS_ReturnCode_t (*registerType)(DDS_DomainParticipant *, const char *), bool description,
                      DDS_DomainId_t domain);

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
                                  info->instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE,
                                  info->instance_handle, info->source_timestamp});
            }
            EXPECT_EQ(Kind::returnLoan(reader, &samples, &infos), DDS_RETCODE_OK);
        }
        Kind::finalizeSeq(&samples);
        DDS_SampleInfoSeq_finalize(&infos);
        return result;
    }

    std::map<std::string, DDS_DataReader *> observerReaders_;
    DDS_Subscriber *observerSubscriber_ = nullptr;
    uint32_t submoduleMask_ = 0;
    uint32_t instrumentationMask_ = 0;
};

}  // namespace zeltest
