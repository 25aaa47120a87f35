// The plug-in's log masks and its logging pattern.
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "log/monitor_log_macros.h"
#include "log_capture.h"
#include "record_text.h"

namespace {

std::vector<int> g_hookLevels;
void recordHookLevel(int level) { g_hookLevels.push_back(level); }

// Each logs under its own name; the argument counts its evaluations.
void failSomething(int *evaluations) { ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, (++*evaluations, "write")); }
void reportProgress(int *evaluations) { ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, (++*evaluations, "creating")); }

// Leaves masks and hook as it found them.
class MonitorLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ZEL_Monitor_Log_getBitmaps(&submodules_, &levels_);
        hook_ = ZELLog_setLogLevel;
        g_hookLevels.clear();
    }
    void TearDown() override {
        ZEL_Monitor_Log_setBitmaps(submodules_, levels_);
        ZELLog_setLogLevel = hook_;
    }

    zeltest::LogCapture capture_;
    int evaluations_ = 0;

private:
    uint32_t submodules_ = 0;
    uint32_t levels_ = 0;
    ZELLogSetLogLevelFunction hook_ = nullptr;
};

TEST_F(MonitorLogTest, VerbosityKeepsTheLowBitsWithTheShiftWrappingAtThirtyTwo) {
    const std::pair<int32_t, uint32_t> cases[] = {{INT32_MIN, 0u}, {-1, 0u},       {0, 0x1u},         {1, 0x3u},
                                                  {2, 0x7u},       {3, 0xFu},      {30, 0x7FFFFFFFu}, {31, 0u},
                                                  {32, 0x1u},      {INT32_MAX, 0u}};
    for (const auto &[verbosity, mask] : cases) {
        ZEL_Monitor_Log_setVerbosity(0xABCDu, verbosity);
        uint32_t submodules = 0;
        uint32_t levels = 0;
        ZEL_Monitor_Log_getBitmaps(&submodules, &levels);
        EXPECT_EQ(submodules, 0xABCDu) << verbosity;
        EXPECT_EQ(levels, mask) << verbosity;
    }
}

TEST_F(MonitorLogTest, EnabledMessageCallsTheHookWithItsLevelThenPrintsUnderTheCallersName) {
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    failSomething(&evaluations_);  // no hook: printed all the same
    ZELLog_setLogLevel = &recordHookLevel;
    failSomething(&evaluations_);
    reportProgress(&evaluations_);

    const std::string failure = zeltest::recordText(ZEL_LOG_ANY_FAILURE_s, "write");
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine("failSomething", ZEL_LOG_ANY_FAILURE_s, failure),
            zeltest::expectedLine("failSomething", ZEL_LOG_ANY_FAILURE_s, failure),
            zeltest::expectedLine("reportProgress", ZEL_MONITOR_LOG_INFO_s, "monitor info: creating\n")};
    EXPECT_EQ(capture_.lines(), expected);
    EXPECT_EQ(g_hookLevels, (std::vector<int>{1, 4}));
    EXPECT_EQ(evaluations_, 3);
}

TEST_F(MonitorLogTest, DisabledMessageNeitherCallsTheHookNorPrintsNorEvaluatesItsArgument) {
    ZELLog_setLogLevel = &recordHookLevel;
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 0);
    reportProgress(&evaluations_);  // information is above verbosity 0
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, -1);
    failSomething(&evaluations_);  // nothing at all, errors included
    ZEL_Monitor_Log_setBitmaps(0xFFFEu, 0xFFFFFFFFu);
    failSomething(&evaluations_);  // the plug-in's submodule is off
    ZELLog_setLogLevel = nullptr;
    failSomething(&evaluations_);

    EXPECT_TRUE(capture_.lines().empty());
    EXPECT_TRUE(g_hookLevels.empty());
    EXPECT_EQ(evaluations_, 0);
}

}  // namespace
