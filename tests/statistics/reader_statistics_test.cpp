// Reader statistics from the walk: what the reader received and rejected,
// the deadlines missed on a moved clock, readers of content-filtered topics under their related topic, and
// the change counts of an idle reader with and without reset.
#include <atomic>
#include <cstring>

#include "monitor_fixture.h"
#include "statistics_walk.h"
#include "vurncore/clock.h"

namespace {

using zeltest::Application;
using zeltest::keyOf;
using zeltest::ReaderMatchedStatistics;
using zeltest::ReaderStatistics;
using zeltest::WriterStatistics;

// The factory's clock, moved ahead by hand while it is installed.
class MovedClock {
public:
    explicit MovedClock(DDS_DomainParticipantFactory *factory)
        : clock_(DDS_DomainParticipantFactory_get_clockI(factory)), saved_(clock_->getTime) {
        real_ = saved_;
        clock_->getTime = &MovedClock::now;
    }
    ~MovedClock() { clock_->getTime = saved_; }
    MovedClock(const MovedClock &) = delete;
    MovedClock &operator=(const MovedClock &) = delete;

    static void advance(int32_t seconds) { offset_ += seconds; }

private:
    static ZELBoolean now(ZELHighResolutionClock *clock, ZELNtpTime *time) {
        const ZELBoolean ok = real_(clock, time);
        time->sec += offset_.load();
        return ok;
    }

    ZELHighResolutionClock *clock_;
    ZELBoolean (*saved_)(ZELHighResolutionClock *, ZELNtpTime *);
    static inline ZELBoolean (*real_)(ZELHighResolutionClock *, ZELNtpTime *) = nullptr;
    static inline std::atomic<int32_t> offset_{0};
};

class ReaderStatisticsTest : public zeltest::MonitorTest {};

TEST_F(ReaderStatisticsTest, ReadersReportWhatTheyReceivedRejectedAndMissedUnderTheirTopic) {
    observe<ReaderStatistics>();
    observe<ReaderMatchedStatistics>();
    observe<WriterStatistics>();
    const Application app = monitoredApplication({{"zel.monitor.config.usertopics", "Readings"}});
    MovedClock clock(factory_);
    const auto withDeadline = [](DDS_Duration_t &deadline) {
        deadline.sec = 1;
        deadline.nanosec = 0;
    };
    DDS_DataReader *limited = createReader(app, [&](DDS_DataReaderQos &qos) {
        qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
        qos.resource_limits.max_samples = 2;
        qos.resource_limits.max_samples_per_instance = 2;
        withDeadline(qos.deadline.period);
    });
    DDS_ContentFilteredTopic *filtered = DDS_DomainParticipant_create_contentfilteredtopic(
            app.participant, "HighReadings", app.topic, "value > 1.0", nullptr);
    ASSERT_NE(filtered, nullptr);
    DDS_DataReader *filteredReader =
            createReader(app.subscriber, DDS_ContentFilteredTopic_as_topicdescription(filtered));
    DDS_DataWriter *writer = createWriter(app, [&](DDS_DataWriterQos &qos) { withDeadline(qos.deadline.period); });
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(write(writer, 1), DDS_RETCODE_OK);
    }
    MovedClock::advance(3);

    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object));
    const auto samples = taken<ReaderStatistics>();
    ASSERT_EQ(samples.size(), 2u);
    const auto &plain = keyOf(samples[0]->datareader_key) == keyOf(limited) ? *samples[0] : *samples[1];
    const auto &cft = &plain == samples[0].data.get() ? *samples[1] : *samples[0];
    EXPECT_EQ(keyOf(plain.datareader_key), keyOf(limited));
    EXPECT_EQ(keyOf(plain.subscriber_key), keyOf(app.subscriber));
    EXPECT_EQ(keyOf(plain.participant_key), keyOf(app.participant));
    EXPECT_EQ(keyOf(plain.topic_key), keyOf(app.topic));
    EXPECT_FALSE(plain.is_content_filtered);
    EXPECT_EQ(plain.subscription_matched_status.status.current_count, 1);
    EXPECT_EQ(plain.sample_rejected_status.status.total_count, 1);
    EXPECT_EQ(plain.datareader_cache_status.status.sample_count, 2);
    EXPECT_GE(plain.requested_deadline_missed_status.status.total_count, 2);
    // The filtered reader is reported under the topic its filter reads.
    EXPECT_EQ(keyOf(cft.datareader_key), keyOf(filteredReader));
    EXPECT_TRUE(cft.is_content_filtered);
    EXPECT_STREQ(cft.topic_name, "Readings");
    EXPECT_EQ(keyOf(cft.topic_key), keyOf(app.topic));
    EXPECT_EQ(cft.datareader_protocol_status.status.received_sample_count, 3);

    // Three seconds without a sample: both ends missed the deadline.
    const auto writerSamples = taken<WriterStatistics>();
    ASSERT_EQ(writerSamples.size(), 1u);
    EXPECT_GE(writerSamples[0]->offered_deadline_missed_status.status.total_count, 2);

    // Each reader's match with the writer, keyed by reader and writer.
    const auto matches = taken<ReaderMatchedStatistics>();
    ASSERT_EQ(matches.size(), 2u);
    const DDS_InstanceHandle_t publication = DDS_Entity_get_instance_handle(DDS_DataWriter_as_entity(writer));
    for (const auto &match : matches) {
        EXPECT_EQ(0, std::memcmp(match->publication_handle.value, publication.value, 16));
        EXPECT_EQ(match->datareader_protocol_status.status.received_sample_count, 3);
    }
}

TEST_F(ReaderStatisticsTest, AnIdleReaderShowsNoChangesOnlyWhenChangeCountsAreReset) {
    observe<ReaderStatistics>();
    const Application reset = monitoredApplication(
            {{"zel.monitor.config.usertopics", "Readings"}, {"zel.monitor.config.reset_status_change_counts", "TRUE"}});
    const Application kept = monitoredApplication({{"zel.monitor.config.usertopics", "Readings"}});
    createReader(reset);
    createReader(kept);
    ASSERT_EQ(write(createWriter(application()), 3), DDS_RETCODE_OK);

    for (ZELDefaultMonitorParticipantObject *object : {reset.object, kept.object, reset.object, kept.object}) {
        ASSERT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(object));
    }
    const auto samples = taken<ReaderStatistics>();
    ASSERT_EQ(samples.size(), 4u);
    std::vector<std::pair<DDS_Long, DDS_LongLong>> resetChanges;
    std::vector<std::pair<DDS_Long, DDS_LongLong>> keptChanges;
    for (const auto &sample : samples) {
        EXPECT_EQ(sample->subscription_matched_status.status.total_count, 1);
        EXPECT_EQ(sample->datareader_protocol_status.status.received_sample_count, 1);
        (keyOf(sample->participant_key) == keyOf(reset.participant) ? resetChanges : keptChanges)
                .emplace_back(sample->subscription_matched_status.status.total_count_change,
                              sample->datareader_protocol_status.status.received_sample_count_change);
    }
    using Changes = std::vector<std::pair<DDS_Long, DDS_LongLong>>;
    EXPECT_EQ(resetChanges, (Changes{{1, 1}, {0, 0}}));
    EXPECT_EQ(keptChanges, (Changes{{1, 1}, {1, 1}}));
}

}  // namespace
