// The topic a reader is reported under, and the user-topic filter that
// decides by that topic's name.
#include "monitor_fixture.h"
#include "related_topic.h"

namespace {

using zeltest::recordText;

class RelatedTopicTest : public zeltest::MonitorTest {};

TEST_F(RelatedTopicTest, AFilteredReaderIsReportedAndFilteredUnderTheTopicItsFilterReads) {
    const zeltest::Application app = application();
    DDS_Topic *square = app.topic;
    DDS_Topic *circle = createTopic(app.participant, "Circle");
    DDS_ContentFilteredTopic *filtered = DDS_DomainParticipant_create_contentfilteredtopic(
            app.participant, "BigReadings", square, "value > 10", nullptr);
    ASSERT_NE(filtered, nullptr);
    DDS_DataReader *plain = createReader(app.subscriber, DDS_Topic_as_topicdescription(circle));
    DDS_DataReader *filteredReader =
            createReader(app.subscriber, DDS_ContentFilteredTopic_as_topicdescription(filtered));

    DDS_Octet isContentFiltered = 7;
    EXPECT_EQ(ZELDefaultMonitorParticipantObject_getActualReaderTopicI(plain, &isContentFiltered), circle);
    EXPECT_EQ(isContentFiltered, 0);
    EXPECT_EQ(ZELDefaultMonitorParticipantObject_getActualReaderTopicI(filteredReader, &isContentFiltered), square);
    EXPECT_EQ(isContentFiltered, 1);
    // The flag is optional.
    DDS_Topic *related = ZELDefaultMonitorParticipantObject_getActualReaderTopicI(filteredReader, nullptr);
    EXPECT_EQ(related, square);

    // A topic is kept when any element of the list matches its name.
    const struct {
        DDS_Topic *topic;
        const char *list;
        bool filtered;
    } cases[] = {{related, "Readings", false},        {related, "Circle", true},    {circle, "Readings", true},
                 {circle, "Readings, Circle", false}, {circle, "Tri*,Cir*", false}, {circle, "Rea*", true}};
    for (const auto &c : cases) {
        EXPECT_EQ(ZELDefaultMonitorParticipantObject_isTopicFilteredI(c.topic, c.list) != 0, c.filtered) << c.list;
    }
}

TEST_F(RelatedTopicTest, AMissingTopicIsLoggedAndNotFiltered) {
    zeltest::LogCapture capture;
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(nullptr, "Square"));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_isTopicFilteredI", ZEL_LOG_GET_FAILURE_s,
                                 recordText(ZEL_LOG_GET_FAILURE_s, "topicdescription")));

    DDS_Octet isContentFiltered = 7;
    EXPECT_EQ(ZELDefaultMonitorParticipantObject_getActualReaderTopicI(nullptr, &isContentFiltered), nullptr);
    EXPECT_EQ(isContentFiltered, 7);
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_getActualReaderTopicI", ZEL_LOG_GET_FAILURE_s,
                                 recordText(ZEL_LOG_GET_FAILURE_s, "topicDescription")));
}

}  // namespace
