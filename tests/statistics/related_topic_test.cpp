// The user-topic filter, and the failures of finding the topic a reader is
// reported under.
#include "monitor_fixture.h"
#include "related_topic.h"

namespace {

using zeltest::recordText;

class RelatedTopicTest : public zeltest::MonitorTest {};

TEST_F(RelatedTopicTest, ATopicIsKeptWhenAnyElementOfTheListMatchesItsName) {
    const zeltest::Application app = application();
    DDS_Topic *readings = app.topic;
    DDS_Topic *circle = createTopic(app.participant, "Circle");
    const struct {
        DDS_Topic *topic;
        const char *list;
        bool filtered;
    } cases[] = {{readings, "Readings", false},       {readings, "Circle", true},   {circle, "Readings", true},
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
