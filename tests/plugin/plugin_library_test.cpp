// The shared library as the middleware loads it: its entry points are
// plain symbols, and the record that create returns leads to the others.
#include "plugin_fixture.h"
#include "vurncore/osapi.h"

namespace {

class PlugInLibraryTest : public zeltest::PlugInTest {};

TEST_F(PlugInLibraryTest, EntryPointsAreExportedUndecoratedAndReachEachOther) {
    char error[256] = "";
    ZELOsapiLibrary *library = ZELOsapiLibrary_open("zelmonitoring", error, sizeof error);
    ASSERT_NE(library, nullptr) << error;
    for (const char *name : {"ZELDefaultMonitorPublisher_create", "ZELDefaultMonitorPublisher_delete",
                             "ZELDefaultMonitorPublisher_onDomainParticipantAttach",
                             "ZELDefaultMonitorPublisher_onDomainParticipantDetach",
                             "ZELDefaultMonitorPublisher_onEventNotify"}) {
        EXPECT_NE(ZELOsapiLibrary_getSymbol(library, name), nullptr) << name;
    }
    using Create = ZELDefaultMonitorPublisher *(*)(DDS_UnsignedLong *, DDS_DomainParticipantFactory *,
                                                   ZELDefaultMonitorVersion);
    auto create = reinterpret_cast<Create>(ZELOsapiLibrary_getSymbol(library, "ZELDefaultMonitor_create"));
    ASSERT_NE(create, nullptr);

    DDS_DomainParticipant *participant = createParticipant({});
    DDS_UnsignedLong result = 0;
    ZELDefaultMonitorPublisher *publisher = create(&result, factory_, zeltest::kVersion);
    ASSERT_NE(publisher, nullptr);
    EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(reinterpret_cast<void *>(publisher->onDomainParticipantAttach),
              ZELOsapiLibrary_getSymbol(library, "ZELDefaultMonitorPublisher_onDomainParticipantAttach"));
    ZELDefaultMonitorParticipantObject *object = publisher->onDomainParticipantAttach(&result, publisher, participant);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
    EXPECT_NE(DDS_DomainParticipant_lookup_topicdescription(participant, "zel/dds/monitoring/dataWriterDescription"),
              nullptr);
    EXPECT_EQ(publisher->onEventNotify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                                       DDS_DomainParticipant_as_entity(participant), nullptr),
              ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(publisher->onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(publisher->deletePublisher(publisher), ZEL_MONITOR_RESULT_OK);
    ZELOsapiLibrary_close(library);
}

}  // namespace
