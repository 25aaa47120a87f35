// Content-filtered topics compile their filter against the related topic's
// type: expressions that do not fit the type are refused at creation, and
// parameters that do not fit are refused without disturbing the binding.
#include <gtest/gtest.h>

#include "datapath_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_c.h"

namespace {

class ContentFilteredTopicTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 11, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        shapes = DDS_DomainParticipant_create_topic(participant, "Shapes", dp_ShapeTypeSupport_get_type_name(),
                                                    &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        ASSERT_NE(shapes, nullptr);
        ASSERT_TRUE(DDS_StringSeq_initialize(&parameters));
    }

    void TearDown() override {
        DDS_StringSeq_finalize(&parameters);
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    void setParameter(const char *text) {
        const char *texts[] = {text};
        ASSERT_TRUE(DDS_StringSeq_from_array(&parameters, texts, 1));
    }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *shapes = nullptr;
    DDS_StringSeq parameters{};
};

TEST_F(ContentFilteredTopicTest, ExpressionsAndParametersMustFitTheRelatedType) {
    zeltest::LogCapture logs;
    const char *const create = "DDS_DomainParticipant_create_contentfilteredtopic";
    EXPECT_EQ(DDS_DomainParticipant_create_contentfilteredtopic(participant, "Bad", shapes, "colr = 'red'", nullptr),
              nullptr);
    EXPECT_EQ(DDS_DomainParticipant_create_contentfilteredtopic(participant, "Unbound", shapes, "x > %0", nullptr),
              nullptr);
    bool reasonLogged = false;
    for (const auto &line : logs.lines()) {
        reasonLogged = reasonLogged || (line.context == create && line.text.find("colr") != std::string::npos);
    }
    EXPECT_TRUE(reasonLogged);

    setParameter("10");
    DDS_ContentFilteredTopic *wide =
            DDS_DomainParticipant_create_contentfilteredtopic(participant, "Wide", shapes, "x > %0", &parameters);
    ASSERT_NE(wide, nullptr);
    // A parameter that is no number for a long member is refused; the old binding stays.
    DDS_StringSeq rejected{};
    ASSERT_TRUE(DDS_StringSeq_initialize(&rejected));
    const char *texts[] = {"'wide'"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&rejected, texts, 1));
    EXPECT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(wide, &rejected), DDS_RETCODE_BAD_PARAMETER);
    DDS_StringSeq current{};
    ASSERT_TRUE(DDS_StringSeq_initialize(&current));
    ASSERT_EQ(DDS_ContentFilteredTopic_get_expression_parameters(wide, &current), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_StringSeq_get_length(&current), 1);
    EXPECT_STREQ(DDS_StringSeq_get(&current, 0), "10");
    setParameter("20");
    EXPECT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(wide, &parameters), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_ContentFilteredTopic_get_expression_parameters(wide, &current), DDS_RETCODE_OK);
    EXPECT_STREQ(DDS_StringSeq_get(&current, 0), "20");
    DDS_StringSeq_finalize(&current);
    DDS_StringSeq_finalize(&rejected);
    EXPECT_EQ(DDS_DomainParticipant_delete_contentfilteredtopic(participant, wide), DDS_RETCODE_OK);
}

TEST_F(ContentFilteredTopicTest, AllocationFailuresRefuseCleanly) {
    zeltest::LogCapture logs;
    setParameter("'red'");
    zeltest::forEachAllocationFailure([&](long) {
        DDS_ContentFilteredTopic *topic = DDS_DomainParticipant_create_contentfilteredtopic(
                participant, "Red", shapes, "color = %0 AND x > 3", &parameters);
        if (topic == nullptr) {
            return;
        }
        DDS_ContentFilteredTopic_set_expression_parameters(topic, &parameters);
        EXPECT_EQ(DDS_DomainParticipant_delete_contentfilteredtopic(participant, topic), DDS_RETCODE_OK);
    });
}

} // namespace
