// A plug-in that guards its own lists with an exclusive area of level 5 must
// be able to lock and create entities while it holds that area.
#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurnc/dds_c.h"
#include "vurncore/worker.h"

namespace {

class LockOrderTest : public zeltest::HeapCheckedTest {};

TEST_F(LockOrderTest, EntitiesLockAndAreCreatedUnderAnAreaOfLevelFive) {
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    ASSERT_NE(factory, nullptr);
    REDAWorkerFactory *workers = DDS_DomainParticipantFactory_get_worker_factoryI(factory, 0);
    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(factory);
    ASSERT_NE(workers, nullptr);
    ASSERT_NE(worker, nullptr);
    REDAExclusiveArea *pluginArea = REDAWorkerFactory_createExclusiveArea(workers, 5);
    ASSERT_NE(pluginArea, nullptr);
    ASSERT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, pluginArea));

    DDS_DomainParticipant *participant = DDS_DomainParticipantFactory_create_participant(
            factory, 7, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(participant, nullptr);
    DDS_Publisher *publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(publisher, nullptr);
    // The statistics walk's nesting: plug-in area, participant, publisher.
    EXPECT_EQ(DDS_Entity_lock(DDS_DomainParticipant_as_entity(participant)), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_lock(DDS_Publisher_as_entity(publisher)), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_unlock(DDS_Publisher_as_entity(publisher)), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_unlock(DDS_DomainParticipant_as_entity(participant)), DDS_RETCODE_OK);

    EXPECT_EQ(DDS_DomainParticipant_delete_publisher(participant, publisher), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, pluginArea));
    REDAWorkerFactory_destroyExclusiveArea(workers, pluginArea);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
}

}  // namespace
