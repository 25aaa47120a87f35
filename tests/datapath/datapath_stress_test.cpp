// Filtered, exclusive, deadline-watching readers and transient-local
// writers under load from several threads, and with every allocation of
// their path failing in turn.
#include <thread>

#include "datapath_fixture.h"

namespace {

using zeltest::setMs;
using zeltest::statusOf;

class ReaderWriterStressTest : public zeltest::DataPathTest {
protected:
    void SetUp() override {
        DataPathTest::SetUp();
        DDS_StringSeq parameters{};
        ASSERT_TRUE(DDS_StringSeq_initialize(&parameters) && setParameter(&parameters, "100"));
        filter = DDS_DomainParticipant_create_contentfilteredtopic(participant, "Over", shapes, "x > %0", &parameters);
        DDS_StringSeq_finalize(&parameters);
        ASSERT_NE(filter, nullptr);
        readerQos.ownership.kind = writerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
        setMs(&readerQos.deadline.period, 1);
        setMs(&writerQos.deadline.period, 1);
        writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
        setMs(&writerQos.liveliness.lease_duration, 2);
        writerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    }

    static void writeMany(DDS_DataWriter *writer, const char *color, DDS_Long count) {
        dp_Shape local{};
        ASSERT_TRUE(dp_Shape_initialize(&local));
        std::snprintf(local.color, 33, "%s", color);
        for (local.x = 0; local.x < count; ++local.x) {
            EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &local, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
        }
        dp_Shape_finalize(&local);
    }

    DDS_ContentFilteredTopic *filter = nullptr;
};

TEST_F(ReaderWriterStressTest, StatusesAndCachesStayConsistentWhileEverythingHappensAtOnce) {
    writerQos.ownership_strength.value = 2;
    DDS_DataWriter *strong = createWriter();
    writerQos.ownership_strength.value = 1;
    DDS_DataWriter *weak = createWriter();
    DDS_DataReader *owned = createReader();
    DDS_DataReader *filtered = createReader(DDS_ContentFilteredTopic_as_topicdescription(filter));
    ASSERT_TRUE(strong != nullptr && weak != nullptr && owned != nullptr && filtered != nullptr);
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (DDS_DataWriter *writer : {strong, weak}) {
        threads.emplace_back([&, writer] {
            writeMany(writer, "red", 2000);
            ++finished;
        });
    }
    // Writers and readers come and go, every other reader a late joiner
    // the writers replay their history to; every other round writes
    // through the weak writer while its own thread does too.
    threads.emplace_back([&] {
        for (int i = 0; i < 40; ++i) {
            readerQos.durability.kind = i % 2 == 0 ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
            DDS_DataWriter *writer = createWriter();
            DDS_DataReader *reader =
                    createReader(i % 2 == 0 ? DDS_ContentFilteredTopic_as_topicdescription(filter) : nullptr);
            ASSERT_TRUE(writer != nullptr && reader != nullptr);
            writeMany(i % 2 == 0 ? writer : weak, "blue", 20);
            take(reader);
            deleteEndpoints(reader, writer);
        }
        ++finished;
    });
    threads.emplace_back([&] {  // parameters and QoS change, statuses are polled
        DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
        DDS_StringSeq parameters{};
        DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
        ASSERT_TRUE(DDS_DataReader_get_qos(owned, &changed) == DDS_RETCODE_OK && DDS_StringSeq_initialize(&parameters));
        for (int i = 0; finished.load() < 3; ++i) {
            ASSERT_TRUE(setParameter(&parameters, i % 2 == 0 ? "150" : "100"));
            EXPECT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(filter, &parameters), DDS_RETCODE_OK);
            setMs(&changed.deadline.period, 1 + static_cast<uint32_t>(i % 2));
            EXPECT_EQ(DDS_DataReader_set_qos(owned, &changed), DDS_RETCODE_OK);
            for (DDS_DataReader *reader : {owned, filtered}) {
                statusOf(DDS_DataReader_get_liveliness_changed_status, reader);
                statusOf(DDS_DataReader_get_requested_deadline_missed_status, reader);
                protocolOf(reader, true);
                EXPECT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
                for (DDS_Long h = 0; h < DDS_InstanceHandleSeq_get_length(&handles); ++h) {
                    DDS_DataReaderProtocolStatus protocol{};
                    // The writer may have gone since.
                    const DDS_ReturnCode_t got = DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
                            reader, &protocol, DDS_InstanceHandleSeq_get_reference(&handles, h), DDS_BOOLEAN_TRUE);
                    EXPECT_TRUE(got == DDS_RETCODE_OK || got == DDS_RETCODE_BAD_PARAMETER);
                }
            }
        }
        DDS_InstanceHandleSeq_finalize(&handles);
        DDS_StringSeq_finalize(&parameters);
        DDS_DataReaderQos_finalize(&changed);
    });
    std::vector<DDS_Long> passed;
    {
        zeltest::LogCapture quiet;  // refusals of writers that just went
        while (finished.load() < 3) {
            const std::vector<DDS_Long> xs = take(filtered);
            passed.insert(passed.end(), xs.begin(), xs.end());
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
    for (DDS_Long x : passed) {
        EXPECT_GT(x, 100);
    }
    for (DDS_DataReader *reader : {owned, filtered}) {
        const auto matched = statusOf(DDS_DataReader_get_subscription_matched_status, reader);
        const auto liveliness = statusOf(DDS_DataReader_get_liveliness_changed_status, reader);
        EXPECT_EQ(matched.current_count, 2);
        EXPECT_EQ(matched.total_count, 42);
        EXPECT_EQ(liveliness.alive_count + liveliness.not_alive_count, 2);
    }
    // Never taken from, red and blue keep no more than their depth whatever
    // the interleaving.
    EXPECT_LE(statusOf(DDS_DataReader_get_datareader_cache_status_ex, owned, false).sample_count,
              2 * readerQos.history.depth);
    const auto published = statusOf(DDS_DataWriter_get_publication_matched_status, strong);
    EXPECT_EQ(published.current_count, 2);
    EXPECT_EQ(published.total_count, 42);
    // 2 x 2000 red and 40 x 20 blue, none of the blue over 100. The strong
    // writer's small x are filtered; the weak one's may instead be dropped
    // as samples of a writer that does not own the instance.
    const DDS_DataReaderProtocolStatus protocol = protocolOf(filtered);
    EXPECT_EQ(protocol.received_sample_count, 4800);
    EXPECT_GE(protocol.filtered_sample_count, 101 + 800);
}

// With the QoS of the stress above, then with the default QoS of a writer
// that keeps what it writes.
TEST_F(ReaderWriterStressTest, EveryAllocationFailureOnTheWayLeavesNothingBehind) {
    zeltest::LogCapture quiet;
    useHandClock();
    for (const bool defaults : {false, true}) {
        SCOPED_TRACE(defaults);
        if (defaults) {
            ASSERT_EQ(DDS_Publisher_get_default_datawriter_qos(publisher, &writerQos), DDS_RETCODE_OK);
            ASSERT_EQ(DDS_Subscriber_get_default_datareader_qos(subscriber, &readerQos), DDS_RETCODE_OK);
            writerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        }
        const long allocations = zeltest::forEachAllocationFailure([&](long) {
            DDS_DataWriter *writer = createWriter();
            DDS_DataReader *owned = createReader();
            DDS_DataReader *filtered = createReader(DDS_ContentFilteredTopic_as_topicdescription(filter));
            // A write fails with a result, never halfway.
            const DDS_ReturnCode_t first = writer != nullptr ? write(writer, "red", 150) : DDS_RETCODE_ERROR;
            EXPECT_TRUE(first == DDS_RETCODE_OK || first == DDS_RETCODE_OUT_OF_RESOURCES ||
                        first == DDS_RETCODE_NOT_ENABLED || first == DDS_RETCODE_ERROR)
                    << first;
            if (owned != nullptr && filtered != nullptr && first == DDS_RETCODE_OK &&
                write(writer, "red", 5) == DDS_RETCODE_OK) {
                samples(owned, false);
                advanceMs(5);  // deadlines and liveliness lapse
                DDS_LivelinessChangedStatus liveliness{};
                // A reader whose enabling failed is there, not enabled.
                const DDS_ReturnCode_t result = DDS_DataReader_get_liveliness_changed_status(owned, &liveliness);
                EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_NOT_ENABLED) << result;
                take(filtered);
            }
            deleteEndpoints(owned, writer);
            deleteEndpoints(filtered, nullptr);
        });
        EXPECT_GT(allocations, 20);
    }
}

}  // namespace
