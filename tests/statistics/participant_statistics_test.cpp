// Participant statistics sampled directly: what the participant
// discovered, its process figures, and the dispose of its instance at detach.
#include "entity_statistics.h"
#include "monitor_fixture.h"

namespace {

using zeltest::Application;
using zeltest::keyOf;
using zeltest::ParticipantStatistics;

class ParticipantStatisticsTest : public zeltest::MonitorTest {};

TEST_F(ParticipantStatisticsTest, ParticipantStatisticsCountWhatTheParticipantDiscovered) {
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

TEST_F(ParticipantStatisticsTest, DetachDisposesTheParticipantStatisticsPublishedOrNot) {
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
