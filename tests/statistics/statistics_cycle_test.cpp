// The statistics cycle: one sample per entity and period with the
// participant's last, what each sample holds, the user-topic filter,
// disposes by key, failures that do not stop the walk, and the events that
// reschedule themselves.
#include <chrono>
#include <cstring>
#include <thread>

#include "monitor_fixture.h"
#include "publisher_thread.h"
#include "statistics_walk.h"

namespace {

using zeltest::Application;
using zeltest::keyOf;
using zeltest::ParticipantStatistics;
using zeltest::ReaderMatchedStatistics;
using zeltest::ReaderStatistics;
using zeltest::Received;
using zeltest::recordText;
using zeltest::TopicStatistics;
using zeltest::WriterLocatorStatistics;
using zeltest::WriterMatchedStatistics;
using zeltest::WriterStatistics;

int64_t nanosecondsOf(const DDS_Time_t &time) { return static_cast<int64_t>(time.sec) * 1000000000 + time.nanosec; }

size_t matchedLocatorCount(DDS_DataWriter *writer) {
    DDS_LocatorSeq locators = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(DDS_DataWriter_get_matched_subscription_locators(writer, &locators), DDS_RETCODE_OK);
    const auto count = static_cast<size_t>(DDS_LocatorSeq_get_length(&locators));
    DDS_LocatorSeq_finalize(&locators);
    return count;
}

class StatisticsCycleTest : public zeltest::MonitorTest {
protected:
    void observeAll() {
        observe<ParticipantStatistics, TopicStatistics, WriterStatistics, WriterMatchedStatistics,
                WriterLocatorStatistics, ReaderStatistics, ReaderMatchedStatistics>();
    }
};

size_t matchedPublicationCount(DDS_DataReader *reader) {
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    const auto count = static_cast<size_t>(DDS_InstanceHandleSeq_get_length(&handles));
    DDS_InstanceHandleSeq_finalize(&handles);
    return count;
}

TEST_F(StatisticsCycleTest, EachPeriodPublishesEveryEntityOnceAndTheParticipantLast) {
    observeAll();
    const Application app = monitoredApplication(
            {{"zel.monitor.config.publish_period", "1"}, {"zel.monitor.config.usertopics", "Read*"}});
    ASSERT_NE(createWriter(app.publisher, createTopic(app.participant, "Ignored")), nullptr);
    const Application remote = application();
    DDS_DataWriter *writer = createWriter(app);
    DDS_DataReader *reader = createReader(app);
    createReader(remote);
    ASSERT_EQ(write(createWriter(remote), 8), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, 7), DDS_RETCODE_OK);

    // The publishing thread's first period ends one second after enabling.
    std::vector<Received<ParticipantStatistics>> participantSamples;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (participantSamples.empty() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        participantSamples = taken<ParticipantStatistics>();
    }
    ASSERT_FALSE(participantSamples.empty());
    EXPECT_EQ(participantSamples[0]->period.sec, 1);
    // The first period's samples: a later period's come after its
    // participant sample. Every entity's sample of the first period comes
    // before, or it would be missing here.
    const int64_t participantTime = nanosecondsOf(participantSamples[0].sourceTime);
    const auto firstPeriod = [participantTime](auto samples) {
        std::erase_if(samples, [participantTime](const auto &sample) {
            return nanosecondsOf(sample.sourceTime) > participantTime;
        });
        for (const auto &sample : samples) {
            EXPECT_EQ(sample->period.sec, 1);
        }
        return samples;
    };
    const auto topicSamples = firstPeriod(taken<TopicStatistics>());
    const auto writerSamples = firstPeriod(taken<WriterStatistics>());
    const auto matchedSamples = firstPeriod(taken<WriterMatchedStatistics>());
    const auto locatorSamples = firstPeriod(taken<WriterLocatorStatistics>());
    const auto readerSamples = firstPeriod(taken<ReaderStatistics>());
    const auto readerMatchedSamples = firstPeriod(taken<ReaderMatchedStatistics>());
    // The monitoring topics and writers are filtered out with the topics
    // the list does not name. Each of the monitored writer and reader
    // matches the other and the remote participant's.
    ASSERT_EQ(topicSamples.size(), 1u);
    ASSERT_EQ(writerSamples.size(), 1u);
    ASSERT_EQ(readerSamples.size(), 1u);
    ASSERT_EQ(matchedSamples.size(), 2u);
    ASSERT_EQ(readerMatchedSamples.size(), matchedPublicationCount(reader));
    ASSERT_EQ(readerMatchedSamples.size(), 2u);
    ASSERT_EQ(locatorSamples.size(), matchedLocatorCount(writer));
    EXPECT_STREQ(topicSamples[0]->topic_name, "Readings");
    EXPECT_STREQ(topicSamples[0]->type_name, "app::Reading");
    EXPECT_EQ(keyOf(topicSamples[0]->participant_key), keyOf(app.participant));
    const auto &w = *writerSamples[0];
    EXPECT_EQ(keyOf(w.datawriter_key), keyOf(writer));
    EXPECT_EQ(keyOf(w.publisher_key), keyOf(app.publisher));
    EXPECT_EQ(keyOf(w.topic_key), keyOf(app.topic));
    EXPECT_EQ(keyOf(w.participant_key), keyOf(app.participant));
    EXPECT_STREQ(w.topic_name, "Readings");
    EXPECT_EQ(w.domain_id, zeltest::kDomain);
    EXPECT_EQ(w.publication_matched_status.status.current_count, 2);
    // One sample, pushed to both readers.
    EXPECT_EQ(w.datawriter_protocol_status.status.pushed_sample_count, 2);
    EXPECT_EQ(readerSamples[0]->datareader_protocol_status.status.received_sample_count, 2);

    // One sample per match, keyed by the writer and the reader's handle, and
    // one per matched locator.
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_matched_subscriptions(writer, &handles), DDS_RETCODE_OK);
    std::set<std::string> expectedHandles;
    for (DDS_Long i = 0; i < DDS_InstanceHandleSeq_get_length(&handles); ++i) {
        expectedHandles.emplace(reinterpret_cast<const char *>(DDS_InstanceHandleSeq_get_reference(&handles, i)->value),
                                16);
    }
    DDS_InstanceHandleSeq_finalize(&handles);
    std::set<std::string> matchedHandles;
    for (const auto &match : matchedSamples) {
        EXPECT_EQ(keyOf(match->datawriter_key), keyOf(writer));
        EXPECT_TRUE(match->subscription_handle.isValid && match->subscription_handle.length == 16u);
        EXPECT_EQ(match->datawriter_protocol_status.status.pushed_sample_count, 1);
        matchedHandles.emplace(reinterpret_cast<const char *>(match->subscription_handle.value), 16);
    }
    EXPECT_EQ(matchedHandles, expectedHandles);
    DDS_LocatorSeq locators = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_matched_subscription_locators(writer, &locators), DDS_RETCODE_OK);
    for (DDS_Long i = 0; i < DDS_LocatorSeq_get_length(&locators); ++i) {
        const DDS_Locator_t *locator = DDS_LocatorSeq_get_reference(&locators, i);
        EXPECT_TRUE(std::any_of(locatorSamples.begin(), locatorSamples.end(), [locator](const auto &sample) {
            return sample->subscription_locator.kind == locator->kind &&
                   sample->subscription_locator._port == locator->_port &&
                   std::memcmp(sample->subscription_locator.address, locator->address, 16) == 0;
        }));
    }
    DDS_LocatorSeq_finalize(&locators);
}

TEST_F(StatisticsCycleTest, OnlyTheApplicationsEntitiesAreSampledAndADeletedWritersStatisticsAreDisposed) {
    observeAll();
    const Application app = monitoredApplication({});
    DDS_DataWriter *writer = createWriter(app);
    // What the middleware reports after enabling the writer and before
    // deleting it.
    EXPECT_EQ(notify(app.object, DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, DDS_DataWriter_as_entity(writer)),
              ZEL_MONITOR_RESULT_OK);
    // The monitoring topics and writers live on the monitored participant
    // and are matched by the observer, yet without a user-topic filter only
    // the application's own topic and writer are sampled.
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    zeltest::LogCapture capture;
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object));
    const auto topicSamples = taken<TopicStatistics>();
    ASSERT_EQ(topicSamples.size(), 1u);
    EXPECT_EQ(keyOf(topicSamples[0]->topic_key), keyOf(app.topic));
    const auto writerSamples = taken<WriterStatistics>();
    ASSERT_EQ(writerSamples.size(), 1u);
    EXPECT_EQ(keyOf(writerSamples[0]->datawriter_key), keyOf(writer));
    EXPECT_TRUE(taken<WriterMatchedStatistics>().empty());
    EXPECT_TRUE(taken<WriterLocatorStatistics>().empty());

    // The instance is disposed by its key alone; both are logged with it.
    EXPECT_EQ(notify(app.object, DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE, DDS_DataWriter_as_entity(writer)),
              ZEL_MONITOR_RESULT_OK);
    const zeltest::EntityKey key = keyOf(writer);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(app.publisher, writer), DDS_RETCODE_OK);
    const auto disposed = taken<WriterStatistics>();
    ASSERT_EQ(disposed.size(), 1u);
    EXPECT_FALSE(disposed[0].valid);
    EXPECT_TRUE(disposed[0].disposed);
    EXPECT_EQ(0, std::memcmp(disposed[0].instance.value, writerSamples[0].instance.value, 16));
    for (const ZELLogMessage *message :
         {&ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx, &ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx}) {
        EXPECT_TRUE(capture.contains(
                "ZELDefaultMonitorParticipantObject_publishWriterStatsI", *message,
                recordText(*message, "writer", static_cast<unsigned>(key[0]), static_cast<unsigned>(key[1]),
                           static_cast<unsigned>(key[2]), static_cast<unsigned>(key[3]))));
    }
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object));
    EXPECT_TRUE(taken<WriterStatistics>().empty());
}

TEST_F(StatisticsCycleTest, AWriterNotEnabledGetsItsOwnSampleButNoMatchedOnes) {
    observeAll();
    const Application app = monitoredApplication({{"zel.monitor.config.usertopics", "Readings"},
                                                  {"zel.monitor.config.topics", "zel/dds/monitoring/dataWriter*"}});
    DDS_PublisherQos qos = DDS_PublisherQos_INITIALIZER;
    DDS_DomainParticipant_get_default_publisher_qos(app.participant, &qos);
    qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    DDS_Publisher *publisher = DDS_DomainParticipant_create_publisher(app.participant, &qos, nullptr, 0);
    DDS_PublisherQos_finalize(&qos);
    DDS_DataWriter *disabled = createWriter(publisher, app.topic);
    DDS_DataWriter *enabled = createWriter(app);
    createReader(application());

    // The walk would fail at the disabled writer's matches if it went there;
    // nothing has happened to that writer yet, so its statuses are initial.
    zeltest::LogCapture capture;
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object));
    EXPECT_TRUE(capture.lines().empty());
    std::map<zeltest::EntityKey, DDS_Long> matchedTotals;
    for (const auto &sample : taken<WriterStatistics>()) {
        matchedTotals[keyOf(sample->datawriter_key)] = sample->publication_matched_status.status.total_count;
        EXPECT_EQ(sample->liveliness_lost_status.status.total_count, 0);
    }
    EXPECT_EQ(matchedTotals, (std::map<zeltest::EntityKey, DDS_Long>{{keyOf(disabled), 0}, {keyOf(enabled), 1}}));
    const auto matchedSamples = taken<WriterMatchedStatistics>();
    ASSERT_EQ(matchedSamples.size(), 1u);
    EXPECT_EQ(keyOf(matchedSamples[0]->datawriter_key), keyOf(enabled));
    EXPECT_EQ(taken<WriterLocatorStatistics>().size(), matchedLocatorCount(enabled));
    // Only the writer kinds were configured.
    EXPECT_TRUE(taken<ParticipantStatistics>().empty());
    EXPECT_TRUE(taken<TopicStatistics>().empty());
}

TEST_F(StatisticsCycleTest, AFailureInOneEntityIsLoggedUpTheChainAndTheWalkGoesOn) {
    observeAll();
    const Application app = monitoredApplication({{"zel.monitor.config.usertopics", "Readings"}});
    createWriter(app);
    createReader(application());
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object));
    taken<ParticipantStatistics>();
    taken<WriterStatistics>();

    // Fail each allocation of the walk in turn, until one fails the
    // topic's own sample.
    const std::string walk = "ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI";
    bool topicFailed = false;
    for (long n = 1; n < 200 && !topicFailed; ++n) {
        zeltest::LogCapture capture;
        ZELOsapiHeap_failAllocation(n, ZEL_TRUE);
        const DDS_Boolean ok = ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object);
        const bool hit = !ZELOsapiHeap_isFailurePending();
        ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
        ASSERT_TRUE(hit) << "the walk made fewer than " << n << " allocations without failing its topic";
        topicFailed = capture.contains("ZELDefaultMonitorParticipantObject_sampleAndPublishAllTopicsStatsI",
                                       ZEL_LOG_ANY_FAILURE_s,
                                       recordText(ZEL_LOG_ANY_FAILURE_s, "sample and publish topic stats"));
        const auto writerSamples = taken<WriterStatistics>();
        const auto participantSamples = taken<ParticipantStatistics>();
        const auto topicSamples = taken<TopicStatistics>();
        if (!topicFailed) {
            continue;
        }
        EXPECT_FALSE(ok);
        EXPECT_TRUE(capture.contains(walk, ZEL_LOG_ANY_FAILURE_s,
                                     recordText(ZEL_LOG_ANY_FAILURE_s, "sample and publish all topics stats")));
        EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_sampleAndPublishTopicStats",
                                     ZEL_LOG_INIT_FAILURE_s, recordText(ZEL_LOG_INIT_FAILURE_s, "sample")));
        // Writers and the participant are still published in that period.
        EXPECT_EQ(writerSamples.size(), 1u);
        EXPECT_EQ(participantSamples.size(), 1u);
        EXPECT_TRUE(topicSamples.empty());
    }
    EXPECT_TRUE(topicFailed);
}

TEST_F(StatisticsCycleTest, EventsWalkTheirParticipantsAndComeBackOnePeriodLaterButNeverAfterAnInfiniteTime) {
    observe<ParticipantStatistics>();
    // Both participants share the set on a monitoring participant of the
    // observer's domain, which publishes participant statistics only.
    const zeltest::Properties shared = {
            {"zel.monitor.config.new_participant_domain_id", "4"},
            {"zel.monitor.config.publish_period", "0x10"},
            {"zel.monitor.config.topics", "zel/dds/monitoring/domainParticipantEntityStatistics"}};
    const Application one = monitoredApplication(shared);
    const Application two = monitoredApplication(shared);
    ASSERT_NE(publisher_->sharedEntities, nullptr);
    ASSERT_EQ(one.object->entities, two.object->entities);
    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(factory_);

    ZELNtpTime next{};
    const ZELNtpTime now{100, 0xF0000000u};
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_onCommonStatsEventI(publisher_, &next, &now, &now, nullptr, worker));
    EXPECT_EQ(next.sec, 116);
    EXPECT_EQ(next.frac, 0xF0000000u);
    std::set<zeltest::EntityKey> keys;
    for (const auto &sample : taken<ParticipantStatistics>()) {
        keys.insert(keyOf(sample->participant_key));
    }
    EXPECT_EQ(keys, (std::set{keyOf(one.participant), keyOf(two.participant)}));

    const ZELNtpTime infinite{0x7fffffff, 0u};
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI(one.object, &next, &infinite, &infinite,
                                                                               nullptr, worker));
    EXPECT_EQ(next.sec, 0x7fffffff);
    EXPECT_EQ(next.frac, 0xFFFFFFFFu);
    const auto samples = taken<ParticipantStatistics>();
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(keyOf(samples[0]->participant_key), keyOf(one.participant));
}

}  // namespace
