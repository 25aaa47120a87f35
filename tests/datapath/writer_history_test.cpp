// Writer history: what a volatile writer keeps, and max_samples bounding
// the samples of all instances together.
#include <gtest/gtest.h>

#include "datapath_types.h"
#include "heap_check.h"
#include "vurnc/dds_domain.h"
#include "vurnc/dds_publication.h"
#include "vurnc/dds_topic.h"

namespace {

class WriterTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory_ = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory_, nullptr);
        participant_ = DDS_DomainParticipantFactory_create_participant(factory_, 0, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                       nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant_, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant_, "Shape"), DDS_RETCODE_OK);
            publisher_ = DDS_DomainParticipant_create_publisher(participant_, &DDS_PUBLISHER_QOS_DEFAULT, nullptr,
                                                            DDS_STATUS_MASK_NONE);
        ASSERT_NE(publisher_, nullptr);
    }

    void TearDown() override {
        EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant_), DDS_RETCODE_OK);
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant_), DDS_RETCODE_OK);
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DataWriter *writer(const char *topicName, const char *typeName,
                           void (*adjust)(DDS_DataWriterQos *) = nullptr) {
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant_, topicName, typeName,
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
        if (topic == nullptr) {
            return nullptr;
        }
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        DDS_DataWriter *w = nullptr;
        if (DDS_Publisher_get_default_datawriter_qos(publisher_, &qos) == DDS_RETCODE_OK) {
            if (adjust != nullptr) {
                adjust(&qos);
            }
            w = DDS_Publisher_create_datawriter(publisher_, topic, &qos, nullptr, DDS_STATUS_MASK_NONE);
        }
        DDS_DataWriterQos_finalize(&qos);
        return w;
    }

    // The writer only reads the sample, so its key may point at a literal.
    static dp_Shape shape(const char *color, DDS_Long x) {
        dp_Shape s{};
        s.color = const_cast<char *>(color);
        s.x = x;
        return s;
    }

    static DDS_LongLong cached(DDS_DataWriter *w) {
        DDS_DataWriterCacheStatus status = DDS_DataWriterCacheStatus_INITIALIZER;
        EXPECT_EQ(DDS_DataWriter_get_datawriter_cache_status_ex(w, &status, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
        return status.sample_count;
    }

    DDS_DomainParticipantFactory *factory_ = nullptr;
    DDS_DomainParticipant *participant_ = nullptr;
    DDS_Publisher *publisher_ = nullptr;
};

TEST_F(WriterTest, VolatileKeepsNothingAndMaxSamplesBoundsAllInstances) {
    DDS_DataWriter *volatileWriter = writer("Volatile", "Shape");
    DDS_DataWriter *lastTwo = writer("LastTwo", "Shape", [](DDS_DataWriterQos *q) {
        q->durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        q->history.kind = DDS_KEEP_LAST_HISTORY_QOS;
        q->history.depth = 2;
    });
    DDS_DataWriter *bounded = writer("Bounded", "Shape", [](DDS_DataWriterQos *q) {
        q->durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        q->reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        q->history.kind = DDS_KEEP_ALL_HISTORY_QOS;
        q->resource_limits.max_samples = 3;
        q->resource_limits.max_instances = 2;
        q->resource_limits.max_samples_per_instance = 2;
    });
    ASSERT_NE(volatileWriter, nullptr);
    ASSERT_NE(lastTwo, nullptr);
    ASSERT_NE(bounded, nullptr);

    dp_Shape red = shape("RED", 0);
    for (int i = 0; i < 5; ++i) {
        red.x = i;
        EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(volatileWriter, &red, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
        EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(lastTwo, &red, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    }
    EXPECT_EQ(cached(volatileWriter), 0);
    EXPECT_EQ(cached(lastTwo), 2);

    dp_Shape blue = shape("BLUE", 0);
    dp_Shape green = shape("GREEN", 0);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &red, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &red, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    // A third sample of one instance, then a third instance, are refused.
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &red, &DDS_HANDLE_NIL), DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &blue, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &green, &DDS_HANDLE_NIL),
              DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_FALSE(DDS_DataWriter_lookup_instance_untypedI(bounded, &green).isValid);
    // The whole history is at max_samples.
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &blue, &DDS_HANDLE_NIL), DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_EQ(cached(bounded), 3);
    DDS_DataWriterCacheStatus status = DDS_DataWriterCacheStatus_INITIALIZER;
    EXPECT_EQ(DDS_DataWriter_get_datawriter_cache_status_ex(bounded, &status, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(status.sample_count_peak, 3);
    // Unregistering releases the instance's samples and its place.
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(bounded, &red, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(cached(bounded), 1);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(bounded, &green, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
}

}  // namespace
