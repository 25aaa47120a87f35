// One statistics sample per entity: keys, names and counts that follow
// what the application did, dispose by key alone, and failures logged by
// the status that could not be read.
#include <cstring>

#include "entity_statistics.h"
#include "monitor_fixture.h"

namespace {

using zeltest::Application;
using zeltest::ParticipantStatistics;
using zeltest::TopicStatistics;
using zeltest::WriterLocatorStatistics;
using zeltest::WriterMatchedStatistics;
using zeltest::WriterStatistics;
using zeltest::keyOf;
using zeltest::recordText;

class EntityStatisticsTest : public zeltest::MonitorTest {};

TEST_F(EntityStatisticsTest, ParticipantStatisticsCountWhatTheParticipantDiscovered) {
    observe<ParticipantStatistics>();
    const Application first = monitoredApplication({});
    const Application second = monitoredApplication({{"zel.monitor.config.skip_monitor_entities", "false"},
                                                     {"zel.monitor.config.get_process_statistics", "FALSE"}});
    createWriter(first);

    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(first.object, first.participant,
                                                                                    DDS_BOOLEAN_FALSE));
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(second.object, second.participant,
                                                                                    DDS_BOOLEAN_FALSE));
    const auto samples = taken<ParticipantStatistics>();
    ASSERT_EQ(samples.size(), 2u);
    const auto &a = *samples[0];
    const auto &b = *samples[1];
    EXPECT_EQ(keyOf(a.participant_key), keyOf(first.participant));
    EXPECT_EQ(a.period.sec, 3600);
    EXPECT_EQ(a.period.nanosec, 0u);
    EXPECT_EQ(a.domain_id, zeltest::kDomain);
    EXPECT_EQ(a.host_id, publisher_->hostId);
    EXPECT_EQ(a.process_id, publisher_->processId);
    // The other monitored participant and the observer; the application's
    // writer and the observer's reader, without the 26 monitoring writers.
    EXPECT_EQ(a.remoteParticipantCount, 2);
    EXPECT_EQ(a.remoteWriterCount, 1);
    EXPECT_EQ(a.remoteReaderCount, 1);
    EXPECT_EQ(b.remoteParticipantCount, 2);
    EXPECT_EQ(b.remoteWriterCount, 27);
    EXPECT_EQ(b.remoteReaderCount, 1);

    // Process figures only where asked for.
    EXPECT_EQ(b.process.physical_memory_bytes, 0u);
    EXPECT_EQ(b.process.user_cpu_time.sec, 0);
    EXPECT_EQ(b.process.user_cpu_time.nanosec, 0u);
    EXPECT_GT(a.process.physical_memory_bytes, 0u);
    EXPECT_GT(a.process.total_memory_bytes, 0u);
    // The first sample's CPU time is all its change; the next one's change
    // is the time since, each figure rounded up to whole nanoseconds.
    const auto nanoseconds = [](const DDSMonitoring_Duration_t &d) {
        return static_cast<int64_t>(d.sec) * 1000000000 + d.nanosec;
    };
    EXPECT_EQ(nanoseconds(a.process.user_cpu_time), nanoseconds(a.process.user_cpu_time_change));
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(first.object, first.participant,
                                                                                    DDS_BOOLEAN_FALSE));
    const auto later = taken<ParticipantStatistics>().at(0)->process;
    EXPECT_NEAR(static_cast<double>(nanoseconds(later.user_cpu_time) - nanoseconds(a.process.user_cpu_time)),
                static_cast<double>(nanoseconds(later.user_cpu_time_change)), 2.0);
}

TEST_F(EntityStatisticsTest, ADisposeGoesByTheKeyAndBothAreLoggedWithIt) {
    observe<WriterStatistics>();
    const Application app = monitoredApplication({});
    zeltest::LogCapture capture;
    // Once published, the instance is disposed by its key; both are logged
    // with the key's words.
    DDS_DataWriter *writer = createWriter(app);
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishWriterStats(app.object, writer, DDS_BOOLEAN_FALSE));
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishWriterStats(app.object, writer, DDS_BOOLEAN_TRUE));
    const DDS_BuiltinTopicKey_t &key = *DDS_DataWriter_get_builtin_topic_key(writer);
    const auto word = [&key](int i) { return static_cast<unsigned int>(key.value[i]); };
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_publishWriterStatsI",
                                 ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx,
                                 recordText(ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx, "writer", word(0), word(1),
                                            word(2), word(3))));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_publishWriterStatsI",
                                 ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx,
                                 recordText(ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx, "writer", word(0), word(1),
                                            word(2), word(3))));
    const auto samples = taken<WriterStatistics>();
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_TRUE(samples[0].valid);
    EXPECT_EQ(keyOf(samples[0]->datawriter_key), keyOf(writer));
    EXPECT_FALSE(samples[1].valid);
    EXPECT_TRUE(samples[1].disposed);
    EXPECT_EQ(0, std::memcmp(samples[1].instance.value, samples[0].instance.value, 16));
}

TEST_F(EntityStatisticsTest, DetachDisposesTheParticipantStatisticsPublishedOrNot) {
    observe<ParticipantStatistics>();
    const Application app = monitoredApplication({});
    const Application silent = monitoredApplication({});
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(app.object, app.participant,
                                                                                    DDS_BOOLEAN_FALSE));
    objects_.clear();
    // The second one goes away before its first period: its instance is
    // disposed all the same, by its key, and the detach succeeds.
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(silent.object), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(app.object), ZEL_MONITOR_RESULT_OK);
    const auto samples = taken<ParticipantStatistics>();
    ASSERT_EQ(samples.size(), 3u);
    int valid = 0;
    int disposed = 0;
    for (const auto &sample : samples) {
        if (sample.valid) {
            ++valid;
            EXPECT_EQ(keyOf(sample->participant_key), keyOf(app.participant));
        } else {
            disposed += sample.disposed ? 1 : 0;
        }
    }
    EXPECT_EQ(valid, 1);
    EXPECT_EQ(disposed, 2);
}

}  // namespace
