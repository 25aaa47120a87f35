// Typed readers selecting samples over the in-process wire: instances
// visited in handle order, one instance read or taken, samples consumed one
// by one, read conditions selecting by state and belonging to their reader,
// and allocation failures met by clean refusals.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "datapath_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_publication.h"
#include "vurnc/dds_subscription.h"
#include "vurnc/dds_topic.h"

namespace {

// What a read handed out, one entry per sample.
struct Got {
    std::string color;
    DDS_Long x;
    bool valid;
    DDS_UnsignedLong instanceState;
    DDS_InstanceHandle_t handle;
};

struct Lent {
    DDS_ReturnCode_t result;
    std::vector<Got> samples;
};

bool handleLess(const DDS_InstanceHandle_t &left, const DDS_InstanceHandle_t &right) {
    return std::memcmp(left.value, right.value, sizeof left.value) < 0;
}

class ReaderSelectionTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 13, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        shapes = DDS_DomainParticipant_create_topic(participant, "Shapes", dp_ShapeTypeSupport_get_type_name(),
                                                    &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && publisher != nullptr && subscriber != nullptr);
        ASSERT_EQ(DDS_Subscriber_get_default_datareader_qos(subscriber, &readerQos), DDS_RETCODE_OK);
        readerQos.history.depth = 4;
        ASSERT_TRUE(dp_Shape_initialize(&shape));
    }

    void TearDown() override {
        dp_Shape_finalize(&shape);
        DDS_DataReaderQos_finalize(&readerQos);
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    // A typed writer and reader of the shapes; false when either is missing.
    bool createEndpoints() {
        DDS_DataWriter *untypedWriter =
                DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        untypedReader = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(shapes),
                                                         &readerQos, nullptr, 0);
        writer = dp_ShapeDataWriter_narrow(untypedWriter);
        reader = dp_ShapeDataReader_narrow(untypedReader);
        return writer != nullptr && reader != nullptr;
    }

    DDS_ReturnCode_t write(const char *color, DDS_Long x) {
        std::snprintf(shape.color, 33, "%s", color);
        shape.x = x;
        return dp_ShapeDataWriter_write(writer, &shape, &DDS_HANDLE_NIL);
    }

    DDS_ReturnCode_t dispose(const char *color) {
        std::snprintf(shape.color, 33, "%s", color);
        return dp_ShapeDataWriter_dispose(writer, &shape, &DDS_HANDLE_NIL);
    }

    DDS_InstanceHandle_t lookup(const char *color) {
        std::snprintf(shape.color, 33, "%s", color);
        return dp_ShapeDataReader_lookup_instance(reader, &shape);
    }

    // Runs a lending read or take, records what it lent and returns the loan.
    Lent lent(const std::function<DDS_ReturnCode_t(dp_ShapeSeq *, DDS_SampleInfoSeq *)> &operation) {
        Lent out{};
        dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        out.result = operation(&data, &infos);
        if (out.result == DDS_RETCODE_OK) {
            for (DDS_Long i = 0; i < dp_ShapeSeq_get_length(&data); ++i) {
                const dp_Shape *sample = dp_ShapeSeq_get_reference(&data, i);
                const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
                out.samples.push_back(Got{sample->color, sample->x, info->valid_data != 0, info->instance_state,
                                          info->instance_handle});
            }
            EXPECT_EQ(dp_ShapeDataReader_return_loan(reader, &data, &infos), DDS_RETCODE_OK);
        }
        dp_ShapeSeq_finalize(&data);
        DDS_SampleInfoSeq_finalize(&infos);
        return out;
    }

    // Every sample in the cache, read (so marked read) in arrival order.
    std::vector<Got> readAll() {
        return lent([&](dp_ShapeSeq *data, DDS_SampleInfoSeq *infos) {
                   return dp_ShapeDataReader_read(reader, data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                                  DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
               }).samples;
    }

    Lent byInstance(bool take, const DDS_InstanceHandle_t *handle) {
        return lent([&](dp_ShapeSeq *data, DDS_SampleInfoSeq *infos) {
            return (take ? dp_ShapeDataReader_take_instance : dp_ShapeDataReader_read_instance)(
                    reader, data, infos, DDS_LENGTH_UNLIMITED, handle, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                    DDS_ANY_INSTANCE_STATE);
        });
    }

    Lent nextInstance(bool take, const DDS_InstanceHandle_t *previous, DDS_SampleStateMask sampleStates,
                      DDS_InstanceStateMask instanceStates) {
        return lent([&](dp_ShapeSeq *data, DDS_SampleInfoSeq *infos) {
            return (take ? dp_ShapeDataReader_take_next_instance : dp_ShapeDataReader_read_next_instance)(
                    reader, data, infos, DDS_LENGTH_UNLIMITED, previous, sampleStates, DDS_ANY_VIEW_STATE,
                    instanceStates);
        });
    }

    // The condition forms; a `previous` handle selects the next-instance one.
    Lent withCondition(dp_ShapeDataReader *from, DDS_ReadCondition *condition, bool take,
                       const DDS_InstanceHandle_t *previous = nullptr) {
        return lent([&](dp_ShapeSeq *data, DDS_SampleInfoSeq *infos) {
            if (previous != nullptr) {
                return (take ? dp_ShapeDataReader_take_next_instance_w_condition
                             : dp_ShapeDataReader_read_next_instance_w_condition)(
                        from, data, infos, DDS_LENGTH_UNLIMITED, previous, condition);
            }
            return (take ? dp_ShapeDataReader_take_w_condition : dp_ShapeDataReader_read_w_condition)(
                    from, data, infos, DDS_LENGTH_UNLIMITED, condition);
        });
    }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *shapes = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
    DDS_DataReaderQos readerQos = DDS_DataReaderQos_INITIALIZER;
    DDS_DataReader *untypedReader = nullptr;
    dp_ShapeDataWriter *writer = nullptr;
    dp_ShapeDataReader *reader = nullptr;
    dp_Shape shape{};
};

TEST_F(ReaderSelectionTest, NextInstanceVisitsEveryInstanceInHandleOrderDisposedOnesIncluded) {
    ASSERT_TRUE(createEndpoints());
    const char *const colors[] = {"red", "blue", "green", "yellow", "black"};
    for (DDS_Long i = 0; i < 5; ++i) {
        ASSERT_EQ(write(colors[i], i), DDS_RETCODE_OK);
    }
    ASSERT_EQ(write("red", 10), DDS_RETCODE_OK);
    ASSERT_EQ(dispose("green"), DDS_RETCODE_OK);
    std::vector<DDS_InstanceHandle_t> expected;
    for (const char *color : colors) {
        expected.push_back(lookup(color));
        ASSERT_TRUE(expected.back().isValid) << color;
    }
    std::sort(expected.begin(), expected.end(), handleLess);

    // Each call hands out the samples of exactly one instance, the next by handle.
    std::vector<DDS_InstanceHandle_t> visited;
    std::vector<Got> red;
    DDS_InstanceHandle_t previous = DDS_HANDLE_NIL;
    for (Lent got = nextInstance(false, &previous, DDS_ANY_SAMPLE_STATE, DDS_ANY_INSTANCE_STATE);
         got.result != DDS_RETCODE_NO_DATA && visited.size() < 6;
         got = nextInstance(false, &previous, DDS_ANY_SAMPLE_STATE, DDS_ANY_INSTANCE_STATE)) {
        ASSERT_EQ(got.result, DDS_RETCODE_OK);
        ASSERT_FALSE(got.samples.empty());
        const Got &first = got.samples.front();
        for (const Got &sample : got.samples) {
            EXPECT_EQ(std::memcmp(sample.handle.value, first.handle.value, 16), 0);
        }
        if (first.color == "red") {
            red = got.samples;
        }
        if (got.samples.back().instanceState == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
            // The disposed instance ends with the invalid-data sample of its dispose.
            EXPECT_FALSE(got.samples.back().valid);
            EXPECT_EQ(first.color, "green");
        }
        previous = first.handle;
        visited.push_back(previous);
    }
    ASSERT_EQ(visited.size(), 5u);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(std::memcmp(visited[i].value, expected[i].value, 16), 0) << i;
    }
    ASSERT_EQ(red.size(), 2u);
    EXPECT_EQ(red[0].x, 0);
    EXPECT_EQ(red[1].x, 10);

    // The states skip instances without matching samples: only the disposed
    // one holds disposed samples, and after the walk nothing is unread.
    const Lent disposed = nextInstance(true, &DDS_HANDLE_NIL, DDS_ANY_SAMPLE_STATE,
                                       DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    ASSERT_EQ(disposed.result, DDS_RETCODE_OK);
    EXPECT_EQ(disposed.samples.front().color, "green");
    EXPECT_EQ(nextInstance(false, &DDS_HANDLE_NIL, DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_INSTANCE_STATE).result,
              DDS_RETCODE_NO_DATA);
    EXPECT_EQ(readAll().size(), 5u);
}

TEST_F(ReaderSelectionTest, OneInstanceIsReadOrTakenByHandleAndItsKeyComesBack) {
    ASSERT_TRUE(createEndpoints());
    ASSERT_EQ(write("red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write("blue", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write("red", 3), DDS_RETCODE_OK);
    const DDS_InstanceHandle_t red = lookup("red");
    const DDS_InstanceHandle_t blue = lookup("blue");
    ASSERT_TRUE(red.isValid && blue.isValid);
    EXPECT_FALSE(lookup("purple").isValid);

    // Copied into the caller's sequence, at most max_samples, oldest first.
    dp_ShapeSeq copies = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq copyInfos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(dp_ShapeSeq_set_maximum(&copies, 4) && DDS_SampleInfoSeq_set_maximum(&copyInfos, 4));
    ASSERT_EQ(dp_ShapeDataReader_read_instance(reader, &copies, &copyInfos, 1, &red, DDS_ANY_SAMPLE_STATE,
                                               DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&copies), 1);
    EXPECT_EQ(dp_ShapeSeq_get_reference(&copies, 0)->x, 1);
    dp_ShapeSeq_finalize(&copies);
    DDS_SampleInfoSeq_finalize(&copyInfos);

    // Taking red leaves blue alone; red is still known, with nothing left.
    const Lent taken = byInstance(true, &red);
    ASSERT_EQ(taken.result, DDS_RETCODE_OK);
    ASSERT_EQ(taken.samples.size(), 2u);
    EXPECT_EQ(taken.samples[0].x, 1);
    EXPECT_EQ(taken.samples[1].x, 3);
    const std::vector<Got> rest = readAll();
    ASSERT_EQ(rest.size(), 1u);
    EXPECT_EQ(rest[0].color, "blue");
    EXPECT_EQ(byInstance(true, &red).result, DDS_RETCODE_NO_DATA);

    // The key members come back from the handle; the others stay as they were.
    dp_Shape key{};
    ASSERT_TRUE(dp_Shape_initialize(&key));
    key.x = 99;
    ASSERT_EQ(dp_ShapeDataReader_get_key_value(reader, &key, &red), DDS_RETCODE_OK);
    EXPECT_STREQ(key.color, "red");
    EXPECT_EQ(key.x, 99);

    // An unknown handle is a bad parameter for every operation by handle.
    DDS_InstanceHandle_t unknown = blue;
    unknown.value[15] = static_cast<DDS_Octet>(unknown.value[15] ^ 0xff);
    zeltest::LogCapture log;
    EXPECT_EQ(dp_ShapeDataReader_get_key_value(reader, &key, &unknown), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_DataReader_get_key_value", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: unknown instance\n"));
    EXPECT_EQ(byInstance(false, &unknown).result, DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_DataReader_read_instance", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: unknown instance\n"));
    EXPECT_EQ(byInstance(true, &DDS_HANDLE_NIL).result, DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_DataReader_take_instance", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: handle\n"));
    dp_Shape_finalize(&key);
}

TEST_F(ReaderSelectionTest, NextSampleConsumesUnreadSamplesOneByOneInCacheOrder) {
    ASSERT_TRUE(createEndpoints());
    ASSERT_EQ(write("red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write("blue", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write("red", 3), DDS_RETCODE_OK);
    dp_Shape sample{};
    ASSERT_TRUE(dp_Shape_initialize(&sample));
    DDS_SampleInfo info{};
    // Instances in order of first arrival, each oldest first.
    for (const DDS_Long x : {1, 3, 2}) {
        ASSERT_EQ(dp_ShapeDataReader_read_next_sample(reader, &sample, &info), DDS_RETCODE_OK);
        EXPECT_EQ(sample.x, x);
        EXPECT_EQ(info.sample_state, DDS_NOT_READ_SAMPLE_STATE);
    }
    EXPECT_EQ(dp_ShapeDataReader_read_next_sample(reader, &sample, &info), DDS_RETCODE_NO_DATA);
    EXPECT_EQ(dp_ShapeDataReader_take_next_sample(reader, &sample, &info), DDS_RETCODE_NO_DATA);
    EXPECT_EQ(readAll().size(), 3u);

    // A take removes the sample. Blue arrived before green, so its dispose
    // comes first: an invalid-data sample that leaves the caller's sample
    // as it was.
    ASSERT_EQ(write("green", 4), DDS_RETCODE_OK);
    ASSERT_EQ(dispose("blue"), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeDataReader_take_next_sample(reader, &sample, &info), DDS_RETCODE_OK);
    EXPECT_FALSE(info.valid_data);
    EXPECT_EQ(info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    EXPECT_STREQ(sample.color, "blue");
    EXPECT_EQ(sample.x, 2);
    ASSERT_EQ(dp_ShapeDataReader_take_next_sample(reader, &sample, &info), DDS_RETCODE_OK);
    EXPECT_TRUE(info.valid_data);
    EXPECT_STREQ(sample.color, "green");
    EXPECT_EQ(sample.x, 4);
    EXPECT_EQ(readAll().size(), 3u);

    zeltest::LogCapture log;
    EXPECT_EQ(dp_ShapeDataReader_take_next_sample(reader, nullptr, &info), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("dp_ShapeDataReader_take_next_sample", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: received_data\n"));
    EXPECT_EQ(dp_ShapeDataReader_read_next_sample(reader, &sample, nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_DataReader_read_next_sample", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: sample_info\n"));
    dp_Shape_finalize(&sample);
}

TEST_F(ReaderSelectionTest, ConditionsSelectByStatesAndBelongToTheirReader) {
    ASSERT_TRUE(createEndpoints());
    DDS_ReadCondition *unread = DDS_DataReader_create_readcondition(untypedReader, DDS_NOT_READ_SAMPLE_STATE,
                                                                    DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
    DDS_ReadCondition *disposed = DDS_DataReader_create_readcondition(
            untypedReader, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    ASSERT_TRUE(unread != nullptr && disposed != nullptr);
    EXPECT_EQ(DDS_ReadCondition_get_sample_state_mask(unread), DDS_NOT_READ_SAMPLE_STATE);
    EXPECT_EQ(DDS_ReadCondition_get_view_state_mask(unread), DDS_ANY_VIEW_STATE);
    EXPECT_EQ(DDS_ReadCondition_get_instance_state_mask(disposed), DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    EXPECT_EQ(DDS_ReadCondition_get_datareader(unread), untypedReader);
    EXPECT_FALSE(DDS_ReadCondition_get_trigger_value(unread));

    ASSERT_EQ(write("red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write("blue", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write("green", 3), DDS_RETCODE_OK);
    ASSERT_EQ(dispose("green"), DDS_RETCODE_OK);
    EXPECT_TRUE(DDS_ReadCondition_get_trigger_value(unread));
    EXPECT_TRUE(DDS_ReadCondition_get_trigger_value(disposed));
    const Lent unreadOnes = withCondition(reader, unread, false);
    ASSERT_EQ(unreadOnes.result, DDS_RETCODE_OK);
    ASSERT_EQ(unreadOnes.samples.size(), 2u);
    EXPECT_EQ(unreadOnes.samples[0].color, "red");
    EXPECT_EQ(unreadOnes.samples[1].color, "blue");
    EXPECT_FALSE(DDS_ReadCondition_get_trigger_value(unread));
    const Lent disposedOnes = withCondition(reader, disposed, true, &DDS_HANDLE_NIL);
    ASSERT_EQ(disposedOnes.result, DDS_RETCODE_OK);
    ASSERT_EQ(disposedOnes.samples.size(), 2u);
    EXPECT_EQ(disposedOnes.samples[0].color, "green");
    EXPECT_FALSE(DDS_ReadCondition_get_trigger_value(disposed));
    EXPECT_EQ(withCondition(reader, disposed, true).result, DDS_RETCODE_NO_DATA);

    // Another reader neither uses nor deletes this reader's conditions.
    DDS_DataReader *other = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(shapes),
                                                             &readerQos, nullptr, 0);
    ASSERT_NE(other, nullptr);
    zeltest::LogCapture log;
    EXPECT_EQ(withCondition(dp_ShapeDataReader_narrow(other), unread, false).result,
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_TRUE(log.contains("DDS_DataReader_read_w_condition", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: condition of another reader\n"));
    EXPECT_EQ(DDS_DataReader_delete_readcondition(other, unread), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_TRUE(log.contains("DDS_DataReader_delete_readcondition", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: condition of another reader\n"));

    // A reader with conditions is not deleted until they are; the other
    // reader's condition goes with its subscriber's contained entities.
    ASSERT_NE(DDS_DataReader_create_readcondition(other, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                                  DDS_ANY_INSTANCE_STATE),
              nullptr);
    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, untypedReader), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_TRUE(log.contains("DDS_Subscriber_delete_datareader", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: outstanding read conditions\n"));
    EXPECT_EQ(DDS_DataReader_delete_readcondition(untypedReader, unread), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataReader_delete_contained_entities(untypedReader), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, untypedReader), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Subscriber_delete_contained_entities(subscriber), DDS_RETCODE_OK);
}

TEST_F(ReaderSelectionTest, AllocationFailuresAreRefusedAndLeaveTheCacheAsItWas) {
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        if (createEndpoints() && write("red", 1) == DDS_RETCODE_OK && write("blue", 2) == DDS_RETCODE_OK) {
            const DDS_InstanceHandle_t red = lookup("red");
            DDS_ReadCondition *condition = DDS_DataReader_create_readcondition(
                    untypedReader, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
            // A take refused for want of heap leaves the sample for the next
            // one. (The reader may have lost the sample on arrival, and the
            // instance with it or not.)
            const DDS_ReturnCode_t result = red.isValid ? byInstance(true, &red).result : DDS_RETCODE_NO_DATA;
            if (result == DDS_RETCODE_OUT_OF_RESOURCES) {
                const Lent retried = byInstance(true, &red);
                EXPECT_EQ(retried.result, DDS_RETCODE_OK);
                EXPECT_EQ(retried.samples.size(), 1u);
            } else {
                EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_NO_DATA) << result;
            }
            if (condition != nullptr) {
                withCondition(reader, condition, false, &DDS_HANDLE_NIL);
            }
        }
        if (untypedReader != nullptr) {
            EXPECT_EQ(DDS_DataReader_delete_contained_entities(untypedReader), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, untypedReader), DDS_RETCODE_OK);
        }
        if (writer != nullptr) {
            EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, dp_ShapeDataWriter_as_datawriter(writer)),
                      DDS_RETCODE_OK);
        }
        untypedReader = nullptr;
        writer = nullptr;
        reader = nullptr;
    });
    EXPECT_GT(allocations, 20);
}

}  // namespace
