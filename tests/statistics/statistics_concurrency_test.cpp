// The statistics walk while other threads create and delete the entities
// it visits: the participant and publisher locks keep every entity alive
// while the walk holds it.
#include <atomic>
#include <thread>

#include "monitor_fixture.h"
#include "statistics_walk.h"

namespace {

using zeltest::Application;
using zeltest::keyOf;
using zeltest::ParticipantStatistics;
using zeltest::WriterStatistics;

class StatisticsConcurrencyTest : public zeltest::MonitorTest {};

TEST_F(StatisticsConcurrencyTest, TheWalkRunsWhileOtherThreadsCreateAndDeleteEntities) {
    observe<WriterStatistics>();
    observe<ParticipantStatistics>();
    const Application app = monitoredApplication({{"zel.monitor.config.usertopics", "Readings"}});
    const Application remote = application();
    DDS_DataWriter *steady = createWriter(app);

    // The churn goes on until the walk has run a few times beside it,
    // however the threads are scheduled.
    std::atomic<int> running{2};
    std::atomic<int> walks{0};
    std::thread writerChurn([&] {
        for (int i = 0; i < 40 || walks.load() < 3; ++i) {
            DDS_DataWriter *writer = createWriter(app);
            EXPECT_EQ(write(writer, i), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_Publisher_delete_datawriter(app.publisher, writer), DDS_RETCODE_OK);
        }
        --running;
    });
    std::thread readerChurn([&] {
        for (int i = 0; i < 40 || walks.load() < 3; ++i) {
            DDS_DataReader *reader = createReader(i % 2 == 0 ? remote : app);
            EXPECT_EQ(DDS_Subscriber_delete_datareader(i % 2 == 0 ? remote.subscriber : app.subscriber, reader),
                      DDS_RETCODE_OK);
        }
        --running;
    });
    // A remote reader may go away between listing the matches and reading
    // one of them: that match fails, the walk goes on.
    while (running.load() > 0) {
        ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object);
        taken<WriterStatistics>();
        taken<ParticipantStatistics>();
        ++walks;
    }
    writerChurn.join();
    readerChurn.join();
    EXPECT_GE(walks.load(), 3);

    // Once the churn is over, the walk sees only what remains.
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(app.object));
    const auto samples = taken<WriterStatistics>();
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_TRUE(keyOf(samples[0]->datawriter_key) == keyOf(steady));
    EXPECT_EQ(taken<ParticipantStatistics>().size(), 1u);
}

}  // namespace
