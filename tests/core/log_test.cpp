// The core log service and its replaceable device.
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "log_capture.h"
#include "vurncore/log.h"

namespace {

TEST(LogTest, DeviceReceivesContextRecordAndFormattedText) {
    zeltest::LogCapture log;
    ZELLog_printContextAndMsg("ZELThing_doI", &ZEL_LOG_CREATION_FAILURE_s, "writer stat writer");
    ZELLog_printContextAndMsg("ZELThing_allocI", &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, 3, 16);
    ZELLog_debug("free line %d/%s\n", 7, "x");
    ZELLog_printContextAndMsg("ZELThing_doI", nullptr);  // no record: nothing to print

    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine("ZELThing_doI", ZEL_LOG_CREATION_FAILURE_s, "failed to create writer stat writer\n"),
            zeltest::expectedLine("ZELThing_allocI", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                                  "out of heap: array of 3 elements of 16 octets\n"),
            zeltest::CapturedLine{"", 0u, "free line 7/x\n"},
    };
    EXPECT_EQ(log.lines(), expected);
}

TEST(LogTest, CoreRecordsHaveDistinctIdentifiers) {
    const ZELLogMessage *records[] = {&ZEL_LOG_GET_FAILURE_s,
                                      &ZEL_LOG_CREATION_FAILURE_s,
                                      &ZEL_LOG_DESTRUCTION_FAILURE_s,
                                      &ZEL_LOG_ANY_FAILURE_s,
                                      &ZEL_LOG_ADD_FAILURE_s,
                                      &ZEL_LOG_INIT_FAILURE_s,
                                      &ZEL_LOG_SEMAPHORE_GIVE_FAILURE,
                                      &ZEL_LOG_SEMAPHORE_TAKE_FAILURE,
                                      &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                      &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                                      &ZEL_LOG_BAD_PARAMETER_s,
                                      &ZEL_LOG_PRECONDITION_NOT_MET_s};
    std::set<uint32_t> ids;
    for (const ZELLogMessage *record : records) {
        EXPECT_TRUE(ids.insert(record->id).second) << record->format;
    }
}

TEST(LogTest, RemovingTheCaptureRestoresTheDefaultDeviceOnStandardError) {
    {
        zeltest::LogCapture log;
        ZELLogDevice current{};
        ZELLogDevice again{};
        // Installing the default device hands back the capture; putting the
        // capture back hands back the default device.
        ZELLog_setDevice(nullptr, &current);
        EXPECT_NE(current.write, nullptr);
        ZELLog_setDevice(&current, &again);
        EXPECT_NE(again.write, current.write);
        ZELLog_debug("seen by the capture\n");
        EXPECT_EQ(log.lines().size(), 1u);
    }
    testing::internal::CaptureStderr();
    ZELLog_printContextAndMsg("ZELThing_doI", &ZEL_LOG_ANY_FAILURE_s, "write");
    ZELLog_debug("plain %s\n", "line");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ZELThing_doI: failure: write\nplain line\n");
}

}  // namespace
