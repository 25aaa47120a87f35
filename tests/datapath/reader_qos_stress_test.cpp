// Readers with filters, exclusive ownership and deadlines under load:
// writers write and come and go, readers take and come and go, filter
// parameters and QoS change and statuses are polled, all on their own
// threads; and every allocation of that path may fail.
#include <atomic>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "reader_qos_fixture.h"
#include "vurnc/dds_topic.h"

namespace {

class ReaderQosStressTest : public zeltest::ReaderQosTest {
protected:
    void SetUp() override {
        ReaderQosTest::SetUp();
        ASSERT_TRUE(DDS_StringSeq_initialize(&parameters));
        setParameter("100");
        filter = DDS_DomainParticipant_create_contentfilteredtopic(participant, "Over", shapes, "x > %0", &parameters);
        ASSERT_NE(filter, nullptr);
        readerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
        writerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
        setDuration(&readerQos.deadline.period, 0, 1'000'000);
        setDuration(&writerQos.deadline.period, 0, 1'000'000);
        writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
        setDuration(&writerQos.liveliness.lease_duration, 0, 2'000'000);
        readerQos.history.depth = 4;
    }

    void TearDown() override {
        DDS_StringSeq_finalize(&parameters);
        ReaderQosTest::TearDown();
    }

    void setParameter(const char *text) {
        const char *texts[] = {text};
        ASSERT_TRUE(DDS_StringSeq_from_array(&parameters, texts, 1));
    }

    static void writeMany(DDS_DataWriter *writer, const char *color, DDS_Long count) {
        dp_Shape local{};
        ASSERT_TRUE(dp_Shape_initialize(&local));
        std::snprintf(local.color, 33, "%s", color);
        for (DDS_Long i = 0; i < count; ++i) {
            local.x = i;
            EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &local, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
        }
        dp_Shape_finalize(&local);
    }

    DDS_StringSeq parameters{};
    DDS_ContentFilteredTopic *filter = nullptr;
};

TEST_F(ReaderQosStressTest, StatusesStayConsistentWhileEverythingHappensAtOnce) {
    writerQos.ownership_strength.value = 2;
    DDS_DataWriter *strong = createWriter();
    writerQos.ownership_strength.value = 1;
    DDS_DataWriter *weak = createWriter();
    DDS_DataReader *owned = createReader();
    DDS_DataReader *filtered = createReader(DDS_ContentFilteredTopic_as_topicdescription(filter));
    ASSERT_TRUE(strong != nullptr && weak != nullptr && owned != nullptr && filtered != nullptr);

    std::atomic<bool> done{false};
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (DDS_DataWriter *writer : {strong, weak}) {
        threads.emplace_back([&, writer] {
            writeMany(writer, "red", 2000);
            ++finished;
        });
    }
    threads.emplace_back([&] {  // writers and readers come and go
        for (int i = 0; i < 40; ++i) {
            DDS_DataWriter *writer = createWriter();
            DDS_DataReader *reader = createReader(i % 2 == 0 ? DDS_ContentFilteredTopic_as_topicdescription(filter)
                                                             : nullptr);
            ASSERT_TRUE(writer != nullptr && reader != nullptr);
            writeMany(writer, "blue", 20);
            take(reader);
            EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, writer), DDS_RETCODE_OK);
        }
        ++finished;
    });
    threads.emplace_back([&] {  // filter parameters and QoS change, statuses are polled
        DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
        ASSERT_EQ(DDS_DataReader_get_qos(owned, &changed), DDS_RETCODE_OK);
        DDS_StringSeq local{};
        ASSERT_TRUE(DDS_StringSeq_initialize(&local));
        for (int i = 0; !done.load(); ++i) {
            const char *texts[] = {i % 2 == 0 ? "150" : "100"};
            ASSERT_TRUE(DDS_StringSeq_from_array(&local, texts, 1));
            EXPECT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(filter, &local), DDS_RETCODE_OK);
            setDuration(&changed.deadline.period, 0, i % 2 == 0 ? 2'000'000u : 1'000'000u);
            EXPECT_EQ(DDS_DataReader_set_qos(owned, &changed), DDS_RETCODE_OK);
            DDS_LivelinessChangedStatus liveliness{};
            DDS_RequestedDeadlineMissedStatus deadline{};
            DDS_DataReaderProtocolStatus protocol{};
            DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
            for (DDS_DataReader *reader : {owned, filtered}) {
                EXPECT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
                EXPECT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &deadline), DDS_RETCODE_OK);
                EXPECT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &protocol, DDS_BOOLEAN_TRUE),
                          DDS_RETCODE_OK);
                EXPECT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
                for (DDS_Long h = 0; h < DDS_InstanceHandleSeq_get_length(&handles); ++h) {
                    // A writer may go between the two calls.
                    const DDS_ReturnCode_t result = DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
                            reader, &protocol, DDS_InstanceHandleSeq_get_reference(&handles, h), DDS_BOOLEAN_TRUE);
                    EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_BAD_PARAMETER);
                }
            }
            DDS_InstanceHandleSeq_finalize(&handles);
        }
        DDS_StringSeq_finalize(&local);
        DDS_DataReaderQos_finalize(&changed);
    });
    std::vector<DDS_Long> seenByFilter;
    {
        zeltest::LogCapture quiet;  // unknown-publication refusals of writers that just went
        while (finished.load() < 3) {
            for (DDS_Long x : take(filtered)) {
                seenByFilter.push_back(x);
            }
            take(owned);
        }
        done = true;
        for (std::thread &thread : threads) {
            thread.join();
        }
    }

    // Whatever the interleaving: the filter never let a small x through,
    // the writers that remain are matched and counted alive or not, and the
    // reader saw every delivery as received.
    for (DDS_Long x : seenByFilter) {
        EXPECT_GT(x, 100);
    }
    for (DDS_DataReader *reader : {owned, filtered}) {
        DDS_SubscriptionMatchedStatus matched{};
        DDS_LivelinessChangedStatus liveliness{};
        ASSERT_EQ(DDS_DataReader_get_subscription_matched_status(reader, &matched), DDS_RETCODE_OK);
        ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
        EXPECT_EQ(matched.current_count, 2);
        EXPECT_EQ(liveliness.alive_count + liveliness.not_alive_count, 2);
    }
    DDS_DataReaderProtocolStatus protocol{};
    ASSERT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(filtered, &protocol, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    // Two writers of 2000 and 40 of 20, none of the latter over 100. The
    // strong writer's small x are filtered; the weak one's may instead be
    // dropped as samples of a writer that does not own the instance.
    EXPECT_EQ(protocol.received_sample_count, 4800);
    EXPECT_GE(protocol.filtered_sample_count, 101 + 800);
}

TEST_F(ReaderQosStressTest, EveryAllocationFailureOnTheWayLeavesNothingBehind) {
    zeltest::LogCapture quiet;
    useHandClock();
    long allocations = zeltest::forEachAllocationFailure([&](long) {
        DDS_DataWriter *writer = createWriter();
        DDS_DataReader *owned = createReader();
        DDS_DataReader *filtered = createReader(DDS_ContentFilteredTopic_as_topicdescription(filter));
        if (writer != nullptr && owned != nullptr && filtered != nullptr && write(writer, "red", 150) == DDS_RETCODE_OK &&
            write(writer, "red", 5) == DDS_RETCODE_OK) {
            advanceMs(5);  // deadlines and liveliness lapse
            DDS_LivelinessChangedStatus liveliness{};
            // A reader whose enabling failed is there, not enabled.
            const DDS_ReturnCode_t result = DDS_DataReader_get_liveliness_changed_status(owned, &liveliness);
            EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_NOT_ENABLED) << result;
            take(filtered);
        }
        for (DDS_DataReader *reader : {owned, filtered}) {
            if (reader != nullptr) {
                EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
            }
        }
        if (writer != nullptr) {
            EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, writer), DDS_RETCODE_OK);
        }
    });
    EXPECT_GT(allocations, 20);
}

}  // namespace
