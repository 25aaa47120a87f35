// Reading the "zel.monitor.config." properties.
#include <climits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "config.h"
#include "heap_check.h"
#include "log_capture.h"
#include "record_text.h"
#include "vurncore/dds_string.h"

namespace {

using Pairs = std::vector<std::pair<const char *, const char *>>;

// A property list for one test.
struct Properties {
    explicit Properties(const Pairs &pairs) {
        for (const auto &[name, value] : pairs) {
            EXPECT_EQ(DDS_PropertyQosPolicyHelper_add_property(&policy, name, value, DDS_BOOLEAN_FALSE),
                      DDS_RETCODE_OK);
        }
    }
    ~Properties() { DDS_PropertyQosPolicy_finalize(&policy); }
    Properties(const Properties &) = delete;
    Properties &operator=(const Properties &) = delete;

    DDS_PropertyQosPolicy policy = DDS_PROPERTY_QOS_POLICY_DEFAULT;
};

// Every key but the booleans, which have a test of their own.
const Pairs kEveryKey = {{ZEL_MONITOR_CONFIG_NEW_PARTICIPANT_DOMAIN_ID, "17"},
                         {ZEL_MONITOR_CONFIG_VERBOSITY, "2"},
                         {ZEL_MONITOR_CONFIG_USERTOPICS, "Square,Circle"},
                         {ZEL_MONITOR_CONFIG_TOPICS, "zel/dds/monitoring/topicDescription"},
                         {ZEL_MONITOR_CONFIG_QOS_LIBRARY, "Lib"},
                         {ZEL_MONITOR_CONFIG_QOS_PROFILE, "Profile"},
                         {ZEL_MONITOR_CONFIG_WRITER_POOL_BUFFER_MAX_SIZE, "1024"},
                         {ZEL_MONITOR_CONFIG_PUBLISH_PERIOD, "0x10"},
                         {ZEL_MONITOR_CONFIG_PUBLISH_THREAD_PRIORITY, "-3"},
                         {ZEL_MONITOR_CONFIG_PUBLISH_THREAD_STACKSIZE, "0X1000"},
                         {ZEL_MONITOR_CONFIG_PUBLISH_THREAD_OPTIONS, "stdio | Floating_Point"}};

struct Settings {
    explicit Settings(const DDS_PropertyQosPolicy *policy) {
        ZELDefaultMonitorFirstAttachSettings_read(&first, policy);
        EXPECT_TRUE(ZELDefaultMonitorParticipantSettings_read(&participant, policy));
        ZELDefaultMonitorEntitySettings_read(&entities, policy);
        ZELDefaultMonitorPublishSettings_read(&publish, policy);
    }
    ~Settings() { ZELDefaultMonitorParticipantSettings_finalize(&participant); }
    Settings(const Settings &) = delete;
    Settings &operator=(const Settings &) = delete;

    ZELDefaultMonitorFirstAttachSettings first{};
    ZELDefaultMonitorParticipantSettings participant{};
    ZELDefaultMonitorEntitySettings entities{};
    ZELDefaultMonitorPublishSettings publish{};
};

Settings readOne(const char *name, const char *value) {
    Properties properties(Pairs{{name, value}});
    return Settings(&properties.policy);
}

using ConfigTest = zeltest::HeapCheckedTest;

TEST_F(ConfigTest, EveryKeyReachesItsSettingAndAValuelessOneCountsAsAbsent) {
    Properties given(kEveryKey);
    const Settings set(&given.policy);
    EXPECT_TRUE(set.first.hasNewParticipantDomainId && set.first.hasVerbosity);
    EXPECT_EQ(set.first.newParticipantDomainId, 17);
    EXPECT_EQ(set.first.verbosity, 2);
    EXPECT_STREQ(set.participant.userTopics, "Square,Circle");
    EXPECT_STREQ(set.entities.qosLibrary, "Lib");
    EXPECT_STREQ(set.entities.qosProfile, "Profile");
    EXPECT_TRUE(ZELDefaultMonitorEntitySettings_hasQosProfile(&set.entities));
    EXPECT_STREQ(set.entities.writerPoolBufferMaxSize, "1024");
    EXPECT_TRUE(ZELDefaultMonitorEntitySettings_isTopicSelected(&set.entities, "zel/dds/monitoring/topicDescription"));
    EXPECT_FALSE(
            ZELDefaultMonitorEntitySettings_isTopicSelected(&set.entities, "zel/dds/monitoring/topicEntityStatistics"));
    EXPECT_EQ(set.publish.period.sec, 16);
    EXPECT_EQ(set.publish.thread.priority, -3);
    EXPECT_EQ(set.publish.thread.stackSize, 4096);
    EXPECT_EQ(set.publish.thread.options, 3u);

    // No list, every key with an empty value, one key whose value is NULL.
    Pairs emptyValues = kEveryKey;
    for (auto &pair : emptyValues) {
        pair.second = "";
    }
    Properties valueless(emptyValues);
    DDS_Property_t *nullValue =
            DDS_PropertyQosPolicyHelper_lookup_property(&valueless.policy, ZEL_MONITOR_CONFIG_PUBLISH_PERIOD);
    DDS_String_free(nullValue->value);
    nullValue->value = nullptr;
    Properties none(Pairs{});
    for (const DDS_PropertyQosPolicy *policy : {&valueless.policy, &none.policy}) {
        const Settings defaults(policy);
        EXPECT_FALSE(defaults.first.hasNewParticipantDomainId || defaults.first.hasVerbosity);
        EXPECT_EQ(defaults.first.newParticipantDomainId, -1);
        EXPECT_EQ(defaults.participant.userTopics, nullptr);
        EXPECT_TRUE(defaults.entities.topics == nullptr && defaults.entities.qosLibrary == nullptr &&
                    defaults.entities.qosProfile == nullptr && defaults.entities.writerPoolBufferMaxSize == nullptr);
        EXPECT_TRUE(ZELDefaultMonitorEntitySettings_isTopicSelected(&defaults.entities, "zel/dds/monitoring/any"));
        EXPECT_EQ(defaults.publish.period.sec, 5);
        EXPECT_EQ(defaults.publish.period.nanosec, 0u);
        EXPECT_EQ(defaults.publish.thread.priority, -2);
        EXPECT_EQ(defaults.publish.thread.stackSize, 0);
        EXPECT_EQ(defaults.publish.thread.options, 3u);
    }
}

TEST_F(ConfigTest, BooleansChangeOnlyOnTheWordThatContradictsTheirDefault) {
    using Field = DDS_Boolean ZELDefaultMonitorParticipantSettings::*;
    using P = ZELDefaultMonitorParticipantSettings;
    const std::tuple<const char *, Field, bool> keys[] = {
            {ZEL_MONITOR_CONFIG_GET_PROCESS_STATISTICS, &P::getProcessStatistics, true},
            {ZEL_MONITOR_CONFIG_SKIP_MONITOR_ENTITIES, &P::skipMonitorEntities, true},
            {ZEL_MONITOR_CONFIG_SKIP_PARTICIPANT_PROPERTIES, &P::skipParticipantProperties, false},
            {ZEL_MONITOR_CONFIG_SKIP_WRITER_PROPERTIES, &P::skipWriterProperties, false},
            {ZEL_MONITOR_CONFIG_SKIP_READER_PROPERTIES, &P::skipReaderProperties, false},
            {ZEL_MONITOR_CONFIG_RESET_STATUS_CHANGE_COUNTS, &P::resetStatusChangeCounts, false}};
    // Each word: does it turn off a true default, does it turn on a false one?
    const std::tuple<const char *, bool, bool> words[] = {
            {"false", true, false}, {"FALSE", true, false},   {"fAlSe", true, false}, {"true", false, true},
            {"True", false, true},  {"no", false, false},     {"yes", false, false},  {"1", false, false},
            {"0", false, false},    {" false", false, false}, {"true ", false, false}};
    for (const auto &[name, field, defaultValue] : keys) {
        for (const auto &[word, turnsOff, turnsOn] : words) {
            const Settings set = readOne(name, word);
            EXPECT_EQ(set.participant.*field != 0, defaultValue ? !turnsOff : turnsOn) << name << " = '" << word << "'";
        }
    }
}

TEST_F(ConfigTest, NumbersAreHexadecimalOnlyAfterALeadingZeroX) {
    // Text, as a publish number (hexadecimal allowed), as a first-attach one (decimal only).
    const std::tuple<const char *, int32_t, int32_t> cases[] = {{"0x10", 16, 0},
                                                                {"0X1f", 31, 0},
                                                                {"-3", -3, -3},
                                                                {"0", 0, 0},
                                                                {"  12", 12, 12},
                                                                {"+7", 7, 7},
                                                                {"12abc", 12, 12},
                                                                {"abc", 0, 0},
                                                                {"010", 10, 10},
                                                                {" 0x10", 0, 0},
                                                                {"-0x10", 0, 0},
                                                                {"0xFFFFFFFF", INT32_MAX, 0},
                                                                {"99999999999", INT32_MAX, INT32_MAX},
                                                                {"-99999999999", INT32_MIN, INT32_MIN}};
    for (const auto &[text, publish, decimal] : cases) {
        EXPECT_EQ(readOne(ZEL_MONITOR_CONFIG_PUBLISH_PERIOD, text).publish.period.sec, publish) << text;
        EXPECT_EQ(readOne(ZEL_MONITOR_CONFIG_PUBLISH_THREAD_PRIORITY, text).publish.thread.priority, publish) << text;
        EXPECT_EQ(readOne(ZEL_MONITOR_CONFIG_PUBLISH_THREAD_STACKSIZE, text).publish.thread.stackSize, publish) << text;
        EXPECT_EQ(readOne(ZEL_MONITOR_CONFIG_VERBOSITY, text).first.verbosity, decimal) << text;
        EXPECT_EQ(readOne(ZEL_MONITOR_CONFIG_NEW_PARTICIPANT_DOMAIN_ID, text).first.newParticipantDomainId, decimal)
                << text;
    }
}

TEST_F(ConfigTest, ThreadOptionsAcceptEverySpellingAndStopAtAnUnknownWord) {
    zeltest::LogCapture capture;
    const std::pair<std::string, uint32_t> options[] = {{"floating_point", 0x01u},    {"STDIO", 0x02u},
                                                        {"realtime_priority", 0x08u}, {"Priority_Enforce", 0x10u},
                                                        {"MASK_DEFAULT", 0u},         {"kind_mask_default", 0u}};
    for (const std::string prefix : {"", "dds_thread_settings_", "Thread_Settings_"}) {
        for (const auto &[option, bit] : options) {
            if (prefix.empty() == (option == "kind_mask_default")) {
                continue;  // "MASK_DEFAULT" alone, "KIND_MASK_DEFAULT" only after a prefix
            }
            EXPECT_EQ(ZELDefaultMonitorPublisher_parseThreadOptions((prefix + option).c_str()), bit) << prefix + option;
        }
    }
    EXPECT_EQ(ZELDefaultMonitorPublisher_parseThreadOptions(" PRIORITY_ENFORCE|REALTIME_PRIORITY | mask_default "),
              0x18u);
    EXPECT_EQ(ZELDefaultMonitorPublisher_parseThreadOptions(""), 0u);
    EXPECT_EQ(readOne(ZEL_MONITOR_CONFIG_PUBLISH_THREAD_OPTIONS, " \t ").publish.thread.options, 0u);
    EXPECT_TRUE(capture.lines().empty());

    const zeltest::CapturedLine unknown =
            zeltest::expectedLine("ZELDefaultMonitorPublisher_parseThreadOptions", ZEL_LOG_CREATION_FAILURE_s,
                                  zeltest::recordText(ZEL_LOG_CREATION_FAILURE_s, "trim string"));
    const std::pair<const char *, uint32_t> stopped[] = {{"STDIO|bogus|REALTIME_PRIORITY", 0x02u},
                                                         {"STDIO|", 0x02u},
                                                         {"STDIO||FLOATING_POINT", 0x02u},
                                                         {"STDIO FLOATING_POINT|REALTIME_PRIORITY", 0u}};
    for (const auto &[text, expected] : stopped) {
        capture.clear();
        EXPECT_EQ(ZELDefaultMonitorPublisher_parseThreadOptions(text), expected) << text;
        EXPECT_EQ(capture.lines(), std::vector<zeltest::CapturedLine>{unknown}) << text;
    }
}

TEST_F(ConfigTest, OutOfHeapIsLoggedAndLeavesNothingBehind) {
    zeltest::LogCapture capture;
    Properties properties(Pairs{{ZEL_MONITOR_CONFIG_USERTOPICS, "Square,Circle"},
                                {ZEL_MONITOR_CONFIG_SKIP_WRITER_PROPERTIES, "true"}});
    const auto onlyLine = [&](const char *context, const ZELLogMessage &message, const std::string &text) {
        EXPECT_EQ(capture.lines(), std::vector<zeltest::CapturedLine>{zeltest::expectedLine(context, message, text)});
    };
    zeltest::forEachAllocationFailure([&](long) {
        capture.clear();
        ZELDefaultMonitorParticipantSettings settings{};
        if (ZELDefaultMonitorParticipantSettings_read(&settings, &properties.policy)) {
            EXPECT_STREQ(settings.userTopics, "Square,Circle");
            EXPECT_TRUE(settings.skipWriterProperties);
            ZELDefaultMonitorParticipantSettings_finalize(&settings);
            return;
        }
        EXPECT_TRUE(settings.userTopics == nullptr && !settings.skipWriterProperties);
        onlyLine("ZELDefaultMonitorParticipantSettings_read", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                 zeltest::recordText(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, 14, 1));
    });
    zeltest::forEachAllocationFailure([&](long) {
        capture.clear();
        if (ZELDefaultMonitorPublisher_parseThreadOptions("STDIO") == 0u) {
            onlyLine("ZELDefaultMonitorPublisher_parseThreadOptions", ZEL_LOG_CREATION_FAILURE_s,
                     zeltest::recordText(ZEL_LOG_CREATION_FAILURE_s, "element"));
        }
    });
}

}  // namespace
