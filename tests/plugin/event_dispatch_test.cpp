// Dispatch of entity events: what is ignored silently, what is logged, and
// the enabling of the monitoring entities with the start of their thread.
#include <thread>

#include "entity_set.h"
#include "monitor_fixture.h"

namespace {

using zeltest::recordText;

const char *const kNotify = "ZELDefaultMonitorPublisher_onEventNotify";

class EventDispatchTest : public zeltest::MonitorTest {
protected:
    static int pendingEvents(const ZELDefaultMonitorEntitySet *set) {
        return ZELEventActiveGenerator_getPendingEventCount(set->thread->generator);
    }
};

TEST_F(EventDispatchTest, KnownEventsAreLoggedByNameAndOthersIgnoredSilently) {
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = attach(participant);
    DDS_Entity *entity = DDS_DomainParticipant_as_entity(participant);
    DDS_Entity *monitoringWriter =
            DDS_DataWriter_as_entity(object->entities->writers[ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS]);
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    zeltest::LogCapture capture;

    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, monitoringWriter), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, 0x999, entity), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_TOPIC_CREATE_AFTER, entity), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER, entity), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE, entity),
              ZEL_MONITOR_RESULT_OK);
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine(kNotify, ZEL_MONITOR_LOG_ENTITY_EVENT_s, "receive event TOPIC_CREATE_AFTER\n"),
            zeltest::expectedLine(kNotify, ZEL_MONITOR_LOG_ENTITY_EVENT_s,
                                  "receive event DATAWRITER_LOCATOR_PARI_DELETE_AFTER\n"),
            zeltest::expectedLine(kNotify, ZEL_MONITOR_LOG_ENTITY_EVENT_s,
                                  "receive event PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE\n"),
    };
    EXPECT_EQ(capture.lines(), expected);
}

TEST_F(EventDispatchTest, ParticipantEnablingEnablesTheEntitiesAndStartsTheThreadOnce) {
    zeltest::LogCapture capture;
    DDS_DomainParticipant *participant = createParticipant({}, 0, false);
    ZELDefaultMonitorParticipantObject *object = attach(participant);
    ZELDefaultMonitorEntitySet *set = object->entities;
    DDS_Entity *entity = DDS_DomainParticipant_as_entity(participant);

    // Entities of a participant that is still disabled cannot be enabled.
    EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_FAILURE);
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisher_enableEntitiesAndStartThreadI", ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "enable partiicpant desc topic")));
    EXPECT_TRUE(capture.contains(kNotify, ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "enable entities")));
    EXPECT_FALSE(ZELDefaultMonitorEntitySet_isStarted(set));
    EXPECT_EQ(pendingEvents(set), 0);

    ASSERT_EQ(DDS_Entity_enable(entity), DDS_RETCODE_OK);
    EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);
    EXPECT_TRUE(ZELDefaultMonitorEntitySet_isStarted(set));
    for (DDS_DataWriter *writer : set->writers) {
        EXPECT_TRUE(DDS_Entity_is_enabled(DDS_DataWriter_as_entity(writer)));
    }
    EXPECT_EQ(set->eventCallback, &ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI);
    EXPECT_EQ(set->eventParam, object);
    EXPECT_EQ(pendingEvents(set), 1);
    EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(pendingEvents(set), 1);
}

TEST_F(EventDispatchTest, ConcurrentEnablingOfASharedSetStartsItsThreadOnce) {
    createParticipant({{"zel.monitor.config.new_participant_domain_id", "5"}});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        DDS_DomainParticipant *participant = i == 0 ? participants_.front() : createParticipant({});
        ZELDefaultMonitorParticipantObject *object = attach(participant);
        threads.emplace_back([object] { EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_OK); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    // One common event walks every participant of the shared set.
    ZELDefaultMonitorEntitySet *set = publisher_->sharedEntities;
    EXPECT_TRUE(ZELDefaultMonitorEntitySet_isStarted(set));
    EXPECT_EQ(set->eventCallback, &ZELDefaultMonitorParticipantObject_onCommonStatsEventI);
    EXPECT_EQ(set->eventParam, publisher_);
    EXPECT_EQ(pendingEvents(set), 1);
}

}  // namespace
