// Typed readers selecting samples over the in-process wire: instances
// visited in handle order, one instance read or taken, samples consumed one
// by one, read conditions selecting by state and belonging to their reader,
// refusals of wrong types, null arguments and unknown handles with their log
// lines, and allocation failures met by clean refusals.
#include <algorithm>

#include "datapath_fixture.h"

namespace {

using zeltest::Sample;

struct Lent {
    DDS_ReturnCode_t result;
    std::vector<Sample> samples;
};

class ReaderSelectionTest : public zeltest::DataPathTest {
protected:
    // A typed writer and reader of the shapes; false when either is missing.
    bool createEndpoints() {
        untypedWriter = createWriter();
        untypedReader = createReader();
        writer = dp_ShapeDataWriter_narrow(untypedWriter);
        reader = dp_ShapeDataReader_narrow(untypedReader);
        return writer != nullptr && reader != nullptr;
    }

    DDS_ReturnCode_t write(const char *color, DDS_Long x) {
        return dp_ShapeDataWriter_write(writer, &shapeOf(color, x), &DDS_HANDLE_NIL);
    }

    DDS_ReturnCode_t dispose(const char *color) {
        return dp_ShapeDataWriter_dispose(writer, &shapeOf(color, 0), &DDS_HANDLE_NIL);
    }

    DDS_InstanceHandle_t lookup(const char *color) {
        return dp_ShapeDataReader_lookup_instance(reader, &shapeOf(color, 0));
    }

    // Runs a lending read or take of `from` with the arguments that follow
    // the sequences and their length, records what it lent and returns the loan.
    template <class Operation, class... Arguments>
    static Lent lent(Operation operation, dp_ShapeDataReader *from, Arguments... arguments) {
        Lent out{};
        dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        out.result = operation(from, &data, &infos, DDS_LENGTH_UNLIMITED, arguments...);
        if (out.result == DDS_RETCODE_OK) {
            out.samples = zeltest::samplesOf(&data, &infos);
            EXPECT_EQ(dp_ShapeDataReader_return_loan(from, &data, &infos), DDS_RETCODE_OK);
        }
        return out;
    }

    // Every sample in the cache, read (so marked read) in arrival order.
    std::vector<Sample> readAll() {
        return lent(dp_ShapeDataReader_read, reader, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE)
                .samples;
    }

    Lent byInstance(bool take, const DDS_InstanceHandle_t *handle) {
        return lent(take ? dp_ShapeDataReader_take_instance : dp_ShapeDataReader_read_instance, reader, handle,
                    DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    }

    Lent nextInstance(bool take, const DDS_InstanceHandle_t *previous, DDS_SampleStateMask sampleStates,
                      DDS_InstanceStateMask instanceStates) {
        return lent(take ? dp_ShapeDataReader_take_next_instance : dp_ShapeDataReader_read_next_instance, reader,
                    previous, sampleStates, DDS_ANY_VIEW_STATE, instanceStates);
    }

    // The condition forms; a `previous` handle selects the next-instance one.
    static Lent withCondition(dp_ShapeDataReader *from, DDS_ReadCondition *condition, bool take,
                              const DDS_InstanceHandle_t *previous = nullptr) {
        if (previous != nullptr) {
            return lent(take ? dp_ShapeDataReader_take_next_instance_w_condition
                             : dp_ShapeDataReader_read_next_instance_w_condition,
                        from, previous, condition);
        }
        return lent(take ? dp_ShapeDataReader_take_w_condition : dp_ShapeDataReader_read_w_condition, from, condition);
    }

    DDS_DataWriter *untypedWriter = nullptr;
    DDS_DataReader *untypedReader = nullptr;
    dp_ShapeDataWriter *writer = nullptr;
    dp_ShapeDataReader *reader = nullptr;
};

TEST_F(ReaderSelectionTest, NextInstanceVisitsEveryInstanceInHandleOrderDisposedOnesIncluded) {
    ASSERT_TRUE(createEndpoints());
    const char *const colors[] = {"red", "blue", "green", "yellow", "black"};
    for (DDS_Long i = 0; i < 5; ++i) {
        ASSERT_EQ(write(colors[i], i), DDS_RETCODE_OK);
    }
    ASSERT_EQ(write("red", 10), DDS_RETCODE_OK);
    ASSERT_EQ(dispose("green"), DDS_RETCODE_OK);
    // Each instance as its colour and the x of its samples, in handle order;
    // the disposed one ends with the invalid-data sample of its dispose.
    std::vector<std::pair<DDS_InstanceHandle_t, std::string>> expected = {{lookup("red"), "red 0 10"},
                                                                          {lookup("blue"), "blue 1"},
                                                                          {lookup("green"), "green 2 -1"},
                                                                          {lookup("yellow"), "yellow 3"},
                                                                          {lookup("black"), "black 4"}};
    std::sort(expected.begin(), expected.end(), [](const auto &left, const auto &right) {
        return std::memcmp(left.first.value, right.first.value, sizeof left.first.value) < 0;
    });

    // Each call hands out the samples of exactly one instance, the next by handle.
    std::vector<std::string> visited;
    DDS_InstanceHandle_t previous = DDS_HANDLE_NIL;
    Lent got = nextInstance(false, &previous, DDS_ANY_SAMPLE_STATE, DDS_ANY_INSTANCE_STATE);
    for (; got.result == DDS_RETCODE_OK && visited.size() < 6;
         got = nextInstance(false, &previous, DDS_ANY_SAMPLE_STATE, DDS_ANY_INSTANCE_STATE)) {
        previous = got.samples.front().info.instance_handle;
        visited.push_back(got.samples.front().color);
        for (const Sample &sample : got.samples) {
            EXPECT_TRUE(zeltest::sameHandle(sample.info.instance_handle, previous));
            visited.back() += ' ' + std::to_string(sample.x);
        }
        EXPECT_EQ(got.samples.back().info.instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE,
                  visited.back().starts_with("green"));
    }
    EXPECT_EQ(got.result, DDS_RETCODE_NO_DATA);
    ASSERT_EQ(visited.size(), expected.size());
    for (size_t i = 0; i < visited.size(); ++i) {
        EXPECT_TRUE(expected[i].first.isValid);
        EXPECT_EQ(visited[i], expected[i].second);
    }

    // The states skip instances without matching samples: only the disposed
    // one holds disposed samples, and after the walk nothing is unread.
    const Lent disposed =
            nextInstance(true, &DDS_HANDLE_NIL, DDS_ANY_SAMPLE_STATE, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    ASSERT_EQ(disposed.result, DDS_RETCODE_OK);
    EXPECT_EQ(disposed.samples.front().color, "green");
    EXPECT_EQ(nextInstance(false, &DDS_HANDLE_NIL, DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_INSTANCE_STATE).result,
              DDS_RETCODE_NO_DATA);
    EXPECT_EQ(readAll().size(), 5u);
}

TEST_F(ReaderSelectionTest, OneInstanceIsReadOrTakenByHandleAndItsKeyComesBack) {
    ASSERT_TRUE(createEndpoints());
    writeEach(untypedWriter, {{"red", 1}, {"blue", 2}, {"red", 3}});
    const DDS_InstanceHandle_t red = lookup("red");
    ASSERT_TRUE(red.isValid && lookup("blue").isValid);
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
    const std::vector<Sample> rest = readAll();
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
    dp_Shape_finalize(&key);
}

TEST_F(ReaderSelectionTest, NextSampleConsumesUnreadSamplesOneByOneInCacheOrder) {
    ASSERT_TRUE(createEndpoints());
    writeEach(untypedWriter, {{"red", 1}, {"blue", 2}, {"red", 3}});
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

    dp_Shape_finalize(&sample);
}

// Narrowing to another type or from nothing gives no endpoint, read here as
// a bad parameter like the other refusals; each is logged with its reason.
TEST_F(ReaderSelectionTest, BadParametersAreRefusedAndLoggedWithTheirReasons) {
    ASSERT_TRUE(createEndpoints());
    EXPECT_EQ(dp_ShapeDataWriter_as_datawriter(writer), untypedWriter);
    ASSERT_EQ(write("blue", 2), DDS_RETCODE_OK);
    DDS_InstanceHandle_t unknown = lookup("blue");
    unknown.value[15] = static_cast<DDS_Octet>(unknown.value[15] ^ 0xff);
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfo info{};
    zeltest::LogCapture log;
    // Checks the refusal and the line it logged, then forgets the lines.
    const auto refused = [&](DDS_ReturnCode_t result, const char *context, const char *reason) {
        EXPECT_EQ(result, DDS_RETCODE_BAD_PARAMETER) << context;
        EXPECT_TRUE(log.contains(context, ZEL_LOG_BAD_PARAMETER_s, std::string("bad parameter: ") + reason + "\n"))
                << context;
        log.clear();
    };
    const auto narrowed = [](const void *to) { return to != nullptr ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER; };
    refused(narrowed(dp_TickDataWriter_narrow(untypedWriter)), "TDataWriter_narrow", "wrong type writer");
    refused(narrowed(dp_ShapeDataWriter_narrow(nullptr)), "TDataWriter_narrow", "null writer");
    refused(narrowed(dp_TickDataReader_narrow(untypedReader)), "TDataReader_narrow", "wrong type reader");
    refused(narrowed(dp_ShapeDataReader_narrow(nullptr)), "TDataReader_narrow", "null reader");
    refused(narrowed(dp_ShapeDataWriter_as_datawriter(nullptr)), "TDataWriter_as_datawriter", "null writer");
    refused(narrowed(dp_ShapeDataReader_as_datareader(nullptr)), "TDataReader_as_datareader", "null reader");
    refused(dp_ShapeDataReader_get_key_value(reader, &shape, &unknown), "DDS_DataReader_get_key_value",
            "unknown instance");
    refused(byInstance(false, &unknown).result, "DDS_DataReader_read_instance", "unknown instance");
    refused(byInstance(true, &DDS_HANDLE_NIL).result, "DDS_DataReader_take_instance", "handle");
    refused(dp_ShapeDataReader_take_next_sample(reader, nullptr, &info), "dp_ShapeDataReader_take_next_sample",
            "received_data");
    refused(dp_ShapeDataReader_read_next_sample(reader, &shape, nullptr), "DDS_DataReader_read_next_sample",
            "sample_info");
    refused(dp_ShapeDataReader_take(reader, nullptr, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                    DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
            "dp_ShapeDataReader_take", "received_data");
    // Nothing is lent to give back.
    dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(dp_ShapeDataReader_return_loan(reader, &data, &infos), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_TRUE(log.contains("dp_ShapeDataReader_return_loan", ZEL_LOG_ANY_FAILURE_s, "failure: unloan sequence\n"));
}

TEST_F(ReaderSelectionTest, ConditionsSelectByStatesAndBelongToTheirReader) {
    ASSERT_TRUE(createEndpoints());
    DDS_ReadCondition *unread = DDS_DataReader_create_readcondition(untypedReader, DDS_NOT_READ_SAMPLE_STATE,
                                                                    DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
    DDS_ReadCondition *disposed = DDS_DataReader_create_readcondition(
            untypedReader, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    ASSERT_TRUE(unread != nullptr && disposed != nullptr);
    EXPECT_FALSE(DDS_ReadCondition_get_trigger_value(unread));

    writeEach(untypedWriter, {{"red", 1}, {"blue", 2}, {"green", 3}});
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
    DDS_DataReader *other = createReader();
    ASSERT_NE(other, nullptr);
    zeltest::LogCapture log;
    EXPECT_EQ(withCondition(dp_ShapeDataReader_narrow(other), unread, false).result, DDS_RETCODE_PRECONDITION_NOT_MET);
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
        deleteEndpoints(untypedReader, untypedWriter);
    });
    EXPECT_GT(allocations, 20);
}

}  // namespace
