// What the plug-in tests share: a participant factory for the test's
// lifetime, participants configured by properties, and log expectations.
#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "heap_check.h"
#include "log_capture.h"
#include "record_text.h"
#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"
#include "zelmonitoring/monitor_log.h"

namespace zeltest {

using Properties = std::vector<std::pair<std::string, std::string>>;

inline constexpr ZELDefaultMonitorVersion kVersion = {5, 1, 'c', 2};

// Checks that nothing leaks over the factory's whole life, and puts the
// log masks back afterwards.
class PlugInTest : public HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        ZEL_Monitor_Log_getBitmaps(&submoduleMask_, &instrumentationMask_);
        factory_ = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory_, nullptr);
    }

    void TearDown() override {
        for (DDS_DomainParticipant *participant : participants_) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        ZEL_Monitor_Log_setBitmaps(submoduleMask_, instrumentationMask_);
        HeapCheckedTest::TearDown();
    }

    // A participant deleted by the fixture; `autoenable` false leaves its
    // children disabled until it is enabled, and it is created disabled.
    DDS_DomainParticipant *createParticipant(const Properties &properties, DDS_DomainId_t domain = 0,
                                             bool enabled = true) {
        DDS_DomainParticipant *participant = createUnownedParticipant(properties, domain, enabled);
        if (participant != nullptr) {
            participants_.push_back(participant);
        }
        return participant;
    }

    DDS_DomainParticipant *createUnownedParticipant(const Properties &properties, DDS_DomainId_t domain,
                                                    bool enabled) {
        DDS_DomainParticipantFactoryQos factoryQos = DDS_DomainParticipantFactoryQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_qos(factory_, &factoryQos);
        factoryQos.entity_factory.autoenable_created_entities = enabled ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
        DDS_DomainParticipantFactory_set_qos(factory_, &factoryQos);
        DDS_DomainParticipantFactoryQos_finalize(&factoryQos);
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_default_participant_qos(factory_, &qos);
        qos.entity_factory.autoenable_created_entities = enabled ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
        for (const auto &[name, value] : properties) {
            DDS_PropertyQosPolicyHelper_add_property(&qos.property, name.c_str(), value.c_str(), DDS_BOOLEAN_FALSE);
        }
        DDS_DomainParticipant *participant =
                DDS_DomainParticipantFactory_create_participant(factory_, domain, &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_DomainParticipantQos_finalize(&qos);
        return participant;
    }

    static std::string propertyOf(DDS_DomainParticipant *participant, const char *name) {
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipant_get_qos(participant, &qos);
        const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, name);
        std::string value = property != nullptr ? property->value : "<absent>";
        DDS_DomainParticipantQos_finalize(&qos);
        return value;
    }

    DDS_DomainParticipantFactory *factory_ = nullptr;
    std::vector<DDS_DomainParticipant *> participants_;

private:
    uint32_t submoduleMask_ = 0;
    uint32_t instrumentationMask_ = 0;
};

}  // namespace zeltest
