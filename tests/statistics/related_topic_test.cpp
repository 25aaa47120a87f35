// The topic a reader is reported under, and the user-topic filter that
// decides by that topic's name.
#include "plugin_fixture.h"
#include "related_topic.h"
#include "statistics_types.h"

namespace {

using zeltest::recordText;

class RelatedTopicTest : public zeltest::PlugInTest {
protected:
    void SetUp() override {
        PlugInTest::SetUp();
        participant_ = createParticipant({});
        ASSERT_NE(participant_, nullptr);
        ASSERT_EQ(st_ReadingTypeSupport_register_type(participant_, nullptr), DDS_RETCODE_OK);
        square_ = createTopic("Square");
        circle_ = createTopic("Circle");
        subscriber_ = DDS_DomainParticipant_create_subscriber(participant_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_NE(subscriber_, nullptr);
    }

    DDS_Topic *createTopic(const char *name) {
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant_, name, st_ReadingTypeSupport_get_type_name(),
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        EXPECT_NE(topic, nullptr);
        return topic;
    }

    DDS_DataReader *createReader(DDS_TopicDescription *description) {
        DDS_DataReader *reader = DDS_Subscriber_create_datareader(subscriber_, description,
                                                                  &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
        EXPECT_NE(reader, nullptr);
        return reader;
    }

    DDS_DomainParticipant *participant_ = nullptr;
    DDS_Topic *square_ = nullptr;
    DDS_Topic *circle_ = nullptr;
    DDS_Subscriber *subscriber_ = nullptr;
};

TEST_F(RelatedTopicTest, AFilteredReaderIsReportedUnderTheTopicItsFilterReads) {
    DDS_ContentFilteredTopic *filtered = DDS_DomainParticipant_create_contentfilteredtopic(
            participant_, "BigSquares", square_, "value > 10", nullptr);
    ASSERT_NE(filtered, nullptr);
    DDS_DataReader *plain = createReader(DDS_Topic_as_topicdescription(circle_));
    DDS_DataReader *filteredReader = createReader(DDS_ContentFilteredTopic_as_topicdescription(filtered));

    DDS_Octet isContentFiltered = 7;
    EXPECT_EQ(ZELDefaultMonitorParticipantObject_getActualReaderTopicI(plain, &isContentFiltered), circle_);
    EXPECT_EQ(isContentFiltered, 0);
    EXPECT_EQ(ZELDefaultMonitorParticipantObject_getActualReaderTopicI(filteredReader, &isContentFiltered), square_);
    EXPECT_EQ(isContentFiltered, 1);
    // The flag is optional.
    EXPECT_EQ(ZELDefaultMonitorParticipantObject_getActualReaderTopicI(filteredReader, nullptr), square_);

    // The filter goes by the related topic's name, so the filtered reader is
    // kept with its topic.
    DDS_Topic *related = ZELDefaultMonitorParticipantObject_getActualReaderTopicI(filteredReader, nullptr);
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(related, "Square"));
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(related, "Circle"));
}

TEST_F(RelatedTopicTest, TheFilterKeepsTopicsMatchingAnyElementOfTheList) {
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(square_, "Square"));
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(circle_, "Square"));
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(circle_, "Square, Circle"));
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(circle_, "Tri*,Cir*"));
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_isTopicFilteredI(circle_, "Squ*"));
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
