// Registering the monitoring types on a participant: every topic type and the
// factory QoS register under their scoped names with their own plug-in, the
// participant keeps a usable copy after the caller's plug-in is gone, and
// refusals and allocation failures leave nothing behind.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "log_capture.h"
#include "types_test_support.h"
#include "vurnc/dds_domain.h"
#include "vurnc/dds_topic.h"
#include "zel_dds_monitoring.h"
#include "zel_monitoring.h"

namespace {

struct RegistrableType {
    std::string flat;
    DDS_ReturnCode_t (*registerType)(DDS_DomainParticipant *, const char *);
    DDS_ReturnCode_t (*unregisterType)(DDS_DomainParticipant *, const char *);
    DDS_TypeCode *(*typeCode)();
};

std::vector<RegistrableType> registrableTypes() {
    std::vector<RegistrableType> types;
#define ZELIDL_PLUGIN_TYPE(F) \
    types.push_back({#F, &F##TypeSupport_register_type, &F##TypeSupport_unregister_type, &F##_get_typecode});
#include "DDSMonitoring_types.inc"
#define ZELIDL_PLUGIN_TYPE(F) \
    types.push_back({#F, &F##TypeSupport_register_type, &F##TypeSupport_unregister_type, &F##_get_typecode});
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_PLUGIN_TYPE(F) \
    types.push_back({#F, &F##TypeSupport_register_type, &F##TypeSupport_unregister_type, &F##_get_typecode});
#include "zel_monitoring_types.inc"
    return types;
}

// The scoped name a type registers under, as its descriptor records it.
std::string scopedName(const std::string &flat) { return typestest::typeNamed(flat).desc->name; }

class TypeRegistrationTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        zeltest::HeapCheckedTest::SetUp();
        factory_ = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory_, nullptr);
        participant =
                DDS_DomainParticipantFactory_create_participant(factory_, 0, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
        ASSERT_NE(participant, nullptr);
    }
    void TearDown() override {
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        zeltest::HeapCheckedTest::TearDown();
    }

    DDS_DomainParticipant *participant = nullptr;

private:
    DDS_DomainParticipantFactory *factory_ = nullptr;
};

TEST_F(TypeRegistrationTest, EveryRegistrableTypeRegistersItsOwnPluginUnderItsScopedName) {
    const std::vector<RegistrableType> types = registrableTypes();
    ASSERT_EQ(types.size(), 14u);
    for (const RegistrableType &type : types) {
        ASSERT_EQ(type.registerType(participant, nullptr), DDS_RETCODE_OK) << type.flat;
    }
    for (const RegistrableType &type : types) {
        const std::string name = scopedName(type.flat);
        const PRESTypePlugin *plugin = DDS_DomainParticipant_get_type_pluginI(participant, name.c_str());
        ASSERT_NE(plugin, nullptr) << name;
        EXPECT_EQ(plugin->typeName, name);
        EXPECT_EQ(plugin->typeCode, type.typeCode());
        EXPECT_EQ(DDS_TypeCode_name(plugin->typeCode), name);
        // The participant's copy outlives the plug-in the registration made.
        void *sample = plugin->createSampleFnc();
        ASSERT_NE(sample, nullptr) << name;
        plugin->deleteSampleFnc(sample);
    }
    EXPECT_STREQ(zel_dds_monitoring_DataWriterDescriptionTypeSupport_get_type_name(),
                 "zel::dds::monitoring::DataWriterDescription");
    EXPECT_EQ(scopedName("DDSMonitoring_DomainParticipantFactoryQos"), "DDSMonitoring::DomainParticipantFactoryQos");
    for (const RegistrableType &type : types) {
        EXPECT_EQ(type.unregisterType(participant, nullptr), DDS_RETCODE_OK) << type.flat;
        EXPECT_EQ(DDS_DomainParticipant_get_type_pluginI(participant, scopedName(type.flat).c_str()), nullptr);
    }
}

TEST_F(TypeRegistrationTest, AGivenNameServesTopicsAndIsTakenBackOnlyWhenUnused) {
    ASSERT_EQ(zel_dds_monitoring_TopicEntityStatisticsTypeSupport_register_type(participant, "Stats"), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_get_type_pluginI(participant, "zel::dds::monitoring::TopicEntityStatistics"),
              nullptr);
    DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant, "TopicStatistics", "Stats",
                                                          &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(topic, nullptr);
    EXPECT_EQ(zel_dds_monitoring_TopicEntityStatisticsTypeSupport_unregister_type(participant, "Stats"),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(participant, topic), DDS_RETCODE_OK);
    EXPECT_EQ(zel_dds_monitoring_TopicEntityStatisticsTypeSupport_unregister_type(participant, "Stats"),
              DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_get_type_pluginI(participant, "Stats"), nullptr);
}

TEST_F(TypeRegistrationTest, RefusalsAreReportedAndLeaveTheRegistrationsAsTheyWere) {
    zeltest::LogCapture log;
    EXPECT_EQ(zel_dds_monitoring_DataReaderDescriptionTypeSupport_register_type(nullptr, nullptr), DDS_RETCODE_ERROR);
    EXPECT_TRUE(log.contains("zel_dds_monitoring_DataReaderDescriptionTypeSupport_register_type",
                             ZEL_LOG_BAD_PARAMETER_s, "bad parameter: participant\n"));
    EXPECT_EQ(DDSMonitoring_DomainParticipantFactoryQosTypeSupport_unregister_type(nullptr, nullptr),
              DDS_RETCODE_ERROR);
    EXPECT_TRUE(log.contains("DDSMonitoring_DomainParticipantFactoryQosTypeSupport_unregister_type",
                             ZEL_LOG_BAD_PARAMETER_s, "bad parameter: participant\n"));
    EXPECT_EQ(DDSMonitoring_DomainParticipantFactoryQosTypeSupport_unregister_type(participant, nullptr),
              DDS_RETCODE_BAD_PARAMETER);

    // Another type under a taken name is refused, and its plug-in is not kept.
    ASSERT_EQ(zel_dds_monitoring_DataReaderDescriptionTypeSupport_register_type(participant, "T"), DDS_RETCODE_OK);
    EXPECT_EQ(zel_dds_monitoring_DataWriterDescriptionTypeSupport_register_type(participant, "T"),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipant_get_type_pluginI(participant, "T")->typeName,
              std::string("zel::dds::monitoring::DataReaderDescription"));
    // The same type again counts one more registration to take back.
    ASSERT_EQ(zel_dds_monitoring_DataReaderDescriptionTypeSupport_register_type(participant, "T"), DDS_RETCODE_OK);
    EXPECT_EQ(zel_dds_monitoring_DataReaderDescriptionTypeSupport_unregister_type(participant, "T"), DDS_RETCODE_OK);
    EXPECT_NE(DDS_DomainParticipant_get_type_pluginI(participant, "T"), nullptr);
    EXPECT_EQ(zel_dds_monitoring_DataReaderDescriptionTypeSupport_unregister_type(participant, "T"), DDS_RETCODE_OK);
    EXPECT_EQ(zel_dds_monitoring_DataReaderDescriptionTypeSupport_unregister_type(participant, "T"),
              DDS_RETCODE_BAD_PARAMETER);
}

TEST_F(TypeRegistrationTest, EveryAllocationFailureFailsTheRegistrationWithoutALeak) {
    const long allocations = zeltest::forEachAllocationFailure([this](long) {
        const DDS_ReturnCode_t result =
                zel_dds_monitoring_DomainParticipantDescriptionTypeSupport_register_type(participant, nullptr);
        if (result == DDS_RETCODE_OK) {
            EXPECT_EQ(zel_dds_monitoring_DomainParticipantDescriptionTypeSupport_unregister_type(participant, nullptr),
                      DDS_RETCODE_OK);
        } else {
            EXPECT_EQ(DDS_DomainParticipant_get_type_pluginI(participant,
                                                             "zel::dds::monitoring::DomainParticipantDescription"),
                      nullptr);
        }
    });
    // The caller's plug-in, the participant's record and its name.
    EXPECT_GE(allocations, 4);
}

}  // namespace
